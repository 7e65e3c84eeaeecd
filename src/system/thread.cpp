// The main thread's identity and thread creation with scheduling attributes.
#include <qobase/system/thread.h>

#include <sched.h>

#include <atomic>

#include "platform/system_platform.h"

namespace {

// 0 until SaveMainThread; read from any thread.
std::atomic<pthread_t> s_mainThread{0};

}  // namespace

pthread_t SaveMainThread() {
  const pthread_t self = pthread_self();
  s_mainThread.store(self);
  return self;
}

bool IsMainThread() {
  const pthread_t main = s_mainThread.load();
  return main != 0 && pthread_equal(main, pthread_self()) != 0;
}

namespace QOPLATFORM {

void QoCreateThread(void* (*routine)(void*), void* argument, const QoThreadProperties& properties,
                    pthread_t* thread, const char*) {
  if (!thread) return;
  *thread = 0;
  if (!routine) return;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return;
  // A size below the system's minimum is refused and the default stays.
  pthread_attr_setstacksize(&attributes, properties.stackSize);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
  int policy = properties.schedPolicy;
  if (pthread_attr_setschedpolicy(&attributes, policy) != 0) {
    policy = SCHED_FIFO;
    pthread_attr_setschedpolicy(&attributes, policy);
  }
  if (properties.priority >= sched_get_priority_min(policy) &&
      properties.priority <= sched_get_priority_max(policy)) {
    sched_param parameters{};
    parameters.sched_priority = properties.priority;
    pthread_attr_setschedparam(&attributes, &parameters);
  }
  pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
  pthread_t created = 0;
  if (zu::platform::CreateThreadWithFallback(&created, &attributes, routine, argument) != 0) {
    created = 0;
  }
  pthread_attr_destroy(&attributes);
  *thread = created;
}

}  // namespace QOPLATFORM
