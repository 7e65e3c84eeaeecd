// `qobase addmarkers`: markers, labels and a loop added to a file of our writer, exit codes, and
// the input left as it was.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace {

// Runs the program with `args` (stdout and stderr into files of `dir`) after the shell commands
// `setup`; its exit code, or -1.
int RunTool(const qotest::TempDir& dir, const std::string& args, const std::string& setup = "") {
  const std::string command = setup + std::string(QOBASE_TOOL_PATH) + " " + args + " >" + dir.File("stdout.txt") +
                              " 2>" + dir.File("stderr.txt");
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void WriteMono(const std::string& path, unsigned int frames) {
  QoWavFileWriter writer;
  ASSERT_TRUE(writer.Open(zu::Path(path), false));
  WaveFormatExtensible format = {0xFFFE, 1, 8000, 16000, 2, 16, 4, 0, QO::MakeChannelConfig(1, 1, 4)};
  writer.SetFormat(format);
  ASSERT_TRUE(writer.WriteChunks(0));
  std::vector<short> samples(frames);
  for (unsigned int i = 0; i < frames; ++i) samples[i] = static_cast<short>(i * 3);
  ASSERT_TRUE(writer.WriteInt16AsPCMData(frames, samples.data()));
  ASSERT_TRUE(writer.Close());
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

  QoWavFileReader reader;
  ASSERT_TRUE(reader.Open(zu::Path(out)));
  ASSERT_TRUE(reader.ReadChunks(0x1F));
  const std::vector<QO_WAVE_MARKER>& markers = reader.GetMarkers();
  ASSERT_EQ(markers.size(), 3u);
  // Written in order of position; IDs in order of the command line.
  EXPECT_EQ(markers[0].ID, 3u);
  EXPECT_EQ(markers[0].position, 10u);
  EXPECT_STREQ(markers[0].label, "Two words");
  EXPECT_EQ(markers[1].position, 2000u);
  EXPECT_STREQ(markers[1].label, "Quarter");
  EXPECT_EQ(markers[2].position, 7000u);
  EXPECT_EQ(markers[2].labelSize, 0u);
  EXPECT_EQ(reader.GetLoopStartFrame(), 100u);
  EXPECT_EQ(reader.GetLoopEndFrame(), 4000u);
  EXPECT_EQ(reader.GetDataOffset() % 16, 0u);
  EXPECT_EQ(reader.GetNumFrames(), 8000u);
  std::vector<short> samples(8000);
  reader.SeekToAudioFrame(0);
  ASSERT_EQ(reader.ReadPCMDataAsInt16(8000, samples.data()), 8000u);
  EXPECT_EQ(samples[7999], static_cast<short>(7999 * 3));
  // The plain 16-byte PCM format plus cbSize, which every program reads.
  EXPECT_EQ(qotest::ReadFileBytes(out).substr(12, 10), std::string("fmt \x14\0\0\0\x01\0", 10));

  // Markers added to the result keep the ones it has.
  ASSERT_EQ(RunTool(dir, "addmarkers '" + out + "' '" + dir.File("more.wav") + "' 5"), 0);
  QoWavFileReader more;
  ASSERT_TRUE(more.Open(zu::Path(dir.File("more.wav"))) && more.ReadChunks(0x1F));
  EXPECT_EQ(more.GetMarkers().size(), 4u);
  EXPECT_EQ(more.GetMarkers()[0].position, 5u);
  EXPECT_EQ(more.GetLoopEndFrame(), 4000u);
}

TEST(AddMarkersCommand, ExitCodesAndMessages) {
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav");
  WriteMono(in, 100);
  const std::string before = qotest::ReadFileBytes(in);
  const struct {
    std::string args;
    int code;
    std::string message;
  } cases[] = {
      {"addmarkers '" + in + "'", 2, "qobase addmarkers: needs IN and OUT (see 'qobase addmarkers --help')\n"},
      {"addmarkers '" + in + "' x.wav", 2, "qobase addmarkers: no marker or loop to add (see 'qobase addmarkers --help')\n"},
      {"addmarkers '" + in + "' '" + dir.File("o.wav") + "' -5", 2,
       "qobase addmarkers: bad time '-5' (see 'qobase addmarkers --help')\n"},
      {"addmarkers '" + in + "' '" + dir.File("o.wav") + "' 100", 1,
       "qobase: " + in + ": time 100 is past the end (100 frames)\n"},
      {"addmarkers '" + in + "' '" + in + "' 1", 1,
       "qobase: " + in + ": is the input file; write the result to a new file\n"},
      {"addmarkers '" + dir.File("none.wav") + "' '" + dir.File("o.wav") + "' 1", 1,
       "qobase: " + dir.File("none.wav") + ": not a WAVE file that can be edited\n"},
      {"addmarkers '" + in + "' /dev/full 1", 1, "qobase: /dev/full: cannot write the file (is the disk full?)\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    EXPECT_EQ(RunTool(dir, c.args), c.code);
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("stderr.txt")), c.message);
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("stdout.txt")), "");
  }
  EXPECT_EQ(qotest::ReadFileBytes(in), before);
  EXPECT_FALSE(std::ifstream(dir.File("o.wav")).good());
}

TEST(AddMarkersCommand, AFailedWriteRemovesOnlyTheFileItCreated) {
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), created = dir.File("new.wav"), existing = dir.File("old.wav");
  WriteMono(in, 20000);
  ASSERT_TRUE(qotest::WriteFileBytes(existing, "keep"));
  // Under a file size limit of a few KiB (the signal ignored, so the write fails with EFBIG).
  const std::string limit = "trap '' XFSZ; ulimit -f 8; ";
  EXPECT_EQ(RunTool(dir, "addmarkers '" + in + "' '" + created + "' 1", limit), 1);
  EXPECT_FALSE(std::ifstream(created).good());
  EXPECT_EQ(RunTool(dir, "addmarkers '" + in + "' '" + existing + "' 1", limit), 1);
  EXPECT_EQ(qotest::ReadFileBytes(dir.File("stderr.txt")), "qobase: " + existing + ": cannot write the file (is the disk full?)\n");
  EXPECT_TRUE(std::ifstream(existing).good());
}
