// Threads: the identity of the application's main thread, thread creation with scheduling
// attributes, and the adapter that runs a member function as a thread routine.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <type_traits>

// Records the calling thread as the main thread and returns it. Called once at start-up, on the
// main thread.
pthread_t SaveMainThread();
// The calling thread is the one SaveMainThread recorded; false before it was called.
bool IsMainThread();

// The scheduling attributes of a new thread.
struct QoThreadProperties {
  // The scheduling priority; used when it lies within the policy's range.
  std::int32_t priority;
  // Stack size in bytes; a size the system refuses leaves its default.
  std::uint32_t stackSize;
  // The POSIX scheduling policy (SCHED_FIFO, SCHED_RR, SCHED_OTHER); a refused one becomes
  // SCHED_FIFO.
  std::int32_t schedPolicy;
};

namespace QOPLATFORM {

// Creates a joinable thread running `routine(argument)` with explicit scheduling as `properties`
// asks. When the system refuses that scheduling (an ordinary user may not ask for a real-time
// policy) the thread is created with the creator's scheduling instead, so it still starts. On
// failure `*thread` is 0. `name` is not used.
void QoCreateThread(void* (*routine)(void*), void* argument, const QoThreadProperties& properties,
                    pthread_t* thread, const char* name);

}  // namespace QOPLATFORM

namespace zu {
namespace internal {

template <typename Member>
struct MemberRoutineClass;
template <typename Class, typename Result>
struct MemberRoutineClass<Result (Class::*)()> {
  using Type = Class;
};

}  // namespace internal

// A thread routine that calls `Member` on the object passed as the thread argument and returns
// its result (null for a member returning nothing):
//   QoCreateThread(&zu::ThreadRoutineWrapper<&Watcher::Run>, &watcher, properties, &thread, "");
template <auto Member>
void* ThreadRoutineWrapper(void* object) {
  using Class = typename internal::MemberRoutineClass<decltype(Member)>::Type;
  Class* target = static_cast<Class*>(object);
  if constexpr (std::is_void_v<decltype((target->*Member)())>) {
    (target->*Member)();
    return nullptr;
  } else {
    return (target->*Member)();
  }
}

}  // namespace zu
