// `qobase onsets` as a user runs it: the hits of a synthesised sound found at their times, the
// marked copy opened by libsndfile and sox with the same samples and visible cue points, the plot
// rendered by rsvg-convert, the JSON report carrying the numbers of the text, batches over
// folders on several threads in input order, and the refusals.
#include <gtest/gtest.h>

#include <dirent.h>

#include <cmath>
#include <cstdlib>
#include <regex>

#include "program_runner.h"
#include "support/audio_synth.h"
#include "support/temp_dir.h"
#include "support/wav_builder.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

#ifdef QOBASE_HAVE_SNDFILE
#include <sndfile.h>
#endif

using qotest::RunQobase;

namespace {

constexpr unsigned int k_rate = 44100;

// Silence with a decaying noise burst at each time (seconds); the second channel at half level.
std::vector<float> Hits(unsigned int channels, double seconds, const std::vector<double>& times,
                        uint32_t seed = 7) {
  const size_t frames = static_cast<size_t>(seconds * k_rate);
  std::vector<float> samples(frames * channels, 0.0f);
  const std::vector<float> noise = qotest::Noise(frames, 0.8f, seed);
  for (const double time : times) {
    const size_t start = static_cast<size_t>(time * k_rate);
    for (size_t i = 0; i < k_rate / 10 && start + i < frames; ++i) {
      const float level = std::exp(-static_cast<float>(i) / (0.015f * k_rate));
      for (unsigned int c = 0; c < channels; ++c) {
        samples[(start + i) * channels + c] = noise[start + i] * level / (c + 1.0f);
      }
    }
  }
  return samples;
}

// Written by the library's writer (its own 44-byte format record).
bool WriteHits(const std::string& path, unsigned int channels, double seconds,
               const std::vector<double>& times, uint32_t seed = 7) {
  return qotest::WriteWavSamples(path, static_cast<uint16_t>(channels), 16, k_rate,
                                 Hits(channels, seconds, times, seed));
}

// A plain PCM file with the 16-byte format chunk every program reads.
bool WritePlainHits(const std::string& path, unsigned int channels, double seconds,
                    const std::vector<double>& times) {
  std::string data;
  for (const float sample : Hits(channels, seconds, times)) {
    data += qotest::U16(static_cast<uint16_t>(static_cast<int16_t>(sample * 32767.0f)));
  }
  return qotest::WriteFileBytes(
      path, qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(channels, k_rate, 16)) +
                         qotest::Chunk("data", data)));
}

std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  if (DIR* dir = opendir(folder.c_str())) {
    while (const dirent* entry = readdir(dir)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

#ifdef QOBASE_HAVE_SNDFILE
struct SndfileView {
  bool ok = false;
  std::vector<short> samples;
  std::vector<uint32_t> cues;
};

SndfileView OpenWithSndfile(const std::string& path) {
  SndfileView view;
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file) return view;
  view.samples.resize(static_cast<size_t>(info.frames * info.channels));
  view.ok = sf_readf_short(file, view.samples.data(), info.frames) == info.frames;
  uint32_t count = 0;
  if (sf_command(file, SFC_GET_CUE_COUNT, &count, sizeof count) == SF_TRUE && count <= 100) {
    SF_CUES cues{};
    if (sf_command(file, SFC_GET_CUE, &cues, sizeof cues) == SF_TRUE) {
      for (uint32_t i = 0; i < cues.cue_count; ++i) {
        view.cues.push_back(cues.cue_points[i].sample_offset);
      }
    }
  }
  sf_close(file);
  return view;
}
#endif

}  // namespace

