// Child processes: a command line run by the system shell ("/bin/sh -c"), optionally with its
// standard input, output and error connected to descriptors of the caller's choosing, and waits
// for its end with or without a timeout.
//
// A command line is only run when it names its program explicitly: either quoted at its very
// start, or as a path with a slash up to the first white space. That program must be a regular
// file the process may execute.
//   "/bin/echo hello"      valid
//   "'/bin/echo' hello"    valid (quoted)
//   "echo hello"           invalid (no slash, no quotes)
#pragma once

#include <qobase/strings/std_str.h>

#include <cerrno>
#include <cstdint>

namespace zu {

// A started child. `pid` is negative when the start failed; `reserved` is set to 0.
struct Process {
  std::int32_t pid;
  std::uint64_t reserved;
};

// Descriptors that become the child's standard error, output and input. 0 leaves that stream
// inherited, so descriptor 0 itself cannot be given as a source.
struct ProcessIORedirect {
  std::int32_t errorHandle;
  std::int32_t outputHandle;
  std::int32_t inputHandle;
};

// The result of a timed wait whose child is still running.
constexpr unsigned int k_processWaitTimedOut = ETIMEDOUT;
// The result of a wait that could not wait: its waiting thread could not be started, or there is
// no such child (never started, or already reaped).
constexpr unsigned int k_processWaitFailed = 0xFFFFFFFFu;

// The program a command line names, by the rules above; false when it names none.
//   "'/bin/echo\" x" gives "/bin/echo"; "/usr/bin/env\tx" gives "/usr/bin/env";
//   " /bin/true" gives " /bin/true" (leading white space is kept, and then fails the check).
bool GetCommandLineProgram(const CStdStr& commandLine, CStdStr& program);
// The command line names a program that is a regular file the process may execute. A command
// line holding a zero byte is never valid: the shell could not be given all of it.
bool IsValidCommandLine(const CStdStr& commandLine);

// Starts the command line with the standard streams inherited. False when the command line is
// invalid (`process` untouched) or the fork failed (`process.pid` negative). The flag has no
// effect on this platform.
bool CreateProcess(const CStdStr& commandLine, Process& process, bool);
// As above, with the child's streams taken from `redirect` (input, then output, then error).
// Besides those, the child inherits every descriptor of the process that is not close-on-exec.
bool CreateProcess(const CStdStr& commandLine, Process& process, const ProcessIORedirect& redirect,
                   bool);

// Waits without limit for the child to end and reaps it; the process identifier, or -1.
int WaitForProcess(Process& process);
// Waits without limit for the child to end or stop. Stores and returns its exit code: the exit
// status for a normal exit, the signal number when a signal ended it, the stop signal when it
// stopped (it is not reaped then and can be waited for again). A stop reported as SIGCONT is
// returned but not stored. k_processWaitFailed, `exitCode` untouched, when there is no such child.
unsigned int WaitForProcess(Process& process, unsigned int& exitCode);
// As above, at most `timeoutMs`: 0 with `exitCode` stored, k_processWaitTimedOut when the child
// is still running (`exitCode` untouched, the child not reaped), or k_processWaitFailed.
unsigned int WaitForProcess(Process& process, unsigned int timeoutMs, unsigned int& exitCode);
// Nothing to release on this platform.
void CloseProcess(Process& process);

// The calling process's identifier (both).
int GetCurrentProcessId();
int GetCurrentProcess();

// Creates a pipe and stores its ends; on failure both stay unchanged. Both ends are closed in
// any program a child starts, except where they were made its standard streams, so a child never
// holds the far end of its own pipe open.
void CreateProcessIORedirectPipe(int& readEnd, int& writeEnd);
// Duplicates `source` into `copy` (close-on-exec as the pipe ends); the new descriptor, or -1
// with `copy` unchanged.
int DuplicateProcessIORedirectHandle(int& source, int& copy);
// Closes `handle` when it is 0 or more; the variable keeps its value.
void CloseProcessIORedirectHandle(int& handle);

}  // namespace zu
