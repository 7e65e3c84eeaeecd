// Memory services that differ between platforms: faulting in a large fresh output on 2 MiB
// pages. One source file per platform implements them (src/platform/linux/ here).
#pragma once

#include <cstddef>
#include <cstdint>

namespace qobase_internal {

// Filling fresh memory one 4 KiB page at a time costs a fault per page, which for a large output
// can take longer than computing its bytes. Where the system hands out 2 MiB pages only to memory
// that asks for them, a fill can ask for the part of its output it has not touched yet, and take
// the request back when it ends, so the caller's allocator later reuses that storage exactly as
// before (a later small allocation there faults a small page, not a large one).
//
// Nothing is asked when the storage already has pages (reused memory, or memory the allocator or
// the system already gives large pages: the request would change nothing and taking it back
// would undo the allocator's own choice), when the output is too small to gain, or when the
// system gives large pages to everyone or to no one. The bytes written are never affected.
class LargePageFill {
 public:
  LargePageFill() = default;
  LargePageFill(const LargePageFill&) = delete;
  LargePageFill& operator=(const LargePageFill&) = delete;
  ~LargePageFill() { Finish(); }

  // Tells the fill's progress: of the storage [storage, storage + capacity), the `touched`
  // bytes from its start have been written, the rest not yet. Decides once, as soon as the fill
  // has touched the first 2 MiB boundary inside the storage, whether to ask for the rest.
  void Advance(const void* storage, size_t touched, size_t capacity);

  // Takes the request back; later calls of Advance ask nothing. Called by the destructor.
  void Finish();

  // True while a request made by this fill is in force (for tests).
  bool Requested() const { return length_ != 0; }

 private:
  bool decided_ = false;
  uintptr_t begin_ = 0;
  size_t length_ = 0;
};

}  // namespace qobase_internal
