// The buffer both text writers format into: one heap block that a file writer hands to its file
// in large blocks and a memory writer grows, with optional FNV-1 hashing of what reaches the file.
#pragma once

#include <qobase/algorithms/fnv_hash.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>
#include <qobase/text/xml_text_writer.h>

#include <cstddef>
#include <cstring>

class QoTextWriterBuffer : public QO::IXmlTextWriter {
 public:
  static constexpr std::size_t k_initialBufferSize = 262144;
  // Room kept free before the end of the block: small pieces are written without a check.
  static constexpr std::size_t k_flushReserve = 16384;
  static constexpr std::size_t k_growthStep = 32768;

  // Opens `path` for writing when it is not empty; a writer whose file cannot be opened gets no
  // buffer and is not ready. An empty path makes a writer that keeps everything in memory.
  explicit QoTextWriterBuffer(const zu::Path& path);
  // Writes what is buffered to the file, closes it and frees the buffer.
  virtual ~QoTextWriterBuffer();
  QoTextWriterBuffer(const QoTextWriterBuffer&) = delete;
  QoTextWriterBuffer& operator=(const QoTextWriterBuffer&) = delete;

  void Destroy() override;
  bool IsReady() const override { return m_bufferStart != nullptr; }
  QO::XmlWriterReadyState GetReadyState() const override;
  QO::XmlWriterWriteState GetWriteState() const override { return QO::k_writerWriting; }

  // Creates the parent directory when missing and opens the file for writing with an exclusive
  // lock. False when this writer's file is already open or the file cannot be opened.
  bool SetFilePath(const zu::Path& path);
  // Folds every byte that reaches the file from now on into `hash` (not owned; null stops it).
  void SetHash(QO::FNVHash<QO::Hash32>* hash) { m_hash = hash; }

  using QO::IXmlTextWriter::WriteString;
  // Copies `size` bytes at the write position, making room first when they need it.
  void WriteString(const char* data, std::size_t size) {
    if (size >= static_cast<std::size_t>(m_bufferEnd - m_writePosition) && !MakeRoom(size)) return;
    std::memcpy(m_writePosition, data, size);
    WrittenToBuffer(size);
  }
  // Writes `count` copies of `ch`.
  void WriteChar(char ch, std::size_t count) {
    if (count >= static_cast<std::size_t>(m_bufferEnd - m_writePosition) && !MakeRoom(count))
      return;
    std::memset(m_writePosition, ch, count);
    WrittenToBuffer(count);
  }
  // Advances the write position; at the flush threshold a file writer writes its block out and a
  // memory writer grows.
  void WrittenToBuffer(std::size_t count) {
    m_writePosition += count;
    if (m_writePosition >= m_flushThreshold) FlushOrGrow();
  }
  // Writes a text of any length.
  void WriteStringAndGrow(const CStdStr& text);
  // Writes bytes to `file` (errors ignored) and folds them into the hash if one is set.
  void WriteToFile(const zu::File& file, const char* data, unsigned int size);

  // The text held in the buffer, from its start to the write position.
  const char* GetBufferedText() const { return m_bufferStart; }
  std::size_t GetBufferedSize() const {
    return static_cast<std::size_t>(m_writePosition - m_bufferStart);
  }

 protected:
  void FlushOrGrow();
  // Makes sure `size` more bytes fit before the buffer end, flushing a file writer first and
  // growing the block when that is not enough. False when there is no buffer.
  bool MakeRoom(std::size_t size);
  // Copies a block of `size` bytes (another writer's text), flushing or growing first as needed.
  void WriteBlock(const char* data, std::size_t size);
  // A fresh block of `size` bytes, content dropped.
  void MakeFreshBlock(std::size_t size);
  // Resizes the block in place, keeping content and write position (or makes one).
  void ResizeBlock(std::size_t size);
  bool IsFileWriter() const { return m_file.IsOpen(); }
  // `other` as one of the library's writers, or null.
  static const QoTextWriterBuffer* AsTextWriterBuffer(QO::IXmlTextWriter* other) {
    return dynamic_cast<const QoTextWriterBuffer*>(other);
  }
  // Copies the text `source` holds (this writer's own included) at the write position.
  void WriteBufferOf(const QoTextWriterBuffer& source);

 private:
  void Flush();
  void SetBlock(char* block, std::size_t size, std::size_t used);

  zu::File m_file;
  char* m_bufferStart = nullptr;
  char* m_flushThreshold = nullptr;
  char* m_bufferEnd = nullptr;
  char* m_writePosition = nullptr;
  QO::FNVHash<QO::Hash32>* m_hash = nullptr;
};
