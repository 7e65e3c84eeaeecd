// Files written by sox, an independent WAVE implementation: its 40-byte extensible integer file
// and its mu-law file are read for what they are and come out of a marker edit with their format
// chunk, their other chunks and their samples unchanged, which sox confirms by reading them back.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

namespace {

bool Sox(const std::string& arguments) {
  return std::system(("sox " + arguments + " 2>/dev/null").c_str()) == 0;
}

// The body of the first chunk with this ID in a whole file (walked by hand, sox pads odd chunks).
std::string ChunkBody(const std::string& file, const std::string& id) {
  for (size_t p = 12; p + 8 <= file.size();) {
    uint32_t size;
    std::memcpy(&size, file.data() + p + 4, 4);
    if (file.compare(p, 4, id) == 0) return file.substr(p + 8, size);
    p += 8 + size + (size & 1);
  }
  return "";
}

}  // namespace

TEST(WavFileSox, ExtensibleAndMuLawFilesSurviveAMarkerEdit) {
  ASSERT_EQ(std::system("sox --version >/dev/null 2>&1"), 0) << "sox is a test dependency";
  qotest::TempDir dir;
  struct Case {
    const char* name;
    std::string soxFormat, rawType;
    unsigned int channels;
    uint16_t tag;
    uint32_t bodySize, mask;
    bool standard;
  } cases[] = {
      {"6 x 32-bit integer", "-r 48000 -c 6 -b 32 -e signed-integer", "s32", 6, 0xFFFE, 40, 0x3F,
       true},
      {"mu-law", "-r 8000 -c 1 -e u-law", "ul", 1, 7, 18, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
    ASSERT_TRUE(Sox("-n " + c.soxFormat + " " + in + " synth 0.05 sine 440"));
    const std::string source = qotest::ReadFileBytes(in);

    QoWavFileReader reader;
    reader.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(reader.Open(zu::Path(in)) && reader.ReadChunks(0x3));
    const QoWaveFormatFacts& facts = reader.GetStoredFormat();
    EXPECT_EQ(facts.formatTag, c.tag);
    EXPECT_EQ(facts.bodySize, c.bodySize);
    EXPECT_EQ(facts.channelMask, c.mask);
    EXPECT_EQ(facts.standardLayoutUsed, c.standard);
    if (c.standard) {
      // Integers, scaled by 2^-31, not their bits taken as floats.
      EXPECT_TRUE(facts.subFormat == ks_dataformat_pcm);
      EXPECT_FALSE(reader.IsFloat());
      const std::string data = ChunkBody(source, "data");
      std::vector<float> samples(data.size() / 4), expected(data.size() / 4);
      for (size_t i = 0; i < expected.size(); ++i) {
        int32_t v;
        std::memcpy(&v, data.data() + 4 * i, 4);
        expected[i] = static_cast<float>(v) / 2147483648.0f;
      }
      reader.SeekToAudioFrame(0);
      EXPECT_EQ(reader.ReadPCMDataAsFloat32(reader.GetNumFrames(), samples.data()),
                expected.size() / c.channels);
      EXPECT_EQ(samples, expected);
    }

    QoWavFile wav;
    wav.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(wav.Open(zu::Path(in), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), 0u);
    ASSERT_EQ(wav.GetCarriedChunks().size(), 1u);  // sox writes a "fact" chunk
    wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(100), "Marker");
    ASSERT_TRUE(qotest::WriteKeepingEverything(wav, out, false));
    wav.Close();
    EXPECT_EQ(qotest::ReadFileBytes(in), source);

    const std::string written = qotest::ReadFileBytes(out);
    for (const char* id : {"fmt ", "fact", "data"})
      EXPECT_EQ(ChunkBody(written, id), ChunkBody(source, id)) << id;
    qotest::ReadBack back(out, c.channels);
    ASSERT_TRUE(back.ok);
    EXPECT_EQ(back.markers, std::vector<std::string>{"1@100:Marker"});
    // sox reads the same samples from the edited file as from the original.
    ASSERT_TRUE(Sox(in + " -t " + c.rawType + " " + dir.File("in.raw")));
    ASSERT_TRUE(Sox(out + " -t " + c.rawType + " " + dir.File("out.raw")));
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("out.raw")),
              qotest::ReadFileBytes(dir.File("in.raw")));
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("in.raw")), ChunkBody(source, "data"));
  }
}
