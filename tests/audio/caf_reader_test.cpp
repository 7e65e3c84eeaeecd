// The CAF reader: its chunk walk, formats, channel matrix and sample reads.
#include <gtest/gtest.h>
#include <qobase/audio/caf_reader.h>
#include <qobase/result_code.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;

const std::string k_matrixUuid("\x1A\xD3\x18\xC3\x00\xE5\x55\x76\xBE\x2D\x0D\xCA\x24\x60\xBC\x89",
                               16);

std::string Chunk(const std::string& type, const std::string& body, int64_t size = -2) {
  if (size == -2) size = static_cast<int64_t>(body.size());
  return ByteBuilder(true).Raw(type).U64(static_cast<uint64_t>(size)).Raw(body).Bytes();
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
  return ByteBuilder(true).Raw("caff").U16(version).U16(0).Raw(chunks).Bytes();
}

std::string Matrix(uint32_t outputs, uint32_t inputs, const std::vector<float>& coefficients) {
  ByteBuilder b(true);
  b.Raw(k_matrixUuid).U32(outputs).U32(inputs);
  for (float c : coefficients) b.F32(c);
  return Chunk("uuid", b.Bytes());
}

// A chunk walk over bytes written to a file: its result, and the reader and stream that made it.
template <typename Reader = QoCAFReader>
struct Walked {
  QoSimpleStreamStdio stream;
  Reader reader{&zuFXMemAlloc::m_instance};
  unsigned int result = 0;
};

template <typename Reader = QoCAFReader>
std::unique_ptr<Walked<Reader>> Walk(const std::string& bytes) {
  qotest::TempDir dir;
  qotest::WriteFileBytes(dir.File("w.caf"), bytes);
  std::unique_ptr<Walked<Reader>> walked(new Walked<Reader>);
  EXPECT_TRUE(walked->stream.Open(dir.File("w.caf")));  // open files outlive their directory
  EXPECT_EQ(QO::k_resultSuccess, walked->reader.Init(&walked->stream));
  walked->result = walked->reader.ReadChunks();
  return walked;
}

// A file reader over bytes written to a file, chunks read.
std::unique_ptr<QoCAFFileReader> OpenCaf(const std::string& bytes) {
  qotest::TempDir dir;
  qotest::WriteFileBytes(dir.File("f.caf"), bytes);
  std::unique_ptr<QoCAFFileReader> reader(new QoCAFFileReader);
  EXPECT_TRUE(reader->Open(dir.File("f.caf").c_str()));
  EXPECT_TRUE(reader->ReadChunks(0));
  return reader;
}

class CountingReader : public QoCAFReader {
 public:
  explicit CountingReader(QO::IQoPluginMemAlloc* allocator) : QoCAFReader(allocator) {}
  unsigned int OnUnknownChunk(void* body, long long size) override {
    // A size beyond the bytes read is recorded, not followed.
    seen.push_back(size > 64
                       ? "size " + std::to_string(size)
                       : std::string(static_cast<const char*>(body), static_cast<size_t>(size)));
    return seen.size() >= stopAfter ? 31 : 1;
  }
  std::vector<std::string> seen;
  static size_t stopAfter;
};

size_t CountingReader::stopAfter = 100;

// A stream of the caller's own over a file: its short reads give 66, and it may not know its size.
class CallersStream : public QoSimpleStreamStdio {
 public:
  explicit CallersStream(bool knowsSize) : m_knowsSize(knowsSize) {}
  unsigned int Read(unsigned int size, void*& data, unsigned int& read) override {
    const unsigned int result = QoSimpleStreamStdio::Read(size, data, read);
    return result == QO::k_resultAllDataDelivered ? result : 66;
  }
  unsigned int GetFileSize(unsigned long long& size) override {
    return m_knowsSize ? QoSimpleStreamStdio::GetFileSize(size) : QO::k_resultFailure;
  }

 private:
  bool m_knowsSize;
};

