#include <gtest/gtest.h>
#include <qobase/audio/wav_file_writer.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;
using qotest::Hex;

const std::string k_pcmGuid("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16);

WAVEFORMATEXTENSIBLE Extensible(uint16_t channels, uint16_t bits, uint32_t rate = 44100) {
  WAVEFORMATEXTENSIBLE f;
  std::memset(&f, 0, sizeof(f));
  f.wFormatTag = 0xFFFE;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  f.wBitsPerSample = bits;
  f.cbSize = 22;
  f.wValidBitsPerSample = bits;
  f.dwChannelMask = channels == 2 ? 0x3 : 0x4;
  f.SubFormat = bits == 32 ? ks_dataformat_ieee_float : ks_dataformat_pcm;
  return f;
}

QO_WAVE_MARKER Marker(uint32_t id, uint32_t position, const std::string& label) {
  QO_WAVE_MARKER m = {id, position, static_cast<uint32_t>(label.size()), nullptr};
  if (!label.empty()) m.label = const_cast<char*>(label.data());
  return m;
}

// The file the writer must produce for the scene below, built field by field.
std::string ExpectedScene(bool big) {
  ByteBuilder fmt(big);
  fmt.U16(0xFFFE)
      .U16(2)
      .U32(44100)
      .U32(176400)
      .U16(4)
      .U16(16)
      .U16(22)
      .U16(0)
      .U16(16)
      .U16(0)
      .U32(3)
      .Raw(k_pcmGuid);
  ByteBuilder smpl(big);
  smpl.U32(0).U32(0).U32(44100).U32(0).U32(0).U32(0).U32(0).U32(1).U32(0);
  smpl.U32(0).U32(0).U32(10).U32(20).U32(0).U32(0);
  ByteBuilder cue(big);
  cue.U32(3);
  cue.U32(1).U32(5).Raw("data").U32(0).U32(0).U32(0);
  cue.U32(2).U32(7).Raw("data").U32(0).U32(0).U32(0);
  cue.U32(3).U32(9).Raw("data").U32(0).U32(0).U32(0);
  ByteBuilder list(big);
  list.Raw("adtl");
  list.Raw("labl").U32(9).U32(1).Raw(std::string("abcd\0", 5)).U8(0);
  list.Raw("labl").U32(8).U32(2).Raw(std::string("xy\0z", 4));
  ByteBuilder data(big);
  data.U16(0x7FFF).U16(0x8001).U16(0x3FFF).U16(0xC001);
  ByteBuilder chunks(big);
  chunks.Chunk("fmt ", fmt.Bytes()).Chunk("smpl", smpl.Bytes()).Chunk("cue ", cue.Bytes());
  chunks.Chunk("LIST", list.Bytes()).Chunk("data", data.Bytes());
  return qotest::WaveFile(big, chunks.Bytes());
}

std::string WriteScene(const qotest::TempDir& dir, bool big) {
  const std::string path = dir.File(big ? "sub/scene_be.wav" : "sub/scene.wav");
  QoWavFileWriter writer;
  EXPECT_TRUE(writer.Open(zu::Path(path), big));
  writer.SetFormat(Extensible(2, 16));
  writer.SetLoopPoints(10, 20);
  const std::string label1("abcd\0", 5), label2("xy\0z", 4);
  writer.SetMarkers({Marker(1, 5, label1), Marker(2, 7, label2)});
  writer.SetMarkers({Marker(3, 9, "")});  // appended to the list already there
  EXPECT_TRUE(writer.WriteChunks(0x1C));
  float samples[4] = {1.0f, -1.0f, 0.5f, -0.5f};
  EXPECT_TRUE(writer.WriteReal32AsPCMData(2, samples));
  EXPECT_TRUE(writer.Close());
  return qotest::ReadFileBytes(path);
}

TEST(WavFileWriter, WritesTheExactBytesInBothByteOrders) {
  qotest::TempDir dir;
  const std::string little = WriteScene(dir, false);
  EXPECT_EQ(Hex(ExpectedScene(false)), Hex(little));
  const std::string big = WriteScene(dir, true);
  EXPECT_EQ(Hex(ExpectedScene(true)), Hex(big));
  EXPECT_EQ(little.size(), big.size());
}

TEST(WavFileWriter, MinimalFileAndCompactFormat) {
  qotest::TempDir dir;
  {
    // No markers: "fmt ", "smpl", "data" only; 4 data bytes give a 76-byte file without "smpl".
    QoWavFileWriter writer;
    ASSERT_TRUE(writer.Open(zu::Path(dir.File("a.wav")), false));
    writer.SetFormat(Extensible(1, 16));
    ASSERT_TRUE(writer.WriteChunks(0x18));
    short samples[2] = {0x1234, -2};
    EXPECT_TRUE(writer.WriteInt16AsPCMData(2, samples));
    EXPECT_TRUE(writer.Close());
    const std::string bytes = qotest::ReadFileBytes(dir.File("a.wav"));
    ASSERT_EQ(76u, bytes.size());
    EXPECT_EQ(Hex(std::string("RIFF\x44\x00\x00\x00WAVEfmt \x2C\x00\x00\x00", 20)),
              Hex(bytes.substr(0, 20)));
    EXPECT_EQ(Hex(std::string("data\x04\x00\x00\x00\x34\x12\xFE\xFF", 12)), Hex(bytes.substr(64)));
    // Closing again is harmless.
    EXPECT_TRUE(writer.Close());
  }
  {
    QoWavFileWriter writer;
    ASSERT_TRUE(writer.Open(zu::Path(dir.File("b.wav")), true));
    WaveFormatExtensible compact = {0xFFFE, 1, 8000, 16000, 2, 16, 4, 0x0102, 0x4101};
    writer.SetFormat(compact);
    std::string label("x", 1);
    writer.SetMarkers({Marker(4, 1, "")});  // no label: no "LIST"
    ASSERT_TRUE(writer.WriteChunks(0x1C));
    short samples[1] = {0x0102};
    EXPECT_TRUE(writer.WriteInt16AsPCMData(1, samples));
    EXPECT_TRUE(writer.Close());
    ByteBuilder fmt(true);
    fmt.U16(0xFFFE).U16(1).U32(8000).U32(16000).U16(2).U16(16).U16(4).U16(0x0102).U32(0x4101);
    ByteBuilder smpl(true);
    smpl.U32(0).U32(0).U32(8000).U32(0).U32(0).U32(0).U32(0).U32(1).U32(0).Zeros(24);
    ByteBuilder cue(true);
    cue.U32(1).U32(4).U32(1).Raw("data").Zeros(12);
    ByteBuilder chunks(true);
    chunks.Chunk("fmt ", fmt.Bytes()).Chunk("smpl", smpl.Bytes()).Chunk("cue ", cue.Bytes());
    chunks.Chunk("data", std::string("\x01\x02", 2));
    EXPECT_EQ(Hex(qotest::WaveFile(true, chunks.Bytes())),
              Hex(qotest::ReadFileBytes(dir.File("b.wav"))));
  }
}

TEST(WavFileWriter, SampleConversionEdges) {
  qotest::TempDir dir;
  auto dataOf = [&](bool big, uint16_t bits, std::vector<float> in, uint16_t channels = 1) {
    QoWavFileWriter writer;
    EXPECT_TRUE(writer.Open(zu::Path(dir.File("c.wav")), big));
    writer.SetFormat(Extensible(channels, bits));
    EXPECT_TRUE(writer.WriteChunks(0));
    EXPECT_TRUE(
        writer.WriteReal32AsPCMData(static_cast<unsigned int>(in.size() / channels), in.data()));
    EXPECT_TRUE(writer.Close());
    return Hex(qotest::ReadFileBytes(dir.File("c.wav")).substr(12 + 52 + 8));
  };
  EXPECT_EQ("FF 7F 01 80", dataOf(false, 16, {1.0f, -1.0f}));
  EXPECT_EQ("7F FF 80 01", dataOf(true, 16, {1.0f, -1.0f}));
  EXPECT_EQ("FF 7F 00 80 00 00", dataOf(false, 16, {2.0f, -1.5f, 0.00001f}));
  EXPECT_EQ("FF FF 7F 00 00 80 01 00 80", dataOf(false, 24, {2.0f, -3.0f, -1.0f}));
  EXPECT_EQ("7F FF FF 80 00 01", dataOf(true, 24, {1.0f, -1.0f}));
  // Truncation toward zero: 0.5 * 32767 = 16383.5 -> 16383; -0.5 -> -16383.
  EXPECT_EQ("FF 3F 01 C0", dataOf(false, 16, {0.5f, -0.5f}));
  EXPECT_EQ("00 00 80 3F 00 00 80 BF", dataOf(false, 32, {1.0f, -1.0f}));
  EXPECT_EQ("3F 80 00 00 BF 80 00 00", dataOf(true, 32, {1.0f, -1.0f}));
  // Stereo interleaving is kept.
  EXPECT_EQ("01 00 FF FF 02 00 FE FF",
            dataOf(false, 16, {1.5f / 32767, -1.5f / 32767, 2.5f / 32767, -2.5f / 32767}, 2));
  // A value just below a step truncates to the step below it.
  EXPECT_EQ("00 00", dataOf(false, 16, {0.99f / 32767}));
}

// x * scale clamped to [-(scale + 1), scale] and truncated, computed the plain way in double.
int32_t Reference(float x, double scale) {
  double v = static_cast<double>(x) * scale;
  if (v < -(scale + 1)) v = -(scale + 1);
  if (v > scale) v = scale;
  return static_cast<int32_t>(v);
}

TEST(WavFileWriter, IntegerConversionMatchesTheExactDefinition) {
  // Inputs around every clamp bound and step, plus a pseudo-random sweep over [-1.5, 1.5].
  std::vector<float> inputs;
  for (double scale : {32767.0, 8388607.0}) {
    for (double edge : {-(scale + 1) / scale, -1.0, 1.0, 0.0, 0.5, -0.5, 1.0 / scale, -1.0 / scale,
                        12345.0 / scale}) {
      float x = static_cast<float>(edge);
      for (int i = 0; i < 4; ++i) x = std::nextafter(x, -10.0f);
      for (int i = 0; i < 9; ++i, x = std::nextafter(x, 10.0f)) inputs.push_back(x);
    }
  }
  uint32_t seed = 12345;
  for (int i = 0; i < 20000; ++i) {
    seed = seed * 1664525u + 1013904223u;
    inputs.push_back((static_cast<float>(seed >> 8) / 16777216.0f - 0.5f) * 3.0f);
  }
  inputs.push_back(1e30f);
  inputs.push_back(-1e30f);
  qotest::TempDir dir;
  for (uint16_t bits : {16, 24}) {
    for (bool big : {false, true}) {
      SCOPED_TRACE(std::to_string(bits) + (big ? " RIFX" : " RIFF"));
      const std::string path = dir.File("x.wav");
      QoWavFileWriter writer;
      ASSERT_TRUE(writer.Open(zu::Path(path), big));
      writer.SetFormat(Extensible(1, bits));
      ASSERT_TRUE(writer.WriteChunks(0));
      ASSERT_TRUE(
          writer.WriteReal32AsPCMData(static_cast<unsigned int>(inputs.size()), inputs.data()));
      ASSERT_TRUE(writer.Close());
      const std::string data = qotest::ReadFileBytes(path).substr(12 + 52 + 8);
      const size_t width = bits / 8;
      ASSERT_EQ(inputs.size() * width, data.size());
      for (size_t i = 0; i < inputs.size(); ++i) {
        uint32_t u = 0;
        for (size_t b = 0; b < width; ++b) {
          const unsigned char byte =
              static_cast<unsigned char>(data[i * width + (big ? b : width - 1 - b)]);
          u = (u << 8) | byte;
        }
        const int32_t got = static_cast<int32_t>(u << (32 - 8 * width)) >> (32 - 8 * width);
        ASSERT_EQ(Reference(inputs[i], bits == 16 ? 32767.0 : 8388607.0), got)
            << "input " << inputs[i];
      }
    }
  }
}

TEST(WavFileWriter, RefusesWhatItCannotWrite) {
  qotest::TempDir dir;
  QoWavFileWriter writer;
  float f[2] = {0, 0};
  short s[2] = {0, 0};
  EXPECT_FALSE(writer.WriteReal32AsPCMData(1, f));  // not open
  ASSERT_TRUE(writer.Open(zu::Path(dir.File("d.wav")), false));
  EXPECT_FALSE(writer.Open(zu::Path(dir.File("e.wav")), false));  // already open
  EXPECT_FALSE(writer.WriteChunks(0));                            // no format
  writer.SetFormat(Extensible(1, 24));
  ASSERT_TRUE(writer.WriteChunks(0));
  EXPECT_FALSE(writer.WriteInt16AsPCMData(2, s));
  EXPECT_TRUE(writer.Close());
  EXPECT_EQ(12u + 52u + 8u, qotest::ReadFileBytes(dir.File("d.wav")).size());

  WAVEFORMATEXTENSIBLE eight = Extensible(1, 8);
  QoWavFileWriter other;
  ASSERT_TRUE(other.Open(zu::Path(dir.File("f.wav")), false));
  other.SetFormat(eight);
  ASSERT_TRUE(other.WriteChunks(0));
  EXPECT_FALSE(other.WriteReal32AsPCMData(2, f));
  EXPECT_TRUE(other.Close());

  // A directory in the way of the file.
  QoWavFileWriter blocked;
  EXPECT_FALSE(blocked.Open(zu::Path(dir.Path()), false));
}

}  // namespace
