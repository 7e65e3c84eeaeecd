// zu::ListDirectoryRecursive over a generated tree of 20,000 files against the path library's
// bare recursive_directory_iterator collecting the same paths, in the same run.
#include <qobase/files/directory_operations.h>

#include <benchmark/benchmark.h>
#include <boost/filesystem.hpp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

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
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      // Names carry their settings ("BM_x/min_time:1.000"); key by the function name.
      const std::string name = run.benchmark_name().substr(0, run.benchmark_name().find('/'));
      realTimes[name] = run.GetAdjustedRealTime();
      cpuTimes[name] = run.GetAdjustedCPUTime();
    }
  }
  std::map<std::string, double> realTimes;
  std::map<std::string, double> cpuTimes;
};

}  // namespace

int main(int argc, char** argv) {
  char pattern[] = "/tmp/qobase-list-bench-XXXXXX";
  if (!mkdtemp(pattern)) return 1;
  s_root = pattern;
  if (!MakeTree(s_root)) return 1;
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  boost::system::error_code ignored;
  boost::filesystem::remove_all(s_root, ignored);
  const double oursReal = reporter.realTimes["BM_ListDirectoryRecursive"];
  const double bareReal = reporter.realTimes["BM_BoostRecursiveIterator"];
  const double oursCpu = reporter.cpuTimes["BM_ListDirectoryRecursive"];
  const double bareCpu = reporter.cpuTimes["BM_BoostRecursiveIterator"];
  if (oursReal <= 0 || bareReal <= 0 || oursCpu <= 0 || bareCpu <= 0) return 1;
  std::printf("ratio ListDirectoryRecursive / recursive_directory_iterator, 20000 files: "
              "%.3f real time, %.3f CPU time (target <= 1.3)\n",
              oursReal / bareReal, oursCpu / bareCpu);
  return 0;
}
