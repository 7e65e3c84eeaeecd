// What every command shares: CLI11 usage errors (exit 2 with the command's synopsis), help and
// version on standard output, and standard output checked (stdout on /dev/full fails, exit 1).
#include <gtest/gtest.h>

#include "program_runner.h"
#include "support/temp_dir.h"

using qotest::RunQobase;

namespace {

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

TEST(QobaseCommandLine, BadUsageExitsTwoWithTheCommandsSynopsis) {
  qotest::TempDir dir;
  const std::string wav = dir.File("in.wav");
  ASSERT_TRUE(qotest::WriteFileBytes(wav, "RIFF"));
  const struct {
    std::vector<std::string> args;
    std::string firstLine, usage;
  } cases[] = {
      {{"addmarkers", "--bogus", wav, dir.File("o.wav")},
       "qobase addmarkers: The following argument was not expected: --bogus",
       "usage: qobase addmarkers [--loop START:END] [--compact] IN OUT TIME[:LABEL]..."},
      {{"addmarkers", wav},
       "qobase addmarkers: OUT is required",
       "usage: qobase addmarkers [--loop START:END] [--compact] IN OUT TIME[:LABEL]..."},
      {{"midi"}, "qobase midi: FILE is required", "usage: qobase midi FILE [--convert OUT]"},
      {{"midi", "a.mid", "--convert"},
       "qobase midi: --convert: 1 required OUT missing",
       "usage: qobase midi FILE [--convert OUT]"},
      {{"xml", "frobnicate"},
       "qobase xml: unknown command 'frobnicate'",
       "usage: qobase xml COMMAND [ARGS...]"},
      {{"guid", "a", "b"},
       "qobase guid: The following argument was not expected: b",
       "usage: qobase guid [TEXT]"},
      {{"tempname", "--ext", "a/b", dir.Path()},
       "qobase tempname: --ext: the extension may not contain '/'",
       "usage: qobase tempname [--ext EXT] DIR"},
      {{"no-such-command"},
       "qobase: unknown command 'no-such-command'",
       "usage: qobase COMMAND [ARGS...]"},
      {{}, "qobase: A subcommand is required", "usage: qobase COMMAND [ARGS...]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.firstLine);
    const qotest::RunResult run = RunQobase(c.args);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, "");
    const size_t firstEnd = run.err.find('\n');
    EXPECT_EQ(run.err.substr(0, firstEnd), c.firstLine);
    EXPECT_EQ(FirstLine(run.err.substr(firstEnd + 1)), c.usage);
  }
  // Usage errors never touch the files named.
  EXPECT_EQ(qotest::ReadFileBytes(wav), "RIFF");
}

TEST(QobaseCommandLine, HelpAndVersionGoToStandardOutput) {
  const struct {
    std::vector<std::string> args;
    std::string expected;
  } cases[] = {
      {{"--version"}, "qobase 0."},
      {{"--help"}, "Subcommands:"},
      {{"addmarkers", "--help"}, "sox"},  // the compact format's limit is stated
      {{"midi", "--help"}, "bytes 2-5 the tempo in beats per minute"},
      {{"xml", "validate", "--help"}, "--all"},
      {{"base64", "decode", "--help"}, "'=' padding only at the very end"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.front());
    const qotest::RunResult run = RunQobase(c.args);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find(c.expected), std::string::npos) << run.out;
    EXPECT_EQ(run.err, "");
  }
}

// Every command that prints reports a standard output it cannot write, instead of exit 0.
TEST(QobaseCommandLine, StandardOutputOnAFullDeviceFails) {
  qotest::TempDir dir;
  const std::string text = dir.File("t.xml"), plain = dir.File("plain.bin");
  ASSERT_TRUE(qotest::WriteFileBytes(text, "<a><b>1</b></a>"));
  ASSERT_TRUE(qotest::WriteFileBytes(plain, "hello"));
  const std::vector<std::vector<std::string>> commands = {
      {"tour"},   {"ls", dir.Path()}, {"xml", "tojson", text}, {"base64", "encode", plain},
      {"--help"},
  };
  for (const auto& args : commands) {
    SCOPED_TRACE(args.front());
    qotest::RunOptions options;
    options.stdoutToDevFull = true;
    const qotest::RunResult run = RunQobase(args, options);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "qobase: standard output: No space left on device\n");
  }
}
