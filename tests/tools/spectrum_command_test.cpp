// `qobase spectrum` on tones made by sox: the strongest and highest frequencies where the tones
// are, the JSON report carrying the numbers of the text, a plot that renders, Ctrl-C stopping a
// long analysis without an output, and the refusals.
#include <gtest/gtest.h>

#include <dirent.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "program_runner.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

using qotest::RunQobase;

namespace {

double Number(const std::string& text) { return std::atof(text.c_str()); }

size_t EntriesIn(const std::string& folder) {
  size_t count = 0;
  if (DIR* dir = opendir(folder.c_str())) {
    while (const dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
    closedir(dir);
  }
  return count;
}

}  // namespace

TEST(QobaseSpectrum, FindsTheTonesAndReportsThemAlike) {
  if (!qotest::HaveTool("sox")) GTEST_SKIP() << "no sox";
  qotest::TempDir dir;
  const std::string tones = dir.File("tones.wav");
  // A loud 1 kHz tone and a quiet 5 kHz one (-30 dB) in stereo.
  qotest::MakeWith({"sox", "-n", "-r", "44100", "-c", "2", "-b", "16", dir.File("a.wav"), "synth",
                    "2", "sine", "1000"});
  qotest::MakeWith({"sox", "-n", "-r", "44100", "-c", "2", "-b", "16", dir.File("b.wav"), "synth",
                    "2", "sine", "5000", "vol", "-30dB"});
  qotest::MakeWith({"sox", "-m", dir.File("a.wav"), dir.File("b.wav"), tones});

  const struct {
    std::vector<std::string> options;
    double highest;  // Hz: the tone, or a little above it on its skirt
  } cases[] = {
      {{"--threshold", "-45"}, 5000.0},  // the quiet tone's peak lies above -45 dB
      {{"--threshold", "-20", "--window", "hamming"}, 1000.0},
      {{"--size", "8192", "--window", "triangular", "--threshold", "-45"}, 5000.0},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"spectrum", tones};
    args.insert(args.end(), c.options.begin(), c.options.end());
    SCOPED_TRACE(args[2] + " " + args[3]);
    const qotest::RunResult text = RunQobase(args);
    ASSERT_EQ(text.exitCode, 0) << text.err;
    args.push_back("--json");
    const qotest::RunResult json = RunQobase(args);
    ASSERT_EQ(json.exitCode, 0) << json.err;
    const auto documents = qotest::FlattenJsonDocuments(json.out);
    ASSERT_EQ(documents.size(), 1u);
    const std::vector<std::string>& report = documents[0];
    const double binWidth = Number(qotest::JsonValue(report, "binWidth"));
    EXPECT_NEAR(binWidth, 44100.0 / Number(qotest::JsonValue(report, "size")), 0.001);
    const std::string strongest = qotest::JsonValue(report, "strongestFrequency");
    const std::string highest = qotest::JsonValue(report, "highestFrequency");
    EXPECT_NEAR(Number(strongest), 1000.0, 2 * binWidth);
    EXPECT_GE(Number(highest), c.highest - 2 * binWidth);
    EXPECT_LE(Number(highest), c.highest * 1.05);
    EXPECT_EQ(qotest::AllMatches(text.out, "strongest: ([0-9.]+) Hz"),
              std::vector<std::string>{strongest});
    EXPECT_EQ(qotest::AllMatches(text.out, "highest above [-0-9.]+ dB: ([0-9.]+) Hz"),
              std::vector<std::string>{highest});
  }

  const qotest::RunResult plotted =
      RunQobase({"spectrum", tones, "--svg", dir.File("spectrum.svg")});
  ASSERT_EQ(plotted.exitCode, 0) << plotted.err;
  EXPECT_NE(plotted.out.find("  plot: " + dir.File("spectrum.svg") + "\n"), std::string::npos);
  ASSERT_TRUE(qotest::RenderSvg(dir.File("spectrum.svg"), dir.File("spectrum.png")));
  EXPECT_EQ(qotest::PngSize(dir.File("spectrum.png")), std::make_pair(1000u, 420u));
  // Decades labelled on the frequency axis.
  const std::string svg = qotest::ReadFileBytes(dir.File("spectrum.svg"));
  for (const std::string label : {">100</text>", ">1k</text>", ">10k</text>"}) {
    EXPECT_NE(svg.find(label), std::string::npos) << label;
  }
}

TEST(QobaseSpectrum, SilenceAndRefusals) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("silent.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   qotest::Chunk("data", std::string(16000, '\0')))));
  const qotest::RunResult silent = RunQobase({"spectrum", dir.File("silent.wav")});
  EXPECT_EQ(silent.exitCode, 0) << silent.err;
  EXPECT_NE(silent.out.find("  silent: no frequency has any level\n"
                            "  highest above -60.0 dB: 0.0 Hz\n"),
            std::string::npos)
      << silent.out;

  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("alaw.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::FmtBody(false, 6, 1, 8000, 8)) +
                   qotest::Chunk("data", std::string(100, 'x')))));
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;
  } cases[] = {
      {{dir.File("alaw.wav")},
       1,
       "qobase: " + dir.File("alaw.wav") + ": unsupported sample format: A-law, 8-bit\n"},
      {{dir.File("silent.wav"), "--svg", dir.File("silent.wav")},
       1,
       "qobase: " + dir.File("silent.wav") +
           ": is an input of this command; write the result to another file\n"},
      {{dir.File("silent.wav"), "--size", "1001"}, 2, "qobase spectrum: --size must be even\n"},
      {{dir.File("silent.wav"), "--window", "kaiser"}, 2, "qobase spectrum: --window: kaiser"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"spectrum"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    SCOPED_TRACE(args.back());
    const qotest::RunResult run = RunQobase(args);
    EXPECT_EQ(run.exitCode, c.code);
    EXPECT_EQ(run.err.substr(0, c.err.size()), c.err);
    if (c.code == 2) {
      EXPECT_NE(run.err.find("usage: qobase spectrum FILE"), std::string::npos);
    }
  }
}

// A long analysis stopped by Ctrl-C ends with exit code 130 and writes no plot. The file is
// sparse: 1.2 GB of silence that takes no room on the disk.
TEST(QobaseSpectrum, CtrlCStopsALongAnalysisWithoutOutput) {
  qotest::TempDir dir;
  const std::string path = dir.File("long.wav");
  const uint32_t dataSize = 1200u * 1000 * 1000;
  std::string head = qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 44100, 16)) +
                                  qotest::ChunkWithSize("data", dataSize, ""));
  head.replace(4, 4, qotest::U32(static_cast<uint32_t>(head.size() - 8 + dataSize)));
  ASSERT_TRUE(qotest::WriteFileBytes(path, head));
  ASSERT_EQ(::truncate(path.c_str(), static_cast<off_t>(head.size() + dataSize)), 0);

  static const char k_script[] = R"(
import signal, subprocess, sys, time
program = subprocess.Popen(sys.argv[1:], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
time.sleep(0.5)
program.send_signal(signal.SIGINT)
out, err = program.communicate()
sys.stdout.write("%d|%s|%s" % (program.returncode, out.decode(), err.decode()))
)";
  const qotest::RunResult run = qotest::RunProgram(
      {"python3", "-c", k_script, QOBASE_TOOL_PATH, "spectrum", path, "--svg", dir.File("p.svg")});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "130||qobase: " + path + ": cancelled\n");
  EXPECT_EQ(EntriesIn(dir.Path()), 1u);  // the input alone: no plot, no temporary file
  std::ifstream plot(dir.File("p.svg"));
  EXPECT_FALSE(plot.good());
}
