// Faults injected around the program: every command that writes a file, stopped by a file size
// limit anywhere from its first byte to its last, leaves no partial output and an existing output
// untouched (and the same limit one byte larger lets it through); every command that reads a
// file, given a pipe or a /proc file whose size reads as 0, ends at once.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "program_runner.h"
#include "support/endless_stream.h"
#include "support/midi_builder.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

using qotest::RunQobase;

namespace {

std::string MarkedWave() {
  using qotest::Chunk;
  return qotest::Riff(Chunk("fmt ", qotest::PcmFormatBody(2, 8000, 16)) +
                      Chunk("cue ", qotest::CueBody({10, 2000})) +
                      Chunk("LIST", "adtl" + qotest::LablChunk(1, "one")) +
                      Chunk("bext", std::string(601, 'b')) +
                      Chunk("data", qotest::Pcm16Samples(2 * 3000)) + Chunk("iXML", "<x/>"));
}

std::string SomeMidi() {
  std::string track;
  for (int i = 0; i < 300; ++i) track += "1 90 3C 64, 1 80 3C 00, ";
  return qotest::MidiFileBytes(0, 96, {track + "0 FF 2F 00"});
}

}  // namespace

TEST(QobaseFaultInjection, AWriteCutAnywhereLeavesNoPartialOutput) {
  qotest::TempDir dir;
  const std::string wav = dir.File("in.wav"), midi = dir.File("in.mid"), out = dir.File("out");
  ASSERT_TRUE(qotest::WriteFileBytes(wav, MarkedWave()));
  ASSERT_TRUE(qotest::WriteFileBytes(midi, SomeMidi()));
  const std::vector<std::vector<std::string>> writers = {
      {"midi", midi, "--convert", out},
      {"addmarkers", wav, out, "5:start,1000,2500:end"},
      {"addmarkers", "--loop", "100:2000", wav, out, "5"},
      {"addmarkers", "--compact", wav, out, "5:start"},
  };
  for (const auto& args : writers) {
    std::string trace;
    for (const std::string& arg : args) trace += arg + " ";
    SCOPED_TRACE(trace);
    const qotest::RunResult free = RunQobase(args);
    ASSERT_EQ(free.exitCode, 0) << free.err;
    const std::string full = qotest::ReadFileBytes(out);
    ASSERT_GT(full.size(), 100u);
    ASSERT_EQ(unlink(out.c_str()), 0);
    // Before the first byte, inside the head, in the middle, one byte short of the end.
    const long long size = static_cast<long long>(full.size());
    for (const long long limit : {0ll, 20ll, size / 2, size - 1, size}) {
      for (const bool existing : {false, true}) {
        SCOPED_TRACE(std::to_string(limit) + (existing ? " over an existing file" : " new"));
        if (existing) {
          ASSERT_TRUE(qotest::WriteFileBytes(out, "the user's file"));
        }
        qotest::RunOptions options;
        options.fileSizeLimit = limit;
        const qotest::RunResult run = RunQobase(args, options);
        EXPECT_FALSE(run.timedOut);
        if (limit == size) {
          // The limit the output needs exactly: nothing else is written on the way.
          EXPECT_EQ(run.exitCode, 0) << run.err;
          EXPECT_TRUE(qotest::ReadFileBytes(out) == full);
        } else {
          EXPECT_EQ(run.exitCode, 1);
          EXPECT_EQ(run.err, "qobase: " + out + ": cannot write the file: File too large\n");
          EXPECT_EQ(qotest::ReadFileBytes(out), existing ? "the user's file" : "");
        }
        const std::vector<std::string> expected =
            existing || limit == size ? std::vector<std::string>{"in.mid", "in.wav", "out"}
                                      : std::vector<std::string>{"in.mid", "in.wav"};
        EXPECT_EQ(qotest::FolderNames(dir.Path()), expected);
        unlink(out.c_str());
      }
    }
  }
  EXPECT_EQ(qotest::ReadFileBytes(wav), MarkedWave());
  EXPECT_EQ(qotest::ReadFileBytes(midi), SomeMidi());
}

// Pipes (fed without end, never written to, or with no writer at all) are refused before they
// are read; a /proc file is a regular file whose size reads as 0, and is read to its real end.
// Either way the command ends, and leaves no output behind.
TEST(QobaseFaultInjection, EveryReadingCommandEndsOnPipesAndProcFiles) {
  qotest::TempDir dir;
  const std::string schema = dir.File("s.xsd"), doc = dir.File("d.xml"), out = dir.File("out");
  ASSERT_TRUE(qotest::WriteFileBytes(schema,
                                     "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">"
                                     "<xs:element name=\"a\" type=\"xs:string\"/></xs:schema>"));
  ASSERT_TRUE(qotest::WriteFileBytes(doc, "<a>x</a>"));
  const std::vector<std::vector<std::string>> commands = {
      {"info", "IN"},
      {"addmarkers", "IN", out, "1"},
      {"midi", "IN"},
      {"midi", "IN", "--convert", out},
      {"xml", "tojson", "IN"},
      {"xml", "validate", schema, "IN"},
      {"xml", "validate", "IN", doc},
      {"base64", "encode", "IN"},
      {"base64", "decode", "IN"},
  };
  enum Input { k_endlessPipe, k_silentPipe, k_unopenedPipe, k_procFile };
  const std::pair<Input, const char*> inputs[] = {
      {k_endlessPipe, "a pipe fed without end"},
      {k_silentPipe, "a pipe whose writer never writes"},
      {k_unopenedPipe, "a pipe nobody writes to"},
      {k_procFile, "a /proc file"},
  };
  int pipes = 0;
  for (const auto& command : commands) {
    for (const auto& input : inputs) {
      std::string path = "/proc/self/status";
      std::unique_ptr<qotest::EndlessFifo> endless;
      std::unique_ptr<qotest::SilentFifo> silent;
      if (input.first != k_procFile) path = dir.File("pipe" + std::to_string(++pipes));
      if (input.first == k_endlessPipe) endless.reset(new qotest::EndlessFifo(path, "RIFF"));
      if (input.first == k_silentPipe) silent.reset(new qotest::SilentFifo(path));
      if (input.first == k_unopenedPipe) {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
      }
      std::vector<std::string> args = command;
      std::replace(args.begin(), args.end(), std::string("IN"), path);
      SCOPED_TRACE(args.front() + " " + args[1] + " on " + input.second);
      qotest::RunOptions options;
      options.timeLimitSeconds = 10;
      const qotest::RunResult run = RunQobase(args, options);
      EXPECT_FALSE(run.timedOut);
      if (input.first != k_procFile) {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, "qobase: " + path +
                               ": not a regular file (a device, FIFO or socket cannot be read as "
                               "one)\n");
      } else {
        // Status text is no audio, MIDI or XML: a failure named after the file. Base64 encodes
        // it (read to its end despite the size 0), and decoding it fails.
        const bool encodes = args[0] == "base64" && args[1] == "encode";
        EXPECT_EQ(run.exitCode, encodes ? 0 : 1) << run.err;
        if (encodes) {
          EXPECT_GT(run.out.size(), 100u);
        } else {
          EXPECT_EQ(run.err.rfind("qobase: ", 0), 0u) << run.err;
        }
      }
      endless.reset();
      silent.reset();
      unlink(path.c_str());
      EXPECT_EQ(qotest::FolderNames(dir.Path()), (std::vector<std::string>{"d.xml", "s.xsd"}));
    }
  }
}
