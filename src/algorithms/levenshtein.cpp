// Edit distance by the bit-parallel column method: the vertical differences of one column of the
// distance table are held as bit vectors (+1 and -1 per row), so a column costs a few word
// operations per 64 rows instead of one step per cell. The shorter string runs down the rows;
// longer ones are split into 64-row blocks that pass their bottom row's horizontal difference on
// to the next block. The result equals the full-table definition exactly.
#include <qobase/algorithms/levenshtein.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using Word = uint64_t;
constexpr size_t k_wordBits = 64;
constexpr size_t k_alphabet = 256;

// One column step of a 64-row block. `hin` is the horizontal difference (-1, 0, +1) entering the
// block's top row; the one leaving row `outBit` is returned.
inline int AdvanceBlock(Word& pv, Word& mv, Word eq, int hin, size_t outBit) {
  const Word xv = eq | mv;
  if (hin < 0) eq |= 1;
  const Word xh = (((eq & pv) + pv) ^ pv) | eq;
  Word ph = mv | ~(xh | pv);
  Word mh = pv & xh;
  const int hout = static_cast<int>((ph >> outBit) & 1) - static_cast<int>((mh >> outBit) & 1);
  ph <<= 1;
  mh <<= 1;
  if (hin < 0) {
    mh |= 1;
  } else if (hin > 0) {
    ph |= 1;
  }
  pv = mh | ~(xv | ph);
  mv = ph & xv;
  return hout;
}

// Pattern of 1 to 64 bytes: one word per column.
long long DistanceSingleWord(const unsigned char* pattern, size_t m, const unsigned char* text,
                             size_t n) {
  Word peq[k_alphabet] = {};
  for (size_t i = 0; i < m; ++i) peq[pattern[i]] |= Word{1} << i;
  const Word last = Word{1} << (m - 1);
  Word pv = ~Word{0};
  Word mv = 0;
  long long score = static_cast<long long>(m);
  for (size_t j = 0; j < n; ++j) {
    const Word eq = peq[text[j]];
    const Word xv = eq | mv;
    const Word xh = (((eq & pv) + pv) ^ pv) | eq;
    Word ph = mv | ~(xh | pv);
    Word mh = pv & xh;
    score += static_cast<long long>((ph & last) != 0) - static_cast<long long>((mh & last) != 0);
    // The top row of the table grows by one per column: +1 enters every column.
    ph = (ph << 1) | 1;
    mh <<= 1;
    pv = mh | ~(xv | ph);
    mv = ph & xv;
  }
  return score;
}

// Pattern longer than 64 bytes: blocks of 64 rows, the last one partly used.
long long DistanceBlocks(const unsigned char* pattern, size_t m, const unsigned char* text,
                         size_t n) {
  const size_t blocks = (m + k_wordBits - 1) / k_wordBits;
  std::vector<Word> peq(k_alphabet * blocks, 0);
  for (size_t i = 0; i < m; ++i) {
    peq[pattern[i] * blocks + i / k_wordBits] |= Word{1} << (i % k_wordBits);
  }
  std::vector<Word> pv(blocks, ~Word{0});
  std::vector<Word> mv(blocks, 0);
  const size_t lastBlock = blocks - 1;
  const size_t lastBit = (m - 1) % k_wordBits;
  long long score = static_cast<long long>(m);
  for (size_t j = 0; j < n; ++j) {
    const Word* eq = &peq[text[j] * blocks];
    int carry = 1;
    for (size_t b = 0; b < lastBlock; ++b) {
      carry = AdvanceBlock(pv[b], mv[b], eq[b], carry, k_wordBits - 1);
    }
    score += AdvanceBlock(pv[lastBlock], mv[lastBlock], eq[lastBlock], carry, lastBit);
  }
  return score;
}

}  // namespace

int Levenshtein::GetDistance(const CStdStr& a, const CStdStr& b) {
  const unsigned char* x = reinterpret_cast<const unsigned char*>(a.data());
  const unsigned char* y = reinterpret_cast<const unsigned char*>(b.data());
  size_t lx = a.size();
  size_t ly = b.size();

  // A common prefix or suffix never changes the distance.
  while (lx > 0 && ly > 0 && *x == *y) {
    ++x;
    ++y;
    --lx;
    --ly;
  }
  while (lx > 0 && ly > 0 && x[lx - 1] == y[ly - 1]) {
    --lx;
    --ly;
  }
  if (lx == 0) return static_cast<int>(ly);
  if (ly == 0) return static_cast<int>(lx);

  if (lx > ly) {
    std::swap(x, y);
    std::swap(lx, ly);
  }
  const long long distance =
      lx <= k_wordBits ? DistanceSingleWord(x, lx, y, ly) : DistanceBlocks(x, lx, y, ly);
  return static_cast<int>(distance);
}
