// QoWavFile: the chunks no member loads, recorded during Open and copied over byte for byte, and
// what the members left out of the chunks they did load.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_file.h>

#include <algorithm>

#include "audio/chunk_io.h"

namespace {

// Far more than any real file holds; a file of nothing but empty chunk heads stops here rather
// than make the record grow with the file.
constexpr size_t k_maxCarriedChunks = 65536;

}  // namespace

bool QoWavFile::IsLoadedChunk(uint32_t bodyOffset) const {
  const QoFormatChunkBase* members[] = {&m_fmtChunk, &m_dataChunk, &m_cueChunk, &m_listChunk,
                                        &m_smplChunk};
  return std::any_of(std::begin(members), std::end(members),
                     [bodyOffset](const QoFormatChunkBase* c) {
                       return c->IsValid() && c->GetDataOffset() == bodyOffset;
                     });
}

void QoWavFile::RecordCarriedChunks() {
  m_carriedChunks.clear();
  m_walkDrops = QO::k_droppedNothing;
  // The same walk as the members' search (a missing pad byte tolerated), so offsets agree.
  const uint64_t limit = std::min<uint64_t>(qobase_audio::GetWalkLimit(m_file), UINT32_MAX);
  const bool swap = m_riffChunk.NeedSwapRead();
  const uint64_t dataHead = m_dataChunk.GetDataOffset() - 8ull;
  uint64_t position = m_riffChunk.GetDataOffset() + 4ull;
  while (position + 8 <= limit) {
    RIFFHEADER header;
    if (m_file.SetFilePointer(static_cast<long long>(position), zu::k_fileBegin) < 0 ||
        !m_file.ReadExact(&header, sizeof(header))) {
      break;
    }
    if (swap) WavByteSwapHelpers::Convert(header);
    uint64_t next = position + 8 + header.size;
    if (!IsLoadedChunk(static_cast<uint32_t>(position + 8))) {
      if (m_carriedChunks.size() == k_maxCarriedChunks) {
        m_walkDrops |= QO::k_droppedExcessChunks;
        return;
      }
      QoCarriedChunk chunk = {
          header.chunkID, 0, static_cast<uint32_t>(position), header.size, position < dataHead,
          next <= limit};
      if (header.chunkID == QO::k_fccLIST && header.size >= 4 &&
          !m_file.ReadExact(&chunk.listType, 4))
        chunk.listType = 0;
      m_carriedChunks.push_back(chunk);
    }
    if ((header.size & 1) && next < limit) {
      unsigned char pad = 1;
      if (m_file.SetFilePointer(static_cast<long long>(next), zu::k_fileBegin) >= 0 &&
          m_file.ReadExact(&pad, 1) && pad == 0) {
        ++next;
      }
    }
    position = next;
  }
  if (position < limit) m_walkDrops |= QO::k_droppedTrailingBytes;
}

bool QoWavFile::WriteCarriedChunks(const zu::File& out, bool swap, bool beforeData) {
  for (const QoCarriedChunk& chunk : m_carriedChunks) {
    if (chunk.beforeData != beforeData) continue;
    // Stored bytes of unknown layout cannot be reordered, nor can a chunk the file cuts short be
    // written whole.
    if (swap != m_riffChunk.NeedSwapRead() || !chunk.complete) return false;
    if (qobase_audio::CopyStoredChunk(m_file, chunk.offset, chunk.size, out) != QO::k_chunkSuccess)
      return false;
  }
  return true;
}

bool QoWavFile::WriteCarriedChunksBeforeData(const zu::File& out, bool swap) {
  return WriteCarriedChunks(out, swap, true);
}

bool QoWavFile::WriteCarriedChunksAfterData(const zu::File& out, bool swap) {
  // Every chunk starts at an even offset; an output that cannot tell its position (a pipe) has
  // just had the data chunk written, whose size decides.
  const long long position = out.SetFilePointer(0, zu::k_fileCurrent);
  const bool odd = position >= 0 ? (position & 1) != 0
                                 : m_dataChunk.IsValid() && (m_dataChunk.GetSize() & 1) != 0;
  const unsigned char pad = 0;
  if (odd && !out.WriteExact(&pad, 1)) return false;
  return WriteCarriedChunks(out, swap, false);
}

unsigned int QoWavFile::GetDroppedOnLoad() const {
  return m_cueChunk.GetDroppedOnLoad() | m_listChunk.GetDroppedOnLoad() |
         m_smplChunk.GetDroppedOnLoad() | m_walkDrops;
}
