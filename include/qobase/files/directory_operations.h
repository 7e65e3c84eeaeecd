// Recursive directory operations: listing, searching, creating, copying and removing trees.
#pragma once

#include <qobase/strings/std_str.h>

namespace zu {

// Creates `dir` and every missing level above it (a trailing separator is ignored). True when
// the directory exists afterwards; false for the empty text or on error.
bool EnsureDirectoryExists(const CStdStr& dir);

}  // namespace zu
