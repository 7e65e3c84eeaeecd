// Interning one million texts, half of them repeats of the other half, into a fresh
// ROStringInternal::RODataSet (the pool every ROString uses) against a mutex-guarded
// std::unordered_set<std::string> that returns the stored copy's pointer. The texts are
// path-like names of 8 to 60 bytes, in a seeded random order; each run starts from an empty pool
// or set, made (and the last one destroyed) untimed. Both must give one pointer per distinct
// text. Prints ours / set as a row of the ratio table (bar: 1.5).
#include <qobase/algorithms/ro_string.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include "bench_support.h"

namespace {

constexpr size_t k_distinct = 500000;

class GuardedSet {
 public:
  const char* Get(const char* text) {
    std::string key(text);
    std::lock_guard<std::mutex> lock(m_mutex);
    auto found = m_set.find(key);
    if (found == m_set.end()) found = m_set.insert(std::move(key)).first;
    return found->c_str();
  }
  size_t Size() const { return m_set.size(); }

 private:
  std::mutex m_mutex;
  std::unordered_set<std::string> m_set;
};

// Every distinct text once and once more, shuffled.
std::vector<std::string> MakeTexts() {
  std::mt19937 random(20240917);
  const char* const folders[] = {"Music", "SFX", "Voice", "Ambience", "UI"};
  std::vector<std::string> texts;
  for (size_t i = 0; i < k_distinct; ++i) {
    std::string text = std::string(folders[random() % 5]) + "/" + std::to_string(i);
    const size_t extra = random() % 40;
    for (size_t k = 0; k < extra; ++k) text += static_cast<char>('a' + random() % 26);
    texts.push_back(text);
  }
  const std::vector<std::string> distinct = texts;
  texts.insert(texts.end(), distinct.begin(), distinct.end());
  std::shuffle(texts.begin(), texts.end(), random);
  return texts;
}

template <class Pool>
bool OnePointerPerText(Pool& pool, const std::vector<const char*>& texts) {
  std::unordered_set<const char*> pointers;
  for (const char* text : texts) pointers.insert(pool.Get(text));
  return pointers.size() == k_distinct && pool.Size() == k_distinct;
}

}  // namespace

int main() {
  const std::vector<std::string> owned = MakeTexts();
  std::vector<const char*> texts;
  for (const std::string& text : owned) texts.push_back(text.c_str());
  const char* const work = "interning: 1,000,000 texts, half repeats";
  {
    ROStringInternal::RODataSet pool;
    GuardedSet set;
    if (!OnePointerPerText(pool, texts) || !OnePointerPerText(set, texts)) {
      std::printf("row | %s | not measured: a pool did not give one pointer per text\n", work);
      return 1;
    }
  }

  std::unique_ptr<ROStringInternal::RODataSet> pool;
  std::unique_ptr<GuardedSet> set;
  const qobench::Comparison comparison =
      qobench::CompareInterleaved(qobench::Rounds(7),
                                  {[&] { pool = std::make_unique<ROStringInternal::RODataSet>(); },
                                   [&] {
                                     for (const char* text : texts) qobench::Keep(pool->Get(text));
                                     return true;
                                   }},
                                  {[&] { set = std::make_unique<GuardedSet>(); },
                                   [&] {
                                     for (const char* text : texts) qobench::Keep(set->Get(text));
                                     return true;
                                   }});
  std::printf("Interning, ours / mutex-guarded unordered_set<string>, best of interleaved runs:\n");
  return qobench::PrintRow(work, comparison, 1.5) ? 0 : 1;
}
