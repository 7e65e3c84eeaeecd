// WaitForThread: the join runs on a helper thread and ends at the deadline, leaving a thread that
// is still running joinable by the caller.
#include <qobase/system/events.h>

#include "platform/system_platform.h"
#include "system/timed_blocking_call.h"

namespace zu {
namespace {

bool JoinThread(void* thread, const timespec& deadline) {
  return platform::JoinThreadUntil(*static_cast<const pthread_t*>(thread), deadline);
}

}  // namespace

unsigned int WaitForThread(const pthread_t& thread, unsigned int timeoutMs) {
  pthread_t target = thread;
  return internal::RunBlockingCallWithTimeout(&JoinThread, &target, timeoutMs);
}

}  // namespace zu
