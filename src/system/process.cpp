// Starting child processes through the shell and waiting for them. The child runs only
// async-signal-safe calls between fork and exec (dup2, fcntl, execve, _exit), so starting a
// process is safe from a program with other threads.
#include <qobase/system/process.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/system_platform.h"
#include "system/timed_blocking_call.h"

extern char** environ;

namespace zu {
namespace {

const char s_shellPath[] = "/bin/sh";
const int k_shellNotStartedStatus = 127;

// Makes `source` the child's descriptor `target`. A source that already is the target keeps its
// number but must survive the exec.
void RedirectInChild(int source, int target) {
  if (source == 0) return;
  if (source == target) {
    fcntl(target, F_SETFD, 0);
  } else {
    dup2(source, target);
  }
}

bool StartShell(const CStdStr& commandLine, Process& process, const ProcessIORedirect* redirect) {
  if (!IsValidCommandLine(commandLine)) return false;
  // Everything the child needs is prepared before the fork.
  char shellName[] = "sh";
  char commandOption[] = "-c";
  CStdStr command = commandLine;
  char* arguments[] = {shellName, commandOption, &command[0], nullptr};
  char shellPath[sizeof(s_shellPath)];
  for (size_t i = 0; i < sizeof(s_shellPath); ++i) shellPath[i] = s_shellPath[i];

  const pid_t child = fork();
  if (child == 0) {
    if (redirect) {
      RedirectInChild(redirect->inputHandle, STDIN_FILENO);
      RedirectInChild(redirect->outputHandle, STDOUT_FILENO);
      RedirectInChild(redirect->errorHandle, STDERR_FILENO);
    }
    execve(shellPath, arguments, environ);
    _exit(k_shellNotStartedStatus);
  }
  process.pid = static_cast<std::int32_t>(child);
  process.reserved = 0;
  return child > 0;
}

// A wait that also returns for a stopped child, retried when a signal interrupts it.
pid_t WaitForEndOrStop(pid_t pid, int& status) {
  pid_t result;
  do {
    result = waitpid(pid, &status, WUNTRACED);
  } while (result == -1 && errno == EINTR);
  return result;
}

// The exit code of a wait status; `store` is false for a stop reported as SIGCONT.
unsigned int ExitCodeOf(int status, bool& store) {
  store = true;
  if (WIFSTOPPED(status)) {
    const int signal = WSTOPSIG(status);
    store = signal != SIGCONT;
    return static_cast<unsigned int>(signal);
  }
  if (WIFSIGNALED(status)) return static_cast<unsigned int>(WTERMSIG(status));
  return static_cast<unsigned int>(WEXITSTATUS(status));
}

struct ChildWait {
  pid_t pid;
  int status;
  pid_t result;
};

// Completed when the child ended or stopped, or when there is no such child to wait for.
bool WaitForChild(void* raw, const timespec& deadline) {
  ChildWait* wait = static_cast<ChildWait*>(raw);
  wait->result = platform::WaitForChildUntil(wait->pid, deadline, wait->status);
  return wait->result != 0;
}

}  // namespace

bool CreateProcess(const CStdStr& commandLine, Process& process, bool) {
  return StartShell(commandLine, process, nullptr);
}

bool CreateProcess(const CStdStr& commandLine, Process& process, const ProcessIORedirect& redirect,
                   bool) {
  return StartShell(commandLine, process, &redirect);
}

int WaitForProcess(Process& process) {
  // A pid of 0 or below would wait for any child of the process.
  if (process.pid <= 0) return -1;
  int status = 0;
  pid_t result;
  do {
    result = waitpid(process.pid, &status, 0);
  } while (result == -1 && errno == EINTR);
  return static_cast<int>(result);
}

unsigned int WaitForProcess(Process& process, unsigned int& exitCode) {
  int status = 0;
  if (process.pid <= 0 || WaitForEndOrStop(process.pid, status) != process.pid) {
    return k_processWaitFailed;
  }
  bool store = true;
  const unsigned int code = ExitCodeOf(status, store);
  if (store) exitCode = code;
  return code;
}

unsigned int WaitForProcess(Process& process, unsigned int timeoutMs, unsigned int& exitCode) {
  if (process.pid <= 0) return k_processWaitFailed;
  ChildWait wait{process.pid, 0, -1};
  const unsigned int result = internal::RunBlockingCallWithTimeout(&WaitForChild, &wait, timeoutMs);
  if (result != 0) return result;
  if (wait.result != process.pid) return k_processWaitFailed;
  bool store = true;
  const unsigned int code = ExitCodeOf(wait.status, store);
  if (store) exitCode = code;
  return 0;
}

void CloseProcess(Process&) {}

int GetCurrentProcessId() { return static_cast<int>(getpid()); }

int GetCurrentProcess() { return static_cast<int>(getpid()); }

}  // namespace zu
