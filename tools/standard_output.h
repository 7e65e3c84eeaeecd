// Checked standard output. Commands print through std::cout, whose buffer is replaced by one
// that writes to descriptor 1 and remembers the first failed write with its errno, so the
// program can turn a standard output it cannot write (a full disk, /dev/full) into exit code 1
// instead of reporting success for output nobody got.
#pragma once

namespace qobase_tool {

// Makes sure descriptors 0, 1 and 2 are open before any file is: one the caller closed is taken by
// /dev/null opened the wrong way round, so reading standard input or writing standard output or
// error still fails as on a closed descriptor, and no file the program opens (an output being
// written) can become standard error and take its messages. Call first thing in main.
void ReserveStandardDescriptors();

// Puts std::cout on the checked buffer; call once, first thing in main.
void InstallCheckedStandardOutput();

// False once a write to standard output has failed; long outputs check it to stop early.
bool StandardOutputOk();

// Flushes standard output and puts std::cout back on its own buffer. When that or an earlier
// write failed, prints "qobase: standard output: REASON" and returns 1; otherwise `code`.
int FinishStandardOutput(int code);

}  // namespace qobase_tool
