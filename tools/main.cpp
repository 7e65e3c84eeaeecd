// qobase: the library's services on the command line. `qobase --help` lists the subcommands.
#include <qobase/version.h>

#include <csignal>
#include <iostream>
#include <new>
#include <string>

#include "command.h"
#include "standard_output.h"

using namespace qobase_tool;

namespace {

// The deepest subcommand the parser reached, so a usage error names the command it is about.
const CLI::App* DeepestParsed(const CLI::App& app) {
  const CLI::App* deepest = &app;
  while (!deepest->get_subcommands().empty()) deepest = deepest->get_subcommands().front();
  return deepest;
}

std::string CommandPath(const CLI::App* app) {
  std::string path;
  for (; app; app = app->get_parent()) {
    path = path.empty() ? app->get_name() : app->get_name() + " " + path;
  }
  return path;
}

// "qobase COMMAND: PROBLEM", the command's synopsis and where to read more; exit code 2.
int ReportUsageError(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* command = DeepestParsed(app);
  const std::string path = CommandPath(command);
  // CLI11 reports an unknown subcommand as a missing one; name what was given instead.
  const std::vector<std::string> rest = command->remaining();
  if (!command->get_subcommands({}).empty() && !rest.empty()) {
    std::cerr << path << ": unknown command '" << rest.front() << "'\n";
  } else {
    std::cerr << path << ": " << error.what() << "\n";
  }
  std::string usage = UsageOf(command);
  if (usage.empty()) usage = path + " COMMAND [ARGS...]";
  std::cerr << "usage: " << usage << "\n"
            << "(see '" << path << " --help')\n";
  return k_exitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  ReserveStandardDescriptors();
  // A write past a file size limit then fails with EFBIG and is reported like any other.
  std::signal(SIGXFSZ, SIG_IGN);
  InstallCheckedStandardOutput();

  CLI::App app{"The QOBase library's services on the command line.", "qobase"};
  app.set_version_flag("--version", std::string("qobase ") + QOBASE_VERSION_STRING);
  app.require_subcommand(1);
  app.footer(
      "'qobase COMMAND --help' describes one command.\n"
      "Exit codes: 0 success, 1 failure (one line on stderr), 2 bad usage.");
  AddRegisteredCommands(app);

  int code = k_exitSuccess;
  try {
    app.parse(argc, argv);
    code = ChosenRunner() ? ChosenRunner()() : k_exitUsage;
  } catch (const CLI::CallForHelp& request) {
    code = app.exit(request);
  } catch (const CLI::CallForAllHelp& request) {
    code = app.exit(request);
  } catch (const CLI::CallForVersion& request) {
    code = app.exit(request);
  } catch (const CLI::ParseError& error) {
    code = ReportUsageError(app, error);
  } catch (const std::bad_alloc&) {
    // Caught here, the stack unwinds: an output being written removes its temporary file.
    std::string command = CommandPath(DeepestParsed(app));
    command.erase(0, command.find(' ') + 1);
    code = Fail(command, "not enough memory for this input");
  }
  return FinishStandardOutput(code);
}
