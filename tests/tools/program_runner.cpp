#include "program_runner.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace qotest {
namespace {

double Now() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + now.tv_nsec / 1e9;
}

[[noreturn]] void RunChild(const std::vector<std::string>& argv, const RunOptions& options, int in,
                           int out, int err) {
  signal(SIGPIPE, SIG_DFL);
  if (options.fileSizeLimit >= 0) {
    const rlimit limit{static_cast<rlim_t>(options.fileSizeLimit),
                       static_cast<rlim_t>(options.fileSizeLimit)};
    signal(SIGXFSZ, SIG_IGN);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(125);
  }
  if (options.memoryLimit >= 0) {
    const rlimit limit{static_cast<rlim_t>(options.memoryLimit),
                       static_cast<rlim_t>(options.memoryLimit)};
    if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(125);
  }
  if (options.stdoutToDevFull) {
    out = open("/dev/full", O_WRONLY);
    if (out < 0) _exit(125);
  }
  if (dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(125);
  if (options.stderrClosed) close(2);
  if (!options.workingDir.empty() && chdir(options.workingDir.c_str()) != 0) _exit(125);
  if (options.asOrdinaryUser && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
    _exit(125);
  }
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  execvp(args[0], args.data());
  _exit(127);
}

}  // namespace

RunResult RunProgram(const std::vector<std::string>& argv, const RunOptions& options) {
  RunResult result;
  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
    ADD_FAILURE() << "pipe failed";
    return result;
  }
  const pid_t child = fork();
  if (child == 0) RunChild(argv, options, in[0], out[1], err[1]);
  close(in[0]);
  close(out[1]);
  close(err[1]);
  // Never block on a full stdin pipe: the program may not read at all.
  fcntl(in[1], F_SETFL, O_NONBLOCK);
  size_t written = 0;
  int inFd = in[1];
  if (options.input.empty()) {
    close(inFd);
    inFd = -1;
  }
  int outFd = out[0], errFd = err[0];
  const double deadline = Now() + options.timeLimitSeconds;
  while (outFd >= 0 || errFd >= 0) {
    pollfd fds[3];
    int count = 0;
    for (int fd : {outFd, errFd}) {
      if (fd >= 0) fds[count++] = {fd, POLLIN, 0};
    }
    if (inFd >= 0) fds[count++] = {inFd, POLLOUT, 0};
    const double left = deadline - Now();
    if (left <= 0) {
      result.timedOut = true;
      kill(child, SIGKILL);
      break;
    }
    if (poll(fds, count, static_cast<int>(left * 1000) + 1) < 0 && errno != EINTR) break;
    for (int i = 0; i < count; ++i) {
      if (!fds[i].revents) continue;
      if (fds[i].fd == inFd) {
        const ssize_t n =
            write(inFd, options.input.data() + written, options.input.size() - written);
        if (n > 0) written += static_cast<size_t>(n);
        if (n < 0 || written == options.input.size()) {
          close(inFd);
          inFd = -1;
        }
        continue;
      }
      char buffer[65536];
      const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
      std::string& sink = fds[i].fd == outFd ? result.out : result.err;
      if (n > 0) {
        sink.append(buffer, static_cast<size_t>(n));
      } else {
        close(fds[i].fd);
        (fds[i].fd == outFd ? outFd : errFd) = -1;
      }
    }
  }
  for (int fd : {inFd, outFd, errFd}) {
    if (fd >= 0) close(fd);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) == child) {
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.maxResidentKiB = usage.ru_maxrss;
  }
  return result;
}

RunResult RunQobase(const std::vector<std::string>& args, const RunOptions& options) {
  std::vector<std::string> argv{QOBASE_TOOL_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  // Under `make valgrind` the program runs under the checker too, given ten times the time; not
  // under an address-space limit, which the checker itself does not fit in.
  const char* checker = std::getenv("QOBASE_TEST_UNDER_VALGRIND");
  if (checker && *checker && options.memoryLimit < 0) {
    argv.insert(argv.begin(), checker);
    RunOptions checked = options;
    checked.timeLimitSeconds *= 10;
    return RunProgram(argv, checked);
  }
  return RunProgram(argv, options);
}

bool HaveTool(const std::string& program) {
  return RunProgram({"sh", "-c", "command -v " + program}).exitCode == 0;
}

void MakeWith(const std::vector<std::string>& argv) {
  const RunResult made = RunProgram(argv);
  ASSERT_EQ(made.exitCode, 0) << argv[0] << ": " << made.err;
}

}  // namespace qotest
