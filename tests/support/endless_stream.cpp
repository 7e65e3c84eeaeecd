// Streams that never end and a watchdog, for the tests that every walk stops.
#include "support/endless_stream.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qotest {

EndlessFifo::EndlessFifo(const std::string& path, const std::string& prefix) : m_writer(-1) {
  if (mkfifo(path.c_str(), 0600) != 0 || (m_writer = fork()) != 0) return;
  signal(SIGPIPE, SIG_DFL);
  alarm(60);  // nobody ever read
  const int fd = open(path.c_str(), O_WRONLY);
  static const char zeros[65536] = {};
  if (fd >= 0 && write(fd, prefix.data(), prefix.size()) == static_cast<ssize_t>(prefix.size())) {
    while (write(fd, zeros, sizeof(zeros)) > 0) {
    }
  }
  _exit(0);
}

EndlessFifo::~EndlessFifo() {
  if (m_writer <= 0) return;
  kill(m_writer, SIGKILL);
  waitpid(m_writer, nullptr, 0);
}

SilentFifo::SilentFifo(const std::string& path) : m_writer(-1) {
  if (mkfifo(path.c_str(), 0600) != 0 || (m_writer = fork()) != 0) return;
  alarm(60);  // nobody ever came
  if (open(path.c_str(), O_WRONLY) >= 0) pause();
  _exit(0);
}

SilentFifo::~SilentFifo() {
  if (m_writer <= 0) return;
  kill(m_writer, SIGKILL);
  waitpid(m_writer, nullptr, 0);
}

int RunWithWatchdog(unsigned int seconds, const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(seconds);
    _exit(body());
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

}  // namespace qotest