TEST(QobaseOnsets, FindsTheHitsAndStoresThemAsLabelledMarkers) {
  qotest::TempDir dir;
  const std::string in = dir.File("hits.wav"), out = dir.File("marked.wav");
  const std::vector<double> hits = {0.25, 0.75, 1.3, 1.62};
  ASSERT_TRUE(WritePlainHits(in, 2, 2.0, hits));
  const std::string before = qotest::ReadFileBytes(in);

  const qotest::RunResult run =
      RunQobase({"onsets", in, "--markers", out, "--svg", dir.File("plot.svg"), "--jobs", "1"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(qotest::ReadFileBytes(in), before);
  const std::vector<std::string> times = qotest::AllMatches(run.out, " ([0-9.]+) s  frame");
  const std::vector<std::string> frames = qotest::AllMatches(run.out, "frame ([0-9]+)\n");
  ASSERT_EQ(times.size(), hits.size()) << run.out;
  ASSERT_EQ(frames.size(), hits.size());
  std::vector<std::string> expectedMarkers;
  for (size_t i = 0; i < hits.size(); ++i) {
    // A marker comes a little before the attack it marks, never after it.
    const double time = std::atof(times[i].c_str());
    EXPECT_LE(time, hits[i] + 0.001) << i;
    EXPECT_GE(time, hits[i] - 0.03) << i;
    EXPECT_EQ(std::stoul(frames[i]), std::lround(time * k_rate));
    expectedMarkers.push_back(std::to_string(i + 1) + "@" + frames[i] + ":Onset " +
                              std::to_string(i + 1));
  }
  EXPECT_NE(run.out.find("markers: " + out + " (4 added, 4 in total)"), std::string::npos);

  qotest::ReadBack ours(out, 2), source(in, 2);
  ASSERT_TRUE(ours.ok);
  EXPECT_EQ(ours.markers, expectedMarkers);
  EXPECT_EQ(ours.samples, source.samples);
#ifdef QOBASE_HAVE_SNDFILE
  const SndfileView theirs = OpenWithSndfile(out), original = OpenWithSndfile(in);
  ASSERT_TRUE(theirs.ok);
  ASSERT_TRUE(original.ok);
  EXPECT_EQ(theirs.samples, original.samples);
  std::vector<uint32_t> expectedCues;
  for (const std::string& frame : frames) expectedCues.push_back(std::stoul(frame));
  EXPECT_EQ(theirs.cues, expectedCues);
#endif
  if (qotest::HaveTool("sox")) {
    const qotest::RunResult sox = qotest::RunProgram({"sox", "--i", "-s", out});
    EXPECT_EQ(sox.exitCode, 0) << sox.err;
    EXPECT_EQ(sox.out, "88200\n");
  }

  // The plot renders at the size of two lanes, with one line per onset.
  ASSERT_TRUE(qotest::RenderSvg(dir.File("plot.svg"), dir.File("plot.png")));
  EXPECT_EQ(qotest::PngSize(dir.File("plot.png")), std::make_pair(1000u, 384u));
  const std::string svg = qotest::ReadFileBytes(dir.File("plot.svg"));
  EXPECT_EQ(qotest::AllMatches(svg, "<line[^>]*(stroke=\"#d62728\")").size(), hits.size());
  EXPECT_EQ(qotest::AllMatches(svg, ">(L|R)</text>"), (std::vector<std::string>{"L", "R"}));

  // A marked file marked again keeps the first markers and numbers the new labels afresh.
  const qotest::RunResult again =
      RunQobase({"onsets", out, "--markers", dir.File("twice.wav"), "--sensitivity", "0.5"});
  ASSERT_EQ(again.exitCode, 0) << again.err;
  qotest::ReadBack twice(dir.File("twice.wav"), 2);
  ASSERT_GT(twice.markers.size(), hits.size());
  EXPECT_EQ(std::vector<std::string>(twice.markers.begin(), twice.markers.begin() + 1),
            std::vector<std::string>{expectedMarkers[0]});
}

// The JSON report parses, and carries the numbers the text shows.
TEST(QobaseOnsets, JsonReportCarriesTheNumbersOfTheText) {
  qotest::TempDir dir;
  ASSERT_TRUE(WriteHits(dir.File("a.wav"), 1, 1.5, {0.3, 0.9}));
  ASSERT_TRUE(WriteHits(dir.File("b.wav"), 2, 1.0, {0.5}));
  const std::vector<std::string> files = {dir.File("a.wav"), dir.File("b.wav")};
  const qotest::RunResult text = RunQobase({"onsets", files[0], files[1]});
  const qotest::RunResult json = RunQobase({"onsets", "--json", files[0], files[1]});
  ASSERT_EQ(text.exitCode, 0) << text.err;
  ASSERT_EQ(json.exitCode, 0) << json.err;
  const auto documents = qotest::FlattenJsonDocuments(json.out);
  ASSERT_EQ(documents.size(), 2u);
  std::vector<std::string> fromJson;
  for (const auto& document : documents) {
    fromJson.push_back(qotest::JsonValue(document, "file") + ": " +
                       qotest::JsonValue(document, "sampleRate") + " " +
                       qotest::JsonValue(document, "channels"));
    for (int i = 0;
         qotest::JsonValue(document, "onsets." + std::to_string(i) + ".time") != "(none)"; ++i) {
      const std::string item = "onsets." + std::to_string(i) + ".";
      fromJson.push_back(qotest::JsonValue(document, item + "time") + " s  frame " +
                         qotest::JsonValue(document, item + "frame"));
    }
  }
  std::vector<std::string> fromText;
  std::smatch match;
  for (const std::string& line : qotest::AllMatches(text.out, "([^\n]+)\n")) {
    if (std::regex_match(line, match, std::regex("(.*): [0-9]+ onsets? .*"))) {
      fromText.push_back(match[1].str() + ": 44100 " + (match[1].str() == files[0] ? "1" : "2"));
    } else if (std::regex_match(line, match, std::regex(" +[0-9]+  (.*)"))) {
      fromText.push_back(match[1].str());
    }
  }
  EXPECT_EQ(fromJson, fromText) << text.out;
  EXPECT_EQ(fromJson.size(), 5u);
}

// A folder of files on two threads prints exactly what one thread prints; a failed file is
// reported on its own line and the rest go on; marked copies go into one folder.
TEST(QobaseOnsets, BatchKeepsInputOrderAndGoesOnPastFailures) {
  qotest::TempDir dir;
  const std::string folder = dir.File("sounds");
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  ASSERT_EQ(::mkdir((folder + "/deeper").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(dir.File("copies").c_str(), 0755), 0);
  for (int i = 0; i < 6; ++i) {
    ASSERT_TRUE(WriteHits(folder + "/take" + std::to_string(i) + ".wav", 1, 0.6 + 0.1 * i,
                          {0.1, 0.35 + 0.05 * i}, static_cast<uint32_t>(i + 1)));
  }
  ASSERT_TRUE(WriteHits(folder + "/deeper/inner.wav", 2, 0.8, {0.4}));
  ASSERT_TRUE(qotest::WriteFileBytes(folder + "/take3b.wav", "not a wave file"));
  ASSERT_TRUE(qotest::WriteFileBytes(folder + "/notes.txt", "skipped: not a sound"));

  const std::vector<std::string> args = {"onsets", folder, dir.File("missing.wav"), "--recursive"};
  std::vector<std::string> one = args, two = args;
  one.insert(one.end(), {"--jobs", "1"});
  two.insert(two.end(), {"--jobs", "2", "--markers-dir", dir.File("copies")});
  const qotest::RunResult serial = RunQobase(one), parallel = RunQobase(two);
  EXPECT_EQ(serial.exitCode, 1);
  EXPECT_EQ(parallel.exitCode, 1);
  EXPECT_EQ(serial.err, "qobase: " + folder + "/take3b.wav: not a RIFF/RIFX WAVE or CAF file\n" +
                            "qobase: " + dir.File("missing.wav") + ": No such file or directory\n");
  EXPECT_EQ(parallel.err, serial.err);
  const std::vector<std::string> heads = qotest::AllMatches(serial.out, "([^\n]+): [0-9]+ onset");
  EXPECT_EQ(heads, (std::vector<std::string>{folder + "/deeper/inner.wav", folder + "/take0.wav",
                                             folder + "/take1.wav", folder + "/take2.wav",
                                             folder + "/take3.wav", folder + "/take4.wav",
                                             folder + "/take5.wav"}));
  // The same report, plus where each copy went.
  EXPECT_EQ(std::regex_replace(parallel.out, std::regex("  markers: [^\n]*\n"), ""), serial.out);
  EXPECT_EQ(FilesIn(dir.File("copies")),
            (std::vector<std::string>{"inner.wav", "take0.wav", "take1.wav", "take2.wav",
                                      "take3.wav", "take4.wav", "take5.wav"}));
  qotest::ReadBack copy(dir.File("copies/take2.wav"), 1);
  EXPECT_EQ(copy.markers.size(), 2u);

  // Two inputs of one name cannot share the folder: the second fails, the first is written.
  ASSERT_TRUE(WriteHits(dir.File("inner.wav"), 1, 0.5, {0.2}));
  const qotest::RunResult clash = RunQobase({"onsets", "--markers-dir", dir.File("copies"),
                                             folder + "/deeper/inner.wav", dir.File("inner.wav")});
  EXPECT_EQ(clash.exitCode, 1);
  EXPECT_EQ(clash.err, "qobase: " + dir.File("inner.wav") + ": has the same name as " + folder +
                           "/deeper/inner.wav, whose marked copy is written to " +
                           dir.File("copies") + "\n");
}

TEST(QobaseOnsets, RefusesBadInputsOutputsAndUsage) {
  qotest::TempDir dir;
  const std::string good = dir.File("good.wav");
  ASSERT_TRUE(WriteHits(good, 1, 0.5, {0.2}));
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("eight.wav"), qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 8)) +
                                          qotest::Chunk("data", std::string(8000, '\x80')))));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("text.wav"), "RIFX but not really"));
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;  // exact line for failures, the start for usage errors
  } cases[] = {
      {{dir.File("eight.wav")},
       1,
       "qobase: " + dir.File("eight.wav") + ": unsupported sample format: 8-bit integer\n"},
      {{dir.File("text.wav")},
       1,
       "qobase: " + dir.File("text.wav") + ": not a RIFF/RIFX WAVE or CAF file\n"},
      {{dir.File("nothing.wav")},
       1,
       "qobase: " + dir.File("nothing.wav") + ": No such file or directory\n"},
      {{good, "--markers", good},
       1,
       "qobase: " + good + ": is an input of this command; write the result to another file\n"},
      {{good, "--svg", dir.Path()}, 1, "qobase: " + dir.Path() + ": is a directory, not a file\n"},
      {{good, good, "--markers", dir.File("x.wav")},
       2,
       "qobase onsets: --markers and --svg take one input file"},
      {{good, "--markers", dir.File("x.wav"), "--svg", dir.File("x.wav")},
       2,
       "qobase onsets: --markers and --svg name the same file"},
      {{good, "--sensitivity", "2"}, 2, "qobase onsets: --sensitivity: Value 2 not in range"},
      {{good, "--jobs", "0"}, 2, "qobase onsets: --jobs: Value 0 not in range"},
      {{}, 2, "qobase onsets: FILE is required"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"onsets"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    SCOPED_TRACE(args.size() > 1 ? args[1] + " " + args.back() : "");
    const qotest::RunResult run = RunQobase(args);
    EXPECT_EQ(run.exitCode, c.code);
    if (c.code == 1) {
      EXPECT_EQ(run.err, c.err);
    } else {
      EXPECT_EQ(run.err.substr(0, c.err.size()), c.err) << run.err;
      EXPECT_NE(run.err.find("usage: qobase onsets FILE..."), std::string::npos);
    }
    EXPECT_EQ(run.out, "");
  }
  EXPECT_EQ(FilesIn(dir.Path()), (std::vector<std::string>{"eight.wav", "good.wav", "text.wav"}));
}

