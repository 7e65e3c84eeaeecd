// The chunk head walk shared by the chunk searches and the record of carried chunks.
#include "audio/chunk_walk.h"

#include <qobase/audio/wav_byte_swap.h>

#include <algorithm>
#include <cstring>

#include "audio/chunk_io.h"

namespace qobase_audio {
namespace {

// The first read is small: the usual walk meets a few heads, then jumps past the samples. Each
// further read doubles, so a file of thousands of small chunks is read in large blocks.
constexpr uint32_t k_firstWindow = 1024;
constexpr uint32_t k_largestWindow = 64 * 1024;

}  // namespace

ChunkWalk::ChunkWalk(const zu::File& file, uint32_t start, bool swap)
    : m_file(&file),
      m_limit(GetWalkLimit(file)),
      m_offset(start),
      m_swap(swap),
      m_head{0, 0},
      m_windowStart(0),
      m_windowSize(0),
      m_capacity(0) {}

bool ChunkWalk::ReadHead() {
  if (!Read(m_offset, &m_head, sizeof(m_head))) return false;
  if (m_head.chunkID == QO::k_fccRIFX) m_swap = true;
  if (m_swap) WavByteSwapHelpers::Convert(m_head);
  return true;
}

bool ChunkWalk::Advance() {
  uint32_t next = m_offset + 8 + m_head.size;
  if (next <= m_offset) return false;
  if ((m_head.size & 1) && next != UINT32_MAX) {
    unsigned char pad = 1;
    if (Read(next, &pad, 1) && pad == 0) ++next;
  }
  m_offset = next;
  return true;
}

bool ChunkWalk::Read(uint64_t offset, void* out, uint32_t size) {
  if (size > k_firstWindow || offset + size > m_limit) return false;
  if (offset < m_windowStart || offset + size > m_windowStart + m_windowSize) {
    if (m_capacity < k_largestWindow) {
      m_capacity = m_capacity == 0 ? k_firstWindow : 2 * m_capacity;
      m_window.reset(new unsigned char[m_capacity]);
    }
    const uint32_t wanted = static_cast<uint32_t>(std::min<uint64_t>(m_capacity, m_limit - offset));
    unsigned int got = 0;
    m_windowStart = offset;
    m_windowSize = 0;
    if (m_file->SetFilePointer(static_cast<long long>(offset), zu::k_fileBegin) < 0 ||
        !m_file->Read(m_window.get(), wanted, got) || got < size) {
      return false;
    }
    m_windowSize = got;
  }
  std::memcpy(out, m_window.get() + (offset - m_windowStart), size);
  return true;
}

}  // namespace qobase_audio
