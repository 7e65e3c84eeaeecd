// LargePageFill on Linux: transparent huge pages requested with madvise where the system is in
// its "madvise" mode, with a one-page residency probe to leave memory alone that already has
// pages.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "platform/memory_platform.h"

namespace qobase_internal {
namespace {

constexpr uintptr_t k_largePage = uintptr_t{2} << 20;
constexpr uintptr_t k_smallPage = 4096;
// Below this much untouched storage the faults saved do not pay for two system calls.
constexpr uintptr_t k_minimumRequest = uintptr_t{8} << 20;

uintptr_t AlignUp(uintptr_t value, uintptr_t alignment) {
  return (value + alignment - 1) & ~(alignment - 1);
}

uintptr_t AlignDown(uintptr_t value, uintptr_t alignment) { return value & ~(alignment - 1); }

// True when the system gives large pages only to memory that asks for them. In that mode,
// memory that asked and then took the request back behaves exactly as memory that never asked.
// Read at each decision (once per large output), so a change of the mode is followed.
bool LargePagesOnRequestOnly() {
  if (sysconf(_SC_PAGESIZE) != static_cast<long>(k_smallPage)) return false;
  FILE* file = std::fopen("/sys/kernel/mm/transparent_hugepage/enabled", "re");
  if (!file) return false;
  char mode[128] = {};
  const bool read = std::fgets(mode, sizeof(mode), file) != nullptr;
  std::fclose(file);
  return read && std::strstr(mode, "[madvise]") != nullptr;
}

// True when the small page at `address` is resident (or cannot be asked about).
bool IsResident(uintptr_t address) {
  unsigned char resident = 1;
  if (mincore(reinterpret_cast<void*>(address), k_smallPage, &resident) != 0) return true;
  return (resident & 1) != 0;
}

}  // namespace

void LargePageFill::Advance(const void* storage, size_t touched, size_t capacity) {
  if (decided_) return;
  const auto start = reinterpret_cast<uintptr_t>(storage);
  const uintptr_t end = start + capacity;
  const uintptr_t firstBoundary = AlignUp(start, k_largePage);
  if (firstBoundary >= end ||
      AlignDown(end, k_largePage) - firstBoundary < k_largePage + k_minimumRequest) {
    decided_ = true;
    return;
  }
  const uintptr_t touchedEnd = start + touched;
  if (touchedEnd <= firstBoundary) return;  // not there yet
  decided_ = true;
  if (!LargePagesOnRequestOnly()) return;
  // The first untouched page of the large page the fill has just entered: resident when this
  // memory was already in use or is already on large pages.
  const uintptr_t probe = AlignUp(touchedEnd, k_smallPage);
  if (probe >= firstBoundary + k_largePage || IsResident(probe)) return;
  // That large page is on small pages by now; the request starts at the next one.
  const uintptr_t begin = firstBoundary + k_largePage;
  const uintptr_t length = AlignDown(end, k_largePage) - begin;
  if (madvise(reinterpret_cast<void*>(begin), length, MADV_HUGEPAGE) != 0) return;
  begin_ = begin;
  length_ = length;
}

void LargePageFill::Finish() {
  decided_ = true;
  if (length_ == 0) return;
  // The pages already faulted stay as they are; only later faults are affected.
  madvise(reinterpret_cast<void*>(begin_), length_, MADV_NOHUGEPAGE);
  length_ = 0;
}

}  // namespace qobase_internal
