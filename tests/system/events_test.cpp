// Events: wake-up rules of single and group waits, time-outs that leave nothing behind, waiting
// for threads, and a stress run with overlapping groups in which every signal is accounted for.
#include <qobase/system/events.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

#include "system/group_wait_sleep.h"

namespace {

using Clock = std::chrono::steady_clock;

// An event for the length of a test.
struct Event {
  void* handle = nullptr;
  explicit Event(bool manualReset) { zu::CreateEventEx(handle, manualReset); }
  ~Event() { zu::DestroyEventEx(handle); }
  void Signal() const { zu::SignalEventEx(handle); }
  // A test without waiting found it signalled (consuming it when auto-reset).
  bool Take() const { return zu::WaitForEventEx(handle, 0) == 0; }
};

// Waits (bounded) until the event holds `count` group registrations, stale ones included.
bool AwaitRegistrations(void* handle, size_t count) {
  zu::POSIXEvent* event = static_cast<zu::POSIXEvent*>(handle);
  for (int i = 0; i < 5000; ++i) {
    pthread_mutex_lock(&event->mutex);
    const size_t registered = event->waiters.size();
    pthread_mutex_unlock(&event->mutex);
    if (registered == count) return true;
    usleep(1000);
  }
  return false;
}

// A thread waiting on a group without limit; its index is read after join(). The index is set
// up before the thread starts.
struct GroupWaiter {
  int index = -2;
  std::thread thread;
  explicit GroupWaiter(std::vector<void*> group)
      : thread([this, group] { zu::WaitForMultipleEventsEx(group, index); }) {}
  void join() { thread.join(); }
};

TEST(Events, SingleWaitsFollowTheResetKind) {
  Event manual(true), automatic(false);
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(manual.handle, 0));
  manual.Signal();  // satisfies every wait until reset
  EXPECT_EQ(0, zu::WaitForEventEx(manual.handle, 50));
  zu::WaitForEventEx(manual.handle);
  zu::ResetEventEx(manual.handle);
  EXPECT_FALSE(manual.Take());
  automatic.Signal();  // a second signal does not queue
  automatic.Signal();
  EXPECT_TRUE(automatic.Take());
  EXPECT_FALSE(automatic.Take());

  const auto start = Clock::now();
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(automatic.handle, 30));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(29));
  std::thread signaller([&] {
    usleep(20000);
    automatic.Signal();
  });
  EXPECT_EQ(0, zu::WaitForEventEx(automatic.handle, 5000));
  signaller.join();
  EXPECT_FALSE(automatic.Take());
}

TEST(Events, GroupWaitTakesTheFirstSignalledInOrder) {
  const struct {
    bool manualReset;
    std::vector<int> signalled;
    int index;
  } cases[] = {{false, {2, 4}, 2}, {true, {2, 4}, 2}, {false, {4}, 4}, {true, {}, -1}};
  for (const auto& c : cases) {
    std::vector<Event> events;
    events.reserve(5);
    std::vector<void*> group;
    for (int i = 0; i < 5; ++i) group.push_back(events.emplace_back(c.manualReset).handle);
    for (int position : c.signalled) events[position].Signal();
    int index = 99;
    EXPECT_EQ(c.index == -1 ? ETIMEDOUT : 0, zu::WaitForMultipleEventsEx(group, 0, index));
    EXPECT_EQ(c.index, index);
    // Only the winner is consumed, and only when it resets itself.
    for (int position : c.signalled) {
      EXPECT_EQ(c.manualReset || position != c.index, events[position].Take()) << position;
    }
  }
}

TEST(Events, AutoResetWakesTheOldestGroupWaiterManualResetWakesAll) {
  Event shared(false), first(false), second(false), gate(true);
  GroupWaiter older({first.handle, shared.handle, gate.handle});
  ASSERT_TRUE(AwaitRegistrations(shared.handle, 1));
  GroupWaiter younger({second.handle, gate.handle, shared.handle});
  ASSERT_TRUE(AwaitRegistrations(shared.handle, 2));
  shared.Signal();
  older.join();
  EXPECT_EQ(1, older.index);
  usleep(20000);  // the younger one keeps waiting, and the signal is not left set
  EXPECT_FALSE(shared.Take());

  GroupWaiter third({gate.handle});
  ASSERT_TRUE(AwaitRegistrations(gate.handle, 2));
  gate.Signal();  // each reports its own position of the event
  younger.join();
  third.join();
  EXPECT_EQ(1, younger.index);
  EXPECT_EQ(0, third.index);
  EXPECT_TRUE(gate.Take());
  EXPECT_TRUE(gate.Take());
}

