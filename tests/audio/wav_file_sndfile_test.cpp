// The chunk editor on a file written by libsndfile, and libsndfile reading what the editor wrote.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>

#include <sndfile.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

TEST(WavFileSndfile, EditsAFileOfLibsndfileAndLibsndfileReadsTheResult) {
  qotest::TempDir dir;
  const std::string source = dir.File("sndfile.wav"), output = dir.File("out.wav");
  std::vector<short> samples(5000 * 2);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<short>((i * 131) % 60000 - 30000);
  SF_INFO info = {0, 48000, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
  SNDFILE* file = sf_open(source.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(sf_writef_short(file, samples.data(), 5000), 5000);
  ASSERT_EQ(sf_close(file), 0);
  const std::string before = qotest::ReadFileBytes(source);

  // The plain format chunk, which other programs read (the compact form is this library's own).
  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(source), false));
  wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(1000), "Intro");
  wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(4000), "Outro");
  ASSERT_TRUE(wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, 1200, 3800));
  ASSERT_TRUE(qotest::WriteAll(wav, output, false, false));
  wav.Close();
  EXPECT_EQ(qotest::ReadFileBytes(source), before);

  qotest::ReadBack back(output, 2);
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.markers, (std::vector<std::string>{"1@1000:Intro", "2@4000:Outro"}));
  EXPECT_EQ(std::make_pair(back.loopStart, back.loopEnd), std::make_pair(1200u, 3800u));
  EXPECT_EQ(back.dataOffset % 16, 0u);
  EXPECT_EQ(back.samples, samples);

  info = SF_INFO();
  file = sf_open(output.c_str(), SFM_READ, &info);
  ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
  EXPECT_EQ(info.frames, 5000);
  EXPECT_EQ(info.channels, 2);
  EXPECT_EQ(info.samplerate, 48000);
  std::vector<short> read(samples.size());
  EXPECT_EQ(sf_readf_short(file, read.data(), 5000), 5000);
  EXPECT_EQ(read, samples);
  SF_CUES cues{};
  ASSERT_EQ(sf_command(file, SFC_GET_CUE, &cues, sizeof(cues)), SF_TRUE);
  ASSERT_EQ(cues.cue_count, 2u);
  EXPECT_EQ(cues.cue_points[0].indx, 1);
  EXPECT_EQ(cues.cue_points[0].position, 1000u);
  EXPECT_EQ(cues.cue_points[1].position, 4000u);
  SF_INSTRUMENT instrument{};
  ASSERT_EQ(sf_command(file, SFC_GET_INSTRUMENT, &instrument, sizeof(instrument)), SF_TRUE);
  ASSERT_EQ(instrument.loop_count, 1);
  EXPECT_EQ(instrument.loops[0].start, 1200u);
  EXPECT_EQ(instrument.loops[0].end, 3801u);  // libsndfile reports the frame after the inclusive end
  EXPECT_EQ(instrument.loops[0].mode, SF_LOOP_FORWARD);
  sf_close(file);
}

namespace {

// Chunk ID -> body, in file order, walked by hand.
std::vector<std::pair<std::string, std::string>> ChunksOf(const std::string& file) {
  std::vector<std::pair<std::string, std::string>> chunks;
  for (size_t p = 12; p + 8 <= file.size();) {
    uint32_t size;
    std::memcpy(&size, file.data() + p + 4, 4);
    chunks.emplace_back(file.substr(p, 4), file.substr(p + 8, size));
    p += 8 + size + (size & 1);
  }
  return chunks;
}

}  // namespace

// libsndfile's extensible 32-bit file and float file with "fact", "PEAK", "bext", "iXML" and a
// "LIST"/"INFO" after the data: a marker edit keeps every one of them and the samples.
TEST(WavFileSndfile, MarkerEditKeepsEveryChunkOfLibsndfile) {
  qotest::TempDir dir;
  struct Case {
    int format, channels;
    std::vector<std::string> carried;  // IDs in file order
  } cases[] = {
      {SF_FORMAT_WAVEX | SF_FORMAT_PCM_32, 6, {"fact", "bext", "iXML", "LIST"}},
      {SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, {"fact", "PEAK", "bext", "iXML", "LIST"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.channels);
    const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
    std::vector<int> samples(static_cast<size_t>(300) * c.channels);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = static_cast<int>(i * 2654435761u) & ~0xFF;
    SF_INFO info = {0, 48000, c.channels, c.format, 0, 0};
    SNDFILE* file = sf_open(in.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    SF_BROADCAST_INFO bext{};
    std::strcpy(bext.description, "take 1");
    ASSERT_EQ(sf_command(file, SFC_SET_BROADCAST_INFO, &bext, sizeof(bext)), SF_TRUE);
    char ixml[] = "<BWFXML/>";
    SF_CHUNK_INFO chunk{};
    std::strcpy(chunk.id, "iXML");
    chunk.id_size = 4;
    chunk.data = ixml;
    chunk.datalen = 9;
    ASSERT_EQ(sf_set_chunk(file, &chunk), SF_ERR_NO_ERROR);
    ASSERT_EQ(sf_writef_int(file, samples.data(), 300), 300);
    ASSERT_EQ(sf_set_string(file, SF_STR_COMMENT, "kept"), 0);  // written after the data
    ASSERT_EQ(sf_close(file), 0);
    const std::string source = qotest::ReadFileBytes(in);

    QoWavFile wav;
    wav.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(wav.Open(zu::Path(in), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), 0u);
    std::vector<std::string> carried;
    for (const QoCarriedChunk& k : wav.GetCarriedChunks())
      carried.emplace_back(reinterpret_cast<const char*>(&k.chunkID), 4);
    EXPECT_EQ(carried, c.carried);
    EXPECT_FALSE(wav.GetCarriedChunks().back().beforeData);
    wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(150), "Cue");
    ASSERT_TRUE(qotest::WriteKeepingEverything(wav, out, false));
    wav.Close();
    EXPECT_EQ(qotest::ReadFileBytes(in), source);

    // Every chunk of the source comes out with the same body and in the same order.
    std::vector<std::pair<std::string, std::string>> kept;
    for (const auto& k : ChunksOf(qotest::ReadFileBytes(out))) {
      const bool labels = k.first == "LIST" && k.second.compare(0, 4, "adtl") == 0;
      if (k.first != "cue " && k.first != "JUNK" && !labels) kept.push_back(k);
    }
    EXPECT_EQ(kept, ChunksOf(source));

    info = SF_INFO();
    file = sf_open(out.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.format, c.format);
    std::vector<int> read(samples.size());
    EXPECT_EQ(sf_readf_int(file, read.data(), 300), 300);
    EXPECT_EQ(read, samples);
    SF_BROADCAST_INFO readBext{};
    ASSERT_EQ(sf_command(file, SFC_GET_BROADCAST_INFO, &readBext, sizeof(readBext)), SF_TRUE);
    EXPECT_STREQ(readBext.description, "take 1");
    ASSERT_NE(sf_get_string(file, SF_STR_COMMENT), nullptr);
    EXPECT_STREQ(sf_get_string(file, SF_STR_COMMENT), "kept");
    sf_close(file);
  }
}
