// Events: wake-up rules of single and group waits, time-outs that leave nothing behind, waiting
// for threads, and a stress run with overlapping groups in which every signal is accounted for.
#include <qobase/system/events.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// An event for the length of a test.
class Event {
 public:
  explicit Event(bool manualReset) { EXPECT_TRUE(zu::CreateEventEx(m_handle, manualReset)); }
  ~Event() { zu::DestroyEventEx(m_handle); }
  void* const& Handle() const { return m_handle; }
  void Signal() const { zu::SignalEventEx(m_handle); }
  // True when a test without waiting finds it signalled (consuming an auto-reset event).
  bool Take() const { return zu::WaitForEventEx(m_handle, 0) == 0; }

 private:
  void* m_handle = nullptr;
};

// Group registrations an event holds, stale ones included.
size_t RegisteredWaiters(void* handle) {
  zu::POSIXEvent* event = static_cast<zu::POSIXEvent*>(handle);
  pthread_mutex_lock(&event->mutex);
  const size_t count = event->waiters.size();
  pthread_mutex_unlock(&event->mutex);
  return count;
}

// Waits (bounded) until `handle` holds `count` registrations.
bool AwaitRegistrations(void* handle, size_t count) {
  const auto limit = Clock::now() + std::chrono::seconds(5);
  while (RegisteredWaiters(handle) != count) {
    if (Clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}

// A thread waiting on a group without limit; its result and index are read after Join.
class GroupWaiter {
 public:
  explicit GroupWaiter(std::vector<void*> group)
      : m_thread([this, group] { m_result = zu::WaitForMultipleEventsEx(group, m_index); }) {}
  void Join() { m_thread.join(); }
  int Result() const { return m_result; }
  int Index() const { return m_index; }

 private:
  int m_result = -2;
  int m_index = -2;
  std::thread m_thread;
};

TEST(Events, SingleWaitsFollowTheResetKind) {
  Event manual(true), autoReset(false);
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(manual.Handle(), 0));
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(autoReset.Handle(), 0));

  // A manual-reset event satisfies every wait until it is reset.
  manual.Signal();
  EXPECT_EQ(0, zu::WaitForEventEx(manual.Handle(), 0));
  EXPECT_EQ(0, zu::WaitForEventEx(manual.Handle(), 50));
  zu::WaitForEventEx(manual.Handle());
  zu::ResetEventEx(manual.Handle());
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(manual.Handle(), 0));

  // An auto-reset event satisfies exactly one, and signalling it twice does not queue a second.
  autoReset.Signal();
  autoReset.Signal();
  EXPECT_EQ(0, zu::WaitForEventEx(autoReset.Handle(), 0));
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(autoReset.Handle(), 0));
  autoReset.Signal();
  zu::ResetEventEx(autoReset.Handle());
  EXPECT_FALSE(autoReset.Take());

  // A finite wait lasts its time-out; a signal from another thread ends it early.
  const auto start = Clock::now();
  EXPECT_EQ(ETIMEDOUT, zu::WaitForEventEx(autoReset.Handle(), 30));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(29));
  std::thread signaller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    autoReset.Signal();
  });
  EXPECT_EQ(0, zu::WaitForEventEx(autoReset.Handle(), 5000));
  signaller.join();
  EXPECT_FALSE(autoReset.Take());

  // Null handles are ignored or refused, never followed.
  void* none = nullptr;
  zu::SignalEventEx(none);
  zu::ResetEventEx(none);
  EXPECT_EQ(EINVAL, zu::WaitForEventEx(none, 0));
  zu::DestroyEventEx(none);
  EXPECT_EQ(nullptr, none);
}

