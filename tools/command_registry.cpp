#include "command.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

namespace qobase_tool {
namespace {

// Function-local statics: registrations run during static initialisation, in any order.
std::vector<std::unique_ptr<Command>>& Commands() {
  static std::vector<std::unique_ptr<Command>> commands;
  return commands;
}

std::vector<std::unique_ptr<DemoSection>>& DemoSections() {
  static std::vector<std::unique_ptr<DemoSection>> sections;
  return sections;
}

}  // namespace

CommandRegistration::CommandRegistration(Command command) {
  Commands().push_back(std::make_unique<Command>(std::move(command)));
}

std::vector<const Command*> AllCommands() {
  std::vector<const Command*> all;
  for (const auto& command : Commands()) all.push_back(command.get());
  std::sort(all.begin(), all.end(),
            [](const Command* a, const Command* b) { return a->name < b->name; });
  return all;
}

const Command* FindCommand(const std::string& name) {
  for (const auto& command : Commands()) {
    if (command->name == name) return command.get();
  }
  return nullptr;
}

int Fail(const std::string& what, const std::string& reason) {
  std::cerr << "qobase: " << what << ": " << reason << "\n";
  return k_exitFailure;
}

int UsageError(const std::string& command, const std::string& reason) {
  std::cerr << "qobase " << command << ": " << reason << " (see 'qobase " << command
            << " --help')\n";
  return k_exitUsage;
}

DemoRegistration::DemoRegistration(DemoSection section) {
  DemoSections().push_back(std::make_unique<DemoSection>(std::move(section)));
}

std::vector<const DemoSection*> AllDemoSections() {
  std::vector<const DemoSection*> all;
  for (const auto& section : DemoSections()) all.push_back(section.get());
  std::stable_sort(all.begin(), all.end(), [](const DemoSection* a, const DemoSection* b) {
    return a->order < b->order;
  });
  return all;
}

bool ReadInput(const std::string& file, std::string& contents) {
  if (file == "-") {
    contents.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    return !std::cin.bad();
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) return false;
  // Reading a directory opens fine but throws on the first read.
  try {
    contents.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  } catch (const std::exception&) {
    return false;
  }
  return !in.bad();
}

}  // namespace qobase_tool
