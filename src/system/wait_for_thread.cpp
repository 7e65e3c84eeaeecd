// WaitForThread: joining has no timeout of its own, so the join runs on a helper thread that is
// cancelled when the time runs out, which leaves the thread joinable by the caller.
#include <qobase/system/events.h>

#include "system/timed_blocking_call.h"

namespace zu {
namespace {

void JoinThread(void* thread) { pthread_join(*static_cast<const pthread_t*>(thread), nullptr); }

}  // namespace

unsigned int WaitForThread(const pthread_t& thread, unsigned int timeoutMs) {
  pthread_t target = thread;
  return internal::RunBlockingCallWithTimeout(&JoinThread, &target, timeoutMs);
}

}  // namespace zu
