#include <gtest/gtest.h>
#include <qobase/audio/caf_reader.h>
#include <qobase/result_code.h>

#include <memory>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;

const std::string k_matrixUuid("\x1A\xD3\x18\xC3\x00\xE5\x55\x76\xBE\x2D\x0D\xCA\x24\x60\xBC\x89",
                               16);

std::string Chunk(const std::string& type, const std::string& body, int64_t size = -2) {
  ByteBuilder b(true);
  b.Raw(type)
      .U64(static_cast<uint64_t>(size == -2 ? static_cast<int64_t>(body.size()) : size))
      .Raw(body);
  return b.Bytes();
}

std::string Desc(double rate, uint32_t flags, uint32_t bytesPerPacket, uint32_t channels,
                 uint32_t bits, const std::string& formatId = "lpcm") {
  ByteBuilder b(true);
  b.F64(rate).Raw(formatId).U32(flags).U32(bytesPerPacket).U32(1).U32(channels).U32(bits);
  return Chunk("desc", b.Bytes());
}

std::string Data(const std::string& samples, int64_t size = -2) {
  return Chunk("data", std::string(4, '\0') + samples,
               size == -2 ? static_cast<int64_t>(samples.size() + 4) : size);
}

std::string Caf(const std::string& chunks, uint16_t version = 1) {
  ByteBuilder b(true);
  b.Raw("caff").U16(version).U16(0).Raw(chunks);
  return b.Bytes();
}

std::string Matrix(uint32_t outputs, uint32_t inputs, const std::vector<float>& coefficients) {
  ByteBuilder b(true);
  b.Raw(k_matrixUuid).U32(outputs).U32(inputs);
  for (float c : coefficients) b.F32(c);
  return Chunk("uuid", b.Bytes());
}

// Runs the chunk walker over bytes written to a file; the streams live as long as the test.
class Walker {
 public:
  unsigned int operator()(const std::string& bytes, QoCAFReader& reader) {
    const std::string path = m_dir.File("w" + std::to_string(m_streams.size()) + ".caf");
    qotest::WriteFileBytes(path, bytes);
    m_streams.emplace_back(new QoSimpleStreamStdio);
    EXPECT_TRUE(m_streams.back()->Open(path));
    EXPECT_EQ(1u, reader.Init(m_streams.back().get()));
    return reader.ReadChunks();
  }

 private:
  qotest::TempDir m_dir;
  std::vector<std::unique_ptr<QoSimpleStreamStdio>> m_streams;
};

class CountingReader : public QoCAFReader {
 public:
  CountingReader() : QoCAFReader(&zuFXMemAlloc::m_instance) {}
  unsigned int OnUnknownChunk(void* body, long long size) override {
    seen.emplace_back(static_cast<const char*>(body), static_cast<size_t>(size));
    return seen.size() >= stopAfter ? 31 : 1;
  }
  std::vector<std::string> seen;
  size_t stopAfter = 100;
};

TEST(CafReader, StereoLittleEndianIntegers) {
  qotest::TempDir dir;
  ByteBuilder samples(false);
  samples.U16(0x4000).U16(0xC000).U16(1).U16(0xFFFF);
  const std::string bytes =
      Caf(Desc(44100.9, 0x2, 4, 2, 16) + Chunk("free", "xyz") + Data(samples.Bytes()));
  qotest::WriteFileBytes(dir.File("a.caf"), bytes);
  QoCAFFileReader reader;
  ASSERT_TRUE(reader.Open(dir.File("a.caf").c_str()));
  ASSERT_TRUE(reader.ReadChunks(0));
  const WaveFormatExtensible* f = reader.GetFormat();
  EXPECT_EQ(0, f->wFormatTag);
  EXPECT_EQ(2, f->nChannels);
  EXPECT_EQ(44100u, f->nSamplesPerSec);
  EXPECT_EQ(4, f->nBlockAlign);
  EXPECT_EQ(16, f->wBitsPerSample);
  EXPECT_EQ(176400u, f->nAvgBytesPerSec);
  EXPECT_EQ(0x3102u, f->channelConfig);
  EXPECT_EQ(0x3u, reader.ChunksRead());
  EXPECT_EQ(8u, reader.GetDataSize());
  EXPECT_EQ(2u, reader.GetNumFrames());
  EXPECT_DOUBLE_EQ(2.0 / 44100, reader.GetDuration());
  EXPECT_TRUE(reader.GetMarkers().empty());
  EXPECT_EQ(0u, reader.GetLoopEndFrame());
  float out[4] = {9, 9, 9, 9};
  ASSERT_EQ(2u, reader.ReadPCMDataAsFloat32(2, out));  // the walk leaves the stream at frame 0
  EXPECT_EQ(0.5f, out[0]);
  EXPECT_EQ(-0.5f, out[1]);
  EXPECT_EQ(1.0f / 32768, out[2]);
  EXPECT_EQ(-1.0f / 32768, out[3]);
  reader.SeekToAudioFrame(1);
  ASSERT_EQ(1u, reader.ReadPCMDataAsFloat32(5, out));
  EXPECT_EQ(1.0f / 32768, out[0]);
  EXPECT_EQ(0u, reader.ReadPCMDataAsFloat32(1, out));
}

