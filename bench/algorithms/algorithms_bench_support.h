// What the algorithm benchmarks share: wall-clock timing of two jobs, run alternately so both
// see the same machine state, keeping the best of several runs of each.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>

namespace algobench {

inline double Seconds(const std::function<void()>& job) {
  const auto start = std::chrono::steady_clock::now();
  job();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct BestTimes {
  double ours = 1e30;
  double peer = 1e30;
  double Ratio() const { return ours / peer; }
};

// The best of `repetitions` interleaved runs of each job, the peer first in every round.
inline BestTimes Interleaved(int repetitions, const std::function<void()>& ours,
                             const std::function<void()>& peer) {
  BestTimes best;
  for (int i = 0; i < repetitions; ++i) {
    best.peer = std::min(best.peer, Seconds(peer));
    best.ours = std::min(best.ours, Seconds(ours));
  }
  return best;
}

// Prints both times and ours / peer; false when the ratio is above `maxRatio`.
inline bool Report(const char* what, const BestTimes& best, double maxRatio) {
  const double ratio = best.Ratio();
  const bool met = ratio <= maxRatio;
  std::printf("%-40s ours %10.3f ms  peer %10.3f ms  ours/peer %7.4f (target <= %.3f) %s\n", what,
              best.ours * 1e3, best.peer * 1e3, ratio, maxRatio, met ? "met" : "MISSED");
  return met;
}

}  // namespace algobench
