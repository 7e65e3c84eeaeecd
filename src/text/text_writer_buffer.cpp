// The buffer management shared by the XML and JSON writers.
#include <qobase/text/text_writer_buffer.h>

#include <qobase/files/directory_operations.h>
#include <qobase/result_code.h>

#include <climits>
#include <cstdlib>

namespace {

// `size` truncated to a whole number of growth steps.
std::size_t TruncateToGrowthStep(std::size_t size) {
  return size / QoTextWriterBuffer::k_growthStep * QoTextWriterBuffer::k_growthStep;
}

}  // namespace

QoTextWriterBuffer::QoTextWriterBuffer(const zu::Path& path) {
  if (!path.IsEmpty() && !SetFilePath(path)) return;
  MakeFreshBlock(k_initialBufferSize);
}

QoTextWriterBuffer::~QoTextWriterBuffer() {
  if (m_file.IsOpen()) {
    Flush();
    m_file.Close();
  }
  std::free(m_bufferStart);
}

void QoTextWriterBuffer::Destroy() { delete this; }

QO::XmlWriterReadyState QoTextWriterBuffer::GetReadyState() const {
  return m_bufferStart ? QO::k_writerReady : QO::k_writerNotReady;
}

bool QoTextWriterBuffer::SetFilePath(const zu::Path& path) {
  if (m_file.IsOpen()) return false;
  const CStdStr parent = path.GetParent();
  if (!parent.empty()) zu::EnsureDirectoryExists(parent);
  return m_file.Open(path, k_openModeWrite, 0) == QO::k_resultSuccess;
}

void QoTextWriterBuffer::WriteStringAndGrow(const CStdStr& text) {
  if (!m_bufferStart) return;
  const std::size_t room = static_cast<std::size_t>(m_bufferEnd - m_writePosition);
  if (room < text.size()) ResizeBlock(GetBufferedSize() + text.size());
  if (static_cast<std::size_t>(m_bufferEnd - m_writePosition) < text.size()) return;
  std::memcpy(m_writePosition, text.data(), text.size());
  WrittenToBuffer(text.size());
}

void QoTextWriterBuffer::WriteToFile(const zu::File& file, const char* data, unsigned int size) {
  file.Write(data, size);
  if (m_hash) m_hash->Add(data, size);
}

void QoTextWriterBuffer::Flush() {
  const char* data = m_bufferStart;
  std::size_t left = GetBufferedSize();
  while (left > 0) {
    const unsigned int piece = left > UINT_MAX ? UINT_MAX : static_cast<unsigned int>(left);
    WriteToFile(m_file, data, piece);
    data += piece;
    left -= piece;
  }
  m_writePosition = m_bufferStart;
}

void QoTextWriterBuffer::FlushOrGrow() {
  if (!m_bufferStart) return;
  if (m_file.IsOpen()) {
    Flush();
    return;
  }
  // Grow by steps until the reserve stands free again.
  std::size_t capacity = static_cast<std::size_t>(m_bufferEnd - m_bufferStart);
  const std::size_t used = GetBufferedSize();
  do {
    capacity = TruncateToGrowthStep(capacity + k_growthStep);
  } while (capacity <= used + k_flushReserve);
  ResizeBlock(capacity);
}

bool QoTextWriterBuffer::MakeRoom(std::size_t size) {
  if (!m_bufferStart) return false;
  WriteBlock(nullptr, size);
  return static_cast<std::size_t>(m_bufferEnd - m_writePosition) > size;
}

void QoTextWriterBuffer::WriteBlock(const char* data, std::size_t size) {
  if (!m_bufferStart) return;
  // A block resized below the reserve can leave the write position past the threshold.
  if (m_writePosition >= m_flushThreshold ||
      size >= static_cast<std::size_t>(m_flushThreshold - m_writePosition)) {
    if (m_file.IsOpen()) Flush();
    if (size >= static_cast<std::size_t>(m_bufferEnd - m_writePosition)) {
      const std::size_t capacity = TruncateToGrowthStep(GetBufferedSize() + size + k_growthStep);
      if (m_file.IsOpen()) {
        MakeFreshBlock(capacity);  // empty after the flush
      } else {
        ResizeBlock(capacity);
      }
      if (size >= static_cast<std::size_t>(m_bufferEnd - m_writePosition)) return;
    }
  }
  if (!data) return;  // only making room
  std::memcpy(m_writePosition, data, size);
  WrittenToBuffer(size);
}

void QoTextWriterBuffer::SetBlock(char* block, std::size_t size, std::size_t used) {
  m_bufferStart = block;
  m_bufferEnd = block + size;
  m_flushThreshold = size > k_flushReserve ? m_bufferEnd - k_flushReserve : block;
  m_writePosition = block + used;
}

void QoTextWriterBuffer::MakeFreshBlock(std::size_t size) {
  std::free(m_bufferStart);
  m_bufferStart = m_flushThreshold = m_bufferEnd = m_writePosition = nullptr;
  if (char* block = static_cast<char*>(std::malloc(size > 0 ? size : 1))) SetBlock(block, size, 0);
}

void QoTextWriterBuffer::ResizeBlock(std::size_t size) {
  const std::size_t used = GetBufferedSize();
  if (size < used) return;
  // On failure the old block stays as it was. A size of zero would free it instead.
  if (char* block = static_cast<char*>(std::realloc(m_bufferStart, size > 0 ? size : 1))) {
    SetBlock(block, size, m_bufferStart ? used : 0);
  }
}

void QoTextWriterBuffer::WriteBufferOf(const QoTextWriterBuffer& source) {
  if (&source == this) {
    // Growing the block would move the bytes being copied: copy them out first.
    const std::string copy(m_bufferStart ? m_bufferStart : "", GetBufferedSize());
    WriteBlock(copy.data(), copy.size());
  } else if (source.m_bufferStart) {
    WriteBlock(source.m_bufferStart, source.GetBufferedSize());
  }
}
