// A wait for a child with a deadline. A process descriptor of the child becomes readable the
// moment it ends, so an exit is seen at once; a stop is not announced on it and is looked for
// every few milliseconds. Without process descriptors (an older kernel) both are looked for
// that way.
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/system_platform.h"

namespace zu {
namespace platform {
namespace {

const long k_stopCheckMs = 5;

long MillisecondsUntil(const timespec& deadline) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const long long remainingNs =
      (static_cast<long long>(deadline.tv_sec) - now.tv_sec) * 1000000000LL +
      (deadline.tv_nsec - now.tv_nsec);
  if (remainingNs <= 0) return 0;
  return static_cast<long>(std::min<long long>((remainingNs + 999999) / 1000000, 1L << 30));
}

}  // namespace

pid_t WaitForChildUntil(pid_t pid, const timespec& deadline, int& status) {
#ifdef SYS_pidfd_open
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
#else
  const int descriptor = -1;
#endif
  pid_t result = 0;
  for (;;) {
    result = waitpid(pid, &status, WNOHANG | WUNTRACED);
    if (result != 0 && !(result == -1 && errno == EINTR)) break;
    const long remainingMs = MillisecondsUntil(deadline);
    if (remainingMs == 0) {
      result = 0;
      break;
    }
    const int stepMs = static_cast<int>(std::min(remainingMs, k_stopCheckMs));
    if (descriptor >= 0) {
      pollfd child = {descriptor, POLLIN, 0};
      poll(&child, 1, stepMs);
    } else {
      usleep(static_cast<useconds_t>(stepMs) * 1000u);
    }
  }
  if (descriptor >= 0) close(descriptor);
  return result;
}

}  // namespace platform
}  // namespace zu