// On a terminal the batch shows one progress bar on stderr; elsewhere stderr has none.
TEST(QobaseOnsets, ProgressBarOnlyOnATerminal) {
  if (!qotest::HaveTool("script")) GTEST_SKIP() << "no script(1) for a pseudo-terminal";
  qotest::TempDir dir;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(WriteHits(dir.File("t" + std::to_string(i) + ".wav"), 1, 0.5, {0.2}));
  }
  const std::string command = std::string(QOBASE_TOOL_PATH) + " onsets --jobs 2 " + dir.Path() +
                              " > " + dir.File("out.txt");
  const qotest::RunResult terminal = qotest::RunProgram({"script", "-qec", command, "/dev/null"});
  ASSERT_EQ(terminal.exitCode, 0) << terminal.err;
  EXPECT_NE(terminal.out.find("\r[" + std::string(40, '#') + "] 100%  3/3 files"),
            std::string::npos)
      << terminal.out;
  EXPECT_EQ(qotest::AllMatches(qotest::ReadFileBytes(dir.File("out.txt")), "(t[0-9]).wav: ").size(),
            3u);
  const qotest::RunResult plain = RunQobase({"onsets", "--jobs", "2", dir.Path()});
  EXPECT_EQ(plain.err, "");
}

// Ctrl-C while several threads write marked copies leaves no partial file behind: the finished
// copies are whole, the ones being written are gone.
TEST(QobaseOnsets, InterruptedBatchLeavesNoPartialOutput) {
  qotest::TempDir dir;
  const std::string folder = dir.File("in"), copies = dir.File("out");
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(copies.c_str(), 0755), 0);
  const int files = 40;
  for (int i = 0; i < files; ++i) {
    ASSERT_TRUE(WriteHits(folder + "/long" + std::to_string(i) + ".wav", 1, 3.0, {1.0, 2.0}));
  }
  // Interrupted as soon as the first copy is in place (temporary files start with a dot). A
  // shell would start the program with SIGINT ignored; python leaves it as a terminal would.
  static const char k_script[] = R"(
import os, signal, subprocess, sys, time
copies = sys.argv[2]
program = subprocess.Popen([sys.argv[1], "onsets", "--jobs", "2", "--markers-dir", copies,
                            sys.argv[3]], stdout=subprocess.DEVNULL)
while not [name for name in os.listdir(copies) if not name.startswith(".")]:
    time.sleep(0.002)
program.send_signal(signal.SIGINT)
print(program.wait())
)";
  const qotest::RunResult run =
      qotest::RunProgram({"python3", "-c", k_script, QOBASE_TOOL_PATH, copies, folder});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "-2\n");  // ended by SIGINT
  const std::vector<std::string> left = FilesIn(copies);
  EXPECT_LT(left.size(), static_cast<size_t>(files));
  for (const std::string& name : left) {
    EXPECT_NE(name[0], '.') << "partial output left: " << name;
    qotest::ReadBack copy(copies + "/" + name, 1);
    EXPECT_TRUE(copy.ok) << name;
    EXPECT_EQ(copy.samples.size(), 3u * k_rate) << name;
  }
}
