// zu::CriticalSection: re-entry by the holder, exclusion of other threads.
#include <qobase/system/critical_section.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace {

TEST(CriticalSection, HolderMayReenterOthersWait) {
  zu::CriticalSection section;
  section.Lock();
  EXPECT_TRUE(section.TryLock());
  bool otherGot = true;
  std::thread other([&] { otherGot = section.TryLock(); });
  other.join();
  EXPECT_FALSE(otherGot);
  section.Unlock();
  // Still held once.
  std::thread stillHeld([&] { otherGot = section.TryLock(); });
  stillHeld.join();
  EXPECT_FALSE(otherGot);
  section.Unlock();
  std::thread free([&] {
    otherGot = section.TryLock();
    if (otherGot) section.Unlock();
  });
  free.join();
  EXPECT_TRUE(otherGot);
}

TEST(CriticalSection, SerialisesIncrements) {
  zu::CriticalSection section;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        zu::CriticalSectionLock outer(section);
        std::lock_guard<zu::CriticalSection> inner(section);
        const long read = counter;
        counter = read + 1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(80000, counter);
}

}  // namespace
