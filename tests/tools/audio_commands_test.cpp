// `qobase addmarkers` and `qobase info` on files made by sox, by libsndfile's programs, by the
// library and by hand: markers added, everything else kept byte for byte, formats named as the
// other tools name them, and refusals where an edit would change the sound or lose a chunk.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>

#include <qobase/audio/wav_file_writer.h>

#include "program_runner.h"
#include "support/temp_dir.h"
#include "support/wav_builder.h"
#include "support/wav_edit_fixtures.h"

using qotest::RunQobase;

namespace {

struct RiffChunk {
  std::string id, bytes;  // bytes: head, body and pad byte as in the file
};

// The chunks of a little-endian RIFF file in order (empty when it is not one).
std::vector<RiffChunk> Chunks(const std::string& file) {
  std::vector<RiffChunk> chunks;
  if (file.size() < 12 || file.compare(0, 4, "RIFF") != 0) return chunks;
  for (size_t at = 12; at + 8 <= file.size();) {
    const uint32_t size = static_cast<uint8_t>(file[at + 4]) |
                          static_cast<uint8_t>(file[at + 5]) << 8 |
                          static_cast<uint8_t>(file[at + 6]) << 16 |
                          static_cast<uint32_t>(static_cast<uint8_t>(file[at + 7])) << 24;
    const size_t length = std::min<size_t>(8 + size + (size & 1), file.size() - at);
    chunks.push_back({file.substr(at, 4), file.substr(at, length)});
    at += length;
  }
  return chunks;
}

std::string ChunkIds(const std::vector<RiffChunk>& chunks) {
  std::string ids;
  for (const RiffChunk& chunk : chunks) ids += (ids.empty() ? "" : " ") + chunk.id;
  return ids;
}

// The chunks the editor does not write itself, which must come out unchanged and in order.
std::vector<RiffChunk> KeptChunks(const std::vector<RiffChunk>& chunks) {
  std::vector<RiffChunk> kept;
  for (const RiffChunk& chunk : chunks) {
    const bool labels = chunk.id == "LIST" && chunk.bytes.compare(8, 4, "adtl") == 0;
    if (chunk.id != "cue " && chunk.id != "smpl" && chunk.id != "JUNK" && !labels) {
      kept.push_back(chunk);
    }
  }
  return kept;
}

std::string ToolOutput(const std::vector<std::string>& argv) {
  const qotest::RunResult run = qotest::RunProgram(argv);
  EXPECT_EQ(run.exitCode, 0) << argv[0] << ": " << run.err;
  return run.out + run.err;
}

// The first group of `pattern` in `text`, or "(none)".
std::string Find(const std::string& text, const std::string& pattern) {
  std::smatch match;
  return std::regex_search(text, match, std::regex(pattern)) ? match[1].str() : "(none)";
}

std::string MonoPcm16(unsigned int frames) {
  return qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                      qotest::Chunk("data", qotest::Pcm16Samples(frames)));
}

}  // namespace

TEST(QobaseAddMarkers, AddsLabelledMarkersAndALoop) {
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
  ASSERT_TRUE(qotest::WriteFileBytes(in, MonoPcm16(8000)));
  const qotest::RunResult run = RunQobase(
      {"addmarkers", "--loop", "100:0.5s", in, out, "0.25s:Quarter", "7000", "10:Two words"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, out + ": 3 marker(s) added, 3 in total, loop set\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(qotest::ReadFileBytes(in), MonoPcm16(8000));

  // Written in order of position; IDs in order of the command line.
  qotest::ReadBack back(out, 1);
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.markers,
            (std::vector<std::string>{"3@10:Two words", "1@2000:Quarter", "2@7000:"}));
  EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), std::make_pair(100u, 4000u));
  EXPECT_EQ(back.dataOffset % 16, 0u);
  // The format chunk and the samples exactly as the input has them.
  const std::vector<RiffChunk> chunks = Chunks(qotest::ReadFileBytes(out));
  EXPECT_EQ(ChunkIds(chunks), "fmt  cue  LIST smpl JUNK data");
  EXPECT_EQ(chunks.front().bytes, Chunks(MonoPcm16(8000)).front().bytes);
  EXPECT_EQ(chunks.back().bytes, Chunks(MonoPcm16(8000)).back().bytes);
}

