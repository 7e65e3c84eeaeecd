// The tests' scratch directory and whole-file fixture helpers.
#include "support/temp_dir.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qotest {

TempDir::TempDir() : ScratchFolder(SystemTempFolder(), "qobase-test") {
  if (!IsValid()) throw std::runtime_error("mkdtemp failed");
}

bool WriteFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace qotest
