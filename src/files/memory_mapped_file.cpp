// MemoryMappedFile: a read-only mapping of a whole file.
#include <qobase/files/memory_mapped_file.h>
#include <qobase/result_code.h>

#include <sys/mman.h>

#include <cstdint>

namespace zu {

MemoryMappedFile::MemoryMappedFile() : m_data(nullptr), m_mapping(nullptr), m_size(0) {}

MemoryMappedFile::~MemoryMappedFile() {
  if (m_data) Unmap();
}

const void* MemoryMappedFile::Map(const Path& path) {
  if (m_data) return nullptr;
  File file;
  if (file.Open(path, k_openModeRead, 0) != QO::k_resultSuccess) return nullptr;
  const long long size = file.GetFileSize();
  if (size <= 0 || static_cast<unsigned long long>(size) > SIZE_MAX) return nullptr;
  void* address = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_SHARED,
                       fileno(file.GetStream()), 0);
  if (address == MAP_FAILED || address == nullptr) return nullptr;
  m_file = std::move(file);
  m_data = address;
  m_mapping = address;
  m_size = static_cast<std::size_t>(size);
  return address;
}

bool MemoryMappedFile::Unmap() {
  if (!m_data) return false;
  munmap(const_cast<void*>(m_mapping), m_size);
  m_data = nullptr;
  m_mapping = nullptr;
  m_size = 0;
  return m_file.Close() == QO::k_resultSuccess;
}

}  // namespace zu
