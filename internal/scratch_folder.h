// A fresh folder for files a test, benchmark, fuzz harness or demo makes, removed with everything
// in it when the object goes. Header-only and never installed: the library does not use it.
//
//   qobase_internal::ScratchFolder dir("/tmp", "qobase-bench");  // /tmp/qobase-bench-Ab12Cd
//   if (dir.IsValid()) WriteSomething(dir.File("in.wav"));
#pragma once

#include <stdlib.h>

#include <boost/filesystem/operations.hpp>
#include <string>
#include <vector>

namespace qobase_internal {

class ScratchFolder {
 public:
  // Makes `parent`/`prefix`-XXXXXX with a unique suffix. IsValid() is false when that fails.
  ScratchFolder(const std::string& parent, const std::string& prefix) {
    const std::string pattern = parent + "/" + prefix + "-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data())) m_path = buffer.data();
  }
  ~ScratchFolder() {
    boost::system::error_code ignored;
    if (IsValid()) boost::filesystem::remove_all(m_path, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  bool IsValid() const { return !m_path.empty(); }
  // The folder's path, without a trailing slash; empty when it could not be made.
  const std::string& Path() const { return m_path; }
  // Path() + "/" + name.
  std::string File(const std::string& name) const { return m_path + "/" + name; }

  // The system's temporary folder as the path library finds it (TMPDIR first), else "/tmp".
  static std::string SystemTempFolder() {
    boost::system::error_code error;
    const boost::filesystem::path found = boost::filesystem::temp_directory_path(error);
    return error ? std::string("/tmp") : found.string();
  }

 private:
  std::string m_path;
};

}  // namespace qobase_internal
