// qobase tempname: creates a uniquely named empty file in a directory and prints its path.
#include <qobase/files/file_operation.h>

#include <iostream>

#include "command.h"

namespace qobase_tool {
namespace {

int RunTempname(const std::vector<std::string>& args) {
  std::string extension = "tmp";
  std::string dir;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--ext") {
      if (i + 1 >= args.size()) return UsageError("tempname", "--ext needs a value");
      extension = args[++i];
    } else if (!args[i].empty() && args[i][0] == '-') {
      return UsageError("tempname", "unknown option '" + args[i] + "'");
    } else if (dir.empty()) {
      dir = args[i];
    } else {
      return UsageError("tempname", "takes one directory");
    }
  }
  if (dir.empty()) return UsageError("tempname", "missing DIR");
  zu::Path created;
  if (zu::FileOperation::TouchTempFileName(zu::Path(dir), extension, created) == 0) {
    return Fail(dir, "no temporary file could be created there");
  }
  std::cout << created.GetFullPath() << "\n";
  return k_exitSuccess;
}

const CommandRegistration s_tempname({
    "tempname",
    "create a uniquely named empty file in a directory",
    "usage: qobase tempname [--ext EXT] DIR\n\n"
    "Creates a new empty file in DIR named by four lower-case hexadecimal digits and the\n"
    "extension EXT (default \"tmp\"), for example 3f0a.tmp, and prints its path. The name is\n"
    "never taken by another process at the same time. Exit code 0 on success, 1 when DIR is\n"
    "not a directory or no name is free.\n",
    RunTempname,
});

}  // namespace
}  // namespace qobase_tool
