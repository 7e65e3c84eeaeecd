// The published 40-byte extensible format body: read over the 44-byte record by default (the old
// results, exactly), by its own layout when the reader or the chunk editor is asked to, and the
// stored facts and the as-stored format chunk that let a caller keep or refuse a format.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;
using qotest::Fields;
using qotest::StandardExtensibleBody;

const QO::SonvoAuthoringAPI::QoGuid k_adpcm = {
    0x00000002, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};

struct LayoutCase {
  const char* name;
  bool big;
  std::string fmtBody;
  std::string samples;  // two frames
  // Compact format fields and float flag with the opt-in off (the old results) and on.
  const char* fieldsOff;
  bool floatOff;
  const char* fieldsOn;
  bool floatOn;
  bool standardUsed;
  std::vector<float> floatsOn;  // empty: not checked
};

std::string Int32s(bool big, std::initializer_list<uint32_t> values) {
  ByteBuilder b(big);
  for (uint32_t v : values) b.U32(v);
  return b.Bytes();
}

std::vector<LayoutCase> Cases() {
  const auto ext = [](bool big, uint16_t ch, uint16_t bits, uint16_t valid, uint32_t mask,
                      const QO::SonvoAuthoringAPI::QoGuid& sub, uint16_t extra = 0) {
    return StandardExtensibleBody(big, ch, 48000, bits, valid, mask, sub, extra);
  };
  const std::string int32 = Int32s(false, {0x40000000u, 0x80000000u, 0xC0000000u, 0x00010000u});
  const std::vector<float> int32Floats = {0.5f, -1.0f, -0.5f, 1.0f / 32768};
  const std::string zeros16x6(24, '\0');
  return {
      // Off, the mask field gets the GUID's first bytes (1): no fit for 2 channels, and is-float
      // because the GUID field is not PCM. On, 32-bit integers decode as integers.
      {"int32 stereo", false, ext(false, 2, 32, 32, 0x3, ks_dataformat_pcm), int32,
       "FFFE 2 48000 384000 8 32 4 20 3102", true, "FFFE 2 48000 384000 8 32 4 20 3102", false,
       true, int32Floats},
      {"int32 stereo RIFX", true, ext(true, 2, 32, 32, 0x3, ks_dataformat_pcm),
       Int32s(true, {0x40000000u, 0x80000000u, 0xC0000000u, 0x00010000u}),
       "FFFE 2 48000 384000 8 32 4 2000 3102", true, "FFFE 2 48000 384000 8 32 4 2000 3102", false,
       true, int32Floats},
      {"24 in 32 mono",
       false,
       ext(false, 1, 32, 24, 0x4, ks_dataformat_pcm),
       Int32s(false, {0x7FFFFF00u, 0x80000000u}),
       "FFFE 1 48000 192000 4 32 4 18 4101",
       true,
       "FFFE 1 48000 192000 4 32 4 18 4101",
       false,
       true,
       {1.0f - 1.0f / 8388608, -1.0f}},
      {"float stereo",
       false,
       ext(false, 2, 32, 32, 0x3, ks_dataformat_ieee_float),
       ByteBuilder().F32(0.25f).F32(-0.75f).F32(2.0f).F32(0.0f).Bytes(),
       "FFFE 2 48000 384000 8 32 4 20 3102",
       true,
       "FFFE 2 48000 384000 8 32 4 20 3102",
       true,
       true,
       {0.25f, -0.75f, 2.0f, 0.0f}},
      // 5.1 with a back pair: the configuration moves it to the sides either way; the facts
      // keep the stored mask.
      {"6 channels 0x3F",
       false,
       ext(false, 6, 16, 16, 0x3F, ks_dataformat_pcm),
       zeros16x6,
       "FFFE 6 48000 576000 12 16 4 10 60F106",
       true,
       "FFFE 6 48000 576000 12 16 4 10 60F106",
       false,
       true,
       {}},
      {"8 channels 0x63F",
       false,
       ext(false, 8, 16, 16, 0x63F, ks_dataformat_pcm),
       std::string(32, '\0'),
       "FFFE 8 48000 768000 16 16 4 10 63F108",
       true,
       "FFFE 8 48000 768000 16 16 4 10 63F108",
       false,
       true,
       {}},
      // Left, right, centre: the default for 3 channels is left, right, LFE.
      {"3 channels 0x7",
       false,
       ext(false, 3, 16, 16, 0x7, ks_dataformat_pcm),
       std::string(12, '\0'),
       "FFFE 3 48000 288000 6 16 4 10 B103",
       true,
       "FFFE 3 48000 288000 6 16 4 10 7103",
       false,
       true,
       {}},
      {"longer body",
       false,
       ext(false, 3, 16, 16, 0x7, ks_dataformat_pcm, 8),
       std::string(12, '\0'),
       "FFFE 3 48000 288000 6 16 4 10 B103",
       true,
       "FFFE 3 48000 288000 6 16 4 10 7103",
       false,
       true,
       {}},
      // Unknown sub-format and a 40-byte body with tag 1 go the default way.
      {"unknown GUID",
       false,
       ext(false, 2, 16, 16, 0x3, k_adpcm),
       std::string(8, '\0'),
       "FFFE 2 48000 192000 4 16 4 10 3102",
       true,
       "FFFE 2 48000 192000 4 16 4 10 3102",
       true,
       false,
       {}},
      {"tag 1, 40 bytes",
       false,
       ByteBuilder().Raw(qotest::FmtBody(false, 1, 2, 48000, 16)).Zeros(24).Bytes(),
       std::string(8, '\0'),
       "FFFE 2 48000 192000 4 16 4 0 3102",
       false,
       "FFFE 2 48000 192000 4 16 4 0 3102",
       false,
       false,
       {}},
  };
}

