// A join with a deadline: the C library's own timed join leaves the thread joinable when the
// deadline passes first.
#include "platform/system_platform.h"

namespace zu {
namespace platform {

bool JoinThreadUntil(pthread_t thread, const timespec& deadline) {
  return pthread_timedjoin_np(thread, nullptr, &deadline) == 0;
}

}  // namespace platform
}  // namespace zu
