// Streams that never end, for the tests that every walk over a file stops: a pipe fed forever by
// a forked writer, and a watchdog that turns a hang into a failure instead of a stuck suite.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace qotest {

// A named pipe at `path` fed by a forked writer: `prefix`, then zero bytes without end. The
// writer dies with its reader (broken pipe); the destructor kills it in any case.
class EndlessFifo {
 public:
  EndlessFifo(const std::string& path, const std::string& prefix);
  ~EndlessFifo();
  bool Ok() const { return m_writer > 0; }

 private:
  pid_t m_writer;
};

// A named pipe at `path` whose forked writer opens it and then never writes, until the object is
// destroyed: a reader of it waits as long as it is willing to.
class SilentFifo {
 public:
  explicit SilentFifo(const std::string& path);
  ~SilentFifo();
  bool Ok() const { return m_writer > 0; }

 private:
  pid_t m_writer;
};

// Runs `body` in a forked child that SIGALRM kills after `seconds`: body()'s result, or -1 when
// the child was killed (the body hung).
int RunWithWatchdog(unsigned int seconds, const std::function<int()>& body);

}  // namespace qotest
