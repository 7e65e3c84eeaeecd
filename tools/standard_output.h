// Checked standard output. Commands print through std::cout (kept in step with the C stream);
// whatever they print is only delivered once it is flushed, so the program flushes and checks
// before it exits and turns a failed write (stdout on a full disk, /dev/full) into exit code 1.
#pragma once

namespace qobase_tool {

// False once a write to standard output has failed; long outputs check it to stop early.
bool StandardOutputOk();

// Flushes standard output. When that or an earlier write failed, prints
// "qobase: standard output: REASON" and returns 1; otherwise returns `code`.
int FinishStandardOutput(int code);

}  // namespace qobase_tool