// Files with chunks the editor does not model, and formats it must not rewrite: the output has
// the new markers, and every other chunk byte for byte in its place; sox and libsndfile read it
// as the same sound.
TEST(QobaseAddMarkers, KeepsEveryChunkAndTheFormatItDoesNotChange) {
  if (!qotest::HaveTool("sox") || !qotest::HaveTool("sndfile-info")) GTEST_SKIP() << "no sox";
  qotest::TempDir dir;
  const std::string odd = qotest::Chunk("iXML", "<x/>odd") + qotest::Chunk("zzzz", "after");
  const std::string byHand =
      qotest::Riff(qotest::Chunk("bext", std::string(602, 'b')) +
                   qotest::Chunk("fmt ", qotest::PcmFormatBody(2, 8000, 16)) +
                   qotest::Chunk("fact", qotest::U32(100)) +
                   qotest::Chunk("LIST", "INFO" + qotest::Chunk("INAM", "Take 1")) +
                   qotest::Chunk("data", qotest::Pcm16Samples(200)) + odd);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("hand.wav"), byHand));
  qotest::MakeWith({"sox", "-n", "-r", "8000", "-c", "1", "-e", "u-law", dir.File("mulaw.wav"),
                    "synth", "0.1", "sine", "300"});
  qotest::MakeWith({"sox", "-n", "-r", "8000", "-c", "6", "-b", "32", "-e", "signed-integer",
                    dir.File("six.wav"), "synth", "0.1", "sine", "300"});
  qotest::MakeWith({"sox", "-n", "-r", "8000", "-c", "2", "-b", "32", "-e", "floating-point",
                    dir.File("float.wav"), "synth", "0.1", "sine", "300"});
  qotest::MakeWith({"sndfile-convert", "-pcm24", dir.File("six.wav"), dir.File("sndfile.wav")});

  const std::pair<std::string, unsigned int> files[] = {
      {"hand", 2}, {"mulaw", 1}, {"six", 6}, {"float", 2}, {"sndfile", 6}};
  for (const auto& [name, channels] : files) {
    SCOPED_TRACE(name);
    const std::string in = dir.File(name + ".wav"), out = dir.File(name + "-marked.wav");
    const std::string before = qotest::ReadFileBytes(in);
    const qotest::RunResult run = RunQobase({"addmarkers", in, out, "5:five", "50"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(qotest::ReadFileBytes(in), before);

    const std::vector<RiffChunk> was = Chunks(before), now = Chunks(qotest::ReadFileBytes(out));
    // The format chunk comes first in the output; the other kept chunks keep their order.
    const std::vector<RiffChunk> kept = KeptChunks(now), expected = KeptChunks(was);
    ASSERT_FALSE(kept.empty());
    EXPECT_EQ(kept.front().id, "fmt ");
    ASSERT_EQ(kept.size(), expected.size()) << ChunkIds(kept) << " / " << ChunkIds(expected);
    std::vector<RiffChunk> expectedOrder = expected;
    std::stable_partition(expectedOrder.begin(), expectedOrder.end(),
                          [](const RiffChunk& chunk) { return chunk.id == "fmt "; });
    for (size_t i = 0; i < kept.size(); ++i) {
      EXPECT_EQ(kept[i].bytes, expectedOrder[i].bytes) << kept[i].id;
    }
    qotest::ReadBack back(out, channels);
    EXPECT_EQ(back.markers, (std::vector<std::string>{"1@5:five", "2@50:"}));

    // The other tools see the same encoding, channel mask and length as in the input.
    const std::string soxIn = ToolOutput({"sox", "--i", in}),
                      soxOut = ToolOutput({"sox", "--i", out});
    EXPECT_EQ(Find(soxOut, "Sample Encoding: ([^\n]+)"), Find(soxIn, "Sample Encoding: ([^\n]+)"));
    EXPECT_EQ(Find(soxOut, "= ([0-9]+) samples"), Find(soxIn, "= ([0-9]+) samples"));
    const std::string maskIn =
        Find(ToolOutput({"sndfile-info", in}), "Channel Mask  : (0x[0-9A-F]+)");
    EXPECT_EQ(Find(ToolOutput({"sndfile-info", out}), "Channel Mask  : (0x[0-9A-F]+)"), maskIn);
  }
  EXPECT_EQ(ChunkIds(Chunks(qotest::ReadFileBytes(dir.File("hand-marked.wav")))),
            "fmt  bext fact LIST cue  LIST JUNK data iXML zzzz");
}

TEST(QobaseAddMarkers, RefusesWhatItCannotKeepOrPlace) {
  qotest::TempDir dir;
  const std::string withText = qotest::Riff(
      qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
      qotest::Chunk("cue ", qotest::CueBody({4})) +
      qotest::Chunk("LIST", "adtl" + qotest::LablChunk(1, "a") +
                                qotest::Chunk("ltxt", qotest::U32(1) + std::string(16, '\0'))) +
      qotest::Chunk("data", qotest::Pcm16Samples(100)));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("ltxt.wav"), withText));
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("twoloops.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   qotest::Chunk("smpl", qotest::SmplBody(2, 1, 9)) +
                   qotest::Chunk("data", qotest::Pcm16Samples(100)))));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("mono.wav"), MonoPcm16(100)));
  // A copy cut short: the header claims 100 frames, 60 are there.
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("cut.wav"), MonoPcm16(100).substr(0, 44 + 120)));
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("alaw.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::FmtBody(false, 6, 1, 8000, 8)) +
                   qotest::Chunk("data", std::string(100, 'x')))));
  // A size left unset by a streaming writer, and 32-bit integers the compact chunk cannot state.
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("stream.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   qotest::ChunkWithSize("data", 0xFFFFFFFF, qotest::Pcm16Samples(100)))));
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("int32.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 32)) +
                   qotest::Chunk("data", std::string(400, '\x11')))));
  // A RIFF container of another form than WAVE: the editor opens it, the program must not.
  std::string form = qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                                  qotest::Chunk("data", qotest::Pcm16Samples(10)));
  form.replace(8, 4, "WAVX");
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("form.wav"), form));
  // A head named "RIFX" inside a little-endian file.
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("switch.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   qotest::Chunk("RIFX", "abcd", true) +
                   qotest::Chunk("data", qotest::Pcm16Samples(10), true))));
  // Cue IDs up to the highest there is: the next one wraps to 0, which is taken.
  const auto CueRecord = [](uint32_t id, uint32_t frame) {
    return qotest::U32(id) + qotest::U32(frame) + "data" + qotest::U32(0) + qotest::U32(0) +
           qotest::U32(frame);
  };
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("wrap.wav"), qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                                         qotest::Chunk("cue ", qotest::U32(2) + CueRecord(0, 0) +
                                                                   CueRecord(0xFFFFFFFF, 5)) +
                                         qotest::Chunk("data", qotest::Pcm16Samples(10)))));
  // Two data chunks: which one holds the sound depends on the reader.
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("twodata.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   qotest::Chunk("data", qotest::Pcm16Samples(10)) +
                   qotest::Chunk("data", qotest::Pcm16Samples(20)))));
  const std::string lossless = ": cannot be edited without loss: ";
  const std::string cut = dir.File("cut.wav") +
                          ": warning: the data chunk is cut short: it holds 60 of the 100 frames "
                          "its header gives; only those are copied\n";
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;
  } cases[] = {
      {{"ltxt.wav", "out.wav", "1"},
       1,
       "ltxt.wav" + lossless +
           "its label list holds entries other than labels (such as 'ltxt' or 'note'), which the "
           "editor cannot write back\n"},
      {{"twoloops.wav", "out.wav", "1"},
       1,
       "twoloops.wav" + lossless + "its sampler chunk has more than one loop\n"},
      {{"--compact", "alaw.wav", "out.wav", "1"},
       1,
       "alaw.wav" + lossless +
           "--compact can only state integer PCM; leave it out to keep the format as it is\n"},
      {{"--compact", "int32.wav", "out.wav", "1"},
       1,
       "int32.wav" + lossless +
           "--compact would turn 32-bit integer samples into float ones (the compact format "
           "chunk takes every 32-bit format for float); leave it out to keep them integers\n"},
      {{"stream.wav", "out.wav", "1"},
       1,
       "stream.wav: its data chunk claims more bytes than a WAVE file can hold (a size left unset "
       "by a program that wrote it as a stream); rewrite it with its real size first\n"},
      {{"form.wav", "out.wav", "1"}, 1, "form.wav: not a RIFF/RIFX WAVE file\n"},
      {{"switch.wav", "out.wav", "1"},
       1,
       "switch.wav" + lossless +
           "a chunk named 'RIFX' inside it makes the chunks after it read big-endian, which a "
           "file written in one byte order cannot keep\n"},
      {{"twodata.wav", "out.wav", "1"},
       1,
       "twodata.wav" + lossless + "it has a second 'data' chunk the editor cannot merge\n"},
      {{"wrap.wav", "out.wav", "1"},
       1,
       "out.wav: a new marker would get cue ID 0, which the source already uses (cue IDs are "
       "numbered on from its highest, wrapping after 4294967295)\n"},
      {{"mono.wav", "out.wav", "100"},
       1,
       "mono.wav: time 100 is past the last frame (the file has 100 frames)\n"},
      {{"--loop", "10:0.1s", "mono.wav", "out.wav"},
       1,
       "mono.wav: time 0.1s is past the last frame (the file has 100 frames)\n"},
      {{"cut.wav", "out.wav", "60"},
       1,
       cut + "qobase: " + dir.File("cut.wav") +
           ": time 60 is past the last frame (the file has 60 frames)\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.front());
    std::vector<std::string> args{"addmarkers"};
    for (const std::string& arg : c.args) {
      args.push_back(arg.find(".wav") != std::string::npos ? dir.File(arg) : arg);
    }
    const qotest::RunResult run = RunQobase(args);
    EXPECT_EQ(run.exitCode, c.code);
    EXPECT_EQ(run.err, "qobase: " + (c.err.rfind(dir.Path(), 0) == 0 ? c.err : dir.File(c.err)));
    EXPECT_EQ(run.out, "");
  }
  // A marker on the frames that are there goes in, with the warning; the copy holds them.
  const qotest::RunResult kept =
      RunQobase({"addmarkers", dir.File("cut.wav"), dir.File("cut2.wav"), "59"});
  EXPECT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_EQ(kept.err, "qobase: " + cut);
  qotest::ReadBack back(dir.File("cut2.wav"), 1);
  EXPECT_EQ(back.samples.size(), 60u);
  EXPECT_FALSE(std::ifstream(dir.File("out.wav")).good());
}

