// The qobase program's subcommands. Each one is defined in its own source file and registers
// itself with a static CommandRegistration, so the dispatcher knows it without being edited.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace qobase_tool {

// Exit codes of the program.
enum ExitCode : int { k_exitSuccess = 0, k_exitFailure = 1, k_exitUsage = 2 };

struct Command {
  std::string name;
  std::string summary;  // one line for the command list
  std::string usage;    // the full text of `qobase NAME --help`
  std::function<int(const std::vector<std::string>& args)> run;
};

struct CommandRegistration {
  explicit CommandRegistration(Command command);
};

// All registered commands, sorted by name.
std::vector<const Command*> AllCommands();
const Command* FindCommand(const std::string& name);

// One line on stderr, "qobase: WHAT: REASON", and the failure exit code.
int Fail(const std::string& what, const std::string& reason);
// One line on stderr, "qobase NAME: REASON", a pointer to --help, and the usage exit code.
int UsageError(const std::string& command, const std::string& reason);

// A section of `qobase demo`: each subsystem adds one to the tour. Sections run in ascending
// `order`; a section returns false when its part of the job failed.
struct DemoSection {
  int order;
  std::string title;
  std::function<bool(std::ostream& out)> run;
};

struct DemoRegistration {
  explicit DemoRegistration(DemoSection section);
};

std::vector<const DemoSection*> AllDemoSections();

// Reads all of FILE, or standard input for "-". False when it cannot be read.
bool ReadInput(const std::string& file, std::string& contents);

}  // namespace qobase_tool
