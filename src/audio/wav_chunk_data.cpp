// The "data" chunk of the chunk editor: its samples are copied from the source file into the
// output in blocks.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_structure_chunks.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace {

// Bytes moved per read and write through the streams: much larger than the progress block, so that
// the copy makes few system calls (blocks of 16 KiB or 64 KiB measured up to half again slower).
constexpr unsigned int k_transferSize = 32 * QoDataChunk::k_copyBlockSize;
// Bytes moved per system call when the copy goes by descriptors: large enough that the calls cost
// nothing, small enough that the buffer stays in the processor's cache between read and write.
constexpr unsigned int k_directTransferSize = 64 * QoDataChunk::k_copyBlockSize;

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

unsigned int ClassifyWriteError() {
  return zu::File::GetLastError() == zu::k_fileErrorOutOfSpace ? QO::k_chunkOutOfSpace
                                                               : QO::k_chunkFailure;
}

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

// Reads up to `size` bytes at `offset` as a stream read does: short only at the end of the file
// or on an error, with what was read before either.
unsigned int ReadFully(int descriptor, unsigned char* buffer, unsigned int size, off_t offset) {
  unsigned int done = 0;
  while (done < size) {
    const ssize_t got = pread(descriptor, buffer + done, size - done, offset + done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<unsigned int>(got);
  }
  return done;
}

// Writes all `size` bytes at the descriptor's position; false, with errno telling why, when the
// file takes no more.
bool WriteFully(int descriptor, const unsigned char* buffer, unsigned int size) {
  unsigned int done = 0;
  while (done < size) {
    const ssize_t put = write(descriptor, buffer + done, size - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<unsigned int>(put);
  }
  return true;
}

// The result of a copy that was not made by descriptors.
constexpr unsigned int k_copyNotTried = ~0u;

// Copies the body between two different regular files by system calls on their descriptors, past
// both streams' buffers: the bytes cross user space once, through a buffer that stays in the
// processor's cache, in large calls. Both streams are positioned first (which writes out what
// they buffer) and are left where the copy through them would have left them. Gives
// k_copyNotTried when the files do not allow it, else the chunk result of the copy.
unsigned int CopyByDescriptors(const zu::File& source, long long from, uint32_t size,
                               const zu::File& out, long long to, BlockProgress& blocks,
                               uint32_t& copied) {
  const RegularFile in = RegularFileOf(source), target = RegularFileOf(out);
  if (in.descriptor < 0 || target.descriptor < 0 ||
      (in.device == target.device && in.inode == target.inode)) {
    return k_copyNotTried;
  }
  if (source.SetFilePointer(from, zu::k_fileBegin) != from ||
      out.SetFilePointer(to, zu::k_fileBegin) != to) {
    return k_copyNotTried;
  }
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[std::min(size, k_directTransferSize)]);
  unsigned int result = QO::k_chunkSuccess;
  while (copied < size) {
    const unsigned int got =
        ReadFully(in.descriptor, buffer.get(), std::min(size - copied, k_directTransferSize),
                  static_cast<off_t>(from + copied));
    if (got == 0) break;
    errno = 0;
    if (!WriteFully(target.descriptor, buffer.get(), got)) {
      result = ClassifyWriteError();
      break;
    }
    copied += got;
    blocks.Advance(copied);
  }
  // The streams learn where the descriptors stand (after a failed write, past its partial bytes);
  // errno still tells why a write failed.
  const int error = errno;
  source.SetFilePointer(from + copied, zu::k_fileBegin);
  const off_t end = lseek(target.descriptor, 0, SEEK_CUR);
  if (end >= 0) out.SetFilePointer(end, zu::k_fileBegin);
  errno = error;
  return result;
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
  if (headEnd < 0 && errno != ESPIPE) return ClassifyWriteError();
  if (m_header.size == 0) return QO::k_chunkSuccess;
  if (!m_file) return QO::k_chunkFailure;

  const uint32_t size = m_header.size;
  BlockProgress blocks(progress);
  uint32_t copied = 0;

  // By descriptors where the output is a file written in place, else through the streams.
  const unsigned int direct =
      headEnd >= 0 && CanRewrite(out)
          ? CopyByDescriptors(*m_file, m_dataOffset, size, out, headEnd, blocks, copied)
          : k_copyNotTried;
  if (direct != k_copyNotTried && direct != QO::k_chunkSuccess) return direct;
  if (direct == k_copyNotTried) {
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[std::min(size, k_transferSize)]);
    while (copied < size) {
      const unsigned int got =
          ReadData(buffer.get(), std::min(size - copied, k_transferSize), copied);
      if (got == 0) break;
      const unsigned int result = WriteBytes(out, buffer.get(), got);
      if (result != QO::k_chunkSuccess) return result;
      copied += got;
      blocks.Advance(copied);
    }
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

unsigned int QoDataChunk::_UpdateChunkSize(const zu::File& out, unsigned int dataOffset,
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
