// Windows-style events on POSIX threads: manual-reset events stay signalled until reset and wake
// every waiter; auto-reset events are consumed by exactly one successful wait. A thread can wait
// for one event or for any event of a group, with a timeout in milliseconds, and can wait for the
// end of another thread with a timeout.
//
// Waits return 0 on success, ETIMEDOUT when the time ran out, or the error of the underlying
// condition wait. A timeout of 0 tests without waiting.
#pragma once

#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <deque>
#include <vector>

namespace zu {

// The result of a wait whose time ran out.
constexpr int k_waitTimedOut = ETIMEDOUT;
// WaitForThread's result when it could not start its joining thread.
constexpr unsigned int k_waitThreadNotStarted = 0xFFFFFFFFu;

struct POSIXEventWaiter;

// One registration of a group wait with an event: the waiting record and the position of the
// event in that thread's group.
struct POSIXEventWaiterEntry {
  POSIXEventWaiter* waiter;
  int index;
};

// The record of one call of WaitForMultipleEventsEx, shared by the waiting thread and every event
// it registered with. `refCount` counts the waiting thread plus each event list holding an entry;
// whoever brings it to 0 frees the record. `waiting` turns false exactly once; an entry whose
// waiter is no longer waiting is stale and is dropped by the next signal, group wait or destroy.
struct POSIXEventWaiter {
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  std::int32_t refCount;
  std::int32_t signaledIndex;
  bool waiting;
};

// The object behind an event handle. `mutex` guards every other field; single-event waiters
// sleep on `cond`; `waiters` holds group registrations, oldest first.
struct POSIXEvent {
  pthread_cond_t cond;
  pthread_mutex_t mutex;
  bool autoReset;
  bool signaled;
  std::deque<POSIXEventWaiterEntry> waiters;
};

// Makes a new, unsignalled event and stores its handle in `event`. Always true.
bool CreateEventEx(void*& event, bool manualReset);
// Frees the event and sets the handle to null; a null handle is only set to null again. No
// thread may be waiting on the event or registering with it.
void DestroyEventEx(void*& event);
// Signals the event. A manual-reset event wakes every waiter and stays signalled. An auto-reset
// event goes to the oldest group waiter still waiting; with none it wakes one single-event waiter
// and stays signalled until a wait consumes it. A null handle is ignored.
void SignalEventEx(void* const& event);
// Clears the event's signalled state. A null handle is ignored.
void ResetEventEx(void* const& event);

// Waits without limit until the event is signalled (consuming it when auto-reset).
void WaitForEventEx(void* const& event);
// Waits at most `timeoutMs`; 0 tests without waiting and also reports ETIMEDOUT when the event is
// busy at that instant. 0 on success, ETIMEDOUT, or the condition wait's error; EINVAL for a null
// handle.
int WaitForEventEx(void* const& event, unsigned int timeoutMs);

// Waits without limit until any event of the group is signalled; `index` receives its position.
// The first event in order that is already signalled wins; otherwise the first to be signalled.
// The group must not be empty. Null handles in the group are never signalled.
int WaitForMultipleEventsEx(const std::vector<void*>& events, int& index);
// As above with a timeout; after a timeout `index` is -1 and every event keeps its state.
int WaitForMultipleEventsEx(const std::vector<void*>& events, unsigned int timeoutMs, int& index);

// Waits at most `timeoutMs` for `thread` to end. 0 when it ended (and has been joined), ETIMEDOUT
// when it is still running (it was not joined; the caller may still join it), or
// k_waitThreadNotStarted when the joining thread could not be started.
unsigned int WaitForThread(const pthread_t& thread, unsigned int timeoutMs);

}  // namespace zu
