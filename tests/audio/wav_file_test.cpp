// QoWavFile: loading a WAVE file's chunks, adding markers, labels and a loop, and writing a new
// file chunk by chunk that the reader takes back with the same samples.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/result_code.h>

#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

constexpr unsigned int k_frames = 3000;

// A 16-bit stereo file written by our writer, with one labelled marker and a loop when asked.
void WriteSource(const std::string& path, bool withMarkers, std::vector<short>& samples) {
  samples.resize(k_frames * 2);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<short>((i * 37) % 65536 - 32768);
  QoWavFileWriter writer;
  ASSERT_TRUE(writer.Open(zu::Path(path), false));
  WaveFormatExtensible format = {0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 3)};
  writer.SetFormat(format);
  if (withMarkers) {
    char label[] = "Old";
    writer.SetMarkers({QO_WAVE_MARKER{1, 10, 4, label}});
    writer.SetLoopPoints(100, 2000);
  }
  ASSERT_TRUE(writer.WriteChunks(withMarkers ? 0x1C : 0));
  ASSERT_TRUE(writer.WriteInt16AsPCMData(k_frames, samples.data()));
  ASSERT_TRUE(writer.Close());
}

struct Marker {
  uint32_t id, position;
  std::string label;
  bool operator==(const Marker& o) const { return id == o.id && position == o.position && label == o.label; }
};

std::ostream& operator<<(std::ostream& os, const Marker& m) { return os << m.id << "@" << m.position << ":" << m.label; }

// Reads a file back with the WAV reader: markers, loop, data offset and samples.
struct ReadBack {
  explicit ReadBack(const std::string& path) {
    QoWavFileReader reader;
    ok = reader.Open(zu::Path(path)) && reader.ReadChunks(0x1F);
    if (!ok) return;
    for (const QO_WAVE_MARKER& m : reader.GetMarkers()) {
      markers.push_back({m.ID, m.position, m.label ? std::string(m.label) : std::string()});
    }
    loopStart = reader.GetLoopStartFrame();
    loopEnd = reader.GetLoopEndFrame();
    dataOffset = reader.GetDataOffset();
    samples.resize(reader.GetNumFrames() * 2);
    reader.SeekToAudioFrame(0);
    frames = reader.ReadPCMDataAsInt16(reader.GetNumFrames(), samples.data());
  }
  bool ok = false;
  std::vector<Marker> markers;
  unsigned int loopStart = 0, loopEnd = 0, dataOffset = 0, frames = 0;
  std::vector<short> samples;
};

// Container, format, cue, label, sampler, filler and data, then the container size.
bool WriteAll(QoWavFile& wav, const std::string& path, bool swap) {
  zu::File out;
  if (out.Open(zu::Path(path), k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  return wav.WriteRiffChunk(out, swap) && wav.WriteFormatChunk(out, swap) && wav.WriteCueChunk(out, swap) &&
         wav.WriteListChunk(out, swap) && wav.WriteSmplChunk(out, swap) && wav.WriteJunkChunk(out, swap) &&
         wav.WriteDataChunk(out, swap) && wav.UpdateRiffChunkSize(out, swap) && out.Close() == QO::k_resultSuccess;
}

}  // namespace

TEST(WavFile, AddsMarkersLabelsAndLoopToAFileOfOurWriter) {
  TempDir dir;
  for (bool withMarkers : {false, true}) {
    SCOPED_TRACE(withMarkers);
    std::vector<short> samples;
    const std::string source = dir.File(withMarkers ? "marked.wav" : "plain.wav");
    WriteSource(source, withMarkers, samples);
    const std::string before = ReadFileBytes(source);

    QoWavFile wav;
    ASSERT_TRUE(wav.Open(zu::Path(source), false));
    EXPECT_EQ(wav.m_cueChunk.IsValid(), withMarkers);
    EXPECT_EQ(wav.m_listChunk.IsValid(), withMarkers);
    EXPECT_EQ(wav.m_smplChunk.IsValid(), withMarkers);
    EXPECT_DOUBLE_EQ(wav.GetFileDuration(), k_frames / 44100.0);
    const unsigned int chorus = wav.m_cueChunk.AddCue(2500);
    wav.m_cueChunk.AddCue(5);
    wav.m_listChunk.AddLabel(chorus, "Chorus");
    EXPECT_TRUE(wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, 300, 2999));
    wav.SortCueChunk();
    const std::string output = dir.File(withMarkers ? "marked_out.wav" : "plain_out.wav");
    ASSERT_TRUE(WriteAll(wav, output, false));
    wav.Close();
    EXPECT_EQ(ReadFileBytes(source), before);

    ReadBack back(output);
    ASSERT_TRUE(back.ok);
    // The file's own marker and loop are kept.
    const std::vector<Marker> added = {{3, 5, ""}, {1, 10, "Old"}, {2, 2500, "Chorus"}}, fresh = {{2, 5, ""}, {1, 2500, "Chorus"}};
    EXPECT_EQ(back.markers, withMarkers ? added : fresh);
    EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), withMarkers ? std::make_pair(100u, 2000u)
                                                                        : std::make_pair(300u, 2999u));
    EXPECT_EQ(back.dataOffset % 16, 0u);
    EXPECT_EQ(back.frames, k_frames);
    EXPECT_EQ(back.samples, samples);
    // The container size covers the whole file.
    const std::string written = ReadFileBytes(output);
    EXPECT_EQ(written.substr(0, 8), "RIFF" + U32(static_cast<uint32_t>(written.size() - 8)));
  }
}

