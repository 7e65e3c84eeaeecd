// Forked children for the fault tests: a body run under a watchdog, optionally with a file size
// limit, and its outcome as one small code, so a crash or a hang fails one case instead of the
// whole suite.
#pragma once

#include <signal.h>
#include <sys/resource.h>

#include <cstdio>
#include <functional>

#include "support/endless_stream.h"

namespace qotest {

// What a child reports: the operation said it failed, or it claimed success. A set-up step
// that could not be done exits with k_setUpFailed; -1 means the child hung or crashed.
enum FaultOutcome : int {
  k_reportedFailure = 0,
  k_claimedSuccess = 1,
  k_setUpFailed = 100,
};

// Runs `body` in a child killed after `seconds`; with `fileSizeLimit` >= 0 the child may not
// make a file larger than that, and a write past it fails with EFBIG instead of ending it.
inline int RunFaultCase(unsigned int seconds, long long fileSizeLimit,
                        const std::function<int()>& body) {
  std::fflush(nullptr);
  return RunWithWatchdog(seconds, [&] {
    if (fileSizeLimit >= 0) {
      signal(SIGXFSZ, SIG_IGN);
      const rlimit limit = {static_cast<rlim_t>(fileSizeLimit), static_cast<rlim_t>(fileSizeLimit)};
      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return static_cast<int>(k_setUpFailed);
    }
    return body();
  });
}

inline int Outcome(bool succeeded) { return succeeded ? k_claimedSuccess : k_reportedFailure; }

}  // namespace qotest
