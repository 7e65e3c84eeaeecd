// Child processes: the command-line check, exit codes, pipes both ways, timed waits, and that
// nothing is left behind (no zombie, no descriptor).
#include <qobase/system/process.h>

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
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
  int count = -3;  // ".", ".." and the listing's own descriptor
  while (listing && readdir(listing)) ++count;
  if (listing) closedir(listing);
  return count;
}

// Nothing is left of the child to reap.
bool IsReaped(pid_t pid) { return waitpid(pid, nullptr, WNOHANG) == -1 && errno == ECHILD; }

// A pipe made and closed by the library's helpers.
struct Pipe {
  int readEnd = -1, writeEnd = -1;
  Pipe() { zu::CreateProcessIORedirectPipe(readEnd, writeEnd); }
  ~Pipe() { Close(readEnd), Close(writeEnd); }
  static void Close(int& end) { zu::CloseProcessIORedirectHandle(end), end = -1; }
};

TEST(CommandLine, ProgramIsFoundAsTheRegularExpressionsFindIt) {
  const std::regex quoted("^(?:[\"'])(.*?)(?:[\"'])"), unquoted("^(.*?/[^/]*?)(?:$|\\s)");
  // Texts over the characters that matter to the patterns, the first few chosen by hand.
  std::vector<std::string> samples = {"/bin/echo hello", "'/bin/echo\" x", "/usr/bin/env\tx",
                                      " /bin/true",      "'a\nb' /c",      "x y/z w",
                                      "a\r/b c",         "/x\x0b/y z",     "\"x/y"};
  const char alphabet[] = "/ \t\n\r\"'ab\f";
  std::mt19937 random(7);
  for (int i = 0; i < 4000; ++i) {
    std::string& sample = samples.emplace_back(random() % 12, ' ');
    for (char& c : sample) c = alphabet[random() % (sizeof(alphabet) - 1)];
  }
  for (const std::string& sample : samples) {
    std::smatch match;
    const bool expected =
        std::regex_search(sample, match, quoted) || std::regex_search(sample, match, unquoted);
    CStdStr found;
    ASSERT_EQ(expected, zu::GetCommandLineProgram(sample, found)) << "[" << sample << "]";
    ASSERT_TRUE(!expected || found == match[1].str()) << "[" << sample << "]";
  }
}

TEST(CommandLine, ProgramMustBeAnExecutableRegularFile) {
  qotest::TempDir dir;
  const std::string script = dir.File("run.sh"), plain = dir.File("plain.sh");
  ASSERT_TRUE(qotest::WriteFileBytes(script, "#!/bin/sh\n"));
  ASSERT_TRUE(qotest::WriteFileBytes(plain, "#!/bin/sh\n"));
  ASSERT_EQ(0, chmod(script.c_str(), 0755));
  const std::pair<std::string, bool> cases[] = {{"/bin/echo hello", true},
                                                {"echo hello", false},
                                                {"'/bin/echo' hello", true},
                                                {"/bin/echo\thello", true},
                                                {" /bin/echo hello", false},
                                                {"/bin", false},
                                                {script + " arg", true},
                                                {plain, false},
                                                {dir.File("missing"), false},
                                                {"", false},
                                                {std::string("/bin/echo\0x", 11), false}};
  for (const auto& [commandLine, valid] : cases) {
    EXPECT_EQ(valid, zu::IsValidCommandLine(commandLine)) << "[" << commandLine << "]";
  }
  zu::Process process{-77, 99};  // an invalid command line leaves the record untouched
  EXPECT_FALSE(zu::CreateProcess("echo hello", process, false));
  EXPECT_TRUE(process.pid == -77);
  EXPECT_TRUE(process.reserved == 99);
}