// What `info` reports, beside what sox and sndfile-info report for the same files.
TEST(QobaseInfo, NamesFormatsAndMasksAsTheOtherToolsDo) {
  if (!qotest::HaveTool("sox") || !qotest::HaveTool("sndfile-info")) GTEST_SKIP() << "no sox";
  qotest::TempDir dir;
  const struct {
    std::string name;
    std::vector<std::string> soxFormat;
    std::string format, channels;
  } cases[] = {
      {"pcm16.wav",
       {"-c", "2", "-b", "16"},
       "PCM, 16-bit integer",
       "2 channels, speakers FL FR (mask 0x3), by default (the file stores no mask)"},
      {"int32x6.wav",
       {"-c", "6", "-b", "32", "-e", "signed-integer"},
       "extensible (PCM), 32-bit integer",
       "6 channels, speakers FL FR FC LFE BL BR (mask 0x3F), played as FL FR FC LFE SL SR"},
      {"float64.wav",
       {"-c", "1", "-b", "64", "-e", "floating-point"},
       "IEEE float, 64-bit float",
       "1 channel, speakers FC (mask 0x4), by default (the file stores no mask)"},
      {"mulaw.wav",
       {"-c", "1", "-e", "u-law"},
       "\xCE\xBC-law, 8-bit",
       "1 channel, speakers FC (mask 0x4), by default (the file stores no mask)"},
      {"float32.caf",
       {"-c", "2", "-b", "32", "-e", "floating-point"},
       "linear PCM, 32-bit float",
       "2 channels, speakers FL FR (mask 0x3)"},
      {"pcm24.caf",
       {"-c", "1", "-b", "24"},
       "linear PCM, 24-bit integer",
       "1 channel, speakers FC (mask 0x4)"},
      // Samples the reader does not convert are not measured (they once gave "0 (silence)").
      {"float64.caf",
       {"-c", "1", "-b", "64", "-e", "floating-point"},
       "linear PCM, 64-bit float",
       "1 channel, speakers FC (mask 0x4)"},
      {"int8.caf",
       {"-c", "1", "-b", "8", "-e", "signed-integer"},
       "linear PCM, 8-bit integer",
       "1 channel, speakers FC (mask 0x4)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string file = dir.File(c.name);
    std::vector<std::string> make{"sox", "-n", "-r", "8000"};
    make.insert(make.end(), c.soxFormat.begin(), c.soxFormat.end());
    make.insert(make.end(), {file, "synth", "0.25", "sine", "440", "gain", "-6"});
    qotest::MakeWith(make);
    const qotest::RunResult run = RunQobase({"info", "--peak", file});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Find(run.out, "format: +([^\n]+), 8000 Hz"), c.format);
    EXPECT_EQ(Find(run.out, "channels: +([^\n]+)"), c.channels);
    EXPECT_EQ(Find(run.out, "frames: +([0-9]+)"),
              Find(ToolOutput({"sox", "--i", file}), "= ([0-9]+) samples"));
    const std::string mask =
        Find(ToolOutput({"sndfile-info", file}), "Channel Mask  : (0x[0-9A-F]+)");
    if (mask != "(none)") {
      EXPECT_NE(run.out.find("(mask " + mask + ")"), std::string::npos) << run.out;
    }
    // Samples decode to the level sox measures (32-bit integers once came out as garbage floats).
    const std::string peak = Find(run.out, "peak: +([0-9.]+) ");
    const bool decoded = c.format.find("64-bit") == std::string::npos &&
                         c.format.find(" 8-bit") == std::string::npos;
    EXPECT_EQ(peak != "(none)", decoded) << run.out;
    if (peak != "(none)") {
      // sox misreads float CAF; libsndfile turns it into a WAVE file sox measures right.
      std::string measured = file;
      if (c.name.find(".caf") != std::string::npos) {
        measured = file + ".wav";
        qotest::MakeWith({"sndfile-convert", file, measured});
      }
      const std::string soxPeak =
          Find(ToolOutput({"sox", measured, "-n", "stat"}), "Maximum amplitude: +([0-9.]+)");
      EXPECT_NEAR(std::atof(peak.c_str()), std::atof(soxPeak.c_str()), 1e-4);
    }
  }
  // `wavinfo` is the same command; what is neither WAVE nor CAF is refused.
  EXPECT_EQ(RunQobase({"wavinfo", dir.File("pcm16.wav")}).out,
            RunQobase({"info", dir.File("pcm16.wav")}).out);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("text.wav"), "not audio at all"));
  EXPECT_EQ(RunQobase({"info", dir.File("text.wav")}).err,
            "qobase: " + dir.File("text.wav") + ": not a WAVE (RIFF/RIFX), CAF or MIDI file\n");
}

