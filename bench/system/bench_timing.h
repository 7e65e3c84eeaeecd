// Interleaved best-of-N timing for the system benchmarks: every round times each contender once,
// in turn, so a change in the machine's load reaches all of them alike.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <vector>

namespace qobench {

// Seconds one call of `run` takes.
inline double SecondsOf(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The best time of each contender over `rounds` interleaved rounds.
inline std::vector<double> BestOfInterleaved(const std::vector<std::function<void()>>& contenders,
                                             int rounds) {
  std::vector<double> best(contenders.size(), std::numeric_limits<double>::infinity());
  for (int round = 0; round < rounds; ++round) {
    for (size_t i = 0; i < contenders.size(); ++i) {
      best[i] = std::min(best[i], SecondsOf(contenders[i]));
    }
  }
  return best;
}

}  // namespace qobench
