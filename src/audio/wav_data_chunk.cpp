// The "data" chunk of the chunk editor: its samples are copied from the source file into the
// output in blocks.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_data_chunk.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "audio/chunk_io.h"

namespace {

// Bytes moved per read and write: much larger than the progress block, so that the copy makes few
// system calls (blocks of 16 KiB or 64 KiB measured up to half again slower), and the same by
// descriptors as through the streams, so that both read the source alike and report alike.
constexpr unsigned int k_transferSize = 32 * QoDataChunk::k_copyBlockSize;

// Reports copy progress as a block-by-block copy would: the end of every whole block passed, and
// the exact count once the copy is over.
class BlockProgress {
 public:
  explicit BlockProgress(QO::Sonvo::IProgress* progress) : m_progress(progress), m_reported(0) {}
  void Advance(uint32_t copied) {
    if (!m_progress) return;
    const uint32_t block = QoDataChunk::k_copyBlockSize;
    for (uint64_t next = (static_cast<uint64_t>(m_reported) / block + 1) * block; next <= copied;
         next += block) {
      m_progress->SetPosition(static_cast<uint32_t>(next));
      m_reported = static_cast<uint32_t>(next);
    }
  }
  void Finish(uint32_t copied) {
    Advance(copied);
    if (m_progress && m_reported != copied) m_progress->SetPosition(copied);
    m_reported = copied;
  }

