// Threads: the main thread's identity, creation with scheduling attributes and its fallback for
// an ordinary user, member functions as thread routines, and what happens when nothing starts.
#include <qobase/system/events.h>
#include <qobase/system/process.h>
#include <qobase/system/thread.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <thread>

#include "support/files_child.h"

namespace {

struct Scheduling {
  int policy = -1;
  int priority = -1;
  void* Report() {
    sched_param parameters{};
    pthread_getschedparam(pthread_self(), &policy, &parameters);
    priority = parameters.sched_priority;
    return this;
  }
};

// The scheduling a thread made with `properties` runs with; policy -1 when none started.
Scheduling RunWith(const QoThreadProperties& properties) {
  Scheduling seen;
  pthread_t thread = 1;
  QOPLATFORM::QoCreateThread(&zu::ThreadRoutineWrapper<&Scheduling::Report>, &seen, properties,
                             &thread, "probe");
  void* result = nullptr;
  if (thread == 0 || pthread_join(thread, &result) != 0 || result != &seen) return Scheduling{};
  return seen;
}

TEST(Thread, MainThreadIdentity) {
  EXPECT_EQ(0, qotest::RunInChild([] {
              bool onOther = true;
              const auto other = [&] { std::thread([&] { onOther = IsMainThread(); }).join(); };
              if (IsMainThread() || (other(), onOther)) return 1;
              if (!pthread_equal(SaveMainThread(), pthread_self()) || !IsMainThread()) return 2;
              return (other(), onOther) ? 3 : 0;
            }));
}

TEST(Thread, SchedulingAskedForOrInheritedButAlwaysStarted) {
  EXPECT_EQ(SCHED_OTHER, RunWith({0, 65536, SCHED_OTHER}).policy);
  // Real-time scheduling is granted when the process may have it, or else inherited.
  const Scheduling seen = RunWith({10, 65536, SCHED_FIFO});
  EXPECT_TRUE((seen.policy == SCHED_FIFO && seen.priority == 10) || seen.policy == SCHED_OTHER);
  // An ordinary user is refused real-time scheduling: every request still starts a thread, with
  // the inherited scheduling. An unknown policy becomes FIFO, a priority outside the policy's
  // range stays the default, a stack below the minimum keeps the default size.
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([] {
              int failures = 0;
              for (const QoThreadProperties& request : {QoThreadProperties{10, 65536, SCHED_FIFO},
                                                        {5, 65536, SCHED_RR},
                                                        {10, 65536, 12345},
                                                        {1000, 65536, SCHED_FIFO},
                                                        {0, 16, SCHED_OTHER}}) {
                const Scheduling seen = RunWith(request);
                failures += seen.policy != SCHED_OTHER || seen.priority != 0;
              }
              return failures;
            }));
}

struct Flag {
  bool set = false;
  void Set() { set = true; }
};

TEST(Thread, RoutineWrapperOfAMemberReturningNothing) {
  Flag flag;
  EXPECT_EQ(nullptr, zu::ThreadRoutineWrapper<&Flag::Set>(&flag));
  EXPECT_TRUE(flag.set);
}

// An ordinary user with no process or thread left to start: no thread (identifier 0), no fork
// (pid negative), and the timed waits report that they could not start their helper.
TEST(Thread, NothingLeftToStart) {
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([] {
              const rlimit none{0, 0};
              if (setrlimit(RLIMIT_NPROC, &none) != 0) return 10;
              if (RunWith({0, 65536, SCHED_OTHER}).policy != -1) return 11;
              zu::Process process{5, 5};
              if (zu::CreateProcess("/bin/true", process, false) || process.pid >= 0) return 12;
              zu::Process parent{getppid(), 0};
              unsigned int code = 3;
              if (zu::WaitForProcess(parent, 100, code) != zu::k_processWaitFailed || code != 3)
                return 13;
              return zu::WaitForThread(pthread_self(), 10) == zu::k_waitThreadNotStarted ? 0 : 14;
            }));
}

}  // namespace
