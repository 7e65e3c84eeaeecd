// NoCaseStringComp: the case-insensitive order of file names for ordered containers.
#pragma once

#include <qobase/strings/std_str.h>

// Compares character by character after lowering each with the classic locale, as signed 8-bit
// values (so UTF-8 bytes order before ASCII); a proper prefix orders first. "abc" and "ABC" are
// equivalent; "ab" orders before "ABC".
struct NoCaseStringComp {
  bool operator()(const CStdStr& left, const CStdStr& right) const;
};
