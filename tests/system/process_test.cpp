// Child processes: the command-line check, exit codes, pipes both ways, timed waits, and that
// nothing is left behind (no zombie, no descriptor).
#include <qobase/system/process.h>

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <regex>
#include <string>

#include "support/files_child.h"
#include "support/temp_dir.h"

namespace {

int OpenDescriptorCount() {
  DIR* listing = opendir("/proc/self/fd");
  if (!listing) return -1;
  int count = 0;
  while (const dirent* entry = readdir(listing)) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(listing);
  return count - 1;  // the listing's own descriptor
}

// The child is gone for good: nothing left to reap.
bool IsReaped(pid_t pid) { return waitpid(pid, nullptr, WNOHANG) == -1 && errno == ECHILD; }

// A pipe made by the library, its ends closed by the library's helper.
struct Pipe {
  int readEnd = -1;
  int writeEnd = -1;
  Pipe() { zu::CreateProcessIORedirectPipe(readEnd, writeEnd); }
  ~Pipe() {
    Close(readEnd);
    Close(writeEnd);
  }
  static void Close(int& end) {
    zu::CloseProcessIORedirectHandle(end);
    end = -1;
  }
};

// What the two patterns the check describes find, by the regular-expression engine itself.
bool RegexProgram(const std::string& commandLine, std::string& program) {
  static const std::regex quoted("^(?:[\"'])(.*?)(?:[\"'])");
  static const std::regex unquoted("^(.*?/[^/]*?)(?:$|\\s)");
  std::smatch match;
  if (std::regex_search(commandLine, match, quoted) ||
      std::regex_search(commandLine, match, unquoted)) {
    program = match[1].str();
    return true;
  }
  return false;
}

TEST(CommandLine, ProgramIsFoundAsThePatternsFindIt) {
  const char* samples[] = {"/bin/echo hello",
                           "echo hello",
                           "'/bin/echo' hello",
                           "\"/bin/echo' x",
                           "/usr/bin/env\tx",
                           " /bin/true",
                           "'unterminated",
                           "'a\nb' /c",
                           "x y/z w",
                           "a/b/c/",
                           "/a b/c d",
                           "\"\"",
                           "/",
                           "",
                           "a\n/b",
                           "/a\n/b",
                           "a\r/b c",
                           "'/x\r' y",
                           "/x\x0b/y z",
                           "ab/\x0c",
                           "\"x/y"};
  for (const char* sample : samples) {
    std::string expected;
    CStdStr found;
    const bool matched = RegexProgram(sample, expected);
    ASSERT_EQ(matched, zu::GetCommandLineProgram(sample, found)) << "[" << sample << "]";
    if (matched) {
      EXPECT_EQ(expected, found) << "[" << sample << "]";
    }
  }
  // Random texts over the characters that matter to the patterns.
  const char alphabet[] = {'/', ' ', '\t', '\n', '\r', '"', '\'', 'a', 'b', '\f'};
  std::mt19937 random(7);
  for (int i = 0; i < 4000; ++i) {
    std::string sample(random() % 12, ' ');
    for (char& c : sample) c = alphabet[random() % sizeof(alphabet)];
    std::string expected;
    CStdStr found;
    const bool matched = RegexProgram(sample, expected);
    ASSERT_EQ(matched, zu::GetCommandLineProgram(sample, found)) << "case " << i;
    if (matched) {
      ASSERT_EQ(expected, found) << "case " << i;
    }
  }
}

TEST(CommandLine, ProgramMustBeAnExecutableRegularFile) {
  qotest::TempDir dir;
  const std::string script = dir.File("run.sh"), plain = dir.File("plain.sh");
  ASSERT_TRUE(qotest::WriteFileBytes(script, "#!/bin/sh\nexit 4\n"));
  ASSERT_TRUE(qotest::WriteFileBytes(plain, "#!/bin/sh\n"));
  ASSERT_EQ(0, chmod(script.c_str(), 0755));
  ASSERT_EQ(0, chmod(plain.c_str(), 0644));
  const struct {
    std::string commandLine;
    bool valid;
  } cases[] = {
      {"/bin/echo hello", true},
      {"echo hello", false},
      {"'/bin/echo' hello", true},
      {"\"/bin/echo' hello", true},
      {"/bin/echo\thello", true},
      {" /bin/echo hello", false},
      {"/bin/echo", true},
      {"/bin", false},  // a directory passes the execute test but is no program
      {dir.Path() + " x", false},
      {script + " arg", true},
      {plain, false},
      {dir.File("missing"), false},
      {"", false},
      {std::string("/bin/echo\0x", 11), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.valid, zu::IsValidCommandLine(c.commandLine)) << "[" << c.commandLine << "]";
  }
  // An invalid command line starts nothing and leaves the record untouched.
  zu::Process process{-77, 99};
  EXPECT_FALSE(zu::CreateProcess("echo hello", process, false));
  EXPECT_EQ(-77, process.pid);
  EXPECT_EQ(99u, process.reserved);
}

TEST(Process, ExitCodesOfExitSignalAndStop) {
  const int descriptorsBefore = OpenDescriptorCount();
  const struct {
    const char* commandLine;
    unsigned int code;
  } exits[] = {{"/bin/true", 0}, {"/bin/sh -c 'exit 3'", 3}, {"/bin/sh -c 'exit 300'", 44}};
  for (const auto& e : exits) {
    zu::Process process{0, 5};
    ASSERT_TRUE(zu::CreateProcess(e.commandLine, process, false)) << e.commandLine;
    EXPECT_GT(process.pid, 0);
    EXPECT_EQ(0u, process.reserved);
    unsigned int code = 1234;
    EXPECT_EQ(e.code, zu::WaitForProcess(process, code)) << e.commandLine;
    EXPECT_EQ(e.code, code);
    EXPECT_TRUE(IsReaped(process.pid));
  }
  // The untimed form without a code gives the wait's result.
  zu::Process process{};
  ASSERT_TRUE(zu::CreateProcess("/bin/true", process, false));
  EXPECT_EQ(process.pid, zu::WaitForProcess(process));
  EXPECT_EQ(-1, zu::WaitForProcess(process));  // already reaped

  // A shell blocked reading its input: stopped, then killed.
  {
    Pipe input;
    ASSERT_TRUE(zu::CreateProcess("/bin/true && read line", process, {0, 0, input.readEnd}, false));
    unsigned int code = 1234;
    kill(process.pid, SIGSTOP);
    EXPECT_EQ(static_cast<unsigned>(SIGSTOP), zu::WaitForProcess(process, code));
    EXPECT_EQ(static_cast<unsigned>(SIGSTOP), code);
    EXPECT_FALSE(IsReaped(process.pid));
    kill(process.pid, SIGKILL);
    EXPECT_EQ(0u, zu::WaitForProcess(process, 5000, code));
    EXPECT_EQ(9u, code);
    EXPECT_TRUE(IsReaped(process.pid));
    EXPECT_EQ(zu::k_processWaitFailed, zu::WaitForProcess(process, code));
  }
  // A failed start waits for nothing (a negative pid must not mean "any child").
  zu::Process failed{-1, 0};
  unsigned int code = 1234;
  EXPECT_EQ(-1, zu::WaitForProcess(failed));
  EXPECT_EQ(zu::k_processWaitFailed, zu::WaitForProcess(failed, 10, code));
  EXPECT_EQ(1234u, code);
  EXPECT_EQ(descriptorsBefore, OpenDescriptorCount());
}

TEST(Process, TimedWaitOfZeroLeavesTheChildToWaitFor) {
  Pipe input;
  zu::Process process{};
  ASSERT_TRUE(zu::CreateProcess("/bin/true && read line", process, {0, 0, input.readEnd}, false));
  unsigned int code = 77;
  EXPECT_EQ(zu::k_processWaitTimedOut, zu::WaitForProcess(process, 0, code));
  EXPECT_EQ(zu::k_processWaitTimedOut, zu::WaitForProcess(process, 20, code));
  EXPECT_EQ(77u, code);
  EXPECT_FALSE(IsReaped(process.pid));
  // End of input ends the shell's read with status 1.
  Pipe::Close(input.writeEnd);
  EXPECT_EQ(0u, zu::WaitForProcess(process, 5000, code));
  EXPECT_EQ(1u, code);
  EXPECT_TRUE(IsReaped(process.pid));

  // Children ending right at the time-out: a timed-out wait never reaped the child, so the
  // untimed wait after it still gets the code; a successful one left nothing to reap.
  int timedOut = 0;
  for (int i = 0; i < 24; ++i) {
    ASSERT_TRUE(zu::CreateProcess("/bin/sh -c 'exit 7'", process, false));
    code = 0;
    const unsigned int result = zu::WaitForProcess(process, i % 3, code);
    if (result == zu::k_processWaitTimedOut) {
      ++timedOut;
      EXPECT_EQ(7u, zu::WaitForProcess(process, code));
    } else {
      EXPECT_EQ(0u, result);
    }
    EXPECT_EQ(7u, code);
    EXPECT_TRUE(IsReaped(process.pid));
  }
  std::printf("children still running at the time-out: %d of 24\n", timedOut);
}

// Writes `input` to `toChild` and reads `fromChild` and `errorsFromChild` until both end, all at
// once, so neither side blocks on a full pipe.
void Exchange(int toChild, int fromChild, int errorsFromChild, const std::string& input,
              std::string& output, std::string& errors) {
  fcntl(toChild, F_SETFL, O_NONBLOCK);
  size_t written = 0;
  bool outputOpen = true, errorsOpen = true;
  char buffer[65536];
  while (outputOpen || errorsOpen) {
    pollfd sources[3] = {{fromChild, static_cast<short>(outputOpen ? POLLIN : 0), 0},
                         {errorsFromChild, static_cast<short>(errorsOpen ? POLLIN : 0), 0},
                         {toChild, static_cast<short>(toChild >= 0 ? POLLOUT : 0), 0}};
    ASSERT_GT(poll(sources, 3, 10000), 0) << "no progress";
    if (sources[2].revents & (POLLOUT | POLLERR)) {
      const ssize_t n = write(toChild, input.data() + written, input.size() - written);
      if (n > 0) written += static_cast<size_t>(n);
      if (written == input.size()) {
        close(toChild);
        toChild = -1;
      }
    }
    for (int s = 0; s < 2; ++s) {
      if (!(sources[s].revents & (POLLIN | POLLHUP))) continue;
      const ssize_t n = read(sources[s].fd, buffer, sizeof(buffer));
      if (n > 0) {
        (s == 0 ? output : errors).append(buffer, static_cast<size_t>(n));
      } else {
        (s == 0 ? outputOpen : errorsOpen) = false;
      }
    }
  }
}

TEST(Process, PipesBothWaysBeyondThePipeBuffer) {
  const int descriptorsBefore = OpenDescriptorCount();
  std::string input(1 << 20, '\0');
  for (size_t i = 0; i < input.size(); ++i) input[i] = static_cast<char>('a' + (i * 7) % 26);
  std::string output, errors;
  zu::Process process{};
  {
    Pipe toChild, fromChild, errorsFromChild;
    const zu::ProcessIORedirect redirect{errorsFromChild.writeEnd, fromChild.writeEnd,
                                         toChild.readEnd};
    ASSERT_TRUE(
        zu::CreateProcess("/bin/sh -c 'cat; echo finished >&2; exit 2'", process, redirect, false));
    // The parent keeps only its own ends; the child holds no copy of them either, so end of file
    // reaches both sides.
    Pipe::Close(toChild.readEnd);
    Pipe::Close(fromChild.writeEnd);
    Pipe::Close(errorsFromChild.writeEnd);
    Exchange(toChild.writeEnd, fromChild.readEnd, errorsFromChild.readEnd, input, output, errors);
    toChild.writeEnd = -1;  // closed by Exchange
  }
  unsigned int code = 0;
  EXPECT_EQ(0u, zu::WaitForProcess(process, 10000, code));
  EXPECT_EQ(2u, code);
  EXPECT_TRUE(output == input) << "output of " << output.size() << " bytes";
  EXPECT_EQ("finished\n", errors);
  EXPECT_TRUE(IsReaped(process.pid));
  EXPECT_EQ(descriptorsBefore, OpenDescriptorCount());
}

TEST(Process, RedirectionOfZerosInheritsTheStreams) {
  // In a child of the test, so its own output can be captured.
  EXPECT_EQ(0, qotest::RunInChild([] {
              int ends[2];
              if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) return 10;
              close(ends[1]);
              zu::Process process{};
              if (!zu::CreateProcess("/bin/echo inherited", process, {0, 0, 0}, false)) return 11;
              unsigned int code = 9;
              if (zu::WaitForProcess(process, code) != 0 || code != 0) return 12;
              close(STDOUT_FILENO);
              char text[32] = {};
              const ssize_t n = read(ends[0], text, sizeof(text) - 1);
              return n == 10 && std::string(text) == "inherited\n" ? 0 : 13;
            }));
}

