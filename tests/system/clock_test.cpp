// Ticks, timestamps and their display, the scoped locale change, and timers with KillTimer.
#include <qobase/system/clock.h>
#include <qobase/system/locale_helpers.h>
#include <qobase/system/timer.h>

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <string>
#include <thread>

#include "support/files_child.h"

namespace {

using Clock = std::chrono::steady_clock;

TEST(Clock, TickCountsWallClockMilliseconds) {
  const auto wallMs = [] {
    return static_cast<unsigned int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                         std::chrono::system_clock::now().time_since_epoch())
                                         .count());
  };
  const unsigned int before = zu::GetTickCount();
  EXPECT_LE(static_cast<unsigned int>(wallMs() - before), 20u);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const unsigned int elapsed = zu::GetTickCount() - before;
  EXPECT_GE(elapsed, 99u);
  EXPECT_LT(elapsed, 1000u);
  const long long now = zu::Timestamp::GetCurrentTimestamp();
  EXPECT_LE(std::llabs(now - static_cast<long long>(time(nullptr))), 1);
}

TEST(Clock, UserFormatOfTimestamps) {
  // In a child: the time zone and locale come from the environment.
  EXPECT_EQ(
      0, qotest::RunInChild([] {
        setenv("TZ", "UTC", 1);
        tzset();
        setenv("LC_ALL", "C.utf8", 1);
        const long long k_intervalsTo1970 = 116444736000000000LL;
        const struct {
          long long timestamp;
          const char* text;
        } cases[] = {
            {-1, ""},
            {0, "01/01/70 00:00:00"},
            {31539661, "01/01/71 01:01:01"},
            {1000000000, "09/09/01 01:46:40"},
            {k_intervalsTo1970 + 10000000LL * 1000000000, "09/09/01 01:46:40"},
            {k_intervalsTo1970 + 10000000LL * 1000000000 + 9999999, "09/09/01 01:46:40"},
            // 2^56 is still seconds, far beyond any year the C library can convert.
            {72057594037927936LL, ""},
            // 2^56 + 1 is the first interval count: before 1970, truncated toward zero.
            {72057594037927937LL, "05/05/29 23:50:04"},
        };
        int failures = 0;
        for (const auto& c : cases) {
          if (zu::Timestamp::ToUserFormatString(c.timestamp) != c.text) ++failures;
        }
        // The locale in force before is back afterwards.
        if (std::locale().name() != "C" || std::string(std::setlocale(LC_ALL, nullptr)) != "C") {
          failures += 100;
        }
        // A locale the system does not have is no failure.
        setenv("LC_ALL", "xx_NOWHERE.bogus", 1);
        if (zu::Timestamp::ToUserFormatString(0) != "01/01/70 00:00:00") failures += 1000;
        return failures;
      }));
}

TEST(Clock, AutoLocaleChangeRestoresBothLocales) {
  const std::locale other("C.utf8");
  ASSERT_EQ("C", std::locale().name());
  {
    zu::LocaleHelpers::AutoLocaleChange outer(other);
    EXPECT_EQ(other.name(), std::locale().name());
    EXPECT_EQ(other.name(), std::string(std::setlocale(LC_ALL, nullptr)));
    {
      zu::LocaleHelpers::AutoLocaleChange inner(std::locale::classic());
      EXPECT_EQ("C", std::string(std::setlocale(LC_ALL, nullptr)));
    }
    EXPECT_EQ(other.name(), std::locale().name());
  }
  EXPECT_EQ("C", std::locale().name());
  EXPECT_EQ("C", std::string(std::setlocale(LC_ALL, nullptr)));
}

// Waits (bounded) until `counter` reaches `count`.
bool AwaitCount(const std::atomic<int>& counter, int count) {
  const auto limit = Clock::now() + std::chrono::seconds(5);
  while (counter.load() < count) {
    if (Clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

TEST(Timer, KillTimerStopsTheHandlerAndFreesTheContext) {
  std::atomic<int> calls{0};
  zu::dispatch_source_t timer = zu::CreateTimerSource(2, [&calls] { ++calls; });
  ASSERT_NE(nullptr, timer);
  EXPECT_EQ(nullptr, zu::GetTimerContext(timer));
  // The context block is freed by KillTimer: the leak checker of the sanitizer build sees it.
  zu::SetTimerContext(timer, std::malloc(64));
  ASSERT_TRUE(AwaitCount(calls, 3));
  zu::KillTimer(timer);
  const int afterKill = calls.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(afterKill, calls.load());
  zu::dispatch_source_t none = nullptr;
  zu::KillTimer(none);

  // Killed from its own handler: that call is the last.
  std::atomic<int> selfCalls{0};
  std::atomic<zu::dispatch_source_t> self{nullptr};
  // The count is the handler's last touch of the test's variables: the test may end once it sees
  // it.
  zu::dispatch_source_t selfKilling = zu::CreateTimerSource(1, [&] {
    zu::dispatch_source_t current = self.exchange(nullptr);
    if (current) zu::KillTimer(current);
    ++selfCalls;
  });
  ASSERT_NE(nullptr, selfKilling);
  zu::SetTimerContext(selfKilling, std::malloc(16));
  self = selfKilling;
  ASSERT_TRUE(AwaitCount(selfCalls, 1));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(1, selfCalls.load());
}

TEST(Timer, CancelAndReleaseByHand) {
  std::atomic<int> calls{0};
  zu::dispatch_source_t timer = zu::CreateTimerSource(1, [&calls] {
    ++calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  });
  ASSERT_NE(nullptr, timer);
  ASSERT_TRUE(AwaitCount(calls, 1));
  // Two cancellations from different threads both return after the last handler call.
  std::thread other([timer] { zu::CancelTimerSource(timer); });
  zu::CancelTimerSource(timer);
  other.join();
  const int afterCancel = calls.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(15));
  EXPECT_EQ(afterCancel, calls.load());
  int context = 0;
  zu::SetTimerContext(timer, &context);
  EXPECT_EQ(&context, zu::GetTimerContext(timer));
  zu::ReleaseTimerSource(timer);
}

}  // namespace
