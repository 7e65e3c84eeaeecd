// Interoperability with libsndfile, an independent WAVE implementation: what our writer makes
// it must read (format, samples, cue points, loop), and what it writes our reader must read.
//
// Two conventions of libsndfile shape the expectations: its loop end is one past the sampler
// chunk's dwEnd (it writes end - 1 and reads dwEnd + 1), and in "RIFX" files it reads and writes
// the "cue " and "smpl" chunks little-endian, so big-endian files are exchanged without them.
#include <gtest/gtest.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

struct Case {
  bool big;
  uint16_t bits, channels;
  std::string Name() const {
    return std::string(big ? "RIFX/" : "RIFF/") + std::to_string(bits) + "/" +
           std::to_string(channels);
  }
  int Format() const {
    return SF_FORMAT_WAV | (big ? SF_ENDIAN_BIG : SF_ENDIAN_FILE) |
           (bits == 16   ? SF_FORMAT_PCM_16
            : bits == 24 ? SF_FORMAT_PCM_24
                         : SF_FORMAT_FLOAT);
  }
};

// The value a sample comes back as after our writer quantised it.
float Quantised(float x, uint16_t bits) {
  if (bits == 32) return x;
  const double scale = bits == 16 ? 32767.0 : 8388607.0;
  return static_cast<float>(static_cast<int>(static_cast<double>(x) * scale)) /
         static_cast<float>(scale + 1);
}

TEST(SndfileInterop, LibsndfileReadsWhatWeWrite) {
  qotest::TempDir dir;
  const Case cases[] = {{false, 16, 2}, {false, 24, 2}, {false, 32, 2}, {true, 16, 2},
                        {true, 24, 1},  {true, 32, 2},  {false, 16, 6}, {false, 24, 8}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Name());
    const std::string path = dir.File("ours.wav");
    const unsigned int frames = 1000;
    std::vector<float> signal(static_cast<size_t>(frames) * c.channels);
    for (size_t i = 0; i < signal.size(); ++i) signal[i] = std::sin(0.01f * i) * 0.9f;
    {
      QoWavFileWriter writer;
      ASSERT_TRUE(writer.Open(zu::Path(path), c.big));
      // A plain tag (1 PCM, 3 float): other readers take the first 16 bytes of a plain-tagged
      // format chunk, whereas the extensible tag would make them look for the sub-format at
      // offset 24 of the body, where the 44-byte record keeps the channel mask.
      writer.SetFormat(qotest::ExtensibleFormat(c.channels, c.bits, 48000, c.bits == 32 ? 3 : 1));
      writer.SetLoopPoints(100, 900);
      std::string label("verse\0", 6);
      writer.SetMarkers({{7, 250, 6, &label[0]}, {9, 500, 0, nullptr}});
      ASSERT_TRUE(writer.WriteChunks(c.big ? 0 : 0x1C));
      std::vector<float> copy = signal;
      ASSERT_TRUE(writer.WriteReal32AsPCMData(frames, copy.data()));
      ASSERT_TRUE(writer.Close());
    }
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(nullptr, file) << sf_strerror(nullptr);
    EXPECT_EQ(c.channels, info.channels);
    EXPECT_EQ(48000, info.samplerate);
    EXPECT_EQ(static_cast<sf_count_t>(frames), info.frames);
    EXPECT_EQ(c.Format(), info.format);
    sf_command(file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
    std::vector<float> back(signal.size());
    ASSERT_EQ(static_cast<sf_count_t>(frames), sf_readf_float(file, back.data(), frames));
    for (size_t i = 0; i < signal.size(); ++i)
      ASSERT_FLOAT_EQ(Quantised(signal[i], c.bits), back[i]) << "sample " << i;
    if (!c.big) {
      SF_CUES cues;
      std::memset(&cues, 0, sizeof(cues));
      ASSERT_EQ(SF_TRUE, sf_command(file, SFC_GET_CUE, &cues, sizeof(cues)));
      ASSERT_EQ(2u, cues.cue_count);
      EXPECT_EQ(7, cues.cue_points[0].indx);
      EXPECT_EQ(250u, cues.cue_points[0].position);
      EXPECT_EQ(9, cues.cue_points[1].indx);
      EXPECT_EQ(500u, cues.cue_points[1].position);
      SF_INSTRUMENT instrument;
      std::memset(&instrument, 0, sizeof(instrument));
      ASSERT_EQ(SF_TRUE, sf_command(file, SFC_GET_INSTRUMENT, &instrument, sizeof(instrument)));
      ASSERT_EQ(1, instrument.loop_count);
      EXPECT_EQ(100u, instrument.loops[0].start);
      EXPECT_EQ(901u, instrument.loops[0].end);
    }
    sf_close(file);
  }
}

