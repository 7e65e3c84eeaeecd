// A blocking call with a timeout on a short-lived helper thread, for waits that the callers
// want bounded: joining a thread, waiting for a child process. The helper's own wait ends at the
// same deadline, so the caller never has to cancel it: it joins it, and a wait that completed
// right at the deadline is still reported as completed.
#pragma once

#include <time.h>

namespace zu {
namespace internal {

// Waits until `deadline` at most; true when the awaited thing happened.
using DeadlineCall = bool (*)(void* argument, const timespec& deadline);

// Runs `call(argument, deadline)` on a helper thread and waits at most `timeoutMs` for it.
// Returns 0 when the call completed, ETIMEDOUT when it did not (it had no effect), or 0xFFFFFFFF
// when the helper thread could not be started.
unsigned int RunBlockingCallWithTimeout(DeadlineCall call, void* argument, unsigned int timeoutMs);

}  // namespace internal
}  // namespace zu
