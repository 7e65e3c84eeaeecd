// Threads: the main thread's identity, creation with scheduling attributes and its fallback for
// an ordinary user, member functions as thread routines, and what happens when no thread starts.
#include <qobase/system/events.h>
#include <qobase/system/thread.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>

#include <thread>

#include "support/files_child.h"

namespace {

// The scheduling a thread runs with, as it sees it.
struct Scheduling {
  int policy = -1;
  int priority = -1;
};

void* ReportScheduling(void* raw) {
  Scheduling* seen = static_cast<Scheduling*>(raw);
  sched_param parameters{};
  pthread_getschedparam(pthread_self(), &seen->policy, &parameters);
  seen->priority = parameters.sched_priority;
  return raw;
}

// Starts a thread with `properties`, joins it and returns what it saw; policy -1 when it did not
// start.
Scheduling RunWith(const QoThreadProperties& properties) {
  Scheduling seen;
  pthread_t thread = 1;
  QOPLATFORM::QoCreateThread(&ReportScheduling, &seen, properties, &thread, "probe");
  if (thread == 0) return Scheduling{};
  void* result = nullptr;
  pthread_join(thread, &result);
  if (result != &seen) return Scheduling{};
  return seen;
}

TEST(Thread, MainThreadIdentity) {
  EXPECT_EQ(0, qotest::RunInChild([] {
              if (IsMainThread()) return 1;
              bool onOther = true;
              std::thread([&] { onOther = IsMainThread(); }).join();
              if (onOther) return 2;
              if (!pthread_equal(SaveMainThread(), pthread_self()) || !IsMainThread()) return 3;
              std::thread([&] { onOther = IsMainThread(); }).join();
              return onOther ? 4 : 0;
            }));
}

TEST(Thread, SchedulingAskedForOrInheritedButAlwaysStarted) {
  // Ordinary scheduling is granted as asked.
  Scheduling seen = RunWith({0, 65536, SCHED_OTHER});
  EXPECT_EQ(SCHED_OTHER, seen.policy);
  // Real-time scheduling is granted when the process may have it, or else inherited.
  seen = RunWith({10, 65536, SCHED_FIFO});
  EXPECT_TRUE((seen.policy == SCHED_FIFO && seen.priority == 10) || seen.policy == SCHED_OTHER)
      << seen.policy << " " << seen.priority;

  // An ordinary user is refused real-time scheduling: every request still gives a thread with
  // the inherited scheduling. A policy the system does not know becomes FIFO, a priority outside
  // the policy's range is left at the default, a stack below the minimum keeps the default size.
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([] {
              const QoThreadProperties requests[] = {{10, 65536, SCHED_FIFO},
                                                     {5, 65536, SCHED_RR},
                                                     {10, 65536, 12345},
                                                     {1000, 65536, SCHED_FIFO},
                                                     {0, 16, SCHED_OTHER}};
              int failures = 0;
              for (const QoThreadProperties& request : requests) {
                const Scheduling seen = RunWith(request);
                if (seen.policy != SCHED_OTHER || seen.priority != 0) ++failures;
              }
              return failures;
            }));
}

class Worker {
 public:
  void* Compute() {
    m_result = 42;
    return &m_result;
  }
  void Touch() { m_touched = true; }
  int m_result = 0;
  bool m_touched = false;
};

TEST(Thread, RoutineWrapperCallsTheMember) {
  Worker worker;
  pthread_t thread = 0;
  QOPLATFORM::QoCreateThread(&zu::ThreadRoutineWrapper<&Worker::Compute>, &worker,
                             {0, 65536, SCHED_OTHER}, &thread, "worker");
  ASSERT_NE(0u, thread);
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(&worker.m_result, result);
  EXPECT_EQ(42, worker.m_result);
  EXPECT_EQ(nullptr, zu::ThreadRoutineWrapper<&Worker::Touch>(&worker));
  EXPECT_TRUE(worker.m_touched);
}

// An ordinary user with no thread left to start.
TEST(Thread, NoThreadLeft) {
  EXPECT_EQ(
      0, qotest::RunAsOrdinaryUser([] {
        const rlimit none{0, 0};
        if (setrlimit(RLIMIT_NPROC, &none) != 0) return 10;
        pthread_t thread = 1;
        Scheduling seen;
        QOPLATFORM::QoCreateThread(&ReportScheduling, &seen, {0, 65536, SCHED_OTHER}, &thread, "");
        if (thread != 0) return 11;
        if (zu::WaitForThread(pthread_self(), 10) != zu::k_waitThreadNotStarted) return 12;
        return 0;
      }));
}

}  // namespace
