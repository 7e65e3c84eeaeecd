// Writer then reader: format, loop points, markers with labels and samples come back, for every
// sample width, channel count from mono to 8 and both byte orders.
#include <gtest/gtest.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

class WavRoundTrip : public ::testing::TestWithParam<std::tuple<int, int, bool>> {};

TEST_P(WavRoundTrip, EverythingComesBack) {
  const uint16_t bits = static_cast<uint16_t>(std::get<0>(GetParam()));
  const uint16_t channels = static_cast<uint16_t>(std::get<1>(GetParam()));
  const bool big = std::get<2>(GetParam());
  qotest::TempDir dir;
  const std::string path = dir.File("round.wav");

  const WAVEFORMATEXTENSIBLE format = qotest::ExtensibleFormat(channels, bits, 96000);
  // Labels of odd and even lengths, with and without NUL, and a marker without label.
  const std::string odd("Intro", 5), even("Chorus\0", 7), four("ab\0\0", 4);
  std::vector<QO_WAVE_MARKER> markers = {
      {11, 0, 5, const_cast<char*>(odd.data())},
      {3, 1234, 7, const_cast<char*>(even.data())},
      {42, 2000, 0, nullptr},
      {7, 2047, 4, const_cast<char*>(four.data())},
  };
  const unsigned int frames = 2048;
  std::vector<float> samples(static_cast<size_t>(frames) * channels);
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<float>(static_cast<int>(i * 7919 % 4001) - 2000) / 2000.0f;
  }
  {
    QoWavFileWriter writer;
    ASSERT_TRUE(writer.Open(zu::Path(path), big));
    writer.SetFormat(format);
    writer.SetLoopPoints(256, 1792);
    writer.SetMarkers(markers);
    ASSERT_TRUE(writer.WriteChunks(QO::k_chunksMarkers));
    // In two blocks, to check that appends continue where the last one stopped.
    ASSERT_TRUE(writer.WriteReal32AsPCMData(1000, samples.data()));
    ASSERT_TRUE(writer.WriteReal32AsPCMData(frames - 1000, samples.data() + 1000 * channels));
    ASSERT_TRUE(writer.Close());
  }

  QoWavFileReader reader;
  ASSERT_TRUE(reader.Open(zu::Path(path)));
  ASSERT_TRUE(reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ(0x1Fu, reader.ChunksRead());
  EXPECT_EQ(big, reader.IsByteSwapped());
  const WaveFormatExtensible expected = {0xFFFE,
                                         channels,
                                         96000,
                                         format.nAvgBytesPerSec,
                                         format.nBlockAlign,
                                         bits,
                                         4,
                                         0,
                                         QO::GetDefaultChannelConfig(channels)};
  EXPECT_EQ(qotest::Fields(expected), qotest::Fields(*reader.GetFormat()));
  EXPECT_EQ(bits == 32, reader.IsFloat());
  EXPECT_EQ(frames, reader.GetNumFrames());
  EXPECT_EQ(256u, reader.GetLoopStartFrame());
  EXPECT_EQ(1792u, reader.GetLoopEndFrame());

  EXPECT_EQ(qotest::Markers(markers), qotest::Markers(reader.GetMarkers()));

  std::vector<float> back(samples.size(), 5.0f);
  ASSERT_GE(reader.SeekToAudioFrame(0), 0);
  unsigned int done = 0;
  while (done < frames) {
    const unsigned int n =
        reader.ReadPCMDataAsFloat32(300, back.data() + static_cast<size_t>(done) * channels);
    ASSERT_GT(n, 0u);
    done += n;
  }
  EXPECT_EQ(0u, reader.ReadPCMDataAsFloat32(300, back.data()));
  // Integers: truncation toward zero, then scaling by a power of two, so the error is below
  // two steps of the width; floats come back exactly.
  const float tolerance = bits == 16 ? 2.0f / 32768 : bits == 24 ? 2.0f / 8388608 : 0.0f;
  for (size_t i = 0; i < samples.size(); ++i) {
    ASSERT_NEAR(samples[i], back[i], tolerance) << "sample " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(WidthsChannelsByteOrders, WavRoundTrip,
                         ::testing::Combine(::testing::Values(16, 24, 32), ::testing::Range(1, 9),
                                            ::testing::Bool()));

}  // namespace