TEST(Events, GroupWaitTakesTheFirstSignalledInOrder) {
  struct Case {
    bool manualReset;
    std::vector<int> signalled;
    int expectedIndex;
  };
  const Case cases[] = {
      {false, {2, 4}, 2}, {true, {2, 4}, 2}, {false, {4}, 4}, {false, {0, 1}, 0}, {true, {}, -1}};
  for (const Case& c : cases) {
    std::vector<Event> events;
    events.reserve(5);
    std::vector<void*> group;
    for (int i = 0; i < 5; ++i) {
      events.emplace_back(c.manualReset);
      group.push_back(events.back().Handle());
    }
    for (int position : c.signalled) events[position].Signal();
    int index = 99;
    const int result = zu::WaitForMultipleEventsEx(group, 0, index);
    EXPECT_EQ(c.expectedIndex == -1 ? ETIMEDOUT : 0, result);
    EXPECT_EQ(c.expectedIndex, index);
    // Only the winner is consumed, and only when it resets itself; later events are untouched.
    for (int position : c.signalled) {
      const bool consumed = !c.manualReset && position == c.expectedIndex;
      EXPECT_EQ(!consumed, events[position].Take()) << "event " << position;
    }
  }
}

TEST(Events, AutoResetGoesToTheOldestLiveGroupWaiter) {
  Event shared(false), first(false), second(false);
  GroupWaiter older({first.Handle(), shared.Handle()});
  ASSERT_TRUE(AwaitRegistrations(shared.Handle(), 1));
  GroupWaiter younger({second.Handle(), shared.Handle()});
  ASSERT_TRUE(AwaitRegistrations(shared.Handle(), 2));

  shared.Signal();
  older.Join();
  EXPECT_EQ(0, older.Result());
  EXPECT_EQ(1, older.Index());
  // The signal was consumed: the younger waiter still waits and the event is not left set.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(shared.Take());
  second.Signal();
  younger.Join();
  EXPECT_EQ(0, younger.Index());
}

TEST(Events, ManualResetWakesEveryGroupWaiterAtItsOwnPosition) {
  Event gate(true), a(false), b(false);
  GroupWaiter atZero({gate.Handle(), a.Handle()});
  GroupWaiter atTwo({a.Handle(), b.Handle(), gate.Handle()});
  GroupWaiter atOne({b.Handle(), gate.Handle()});
  ASSERT_TRUE(AwaitRegistrations(gate.Handle(), 3));
  gate.Signal();
  atZero.Join();
  atTwo.Join();
  atOne.Join();
  EXPECT_EQ(0, atZero.Index());
  EXPECT_EQ(2, atTwo.Index());
  EXPECT_EQ(1, atOne.Index());
  EXPECT_EQ(0, RegisteredWaiters(gate.Handle()));
  EXPECT_TRUE(gate.Take());
  EXPECT_TRUE(gate.Take());
}

TEST(Events, TimedOutGroupWaitLeavesNoEntryThatSwallowsASignal) {
  Event target(false), other(false);
  int index = 7;
  const auto start = Clock::now();
  EXPECT_EQ(ETIMEDOUT, zu::WaitForMultipleEventsEx({other.Handle(), target.Handle()}, 20, index));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(19));
  EXPECT_EQ(-1, index);
  // The next registration prunes the stale entry; its own is stale once it has timed out.
  EXPECT_EQ(ETIMEDOUT, zu::WaitForMultipleEventsEx({target.Handle()}, 0, index));
  EXPECT_EQ(1u, RegisteredWaiters(target.Handle()));

  // With no live waiter the signal stays set for a single waiter.
  target.Signal();
  EXPECT_EQ(0u, RegisteredWaiters(target.Handle()));
  EXPECT_TRUE(target.Take());

  // A waiter that times out while a live one is registered behind it: the signal goes past the
  // stale entry to the live waiter.
  int staleResult = 0;
  std::thread stale([&] {
    int staleIndex = 0;
    staleResult = zu::WaitForMultipleEventsEx({target.Handle()}, 150, staleIndex);
  });
  ASSERT_TRUE(AwaitRegistrations(target.Handle(), 1));
  GroupWaiter live({other.Handle(), target.Handle()});
  ASSERT_TRUE(AwaitRegistrations(target.Handle(), 2));
  stale.join();
  EXPECT_EQ(ETIMEDOUT, staleResult);
  target.Signal();
  live.Join();
  EXPECT_EQ(1, live.Index());
  EXPECT_FALSE(target.Take());

  // Destroying an event with stale entries releases their records (the leak checker sees it).
  void* lone = nullptr;
  zu::CreateEventEx(lone, false);
  EXPECT_EQ(ETIMEDOUT, zu::WaitForMultipleEventsEx({lone, lone}, 0, index));
  zu::DestroyEventEx(lone);
  EXPECT_EQ(nullptr, lone);
}

