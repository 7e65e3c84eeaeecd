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

namespace {

struct Case {
  bool bigEndian;
  uint16_t bits;
  uint16_t channels;
};

std::string Name(const Case& c) {
  return std::string(c.bigEndian ? "RIFX" : "RIFF") + "/" + std::to_string(c.bits) + "-bit/" +
         std::to_string(c.channels) + "ch";
}

// The 44-byte format record with a plain tag (1 PCM, 3 float): other readers take the first 16
// bytes of a plain-tagged format chunk, whereas the extensible tag would make them look for the
// sub-format at offset 24 of the body, where this record keeps the channel mask.
WAVEFORMATEXTENSIBLE Format(const Case& c, uint32_t rate) {
  WAVEFORMATEXTENSIBLE f;
  std::memset(&f, 0, sizeof(f));
  f.wFormatTag = c.bits == 32 ? 3 : 1;
  f.nChannels = c.channels;
  f.nSamplesPerSec = rate;
  f.nBlockAlign = static_cast<uint16_t>(c.channels * c.bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  f.wBitsPerSample = c.bits;
  f.cbSize = 22;
  f.wValidBitsPerSample = c.bits;
  f.dwChannelMask = QO::GetDefaultChannelMask(c.channels);
  f.SubFormat = c.bits == 32 ? ks_dataformat_ieee_float : ks_dataformat_pcm;
  return f;
}

// A ramp through the full range, different on every channel.
std::vector<float> Signal(unsigned int frames, unsigned int channels) {
  std::vector<float> s(static_cast<size_t>(frames) * channels);
  for (size_t i = 0; i < s.size(); ++i) s[i] = std::sin(0.01f * static_cast<float>(i)) * 0.9f;
  return s;
}

// The value a sample comes back as after our writer quantised it.
float Quantised(float x, uint16_t bits) {
  if (bits == 16)
    return static_cast<float>(static_cast<int>(static_cast<double>(x) * 32767.0)) / 32768.0f;
  if (bits == 24)
    return static_cast<float>(static_cast<int>(static_cast<double>(x) * 8388607.0)) / 8388608.0f;
  return x;
}

TEST(SndfileInterop, LibsndfileReadsWhatWeWrite) {
  qotest::TempDir dir;
  const Case cases[] = {{false, 16, 2}, {false, 24, 2}, {false, 32, 2}, {true, 16, 2},
                        {true, 24, 1},  {true, 32, 2},  {false, 16, 6}, {false, 24, 8}};
  for (const Case& c : cases) {
    SCOPED_TRACE(Name(c));
    const std::string path = dir.File("ours.wav");
    const unsigned int frames = 1000;
    const std::vector<float> signal = Signal(frames, c.channels);
    {
      QoWavFileWriter writer;
      ASSERT_TRUE(writer.Open(zu::Path(path), c.bigEndian));
      writer.SetFormat(Format(c, 48000));
      writer.SetLoopPoints(100, 900);
      std::string label("verse\0", 6);
      QO_WAVE_MARKER markers[2] = {{7, 250, 6, &label[0]}, {9, 500, 0, nullptr}};
      writer.SetMarkers(std::vector<QO_WAVE_MARKER>(markers, markers + 2));
      ASSERT_TRUE(writer.WriteChunks(c.bigEndian ? 0 : 0x1C));
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
    const int subtype = info.format & SF_FORMAT_SUBMASK;
    EXPECT_EQ(c.bits == 16   ? SF_FORMAT_PCM_16
              : c.bits == 24 ? SF_FORMAT_PCM_24
                             : SF_FORMAT_FLOAT,
              subtype);
    EXPECT_EQ(c.bigEndian ? SF_ENDIAN_BIG : SF_ENDIAN_FILE, info.format & SF_FORMAT_ENDMASK);

    sf_command(file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
    std::vector<float> back(signal.size());
    ASSERT_EQ(static_cast<sf_count_t>(frames), sf_readf_float(file, back.data(), frames));
    for (size_t i = 0; i < signal.size(); ++i) {
      ASSERT_FLOAT_EQ(Quantised(signal[i], c.bits), back[i]) << "sample " << i;
    }

    if (c.bigEndian) {
      sf_close(file);
      continue;
    }
    uint32_t cueCount = 0;
    ASSERT_EQ(SF_TRUE, sf_command(file, SFC_GET_CUE_COUNT, &cueCount, sizeof(cueCount)));
    ASSERT_EQ(2u, cueCount);
    SF_CUES cues;
    std::memset(&cues, 0, sizeof(cues));
    ASSERT_EQ(SF_TRUE, sf_command(file, SFC_GET_CUE, &cues, sizeof(cues)));
    EXPECT_EQ(7, cues.cue_points[0].indx);
    EXPECT_EQ(250u, cues.cue_points[0].sample_offset == 0 ? cues.cue_points[0].position : 0u);
    EXPECT_EQ(9, cues.cue_points[1].indx);
    EXPECT_EQ(500u, cues.cue_points[1].position);

    SF_INSTRUMENT instrument;
    std::memset(&instrument, 0, sizeof(instrument));
    ASSERT_EQ(SF_TRUE, sf_command(file, SFC_GET_INSTRUMENT, &instrument, sizeof(instrument)));
    ASSERT_EQ(1, instrument.loop_count);
    EXPECT_EQ(100u, instrument.loops[0].start);
    EXPECT_EQ(901u, instrument.loops[0].end);
    sf_close(file);
  }
}

TEST(SndfileInterop, WeReadWhatLibsndfileWrites) {
  qotest::TempDir dir;
  const Case cases[] = {{false, 16, 2}, {false, 24, 2}, {false, 32, 2}, {true, 16, 2},
                        {true, 24, 2},  {true, 32, 1},  {false, 16, 1}, {true, 24, 4}};
  for (const Case& c : cases) {
    SCOPED_TRACE(Name(c));
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
    info.format = SF_FORMAT_WAV |
                  (c.bits == 16   ? SF_FORMAT_PCM_16
                   : c.bits == 24 ? SF_FORMAT_PCM_24
                                  : SF_FORMAT_FLOAT) |
                  (c.bigEndian ? SF_ENDIAN_BIG : SF_ENDIAN_FILE);
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(nullptr, file) << sf_strerror(nullptr);
    SF_CUES cues;
    std::memset(&cues, 0, sizeof(cues));
    cues.cue_count = 2;
    cues.cue_points[0].indx = 3;
    cues.cue_points[0].position = 123;
    cues.cue_points[0].fcc_chunk = 0x61746164;
    cues.cue_points[0].sample_offset = 123;
    cues.cue_points[1].indx = 4;
    cues.cue_points[1].position = 456;
    cues.cue_points[1].fcc_chunk = 0x61746164;
    cues.cue_points[1].sample_offset = 456;
    if (!c.bigEndian) {
      EXPECT_EQ(SF_TRUE, sf_command(file, SFC_SET_CUE, &cues, sizeof(cues)));
    }
    SF_INSTRUMENT instrument;
    std::memset(&instrument, 0, sizeof(instrument));
    instrument.basenote = 60;
    instrument.velocity_hi = 127;
    instrument.key_hi = 127;
    instrument.loop_count = 1;
    instrument.loops[0].mode = SF_LOOP_FORWARD;
    instrument.loops[0].start = 10;
    instrument.loops[0].end = 700;
    if (!c.bigEndian) {
      EXPECT_EQ(SF_TRUE, sf_command(file, SFC_SET_INSTRUMENT, &instrument, sizeof(instrument)));
    }
    if (c.bits == 32) {
      ASSERT_EQ(static_cast<sf_count_t>(frames), sf_writef_float(file, floats.data(), frames));
    } else {
      ASSERT_EQ(static_cast<sf_count_t>(frames), sf_writef_int(file, ints.data(), frames));
    }
    sf_close(file);

    QoWavFileReader reader;
    ASSERT_TRUE(reader.Open(zu::Path(path)));
    ASSERT_TRUE(reader.ReadChunks(0x1F));
    EXPECT_EQ(c.bigEndian, reader.IsByteSwapped());
    const WaveFormatExtensible* format = reader.GetFormat();
    EXPECT_EQ(c.channels, format->nChannels);
    EXPECT_EQ(22050u, format->nSamplesPerSec);
    EXPECT_EQ(c.bits, format->wBitsPerSample);
    EXPECT_EQ(QO::GetDefaultChannelConfig(c.channels), format->channelConfig);
    EXPECT_EQ(frames, reader.GetNumFrames());
    if (c.bigEndian) {
      EXPECT_EQ(0x3u, reader.ChunksRead());
      EXPECT_EQ(0u, reader.GetNumMarkers());
    } else {
      EXPECT_EQ(0x0Fu, reader.ChunksRead());
      EXPECT_EQ(10u, reader.GetLoopStartFrame());
      EXPECT_EQ(699u, reader.GetLoopEndFrame());
      ASSERT_EQ(2u, reader.GetNumMarkers());
      EXPECT_EQ(3u, reader.GetMarkers()[0].ID);
      EXPECT_EQ(123u, reader.GetMarkers()[0].position);
      EXPECT_EQ(4u, reader.GetMarkers()[1].ID);
      EXPECT_EQ(456u, reader.GetMarkers()[1].position);
    }

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