TEST(SndfileInterop, WeReadWhatLibsndfileWrites) {
  qotest::TempDir dir;
  const Case cases[] = {{false, 16, 2}, {false, 24, 2}, {false, 32, 2}, {true, 16, 2},
                        {true, 24, 2},  {true, 32, 1},  {false, 16, 1}, {true, 24, 4}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.Name());
    const std::string path = dir.File("theirs.wav");
    const unsigned int frames = 777;
    const size_t count = static_cast<size_t>(frames) * c.channels;
    std::vector<int> ints(count);
    std::vector<float> floats(count);
    for (size_t i = 0; i < count; ++i) {
      const int v = static_cast<int>((i * 2654435761u) & 0xFFFFFF) - 0x800000;  // 24-bit pattern
      ints[i] = c.bits == 16 ? (v >> 8) * 65536 : v * 256;
      floats[i] = static_cast<float>(v) / 8388608.0f;
    }
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    info.channels = c.channels;
    info.samplerate = 22050;
    info.format = c.Format();
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(nullptr, file) << sf_strerror(nullptr);
    if (!c.big) {
      SF_CUES cues;
      std::memset(&cues, 0, sizeof(cues));
      cues.cue_count = 2;
      cues.cue_points[0] = {3, 123, 0x61746164, 0, 0, 123, {}};
      cues.cue_points[1] = {4, 456, 0x61746164, 0, 0, 456, {}};
      EXPECT_EQ(SF_TRUE, sf_command(file, SFC_SET_CUE, &cues, sizeof(cues)));
      SF_INSTRUMENT instrument;
      std::memset(&instrument, 0, sizeof(instrument));
      instrument.loop_count = 1;
      instrument.loops[0] = {SF_LOOP_FORWARD, 10, 700, 0};
      EXPECT_EQ(SF_TRUE, sf_command(file, SFC_SET_INSTRUMENT, &instrument, sizeof(instrument)));
    }
    ASSERT_EQ(static_cast<sf_count_t>(frames), c.bits == 32
                                                   ? sf_writef_float(file, floats.data(), frames)
                                                   : sf_writef_int(file, ints.data(), frames));
    sf_close(file);

    QoWavFileReader reader;
    ASSERT_TRUE(reader.Open(zu::Path(path)));
    ASSERT_TRUE(reader.ReadChunks(QO::k_chunksAll));
    EXPECT_EQ(c.big, reader.IsByteSwapped());
    const WaveFormatExtensible* format = reader.GetFormat();
    EXPECT_EQ(c.channels, format->nChannels);
    EXPECT_EQ(22050u, format->nSamplesPerSec);
    EXPECT_EQ(c.bits, format->wBitsPerSample);
    EXPECT_EQ(QO::GetDefaultChannelConfig(c.channels), format->channelConfig);
    EXPECT_EQ(frames, reader.GetNumFrames());
    EXPECT_EQ(c.big ? 0x3u : 0xFu, reader.ChunksRead());
    EXPECT_EQ(c.big ? "" : "3@123: 4@456:", qotest::Markers(reader.GetMarkers()));
    EXPECT_EQ(c.big ? 0u : 10u, reader.GetLoopStartFrame());
    EXPECT_EQ(c.big ? 0u : 699u, reader.GetLoopEndFrame());

    std::vector<float> back(count, 99.0f);
    ASSERT_GE(reader.SeekToAudioFrame(0), 0);
    ASSERT_EQ(frames, reader.ReadPCMDataAsFloat32(frames + 10, back.data()));
    for (size_t i = 0; i < count; ++i) {
      const float expected = c.bits == 32 ? floats[i] : static_cast<float>(ints[i]) / 2147483648.0f;
      ASSERT_EQ(expected, back[i]) << "sample " << i;
    }
    EXPECT_EQ(0u, reader.ReadPCMDataAsFloat32(1, back.data()));
  }
}

}  // namespace