// The library's own format records, which carry no published mask or sub-format: the compact
// chunk `addmarkers --compact` writes and the 44-byte record of the library's writer are named,
// and their samples measured, as the library reads them; an extensible file of a sub-format the
// library does not know keeps its mask and claims no other speakers.
TEST(QobaseInfo, NamesTheLibrarysOwnRecords) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("stereo.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(2, 8000, 16)) +
                   qotest::Chunk("data", qotest::Pcm16Samples(200)))));
  ASSERT_EQ(
      RunQobase({"addmarkers", "--compact", dir.File("stereo.wav"), dir.File("compact.wav"), "5"})
          .exitCode,
      0);
  QoWavFileWriter writer;
  ASSERT_TRUE(writer.Open(zu::Path(dir.File("record.wav")), false));
  writer.SetFormat(qotest::ExtensibleFormat(2, 32, 8000));
  std::vector<float> samples = {0.5f, -0.25f, 0.125f, 0.0f};
  ASSERT_TRUE(writer.WriteChunks(0));
  ASSERT_TRUE(writer.WriteReal32AsPCMData(2, samples.data()));
  ASSERT_TRUE(writer.Close());
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("adpcm.wav"),
      qotest::Riff(
          qotest::Chunk("fmt ", qotest::StandardExtensibleBody(
                                    false, 1, 8000, 16, 16, 4,
                                    {2, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}})) +
          qotest::Chunk("data", qotest::Pcm16Samples(10)))));
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("nomask.wav"),
      qotest::Riff(qotest::Chunk("fmt ", qotest::StandardExtensibleBody(false, 2, 8000, 16, 16, 0,
                                                                        ks_dataformat_pcm)) +
                   qotest::Chunk("data", qotest::Pcm16Samples(200)))));
  const struct {
    std::string file, format, channels, peak;
  } cases[] = {
      // A published extensible file that names no speakers says so.
      {"nomask.wav", "extensible (PCM), 16-bit integer",
       "2 channels, speakers none (mask 0x0), played as FL FR", "0.006104"},
      {"compact.wav", "extensible (QOBase compact record, PCM), 16-bit integer",
       "2 channels, speakers FL FR (mask 0x3)", "0.006104"},
      {"record.wav", "extensible (QOBase 44-byte record, IEEE float), 32-bit float",
       "2 channels, speakers FL FR (mask 0x3)", "0.500000 (-6.02 dBFS)"},
      {"adpcm.wav",
       "extensible (sub-format {00000002-0000-0010-8000-00AA00389B71}, not decoded), 16-bit",
       "1 channel, speakers FC (mask 0x4)", "(none)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const qotest::RunResult run = RunQobase({"info", "--peak", dir.File(c.file)});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Find(run.out, "format: +([^\n]+), 8000 Hz"), c.format);
    EXPECT_EQ(Find(run.out, "channels: +([^\n]+)"), c.channels);
    EXPECT_EQ(Find(run.out, "peak: +([0-9][^\n]+)").substr(0, c.peak.size()), c.peak);
  }
}