std::string FileOf(const LayoutCase& c) {
  return qotest::WaveFile(
      c.big, ByteBuilder(c.big).Chunk("fmt ", c.fmtBody).Chunk("data", c.samples).Bytes());
}

TEST(WavStandardLayout, ReaderOffKeepsTheOldResultsOnReadsThePublishedLayout) {
  qotest::TempDir dir;
  for (const LayoutCase& c : Cases()) {
    SCOPED_TRACE(c.name);
    const std::string path = dir.File("t.wav");
    ASSERT_TRUE(qotest::WriteFileBytes(path, FileOf(c)));
    for (bool on : {false, true}) {
      SCOPED_TRACE(on ? "on" : "off");
      QoWavFileReader reader;
      reader.SetStandardExtensibleLayout(on);
      ASSERT_TRUE(reader.Open(zu::Path(path)) && reader.ReadChunks(0x3));
      EXPECT_EQ(Fields(*reader.GetFormat()), on ? c.fieldsOn : c.fieldsOff);
      EXPECT_EQ(reader.IsFloat(), on ? c.floatOn : c.floatOff);
      const QoWaveFormatFacts& facts = reader.GetStoredFormat();
      EXPECT_EQ(facts.standardLayoutUsed, on && c.standardUsed);
      EXPECT_EQ(facts.bodySize, c.fmtBody.size());
      if (on && !c.floatsOn.empty()) {
        std::vector<float> out(c.floatsOn.size(), 9.0f);
        reader.SeekToAudioFrame(0);
        EXPECT_EQ(reader.ReadPCMDataAsFloat32(2, out.data()), 2u);
        EXPECT_EQ(out, c.floatsOn);
      }

      // The chunk editor reads the format the same way, and writes it back as stored.
      QoWavFile wav;
      wav.SetStandardExtensibleLayout(on);
      ASSERT_TRUE(wav.Open(zu::Path(path), false));
      WaveFormatExtensible format;
      ASSERT_TRUE(wav.GetFormat(&format));
      EXPECT_EQ(Fields(format), Fields(*reader.GetFormat()));
      EXPECT_EQ(wav.GetStoredFormat().standardLayoutUsed, facts.standardLayoutUsed);
      zu::File out;
      ASSERT_EQ(out.Open(zu::Path(dir.File("fmt.bin")), k_openModeWrite, 0), 1u);
      EXPECT_FALSE(wav.WriteFormatChunkAsStored(out, !c.big));  // stored bytes keep their order
      EXPECT_TRUE(wav.WriteFormatChunkAsStored(out, c.big));
      out.Close();
      EXPECT_EQ(qotest::ReadFileBytes(dir.File("fmt.bin")),
                ByteBuilder(c.big).Chunk("fmt ", c.fmtBody).Bytes());
    }
  }
}

