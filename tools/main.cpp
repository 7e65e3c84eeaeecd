// qobase: the library's services on the command line. `qobase --help` lists the subcommands.
#include <qobase/version.h>

#include <iostream>
#include <string>
#include <vector>

#include "command.h"

using namespace qobase_tool;

namespace {

void PrintOverview(std::ostream& out) {
  out << "usage: qobase COMMAND [ARGS...]\n"
         "       qobase --help | --version\n\n"
         "commands:\n";
  for (const Command* command : AllCommands()) {
    out << "  " << command->name << std::string(12 > command->name.size() ? 12 - command->name.size() : 1, ' ')
        << command->summary << "\n";
  }
  out << "\n'qobase COMMAND --help' describes one command.\n";
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) {
    PrintOverview(std::cerr);
    return k_exitUsage;
  }
  const std::string& name = args.front();
  if (name == "--help" || name == "-h" || name == "help") {
    PrintOverview(std::cout);
    return k_exitSuccess;
  }
  if (name == "--version") {
    std::cout << "qobase " << QOBASE_VERSION_STRING << "\n";
    return k_exitSuccess;
  }
  const Command* command = FindCommand(name);
  if (!command) {
    std::cerr << "qobase: unknown command '" << name << "' (see 'qobase --help')\n";
    return k_exitUsage;
  }
  args.erase(args.begin());
  for (const std::string& arg : args) {
    if (arg == "--help" || arg == "-h") {
      std::cout << command->usage;
      return k_exitSuccess;
    }
  }
  return command->run(args);
}
