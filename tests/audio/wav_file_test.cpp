// QoWavFile: loading a WAVE file's chunks, adding markers, labels and a loop, and writing a new
// file chunk by chunk that the reader takes back with the same samples.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/result_code.h>

#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

// Files without markers get new chunks in the libsndfile and addmarkers tests.
TEST(WavFile, AddsMarkersLabelsAndLoopToAFileOfOurWriterKeepingItsOwn) {
  TempDir dir;
  const std::string source = dir.File("in.wav"), output = dir.File("out.wav");
  std::vector<short> samples(3000 * 2);
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<short>((i * 37) % 65536 - 32768);
  QoWavFileWriter writer;
  ASSERT_TRUE(writer.Open(zu::Path(source), false));
  WaveFormatExtensible format = {
      0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 3)};
  writer.SetFormat(format);
  char label[] = "Old";
  writer.SetMarkers({QO_WAVE_MARKER{1, 10, 4, label}});
  writer.SetLoopPoints(100, 2000);
  ASSERT_TRUE(writer.WriteChunks(QO::k_chunksMarkers));
  ASSERT_TRUE(writer.WriteInt16AsPCMData(3000, samples.data()));
  ASSERT_TRUE(writer.Close());
  const std::string before = ReadFileBytes(source);

  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(source), false));
  EXPECT_DOUBLE_EQ(wav.GetFileDuration(), 3000 / 44100.0);
  wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(2500), "Chorus");
  wav.m_cueChunk.AddCue(5);
  EXPECT_TRUE(wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, 300,
                                            2999));  // the file's loop wins
  wav.SortCueChunk();
  ASSERT_TRUE(WriteAll(wav, output, false));
  wav.Close();
  EXPECT_EQ(ReadFileBytes(source), before);

  ReadBack back(output, 2);
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.markers, (std::vector<std::string>{"3@5:", "1@10:Old", "2@2500:Chorus"}));
  EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), std::make_pair(100u, 2000u));
  EXPECT_EQ(back.dataOffset % 16, 0u);
  EXPECT_EQ(back.samples, samples);
  const std::string written = ReadFileBytes(output);
  EXPECT_EQ(written.substr(0, 8), "RIFF" + U32(static_cast<uint32_t>(written.size() - 8)));
}

TEST(WavFile, BigEndianFileRoundTrips) {
  TempDir dir;
  std::string samples;
  std::vector<short> values;
  for (int i = 0; i < 64; ++i) values.push_back(static_cast<short>(i * 1000));
  for (short v : values) samples += U16(static_cast<uint16_t>(v), true);
  const std::string file =
      Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16, true), true) +
               Chunk("cue ", CueBody({7}, true), true) +
               Chunk("LIST", "adtl" + LablChunk(1, "Big", true), true) +
               Chunk("smpl", SmplBody(1, 3, 60, true), true) + Chunk("data", samples, true),
           true);
  ASSERT_TRUE(WriteFileBytes(dir.File("x.wav"), file));
  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("x.wav")), false));
  EXPECT_TRUE(wav.m_riffChunk.NeedSwapRead());
  wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(40), "New");
  ASSERT_TRUE(WriteAll(wav, dir.File("y.wav"), true));
  EXPECT_EQ(ReadFileBytes(dir.File("x.wav")), file);

  ReadBack back(dir.File("y.wav"), 1);
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.markers, (std::vector<std::string>{"1@7:Big", "2@40:New"}));
  EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), std::make_pair(3u, 60u));
  EXPECT_EQ(back.samples, values);
  const std::string written = ReadFileBytes(dir.File("y.wav"));
  EXPECT_EQ(written.substr(0, 4), "RIFX");
  EXPECT_EQ(written.substr(back.dataOffset - 8), Chunk("data", samples, true));
  EXPECT_EQ(back.dataOffset % 16, 0u);
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
  EXPECT_EQ(format.channelConfig, QO::MakeChannelConfig(2, 1, 3));

  zu::File out;
  ASSERT_EQ(out.Open(zu::Path(dir.File("out.wav")), k_openModeWrite, 0), QO::k_resultSuccess);
  EXPECT_TRUE(wav.WriteCueChunk(out, false));
  EXPECT_TRUE(wav.WriteListChunk(out, false));
  EXPECT_TRUE(wav.WriteSmplChunk(out, false));
  EXPECT_EQ(out.SetFilePointer(0, zu::k_fileCurrent), 0);  // nothing to write for them
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
  const std::string compact = U16(0xFFFE) + PcmFormatBody(2, 16000, 16).substr(2) + U16(4) +
                              U16(0) + U32(QO::MakeChannelConfig(2, 1, 3));
  EXPECT_EQ(ReadFileBytes(dir.File("out.wav")),
            "RIFF" + U32(64 + 40 - 8) + "WAVE" + Chunk("fmt ", compact) +
                Chunk("JUNK", std::string(4, '\0')) + Chunk("data", samples) +
                Chunk("fmt ", PcmFormatBody(2, 16000, 16) + U16(4) + U16(0)));
  EXPECT_EQ(ReadFileBytes(dir.File("c.wav")), file);
}

