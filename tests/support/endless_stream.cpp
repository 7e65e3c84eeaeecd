#include "support/endless_stream.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

namespace qotest {
namespace {

// Writes all of `bytes`; false once the reader is gone.
bool WriteAll(int fd, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t n = write(fd, bytes, size);
    if (n <= 0) return false;
    bytes += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

EndlessFifo::EndlessFifo(const std::string& path, const std::string& prefix) : m_writer(-1) {
  if (mkfifo(path.c_str(), 0600) != 0) return;
  m_writer = fork();
  if (m_writer != 0) return;
  // The writer: a broken pipe ends it, and so does the alarm if nobody ever reads.
  signal(SIGPIPE, SIG_DFL);
  alarm(60);
  const int fd = open(path.c_str(), O_WRONLY);
  if (fd < 0) _exit(1);
  const std::vector<char> zeros(65536, 0);
  if (WriteAll(fd, prefix.data(), prefix.size())) {
    while (WriteAll(fd, zeros.data(), zeros.size())) {
    }
  }
  _exit(0);
}

EndlessFifo::~EndlessFifo() {
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