TEST(WavFile, BigEndianFileRoundTrips) {
  TempDir dir;
  const bool be = true;
  std::string samples;
  for (int i = 0; i < 64; ++i) samples += U16(static_cast<uint16_t>(i * 1000), be);
  const std::string file =
      Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16, be), be) + Chunk("cue ", CueBody({7}, be), be) +
               Chunk("LIST", "adtl" + LablChunk(1, "Big", be), be) + Chunk("smpl", SmplBody(1, 3, 60, be), be) +
               Chunk("data", samples, be),
           be);
  ASSERT_TRUE(WriteFileBytes(dir.File("x.wav"), file));
  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("x.wav")), false));
  EXPECT_TRUE(wav.m_riffChunk.NeedSwapRead());
  wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(40), "New");
  ASSERT_TRUE(WriteAll(wav, dir.File("y.wav"), true));
  EXPECT_EQ(ReadFileBytes(dir.File("x.wav")), file);

  ReadBack back(dir.File("y.wav"));
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.markers, (std::vector<Marker>{{1, 7, "Big"}, {2, 40, "New"}}));
  EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), std::make_pair(3u, 60u));
  EXPECT_EQ(back.dataOffset % 16, 0u);
  const std::string written = ReadFileBytes(dir.File("y.wav"));
  EXPECT_EQ(written.substr(0, 4), "RIFX");
  EXPECT_EQ(written.substr(back.dataOffset - 8), Chunk("data", samples, be));
  std::vector<short> expected;
  for (int i = 0; i < 32; ++i) expected.push_back(static_cast<short>(i * 1000));
  EXPECT_EQ(std::vector<short>(back.samples.begin(), back.samples.begin() + 32), expected);
}

TEST(WavFile, CanonicalFileWithFormatAndDataOnly) {
  TempDir dir;
  const std::string samples = Pcm16Samples(20);
  const std::string file = Riff(Chunk("fmt ", PcmFormatBody(2, 8000, 16)) + Chunk("data", samples));
  ASSERT_TRUE(WriteFileBytes(dir.File("c.wav"), file));
  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("c.wav")), false));
  EXPECT_EQ(wav.GetFileHeaderSize(), 44u);
  EXPECT_DOUBLE_EQ(wav.GetFileDuration(), 10 / 8000.0);
  WaveFormatExtensible format;
  ASSERT_TRUE(wav.GetFormat(&format));
  EXPECT_EQ(format.nBlockAlign, 4);
  EXPECT_EQ(format.channelConfig, QO::MakeChannelConfig(2, 1, 3));

  zu::File out;
  ASSERT_EQ(out.Open(zu::Path(dir.File("out.wav")), k_openModeWrite, 0), QO::k_resultSuccess);
  EXPECT_TRUE(wav.WriteCueChunk(out, false));
  EXPECT_TRUE(wav.WriteListChunk(out, false));
  EXPECT_TRUE(wav.WriteSmplChunk(out, false));
  EXPECT_EQ(out.SetFilePointer(0, zu::k_fileCurrent), 0);
  // The filler after a 24-byte format starts at 44 with 4 bytes, so the samples start at 64.
  format.nSamplesPerSec = 16000;
  format.nAvgBytesPerSec = 64000;
  wav.SetFormat(&format);
  ASSERT_TRUE(wav.WriteRiffChunk(out, false));
  ASSERT_TRUE(wav.WriteFormatChunk(out, false));
  ASSERT_TRUE(wav.WriteJunkChunk(out, false));
  ASSERT_TRUE(wav.WriteDataChunk(out, false));
  ASSERT_TRUE(wav.UpdateRiffChunkSize(out, false));
  ASSERT_TRUE(wav.WriteFormatChunkNotExtensible(out, false));
  out.Close();
  const std::string config = U32(QO::MakeChannelConfig(2, 1, 3));
  const std::string compact = U16(0xFFFE) + PcmFormatBody(2, 16000, 16).substr(2) + U16(4) + U16(0) + config;
  EXPECT_EQ(ReadFileBytes(dir.File("out.wav")), "RIFF" + U32(64 + 40 - 8) + "WAVE" + Chunk("fmt ", compact) +
                                                    Chunk("JUNK", std::string(4, '\0')) + Chunk("data", samples) +
                                                    Chunk("fmt ", PcmFormatBody(2, 16000, 16) + U16(4) + U16(0)));
  EXPECT_EQ(ReadFileBytes(dir.File("c.wav")), file);
}

