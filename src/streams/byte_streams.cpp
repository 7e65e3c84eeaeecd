// Byte sources and sinks over memory and C streams, and the hashing sink.
#include <qobase/streams/byte_streams.h>

#include <cstdlib>
#include <cstring>

ReadBytesMem::ReadBytesMem() : m_size(0), m_data(nullptr), m_position(0) {}

ReadBytesMem::ReadBytesMem(const void* data, int size)
    : m_size(size), m_data(static_cast<const unsigned char*>(data)), m_position(0) {}

ReadBytesMem::~ReadBytesMem() {}

void ReadBytesMem::Attach(const void* data, int size) {
  m_data = static_cast<const unsigned char*>(data);
  m_size = size;
  m_position = 0;
}

bool ReadBytesMem::ReadBytes(void* data, int count, int& read) {
  if (m_data == nullptr) return false;
  // 64-bit arithmetic: the position runs on by the count asked for and may pass the end.
  const long long remaining = static_cast<long long>(m_size) - m_position;
  long long k = remaining < count ? remaining : count;
  if (k < 0) k = 0;
  if (k > 0) std::memcpy(data, m_data + m_position, static_cast<size_t>(k));
  const long long next = static_cast<long long>(m_position) + (count > 0 ? count : 0);
  m_position = next > m_size ? m_size : static_cast<int>(next);
  read = static_cast<int>(k);
  return remaining >= count;
}

WriteBytesMem::WriteBytesMem() : m_capacity(0), m_bytes(nullptr), m_count(0) {}

WriteBytesMem::~WriteBytesMem() { std::free(m_bytes); }

bool WriteBytesMem::WriteBytes(const void* data, int count, int& written) {
  written = 0;
  if (count < 0) return false;
  const long long needed = static_cast<long long>(m_count) + count;
  if (needed > 0x7FFFFC00LL) return false;
  Reserve(static_cast<int>(needed));
  if (m_bytes == nullptr || m_capacity < needed) return false;
  if (count > 0) std::memcpy(m_bytes + m_count, data, static_cast<size_t>(count));
  m_count += count;
  written = count;
  return true;
}

bool WriteBytesMem::Reserve(int capacity) {
  if (m_capacity >= capacity) return true;
  const long long rounded = (static_cast<long long>(capacity) + 1023) / 1024 * 1024;
  if (rounded > 0x7FFFFC00LL) return true;
  void* grown = std::realloc(m_bytes, static_cast<size_t>(rounded));
  if (grown != nullptr) {
    m_bytes = static_cast<unsigned char*>(grown);
    m_capacity = static_cast<int>(rounded);
  }
  return true;
}

unsigned char* WriteBytesMem::Detach() {
  unsigned char* bytes = m_bytes;
  m_bytes = nullptr;
  m_capacity = 0;
  m_count = 0;
  return bytes;
}

bool ReadBytesOnFILE::ReadBytes(void* data, int count, int& read) {
  read = 0;
  if (m_stream == nullptr || count < 0) return false;
  read = static_cast<int>(std::fread(data, 1, static_cast<size_t>(count), m_stream));
  return read == count;
}

bool WriteBytesOnFILE::WriteBytes(const void* data, int count, int& written) {
  written = 0;
  if (m_stream == nullptr || count < 0) return false;
  written = static_cast<int>(std::fwrite(data, 1, static_cast<size_t>(count), m_stream));
  return written == count;
}

bool HashBytes::WriteBytes(const void* data, int count, int& written) {
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  unsigned int hash = m_hash;
  for (int i = 0; i < count; ++i) hash = (hash * 16777619u) ^ bytes[i];
  m_hash = hash;
  written = count < 0 ? 0 : count;
  return true;
}
