// What every benchmark program shares: a scratch folder for the files it measures on, and a
// reporter that keeps each benchmark's times so the program can print ours / peer ratios.
#pragma once

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <boost/filesystem.hpp>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace qobench {

// A fresh folder under /tmp, removed with everything in it at the end.
class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/qobase-bench-XXXXXX";
    if (mkdtemp(pattern)) m_path = pattern;
  }
  ~ScratchDir() {
    boost::system::error_code ignored;
    if (IsValid()) boost::filesystem::remove_all(m_path, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  bool IsValid() const { return !m_path.empty(); }
  const std::string& Path() const { return m_path; }
  std::string File(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

// Console output as usual, and the real and CPU time per iteration of every benchmark that ran
// without error, by its full name ("BM_x/iterations:3/real_time") and by the part before the
// first "/" ("BM_x").
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const std::string name = run.benchmark_name();
      for (const std::string& key : {name, name.substr(0, name.find('/'))}) {
        m_realTimes[key] = run.GetAdjustedRealTime();
        m_cpuTimes[key] = run.GetAdjustedCPUTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Times of a benchmark that ran, 0 for one that did not.
  double RealTime(const std::string& name) const { return Find(m_realTimes, name); }
  double CpuTime(const std::string& name) const { return Find(m_cpuTimes, name); }

  // Prints ours / peer in real time and whether it meets the target; false when it does not or
  // either was not measured.
  bool PrintRatio(const char* what, const std::string& ours, const std::string& peer,
                  double target) const {
    const double a = RealTime(ours), b = RealTime(peer);
    if (a <= 0 || b <= 0) {
      std::printf("%s: not measured\n", what);
      return false;
    }
    const double ratio = a / b;
    std::printf("%s: ratio %.3f (target <= %.2f) %s\n", what, ratio, target,
                ratio <= target ? "met" : "MISSED");
    return ratio <= target;
  }

 private:
  static double Find(const std::map<std::string, double>& times, const std::string& name) {
    const auto found = times.find(name);
    return found == times.end() ? 0.0 : found->second;
  }

  std::map<std::string, double> m_realTimes;
  std::map<std::string, double> m_cpuTimes;
};

}  // namespace qobench
