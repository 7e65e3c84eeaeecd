// Runs one job per input file on several threads and prints the results in input order: each
// file's standard output and error text is held until every file before it has been printed,
// so the output of `--jobs 4` reads exactly like that of `--jobs 1`. One progress bar over the
// whole batch is drawn on stderr when it is a terminal.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "batch_inputs.h"

namespace qobase_tool {

// What one file's job produced.
struct FileOutcome {
  std::string out;      // for standard output
  std::string err;      // whole lines for standard error (failures and warnings)
  bool failed = false;  // the file counts as failed (exit code 1)
};

// Works on one file; called on a worker thread, so it shares nothing unguarded. An exception
// that leaves it is reported as the file's failure.
using FileJob = std::function<FileOutcome(const std::string& path)>;

// The default for --jobs: the number of cores (1 when unknown).
unsigned int DefaultJobCount();

// Runs `job` over `inputs` on `jobs` threads (at least 1); inputs that carry an error fail with
// it. Returns 1 when any file failed, else 0.
int RunBatch(const std::vector<BatchInput>& inputs, unsigned int jobs, const FileJob& job);

}  // namespace qobase_tool
