// A fresh directory under the system's temporary folder, removed with everything in it when the
// object goes out of scope, and whole-file helpers for fixtures. Every test that touches the disk
// makes its own directory.
#pragma once

#include <string>

#include "internal/scratch_folder.h"

namespace qotest {

// The scratch folder every test uses: "qobase-test-XXXXXX" in the system's temporary folder.
class TempDir : public qobase_internal::ScratchFolder {
 public:
  // Throws std::runtime_error when the directory cannot be made, which fails the test.
  TempDir();
};

// Whole-file helpers for building and checking fixtures.
bool WriteFileBytes(const std::string& path, const std::string& bytes);
std::string ReadFileBytes(const std::string& path);

}  // namespace qotest
