// Levenshtein::GetDistance against the full-table method (the whole (la + 1) x (lb + 1) table of
// 32-bit entries, allocated zeroed and freed per call) on seeded pairs of 64-byte and of
// 1,000-byte strings, half of them near copies of each other. Both must agree on every pair
// before a time counts. Prints ours / full table as rows of the ratio table (bars: 0.1 and 0.05).
#include <qobase/algorithms/levenshtein.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench_support.h"

namespace {

int FullTableDistance(const CStdStr& a, const CStdStr& b) {
  const size_t la = a.size(), lb = b.size();
  if (la == 0) return static_cast<int>(lb);
  if (lb == 0) return static_cast<int>(la);
  auto* table = static_cast<int32_t*>(std::calloc((la + 1) * (lb + 1), sizeof(int32_t)));
  if (!table) return -1;
  for (size_t i = 0; i <= la; ++i) table[i] = static_cast<int32_t>(i);
  for (size_t j = 0; j <= lb; ++j) table[j * (la + 1)] = static_cast<int32_t>(j);
  for (size_t i = 1; i <= la; ++i) {
    for (size_t j = 1; j <= lb; ++j) {
      const int32_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      const int32_t diagonal = table[(j - 1) * (la + 1) + i - 1] + cost;
      const int32_t side = std::min(table[(j - 1) * (la + 1) + i], table[j * (la + 1) + i - 1]) + 1;
      table[j * (la + 1) + i] = std::min(diagonal, side);
    }
  }
  const int result = table[lb * (la + 1) + la];
  std::free(table);
  return result;
}

// Pairs of `length` bytes of lower-case text: even pairs unrelated, odd pairs a string and a copy
// with about one byte in ten substituted (so common prefixes stay short).
std::vector<std::pair<CStdStr, CStdStr>> MakePairs(size_t count, size_t length, unsigned seed) {
  std::mt19937 random(seed);
  auto letter = [&] { return static_cast<char>('a' + random() % 26); };
  std::vector<std::pair<CStdStr, CStdStr>> pairs;
  for (size_t p = 0; p < count; ++p) {
    CStdStr a, b;
    for (size_t i = 0; i < length; ++i) a += letter();
    if (p % 2 == 0) {
      for (size_t i = 0; i < length; ++i) b += letter();
    } else {
      b = a;
      b[0] = letter();
      for (size_t i = 1; i < length; ++i) {
        if (random() % 10 == 0) b[i] = letter();
      }
    }
    pairs.emplace_back(a, b);
  }
  return pairs;
}

bool Measure(const char* what, size_t count, size_t length, double bar) {
  const auto pairs = MakePairs(count, length, 20240917u + static_cast<unsigned>(length));
  for (const auto& pair : pairs) {
    if (Levenshtein::GetDistance(pair.first, pair.second) !=
        FullTableDistance(pair.first, pair.second)) {
      std::printf("row | %s | not measured: the distances disagree\n", what);
      return false;
    }
  }
  const qobench::Comparison comparison =
      qobench::CompareInterleaved(qobench::Rounds(7),
                                  {nullptr,
                                   [&] {
                                     long long sum = 0;
                                     for (const auto& pair : pairs)
                                       sum += Levenshtein::GetDistance(pair.first, pair.second);
                                     qobench::Keep(sum);
                                     return true;
                                   }},
                                  {nullptr, [&] {
                                     long long sum = 0;
                                     for (const auto& pair : pairs)
                                       sum += FullTableDistance(pair.first, pair.second);
                                     qobench::Keep(sum);
                                     return true;
                                   }});
  return qobench::PrintRow(what, comparison, bar);
}

}  // namespace

int main() {
  std::printf("Levenshtein distance, ours / the full table, best of interleaved runs:\n");
  bool met = Measure("edit distance: 20,000 pairs of 64 bytes", 20000, 64, 0.1);
  met = Measure("edit distance: 200 pairs of 1,000 bytes", 200, 1000, 0.05) && met;
  return met ? 0 : 1;
}