TEST(Process, DescriptorHelpers) {
  EXPECT_EQ(getpid(), zu::GetCurrentProcessId());
  EXPECT_EQ(getpid(), zu::GetCurrentProcess());
  Pipe pipe;
  ASSERT_GE(pipe.readEnd, 0);
  EXPECT_EQ(FD_CLOEXEC, fcntl(pipe.readEnd, F_GETFD) & FD_CLOEXEC);
  EXPECT_EQ(FD_CLOEXEC, fcntl(pipe.writeEnd, F_GETFD) & FD_CLOEXEC);
  int copy = -5;
  const int duplicate = zu::DuplicateProcessIORedirectHandle(pipe.writeEnd, copy);
  ASSERT_GE(duplicate, 0);
  EXPECT_EQ(duplicate, copy);
  EXPECT_EQ(FD_CLOEXEC, fcntl(copy, F_GETFD) & FD_CLOEXEC);
  ASSERT_EQ(1, write(copy, "x", 1));
  char byte = 0;
  ASSERT_EQ(1, read(pipe.readEnd, &byte, 1));
  EXPECT_EQ('x', byte);
  // Closing keeps the variable's value; negative handles are left alone.
  const int kept = copy;
  zu::CloseProcessIORedirectHandle(copy);
  EXPECT_EQ(kept, copy);
  EXPECT_EQ(-1, fcntl(copy, F_GETFD));
  int none = -1, unchanged = -9;
  zu::CloseProcessIORedirectHandle(none);
  EXPECT_EQ(-1, zu::DuplicateProcessIORedirectHandle(none, unchanged));
  EXPECT_EQ(-9, unchanged);
  // With no descriptor left, the pipe ends stay as they were.
  EXPECT_EQ(0, qotest::RunInChild([] {
              const rlimit none{0, 0};
              if (setrlimit(RLIMIT_NOFILE, &none) != 0) return 10;
              int readEnd = -7, writeEnd = -8;
              zu::CreateProcessIORedirectPipe(readEnd, writeEnd);
              return readEnd == -7 && writeEnd == -8 ? 0 : 11;
            }));
}

// An ordinary user with no process left to spend: the fork fails (pid negative) and a timed wait
// cannot start its waiting thread.
TEST(Process, NoProcessOrThreadLeft) {
  EXPECT_EQ(0, qotest::RunAsOrdinaryUser([] {
              const rlimit none{0, 0};
              if (setrlimit(RLIMIT_NPROC, &none) != 0) return 10;
              zu::Process process{5, 5};
              if (zu::CreateProcess("/bin/true", process, false)) return 11;
              if (process.pid >= 0) return 12;
              zu::Process parent{getppid(), 0};
              unsigned int code = 3;
              if (zu::WaitForProcess(parent, 100, code) != zu::k_processWaitFailed || code != 3)
                return 13;
              return 0;
            }));
}

}  // namespace
