// Levenshtein edit distance between two byte strings: the fewest single-byte insertions,
// deletions and substitutions that turn one into the other. Bytes are compared exactly, so the
// distance is case-sensitive and a character of several UTF-8 bytes counts as several symbols.
#pragma once

#include <qobase/strings/std_str.h>

class Levenshtein {
 public:
  // "flaw" and "lawn" give 2; "" and "abc" give 3; "abc" and "ABC" give 3.
  // Time grows with la * lb / 64, memory with the shorter length.
  static int GetDistance(const CStdStr& a, const CStdStr& b);
};
