// qobase demo: a tour of the library on built-in inputs; each subsystem adds its own section.
#include <iostream>

#include "command.h"

namespace qobase_tool {
namespace {

int RunDemo(const std::vector<std::string>& args) {
  if (!args.empty()) return UsageError("demo", "takes no arguments");
  bool allPassed = true;
  for (const DemoSection* section : AllDemoSections()) {
    std::cout << "== " << section->title << " ==\n";
    if (!section->run(std::cout)) {
      std::cout << "   (failed)\n";
      allPassed = false;
    }
    std::cout << "\n";
  }
  if (!allPassed) return Fail("demo", "a section failed");
  std::cout << "demo finished\n";
  return k_exitSuccess;
}

const CommandRegistration s_demo({
    "demo",
    "run a tour of the library on built-in inputs",
    "usage: qobase demo\n\n"
    "Runs the library's main jobs on inputs built into the program and prints what each\n"
    "produced. Exit code 0 when every section succeeded, 1 otherwise.\n",
    RunDemo,
});

}  // namespace
}  // namespace qobase_tool