// Signals landing right at the time-out of single and group waits: each is either reported by
// the wait or still set afterwards, never consumed by a wait that reports a time-out.
TEST(Events, SignalAtTheTimeOutEdgeIsTakenOrKept) {
  Event event(false);
  int reported = 0;
  for (int i = 0; i < 120; ++i) {
    std::thread signaller([&event, i] {
      usleep(static_cast<useconds_t>(600 + (i % 5) * 200));
      event.Signal();
    });
    int index = -1;
    const int result = (i % 2) ? zu::WaitForMultipleEventsEx({event.Handle()}, 1, index)
                               : zu::WaitForEventEx(event.Handle(), 1);
    signaller.join();
    if (result == 0) {
      ++reported;
      EXPECT_FALSE(event.Take()) << "iteration " << i;
    } else {
      ASSERT_EQ(ETIMEDOUT, result);
      EXPECT_EQ(-1, index);
      EXPECT_TRUE(event.Take()) << "signal lost in iteration " << i;
    }
  }
  std::printf("signals reported by the wait: %d of 120\n", reported);
}

TEST(Events, WaitForThreadJoinsOrLeavesTheThreadJoinable) {
  pthread_t quick;
  ASSERT_EQ(0, pthread_create(
                   &quick, nullptr, [](void*) -> void* { return nullptr; }, nullptr));
  EXPECT_EQ(0u, zu::WaitForThread(quick, 2000));

  std::atomic<bool> release{false};
  pthread_t slow;
  ASSERT_EQ(0, pthread_create(
                   &slow, nullptr,
                   [](void* flag) -> void* {
                     while (!static_cast<std::atomic<bool>*>(flag)->load()) usleep(1000);
                     return nullptr;
                   },
                   &release));
  EXPECT_EQ(static_cast<unsigned>(ETIMEDOUT), zu::WaitForThread(slow, 20));
  release = true;
  EXPECT_EQ(0, pthread_join(slow, nullptr));

  // Threads ending right at the time-out: whatever the outcome, the thread is joined exactly once
  // (a second join of a joined thread would fail or hang), and nothing deadlocks.
  int timedOut = 0;
  for (int i = 0; i < 60; ++i) {
    pthread_t edge;
    const long sleepUs = 500 + (i % 6) * 200;
    ASSERT_EQ(0, pthread_create(
                     &edge, nullptr,
                     [](void* us) -> void* {
                       usleep(static_cast<useconds_t>(reinterpret_cast<long>(us)));
                       return nullptr;
                     },
                     reinterpret_cast<void*>(sleepUs)));
    const unsigned result = zu::WaitForThread(edge, 1);
    ASSERT_TRUE(result == 0 || result == static_cast<unsigned>(ETIMEDOUT));
    if (result != 0) {
      ++timedOut;
      EXPECT_EQ(0, pthread_join(edge, nullptr));
    }
  }
  std::printf("threads still running at the time-out: %d of 60\n", timedOut);
}

