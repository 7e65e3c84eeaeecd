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

std::string s_root;

// 20 top folders of 10 sub-folders each, 100 files in each sub-folder.
bool MakeTree(const std::string& root) {
  for (int d = 0; d < k_directories; ++d) {
    const std::string folder = root + "/group" + std::to_string(d / 10) + "/take" + std::to_string(d % 10);
    boost::system::error_code error;
    boost::filesystem::create_directories(folder, error);
    if (error) return false;
    for (int f = 0; f < k_filesPerDirectory; ++f) {
      std::ofstream(folder + "/sample_" + std::to_string(f) + ".wav") << "x";
    }
  }
  return true;
}

void BM_ListDirectoryRecursive(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<CStdStr> files;
    zu::ListDirectoryRecursive(s_root, files);
    if (files.size() != static_cast<size_t>(k_directories * k_filesPerDirectory)) {
      state.SkipWithError("wrong file count");
    }
    benchmark::DoNotOptimize(files.data());
  }
}

void BM_BoostRecursiveIterator(benchmark::State& state) {
  namespace fs = boost::filesystem;
  for (auto _ : state) {
    std::vector<std::string> files;
    for (fs::recursive_directory_iterator it(s_root), end; it != end; ++it) {
      if (!fs::is_directory(it->status())) files.push_back(it->path().string());
    }
    if (files.size() != static_cast<size_t>(k_directories * k_filesPerDirectory)) {
      state.SkipWithError("wrong file count");
    }
    benchmark::DoNotOptimize(files.data());
  }
}

BENCHMARK(BM_ListDirectoryRecursive)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_BoostRecursiveIterator)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// Prints as usual and keeps each benchmark's real time per iteration for the ratio.
}  // namespace

int main(int argc, char** argv) {
  const qobench::ScratchDir scratch;
  s_root = scratch.Path();
  if (!scratch.IsValid() || !MakeTree(s_root)) return 1;
  benchmark::Initialize(&argc, argv);
  qobench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double oursReal = reporter.RealTime("BM_ListDirectoryRecursive");
  const double bareReal = reporter.RealTime("BM_BoostRecursiveIterator");
  const double oursCpu = reporter.CpuTime("BM_ListDirectoryRecursive");
  const double bareCpu = reporter.CpuTime("BM_BoostRecursiveIterator");
  if (oursReal <= 0 || bareReal <= 0 || oursCpu <= 0 || bareCpu <= 0) return 1;
  std::printf("ratio ListDirectoryRecursive / recursive_directory_iterator, 20000 files: "
              "%.3f real time, %.3f CPU time (target <= 1.3)\n",
              oursReal / bareReal, oursCpu / bareCpu);
  return 0;
}
