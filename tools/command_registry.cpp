// The registry of subcommands and demo sections, and the failure line every command prints.
#include "command.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>

namespace qobase_tool {
namespace {

struct Registered {
  std::string name;
  std::function<void(CLI::App&)> add;
};

// Function-local statics: registrations run during static initialisation, in any order.
std::vector<Registered>& Commands() {
  static std::vector<Registered> commands;
  return commands;
}

std::vector<std::unique_ptr<DemoSection>>& DemoSections() {
  static std::vector<std::unique_ptr<DemoSection>> sections;
  return sections;
}

CommandRunner& Chosen() {
  static CommandRunner runner;
  return runner;
}

std::map<const CLI::App*, std::string>& Usages() {
  static std::map<const CLI::App*, std::string> usages;
  return usages;
}

}  // namespace

CommandRegistration::CommandRegistration(std::string name, std::function<void(CLI::App&)> add) {
  Commands().push_back({std::move(name), std::move(add)});
}

void AddRegisteredCommands(CLI::App& app) {
  std::vector<Registered> sorted = Commands();
  std::sort(sorted.begin(), sorted.end(),
            [](const Registered& a, const Registered& b) { return a.name < b.name; });
  for (const Registered& command : sorted) command.add(app);
}

void SetRunner(CLI::App& command, const std::string& usage, CommandRunner runner) {
  Usages()[&command] = usage;
  // CLI11 calls a parsed subcommand's callback once the whole command line has been parsed.
  command.callback([runner] { Chosen() = runner; });
}

const CommandRunner& ChosenRunner() { return Chosen(); }

std::string UsageOf(const CLI::App* command) {
  const auto found = Usages().find(command);
  return found == Usages().end() ? std::string() : found->second;
}

int Fail(const std::string& what, const std::string& reason) {
  std::cerr << "qobase: " << what << ": " << reason << "\n";
  return k_exitFailure;
}

int FailErrno(const std::string& what) { return Fail(what, std::strerror(errno)); }

DemoRegistration::DemoRegistration(DemoSection section) {
  DemoSections().push_back(std::make_unique<DemoSection>(std::move(section)));
}

std::vector<const DemoSection*> AllDemoSections() {
  std::vector<const DemoSection*> all;
  for (const auto& section : DemoSections()) all.push_back(section.get());
  std::stable_sort(all.begin(), all.end(),
                   [](const DemoSection* a, const DemoSection* b) { return a->order < b->order; });
  return all;
}

}  // namespace qobase_tool
