// A blocking call with a timeout, for calls that have none of their own (joining a thread,
// waiting for a child process): the call runs on a short-lived helper thread while the caller
// waits for it until the deadline, then cancels the helper if it has not finished.
#pragma once

namespace zu {
namespace internal {

// Runs `call(argument)` on a helper thread and waits at most `timeoutMs` for it. Returns 0 when
// the call returned, ETIMEDOUT when it did not (it was cancelled at its cancellation point, so it
// had no effect), or 0xFFFFFFFF when the helper thread could not be started. `call` must finish
// its work without passing another cancellation point once its blocking step has returned.
unsigned int RunBlockingCallWithTimeout(void (*call)(void*), void* argument,
                                        unsigned int timeoutMs);

}  // namespace internal
}  // namespace zu