TEST(CafReader, BigEndianAndFloatSamples) {
  qotest::TempDir dir;
  {
    const std::string samples("\x7F\xFF\xFF\x80\x00\x00", 6);  // big-endian 24-bit
    qotest::WriteFileBytes(dir.File("b.caf"), Caf(Desc(48000, 0, 3, 1, 24) + Data(samples)));
    QoCAFFileReader reader;
    ASSERT_TRUE(reader.Open(dir.File("b.caf").c_str()));
    ASSERT_TRUE(reader.ReadChunks(0));
    EXPECT_EQ(0x4101u, reader.GetFormat()->channelConfig);
    float out[2];
    ASSERT_EQ(2u, reader.ReadPCMDataAsFloat32(2, out));
    EXPECT_EQ(8388607.0f / 8388608, out[0]);
    EXPECT_EQ(-1.0f, out[1]);
  }
  {
    ByteBuilder samples(false);
    samples.F32(0.75f).F32(-3.0f);
    qotest::WriteFileBytes(dir.File("c.caf"),
                           Caf(Desc(48000, 0x3, 8, 2, 32) + Data(samples.Bytes())));
    QoCAFFileReader reader;
    ASSERT_TRUE(reader.Open(dir.File("c.caf").c_str()));
    ASSERT_TRUE(reader.ReadChunks(0));
    float out[2];
    ASSERT_EQ(1u, reader.ReadPCMDataAsFloat32(1, out));
    EXPECT_EQ(0.75f, out[0]);
    EXPECT_EQ(-3.0f, out[1]);
  }
}

