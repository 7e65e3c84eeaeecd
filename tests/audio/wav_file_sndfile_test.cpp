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
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<short>((i * 131) % 60000 - 30000);
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
  EXPECT_EQ(instrument.loops[0].end,
            3801u);  // libsndfile reports the frame after the inclusive end
  EXPECT_EQ(instrument.loops[0].mode, SF_LOOP_FORWARD);
  sf_close(file);
}

// libsndfile's extensible 32-bit file and float file with "fact", "PEAK", "bext", "iXML" and a
// "LIST"/"INFO" after the data: a marker edit keeps every one of them, and the samples, byte for
// byte.
TEST(WavFileSndfile, MarkerEditKeepsEveryChunkOfLibsndfile) {
  qotest::TempDir dir;
  const std::string in = dir.File("in.wav"), out = dir.File("out.wav");
  for (const int format : {SF_FORMAT_WAVEX | SF_FORMAT_PCM_32, SF_FORMAT_WAV | SF_FORMAT_FLOAT}) {
    SCOPED_TRACE(format);
    std::vector<int> samples(600);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = static_cast<int>(i * 2654435761u) & ~0xFF;
    SF_INFO info = {0, 48000, 6, format, 0, 0};
    SNDFILE* file = sf_open(in.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    SF_BROADCAST_INFO bext{};
    std::strcpy(bext.description, "take 1");
    char ixml[] = "<BWFXML/>";
    SF_CHUNK_INFO chunk = {"iXML", 4, 9, ixml};
    ASSERT_EQ(sf_command(file, SFC_SET_BROADCAST_INFO, &bext, sizeof(bext)), SF_TRUE);
    ASSERT_EQ(sf_set_chunk(file, &chunk), SF_ERR_NO_ERROR);
    ASSERT_EQ(sf_writef_int(file, samples.data(), 100), 100);
    ASSERT_EQ(sf_set_string(file, SF_STR_COMMENT, "kept"), 0);  // written after the data
    ASSERT_EQ(sf_close(file), 0);
    const std::string source = qotest::ReadFileBytes(in);

    QoWavFile wav;
    wav.SetStandardExtensibleLayout(true);
    ASSERT_TRUE(wav.Open(zu::Path(in), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), 0u);
    wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(50), "Cue");
    ASSERT_TRUE(qotest::WriteKeepingEverything(wav, out, false));
    wav.Close();
    EXPECT_EQ(qotest::ReadFileBytes(in), source);

    // Every chunk of the source comes out with the same body, in the same order.
    std::vector<std::pair<std::string, std::string>> kept;
    for (const auto& k : qotest::ChunksOf(qotest::ReadFileBytes(out))) {
      const bool labels = k.first == "LIST" && k.second.compare(0, 4, "adtl") == 0;
      if (k.first != "cue " && k.first != "JUNK" && !labels) kept.push_back(k);
    }
    EXPECT_EQ(kept, qotest::ChunksOf(source));
    // libsndfile takes the result, carried chunks, filler and markers included.
    info = SF_INFO();
    file = sf_open(out.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.frames, 100);
    sf_close(file);
  }
}
