// The published 40-byte extensible format body: read over the 44-byte record by default (the old
// results, exactly), by its own layout when the reader or the chunk editor is asked to, and the
// stored facts and the as-stored format chunk that let a caller keep or refuse a format.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using QO::SonvoAuthoringAPI::QoGuid;
using qotest::ByteBuilder;

const QoGuid k_adpcm = {0x2, 0x0, 0x10, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};
// Integer PCM as sox writes it in a "RIFX" file: its leading format tag big-endian.
const QoGuid k_pcmTagSwapped = {0x100, 0x0, 0x10, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71}};

std::string Ext(bool big, uint16_t ch, uint16_t bits, uint16_t valid, uint32_t mask,
                const QoGuid& sub, uint16_t extra = 0) {
  return qotest::StandardExtensibleBody(big, ch, 48000, bits, valid, mask, sub, extra);
}

}  // namespace

TEST(WavStandardLayout, OffKeepsTheOldResultsOnReadsThePublishedLayout) {
  const std::string int32 = ByteBuilder().U32(0x00010000).U32(0x80000000).Bytes(), z(48, '\0');
  const std::string int32Big = ByteBuilder(true).U32(0x00010000).U32(0x80000000).Bytes();
  const std::vector<float> int32Floats = {1.0f / 32768, -1.0f};
  struct Case {
    const char* name;
    bool big;
    std::string fmt, data;
    const char *fieldsOff, *fieldsOn;  // compact format fields, opt-in off and on (null: same)
    bool floatOff, floatOn, used;
    std::vector<float> decodedOn;  // the first frame with the opt-in on; empty: not checked
  } cases[] = {
      // clang-format off
      // Off, the mask field gets the GUID's first bytes (1), which fit no stereo layout, and the
      // sample type is float because the GUID field is not PCM; on, integers decode as integers.
      {"int32", false, Ext(false, 2, 32, 32, 0x3, ks_dataformat_pcm), int32,
       "FFFE 2 48000 384000 8 32 4 20 3102", nullptr, true, false, true, int32Floats},
      {"int32 RIFX", true, Ext(true, 2, 32, 32, 0x3, ks_dataformat_pcm), int32Big,
       "FFFE 2 48000 384000 8 32 4 2000 3102", nullptr, true, false, true, int32Floats},
      {"int32 RIFX, tag big-endian", true, Ext(true, 2, 32, 32, 0x3, k_pcmTagSwapped), int32Big,
       "FFFE 2 48000 384000 8 32 4 2000 3102", nullptr, true, false, true, int32Floats},
      {"24 in 32", false, Ext(false, 1, 32, 24, 0x4, ks_dataformat_pcm),
       ByteBuilder().U32(0x7FFFFF00).Bytes(), "FFFE 1 48000 192000 4 32 4 18 4101", nullptr, true,
       false, true, {1 - 1.0f / 8388608}},
      {"float", false, Ext(false, 2, 32, 32, 0x3, ks_dataformat_ieee_float),
       ByteBuilder().F32(0.25f).F32(-0.75f).Bytes(), "FFFE 2 48000 384000 8 32 4 20 3102", nullptr,
       true, true, true, {0.25f, -0.75f}},
      {"A-law", false, Ext(false, 1, 8, 8, 0x4, ks_dataformat_alaw), z,
       "FFFE 1 48000 48000 1 8 4 8 4101", nullptr, true, false, true, {}},
      // A rear pair moves to the sides either way.
      {"6 x 0x3F", false, Ext(false, 6, 16, 16, 0x3F, ks_dataformat_pcm), z,
       "FFFE 6 48000 576000 12 16 4 10 60F106", nullptr, true, false, true, {}},
      // Left, right, centre, where the default for 3 channels is left, right, LFE.
      {"3 x 0x7", false, Ext(false, 3, 16, 16, 0x7, ks_dataformat_pcm), z,
       "FFFE 3 48000 288000 6 16 4 10 B103", "FFFE 3 48000 288000 6 16 4 10 7103", true, false,
       true, {}},
      {"48-byte body", false, Ext(false, 3, 16, 16, 0x7, ks_dataformat_pcm, 8), z,
       "FFFE 3 48000 288000 6 16 4 10 B103", "FFFE 3 48000 288000 6 16 4 10 7103", true, false,
       true, {}},
      // An unknown sub-format and a 40-byte body with tag 1 go the default way.
      {"unknown GUID", false, Ext(false, 2, 16, 16, 0x3, k_adpcm), z,
       "FFFE 2 48000 192000 4 16 4 10 3102", nullptr, true, true, false, {}},
      {"tag 1", false, qotest::FmtBody(false, 1, 2, 48000, 16) + std::string(24, '\0'), z,
       "FFFE 2 48000 192000 4 16 4 0 3102", nullptr, false, false, false, {}},
      // clang-format on
  };
  qotest::TempDir dir;
  const std::string path = dir.File("t.wav");
  for (const Case& c : cases) {
    const std::string chunks =
        ByteBuilder(c.big).Chunk("fmt ", c.fmt).Chunk("data", c.data).Bytes();
    ASSERT_TRUE(qotest::WriteFileBytes(path, qotest::WaveFile(c.big, chunks)));
    for (bool on : {false, true}) {
      SCOPED_TRACE(std::string(c.name) + (on ? " on" : " off"));
      QoWavFileReader reader;
      reader.SetStandardExtensibleLayout(on);
      ASSERT_TRUE(reader.Open(zu::Path(path)));
      ASSERT_TRUE(reader.ReadChunks(QO::k_chunksFormatAndData));
      EXPECT_EQ(qotest::Fields(*reader.GetFormat()), on && c.fieldsOn ? c.fieldsOn : c.fieldsOff);
      EXPECT_EQ(reader.IsFloat(), on ? c.floatOn : c.floatOff);
      // The facts hold the body as stored, the sub-format as understood.
      const QoWaveFormatFacts& facts = reader.GetStoredFormat();
      EXPECT_EQ(facts.standardLayoutUsed, on && c.used);
      EXPECT_EQ(facts.bodySize, c.fmt.size());
      if (facts.hasExtensibleFields) {
        EXPECT_EQ(ByteBuilder(c.big).U16(facts.validBitsPerSample).U32(facts.channelMask).Bytes(),
                  c.fmt.substr(18, 6));
        // As stored, but for sox's big-endian tag, which is given as the GUID it stands for.
        QoGuid sub;
        std::memcpy(&sub, c.fmt.data() + 24, 16);
        EXPECT_EQ(facts.subFormat, sub == k_pcmTagSwapped ? ks_dataformat_pcm : sub);
      }
      if (on && !c.decodedOn.empty()) {
        std::vector<float> out(c.decodedOn.size(), 9.0f);
        reader.SeekToAudioFrame(0);
        EXPECT_EQ(reader.ReadPCMDataAsFloat32(1, out.data()), 1u);
        EXPECT_EQ(out, c.decodedOn);
      }

      // The chunk editor reads the format the same way and writes it back as stored, in the
      // source's byte order only.
      QoWavFile wav;
      wav.SetStandardExtensibleLayout(on);
      WaveFormatExtensible format;
      ASSERT_TRUE(wav.Open(zu::Path(path), false));
      ASSERT_TRUE(wav.GetFormat(&format));
      EXPECT_EQ(qotest::Fields(format), qotest::Fields(*reader.GetFormat()));
      EXPECT_EQ(wav.GetStoredFormat().standardLayoutUsed, facts.standardLayoutUsed);
      zu::File out;
      ASSERT_EQ(out.Open(zu::Path(dir.File("fmt.bin")), k_openModeWrite, 0), QO::k_resultSuccess);
      EXPECT_FALSE(wav.WriteFormatChunkAsStored(out, !c.big));
      EXPECT_TRUE(wav.WriteFormatChunkAsStored(out, c.big));
      out.Close();
      EXPECT_EQ(qotest::ReadFileBytes(dir.File("fmt.bin")),
                ByteBuilder(c.big).Chunk("fmt ", c.fmt).Bytes());
    }
  }
}