TEST(CafReader, WalkResults) {
  Walker Walk;
  const std::string desc = Desc(48000, 0x2, 4, 2, 16);
  {
    QoCAFReader r(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(2u, Walk(Caf(desc + Data("abcd"), 2), r));  // version 2
  }
  {
    QoCAFReader r(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(2u, Walk(Caf(Desc(48000, 0, 4, 2, 16, "aac ") + Data("abcd")), r));
  }
  {
    QoCAFReader r(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(2u, Walk(Caf(desc), r));  // ends before "data"
    EXPECT_EQ(2u, Walk("caf", r));      // short file head
  }
  {
    QoCAFReader r(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(1u, Walk(Caf(desc + Data("abcdefgh")), r));
    EXPECT_EQ(1u, r.ReadChunks());  // again after success
    EXPECT_EQ(8u + 12u + 32u + 12u + 4u, r.GetDataOffset());
    EXPECT_EQ(8u, r.GetDataSize());
    EXPECT_FALSE(r.IsByteSwapped());
    EXPECT_EQ(16u, r.GetBitsPerSample());
    EXPECT_EQ(4u, r.GetBytesPerFrame());
    EXPECT_EQ(0u, r.GetSampleType());
  }
  {
    // A data chunk of size -1 runs to the end of the file.
    QoCAFReader r(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(1u, Walk(Caf(desc + Data("abcdefghijkl", -1)), r));
    EXPECT_EQ(12u, r.GetDataSize());
  }
  {
    // Unknown chunks go to OnUnknownChunk; its result other than 1 stops the walk.
    CountingReader r;
    EXPECT_EQ(1u, Walk(Caf(Chunk("free", "12345") + desc + Chunk("info", "") + Data("")), r));
    ASSERT_EQ(2u, r.seen.size());
    EXPECT_EQ("12345", r.seen[0]);
    CountingReader stopping;
    stopping.stopAfter = 1;
    EXPECT_EQ(31u, Walk(Caf(Chunk("free", "12345") + desc + Data("")), stopping));
  }
  {
    // A chunk claiming more than the file holds, or a description too short to hold its fields.
    QoCAFReader a(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(2u, Walk(Caf(Chunk("free", "abc", 0x7FFFFFFFFFFFFFFFLL) + desc + Data("")), a));
    QoCAFReader b(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(2u, Walk(Caf(Chunk("desc", std::string(20, '\0')) + Data("")), b));
    QoCAFReader c(&zuFXMemAlloc::m_instance);
    EXPECT_EQ(2u, Walk(Caf(Desc(-1.0, 0x2, 4, 2, 16) + Data("")), c));
  }
}

TEST(CafReader, ChannelLayoutChunk) {
  Walker Walk;
  const std::string desc = Desc(48000, 0x2, 4, 2, 16);
  auto chan = [](uint32_t bitmap) {
    return Chunk("chan", ByteBuilder(true).U32(0x10000).U32(bitmap).U32(0).Bytes());
  };
  QoCAFReader a(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(1u, Walk(Caf(desc + chan(0x7) + Data("")), a));
  EXPECT_EQ(0x3102u, a.GetChannelConfig());  // three speakers for two channels: ignored
  QoCAFReader b(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(1u, Walk(Caf(desc + chan(0x600) + Data("")), b));
  EXPECT_EQ(0x600102u, b.GetChannelConfig());
  QoCAFReader c(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(1u, Walk(Caf(desc + chan(0xC1) + Data("")), c));  // 0x80 does not count
  EXPECT_EQ(0x3102u, c.GetChannelConfig());
  QoCAFReader d(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(1u, Walk(Caf(Desc(48000, 0x2, 18, 9, 16) + Data("")), d));
  EXPECT_EQ(0x09u, d.GetChannelConfig());
}

TEST(CafReader, ChannelMatrix) {
  qotest::TempDir dir;
  Walker Walk;
  const std::string desc = Desc(48000, 0x2, 4, 2, 16);
  // Coefficient k weighs input k / 4 on output k % 4.
  const std::vector<float> m = {1.0f, 0.5f, 0.0f, -1.0f, 0.25f, 0.5f, 2.0f, 1.0f};
  ByteBuilder samples(false);
  samples.U16(0x4000).U16(0x2000).U16(0xC000).U16(0);  // (0.5, 0.25), (-0.5, 0)
  qotest::WriteFileBytes(dir.File("m.caf"), Caf(desc + Matrix(4, 2, m) + Data(samples.Bytes())));
  {
    QoCAFFileReader reader;
    ASSERT_TRUE(reader.Open(dir.File("m.caf").c_str()));
    ASSERT_TRUE(reader.ReadChunks(0));
    EXPECT_EQ(0x204u, reader.GetFormat()->channelConfig);
    EXPECT_EQ(4, reader.GetFormat()->nChannels);
    EXPECT_EQ(2u, reader.GetNumFrames());
    float out[9];
    out[8] = 42;
    ASSERT_EQ(2u, reader.ReadPCMDataAsFloat32(2, out));
    const float expected[8] = {0.5f + 0.0625f, 0.25f + 0.125f, 0.5f, -0.5f + 0.25f,
                               -0.5f,          -0.25f,         0.0f, 0.5f};
    for (int i = 0; i < 8; ++i) EXPECT_FLOAT_EQ(expected[i], out[i]) << i;
    EXPECT_EQ(42.0f, out[8]);
  }
  QoCAFReader second(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(7u, Walk(Caf(desc + Matrix(4, 2, m) + Matrix(4, 2, m) + Data("")), second));
  QoCAFReader wrongInputs(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(7u,
            Walk(Caf(desc + Matrix(2, 3, std::vector<float>(6, 1.0f)) + Data("")), wrongInputs));
  QoCAFReader shortBody(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(7u, Walk(Caf(desc + Matrix(0x40000000, 2, {1.0f}) + Data("")), shortBody));
  EXPECT_EQ(nullptr, shortBody.GetMatrix());
  QoCAFReader otherUuid(&zuFXMemAlloc::m_instance);
  EXPECT_EQ(1u, Walk(Caf(desc + Chunk("uuid", std::string(24, '\x01')) + Data("")), otherUuid));
  EXPECT_EQ(0x3102u, otherUuid.GetChannelConfig());
}

TEST(CafReader, MissingFileAndInconsistentDescription) {
  qotest::TempDir dir;
  QoCAFFileReader missing;
  EXPECT_FALSE(missing.Open(dir.File("none.caf").c_str()));
  EXPECT_FALSE(missing.ReadChunks(0));
  // 32-bit samples in 2-byte packets would make the conversion read past each frame.
  qotest::WriteFileBytes(dir.File("bad.caf"), Caf(Desc(48000, 0x2, 2, 1, 32) + Data("abcd")));
  QoCAFFileReader bad;
  ASSERT_TRUE(bad.Open(dir.File("bad.caf").c_str()));
  EXPECT_FALSE(bad.ReadChunks(0));
}

}  // namespace
