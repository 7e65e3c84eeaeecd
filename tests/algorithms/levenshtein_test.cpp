// Edit distance: the documented examples, and agreement with the full-table definition on seeded
// random byte strings, around the 64-byte word edges and with multi-byte UTF-8.
#include <qobase/algorithms/levenshtein.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

// The definition: the whole (la + 1) x (lb + 1) table.
int FullTableDistance(const std::string& a, const std::string& b) {
  const size_t la = a.size(), lb = b.size();
  std::vector<int> table((la + 1) * (lb + 1));
  auto at = [&](size_t j, size_t i) -> int& { return table[j * (la + 1) + i]; };
  for (size_t i = 0; i <= la; ++i) at(0, i) = static_cast<int>(i);
  for (size_t j = 0; j <= lb; ++j) at(j, 0) = static_cast<int>(j);
  for (size_t i = 1; i <= la; ++i) {
    for (size_t j = 1; j <= lb; ++j) {
      const int cost = a[i - 1] == b[j - 1] ? 0 : 1;
      at(j, i) = std::min(at(j - 1, i - 1) + cost, std::min(at(j - 1, i), at(j, i - 1)) + 1);
    }
  }
  return at(lb, la);
}

// Random text of `length` bytes drawn from `alphabet`.
std::string RandomText(std::mt19937& random, size_t length, const std::string& alphabet) {
  std::string text;
  std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
  while (text.size() < length) text += alphabet[pick(random)];
  return text;
}

// `text` after a few random byte edits, so that pairs are close and the distance is not just
// the longer length.
std::string Mutated(std::mt19937& random, std::string text, const std::string& alphabet) {
  std::uniform_int_distribution<int> edits(0, 12);
  for (int n = edits(random); n > 0; --n) {
    const size_t at = text.empty() ? 0 : random() % (text.size() + 1);
    const char byte = alphabet[random() % alphabet.size()];
    switch (random() % 3) {
      case 0:
        text.insert(text.begin() + static_cast<long>(at), byte);
        break;
      case 1:
        if (at < text.size()) text.erase(at, 1);
        break;
      default:
        if (at < text.size()) text[at] = byte;
        break;
    }
  }
  return text;
}

std::string AllBytes() {
  std::string bytes;
  for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  return bytes;
}

TEST(Levenshtein, Examples) {
  const struct {
    const char* a;
    const char* b;
    int distance;
  } cases[] = {
      {"", "abc", 3},       {"abc", "", 3},      {"", "", 0},
      {"flaw", "lawn", 2},  {"abc", "ABC", 3},   {"kitten", "sitting", 3},
      {"\xC3\xA9", "e", 2}, {"same", "same", 0}, {"ab", "ba", 2},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Levenshtein::GetDistance(c.a, c.b), c.distance) << c.a << " / " << c.b;
  }
  // Embedded zero bytes are bytes like any other.
  EXPECT_EQ(Levenshtein::GetDistance(CStdStr("a\0b", 3), CStdStr("a\0c", 3)), 1);
}

// Seeded pairs of unrelated and of nearly equal texts, over small and full byte alphabets and
// multi-byte UTF-8, with lengths up to 300 and at the 64-byte word edges, in both orders.
TEST(Levenshtein, MatchesFullTable) {
  std::mt19937 random(20240917);
  const std::string utf8[] = {"a", "b", "\xC3\xA9", "\xC3\xA8", "\xE2\x82\xAC", "\xF0\x9F\x8E\xB5"};
  const std::vector<std::string> alphabets = {"ab", "acgt", "abcdefghijklmnopqrstuvwxyz ",
                                              AllBytes()};
  auto check = [](const std::string& a, const std::string& b) {
    const int expected = FullTableDistance(a, b);
    ASSERT_EQ(Levenshtein::GetDistance(a, b), expected) << a.size() << " and " << b.size();
    ASSERT_EQ(Levenshtein::GetDistance(b, a), expected) << b.size() << " and " << a.size();
  };

  std::uniform_int_distribution<size_t> length(0, 300);
  for (int round = 0; round < 240; ++round) {
    std::string a, b;
    if (round % 5 == 4) {
      // Multi-byte UTF-8 characters mixed with ASCII.
      const size_t count = length(random) / 3;
      for (size_t i = 0; i < count; ++i) a += utf8[random() % 6];
      for (size_t i = 0; i < count + random() % 5; ++i) b += utf8[random() % 6];
      if (round % 10 == 9) b = Mutated(random, a, "\xC3\xA9x");
    } else {
      const std::string& alphabet = alphabets[round % alphabets.size()];
      a = RandomText(random, length(random), alphabet);
      b = round % 2 ? RandomText(random, length(random), alphabet) : Mutated(random, a, alphabet);
    }
    check(a, b);
  }

  const size_t edges[] = {0, 1, 2, 63, 64, 65, 127, 128, 129, 191, 192, 193};
  for (const std::string& alphabet : {std::string("ab"), std::string("abcdefgh")}) {
    for (size_t la : edges) {
      for (size_t lb : edges) {
        // One unrelated partner, and one a few edits away from `a`, cut or padded to length.
        const std::string a = RandomText(random, la, alphabet);
        std::string near = Mutated(random, a, alphabet);
        near.resize(lb, alphabet[0]);
        check(a, RandomText(random, lb, alphabet));
        check(a, near);
      }
    }
  }
}

}  // namespace
