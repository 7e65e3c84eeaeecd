#include "support/temp_dir.h"

#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace qotest {

TempDir::TempDir() {
  std::string pattern =
      (boost::filesystem::temp_directory_path() / "qobase-test-XXXXXX").string();
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (!mkdtemp(buffer.data())) throw std::runtime_error("mkdtemp failed");
  m_path = buffer.data();
}

TempDir::~TempDir() {
  boost::system::error_code ignored;
  boost::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::File(const std::string& name) const { return m_path + "/" + name; }

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
