// Large fresh outputs filled on 2 MiB pages, and the caller's memory left as it was afterwards.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <fstream>
#include <string>

#include "mapping_facts.h"
#include "platform/memory_platform.h"

namespace {

constexpr size_t k_largePage = size_t{2} << 20;
constexpr size_t k_slice = size_t{64} << 10;

bool SystemGivesLargePagesOnRequest() {
  std::ifstream file("/sys/kernel/mm/transparent_hugepage/enabled");
  std::string mode;
  std::getline(file, mode);
  return mode.find("[madvise]") != std::string::npos;
}

// Fresh anonymous memory, as an allocator gets it from the system for a large block.
class FreshMapping {
 public:
  explicit FreshMapping(size_t size) : size_(size) {
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    data_ = address == MAP_FAILED ? nullptr : static_cast<unsigned char*>(address);
  }
  ~FreshMapping() {
    if (data_) munmap(data_, size_);
  }
  unsigned char* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  unsigned char* data_;
  size_t size_;
};

// Writes the storage slice by slice as the codecs do, telling `fill` after each slice; returns
// whether a request was in force at some point during the fill.
bool FillAsAnOutput(qobase_internal::LargePageFill& fill, unsigned char* storage, size_t size) {
  bool requested = false;
  for (size_t done = 0; done < size; done += k_slice) {
    const size_t length = std::min(k_slice, size - done);
    std::memset(storage + done, static_cast<int>(done >> 16), length);
    fill.Advance(storage, done + length, size);
    requested = requested || fill.Requested();
  }
  return requested;
}

bool IsResident(const void* address) {
  unsigned char resident = 0;
  EXPECT_EQ(mincore(const_cast<void*>(address), 4096, &resident), 0);
  return (resident & 1) != 0;
}

class LargePageFillTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!SystemGivesLargePagesOnRequest())
      GTEST_SKIP() << "the system does not give large pages on request";
  }
};

}  // namespace

TEST_F(LargePageFillTest, FreshStorageIsFilledOnLargePagesAndLaterFaultsAreSmallAgain) {
  // Offset by a small page from a large-page boundary, as an allocator's block usually is.
  FreshMapping mapping(size_t{40} << 20);
  ASSERT_NE(mapping.data(), nullptr);
  unsigned char* const storage = mapping.data() + 4096;
  const size_t size = mapping.size() - 4096;
  {
    qobase_internal::LargePageFill fill;
    EXPECT_TRUE(FillAsAnOutput(fill, storage, size));
    EXPECT_GT(qotest::FactsOfMappingAt(storage + size / 2).largePageKilobytes, 0u);
  }
  for (size_t i = 0; i < size; i += 4099)
    ASSERT_EQ(storage[i], static_cast<unsigned char>(i >> 16));
  const qotest::MappingFacts after = qotest::FactsOfMappingAt(storage + size / 2);
  EXPECT_FALSE(after.largePagesAdvised);
  EXPECT_TRUE(after.largePagesRefused);

  // The allocator hands the storage back to the system and reuses it for small blocks: a
  // one-byte touch must cost one small page, not a large one.
  ASSERT_EQ(madvise(mapping.data(), mapping.size(), MADV_DONTNEED), 0);
  const auto base = reinterpret_cast<uintptr_t>(mapping.data());
  auto* const boundary = reinterpret_cast<unsigned char*>(
      ((base + mapping.size() / 2) + k_largePage - 1) & ~(uintptr_t{k_largePage} - 1));
  *boundary = 1;
  EXPECT_TRUE(IsResident(boundary));
  EXPECT_FALSE(IsResident(boundary + 4096));
}

TEST_F(LargePageFillTest, MemoryThatAlreadyHasPagesOrAskedItselfIsLeftAsItIs) {
  // Memory in use before (every page resident): nothing to gain, nothing asked.
  FreshMapping reused(size_t{24} << 20);
  ASSERT_NE(reused.data(), nullptr);
  std::memset(reused.data(), 7, reused.size());
  qobase_internal::LargePageFill reusedFill;
  EXPECT_FALSE(FillAsAnOutput(reusedFill, reused.data(), reused.size()));
  reusedFill.Finish();
  EXPECT_FALSE(qotest::FactsOfMappingAt(reused.data() + reused.size() / 2).largePagesRefused);

  // Memory its allocator put on large pages: the allocator's choice stays in force.
  FreshMapping advised(size_t{24} << 20);
  ASSERT_NE(advised.data(), nullptr);
  ASSERT_EQ(madvise(advised.data(), advised.size(), MADV_HUGEPAGE), 0);
  qobase_internal::LargePageFill advisedFill;
  FillAsAnOutput(advisedFill, advised.data(), advised.size());
  advisedFill.Finish();
  const qotest::MappingFacts facts = qotest::FactsOfMappingAt(advised.data() + advised.size() / 2);
  EXPECT_TRUE(facts.largePagesAdvised);
  EXPECT_FALSE(facts.largePagesRefused);
}

TEST_F(LargePageFillTest, SmallOutputsAskNothing) {
  FreshMapping mapping(size_t{8} << 20);
  ASSERT_NE(mapping.data(), nullptr);
  qobase_internal::LargePageFill fill;
  EXPECT_FALSE(FillAsAnOutput(fill, mapping.data(), mapping.size()));
  fill.Finish();
  EXPECT_FALSE(qotest::FactsOfMappingAt(mapping.data() + 4096).largePagesRefused);
}
