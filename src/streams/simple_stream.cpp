// QoSimpleStreamStdio: the sequential read stream over a file.
#include <qobase/files/file_operation.h>
#include <qobase/result_code.h>
#include <qobase/streams/simple_stream.h>

#include <cstdlib>

QoSimpleStreamStdio::QoSimpleStreamStdio() : m_stream(nullptr), m_buffer(nullptr), m_capacity(0) {}

QoSimpleStreamStdio::~QoSimpleStreamStdio() {
  if (m_stream != nullptr) std::fclose(m_stream);
  std::free(m_buffer);
}

bool QoSimpleStreamStdio::Open(const CStdStr& path) {
  if (m_stream != nullptr) {
    std::fclose(m_stream);
    m_stream = nullptr;
  }
  m_stream = zu::FileOperation::OpenFile(path, "rb");
  return m_stream != nullptr;
}

unsigned int QoSimpleStreamStdio::Read(unsigned int size, void*& data, unsigned int& read) {
  read = 0;
  if (m_stream == nullptr) return QO::k_resultFailure;
  if (m_capacity < size) {
    std::free(m_buffer);
    m_capacity = 0;
    m_buffer = static_cast<unsigned char*>(std::malloc(size));
    if (m_buffer == nullptr) return QO::k_resultOutOfMemory;
    m_capacity = size;
  }
  read = size == 0 ? 0 : static_cast<unsigned int>(std::fread(m_buffer, 1, size, m_stream));
  data = m_buffer;
  return read == size ? QO::k_resultAllDataDelivered : QO::k_resultFailure;
}

long long QoSimpleStreamStdio::GetPosition() {
  if (m_stream == nullptr) return -1;
  return std::ftell(m_stream);
}

unsigned int QoSimpleStreamStdio::SetPosition(long long offset) {
  if (m_stream == nullptr) return QO::k_resultFailure;
  std::fseek(m_stream, static_cast<long>(offset), SEEK_SET);
  return QO::k_resultSuccess;
}

unsigned int QoSimpleStreamStdio::GetFileSize(unsigned long long& size) {
  if (m_stream == nullptr) return QO::k_resultFailure;
  const long position = std::ftell(m_stream);
  std::fseek(m_stream, 0, SEEK_END);
  const long end = std::ftell(m_stream);
  size = end < 0 ? 0 : static_cast<unsigned long long>(end);
  std::fseek(m_stream, position, SEEK_SET);
  return QO::k_resultSuccess;
}