TEST(Events, TimedOutGroupWaitLeavesNoEntryThatSwallowsASignal) {
  Event target(false), other(false);
  int index = 7;
  EXPECT_EQ(ETIMEDOUT, zu::WaitForMultipleEventsEx({other.handle, target.handle}, 20, index));
  EXPECT_EQ(-1, index);
  target.Signal();  // no live waiter: it stays set for a single waiter
  EXPECT_TRUE(target.Take());

  // A waiter times out while a live one is registered behind it: the signal goes past the stale
  // entry to the live waiter.
  std::thread stale([&] { zu::WaitForMultipleEventsEx({target.handle}, 150, index); });
  ASSERT_TRUE(AwaitRegistrations(target.handle, 1));
  GroupWaiter live({other.handle, target.handle});
  ASSERT_TRUE(AwaitRegistrations(target.handle, 2));
  stale.join();
  target.Signal();
  live.join();
  EXPECT_EQ(1, live.index);
  EXPECT_FALSE(target.Take());
  // Destroying an event with stale entries releases their records (the leak checker sees it).
  void* lone = nullptr;
  zu::CreateEventEx(lone, false);
  zu::WaitForMultipleEventsEx({lone, lone}, 0, index);
  zu::DestroyEventEx(lone);
}

// Signals landing at the time-out: each is reported by the wait or still set afterwards, never
// consumed by a wait that reports a time-out.
TEST(Events, SignalAtTheTimeOutEdgeIsTakenOrKept) {
  Event event(false);
  for (int i = 0; i < 120; ++i) {
    std::thread signaller([&event, i] {
      usleep(static_cast<useconds_t>(600 + (i % 5) * 200));
      event.Signal();
    });
    int index = -1;
    const int result = (i % 2) ? zu::WaitForMultipleEventsEx({event.handle}, 1, index)
                               : zu::WaitForEventEx(event.handle, 1);
    signaller.join();
    ASSERT_TRUE(result == 0 || (result == ETIMEDOUT && index == -1)) << i;
    EXPECT_EQ(result != 0, event.Take()) << "iteration " << i;
  }
}

// The event the stand-in sleep below signals while its wait is timing out.
void* s_signalledAtDeadline = nullptr;

// A sleep that runs out just as a signal reaches the waiter: the signal is handed over while the
// waiter's mutex is free, then the sleep reports the time-out.
int TimeOutWhileSignalled(pthread_cond_t*, pthread_mutex_t* mutex, const timespec*) {
  pthread_mutex_unlock(mutex);
  zu::SignalEventEx(s_signalledAtDeadline);
  pthread_mutex_lock(mutex);
  return ETIMEDOUT;
}

// A signal handed to a group waiter is consumed by that hand-over, so a wait whose sleep reports
// a time-out at the same moment must report the signal, or it is lost to everyone.
TEST(Events, GroupWaitReportsASignalHandedOverAtTheTimeOut) {
  for (const bool manualReset : {false, true}) {
    Event other(false), event(manualReset);
    s_signalledAtDeadline = event.handle;
    zu::internal::SetGroupWaitSleep(&TimeOutWhileSignalled);
    int index = -1;
    const int result = zu::WaitForMultipleEventsEx({other.handle, event.handle}, 1000, index);
    zu::internal::SetGroupWaitSleep(nullptr);
    EXPECT_EQ(0, result) << manualReset;
    EXPECT_EQ(1, index) << manualReset;
    EXPECT_EQ(manualReset, event.Take()) << manualReset;
  }
}

void* SleepFor(void* microseconds) {
  usleep(static_cast<useconds_t>(reinterpret_cast<long>(microseconds)));
  return nullptr;
}

