// Runs a program as a user would from a shell: arguments, standard input, standard output and
// error captured, with the limits a test needs (a file size limit, stdout on /dev/full, another
// user) and a time limit, so a program that hangs fails its test instead of blocking the suite.
#pragma once

#include <string>
#include <vector>

namespace qotest {

struct RunOptions {
  std::string input;               // written to the program's standard input, then closed
  bool stdoutToDevFull = false;    // standard output on /dev/full instead of captured
  long long fileSizeLimit = -1;    // RLIMIT_FSIZE in bytes (SIGXFSZ ignored), -1 for none
  long long memoryLimit = -1;      // RLIMIT_AS in bytes, -1 for none
  bool asOrdinaryUser = false;     // give up root for user 65534 first
  std::string workingDir;          // empty: the test's own
  double timeLimitSeconds = 20.0;  // then the program is killed and timedOut set
  bool stderrClosed = false;       // standard error closed instead of captured
};

struct RunResult {
  int exitCode = -1;  // -1 when it did not exit normally
  int signal = 0;     // the signal that ended it, if any
  bool timedOut = false;
  std::string out, err;
  long maxResidentKiB = 0;
};

RunResult RunProgram(const std::vector<std::string>& argv, const RunOptions& options = {});

// The qobase program under test with `args`.
RunResult RunQobase(const std::vector<std::string>& args, const RunOptions& options = {});

// True when `program` can be found on PATH (the outside tools the fixtures come from).
bool HaveTool(const std::string& program);

// Runs an outside tool to make a fixture; fails the current test when it does not succeed.
void MakeWith(const std::vector<std::string>& argv);

}  // namespace qotest