TEST(CafReader, StereoLittleEndianIntegers) {
  ByteBuilder samples(false);
  samples.U16(0x4000).U16(0xC000).U16(1).U16(0xFFFF);
  std::unique_ptr<QoCAFFileReader> reader =
      OpenCaf(Caf(Desc(44100.9, 0x2, 4, 2, 16) + Chunk("free", "xyz") + Data(samples.Bytes())));
  EXPECT_EQ("0 2 44100 176400 4 16 0 0 3102", qotest::Fields(*reader->GetFormat()));
  EXPECT_EQ(0x3u, reader->ChunksRead());
  EXPECT_EQ(8u, reader->GetDataSize());
  EXPECT_EQ(2u, reader->GetNumFrames());
  EXPECT_DOUBLE_EQ(2.0 / 44100, reader->GetDuration());
  float out[4] = {9, 9, 9, 9};
  ASSERT_EQ(2u, reader->ReadPCMDataAsFloat32(2, out));  // the walk leaves the stream at frame 0
  const float values[4] = {0.5f, -0.5f, 1.0f / 32768, -1.0f / 32768};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(values[i], out[i]) << i;
  reader->SeekToAudioFrame(1);
  ASSERT_EQ(1u, reader->ReadPCMDataAsFloat32(5, out));
  EXPECT_EQ(1.0f / 32768, out[0]);
  EXPECT_EQ(0u, reader->ReadPCMDataAsFloat32(1, out));
}

TEST(CafReader, BigEndianAndFloatSamples) {
  std::unique_ptr<QoCAFFileReader> i24 =
      OpenCaf(Caf(Desc(48000, 0, 3, 1, 24) + Data(std::string("\x7F\xFF\xFF\x80\x00\x00", 6))));
  EXPECT_EQ(0x4101u, i24->GetFormat()->channelConfig);
  float out[2];
  ASSERT_EQ(2u, i24->ReadPCMDataAsFloat32(2, out));
  EXPECT_EQ(8388607.0f / 8388608, out[0]);
  EXPECT_EQ(-1.0f, out[1]);
  std::unique_ptr<QoCAFFileReader> f32 =
      OpenCaf(Caf(Desc(48000, 0x3, 8, 2, 32) + Data(ByteBuilder().F32(0.75f).F32(-3.0f).Bytes())));
  ASSERT_EQ(1u, f32->ReadPCMDataAsFloat32(1, out));
  EXPECT_EQ(0.75f, out[0]);
  EXPECT_EQ(-3.0f, out[1]);
}

TEST(CafReader, WalkResults) {
  const std::string desc = Desc(48000, 0x2, 4, 2, 16);
  EXPECT_EQ(QO::k_resultFailure, Walk(Caf(desc + Data("abcd"), 2))->result);  // version 2
  EXPECT_EQ(QO::k_resultFailure,
            Walk(Caf(Desc(48000, 0, 4, 2, 16, "aac ") + Data("abcd")))->result);
  EXPECT_EQ(QO::k_resultFailure, Walk(Caf(desc))->result);  // ends before "data"
  EXPECT_EQ(QO::k_resultFailure, Walk("caf")->result);      // short file head
  auto ok = Walk(Caf(desc + Data("abcdefgh")));
  QoCAFReader& r = ok->reader;
  EXPECT_EQ(QO::k_resultSuccess, ok->result);
  EXPECT_EQ(QO::k_resultSuccess, r.ReadChunks());  // again after success
  EXPECT_EQ(8u + 12u + 32u + 12u + 4u, r.GetDataOffset());
  EXPECT_EQ(8u, r.GetDataSize());
  EXPECT_FALSE(r.IsByteSwapped());
  EXPECT_EQ(0u, r.GetSampleType());
  // A data chunk of size -1 runs to the end of the file.
  auto open = Walk(Caf(desc + Data("abcdefghijkl", -1)));
  EXPECT_EQ(QO::k_resultSuccess, open->result);
  EXPECT_EQ(12u, open->reader.GetDataSize());

  // Unknown chunks go to OnUnknownChunk; its result other than 1 stops the walk.
  auto counting =
      Walk<CountingReader>(Caf(Chunk("free", "12345") + desc + Chunk("info", "") + Data("")));
  EXPECT_EQ(QO::k_resultSuccess, counting->result);
  EXPECT_EQ((std::vector<std::string>{"12345", ""}), counting->reader.seen);
  // Only the low 32 bits of a body size are read, and only the bytes read are handed on.
  const std::string big = Chunk("free", "12345", 0x100000005LL);
  EXPECT_EQ((std::vector<std::string>{"12345"}),
            Walk<CountingReader>(Caf(big + desc + Data("")))->reader.seen);
  CountingReader::stopAfter = 1;
  EXPECT_EQ(QO::k_resultInvalidParameter,
            Walk<CountingReader>(Caf(Chunk("free", "12345") + desc + Data("")))->result);
  CountingReader::stopAfter = 100;

  // A chunk claiming more than the file holds, a description too short to hold its fields, or
  // one whose rate is no unsigned integer.
  EXPECT_EQ(QO::k_resultFailure,
            Walk(Caf(Chunk("free", "abc", 0x7FFFFFFFFFFFFFFFLL) + desc + Data("")))->result);
  EXPECT_EQ(QO::k_resultFailure,
            Walk(Caf(Chunk("desc", std::string(20, '\0')) + Data("")))->result);
  EXPECT_EQ(QO::k_resultFailure, Walk(Caf(Desc(-1.0, 0x2, 4, 2, 16) + Data("")))->result);
}

