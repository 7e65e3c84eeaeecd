// Events and group waits. Lock order: a group waiter holds its own mutex while it takes event
// mutexes one at a time, so nobody may block on a waiter's mutex while holding an event mutex.
// Signallers of auto-reset events only try the waiter's mutex and, when it is busy, let go of the
// event and try again; manual-reset signallers take the registrations out of the event first and
// lock the waiters holding nothing else; pruning only ever tries. No cycle can form.
#include <qobase/system/events.h>

#include <sched.h>

#include <atomic>

#include "system/group_wait_sleep.h"
#include "system/wait_deadline.h"

namespace zu {
namespace {

using internal::DeadlineAfter;
using internal::k_unlimitedTimeoutMs;

std::atomic<internal::GroupWaitSleep> s_groupWaitSleep{&pthread_cond_timedwait};

POSIXEvent* ToEvent(void* handle) { return static_cast<POSIXEvent*>(handle); }

// Drops one reference of a waiter whose mutex the caller holds, and unlocks it. The last
// reference frees the record, under no lock but its own (released first).
void ReleaseLockedWaiter(POSIXEventWaiter* waiter) {
  const std::int32_t left = --waiter->refCount;
  pthread_mutex_unlock(&waiter->mutex);
  if (left == 0) {
    pthread_cond_destroy(&waiter->cond);
    pthread_mutex_destroy(&waiter->mutex);
    delete waiter;
  }
}

// Hands the event to a waiter whose mutex the caller holds. False when the wait already ended.
bool SatisfyLockedWaiter(POSIXEventWaiter* waiter, int index) {
  if (!waiter->waiting) return false;
  waiter->signaledIndex = index;
  waiter->waiting = false;
  pthread_cond_signal(&waiter->cond);
  return true;
}

// Removes the entries whose waiter is no longer waiting, when that waiter can be examined without
// blocking. Entries of busy or live waiters keep their order. The event's mutex is held.
void PruneStaleWaiters(POSIXEvent* event) {
  auto& waiters = event->waiters;
  size_t kept = 0;
  for (size_t i = 0; i < waiters.size(); ++i) {
    POSIXEventWaiter* waiter = waiters[i].waiter;
    if (pthread_mutex_trylock(&waiter->mutex) == 0) {
      if (!waiter->waiting) {
        ReleaseLockedWaiter(waiter);
        continue;
      }
      pthread_mutex_unlock(&waiter->mutex);
    }
    waiters[kept++] = waiters[i];
  }
  waiters.resize(kept);
}

// Waits on one event; the event's mutex is taken here and released before returning.
int WaitForOneEvent(POSIXEvent* event, std::uint64_t timeoutMs) {
  if (timeoutMs == 0) {
    if (pthread_mutex_trylock(&event->mutex) != 0) return ETIMEDOUT;
  } else {
    pthread_mutex_lock(&event->mutex);
  }
  int result = 0;
  if (!event->signaled) {
    if (timeoutMs == 0) {
      result = ETIMEDOUT;
    } else if (timeoutMs == k_unlimitedTimeoutMs) {
      while (!event->signaled && result == 0)
        result = pthread_cond_wait(&event->cond, &event->mutex);
    } else {
      const timespec deadline = DeadlineAfter(timeoutMs);
      while (!event->signaled && result == 0) {
        result = pthread_cond_timedwait(&event->cond, &event->mutex, &deadline);
      }
    }
    // A signal that arrived together with the time-out still counts.
    if (event->signaled) result = 0;
  }
  if (result == 0 && event->autoReset) event->signaled = false;
  pthread_mutex_unlock(&event->mutex);
  return result;
}

int WaitForGroup(const std::vector<void*>& events, std::uint64_t timeoutMs, int& index) {
  index = -1;
  const bool finite = timeoutMs != 0 && timeoutMs != k_unlimitedTimeoutMs;
  const timespec deadline = finite ? DeadlineAfter(timeoutMs) : timespec{0, 0};

  POSIXEventWaiter* waiter = new POSIXEventWaiter;
  pthread_mutex_init(&waiter->mutex, nullptr);
  pthread_cond_init(&waiter->cond, nullptr);
  waiter->refCount = 1;
  waiter->signaledIndex = -1;
  waiter->waiting = true;
  pthread_mutex_lock(&waiter->mutex);

  for (size_t i = 0; i < events.size(); ++i) {
    POSIXEvent* event = ToEvent(events[i]);
    if (!event) continue;
    const int position = static_cast<int>(i);
    pthread_mutex_lock(&event->mutex);
    PruneStaleWaiters(event);
    if (event->signaled) {
      if (event->autoReset) event->signaled = false;
      pthread_mutex_unlock(&event->mutex);
      waiter->signaledIndex = position;
      break;
    }
    event->waiters.push_back(POSIXEventWaiterEntry{waiter, position});
    ++waiter->refCount;
    pthread_mutex_unlock(&event->mutex);
  }

  int result = 0;
  if (timeoutMs == 0) {
    if (waiter->signaledIndex == -1) result = ETIMEDOUT;
  } else {
    while (waiter->signaledIndex == -1 && result == 0) {
      result = finite ? s_groupWaitSleep.load(std::memory_order_relaxed)(&waiter->cond,
                                                                         &waiter->mutex, &deadline)
                      : pthread_cond_wait(&waiter->cond, &waiter->mutex);
    }
    // A signal handed over together with the time-out has been consumed: report it.
    if (waiter->signaledIndex != -1) result = 0;
  }
  index = waiter->signaledIndex;
  waiter->waiting = false;
  ReleaseLockedWaiter(waiter);
  return result;
}

void SignalManualReset(POSIXEvent* event) {
  pthread_mutex_lock(&event->mutex);
  event->signaled = true;
  std::deque<POSIXEventWaiterEntry> registered;
  registered.swap(event->waiters);
  pthread_mutex_unlock(&event->mutex);
  pthread_cond_broadcast(&event->cond);
  // Holding no event mutex, a blocking lock of each waiter cannot close a cycle.
  for (const POSIXEventWaiterEntry& entry : registered) {
    pthread_mutex_lock(&entry.waiter->mutex);
    SatisfyLockedWaiter(entry.waiter, entry.index);
    ReleaseLockedWaiter(entry.waiter);
  }
}

void SignalAutoReset(POSIXEvent* event) {
  pthread_mutex_lock(&event->mutex);
  // The signal stays invisible until it has a taker: the oldest live group waiter, or else the
  // event's signalled state. A waiter busy registering elsewhere is retried after letting go of
  // the event, so it can finish and sleep.
  while (!event->waiters.empty()) {
    const POSIXEventWaiterEntry entry = event->waiters.front();
    if (pthread_mutex_trylock(&entry.waiter->mutex) != 0) {
      pthread_mutex_unlock(&event->mutex);
      sched_yield();
      pthread_mutex_lock(&event->mutex);
      continue;
    }
    event->waiters.pop_front();
    const bool taken = SatisfyLockedWaiter(entry.waiter, entry.index);
    ReleaseLockedWaiter(entry.waiter);
    if (taken) {
      pthread_mutex_unlock(&event->mutex);
      return;
    }
  }
  event->signaled = true;
  pthread_mutex_unlock(&event->mutex);
  pthread_cond_signal(&event->cond);
}

}  // namespace

namespace internal {

void SetGroupWaitSleep(GroupWaitSleep sleep) {
  s_groupWaitSleep.store(sleep ? sleep : &pthread_cond_timedwait);
}

}  // namespace internal

bool CreateEventEx(void*& event, bool manualReset) {
  POSIXEvent* created = new POSIXEvent;
  pthread_cond_init(&created->cond, nullptr);
  pthread_mutex_init(&created->mutex, nullptr);
  created->autoReset = !manualReset;
  created->signaled = false;
  event = created;
  return true;
}

void DestroyEventEx(void*& event) {
  POSIXEvent* destroyed = ToEvent(event);
  event = nullptr;
  if (!destroyed) return;
  pthread_mutex_lock(&destroyed->mutex);
  PruneStaleWaiters(destroyed);
  std::deque<POSIXEventWaiterEntry> remaining;
  remaining.swap(destroyed->waiters);
  pthread_mutex_unlock(&destroyed->mutex);
  // Entries left by a waiter that was busy just now still hold a reference: release them too,
  // so no record outlives its last event.
  for (const POSIXEventWaiterEntry& entry : remaining) {
    pthread_mutex_lock(&entry.waiter->mutex);
    ReleaseLockedWaiter(entry.waiter);
  }
  pthread_cond_destroy(&destroyed->cond);
  pthread_mutex_destroy(&destroyed->mutex);
  delete destroyed;
}

void SignalEventEx(void* const& event) {
  POSIXEvent* signalled = ToEvent(event);
  if (!signalled) return;
  if (signalled->autoReset) {
    SignalAutoReset(signalled);
  } else {
    SignalManualReset(signalled);
  }
}

void ResetEventEx(void* const& event) {
  POSIXEvent* reset = ToEvent(event);
  if (!reset) return;
  pthread_mutex_lock(&reset->mutex);
  reset->signaled = false;
  pthread_mutex_unlock(&reset->mutex);
}

void WaitForEventEx(void* const& event) {
  if (POSIXEvent* waited = ToEvent(event)) WaitForOneEvent(waited, k_unlimitedTimeoutMs);
}

int WaitForEventEx(void* const& event, unsigned int timeoutMs) {
  POSIXEvent* waited = ToEvent(event);
  if (!waited) return EINVAL;
  return WaitForOneEvent(waited, timeoutMs);
}

int WaitForMultipleEventsEx(const std::vector<void*>& events, int& index) {
  return WaitForGroup(events, k_unlimitedTimeoutMs, index);
}

int WaitForMultipleEventsEx(const std::vector<void*>& events, unsigned int timeoutMs, int& index) {
  return WaitForGroup(events, timeoutMs, index);
}

}  // namespace zu
