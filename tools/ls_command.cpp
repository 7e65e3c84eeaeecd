// qobase ls: the entries of a directory, or every file below it.
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>
#include <qobase/files/path_find.h>

#include <dirent.h>

#include <algorithm>
#include <boost/filesystem/exception.hpp>
#include <iostream>
#include <memory>

#include "command.h"

namespace qobase_tool {
namespace {

struct LsOptions {
  bool recursive = false;
  bool all = false;
  std::string dir;
};

bool IsDotName(const std::string& name) { return !name.empty() && name[0] == '.'; }

// `dir` with every run of '/' made one, as the recursive listing writes the paths it finds.
std::string CollapsedSeparators(const std::string& dir) {
  std::string collapsed;
  for (const char c : dir) {
    if (c != '/' || collapsed.empty() || collapsed.back() != '/') collapsed += c;
  }
  return collapsed;
}

// `dir` as a glob pattern that matches only itself: its wildcard characters (and a leading '~',
// which the search would expand to a home folder) escaped with a backslash.
std::string LiteralPattern(const std::string& dir) {
  std::string pattern;
  for (const char c : dir) {
    if (c == '*' || c == '?' || c == '[' || c == ']' || c == '\\' || (c == '~' && pattern.empty()))
      pattern += '\\';
    pattern += c;
  }
  return pattern;
}

// The part of `path` below `dir` ("a/b.wav"), for the checks on each level of a found file.
std::string BelowDir(const std::string& path, const std::string& dir) {
  std::string rest = path.substr(std::min(path.size(), CollapsedSeparators(dir).size()));
  while (!rest.empty() && rest[0] == '/') rest.erase(0, 1);
  return rest;
}

// A file below DIR is hidden when it, or a folder between DIR and it, has a name starting with
// a dot or carries the hidden flag.
bool IsHiddenBelow(const std::string& file, const std::string& dir) {
  std::string path = dir;
  const std::string rest = BelowDir(file, dir);
  for (size_t start = 0; start < rest.size();) {
    size_t slash = rest.find('/', start);
    if (slash == std::string::npos) slash = rest.size();
    const std::string name = rest.substr(start, slash - start);
    path += "/" + name;
    if (IsDotName(name) || zu::Path(path).IsHidden()) return true;
    start = slash + 1;
  }
  return false;
}

int ListRecursive(const LsOptions& options) {
  std::vector<CStdStr> files;
  try {
    zu::ListDirectoryRecursive(options.dir, files);
  } catch (const boost::filesystem::filesystem_error& error) {
    const std::string where = error.path1().empty() ? options.dir : error.path1().string();
    return Fail(where, error.code().message());
  }
  std::sort(files.begin(), files.end());
  for (const CStdStr& file : files) {
    if (!options.all && IsHiddenBelow(file, options.dir)) continue;
    std::cout << file << "\n";
  }
  return k_exitSuccess;
}

int RunLs(const LsOptions& options) {
  const std::string& dir = options.dir;
  if (!zu::Path(dir).IsDirectory()) return Fail(dir, "not a directory");
  // The listing itself gives no sign of a folder it cannot read: ask first.
  DIR* handle = opendir(dir.c_str());
  if (!handle) return FailErrno(dir);
  closedir(handle);
  if (options.recursive) return ListRecursive(options);

  // "*" never matches a name starting with a dot; with --all ".*" adds those.
  std::vector<zu::Path> entries;
  for (const char* pattern : {"*", ".*"}) {
    if (!options.all && pattern[0] == '.') continue;
    for (zu::PathFind find(zu::Path::Join({LiteralPattern(dir), pattern}).GetFullPath(),
                           options.all);
         find.HasNext();) {
      const zu::Path entry = find.Next();
      // ".*" also matches "." and "..", which come back as the folder and its parent.
      const std::string text = entry.GetFullPath();
      const std::string name = text.substr(text.find_last_of('/') + 1);
      if (pattern[0] == '.' && (!IsDotName(name) || name == "." || name == "..")) continue;
      entries.push_back(entry);
    }
  }
  std::sort(entries.begin(), entries.end(),
            [](const zu::Path& a, const zu::Path& b) { return a.GetFullPath() < b.GetFullPath(); });
  for (const zu::Path& entry : entries) {
    std::cout << entry.GetFullPath() << (entry.IsDirectory() ? "/" : "") << "\n";
  }
  return k_exitSuccess;
}

void AddLs(CLI::App& parent) {
  CLI::App& command = *parent.add_subcommand("ls", "list a directory, or every file below it");
  command.footer(
      "Without --recursive, prints the entries of DIR in sorted order, a directory with a\n"
      "trailing \"/\". With --recursive, prints every file below DIR (directories themselves are\n"
      "not listed), sorted. Names starting with a dot and entries carrying the hidden flag (and\n"
      "everything inside such folders) are listed only with --all.\n"
      "Exit code 0 on success, 1 when DIR (or a folder below it) is not a readable directory,\n"
      "2 on bad usage.");
  auto options = std::make_shared<LsOptions>();
  command.add_flag("-r,--recursive", options->recursive, "list every file below DIR");
  command.add_flag("-a,--all", options->all, "include dot-files and hidden entries");
  command.add_option("DIR", options->dir, "the directory")->required();
  SetRunner(command, "qobase ls [--recursive] [--all] DIR", [options] { return RunLs(*options); });
}

const CommandRegistration s_ls("ls", AddLs);

}  // namespace
}  // namespace qobase_tool
