// qobase tour: a tour of the library on built-in inputs; each subsystem adds its own section.
#include <iostream>

#include "command.h"
#include "standard_output.h"

namespace qobase_tool {
namespace {

int RunTour() {
  bool allPassed = true;
  for (const DemoSection* section : AllDemoSections()) {
    std::cout << "== " << section->title << " ==\n";
    if (!section->run(std::cout)) {
      std::cout << "   (failed)\n";
      allPassed = false;
    }
    std::cout << "\n";
    // Nobody reads the rest when standard output has failed.
    if (!StandardOutputOk()) return k_exitFailure;
  }
  if (!allPassed) return Fail("tour", "a section failed");
  std::cout << "tour finished\n";
  return k_exitSuccess;
}

void AddTour(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("tour", "run a tour of the library on built-in inputs");
  command.footer(
      "Runs the library's main jobs on inputs built into the program and prints what each\n"
      "produced. Exit code 0 when every section succeeded, 1 otherwise.");
  SetRunner(command, "qobase tour", RunTour);
}

const CommandRegistration s_tour("tour", AddTour);

}  // namespace
}  // namespace qobase_tool
