// zu::ListDirectoryRecursive over a generated tree of 20,000 files against the path library's
// bare recursive_directory_iterator collecting the same paths, in the same run.
#include <qobase/files/directory_operations.h>

#include <boost/filesystem.hpp>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

const int k_directories = 200;
const int k_filesPerDirectory = 100;

// 20 top folders of 10 sub-folders each, 100 files in each sub-folder.
bool MakeTree(const std::string& root) {
  for (int d = 0; d < k_directories; ++d) {
    const std::string folder =
        root + "/group" + std::to_string(d / 10) + "/take" + std::to_string(d % 10);
    boost::system::error_code error;
    boost::filesystem::create_directories(folder, error);
    if (error) return false;
    for (int f = 0; f < k_filesPerDirectory; ++f) {
      std::ofstream(folder + "/sample_" + std::to_string(f) + ".wav") << "x";
    }
  }
  return true;
}

}  // namespace

int main() {
  const qobench::ScratchDir scratch;
  if (!scratch.IsValid() || !MakeTree(scratch.Path())) return 1;
  const std::string root = scratch.Path();
  const size_t expected = static_cast<size_t>(k_directories * k_filesPerDirectory);
  const qobench::Side ours{nullptr, [&] {
                             std::vector<CStdStr> files;
                             zu::ListDirectoryRecursive(root, files);
                             return files.size() == expected;
                           }};
  const qobench::Side bare{nullptr, [&] {
                             namespace fs = boost::filesystem;
                             std::vector<std::string> files;
                             for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
                               if (!fs::is_directory(it->status())) {
                                 files.push_back(it->path().string());
                               }
                             }
                             return files.size() == expected;
                           }};
  const int rounds = qobench::Rounds(15);
  std::printf("20,000 files in 200 folders, best of %d interleaved rounds\n", rounds);
  return qobench::PrintRow("ListDirectoryRecursive vs recursive_directory_iterator",
                           qobench::CompareInterleaved(rounds, ours, bare), 1.3)
             ? 0
             : 1;
}