TEST(WavStandardLayout, StoredFactsNameTheFormat) {
  qotest::TempDir dir;
  const std::string path = dir.File("t.wav");
  const std::string sixInt32 =
      StandardExtensibleBody(true, 6, 48000, 32, 24, 0x3F, ks_dataformat_pcm);
  ASSERT_TRUE(qotest::WriteFileBytes(
      path, qotest::WaveFile(true, ByteBuilder(true).Chunk("fmt ", sixInt32).Bytes())));
  QoWavFileReader reader;
  reader.SetStandardExtensibleLayout(true);
  ASSERT_TRUE(reader.Open(zu::Path(path)));
  EXPECT_FALSE(reader.ReadChunks(0x3));  // no data, but the format was read
  const QoWaveFormatFacts& f = reader.GetStoredFormat();
  EXPECT_EQ(
      std::vector<uint32_t>({f.bodySize, f.formatTag, f.numChannels, f.sampleRate, f.blockAlign,
                             f.bitsPerSample, f.validBitsPerSample, f.channelMask}),
      std::vector<uint32_t>({40, 0xFFFE, 6, 48000, 24, 32, 24, 0x3F}));
  EXPECT_TRUE(f.hasExtensibleFields && f.standardLayoutUsed);
  EXPECT_TRUE(f.subFormat == ks_dataformat_pcm);

  // The facts of the old and other forms: no extensible fields, the tag as stored.
  const std::pair<std::string, uint16_t> plain[] = {
      {qotest::FmtBody(false, 1, 2, 8000, 16), 1},
      {qotest::FmtBody(false, 7, 1, 8000, 8) + std::string(2, '\0'), 7},
      {qotest::FmtBody(false, 0xFFFE, 2, 8000, 16) +
           ByteBuilder().U16(4).U16(0).U32(0x3102).Bytes(),
       0xFFFE},
  };
  for (const auto& p : plain) {
    ASSERT_TRUE(qotest::WriteFileBytes(
        path,
        qotest::WaveFile(false, ByteBuilder().Chunk("fmt ", p.first).Chunk("data", "ab").Bytes())));
    QoWavFile wav;
    wav.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(wav.Open(zu::Path(path), false));
    const QoWaveFormatFacts& g = wav.GetStoredFormat();
    EXPECT_EQ(g.formatTag, p.second);
    EXPECT_EQ(g.bodySize, p.first.size());
    EXPECT_FALSE(g.hasExtensibleFields || g.standardLayoutUsed || g.channelMask != 0);
    wav.Close();
    EXPECT_EQ(wav.GetStoredFormat().bodySize, 0u);
  }
}

// 64-bit float, mu-law and A-law have no float conversion: reads consume the frames and leave the
// output as it was, whatever the opt-in, and the facts say which format it is.
TEST(WavStandardLayout, FormatsWithoutFloatConversionLeaveTheOutputUntouched) {
  qotest::TempDir dir;
  const std::string path = dir.File("t.wav");
  const std::pair<std::string, std::string> formats[] = {
      {qotest::FmtBody(false, 3, 1, 8000, 64), ByteBuilder().F64(0.5).F64(-0.5).Bytes()},
      {qotest::FmtBody(false, 7, 1, 8000, 8) + std::string(2, '\0'), "\x12\x34"},
      {StandardExtensibleBody(false, 1, 8000, 8, 8, 0x4, ks_dataformat_alaw), "\x12\x34"},
  };
  for (const auto& f : formats) {
    ASSERT_TRUE(qotest::WriteFileBytes(
        path, qotest::WaveFile(
                  false, ByteBuilder().Chunk("fmt ", f.first).Chunk("data", f.second).Bytes())));
    for (bool on : {false, true}) {
      QoWavFileReader reader;
      reader.SetStandardExtensibleLayout(on);
      ASSERT_TRUE(reader.Open(zu::Path(path)) && reader.ReadChunks(0x3));
      std::vector<float> out(2, 9.0f);
      reader.SeekToAudioFrame(0);
      EXPECT_EQ(reader.ReadPCMDataAsFloat32(2, out.data()), 2u);
      EXPECT_EQ(out, std::vector<float>(2, 9.0f));
      EXPECT_EQ(reader.GetStoredFormat().bitsPerSample, static_cast<unsigned char>(f.first[14]));
    }
  }
}

}  // namespace
