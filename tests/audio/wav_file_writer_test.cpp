// The WAV writer: the bytes it writes for formats, markers and samples.
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
using qotest::ExtensibleFormat;
using qotest::Hex;

QO_WAVE_MARKER Marker(uint32_t id, uint32_t position, const std::string& label) {
  return {id, position, static_cast<uint32_t>(label.size()),
          label.empty() ? nullptr : const_cast<char*>(label.data())};
}

// The file the writer must produce for the scene below, built field by field.
std::string ExpectedScene(bool big) {
  ByteBuilder fmt(big);
  fmt.U16(0xFFFE).U16(2).U32(44100).U32(176400).U16(4).U16(16).U16(22).U16(0).U16(16).U16(0);
  fmt.U32(3).Raw(
      std::string("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16));
  ByteBuilder smpl(big);
  smpl.U32(0).U32(0).U32(44100).Zeros(16).U32(1).U32(0).U32(0).U32(0).U32(10).U32(20).Zeros(8);
  ByteBuilder cue(big);
  cue.U32(3).U32(1).U32(5).Raw("data").Zeros(12).U32(2).U32(7).Raw("data").Zeros(12);
  cue.U32(3).U32(9).Raw("data").Zeros(12);
  ByteBuilder list(big);
  list.Raw("adtl").Raw("labl").U32(9).U32(1).Raw(std::string("abcd\0", 5)).U8(0);
  list.Raw("labl").U32(8).U32(2).Raw(std::string("xy\0z", 4));
  ByteBuilder chunks(big);
  chunks.Chunk("fmt ", fmt.Bytes()).Chunk("smpl", smpl.Bytes()).Chunk("cue ", cue.Bytes());
  chunks.Chunk("LIST", list.Bytes());
  chunks.Chunk("data", ByteBuilder(big).U16(0x7FFF).U16(0x8001).U16(0x3FFF).U16(0xC001).Bytes());
  return qotest::WaveFile(big, chunks.Bytes());
}

TEST(WavFileWriter, WritesTheExactBytesInBothByteOrders) {
  qotest::TempDir dir;
  for (bool big : {false, true}) {
    const std::string path = dir.File(big ? "sub/scene_be.wav" : "sub/scene.wav");
    {
      QoWavFileWriter writer;
      ASSERT_TRUE(writer.Open(zu::Path(path), big));
      writer.SetFormat(ExtensibleFormat(2, 16));
      writer.SetLoopPoints(10, 20);
      const std::string label1("abcd\0", 5), label2("xy\0z", 4);
      writer.SetMarkers({Marker(1, 5, label1), Marker(2, 7, label2)});
      writer.SetMarkers({Marker(3, 9, "")});  // appended to the list already there
      ASSERT_TRUE(writer.WriteChunks(QO::k_chunksMarkers));
      float samples[4] = {1.0f, -1.0f, 0.5f, -0.5f};
      EXPECT_TRUE(writer.WriteReal32AsPCMData(2, samples));
      EXPECT_TRUE(writer.Close());
    }
    EXPECT_EQ(Hex(ExpectedScene(big)), Hex(qotest::ReadFileBytes(path)));
  }
}

TEST(WavFileWriter, MinimalFileAndCompactFormat) {
  qotest::TempDir dir;
  {
    // No markers: "fmt " and "data" only; 4 data bytes give a 76-byte file.
    QoWavFileWriter writer;
    ASSERT_TRUE(writer.Open(zu::Path(dir.File("a.wav")), false));
    writer.SetFormat(ExtensibleFormat(1, 16));
    ASSERT_TRUE(writer.WriteChunks(QO::k_chunkCue | QO::k_chunkLIST));
    short samples[2] = {0x1234, -2};
    EXPECT_TRUE(writer.WriteInt16AsPCMData(2, samples));
    EXPECT_TRUE(writer.Close());
    EXPECT_TRUE(writer.Close());  // closing again is harmless
    const std::string bytes = qotest::ReadFileBytes(dir.File("a.wav"));
    ASSERT_EQ(76u, bytes.size());
    EXPECT_EQ(Hex(std::string("RIFF\x44\x00\x00\x00WAVEfmt \x2C\x00\x00\x00", 20)),
              Hex(bytes.substr(0, 20)));
    EXPECT_EQ(Hex(std::string("data\x04\x00\x00\x00\x34\x12\xFE\xFF", 12)), Hex(bytes.substr(64)));
  }
  QoWavFileWriter writer;
  ASSERT_TRUE(writer.Open(zu::Path(dir.File("b.wav")), true));
  writer.SetFormat(WaveFormatExtensible{0xFFFE, 1, 8000, 16000, 2, 16, 4, 0x0102, 0x4101});
  writer.SetMarkers({Marker(4, 1, "")});  // no label: no "LIST"
  ASSERT_TRUE(writer.WriteChunks(QO::k_chunksMarkers));
  short samples[1] = {0x0102};
  EXPECT_TRUE(writer.WriteInt16AsPCMData(1, samples));
  EXPECT_TRUE(writer.Close());
  ByteBuilder chunks(true);
  chunks.Chunk("fmt ", ByteBuilder(true)
                           .U16(0xFFFE)
                           .U16(1)
                           .U32(8000)
                           .U32(16000)
                           .U16(2)
                           .U16(16)
                           .U16(4)
                           .U16(0x0102)
                           .U32(0x4101)
                           .Bytes());
  chunks.Chunk("smpl",
               ByteBuilder(true).U32(0).U32(0).U32(8000).Zeros(16).U32(1).Zeros(28).Bytes());
  chunks.Chunk("cue ", ByteBuilder(true).U32(1).U32(4).U32(1).Raw("data").Zeros(12).Bytes());
  chunks.Chunk("data", std::string("\x01\x02", 2));
  EXPECT_EQ(Hex(qotest::WaveFile(true, chunks.Bytes())),
            Hex(qotest::ReadFileBytes(dir.File("b.wav"))));
}

TEST(WavFileWriter, SampleConversionEdges) {
  qotest::TempDir dir;
  auto dataOf = [&](bool big, uint16_t bits, std::vector<float> in, uint16_t channels = 1) {
    QoWavFileWriter writer;
    EXPECT_TRUE(writer.Open(zu::Path(dir.File("c.wav")), big));
    writer.SetFormat(ExtensibleFormat(channels, bits));
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
  // Only inputs whose exact product is at or below -(scale + 1) reach the most negative value
  // (the float nearest -(scale + 1) / scale lies just above it).
  const float lowest16 = static_cast<float>(-32768.0 / 32767.0);
  EXPECT_EQ("01 80 01 80 00 80",
            dataOf(false, 16,
                   {std::nextafter(lowest16, 0.0f), lowest16, std::nextafter(lowest16, -2.0f)}));
  const float lowest24 = static_cast<float>(-8388608.0 / 8388607.0);
  EXPECT_EQ("01 00 80 00 00 80", dataOf(false, 24, {lowest24, std::nextafter(lowest24, -2.0f)}));
  // Stereo interleaving is kept; NaN goes to the most negative value.
  EXPECT_EQ("01 00 FF FF 02 00 FE FF",
            dataOf(false, 16, {1.5f / 32767, -1.5f / 32767, 2.5f / 32767, -2.5f / 32767}, 2));
  EXPECT_EQ("00 00 00 80", dataOf(false, 16, {0.99f / 32767, std::nanf("")}));
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
  writer.SetFormat(ExtensibleFormat(1, 24));
  ASSERT_TRUE(writer.WriteChunks(0));
  EXPECT_FALSE(writer.WriteInt16AsPCMData(2, s));
  writer.SetFormat(ExtensibleFormat(1, 8));
  EXPECT_FALSE(writer.WriteReal32AsPCMData(2, f));
  EXPECT_TRUE(writer.Close());
  EXPECT_EQ(12u + 52u + 8u, qotest::ReadFileBytes(dir.File("d.wav")).size());
  EXPECT_FALSE(writer.Open(zu::Path(dir.Path()), false));  // a directory in the way
}

}  // namespace
