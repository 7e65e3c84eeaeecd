// Chunk search and the shared read and write steps of every chunk kind.
#include <qobase/audio/wav_byte_swap.h>
#include <qobase/audio/wav_chunk_base.h>

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

#include "audio/chunk_io.h"
#include "audio/chunk_walk.h"

QoFormatChunkBase::QoFormatChunkBase()
    : m_header{0, 0},
      m_dataOffset(0),
      m_file(nullptr),
      m_valid(false),
      m_needSwap(false),
      m_sizeInFile(0),
      m_droppedOnLoad(0) {}

QoFormatChunkBase::~QoFormatChunkBase() { delete m_file; }

bool QoFormatChunkBase::IsValid() const { return m_valid; }

bool QoFormatChunkBase::Init(const zu::File& file, QoFormatChunkBase* parent) {
  m_valid = false;
  m_sizeInFile = 0;
  m_droppedOnLoad = 0;
  AttachFile(file);

  uint32_t position = 0;
  m_needSwap = false;
  if (parent) {
    position = parent->GetDataOffset() + 4;
    m_needSwap = parent->GetChunkID() == QO::k_fccRIFX;
  }
  qobase_audio::ChunkWalk walk(*m_file, position, m_needSwap);
  while (walk.ReadHead()) {
    m_needSwap = walk.Swapping();
    const uint32_t dataOffset = walk.Offset() + 8;
    if (IsValidChunk(walk.Head(), dataOffset)) {
      m_header = walk.Head();
      m_dataOffset = dataOffset;
      m_sizeInFile = m_header.size;
      m_valid = true;
    }
    // A size that wraps the 32-bit offset (or would bring the scan back to where it is) ends it.
    if (!walk.Advance()) {
      m_valid = false;
      return false;
    }
    if (m_valid) return true;
  }
  return false;
}

void QoFormatChunkBase::AttachFile(const zu::File& file) {
  delete m_file;
  m_file = new zu::File(file.GetStream());
}

void QoFormatChunkBase::Reset() {
  m_header = RIFFHEADER{0, 0};
  m_dataOffset = 0;
  m_sizeInFile = 0;
  m_droppedOnLoad = 0;
  delete m_file;
  m_file = nullptr;
  m_valid = false;
}

unsigned int QoFormatChunkBase::GetFileChunkSize() const {
  return m_header.size + (m_header.size & 1) + 8;
}

unsigned int QoFormatChunkBase::GetDataOffset() const { return m_dataOffset; }

unsigned int QoFormatChunkBase::ReadData(void* buffer, unsigned int size, unsigned int offset) {
  return ReadAt(buffer, size, static_cast<long long>(m_dataOffset) + offset);
}

bool QoFormatChunkBase::IsValidChunk(const RIFFHEADER& header, unsigned int /*dataOffset*/) {
  return header.chunkID == GetChunkID();
}

bool QoFormatChunkBase::NeedSwapRead() const { return m_needSwap; }

bool QoFormatChunkBase::WriteChunkHeader(const zu::File& out, bool swap) {
  if (!m_valid) return false;
  RIFFHEADER header = m_header;
  if (swap) WavByteSwapHelpers::Convert(header);
  return out.WriteExact(&header, sizeof(header));
}

unsigned int QoFormatChunkBase::WriteBytes(const zu::File& out, const void* bytes,
                                           unsigned int size) {
  errno = 0;
  if (out.WriteExact(bytes, size)) return QO::k_chunkSuccess;
  return qobase_audio::WriteFailureResult();
}

bool QoFormatChunkBase::CanRewrite(const zu::File& file) {
  FILE* stream = file.GetStream();
  const int descriptor = stream ? fileno(stream) : -1;
  const int flags = descriptor < 0 ? -1 : fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY && (flags & O_APPEND) == 0;
}

unsigned int QoFormatChunkBase::ReadAt(void* buffer, unsigned int size, long long position) {
  if (!m_file || m_file->SetFilePointer(position, zu::k_fileBegin) < 0) return 0;
  unsigned int bytesRead = 0;
  m_file->Read(buffer, size, bytesRead);
  return bytesRead;
}

unsigned int QoFormatChunkBase::RewriteInPlace(bool swap) {
  if (!m_valid || !m_file || m_dataOffset < 8 || m_header.size != m_sizeInFile ||
      !CanRewrite(*m_file)) {
    return QO::k_chunkFailure;
  }
  const long long previous = m_file->SetFilePointer(0, zu::k_fileCurrent);
  if (previous < 0 || m_file->SetFilePointer(m_dataOffset - 8, zu::k_fileBegin) < 0)
    return QO::k_chunkFailure;
  unsigned int result = WriteToFile(*m_file, swap);
  // Push the bytes to the file now; a stream that cannot be written is left usable for reading.
  if (result == QO::k_chunkSuccess && std::fflush(m_file->GetStream()) != 0) {
    result = qobase_audio::WriteFailureResult();
  }
  if (result != QO::k_chunkSuccess) std::clearerr(m_file->GetStream());
  if (m_file->SetFilePointer(previous, zu::k_fileBegin) < 0) return QO::k_chunkFailure;
  return result;
}