// A stream of the caller's: its own short-read code comes back, and one that cannot tell its
// size is walked as far as it reads.
TEST(CafReader, WalkOverACallersStream) {
  const std::string head = Caf(Desc(48000, 0x2, 4, 2, 16));
  qotest::TempDir dir;
  for (bool knowsSize : {true, false}) {
    for (const std::string& bytes : {head + Data("abcd"), head}) {
      ASSERT_TRUE(qotest::WriteFileBytes(dir.File("s.caf"), bytes));
      CallersStream stream(knowsSize);
      ASSERT_TRUE(stream.Open(dir.File("s.caf")));
      QoCAFReader reader(&zuFXMemAlloc::m_instance);
      reader.Init(&stream);
      EXPECT_EQ(reader.ReadChunks(), bytes == head ? QO::k_resultFileNotFound : QO::k_resultSuccess)
          << knowsSize;
    }
  }
}

TEST(CafReader, ChannelLayoutChunk) {
  const std::string desc = Desc(48000, 0x2, 4, 2, 16);
  auto chan = [](uint32_t bitmap) {
    return Chunk("chan", ByteBuilder(true).U32(0x10000).U32(bitmap).U32(0).Bytes());
  };
  // Three speakers for two channels: ignored; 0x80 does not count.
  const std::pair<uint32_t, uint32_t> cases[] = {{0x7, 0x3102}, {0x600, 0x600102}, {0xC1, 0x3102}};
  for (const auto& c : cases) {
    auto walked = Walk(Caf(desc + chan(c.first) + Data("")));
    EXPECT_EQ(QO::k_resultSuccess, walked->result);
    EXPECT_EQ(c.second, walked->reader.GetChannelConfig()) << c.first;
  }
  EXPECT_EQ(0x09u, Walk(Caf(Desc(48000, 0x2, 18, 9, 16) + Data("")))->reader.GetChannelConfig());
}

TEST(CafReader, ChannelMatrix) {
  const std::string desc = Desc(48000, 0x2, 4, 2, 16);
  // Coefficient k weighs input k / 4 on output k % 4.
  const std::vector<float> m = {1.0f, 0.5f, 0.0f, -1.0f, 0.25f, 0.5f, 2.0f, 1.0f};
  ByteBuilder samples(false);
  samples.U16(0x4000).U16(0x2000).U16(0xC000).U16(0);  // (0.5, 0.25), (-0.5, 0)
  std::unique_ptr<QoCAFFileReader> reader =
      OpenCaf(Caf(desc + Matrix(4, 2, m) + Data(samples.Bytes())));
  EXPECT_EQ(0x204u, reader->GetFormat()->channelConfig);
  EXPECT_EQ(4, reader->GetFormat()->nChannels);
  EXPECT_EQ(2u, reader->GetNumFrames());
  float out[9];
  out[8] = 42;
  ASSERT_EQ(2u, reader->ReadPCMDataAsFloat32(2, out));
  const float expected[8] = {0.5f + 0.0625f, 0.25f + 0.125f, 0.5f, -0.5f + 0.25f,
                             -0.5f,          -0.25f,         0.0f, 0.5f};
  for (int i = 0; i < 8; ++i) EXPECT_FLOAT_EQ(expected[i], out[i]) << i;
  EXPECT_EQ(42.0f, out[8]);

  // A second matrix, one for other inputs, or one whose coefficients do not fit the chunk: 7.
  EXPECT_EQ(QO::k_resultInvalidFile,
            Walk(Caf(desc + Matrix(4, 2, m) + Matrix(4, 2, m) + Data("")))->result);
  EXPECT_EQ(QO::k_resultInvalidFile,
            Walk(Caf(desc + Matrix(2, 3, std::vector<float>(6, 1.0f)) + Data("")))->result);
  auto huge = Walk(Caf(desc + Matrix(0x40000000, 2, {1.0f}) + Data("")));
  EXPECT_EQ(QO::k_resultInvalidFile, huge->result);
  EXPECT_EQ(nullptr, huge->reader.GetMatrix());
  auto other = Walk(Caf(desc + Chunk("uuid", std::string(24, '\x01')) + Data("")));
  EXPECT_EQ(QO::k_resultSuccess, other->result);
  EXPECT_EQ(0x3102u, other->reader.GetChannelConfig());  // another UUID is ignored
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
