// The chunk editor on files written by libsndfile, and libsndfile reading what the editor wrote.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/result_code.h>

#include <sndfile.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace {

constexpr sf_count_t k_frames = 5000;

std::vector<short> TestSamples() {
  std::vector<short> samples(k_frames * 2);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<short>((i * 131) % 60000 - 30000);
  return samples;
}

bool WriteWithSndfile(const std::string& path, const std::vector<short>& samples) {
  SF_INFO info;
  std::memset(&info, 0, sizeof(info));
  info.samplerate = 48000;
  info.channels = 2;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file) return false;
  const bool written = sf_writef_short(file, samples.data(), k_frames) == k_frames;
  return sf_close(file) == 0 && written;
}

}  // namespace

TEST(WavFileSndfile, EditsAFileOfLibsndfileAndLibsndfileReadsTheResult) {
  qotest::TempDir dir;
  const std::vector<short> samples = TestSamples();
  const std::string source = dir.File("sndfile.wav");
  ASSERT_TRUE(WriteWithSndfile(source, samples));
  const std::string before = qotest::ReadFileBytes(source);

  for (bool extensible : {false, true}) {
    SCOPED_TRACE(extensible);
    QoWavFile wav;
    ASSERT_TRUE(wav.Open(zu::Path(source), false));
    const unsigned int first = wav.m_cueChunk.AddCue(1000);
    const unsigned int second = wav.m_cueChunk.AddCue(4000);
    wav.m_listChunk.AddLabel(first, "Intro");
    wav.m_listChunk.AddLabel(second, "Outro");
    ASSERT_TRUE(wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, 1200, 3800));

    const std::string output = dir.File(extensible ? "compact.wav" : "plain.wav");
    zu::File out;
    ASSERT_EQ(out.Open(zu::Path(output), k_openModeWrite, 0), QO::k_resultSuccess);
    ASSERT_TRUE(wav.WriteRiffChunk(out, false));
    ASSERT_TRUE(extensible ? wav.WriteFormatChunk(out, false) : wav.WriteFormatChunkNotExtensible(out, false));
    ASSERT_TRUE(wav.WriteCueChunk(out, false) && wav.WriteListChunk(out, false) && wav.WriteSmplChunk(out, false));
    ASSERT_TRUE(wav.WriteJunkChunk(out, false) && wav.WriteDataChunk(out, false));
    ASSERT_TRUE(wav.UpdateRiffChunkSize(out, false));
    ASSERT_EQ(out.Close(), QO::k_resultSuccess);
    wav.Close();
    EXPECT_EQ(qotest::ReadFileBytes(source), before);

    // Our reader: markers with labels, loop, aligned samples.
    QoWavFileReader reader;
    ASSERT_TRUE(reader.Open(zu::Path(output)) && reader.ReadChunks(0x1F));
    ASSERT_EQ(reader.GetMarkers().size(), 2u);
    EXPECT_EQ(reader.GetMarkers()[0].position, 1000u);
    EXPECT_STREQ(reader.GetMarkers()[0].label, "Intro");
    EXPECT_EQ(reader.GetMarkers()[1].position, 4000u);
    EXPECT_STREQ(reader.GetMarkers()[1].label, "Outro");
    EXPECT_EQ(reader.GetLoopStartFrame(), 1200u);
    EXPECT_EQ(reader.GetLoopEndFrame(), 3800u);
    EXPECT_EQ(reader.GetDataOffset() % 16, 0u);

    // libsndfile: the same samples, the cue points and the loop. The compact 24-byte format is
    // this library's own form, which other programs do not know; files for them carry the
    // plain format.
    if (extensible) continue;
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    SNDFILE* file = sf_open(output.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.frames, k_frames);
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.samplerate, 48000);
    std::vector<short> back(samples.size());
    EXPECT_EQ(sf_readf_short(file, back.data(), k_frames), k_frames);
    EXPECT_EQ(back, samples);
    SF_CUES cues;
    std::memset(&cues, 0, sizeof(cues));
    ASSERT_EQ(sf_command(file, SFC_GET_CUE, &cues, sizeof(cues)), SF_TRUE);
    ASSERT_EQ(cues.cue_count, 2u);
    EXPECT_EQ(cues.cue_points[0].indx, static_cast<int32_t>(first));
    EXPECT_EQ(cues.cue_points[0].position, 1000u);
    EXPECT_EQ(cues.cue_points[1].position, 4000u);
    SF_INSTRUMENT instrument;
    std::memset(&instrument, 0, sizeof(instrument));
    ASSERT_EQ(sf_command(file, SFC_GET_INSTRUMENT, &instrument, sizeof(instrument)), SF_TRUE);
    ASSERT_EQ(instrument.loop_count, 1);
    EXPECT_EQ(instrument.loops[0].start, 1200u);
    EXPECT_EQ(instrument.loops[0].end, 3801u);  // libsndfile reports the frame after the inclusive end
    EXPECT_EQ(instrument.loops[0].mode, SF_LOOP_FORWARD);
    sf_close(file);
  }
}