TEST(Events, WaitForThreadJoinsOrLeavesTheThreadJoinable) {
  pthread_t thread;
  ASSERT_EQ(0, pthread_create(&thread, nullptr, &SleepFor, nullptr));
  EXPECT_EQ(0u, zu::WaitForThread(thread, 2000));
  ASSERT_EQ(0, pthread_create(&thread, nullptr, &SleepFor, reinterpret_cast<void*>(100000L)));
  EXPECT_EQ(static_cast<unsigned>(ETIMEDOUT), zu::WaitForThread(thread, 20));
  EXPECT_EQ(0, pthread_join(thread, nullptr));
  // Threads ending at the time-out are joined exactly once (a second join of a joined thread
  // would fail), and nothing deadlocks.
  for (long i = 0; i < 60; ++i) {
    ASSERT_EQ(
        0, pthread_create(&thread, nullptr, &SleepFor, reinterpret_cast<void*>(500 + i % 6 * 200)));
    const unsigned result = zu::WaitForThread(thread, 1);
    ASSERT_TRUE(result == 0 || result == static_cast<unsigned>(ETIMEDOUT));
    EXPECT_TRUE(result == 0 || pthread_join(thread, nullptr) == 0);
  }
}

// 8 threads wait on overlapping groups of auto-reset events while 4 threads signal them and reset
// idle ones. An event is signalled again only after a waiter took its last signal, so signals
// never merge and each must be taken exactly once. Odd waiters use short time-outs and leave
// stale entries behind. Every group also holds a manual-reset pulse (signalled and reset at once)
// and, last, a manual-reset quit event.
TEST(EventStress, OverlappingGroupsAccountForEverySignal) {
  const int k_events = 12, k_waiters = 8, k_signallers = 4, k_signalsEach = 5000;
  enum : int { k_idle, k_pending, k_resetting };
  std::vector<Event> events;
  events.reserve(k_events);
  for (int i = 0; i < k_events; ++i) events.emplace_back(false);
  Event pulse(true), quit(true);
  std::vector<std::atomic<int>> state(k_events);
  std::atomic<long> signalled{0}, taken{0}, wrong{0};
  std::atomic<bool> finished{false};
  std::thread watchdog([&] {  // a deadlock fails the suite instead of hanging it
    for (int i = 0; i < 3000 && !finished; ++i) usleep(10000);
    if (!finished) std::fprintf(stderr, "no progress after 30 s, %ld taken\n", taken.load());
    if (!finished) std::abort();
  });

  std::vector<std::thread> threads;
  for (int w = 0; w < k_waiters; ++w) {
    const std::vector<int> members{w % k_events, (w + 1) % k_events, (w + 4) % k_events,
                                   (w + 7) % k_events};
    threads.emplace_back([&, w, members] {
      std::vector<void*> group;
      for (int m : members) group.push_back(events[m].handle);
      group.push_back(pulse.handle);
      group.push_back(quit.handle);
      std::minstd_rand random(w + 1);
      for (;;) {
        int index = -1;
        const int result = (w % 2) ? zu::WaitForMultipleEventsEx(group, random() % 3, index)
                                   : zu::WaitForMultipleEventsEx(group, index);
        if (result == ETIMEDOUT && index == -1) continue;
        if (index == 5) return;  // quit
        if (result != 0 || index < 0) {
          ++wrong;
          return;
        }
        if (index == 4) {
          usleep(100);  // the pulse stays set until its signaller resets it
          continue;
        }
        ++taken;
        int expected = k_pending;
        if (!state[members[index]].compare_exchange_strong(expected, k_idle)) ++wrong;
      }
    });
  }
  std::vector<std::thread> signallers;
  for (int s = 0; s < k_signallers; ++s) {
    signallers.emplace_back([&, s] {
      std::minstd_rand random(100 + s);
      for (int sent = 0; sent < k_signalsEach;) {
        const int e = static_cast<int>(random() % k_events);
        int expected = k_idle;
        if (random() % 4 == 0) {
          if (state[e].compare_exchange_strong(expected, k_resetting)) {
            zu::ResetEventEx(events[e].handle);
            state[e] = k_idle;
          }
        } else if (state[e].compare_exchange_strong(expected, k_pending)) {
          events[e].Signal();
          ++signalled;
          if (++sent % 500 == 0) {
            pulse.Signal();
            zu::ResetEventEx(pulse.handle);
          }
        } else {
          std::this_thread::yield();
        }
      }
    });
  }
  for (auto& t : signallers) t.join();
  for (int i = 0; i < 20000 && taken < signalled; ++i) usleep(1000);
  quit.Signal();
  for (auto& t : threads) t.join();
  finished = true;
  watchdog.join();
  EXPECT_EQ(k_signallers * k_signalsEach, signalled.load());
  EXPECT_EQ(signalled.load(), taken.load());
  EXPECT_EQ(0, wrong.load());
  for (const Event& event : events) EXPECT_FALSE(event.Take());
}

}  // namespace
