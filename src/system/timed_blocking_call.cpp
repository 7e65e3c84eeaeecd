// The helper thread of a timed blocking call. The caller waits for the helper's report until the
// deadline, lets go of the shared mutex and joins the helper, whose wait ends at that deadline
// too. Nothing is cancelled: a helper stopped inside a join or a child wait could leave it half
// done, and a helper that finished just as the time ran out may be waiting for the mutex, which
// is why the caller releases it before joining. Whether the call completed is read after the
// join, so a thread joined or a child reaped at the edge is reported as such.
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
  bool completed;
  DeadlineCall call;
  void* argument;
  timespec deadline;
};

void* RunBlockingCall(void* raw) {
  BlockingCallContext* context = static_cast<BlockingCallContext*>(raw);
  const bool completed = context->call(context->argument, context->deadline);
  pthread_mutex_lock(&context->mutex);
  context->completed = completed;
  context->done = true;
  pthread_cond_signal(&context->finished);
  pthread_mutex_unlock(&context->mutex);
  return nullptr;
}

}  // namespace

unsigned int RunBlockingCallWithTimeout(DeadlineCall call, void* argument, unsigned int timeoutMs) {
  BlockingCallContext context;
  pthread_mutex_init(&context.mutex, nullptr);
  pthread_cond_init(&context.finished, nullptr);
  context.done = false;
  context.completed = false;
  context.call = call;
  context.argument = argument;
  context.deadline = DeadlineAfter(timeoutMs);

  pthread_mutex_lock(&context.mutex);
  pthread_t helper;
  if (pthread_create(&helper, nullptr, &RunBlockingCall, &context) != 0) {
    pthread_mutex_unlock(&context.mutex);
    pthread_cond_destroy(&context.finished);
    pthread_mutex_destroy(&context.mutex);
    return 0xFFFFFFFFu;
  }
  while (!context.done) {
    if (pthread_cond_timedwait(&context.finished, &context.mutex, &context.deadline) == ETIMEDOUT) {
      break;
    }
  }
  pthread_mutex_unlock(&context.mutex);
  pthread_join(helper, nullptr);
  const bool completed = context.completed;
  pthread_cond_destroy(&context.finished);
  pthread_mutex_destroy(&context.mutex);
  return completed ? 0 : ETIMEDOUT;
}

}  // namespace internal
}  // namespace zu