// Where the data chunk's head, the file and the RIFF size disagree, info says so beside what the
// library reads: a copy cut short, a RIFF size ending inside the samples (sox and libsndfile play
// all of them), and a size left unset by a streaming writer.
TEST(QobaseInfo, WarnsWhereTheDataChunkAndTheFileDisagree) {
  qotest::TempDir dir;
  std::string riffShort = MonoPcm16(100);
  riffShort.replace(4, 4, qotest::U32(4 + 24 + 8 + 20));
  // Two channels whose mask has a third bit beyond the speakers the count is checked against.
  const std::string maskedStereo = qotest::Riff(
      qotest::Chunk("fmt ", qotest::StandardExtensibleBody(false, 2, 8000, 16, 16, 0x80000003,
                                                           ks_dataformat_pcm)) +
      qotest::Chunk("data", qotest::Pcm16Samples(1200)));
  const struct {
    std::string name, bytes, frames, warning;
  } cases[] = {
      {"mask.wav", maskedStereo, "400",
       "the library reads 3 channels from the channel mask, where the format chunk gives 2 "
       "channels (as other programs read it)"},
      {"cut.wav", MonoPcm16(100).substr(0, 44 + 120), "60",
       "the data chunk is cut short: it holds 60 of the 100 frames its header gives"},
      {"riff.wav", riffShort, "10",
       "the RIFF size ends inside the data chunk: the library reads 10 of the 100 frames it "
       "holds, which other programs play"},
      {"stream.wav",
       qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                    qotest::ChunkWithSize("data", 0xFFFFFFFF, qotest::Pcm16Samples(30))),
       "30",
       "the data chunk's size is unset (0xFFFFFFFF, as a program writing a stream leaves it): it "
       "holds 30 frames"},
      {"whole.wav", MonoPcm16(100), "100", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(c.name), c.bytes));
    const qotest::RunResult run = RunQobase({"info", dir.File(c.name)});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(Find(run.out, "frames: +([0-9]+)"), c.frames);
    EXPECT_EQ(run.err, c.warning.empty()
                           ? ""
                           : "qobase: " + dir.File(c.name) + ": warning: " + c.warning + "\n");
  }
  // addmarkers counts the frames the format chunk gives: 600 stereo frames, not 400.
  const qotest::RunResult marked =
      RunQobase({"addmarkers", dir.File("mask.wav"), dir.File("marked.wav"), "599"});
  EXPECT_EQ(marked.exitCode, 0) << marked.err;
}
