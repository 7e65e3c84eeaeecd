// `qobase info` over several kinds of file at once: the channel layout by name with each
// channel's name, loops and labelled markers, MIDI headers and tempo maps, and the JSON report
// carrying the same numbers as the text, in input order on several threads.
#include <gtest/gtest.h>

#include <qobase/audio/audio_file_reader.h>
#include <qobase/audio/wav_file_writer.h>

#include <sys/stat.h>

#include <algorithm>
#include <regex>

#include "program_runner.h"
#include "support/midi_builder.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

using qotest::RunQobase;

namespace {

// The text's "   name:  value" lines of one file's block, as "name=value".
std::vector<std::string> TextFacts(const std::string& block) {
  std::vector<std::string> facts;
  std::smatch match;
  for (const std::string& line : qotest::AllMatches(block, "([^\n]*)\n")) {
    if (std::regex_match(line, match, std::regex(" {3}([a-z]+): +(.*)"))) {
      facts.push_back(match[1].str() + "=" + match[2].str());
    } else if (std::regex_match(line, match,
                                std::regex(" +#([0-9]+) at frame ([0-9]+) \"(.*)\""))) {
      facts.push_back("marker=" + match[1].str() + "@" + match[2].str() + ":" + match[3].str());
    } else if (std::regex_match(
                   line, match,
                   std::regex(" +at tick ([0-9]+) \\(([0-9.]+) s\\): ([0-9.]+) bpm"))) {
      facts.push_back("tempo=" + match[1].str() + "@" + match[2].str() + ":" + match[3].str());
    }
  }
  return facts;
}

// The same facts rebuilt from one flattened JSON document, in the text's words.
std::vector<std::string> JsonFacts(const std::vector<std::string>& json) {
  const auto value = [&](const std::string& key) { return qotest::JsonValue(json, key); };
  std::vector<std::string> facts;
  if (value("container") == "MIDI") {
    facts = {"container=Standard MIDI File", "format=" + value("format"),
             "tracks=" + value("tracks"),
             "division=" + value("division") + " ticks per quarter note"};
    int changes = 0;
    while (value("tempoChanges." + std::to_string(changes) + ".tick") != "(none)") ++changes;
    facts.push_back("tempo=" + std::to_string(changes) + " changes");
    for (int i = 0; i < changes; ++i) {
      const std::string item = "tempoChanges." + std::to_string(i) + ".";
      facts.push_back("tempo=" + value(item + "tick") + "@" + value(item + "time") + ":" +
                      value(item + "bpm"));
    }
    facts.push_back("events=" + value("events"));
    facts.push_back("length=" + value("lengthTicks") + " ticks (" + value("duration") + " s)");
    return facts;
  }
  std::string names;
  for (int i = 0; value("channelNames." + std::to_string(i)) != "(none)"; ++i) {
    names += (i ? "," : "") + value("channelNames." + std::to_string(i));
  }
  facts.push_back("layout=" + value("layout") + " (" + names + ")");
  facts.push_back("frames=" + value("frames") + " (" + value("duration") + " s, " +
                  value("dataBytes") + " data bytes)");
  facts.push_back("loop=" + (value("loop.start") == "(none)"
                                 ? std::string("none")
                                 : value("loop.start") + " - " + value("loop.end")));
  int markers = 0;
  while (value("markers." + std::to_string(markers) + ".id") != "(none)") ++markers;
  facts.push_back("markers=" + std::to_string(markers));
  for (int i = 0; i < markers; ++i) {
    const std::string item = "markers." + std::to_string(i) + ".";
    facts.push_back("marker=" + value(item + "id") + "@" + value(item + "frame") + ":" +
                    value(item + "label"));
  }
  return facts;
}

// The text facts the JSON rebuilds: audio files carry container, format and channel lines the
// JSON holds in other words (checked by the format tests), so only the rest is compared.
std::vector<std::string> Comparable(const std::vector<std::string>& facts) {
  std::vector<std::string> kept;
  for (const std::string& fact : facts) {
    const bool audioOnly = fact.rfind("format=", 0) == 0 && fact.find("Hz") != std::string::npos;
    if (!audioOnly && fact.rfind("channels=", 0) != 0 &&
        !(fact.rfind("container=", 0) == 0 && fact != "container=Standard MIDI File")) {
      kept.push_back(fact);
    }
  }
  return kept;
}

}  // namespace

