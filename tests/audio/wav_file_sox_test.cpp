// Files written by sox, an independent WAVE implementation: its 40-byte extensible integer files
// in both byte orders and its mu-law file are read for what they are and come out of a marker
// edit with their format chunk, their "fact" chunk and their samples unchanged, which sox
// confirms by reading them back.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

namespace {

bool Sox(const std::string& arguments) {
  return std::system(("sox " + arguments + " 2>/dev/null").c_str()) == 0;
}

// 32-bit integer samples scaled by 2^-31, from bytes in either byte order.
std::vector<float> Int32Samples(const std::string& data, bool big) {
  std::vector<float> samples;
  for (size_t i = 0; i + 4 <= data.size(); i += 4) {
    uint32_t v = 0;
    for (int k = 0; k < 4; ++k)
      v |= static_cast<uint32_t>(static_cast<unsigned char>(data[i + k])) << 8 * (big ? 3 - k : k);
    samples.push_back(static_cast<float>(static_cast<int32_t>(v)) / 2147483648.0f);
  }
  return samples;
}

}  // namespace

TEST(WavFileSox, ExtensibleAndMuLawFilesSurviveAMarkerEdit) {
  ASSERT_TRUE(Sox("--version >/dev/null")) << "sox is a test dependency";
  const struct {
    std::string soxFormat, rawType;
    bool big;
    unsigned int channels;
    uint16_t tag;
    uint32_t mask;
  } cases[] = {{"-r 48000 -c 6 -b 32 -e signed-integer", "s32", false, 6, 0xFFFE, 0x3F},
               {"-r 48000 -c 6 -b 32 -e signed-integer -B", "s32 -B", true, 6, 0xFFFE, 0x3F},
               {"-r 8000 -c 1 -e u-law", "ul", false, 1, 7, 0}};
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.soxFormat);
    ASSERT_TRUE(Sox("-n " + c.soxFormat + " " + in + " synth 0.05 sine 440"));
    const std::string source = qotest::ReadFileBytes(in);
    const auto chunks = qotest::ChunksOf(source, c.big);  // "fmt ", "fact", "data"
    ASSERT_EQ(chunks.size(), 3u);

    QoWavFileReader reader;
    reader.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(reader.Open(zu::Path(in)));
    ASSERT_TRUE(reader.ReadChunks(QO::k_chunksFormatAndData));
    const QoWaveFormatFacts& facts = reader.GetStoredFormat();
    EXPECT_EQ(std::vector<uint32_t>({facts.formatTag, facts.channelMask, facts.standardLayoutUsed}),
              std::vector<uint32_t>({c.tag, c.mask, c.tag == 0xFFFE}));
    if (c.tag == 0xFFFE) {  // integers scaled by 2^-31, not their bits taken as floats
      std::vector<float> samples(reader.GetNumFrames() * c.channels);
      reader.SeekToAudioFrame(0);
      reader.ReadPCMDataAsFloat32(reader.GetNumFrames(), samples.data());
      EXPECT_EQ(samples, Int32Samples(chunks[2].second, c.big));
    }

    QoWavFile wav;
    wav.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(wav.Open(zu::Path(in), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), 0u);
    wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(100), "Marker");
    ASSERT_TRUE(qotest::WriteKeepingEverything(wav, out, c.big));
    wav.Close();
    EXPECT_EQ(qotest::ReadFileBytes(in), source);

    std::vector<std::pair<std::string, std::string>> kept;
    for (const auto& k : qotest::ChunksOf(qotest::ReadFileBytes(out), c.big))
      if (k.first == "fmt " || k.first == "fact" || k.first == "data") kept.push_back(k);
    EXPECT_EQ(kept, chunks);
    EXPECT_EQ(qotest::ReadBack(out, c.channels).markers, std::vector<std::string>{"1@100:Marker"});
    // sox reads the edited file's samples as the original's.
    ASSERT_TRUE(Sox(out + " -t " + c.rawType + " " + dir.File("out.raw")));
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("out.raw")), chunks[2].second);
  }
}
