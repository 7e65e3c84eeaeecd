// qobase watch DIR: the directory watcher on the command line. Every batch of changed paths it
// delivers is printed as one line of JSON, until Ctrl-C or SIGTERM ends the watch.
#include <qobase/files/directory_watcher.h>

#include <pthread.h>
#include <sys/stat.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <mutex>

#include "command.h"
#include "json_report.h"

namespace qobase_tool {
namespace {

struct WatchOptions {
  std::string folder;
  bool recursive = false;
  unsigned int latency = 200;
};

int RunWatch(const WatchOptions& options) {
  struct stat info;
  if (stat(options.folder.c_str(), &info) != 0) return FailErrno(options.folder);
  if (!S_ISDIR(info.st_mode)) return Fail(options.folder, "not a folder");

  // The ending signals are taken by sigwait below; blocked before the watcher starts, so its
  // thread never takes them either.
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  sigaddset(&ending, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);

  std::mutex printing;
  DirectoryWatcher watcher(options.latency, 0);
  watcher.SetCallback([&printing](DirectoryWatcher::ChangeSet* changes) {
    JsonReport batch;
    batch.BeginArray("changes");
    for (const CStdStr& path : *changes) batch.Item(path);
    batch.End();
    changes->clear();
    std::lock_guard<std::mutex> hold(printing);
    std::cout << SingleLine(batch.Finish()) << "\n" << std::flush;
  });
  watcher.StartSync(CStdStr(options.folder), options.recursive, 0);
  if (!watcher.IsAlive()) return Fail(options.folder, "cannot be watched");
  std::cerr << "qobase: watching " << options.folder << (options.recursive ? " and below" : "")
            << "; Ctrl-C ends\n";
  int received = 0;
  sigwait(&ending, &received);
  watcher.Stop();
  return k_exitSuccess;
}

void AddWatch(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("watch", "print the changes in a folder as they happen");
  command.footer(
      "Watches DIR (and every folder below it, with --recursive) for files that are created,\n"
      "removed, renamed or modified. Changes are gathered for --latency milliseconds; each batch\n"
      "is then printed as one line of JSON, {\"changes\": [\"PATH\", ...]}. Hidden files are not\n"
      "reported. Ctrl-C (or SIGTERM) ends the watch with exit code 0.\n"
      "Exit code 1 when DIR cannot be watched, 2 on bad usage.");
  auto options = std::make_shared<WatchOptions>();
  command.add_option("DIR", options->folder, "the folder to watch")->required();
  command.add_flag("--recursive", options->recursive, "watch the folders below it too");
  command.add_option("--latency", options->latency, "milliseconds to gather changes (default 200)")
      ->type_name("MS")
      ->check(CLI::Range(1u, 60000u));
  SetRunner(command, "qobase watch DIR [--recursive] [--latency MS]",
            [options] { return RunWatch(*options); });
}

const CommandRegistration s_watch("watch", AddWatch);

}  // namespace
}  // namespace qobase_tool
