// What every benchmark program shares: a scratch folder for the files it measures on, and an
// interleaved comparison of our code against a peer that prints one row of the ratio table.
//
// A comparison runs the two sides in turn, the side going first alternating from round to
// round, each run preceded by its own untimed preparation (removing the previous output,
// writing dirty pages back), and keeps each side's best time. Rows are printed as
//   row | WORK | ours 123.4 ms | peer 150.2 ms | ratio 0.822 | bar <= 1.00 met | goal <= 0.70
//   missed
// and scripts/run-benchmarks.sh collects them into one table at the end of `make bench`.
#pragma once

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "internal/scratch_folder.h"

namespace qobench {

// A fresh folder under /tmp, removed with everything in it at the end.
class ScratchDir : public qobase_internal::ScratchFolder {
 public:
  ScratchDir() : ScratchFolder("/tmp", "qobase-bench") {}
};

// The number of rounds of a comparison: QOBENCH_ROUNDS when set (for quick trials), else
// `fallback`.
inline int Rounds(int fallback) {
  const char* text = std::getenv("QOBENCH_ROUNDS");
  const int rounds = text ? std::atoi(text) : 0;
  return rounds > 0 ? rounds : fallback;
}

// One side of a comparison: `prepare` runs untimed before every run (it may be empty); `run` is
// timed and returns false when the work failed, which ends the comparison.
struct Side {
  std::function<void()> prepare;
  std::function<bool()> run;
};

// The best times of both sides, in seconds; `ok` is false when a run failed.
struct Comparison {
  double ours = 0;
  double peer = 0;
  int rounds = 0;
  bool ok = false;
  double Ratio() const { return peer > 0 ? ours / peer : 0; }
};

inline double Seconds(const std::function<bool()>& run, bool& ok) {
  const auto start = std::chrono::steady_clock::now();
  ok = run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The best time of each side over `rounds` rounds, in seconds. Every round runs each side once,
// the side going first moving on by one from round to round, so a change in the machine's load
// reaches all of them alike. `ok` is false, and the times incomplete, when a run failed.
inline std::vector<double> BestOfInterleaved(const std::vector<Side>& sides, int rounds, bool& ok) {
  std::vector<double> best(sides.size(), 1e30);
  ok = false;
  for (int round = 0; round < rounds; ++round) {
    for (size_t turn = 0; turn < sides.size(); ++turn) {
      const size_t index = (static_cast<size_t>(round) + turn) % sides.size();
      const Side& side = sides[index];
      if (side.prepare) side.prepare();
      bool done = false;
      const double time = Seconds(side.run, done);
      if (!done) return best;
      best[index] = std::min(best[index], time);
    }
  }
  ok = true;
  return best;
}

// The same for contenders that cannot fail and need no preparation.
inline std::vector<double> BestOfInterleaved(const std::vector<std::function<void()>>& contenders,
                                             int rounds) {
  std::vector<Side> sides;
  for (const auto& run : contenders) {
    sides.push_back({nullptr, [run] {
                       run();
                       return true;
                     }});
  }
  bool ok = false;
  return BestOfInterleaved(sides, rounds, ok);
}

inline Comparison CompareInterleaved(int rounds, const Side& ours, const Side& peer) {
  Comparison result;
  result.rounds = rounds;
  const std::vector<double> best = BestOfInterleaved({ours, peer}, rounds, result.ok);
  result.ours = best[0];
  result.peer = best[1];
  return result;
}

// Removes `path` and writes every dirty page back, so that no run pays for the previous one's
// output.
inline void RemoveAndSync(const std::string& path) {
  std::remove(path.c_str());
  sync();
}

// Prints one row of the table. A bar or goal of 0 is not shown (rows that only watch for a
// regression have a bar and no goal; informative rows have neither). False when the
// comparison failed or the bar was missed.
inline bool PrintRow(const std::string& work, const Comparison& c, double bar, double goal = 0) {
  if (!c.ok) {
    std::printf("row | %s | not measured: a run failed\n", work.c_str());
    return false;
  }
  const double ratio = c.Ratio();
  std::printf("row | %s | ours %.1f ms | peer %.1f ms | ratio %.3f", work.c_str(), c.ours * 1e3,
              c.peer * 1e3, ratio);
  if (bar > 0) std::printf(" | bar <= %.2f %s", bar, ratio <= bar ? "met" : "MISSED");
  if (goal > 0) std::printf(" | goal <= %.2f %s", goal, ratio <= goal ? "met" : "missed");
  std::printf("\n");
  std::fflush(stdout);
  return true;
}

// Keeps the compiler from dropping work whose result is otherwise unused.
template <class T>
inline void Keep(const T& value) {
  benchmark::DoNotOptimize(value);
}

}  // namespace qobench
