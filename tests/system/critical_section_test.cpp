// zu::CriticalSection: re-entry by the holder, exclusion of other threads.
#include <qobase/system/critical_section.h>

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

namespace {

bool TryFromOtherThread(zu::CriticalSection& section) {
  bool got = false;
  std::thread other([&] {
    got = section.TryLock();
    if (got) section.Unlock();
  });
  other.join();
  return got;
}

TEST(CriticalSection, HolderMayReenterOthersWait) {
  zu::CriticalSection section;
  section.Lock();
  EXPECT_TRUE(section.TryLock());
  EXPECT_TRUE(!TryFromOtherThread(section));
  section.Unlock();
  EXPECT_FALSE(TryFromOtherThread(section));  // still held once
  section.Unlock();
  EXPECT_TRUE(TryFromOtherThread(section));
  // Nested holds in three threads at once never lose an increment.
  long counter = 0;
  const auto count = [&] {
    for (int i = 0; i < 20000; ++i) {
      zu::CriticalSectionLock outer(section);
      std::lock_guard<zu::CriticalSection> inner(section);
      counter = counter + 1;
    }
  };
  std::thread a(count), b(count);
  count();
  a.join();
  b.join();
  EXPECT_EQ(60000, counter);
}

}  // namespace
