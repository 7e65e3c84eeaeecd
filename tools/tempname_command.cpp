// qobase tempname: creates a uniquely named empty file in a directory and prints its path.
#include <qobase/files/file_operation.h>

#include <unistd.h>

#include <iostream>
#include <memory>

#include "command.h"
#include "standard_output.h"

namespace qobase_tool {
namespace {

struct TempnameOptions {
  std::string extension = "tmp";
  std::string dir;
};

int RunTempname(const TempnameOptions& options) {
  if (!zu::Path(options.dir).IsDirectory()) return Fail(options.dir, "not a directory");
  zu::Path created;
  if (zu::FileOperation::TouchTempFileName(zu::Path(options.dir), options.extension, created) ==
      0) {
    return Fail(options.dir, "no temporary file could be created there");
  }
  std::cout << created.GetFullPath() << "\n" << std::flush;
  // A file whose name never reached the caller would be left for nobody: remove it. main then
  // reports the standard output error.
  if (!StandardOutputOk()) {
    unlink(created.GetFullPath().c_str());
    return k_exitFailure;
  }
  return k_exitSuccess;
}

// An extension is part of one file name: it may not name a folder or be cut short by a NUL.
std::string CheckExtension(const std::string& extension) {
  if (extension.find('/') != std::string::npos) return "the extension may not contain '/'";
  // Four digits and a dot come before it in a name of at most 255 bytes.
  if (extension.size() > 250) return "the extension is longer than a file name allows";
  return "";
}

void AddTempname(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("tempname", "create a uniquely named empty file in a directory");
  command.footer(
      "Creates a new empty file in DIR named by four lower-case hexadecimal digits and the\n"
      "extension EXT (default \"tmp\"), for example 3f0a.tmp, and prints its path. The name is\n"
      "never taken by another process at the same time. Exit code 0 on success, 1 when DIR is\n"
      "not a directory or no name is free, 2 on bad usage.");
  auto options = std::make_shared<TempnameOptions>();
  command.add_option("--ext", options->extension, "the extension, without the dot")
      ->check(CheckExtension, "EXT");
  command.add_option("DIR", options->dir, "the directory")->required();
  SetRunner(command, "qobase tempname [--ext EXT] DIR",
            [options] { return RunTempname(*options); });
}

const CommandRegistration s_tempname("tempname", AddTempname);

}  // namespace
}  // namespace qobase_tool
