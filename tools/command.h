// The qobase program's subcommands. Each one is defined in its own source file and registers a
// set-up function with a static CommandRegistration; main() builds one CLI11 app from them, so
// adding a command never touches the dispatcher.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace qobase_tool {

// Exit codes of the program.
enum ExitCode : int { k_exitSuccess = 0, k_exitFailure = 1, k_exitUsage = 2 };

// What a chosen command does once its arguments are parsed; returns the exit code.
using CommandRunner = std::function<int()>;

// Adds one subcommand (with its options) to the program's app. Registrations run during static
// initialisation; the subcommands are listed by name.
struct CommandRegistration {
  CommandRegistration(std::string name, std::function<void(CLI::App& parent)> add);
};

// Adds every registered command to `app`, in name order.
void AddRegisteredCommands(CLI::App& app);

// Makes `runner` the program's work when `command` is the subcommand given on the command line.
// `usage` is the synopsis printed with a usage error ("qobase midi FILE [--convert OUT]").
void SetRunner(CLI::App& command, const std::string& usage, CommandRunner runner);

// The runner of the subcommand that was parsed; empty when none was chosen.
const CommandRunner& ChosenRunner();
// The synopsis SetRunner recorded for `command`, or empty.
std::string UsageOf(const CLI::App* command);

// One line on stderr, "qobase: WHAT: REASON", and the failure exit code.
int Fail(const std::string& what, const std::string& reason);
// As Fail, the reason being the text of the current errno.
int FailErrno(const std::string& what);

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

}  // namespace qobase_tool
