// Memory services that differ between platforms: advice on how a freshly allocated block is
// about to be used. One source file per platform implements them (src/platform/linux/ here).
#pragma once

#include <cstddef>

namespace zu {
namespace platform {

// Advises the system that the block [start, start + size), just allocated and not yet touched,
// is about to be written through in full. Where the system can back such a block with large
// pages, its aligned interior is moved to them, so that writing it costs one page fault per
// large page instead of one per page. Content and ownership do not change; small blocks and
// systems without large pages are left alone, and a refused advice changes nothing.
void AdviseFreshLargeBlock(void* start, std::size_t size);

}  // namespace platform
}  // namespace zu
