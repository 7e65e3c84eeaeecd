// CreateProcess + WaitForProcess of /bin/true with all three streams on pipes, against
// posix_spawn of the same with the same pipes: /bin/true directly, and through /bin/sh -c as
// CreateProcess runs it. Spawns per second and ratios, in the same run.
#include <qobase/system/process.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "bench_support.h"

extern char** environ;

namespace {

const int k_spawnsPerRound = 100;
const int k_rounds = 5;

struct Pipes {
  int input[2] = {-1, -1};
  int output[2] = {-1, -1};
  int error[2] = {-1, -1};
  Pipes() {
    zu::CreateProcessIORedirectPipe(input[0], input[1]);
    zu::CreateProcessIORedirectPipe(output[0], output[1]);
    zu::CreateProcessIORedirectPipe(error[0], error[1]);
  }
  ~Pipes() {
    for (int* pipe : {input, output, error}) {
      zu::CloseProcessIORedirectHandle(pipe[0]);
      zu::CloseProcessIORedirectHandle(pipe[1]);
    }
  }
};

int s_failures = 0;

void OursSpawns() {
  const Pipes pipes;
  const zu::ProcessIORedirect redirect{pipes.error[1], pipes.output[1], pipes.input[0]};
  for (int i = 0; i < k_spawnsPerRound; ++i) {
    zu::Process process{};
    unsigned int code = 1;
    if (!zu::CreateProcess("/bin/true", process, redirect, false) ||
        zu::WaitForProcess(process, code) != 0) {
      ++s_failures;
    }
  }
}

void PosixSpawns(bool throughShell) {
  const Pipes pipes;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipes.input[0], 0);
  posix_spawn_file_actions_adddup2(&actions, pipes.output[1], 1);
  posix_spawn_file_actions_adddup2(&actions, pipes.error[1], 2);
  char shell[] = "/bin/sh", dashC[] = "-c", truePath[] = "/bin/true";
  char* shellArguments[] = {shell, dashC, truePath, nullptr};
  char* trueArguments[] = {truePath, nullptr};
  for (int i = 0; i < k_spawnsPerRound; ++i) {
    pid_t child = 0;
    const int started =
        throughShell ? posix_spawn(&child, shell, &actions, nullptr, shellArguments, environ)
                     : posix_spawn(&child, truePath, &actions, nullptr, trueArguments, environ);
    int status = 1;
    if (started != 0 || waitpid(child, &status, 0) != child || status != 0) ++s_failures;
  }
  posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

int main() {
  const std::vector<double> best = qobench::BestOfInterleaved(
      {OursSpawns, [] { PosixSpawns(false); }, [] { PosixSpawns(true); }}, k_rounds);
  if (s_failures) std::printf("%d spawns failed\n", s_failures);
  const double ours = k_spawnsPerRound / best[0], direct = k_spawnsPerRound / best[1];
  const double shell = k_spawnsPerRound / best[2];
  std::printf("CreateProcess + wait, /bin/true, pipes: %.0f spawns/s\n", ours);
  std::printf("posix_spawn + waitpid, /bin/true, pipes: %.0f spawns/s\n", direct);
  std::printf("posix_spawn + waitpid, /bin/sh -c /bin/true, pipes: %.0f spawns/s\n", shell);
  std::printf("ratio CreateProcess / posix_spawn of /bin/true (time per spawn): %.3f\n",
              best[0] / best[1]);
  std::printf("ratio CreateProcess / posix_spawn of /bin/sh -c /bin/true (time per spawn): %.3f\n",
              best[0] / best[2]);
  std::printf("best of %d interleaved rounds of %d spawns each\n", k_rounds, k_spawnsPerRound);
  return s_failures ? 1 : 0;
}
