// qobase ls: the entries of a directory, or every file below it.
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>
#include <qobase/files/path_find.h>

#include <algorithm>
#include <boost/filesystem/exception.hpp>
#include <iostream>

#include "command.h"

namespace qobase_tool {
namespace {

int RunLs(const std::vector<std::string>& args) {
  bool recursive = false;
  bool all = false;
  std::string dir;
  for (const std::string& arg : args) {
    if (arg == "--recursive" || arg == "-r") {
      recursive = true;
    } else if (arg == "--all" || arg == "-a") {
      all = true;
    } else if (!arg.empty() && arg[0] == '-') {
      return UsageError("ls", "unknown option '" + arg + "'");
    } else if (dir.empty()) {
      dir = arg;
    } else {
      return UsageError("ls", "takes one directory");
    }
  }
  if (dir.empty()) return UsageError("ls", "missing DIR");
  if (!zu::Path(dir).IsDirectory()) return Fail(dir, "not a directory");

  if (recursive) {
    std::vector<CStdStr> files;
    try {
      zu::ListDirectoryRecursive(dir, files);
    } catch (const boost::filesystem::filesystem_error& error) {
      return Fail(dir, error.code().message());
    }
    std::sort(files.begin(), files.end());
    for (const CStdStr& file : files) std::cout << file << "\n";
    return k_exitSuccess;
  }
  for (zu::PathFind find(zu::Path::Join({dir, "*"}).GetFullPath(), all); find.HasNext();) {
    const zu::Path entry = find.Next();
    std::cout << entry.GetFullPath() << (entry.IsDirectory() ? "/" : "") << "\n";
  }
  return k_exitSuccess;
}

const CommandRegistration s_ls({
    "ls",
    "list a directory, or every file below it",
    "usage: qobase ls [--recursive] [--all] DIR\n\n"
    "Without --recursive, prints the entries of DIR matched by \"*\" in sorted order, a\n"
    "directory with a trailing \"/\"; entries carrying the hidden flag only with --all.\n"
    "With --recursive, prints every file below DIR (directories themselves are not listed),\n"
    "sorted. Exit code 0 on success, 1 when DIR is not a readable directory.\n",
    RunLs,
});

}  // namespace
}  // namespace qobase_tool
