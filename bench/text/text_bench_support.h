// What the structured-text benchmarks share: the document they write and read, and a reporter
// that keeps each benchmark's time so the program can print ours / peer ratios.
#pragma once

#include <benchmark/benchmark.h>
#include <qobase/strings/std_str.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace textbench {

// The document: Project > Bank (10) > Folder (10 each) > Group (100 each) > Sound (`perGroup`
// each, 100 gives one million), nested five deep. Containers hold only children; each Sound has
// two attributes and a text. Values come from a pool so both sides copy the same bytes.
struct Stream {
  static constexpr int k_banks = 10, k_folders = 10, k_groups = 100;
  const CStdStr elements[5] = {"Project", "Bank", "Folder", "Group", "Sound"};
  const CStdStr id = "id", name = "name";
  std::vector<CStdStr> ids, names;
  CStdStr text = "Take recorded at the second session, room mics";

  Stream() {
    for (int i = 0; i < 1000; ++i) {
      ids.push_back(std::to_string(100000 + i * 7919 % 900000));
      names.push_back("Sound " + std::to_string(i) + " & friends");  // needs escaping
    }
  }

  // Calls start(name, depth), attribute(name, value), text(value), end() in document order.
  template <class Start, class Attribute, class Text, class End>
  void Emit(int perGroup, Start start, Attribute attribute, Text textOut, End end) const {
    int n = 0;
    start(elements[0], 0);
    for (int b = 0; b < k_banks; ++b) {
      start(elements[1], 1);
      for (int f = 0; f < k_folders; ++f) {
        start(elements[2], 2);
        for (int g = 0; g < k_groups; ++g) {
          start(elements[3], 3);
          for (int s = 0; s < perGroup; ++s, ++n) {
            start(elements[4], 4);
            attribute(id, ids[n % 1000]);
            attribute(name, names[n % 1000]);
            textOut(text);
            end();
          }
          end();
        }
        end();
      }
      end();
    }
    end();
  }
};

// A fresh directory for the benchmark's files, removed with them at the end.
class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/qobase-bench-XXXXXX";
    if (mkdtemp(pattern)) m_path = pattern;
  }
  ~ScratchDir() {
    for (const std::string& file : m_files) std::remove(file.c_str());
    if (!m_path.empty()) rmdir(m_path.c_str());
  }
  std::string File(const std::string& name) {
    m_files.push_back(m_path + "/" + name);
    return m_files.back();
  }

 private:
  std::string m_path;
  std::vector<std::string> m_files;
};

// Console output as usual, and the real time per iteration of every benchmark by name.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) m_seconds[run.benchmark_name()] = run.GetAdjustedRealTime();
    ConsoleReporter::ReportRuns(runs);
  }

  // Prints ours / peer and whether it meets the target; false when it does not or is missing.
  bool PrintRatio(const char* what, const std::string& ours, const std::string& peer,
                  double target) const {
    auto a = m_seconds.find(ours), b = m_seconds.find(peer);
    if (a == m_seconds.end() || b == m_seconds.end() || b->second <= 0) {
      std::printf("%s: not measured\n", what);
      return false;
    }
    const double ratio = a->second / b->second;
    std::printf("%s: ratio %.3f (target <= %.2f) %s\n", what, ratio, target,
                ratio <= target ? "met" : "MISSED");
    return ratio <= target;
  }

 private:
  std::map<std::string, double> m_seconds;
};

}  // namespace textbench