// 8 threads wait on overlapping groups of auto-reset events while 4 threads signal them and
// reset idle ones. An event is only signalled again after a waiter reported taking its last
// signal, so signals never merge and each must be taken exactly once. Some waits time out and
// leave stale entries behind. Every group also holds a manual-reset pulse (signalled and reset at
// once) and, last, a manual-reset quit event.
TEST(EventStress, OverlappingGroupsAccountForEverySignal) {
  const int k_events = 12, k_waiters = 8, k_signallers = 4, k_signalsEach = 5000;
  enum : int { k_idle = 0, k_pending = 1, k_resetting = 2 };
  std::vector<Event> events;
  events.reserve(k_events);
  for (int i = 0; i < k_events; ++i) events.emplace_back(false);
  Event pulse(true), quit(true);
  std::vector<std::atomic<int>> state(k_events);
  for (auto& s : state) s = k_idle;
  std::atomic<long> taken{0}, pulses{0}, wrongIndex{0}, badResult{0}, timeouts{0};

  // A watchdog turns a deadlock into a failure instead of a hung suite.
  std::mutex doneMutex;
  std::condition_variable doneChanged;
  bool done = false;
  std::thread watchdog([&] {
    std::unique_lock<std::mutex> lock(doneMutex);
    if (!doneChanged.wait_for(lock, std::chrono::seconds(30), [&] { return done; })) {
      std::fprintf(stderr, "event stress: no progress after 30 s, taken %ld\n", taken.load());
      std::abort();
    }
  });

  std::vector<std::thread> waiters;
  std::vector<bool> covered(k_events, false);
  for (int w = 0; w < k_waiters; ++w) {
    std::vector<int> members{w % k_events, (w + 1) % k_events, (w + 4) % k_events,
                             (w + 7) % k_events};
    for (int m : members) covered[m] = true;
    waiters.emplace_back([&, w, members] {
      std::vector<void*> group;
      for (int m : members) group.push_back(events[m].Handle());
      group.push_back(pulse.Handle());
      group.push_back(quit.Handle());
      const int pulseIndex = static_cast<int>(members.size());
      std::minstd_rand random(static_cast<unsigned>(w + 1));
      for (;;) {
        int index = -1;
        // Half the waiters wait briefly and time out often; the others wait without limit.
        const int result = (w % 2) ? zu::WaitForMultipleEventsEx(group, random() % 3, index)
                                   : zu::WaitForMultipleEventsEx(group, index);
        if (result == ETIMEDOUT && index == -1) {
          ++timeouts;
          continue;
        }
        if (result != 0 || index < 0 || index > pulseIndex + 1) {
          ++badResult;
          return;
        }
        if (index == pulseIndex + 1) return;
        if (index == pulseIndex) {
          // The pulse stays set until its signaller resets it; do not spin on it meanwhile.
          ++pulses;
          std::this_thread::sleep_for(std::chrono::microseconds(100));
          continue;
        }
        ++taken;
        int expected = k_pending;
        if (!state[members[index]].compare_exchange_strong(expected, k_idle)) ++wrongIndex;
      }
    });
  }
  for (int i = 0; i < k_events; ++i) ASSERT_TRUE(covered[i]) << "event " << i << " in no group";

  std::atomic<long> signalled{0}, resets{0};
  std::vector<std::thread> signallers;
  for (int s = 0; s < k_signallers; ++s) {
    signallers.emplace_back([&, s] {
      std::minstd_rand random(static_cast<unsigned>(100 + s));
      int sent = 0;
      while (sent < k_signalsEach) {
        const int e = static_cast<int>(random() % k_events);
        int expected = k_idle;
        if (random() % 4 == 0) {
          if (state[e].compare_exchange_strong(expected, k_resetting)) {
            zu::ResetEventEx(events[e].Handle());
            state[e] = k_idle;
            ++resets;
          }
        } else if (state[e].compare_exchange_strong(expected, k_pending)) {
          events[e].Signal();
          ++signalled;
          ++sent;
          if (sent % 500 == 0) {
            pulse.Signal();
            zu::ResetEventEx(pulse.Handle());
          }
        } else {
          std::this_thread::yield();
        }
      }
    });
  }
  for (auto& t : signallers) t.join();
  const auto limit = Clock::now() + std::chrono::seconds(30);
  while (taken.load() < signalled.load() && Clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  quit.Signal();
  for (auto& t : waiters) t.join();
  {
    std::lock_guard<std::mutex> lock(doneMutex);
    done = true;
  }
  doneChanged.notify_all();
  watchdog.join();

  EXPECT_EQ(k_signallers * k_signalsEach, signalled.load());
  EXPECT_EQ(signalled.load(), taken.load());
  EXPECT_EQ(0, wrongIndex.load());
  EXPECT_EQ(0, badResult.load());
  for (int i = 0; i < k_events; ++i) EXPECT_FALSE(events[i].Take()) << "event " << i << " left set";
  std::printf("signals %ld, taken %ld, resets %ld, pulses seen %ld, time-outs %ld\n",
              signalled.load(), taken.load(), resets.load(), pulses.load(), timeouts.load());
}

}  // namespace
