// The helper thread of a timed blocking call. The caller lets go of the shared mutex before it
// cancels and joins the helper: a helper that finished its call just as the time ran out may be
// waiting for that mutex, and holding it across the join would deadlock both threads. Whether the
// call completed is read after the join, so a call that finished at the edge is never reported
// as timed out (a joined thread or a reaped child must not be reported as still there).
#include "system/timed_blocking_call.h"

#include <pthread.h>

#include <cerrno>

#include "system/wait_deadline.h"

namespace zu {
namespace internal {
namespace {

struct BlockingCallContext {
  pthread_mutex_t mutex;
  pthread_cond_t finished;
  bool done;
  void (*call)(void*);
  void* argument;
};

void* RunBlockingCall(void* raw) {
  BlockingCallContext* context = static_cast<BlockingCallContext*>(raw);
  context->call(context->argument);
  // No cancellation point from here on: once the call has returned its effect is reported.
  pthread_mutex_lock(&context->mutex);
  context->done = true;
  pthread_cond_signal(&context->finished);
  pthread_mutex_unlock(&context->mutex);
  return nullptr;
}

}  // namespace

unsigned int RunBlockingCallWithTimeout(void (*call)(void*), void* argument,
                                        unsigned int timeoutMs) {
  const timespec deadline = DeadlineAfter(timeoutMs);
  BlockingCallContext context;
  pthread_mutex_init(&context.mutex, nullptr);
  pthread_cond_init(&context.finished, nullptr);
  context.done = false;
  context.call = call;
  context.argument = argument;

  pthread_mutex_lock(&context.mutex);
  pthread_t helper;
  if (pthread_create(&helper, nullptr, &RunBlockingCall, &context) != 0) {
    pthread_mutex_unlock(&context.mutex);
    pthread_cond_destroy(&context.finished);
    pthread_mutex_destroy(&context.mutex);
    return 0xFFFFFFFFu;
  }
  while (!context.done) {
    if (pthread_cond_timedwait(&context.finished, &context.mutex, &deadline) == ETIMEDOUT) break;
  }
  pthread_mutex_unlock(&context.mutex);

  pthread_cancel(helper);
  pthread_join(helper, nullptr);
  const bool done = context.done;
  pthread_cond_destroy(&context.finished);
  pthread_mutex_destroy(&context.mutex);
  return done ? 0 : ETIMEDOUT;
}

}  // namespace internal
}  // namespace zu
