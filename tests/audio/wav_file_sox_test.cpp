// Files written by sox, an independent WAVE implementation: its 40-byte extensible integer file
// and its mu-law file are read for what they are and come out of a marker edit with their format
// chunk, their "fact" chunk and their samples unchanged, which sox confirms by reading them back.
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

}  // namespace

TEST(WavFileSox, ExtensibleAndMuLawFilesSurviveAMarkerEdit) {
  ASSERT_TRUE(Sox("--version >/dev/null")) << "sox is a test dependency";
  const struct {
    std::string soxFormat, rawType;
    unsigned int channels;
    uint16_t tag;
    uint32_t mask;
  } cases[] = {{"-r 48000 -c 6 -b 32 -e signed-integer", "s32", 6, 0xFFFE, 0x3F},
               {"-r 8000 -c 1 -e u-law", "ul", 1, 7, 0}};
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rawType);
    ASSERT_TRUE(Sox("-n " + c.soxFormat + " " + in + " synth 0.05 sine 440"));
    const std::string source = qotest::ReadFileBytes(in);
    const auto chunks = qotest::ChunksOf(source);  // "fmt ", "fact", "data"
    ASSERT_EQ(chunks.size(), 3u);

    QoWavFileReader reader;
    reader.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(reader.Open(zu::Path(in)) && reader.ReadChunks(0x3));
    const QoWaveFormatFacts& facts = reader.GetStoredFormat();
    EXPECT_EQ(std::vector<uint32_t>({facts.formatTag, facts.channelMask, facts.standardLayoutUsed}),
              std::vector<uint32_t>({c.tag, c.mask, c.tag == 0xFFFE}));
    if (c.tag == 0xFFFE) {  // integers scaled by 2^-31, not their bits taken as floats
      const std::string& data = chunks[2].second;
      std::vector<float> samples(data.size() / 4), expected(data.size() / 4);
      for (size_t i = 0; i < expected.size(); ++i) {
        int32_t v;
        std::memcpy(&v, data.data() + 4 * i, 4);
        expected[i] = static_cast<float>(v) / 2147483648.0f;
      }
      reader.SeekToAudioFrame(0);
      reader.ReadPCMDataAsFloat32(reader.GetNumFrames(), samples.data());
      EXPECT_EQ(samples, expected);
    }

    QoWavFile wav;
    wav.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(wav.Open(zu::Path(in), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), 0u);
    wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(100), "Marker");
    ASSERT_TRUE(qotest::WriteKeepingEverything(wav, out, false));
    wav.Close();
    EXPECT_EQ(qotest::ReadFileBytes(in), source);

    std::vector<std::pair<std::string, std::string>> kept;
    for (const auto& k : qotest::ChunksOf(qotest::ReadFileBytes(out)))
      if (k.first == "fmt " || k.first == "fact" || k.first == "data") kept.push_back(k);
    EXPECT_EQ(kept, chunks);
    EXPECT_EQ(qotest::ReadBack(out, c.channels).markers, std::vector<std::string>{"1@100:Marker"});
    // sox reads the edited file's samples as the original's.
    ASSERT_TRUE(Sox(out + " -t " + c.rawType + " " + dir.File("out.raw")));
    EXPECT_EQ(qotest::ReadFileBytes(dir.File("out.raw")), chunks[2].second);
  }
}