TEST(Process, ExitCodesOfExitSignalAndStop) {
  const int descriptors = OpenDescriptorCount();
  zu::Process process{0, 5};
  unsigned int code = 1234;
  for (const auto& [commandLine, expected] : {std::pair<const char*, unsigned>{"/bin/true", 0},
                                              {"/bin/sh -c 'exit 3'", 3},
                                              {"/bin/sh -c 'exit 300'", 44}}) {
    ASSERT_TRUE(zu::CreateProcess(commandLine, process, false));
    EXPECT_TRUE(process.pid > 0);
    EXPECT_TRUE(process.reserved == 0);
    EXPECT_EQ(expected, zu::WaitForProcess(process, code));
    EXPECT_EQ(expected, code);
    EXPECT_TRUE(IsReaped(process.pid));
  }
  ASSERT_TRUE(zu::CreateProcess("/bin/true", process, false));
  EXPECT_EQ(process.pid, zu::WaitForProcess(process));
  EXPECT_EQ(-1, zu::WaitForProcess(process));

  // A shell blocked reading its input: not ended after 0 ms, then stopped, then killed.
  {
    Pipe input;
    ASSERT_TRUE(zu::CreateProcess("/bin/true && read line", process, {0, 0, input.readEnd}, false));
    EXPECT_EQ(zu::k_processWaitTimedOut, zu::WaitForProcess(process, 0, code));
    EXPECT_EQ(44u, code);
    kill(process.pid, SIGSTOP);
    EXPECT_EQ(static_cast<unsigned>(SIGSTOP), zu::WaitForProcess(process, code));
    EXPECT_FALSE(IsReaped(process.pid));
    kill(process.pid, SIGKILL);
    EXPECT_EQ(0u, zu::WaitForProcess(process, 5000, code));
    EXPECT_EQ(9u, code);
    EXPECT_EQ(zu::k_processWaitFailed, zu::WaitForProcess(process, code));
  }
  // A failed start (negative pid) must not wait for "any child".
  zu::Process failed{-1, 0};
  EXPECT_EQ(-1, zu::WaitForProcess(failed));
  EXPECT_EQ(zu::k_processWaitFailed, zu::WaitForProcess(failed, 10, code));
  EXPECT_EQ(9u, code);
  EXPECT_EQ(descriptors, OpenDescriptorCount());
}

TEST(Process, TimedWaitsAtTheEdgeNeverLoseTheChild) {
  // End of input ends the shell's read with status 1.
  Pipe input;
  zu::Process process{};
  ASSERT_TRUE(zu::CreateProcess("/bin/true && read line", process, {0, 0, input.readEnd}, false));
  unsigned int code = 77;
  EXPECT_EQ(zu::k_processWaitTimedOut, zu::WaitForProcess(process, 20, code));
  Pipe::Close(input.writeEnd);
  EXPECT_EQ(0u, zu::WaitForProcess(process, 5000, code));
  EXPECT_EQ(1u, code);
  // Children ending at the time-out: a timed-out wait has not reaped the child, so the untimed
  // wait still gets its code; a completed one left nothing to reap.
  for (int i = 0; i < 24; ++i) {
    ASSERT_TRUE(zu::CreateProcess("/bin/sh -c 'exit 7'", process, false));
    code = 0;
    if (zu::WaitForProcess(process, i % 3, code) == zu::k_processWaitTimedOut) {
      EXPECT_EQ(7u, zu::WaitForProcess(process, code));
    }
    EXPECT_EQ(7u, code);
    EXPECT_TRUE(IsReaped(process.pid));
  }
}