TEST(WavFile, OpenRefusesWhatIsNoUsableWaveFile) {
  TempDir dir;
  const std::string fmt = Chunk("fmt ", PcmFormatBody(1, 8000, 16));
  const std::string data = Chunk("data", Pcm16Samples(4));
  const std::string labels = Chunk("LIST", "adtl" + LablChunk(1, "x"));
  ASSERT_TRUE(WriteFileBytes(dir.File("nodata.wav"), Riff(fmt)));
  ASSERT_TRUE(WriteFileBytes(dir.File("nofmt.wav"), Riff(data)));
  ASSERT_TRUE(WriteFileBytes(dir.File("text.wav"), "just some text, not a sound file"));
  ASSERT_TRUE(WriteFileBytes(dir.File("cut.wav"), Riff(fmt + data).substr(0, 30)));
  ASSERT_TRUE(WriteFileBytes(dir.File("wrap.wav"), Riff(fmt + ChunkWithSize("data", 0xFFFFFFF0u, "ab"))));
  ASSERT_TRUE(WriteFileBytes(dir.File("labels.wav"), Riff(fmt + labels + data)));
  ASSERT_TRUE(WriteFileBytes(dir.File("plain.wav"), Riff(fmt + data)));

  QoWavFile wav;
  EXPECT_TRUE(wav.Open(zu::Path(dir.File("nodata.wav")), true));
  EXPECT_FALSE(wav.m_dataChunk.IsValid());
  EXPECT_EQ(wav.GetFileHeaderSize(), 0u);
  EXPECT_DOUBLE_EQ(wav.GetFileDuration(), 0.0);
  for (const char* name : {"nodata.wav", "nofmt.wav", "text.wav", "cut.wav", "wrap.wav", "missing.wav"}) {
    SCOPED_TRACE(name);
    const std::string before = ReadFileBytes(dir.File(name));
    EXPECT_FALSE(wav.Open(zu::Path(dir.File(name)), false));
    EXPECT_EQ(ReadFileBytes(dir.File(name)), before);
  }
  EXPECT_FALSE(wav.Open(zu::Path(dir.File("nofmt.wav")), true));
  WaveFormatExtensible format;
  EXPECT_FALSE(wav.GetFormat(&format));

  // Labels from one file never leak into the next.
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("labels.wav")), false));
  EXPECT_EQ(wav.m_listChunk.GetLabels().size(), 1u);
  wav.Close();
  EXPECT_FALSE(wav.m_fmtChunk.IsValid());
  EXPECT_FALSE(wav.m_file.IsOpen());
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("plain.wav")), false));
  EXPECT_TRUE(wav.m_listChunk.GetLabels().empty());
  EXPECT_FALSE(wav.m_listChunk.IsValid());

  // Without a file the writers refuse, except the optional chunks, which have nothing to write.
  QoWavFile closed;
  zu::File out;
  ASSERT_EQ(out.Open(zu::Path(dir.File("o.wav")), k_openModeWrite, 0), QO::k_resultSuccess);
  EXPECT_FALSE(closed.WriteRiffChunk(out, false));
  EXPECT_FALSE(closed.WriteFormatChunk(out, false));
  EXPECT_FALSE(closed.WriteDataChunk(out, false));
  EXPECT_FALSE(closed.UpdateRiffChunkSize(out, false));
  EXPECT_TRUE(closed.WriteJunkChunk(out, false));
  EXPECT_EQ(out.SetFilePointer(0, zu::k_fileCurrent), 0);
}
