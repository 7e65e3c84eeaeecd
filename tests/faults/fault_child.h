// Forked children for the fault tests: a body run under a watchdog, optionally with a file size
// limit, and its outcome as one small code, so a crash or a hang fails one case instead of the
// whole suite.
#pragma once

#include <signal.h>
#include <sys/resource.h>

#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>

#include <cstdio>
#include <functional>
#include <string>

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

// Converts the MIDI file `midi` to `out` with QoMidiFile; the outcome of the conversion, or
// k_setUpFailed when the source does not open and validate.
inline int ConvertMidiOutcome(const std::string& midi, const std::string& out) {
  QoMidiFile file;
  if (file.Open(zu::Path(midi)) != QO::k_resultSuccess || file.Validate() != QO::k_resultSuccess) {
    return static_cast<int>(k_setUpFailed);
  }
  const unsigned int result = file.Convert(zu::Path(out));
  return result == QO::k_resultFailure ? static_cast<int>(k_reportedFailure)
                                       : static_cast<int>(result);
}

}  // namespace qotest
