// The scratch folder of a harness that must go through files: memory-backed when the system has
// /dev/shm (every run writes its files), made once per process and removed when it exits.
#pragma once

#include <stdlib.h>
#include <boost/filesystem.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace qofuzz {

class ScratchFolder {
 public:
  static const ScratchFolder& Get() {
    static const ScratchFolder folder;
    return folder;
  }
  std::string File(const char* name) const { return m_path + "/" + name; }

  // Writes `size` bytes to `path`, replacing it; aborts when that fails, since every later check
  // would be meaningless.
  static void Write(const std::string& path, const void* data, size_t size) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) {
      std::abort();
    }
  }

 private:
  ScratchFolder() {
    char shm[] = "/dev/shm/qobase-fuzz-XXXXXX";
    char tmp[] = "/tmp/qobase-fuzz-XXXXXX";
    const char* made = mkdtemp(shm);
    if (!made) made = mkdtemp(tmp);
    if (!made) std::abort();
    m_path = made;
  }
  ~ScratchFolder() {
    boost::system::error_code ignored;
    boost::filesystem::remove_all(m_path, ignored);
  }

  std::string m_path;
};

}  // namespace qofuzz