TEST(WavFile, OpenRefusesWhatIsNoUsableWaveFile) {
  TempDir dir;
  const std::string fmt = Chunk("fmt ", PcmFormatBody(1, 8000, 16)),
                    data = Chunk("data", Pcm16Samples(4));
  const std::pair<const char*, std::string> files[] = {
      {"nodata.wav", Riff(fmt)},
      {"nofmt.wav", Riff(data)},
      {"text.wav", "just some text, not a sound file"},
      {"cut.wav", Riff(fmt + data).substr(0, 30)},
      {"wrap.wav",
       Riff(fmt + ChunkWithSize("data", 0xFFFFFFF0u, "ab"))},  // a size wrapping the offset
      {"self.wav",
       Riff(fmt + ChunkWithSize("big ", 0xFFFFFFF8u, "") + data)},  // one leading back to itself
      {"late.wav", Chunk("junk", "1234") + Riff(fmt + data)},  // the container must start the file
      {"short.wav", "RIFF\x04"},
      {"missing.wav", ""},
  };
  QoWavFile wav;
  for (const auto& f : files) {
    SCOPED_TRACE(f.first);
    ASSERT_TRUE(f.second.empty() || WriteFileBytes(dir.File(f.first), f.second));
    EXPECT_FALSE(wav.Open(zu::Path(dir.File(f.first)), false));
    EXPECT_EQ(ReadFileBytes(dir.File(f.first)), f.second);
  }
  WaveFormatExtensible format;
  EXPECT_FALSE(wav.GetFormat(&format));
  EXPECT_FALSE(wav.Open(zu::Path(dir.File("nofmt.wav")), true));
  EXPECT_TRUE(wav.Open(zu::Path(dir.File("nodata.wav")), true));  // the format alone is asked for
  EXPECT_FALSE(wav.m_dataChunk.IsValid());
  EXPECT_EQ(wav.GetFileHeaderSize(), 0u);

  // Labels from one file never leak into the next.
  ASSERT_TRUE(WriteFileBytes(dir.File("labels.wav"),
                             Riff(fmt + Chunk("LIST", "adtl" + LablChunk(1, "x")) + data)));
  ASSERT_TRUE(WriteFileBytes(dir.File("plain.wav"), Riff(fmt + data)));
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("labels.wav")), false));
  EXPECT_EQ(wav.m_listChunk.GetLabels().size(), 1u);
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("plain.wav")), false));
  EXPECT_FALSE(wav.m_listChunk.IsValid() || !wav.m_listChunk.GetLabels().empty());
  wav.Close();
  EXPECT_FALSE(wav.m_fmtChunk.IsValid() || wav.m_file.IsOpen());
}
