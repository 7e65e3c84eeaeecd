// QoWavFile: the chunks no member loads, recorded during Open and copied over byte for byte, and
// what the members left out of the chunks they did load.
#include <qobase/audio/wav_file.h>

#include <algorithm>
#include <iterator>

#include "audio/chunk_io.h"
#include "audio/chunk_walk.h"

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
  // The members' own walk, so that offsets agree.
  const uint64_t dataHead = m_dataChunk.GetDataOffset() - 8ull;
  qobase_audio::ChunkWalk walk(m_file, m_riffChunk.GetDataOffset() + 4, m_riffChunk.NeedSwapRead());
  uint64_t covered = walk.Offset();
  while (walk.ReadHead()) {
    if (walk.Swapping() != m_riffChunk.NeedSwapRead()) {
      m_walkDrops |= QO::k_droppedAfterByteOrderSwitch;
      return;
    }
    const RIFFHEADER& header = walk.Head();
    const uint32_t offset = walk.Offset();
    covered = offset + 8ull + header.size;
    if (!IsLoadedChunk(offset + 8)) {
      if (m_carriedChunks.size() == k_maxCarriedChunks) {
        m_walkDrops |= QO::k_droppedExcessChunks;
        return;
      }
      QoCarriedChunk chunk = {header.chunkID, 0, offset, header.size, false, false};
      chunk.beforeData = offset < dataHead;
      chunk.complete = covered <= walk.Limit();
      if (header.chunkID == QO::k_fccLIST && header.size >= 4 &&
          !walk.Read(offset + 8ull, &chunk.listType, 4))
        chunk.listType = 0;
      m_carriedChunks.push_back(chunk);
    }
    if (!walk.Advance()) break;
    covered = walk.Offset();
  }
  if (covered < walk.Limit()) m_walkDrops |= QO::k_droppedTrailingBytes;
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
