// A fresh directory under the system's temporary folder, removed with everything in it when the
// object goes out of scope. Every test that touches the disk makes its own.
#pragma once

#include <string>

namespace qotest {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // The directory's absolute path, without a trailing slash.
  const std::string& Path() const { return m_path; }
  // Path() + "/" + name.
  std::string File(const std::string& name) const;

 private:
  std::string m_path;
};

// Whole-file helpers for building and checking fixtures.
bool WriteFileBytes(const std::string& path, const std::string& bytes);
std::string ReadFileBytes(const std::string& path);

}  // namespace qotest
