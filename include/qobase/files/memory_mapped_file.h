// zu::MemoryMappedFile: a whole file mapped read-only into memory, on top of a zu::File that
// stays open while the mapping exists.
#pragma once

#include <qobase/files/file.h>

#include <cstddef>

namespace zu {

class MemoryMappedFile {
 public:
  // Nothing mapped.
  MemoryMappedFile();
  // Unmaps (releasing the mapping and closing the file) when mapped.
  virtual ~MemoryMappedFile();
  MemoryMappedFile(const MemoryMappedFile&) = delete;
  MemoryMappedFile& operator=(const MemoryMappedFile&) = delete;

  // Maps all of `path` read-only and shared; returns the first byte's address, or null when the
  // file cannot be opened, is empty, cannot be mapped, or something is mapped already.
  const void* Map(const Path& path);
  // Releases the mapping and closes the file; false when nothing is mapped or the close failed.
  // No pointer into the mapping may be used afterwards.
  bool Unmap();

  // The mapped address (null when unmapped) and its length in bytes.
  const void* GetData() const { return m_data; }
  std::size_t GetSize() const { return m_size; }

 private:
  File m_file;
  const void* m_data;
  const void* m_mapping;
  std::size_t m_size;
};

}  // namespace zu
