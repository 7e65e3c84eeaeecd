// Ticks, timestamps and their display, the scoped locale change, and timers with KillTimer.
#include <qobase/system/clock.h>
#include <qobase/system/locale_helpers.h>
#include <qobase/system/timer.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <string>

#include "support/files_child.h"

namespace {

TEST(Clock, TickCountsWallClockMilliseconds) {
  const unsigned int before = zu::GetTickCount();
  const auto wall = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::system_clock::now().time_since_epoch());
  EXPECT_LE(static_cast<unsigned int>(wall.count()) - before, 20u);
  usleep(100000);
  const unsigned int elapsed = zu::GetTickCount() - before;
  EXPECT_TRUE(elapsed >= 99) << elapsed;
  EXPECT_TRUE(elapsed < 1000) << elapsed;
  EXPECT_LE(std::llabs(zu::Timestamp::GetCurrentTimestamp() - time(nullptr)), 1);
}

TEST(Clock, UserFormatOfTimestamps) {
  // In a child: the time zone and locale come from the environment.
  EXPECT_EQ(0, qotest::RunInChild([] {
              setenv("TZ", "UTC", 1);
              setenv("LC_ALL", "C.utf8", 1);
              const long long k_1970 = 116444736000000000LL;  // in 100-ns intervals since 1601
              const std::pair<long long, const char*> cases[] = {
                  {-1, ""},
                  {0, "01/01/70 00:00:00"},
                  {1000000000, "09/09/01 01:46:40"},
                  {k_1970 + 10000000LL * 1000000000 + 9999999, "09/09/01 01:46:40"},
                  {72057594037927936LL, ""},  // 2^56 is still seconds, beyond any year there is
                  {72057594037927937LL, "05/05/29 23:50:04"},  // 2^56 + 1: intervals, toward zero
              };
              int failures = 0;
              for (const auto& [timestamp, text] : cases) {
                failures += zu::Timestamp::ToUserFormatString(timestamp) != text;
              }
              // The locale in force before is back; a locale the system lacks is no failure.
              failures += 10 * (std::locale().name() != "C" ||
                                std::string(setlocale(LC_ALL, nullptr)) != "C");
              setenv("LC_ALL", "xx_NOWHERE.bogus", 1);
              return failures + 100 * (zu::Timestamp::ToUserFormatString(0) != "01/01/70 00:00:00");
            }));
}

TEST(Clock, AutoLocaleChangeRestoresBothLocales) {
  const std::locale other("C.utf8");
  {
    zu::LocaleHelpers::AutoLocaleChange outer(other);
    EXPECT_EQ(other.name(), std::string(setlocale(LC_ALL, nullptr)));
    {
      zu::LocaleHelpers::AutoLocaleChange inner(std::locale::classic());
      EXPECT_EQ("C", std::string(setlocale(LC_ALL, nullptr)));
    }
    EXPECT_EQ(other.name(), std::locale().name());
  }
  EXPECT_EQ("C", std::locale().name());
  EXPECT_EQ("C", std::string(setlocale(LC_ALL, nullptr)));
}

// Waits (bounded) until `counter` reaches `count`.
bool AwaitCount(const std::atomic<int>& counter, int count) {
  for (int i = 0; i < 5000 && counter < count; ++i) usleep(1000);
  return counter >= count;
}

TEST(Timer, KillTimerEndsTheCallsAndFreesTheContext) {
  // The context blocks are freed by KillTimer: the sanitizer build's leak checker sees it.
  std::atomic<int> calls{0};
  zu::dispatch_source_t timer = zu::CreateTimerSource(2, [&calls] { ++calls; });
  ASSERT_NE(nullptr, timer);
  zu::SetTimerContext(timer, std::malloc(64));
  ASSERT_TRUE(AwaitCount(calls, 3));
  zu::KillTimer(timer);
  const int afterKill = calls;
  usleep(20000);
  EXPECT_EQ(afterKill, calls);

  // Killed from its own handler, that call is the last. The count is the handler's last touch of
  // the test's variables.
  std::atomic<int> selfCalls{0};
  std::atomic<zu::dispatch_source_t> self{nullptr};
  timer = zu::CreateTimerSource(1, [&] {
    if (zu::dispatch_source_t current = self.exchange(nullptr)) zu::KillTimer(current);
    ++selfCalls;
  });
  zu::SetTimerContext(timer, std::malloc(16));
  self = timer;
  ASSERT_TRUE(AwaitCount(selfCalls, 1));
  usleep(20000);
  EXPECT_EQ(1, selfCalls);
}

}  // namespace
