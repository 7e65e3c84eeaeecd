// `qobase addmarkers`: markers, labels and a loop added to a file of our writer, exit codes, and
// the input left as it was.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

namespace {

// Runs the program with `args` (stdout and stderr into files of `dir`) after the shell commands
// `setup`; its exit code, or -1.
int RunTool(const qotest::TempDir& dir, const std::string& args, const std::string& setup = "") {
  const std::string command = setup + std::string(QOBASE_TOOL_PATH) + " " + args + " >" + dir.File("stdout.txt") +
                              " 2>" + dir.File("stderr.txt");
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A mono 16-bit file at 8000 Hz whose samples are 0, 3, 6, ...
void WriteMono(const std::string& path, unsigned int frames) {
  std::string samples;
  for (unsigned int i = 0; i < frames; ++i) samples += qotest::U16(static_cast<uint16_t>(i * 3));
  ASSERT_TRUE(qotest::WriteFileBytes(path, qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                                                        qotest::Chunk("data", samples))));
}

}  // namespace

TEST(AddMarkersCommand, AddsLabelledMarkersAndALoop) {
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
  WriteMono(in, 8000);
  const std::string before = qotest::ReadFileBytes(in);

  ASSERT_EQ(RunTool(dir, "addmarkers --loop 100:0.5s '" + in + "' '" + out + "' 0.25s:Quarter 7000 '10:Two words'"), 0)
      << qotest::ReadFileBytes(dir.File("stderr.txt"));
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("stdout.txt")), out + ": 3 marker(s) added, 3 in total, loop set\n");
  EXPECT_EQ(qotest::ReadFileBytes(in), before);

  // Written in order of position; IDs in order of the command line.
  qotest::ReadBack back(out, 1);
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.markers, (std::vector<std::string>{"3@10:Two words", "1@2000:Quarter", "2@7000:"}));
  EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), std::make_pair(100u, 4000u));
  EXPECT_EQ(back.dataOffset % 16, 0u);
  EXPECT_EQ(back.samples.size() == 8000 ? back.samples[7999] : 0, static_cast<short>(7999 * 3));
  // The plain 16-byte PCM format plus cbSize, which every program reads.
  EXPECT_EQ(qotest::ReadFileBytes(out).substr(12, 10), std::string("fmt \x14\0\0\0\x01\0", 10));

}

TEST(AddMarkersCommand, ExitCodesMessagesAndFailedWrites) {
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), created = dir.File("new.wav"), existing = dir.File("old.wav");
  WriteMono(in, 20000);
  ASSERT_TRUE(qotest::WriteFileBytes(existing, "keep"));
  const std::string before = qotest::ReadFileBytes(in), usage = " (see 'qobase addmarkers --help')\n";
  // Under a file size limit of a few KiB, the signal ignored, a write fails with EFBIG.
  const std::string limit = "trap '' XFSZ; ulimit -f 8; ", full = ": cannot write the file (is the disk full?)\n";
  const struct {
    std::string setup, args;
    int code;
    std::string message;
  } cases[] = {
      {"", "'" + in + "' '" + created + "' -5", 2, "qobase addmarkers: bad time '-5'" + usage},
      {"", "'" + in + "' '" + created + "' 20000", 1,
       "qobase: " + in + ": time 20000 is past the end (20000 frames)\n"},
      {"", "'" + in + "' '" + in + "' 1", 1, "qobase: " + in + ": is the input file; write the result to a new file\n"},
      {"", "'" + in + "' /dev/full 1", 1, "qobase: /dev/full" + full},
      // Only the file this run created is removed after a failed write.
      {limit, "'" + in + "' '" + created + "' 1", 1, "qobase: " + created + full},
      {limit, "'" + in + "' '" + existing + "' 1", 1, "qobase: " + existing + full},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    EXPECT_EQ(RunTool(dir, "addmarkers " + c.args, c.setup), c.code);
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("stderr.txt")), c.message);
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("stdout.txt")), "");
  }
  EXPECT_EQ(qotest::ReadFileBytes(in), before);
  EXPECT_FALSE(std::ifstream(created).good());
  EXPECT_TRUE(std::ifstream(existing).good());
}