TEST(QobaseInfo, LayoutsMidiAndTheJsonReportMatchTheText) {
  if (!qotest::HaveTool("sox")) GTEST_SKIP() << "no sox";
  qotest::TempDir dir;
  const std::string surround = dir.File("surround.wav"), caf = dir.File("quad.caf");
  qotest::MakeWith(
      {"sox", "-n", "-r", "48000", "-c", "6", "-b", "24", surround, "synth", "0.2", "sine", "300"});
  qotest::MakeWith(
      {"sox", "-n", "-r", "8000", "-c", "1", "-b", "16", caf, "synth", "0.1", "sine", "300"});
  // The library's writer: a loop and labelled markers, one label with a quote to escape.
  const std::string marked = dir.File("marked.wav");
  {
    char verse[] = "Verse \"A\"", hit[] = "hit";
    std::vector<QO_WAVE_MARKER> markers = {{1, 10, sizeof(verse), verse},
                                           {2, 700, sizeof(hit), hit}};
    QoWavFileWriter writer;
    ASSERT_TRUE(writer.Open(zu::Path(marked), false));
    writer.SetFormat(qotest::ExtensibleFormat(2, 16, 8000));
    writer.SetLoopPoints(100, 900);
    writer.SetMarkers(markers);
    std::vector<float> samples(2000, 0.25f);
    ASSERT_TRUE(writer.WriteChunks(QO::k_chunkSmpl | QO::k_chunkCue | QO::k_chunkLIST));
    ASSERT_TRUE(writer.WriteReal32AsPCMData(1000, samples.data()));
    ASSERT_TRUE(writer.Close());
  }
  // 96 ticks per quarter; 120 bpm, then 60 bpm from tick 192 (one second in).
  const std::string midi = dir.File("song.mid");
  ASSERT_TRUE(qotest::WriteFileBytes(
      midi, qotest::MidiFileBytes(1, 96,
                                  {"0 FF 51 03 07 A1 20, 192 FF 51 03 0F 42 40, 0 FF 2F 00",
                                   "0 90 3C 64, 288 80 3C 00, 0 FF 2F 00"})));

  const std::vector<std::string> files = {surround, marked, caf, midi};
  std::vector<std::string> text = {"info", "--jobs", "2"}, json = {"info", "--json"};
  text.insert(text.end(), files.begin(), files.end());
  json.insert(json.end(), files.begin(), files.end());
  const qotest::RunResult textRun = RunQobase(text), jsonRun = RunQobase(json);
  ASSERT_EQ(textRun.exitCode, 0) << textRun.err;
  ASSERT_EQ(jsonRun.exitCode, 0) << jsonRun.err;

  // One block per file, in the order given.
  std::vector<std::string> blocks;
  for (const std::string& file : files) {
    const size_t at = textRun.out.find(file + "\n");
    ASSERT_NE(at, std::string::npos) << file;
    blocks.push_back(textRun.out.substr(at));
  }
  for (size_t i = 0; i + 1 < blocks.size(); ++i) {
    EXPECT_GT(blocks[i].size(), blocks[i + 1].size()) << "out of order: " << files[i];
    blocks[i].resize(blocks[i].size() - blocks[i + 1].size());
  }
  EXPECT_NE(blocks[0].find("   layout:    5.1 (L,R,C,LFE,SL,SR)\n"), std::string::npos)
      << blocks[0];
  EXPECT_NE(blocks[1].find("   layout:    2.0 (L,R)\n"), std::string::npos);
  EXPECT_NE(blocks[1].find("   loop:      100 - 900\n"), std::string::npos);
  EXPECT_NE(blocks[2].find("   layout:    1.0 (C)\n"), std::string::npos) << blocks[2];
  EXPECT_NE(blocks[3].find("   tempo:     2 changes\n"
                           "     at tick 0 (0.000 s): 120.000 bpm\n"
                           "     at tick 192 (1.000 s): 60.000 bpm\n"),
            std::string::npos)
      << blocks[3];
  EXPECT_NE(blocks[3].find("   length:    288 ticks (2.000 s)\n"), std::string::npos);

  const auto documents = qotest::FlattenJsonDocuments(jsonRun.out);
  ASSERT_EQ(documents.size(), files.size());
  for (size_t i = 0; i < files.size(); ++i) {
    SCOPED_TRACE(files[i]);
    EXPECT_EQ(qotest::JsonValue(documents[i], "file"), files[i]);
    EXPECT_EQ(JsonFacts(documents[i]), Comparable(TextFacts(blocks[i])));
  }
  EXPECT_EQ(qotest::JsonValue(documents[1], "markers.0.label"), "Verse \"A\"");
}

// A folder stands for its sound and MIDI files (below it with --recursive); a file that cannot be
// read is reported on its own line while the others are described, and the exit code says so.
TEST(QobaseInfo, FoldersAndFailuresInABatch) {
  qotest::TempDir dir;
  ASSERT_EQ(::mkdir(dir.File("sub").c_str(), 0755), 0);
  const std::string wave = qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                                        qotest::Chunk("data", qotest::Pcm16Samples(80)));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("b.wav"), wave));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("A.WAV"), wave));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("c.mid"), "MThd but no more"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("readme.txt"), "not listed"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("sub/d.wav"), wave));

  const qotest::RunResult flat = RunQobase({"info", dir.Path()});
  EXPECT_EQ(flat.exitCode, 1);
  EXPECT_EQ(qotest::AllMatches(flat.out, "/([^/\n]+)\n   container"),
            (std::vector<std::string>{"A.WAV", "b.wav"}));
  EXPECT_EQ(flat.err.substr(0, dir.File("c.mid").size() + 10),
            "qobase: " + dir.File("c.mid") + ": ")
      << flat.err;
  EXPECT_EQ(std::count(flat.err.begin(), flat.err.end(), '\n'), 1);

  const qotest::RunResult deep = RunQobase({"info", "--recursive", "--jobs", "3", dir.Path()});
  EXPECT_EQ(qotest::AllMatches(deep.out, "/([^/\n]+)\n   container"),
            (std::vector<std::string>{"A.WAV", "b.wav", "d.wav"}));
  EXPECT_EQ(deep.err, flat.err);

  ASSERT_EQ(::mkdir(dir.File("empty").c_str(), 0755), 0);
  const qotest::RunResult empty = RunQobase({"info", dir.File("empty")});
  EXPECT_EQ(empty.exitCode, 1);
  EXPECT_EQ(empty.err, "qobase: " + dir.File("empty") +
                           ": the folder holds no .wav, .wave, .caf, .mid, .midi files "
                           "(--recursive looks into its folders)\n");
}