 private:
  QO::Sonvo::IProgress* m_progress;
  uint32_t m_reported;
};

// The descriptor of a stream open on a regular file, and the file's identity; -1 for anything else.
struct RegularFile {
  int descriptor = -1;
  dev_t device = 0;
  ino_t inode = 0;
};

RegularFile RegularFileOf(const zu::File& file) {
  RegularFile regular;
  FILE* stream = file.GetStream();
  const int descriptor = stream ? fileno(stream) : -1;
  struct stat info;
  if (descriptor >= 0 && fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
    regular = {descriptor, info.st_dev, info.st_ino};
  }
  return regular;
}

// Reads `size` bytes at `offset`; false when fewer could be read (the end of the file or an
// error).
bool ReadWhole(int descriptor, unsigned char* buffer, unsigned int size, off_t offset) {
  unsigned int done = 0;
  while (done < size) {
    const ssize_t got = pread(descriptor, buffer + done, size - done, offset + done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<unsigned int>(got);
  }
  return true;
}

// Writes all `size` bytes at `offset`; false when the file takes fewer.
bool WriteWhole(int descriptor, const unsigned char* buffer, unsigned int size, off_t offset) {
  unsigned int done = 0;
  while (done < size) {
    const ssize_t put = pwrite(descriptor, buffer + done, size - done, offset + done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<unsigned int>(put);
  }
  return true;
}

// Copies whole transfers of the body between two different regular files by system calls at
// explicit offsets, past both streams' buffers, so the bytes cross user space once. It stops at
// the first transfer that the source cannot fill or the output does not take, and leaves both
// streams positioned where the copy stands: the copy through the streams then goes on from
// there, so the end of a short source and a failed write (result, error flags, positions,
// progress) are exactly as if the streams had made the whole copy.
void CopyWholeTransfers(const zu::File& source, long long from, uint32_t size, const zu::File& out,
                        long long to, unsigned char* buffer, BlockProgress& blocks,
                        uint32_t& copied) {
  const RegularFile in = RegularFileOf(source), target = RegularFileOf(out);
  if (in.descriptor < 0 || target.descriptor < 0 ||
      (in.device == target.device && in.inode == target.inode)) {
    return;
  }
  // Positioning writes out what the streams hold for writing. A stream open for reading and
  // writing may then have read ahead from its file: the flush drops those bytes, which the copy
  // is about to overwrite, so nothing stale is read back through the stream afterwards.
  if (source.SetFilePointer(from, zu::k_fileBegin) != from ||
      out.SetFilePointer(to, zu::k_fileBegin) != to || std::fflush(out.GetStream()) != 0) {
    return;
  }
  while (copied < size) {
    const unsigned int want = std::min(size - copied, k_transferSize);
    if (!ReadWhole(in.descriptor, buffer, want, static_cast<off_t>(from + copied)) ||
        !WriteWhole(target.descriptor, buffer, want, static_cast<off_t>(to + copied))) {
      break;
    }
    copied += want;
    blocks.Advance(copied);
  }
  source.SetFilePointer(from + copied, zu::k_fileBegin);
  out.SetFilePointer(to + copied, zu::k_fileBegin);
}

}  // namespace

unsigned int QoDataChunk::GetChunkID() { return QO::k_fccData; }

unsigned int QoDataChunk::WriteToFile(const zu::File& out, bool swap) {
  return WriteToFile(out, swap, nullptr);
}

unsigned int QoDataChunk::WriteToFile(const zu::File& out, bool swap,
                                      QO::Sonvo::IProgress* progress) {
  if (!m_valid) return QO::k_chunkFailure;
  if (progress) {
    progress->SetRange(0, m_header.size);
    progress->SetPosition(0);
  }
  if (!WriteChunkHeader(out, swap)) return QO::k_chunkFailure;
  // Positioning writes out the buffered head: a full device shows here. An output that cannot
  // be positioned (a pipe) is written through memory only.
  errno = 0;
  const long long headEnd = out.SetFilePointer(0, zu::k_fileCurrent);
  if (headEnd < 0 && errno != ESPIPE) return qobase_audio::WriteFailureResult();
  if (m_header.size == 0) return QO::k_chunkSuccess;
  if (!m_file) return QO::k_chunkFailure;

  const uint32_t size = m_header.size;
  BlockProgress blocks(progress);
  uint32_t copied = 0;

  std::unique_ptr<unsigned char[]> buffer(new unsigned char[std::min(size, k_transferSize)]);
  // Between two files written in place the whole transfers go by descriptors; whatever they
  // leave (all of a pipe, an appended or same-file copy, a short source, a failed write) goes
  // through the streams from where they stopped.
  if (headEnd >= 0 && CanRewrite(out)) {
    CopyWholeTransfers(*m_file, m_dataOffset, size, out, headEnd, buffer.get(), blocks, copied);
  }
  // The rest is read as the source stands now, not from what its stream read ahead while the
  // chunks were loaded: a source another program has cut since must end the copy where it ends.
  if (copied < size) std::fflush(m_file->GetStream());
  while (copied < size) {
    const unsigned int got =
        ReadData(buffer.get(), std::min(size - copied, k_transferSize), copied);
    if (got == 0) break;
    const unsigned int result = WriteBytes(out, buffer.get(), got);
    if (result != QO::k_chunkSuccess) return result;
    copied += got;
    blocks.Advance(copied);
  }
  blocks.Finish(copied);
  if (copied == size) return QO::k_chunkSuccess;

  // The source ended early: the chunk keeps what could be copied, and its head says so.
  m_header.size = copied;
  if (headEnd < 8 || !CanRewrite(out)) return QO::k_chunkFailure;
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

QO::ChunkResult QoDataChunk::_UpdateChunkSize(const zu::File& out, unsigned int dataOffset,
                                              unsigned int size, bool swap) {
  if (!m_valid || dataOffset < 8) return QO::k_chunkFailure;
  m_header.size = size;
  if (!CanRewrite(out)) return QO::k_chunkFailure;
  const long long previous = out.SetFilePointer(0, zu::k_fileCurrent);
  if (previous < 0 || out.SetFilePointer(dataOffset - 8, zu::k_fileBegin) < 0)
    return QO::k_chunkFailure;
  bool written = WriteChunkHeader(out, swap);
  // Push the head to the file now, and leave a stream that refused the write usable for reading.
  if (written && std::fflush(out.GetStream()) != 0) written = false;
  if (!written) std::clearerr(out.GetStream());
  if (out.SetFilePointer(previous, zu::k_fileBegin) < 0) return QO::k_chunkFailure;
  return written ? QO::k_chunkSuccess : QO::k_chunkFailure;
}
