// Recursive directory operations: listing, searching, creating, copying and removing trees, and
// the filters that keep them away from paths they must never touch.
#pragma once

#include <qobase/strings/std_str.h>

#include <functional>
#include <set>
#include <vector>

namespace zu {

// A filter over paths: true means "process this path". An empty filter accepts everything.
using PathFilterFunction = std::function<bool(const CStdStr&)>;

// Appends the path of every entry below `dir` that is not a directory, separators collapsed, in
// iteration order (symbolic links to directories are neither followed nor listed). `files`
// is not cleared. False when `dir` does not exist. Throws the path library's filesystem_error
// when a directory below `dir` cannot be read.
bool ListDirectoryRecursive(const CStdStr& dir, std::vector<CStdStr>& files);

// Inserts `dir` and every directory below it, and the non-directory entries matching `pattern`
// (a shell pattern such as "*.wav") in each of them. Hidden entries are found only in `dir`
// itself and only with `includeHidden`. False when `dir` is not an existing directory.
bool GetFilesRecursive(const CStdStr& dir, std::set<CStdStr>& found, const CStdStr& pattern,
                       bool includeHidden);

// Creates `dir` and every missing level above it (a trailing separator is ignored). True when
// the directory exists afterwards; false for the empty text or on error.
bool EnsureDirectoryExists(const CStdStr& dir);

// Removes `dir` and everything below it that `filter` accepts, deepest first; symbolic links are
// removed, never followed. False when `dir` does not exist or `filter` refuses it. Throws the
// path library's filesystem_error when a directory cannot be removed (for example because the
// filter kept something inside it).
bool RemoveDirectoryRecursive(const CStdStr& dir, const PathFilterFunction& filter);

// Copies every non-directory entry below `source` that `filter` accepts (and that is not hidden,
// unless `includeHidden`) to the same relative place under `destination`, creating directories
// as needed and never overwriting. A missing `destination` is created first. True when every
// copy succeeded; one failure does not stop the others. False when `source` does not exist.
bool CopyFilesRecursive(const CStdStr& source, const CStdStr& destination,
                        const PathFilterFunction& filter, bool includeHidden);

// `path` matches the ECMAScript regular expression `pattern` as a whole; false for an invalid
// pattern.
bool RegexPathFilter(const CStdStr& path, const CStdStr& pattern);

// Ready-made filters.
struct PathFilter {
  // False for a path made only of dots and separators (".", "..", "./", "/", "//", "../..") or
  // only of a drive root ("C:", "C:/", "C:\"); true otherwise.
  static bool Basic(const CStdStr& path);
};

}  // namespace zu