// Writes `input` to `toChild` (then closes it) while reading both outputs to their end, so no
// side blocks on a full pipe. False when nothing moves for 10 s.
bool Exchange(int& toChild, int fromChild, int errorsFromChild, const std::string& input,
              std::string& output, std::string& errors) {
  fcntl(toChild, F_SETFL, O_NONBLOCK);
  size_t written = 0;
  int open = 2;
  char buffer[65536];
  while (open > 0) {
    pollfd ends[3] = {{fromChild, POLLIN, 0}, {errorsFromChild, POLLIN, 0}, {toChild, POLLOUT, 0}};
    if (poll(ends, toChild >= 0 ? 3 : 2, 10000) <= 0) return false;
    if (toChild >= 0 && ends[2].revents) {
      const ssize_t n = write(toChild, input.data() + written, input.size() - written);
      if (n > 0) written += static_cast<size_t>(n);
      if (n <= 0 || written == input.size()) Pipe::Close(toChild);
    }
    for (int i = 0; i < 2; ++i) {
      if (ends[i].fd < 0 || !ends[i].revents) continue;
      const ssize_t n = read(ends[i].fd, buffer, sizeof(buffer));
      if (n > 0) (i == 0 ? output : errors).append(buffer, static_cast<size_t>(n));
      if (n <= 0) (i == 0 ? fromChild : errorsFromChild) = -1, --open;
    }
  }
  return true;
}

TEST(Process, PipesBothWaysBeyondThePipeBuffer) {
  const int descriptors = OpenDescriptorCount();
  std::string input(1 << 20, 'a'), output, errors;
  for (size_t i = 0; i < input.size(); ++i) input[i] = static_cast<char>('a' + i * 7 % 26);
  zu::Process process{};
  {
    Pipe toChild, fromChild, errorsFromChild;
    ASSERT_TRUE(zu::CreateProcess("/bin/sh -c 'cat; echo finished >&2; exit 2'", process,
                                  {errorsFromChild.writeEnd, fromChild.writeEnd, toChild.readEnd},
                                  false));
    // The parent keeps only its own ends; the child holds no stray copy, so end of file reaches
    // both sides.
    Pipe::Close(toChild.readEnd), Pipe::Close(fromChild.writeEnd);
    Pipe::Close(errorsFromChild.writeEnd);
    ASSERT_TRUE(Exchange(toChild.writeEnd, fromChild.readEnd, errorsFromChild.readEnd, input,
                         output, errors));
  }
  unsigned int code = 0;
  EXPECT_EQ(0u, zu::WaitForProcess(process, 10000, code));
  EXPECT_EQ(2u, code);
  EXPECT_TRUE(output == input) << output.size() << " bytes came back";
  EXPECT_EQ("finished\n", errors);
  EXPECT_EQ(descriptors, OpenDescriptorCount());
}

TEST(Process, DescriptorHelpersAndInheritedStreams) {
  EXPECT_TRUE(zu::GetCurrentProcessId() == getpid());
  EXPECT_TRUE(zu::GetCurrentProcess() == getpid());
  Pipe made;
  int copy = -5, none = -1, unchanged = -9;
  ASSERT_GE(zu::DuplicateProcessIORedirectHandle(made.writeEnd, copy), 0);
  for (int descriptor : {made.readEnd, made.writeEnd, copy}) {
    EXPECT_EQ(FD_CLOEXEC, fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
  }
  const int kept = copy;
  zu::CloseProcessIORedirectHandle(copy);
  EXPECT_TRUE(copy == kept);
  EXPECT_TRUE(fcntl(copy, F_GETFD) == -1);
  zu::CloseProcessIORedirectHandle(none);
  EXPECT_EQ(-1, zu::DuplicateProcessIORedirectHandle(none, unchanged));
  EXPECT_EQ(-9, unchanged);
  // In a child of the test: a record of zeros leaves the streams inherited.
  EXPECT_EQ(0, qotest::RunInChild([] {
              int ends[2];
              if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) return 10;
              zu::Process process{};
              unsigned int code = 9;
              if (!zu::CreateProcess("/bin/echo inherited", process, {0, 0, 0}, false)) return 11;
              if (zu::WaitForProcess(process, code) != 0) return 12;
              char text[16] = {};
              return read(ends[0], text, sizeof(text) - 1) == 10 &&
                             std::string(text) == "inherited\n"
                         ? 0
                         : 13;
            }));
}

}  // namespace
