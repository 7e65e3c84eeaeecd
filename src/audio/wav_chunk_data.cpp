// The "data" chunk of the chunk editor: its samples are copied from the source file into the
// output in blocks.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_structure_chunks.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

// Bytes moved per read and write. A multiple of the block the progress positions advance by,
// so that a listener sees the same positions as with single blocks.
constexpr unsigned int k_transferSize = 64 * QoDataChunk::k_copyBlockSize;

}  // namespace

unsigned int QoDataChunk::GetChunkID() { return QO::k_fccData; }

unsigned int QoDataChunk::WriteToFile(const zu::File& out, bool swap) { return WriteToFile(out, swap, nullptr); }

unsigned int QoDataChunk::WriteToFile(const zu::File& out, bool swap, QO::Sonvo::IProgress* progress) {
  if (!m_valid) return QO::k_chunkFailure;
  if (progress) {
    progress->SetRange(0, m_header.size);
    progress->SetPosition(0);
  }
  if (!WriteChunkHeader(out, swap)) return QO::k_chunkFailure;
  const long long headEnd = out.SetFilePointer(0, zu::k_fileCurrent);
  if (m_header.size == 0) return QO::k_chunkSuccess;

  const uint32_t size = m_header.size;
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[std::min(size, k_transferSize)]);
  uint32_t copied = 0;
  while (copied < size) {
    const unsigned int got = ReadData(buffer.get(), std::min(size - copied, k_transferSize), copied);
    if (got == 0) break;
    const unsigned int result = WriteBytes(out, buffer.get(), got);
    if (result != QO::k_chunkSuccess) return result;
    if (progress) {
      // One position per copy block, as if the transfer had been made block by block.
      for (uint32_t step = std::min(got, k_copyBlockSize); step < got; step += k_copyBlockSize) {
        progress->SetPosition(copied + step);
      }
      progress->SetPosition(copied + got);
    }
    copied += got;
  }
  if (copied == size) return QO::k_chunkSuccess;

  // The source ended early: the chunk keeps what could be copied, and its head says so.
  if (headEnd < 8) return QO::k_chunkFailure;
  m_header.size = copied;
  RIFFHEADER header = m_header;
  if (swap) WavByteSwapHelpers::Convert(header);
  if (out.SetFilePointer(headEnd - 8, zu::k_fileBegin) < 0) return QO::k_chunkFailure;
  const unsigned int result = WriteBytes(out, &header, sizeof(header));
  if (out.SetFilePointer(headEnd + copied, zu::k_fileBegin) < 0) return QO::k_chunkFailure;
  return result;
}

unsigned int QoDataChunk::WriteChunkHeaderToFile(const zu::File& out, bool swap) {
  return WriteChunkHeader(out, swap) ? QO::k_chunkSuccess : QO::k_chunkFailure;
}

unsigned int QoDataChunk::UpdateChunkSize(unsigned int size, bool swap) {
  if (!m_valid || !m_file) return QO::k_chunkFailure;
  return _UpdateChunkSize(*m_file, m_dataOffset, size, swap);
}

unsigned int QoDataChunk::_UpdateChunkSize(const zu::File& out, unsigned int dataOffset, unsigned int size,
                                           bool swap) {
  if (!m_valid || dataOffset < 8) return QO::k_chunkFailure;
  m_header.size = size;
  const long long previous = out.SetFilePointer(0, zu::k_fileCurrent);
  if (previous < 0 || out.SetFilePointer(dataOffset - 8, zu::k_fileBegin) < 0) return QO::k_chunkFailure;
  bool written = WriteChunkHeader(out, swap);
  // Push the head to the file now, and leave a stream that refused the write usable for reading.
  if (written && std::fflush(out.GetStream()) != 0) written = false;
  if (!written) std::clearerr(out.GetStream());
  if (out.SetFilePointer(previous, zu::k_fileBegin) < 0) return QO::k_chunkFailure;
  return written ? QO::k_chunkSuccess : QO::k_chunkFailure;
}
