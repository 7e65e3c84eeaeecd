// The walk over the chunk heads of a RIFF container that every chunk search of the editor follows,
// and with it the editor's record of the chunks it carries over, read through a window of the
// file.
#pragma once

#include <qobase/audio/wave_format.h>
#include <qobase/files/file.h>

#include <cstdint>
#include <memory>

namespace qobase_audio {

// Chunk heads one after the other from a start offset: each head's size (swapped in a big-endian
// container; a "RIFX" head turns swapping on for the rest of the walk) leads to the next head,
// one byte further when an odd body is followed by a 0 pad byte (a missing pad byte is
// tolerated). Offsets are 32-bit, as in the file. Heads are read through a window of the file,
// so a walk over many small chunks costs one read per window instead of a seek and a read per
// head; nothing past the walk limit (GetWalkLimit) is read.
class ChunkWalk {
 public:
  ChunkWalk(const zu::File& file, uint32_t start, bool swap);

  // Reads the head at Offset(); false when it does not lie wholly inside the file.
  bool ReadHead();
  uint32_t Offset() const { return m_offset; }
  // The head last read, its size in host order.
  const RIFFHEADER& Head() const { return m_head; }
  bool Swapping() const { return m_swap; }
  // Moves past the chunk last read and its pad byte; false when its size wraps the 32-bit offset
  // back to or before its head, which ends the walk.
  bool Advance();
  // Reads `size` bytes (at most 1 KiB) at `offset`; false unless all lie inside the file.
  bool Read(uint64_t offset, void* out, uint32_t size);
  uint64_t Limit() const { return m_limit; }

 private:
  const zu::File* m_file;
  uint64_t m_limit;
  uint32_t m_offset;
  bool m_swap;
  RIFFHEADER m_head;
  std::unique_ptr<unsigned char[]> m_window;
  uint64_t m_windowStart;
  uint32_t m_windowSize;
  uint32_t m_capacity;
};

}  // namespace qobase_audio
