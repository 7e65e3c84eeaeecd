// Chunk search, the container head, the format and the filler chunks of the chunk editor.
#include <gtest/gtest.h>

#include <qobase/audio/wav_structure_chunks.h>

#include <cstdio>
#include <cstring>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

// A file opened through the C library in the given mode, handed to the chunks as a borrowed handle.
class StreamFile {
 public:
  StreamFile(const std::string& path, const char* mode) : m_stream(std::fopen(path.c_str(), mode)), m_file(m_stream) {}
  ~StreamFile() {
    if (m_stream) std::fclose(m_stream);
  }
  const zu::File& File() const { return m_file; }

 private:
  FILE* m_stream;
  zu::File m_file;
};

// A file with its container and format chunk loaded.
struct LoadedFormat {
  LoadedFormat(const std::string& path, const char* mode) : stream(path, mode) {
    ok = riff.Init(stream.File(), nullptr) && fmt.Init(stream.File(), &riff);
  }
  StreamFile stream;
  QoRiffChunk riff;
  QoFmtChunk fmt;
  bool ok = false;
};

// A chunk kind that accepts any ID given to it, to test the shared search.
class ProbeChunk : public QoFormatChunkBase {
 public:
  explicit ProbeChunk(const char* id) { std::memcpy(&m_id, id, 4); }
  unsigned int GetChunkID() override { return m_id; }
  unsigned int WriteToFile(const zu::File& out, bool swap) override {
    return WriteChunkHeader(out, swap) ? QO::k_chunkSuccess : QO::k_chunkFailure;
  }

 private:
  uint32_t m_id = 0;
};

std::string FourCC(uint32_t value) { return std::string(reinterpret_cast<const char*>(&value), 4); }

}  // namespace

TEST(WavChunkSearch, FindsFirstChunkOfItsKindAcrossOddChunksWithOrWithoutPad) {
  TempDir dir;
  // "odd1" keeps its pad byte, "odd2" lost it; the second "test" chunk is never taken.
  const std::string chunks = Chunk("odd1", "abc") + ChunkWithSize("odd2", 3, "xyz") + Chunk("test", "body") +
                             Chunk("test", "late");
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(chunks)));
  StreamFile file(dir.File("a.wav"), "rb");

  QoRiffChunk riff;
  ASSERT_TRUE(riff.Init(file.File(), nullptr));
  EXPECT_EQ(FourCC(riff.GetFormType()), "WAVE");
  EXPECT_EQ(riff.GetFileChunkSize(), 12u);
  EXPECT_FALSE(riff.NeedSwapRead());

  ProbeChunk probe("test");
  ASSERT_TRUE(probe.Init(file.File(), &riff));
  EXPECT_TRUE(probe.IsValid());
  EXPECT_EQ(probe.GetDataOffset(), 12u + 12 + 11 + 8);
  EXPECT_EQ(probe.GetSize(), 4u);
  EXPECT_EQ(probe.GetFileChunkSize(), 12u);
  char body[32] = {};
  EXPECT_EQ(probe.ReadData(body, 32, 1), 15u);  // reads on past its body, up to the end of the file
  EXPECT_EQ(std::string(body, 7), "odytest");

  ProbeChunk missing("none");
  EXPECT_FALSE(missing.Init(file.File(), &riff));
  EXPECT_FALSE(missing.IsValid());
  probe.Reset();
  EXPECT_FALSE(probe.IsValid());
  EXPECT_EQ(probe.GetDataOffset(), 0u);
  EXPECT_EQ(probe.ReadData(body, 4, 0), 0u);  // no handle any more
}

TEST(WavChunkSearch, WrappingSizeAndTruncatedHeadEndTheSearch) {
  TempDir dir;
  StreamFile* file = nullptr;
  // A size that wraps the 32-bit offset back before the chunk.
  ASSERT_TRUE(WriteFileBytes(dir.File("wrap.wav"), Riff(ChunkWithSize("big ", 0xFFFFFFF0u, "") + Chunk("test", "x"))));
  file = new StreamFile(dir.File("wrap.wav"), "rb");
  QoRiffChunk riff;
  ASSERT_TRUE(riff.Init(file->File(), nullptr));
  ProbeChunk probe("test");
  EXPECT_FALSE(probe.Init(file->File(), &riff));
  // A size that brings the scan back to where it is.
  ProbeChunk self("big ");
  EXPECT_FALSE(self.Init(file->File(), &riff));
  EXPECT_FALSE(self.IsValid());
  delete file;

  ASSERT_TRUE(WriteFileBytes(dir.File("cut.wav"), Riff(Chunk("data", "ab")).substr(0, 18)));
  file = new StreamFile(dir.File("cut.wav"), "rb");
  ASSERT_TRUE(riff.Init(file->File(), nullptr));
  ProbeChunk data("data");
  EXPECT_FALSE(data.Init(file->File(), &riff));
  delete file;

  // The container must be at the start of the file.
  ASSERT_TRUE(WriteFileBytes(dir.File("late.wav"), Chunk("junk", "1234") + Riff("")));
  file = new StreamFile(dir.File("late.wav"), "rb");
  EXPECT_FALSE(riff.Init(file->File(), nullptr));
  delete file;
  ASSERT_TRUE(WriteFileBytes(dir.File("short.wav"), "RIFF\x04\0\0\0"));
  file = new StreamFile(dir.File("short.wav"), "rb");
  EXPECT_FALSE(riff.Init(file->File(), nullptr));
  delete file;
}

TEST(WavRiffChunk, WritesHeadAndPatchesSizeFromFileSize) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16)), true)));
  StreamFile in(dir.File("in.wav"), "rb");
  QoRiffChunk riff;
  ASSERT_TRUE(riff.Init(in.File(), nullptr));
  EXPECT_TRUE(riff.NeedSwapRead());
  EXPECT_EQ(riff.GetChunkID(), QO::k_fccRIFX);
  EXPECT_EQ(riff.GetSize(), 28u);

  StreamFile out(dir.File("out.wav"), "w+b");
  EXPECT_EQ(riff.WriteToFile(out.File(), false), QO::k_chunkSuccess);
  ASSERT_TRUE(out.File().WriteExact("0123456789", 10));
  EXPECT_EQ(riff.UpdateRiffChunkSize(out.File(), false), QO::k_chunkSuccess);
  EXPECT_EQ(out.File().SetFilePointer(0, zu::k_fileCurrent), 22);
  EXPECT_EQ(riff.WriteToFile(out.File(), true), QO::k_chunkSuccess);
  EXPECT_EQ(riff.UpdateRiffChunkSize(out.File(), true), QO::k_chunkSuccess);
  std::fflush(out.File().GetStream());
  EXPECT_EQ(ReadFileBytes(dir.File("out.wav")), "RIFX" + U32(26, true) + "WAVE" + "0123456789" + "RIFX" +
                                                    U32(28, true) + "WAVE");

  QoRiffChunk empty;
  EXPECT_EQ(empty.WriteToFile(out.File(), false), QO::k_chunkFailure);
  EXPECT_EQ(empty.UpdateRiffChunkSize(out.File(), false), QO::k_chunkFailure);
}

TEST(WavFmtChunk, ReadsPcmFloatExtensibleAndCompactBodies) {
  TempDir dir;
  // 16-byte PCM body: stereo gets the default front pair; the block alignment is raised to fit.
  std::string pcm = PcmFormatBody(2, 44100, 16);
  pcm[12] = 1;  // nBlockAlign 1
  // Extensible 6 channels with no speaker mask, 24-bit in 32-bit containers, in the 44-byte
  // layout this library writes (valid bits at 20, mask at 24).
  const std::string extensible = U16(0xFFFE) + U16(6) + U32(48000) + U32(48000 * 24) + U16(24) + U16(32) + U16(22) +
                                 U16(24) + U16(24) + U16(0) + U32(0) + std::string(16, '\x01');
  const struct {
    std::string body;
    bool ok;
    WaveFormatExtensible expected;
    bool unspecifiedMask;
  } cases[] = {
      {pcm, true, {0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 0x3)}, false},
      {PcmFormatBody(1, 8000, 8).substr(0, 15), false, {}, false},
      {U16(3) + PcmFormatBody(2, 96000, 32).substr(2) + U16(0) + U16(0x5A5A), true,
       {0xFFFE, 2, 96000, 768000, 8, 32, 4, 0x5A5A, QO::MakeChannelConfig(2, 1, 0x3)}, false},
      {extensible, true, {0xFFFE, 6, 48000, 48000 * 24, 24, 32, 4, 24, QO::GetDefaultChannelConfig(6)}, true},
      {U16(0xFFFE) + PcmFormatBody(2, 22050, 16).substr(2) + U16(4) + U16(7) + U32(QO::MakeChannelConfig(2, 0, 0)),
       true, {0xFFFE, 2, 22050, 88200, 4, 16, 4, 7, QO::MakeChannelConfig(2, 0, 0)}, false},
      {U16(0xFFFE) + PcmFormatBody(2, 22050, 16).substr(2) + U16(4) + U16(0) + U32(QO::MakeChannelConfig(3, 0, 0)),
       false, {}, false},
      {PcmFormatBody(0, 8000, 16), false, {}, false},
  };
  int index = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(index);
    const std::string path = dir.File("f" + std::to_string(index++) + ".wav");
    ASSERT_TRUE(WriteFileBytes(path, Riff(Chunk("fmt ", c.body) + Chunk("data", ""))));
    LoadedFormat file(path, "rb");
    QoFmtChunk& fmt = file.fmt;
    EXPECT_EQ(file.ok, c.ok);
    EXPECT_EQ(fmt.IsValid(), c.ok);
    WaveFormatExtensible format;
    EXPECT_EQ(fmt.GetFormatInfo(&format), c.ok);
    if (!c.ok) continue;
    EXPECT_EQ(std::memcmp(&format, &c.expected, sizeof(format)), 0)
        << format.nChannels << " " << format.nBlockAlign << " " << std::hex << format.channelConfig;
    EXPECT_EQ(fmt.HasUnspecifiedChannelMask(), c.unspecifiedMask);
  }

  // A body that claims more bytes than the file holds.
  ASSERT_TRUE(WriteFileBytes(dir.File("cut.wav"), Riff(ChunkWithSize("fmt ", 16, PcmFormatBody(1, 8000, 16).substr(0, 10)))));
  LoadedFormat cut(dir.File("cut.wav"), "rb");
  EXPECT_TRUE(cut.riff.IsValid());
  EXPECT_FALSE(cut.ok);
}

TEST(WavFmtChunk, WritesCompactAndPlainFormsAndReadsThemBackInBothByteOrders) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff(Chunk("fmt ", PcmFormatBody(2, 44100, 16)))));
  LoadedFormat in(dir.File("in.wav"), "rb");
  ASSERT_TRUE(in.ok);
  QoFmtChunk& fmt = in.fmt;
  WaveFormatExtensible format;
  ASSERT_TRUE(fmt.GetFormatInfo(&format));

  StreamFile out(dir.File("out.bin"), "w+b");
  EXPECT_EQ(fmt.WriteToFile(out.File(), false), QO::k_chunkSuccess);
  EXPECT_EQ(fmt.WriteToFileNotExtensible(out.File(), false), QO::k_chunkSuccess);
  EXPECT_EQ(fmt.WriteToFile(out.File(), true), QO::k_chunkSuccess);
  std::fflush(out.File().GetStream());
  const std::string config = U32(QO::MakeChannelConfig(2, 1, 3));
  const std::string compact = "fmt " + U32(24) + U16(0xFFFE) + PcmFormatBody(2, 44100, 16).substr(2) + U16(4) +
                              U16(0) + config;
  const std::string plain = "fmt " + U32(20) + PcmFormatBody(2, 44100, 16) + U16(4) + U16(0);
  const std::string swapped = "fmt " + U32(24, true) + U16(0xFFFE, true) + PcmFormatBody(2, 44100, 16, true).substr(2) +
                              U16(4, true) + U16(0) + U32(QO::MakeChannelConfig(2, 1, 3), true);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), compact + plain + swapped);

  // The swapped compact form reads back as the same format from a big-endian file.
  ASSERT_TRUE(WriteFileBytes(dir.File("x.wav"), Riff(swapped, true)));
  LoadedFormat x(dir.File("x.wav"), "rb");
  ASSERT_TRUE(x.ok);
  WaveFormatExtensible back;
  ASSERT_TRUE(x.fmt.GetFormatInfo(&back));
  EXPECT_EQ(std::memcmp(&back, &format, sizeof(format)), 0);

  QoFmtChunk empty;
  EXPECT_EQ(empty.WriteToFile(out.File(), false), QO::k_chunkFailure);
  EXPECT_EQ(empty.WriteToFileNotExtensible(out.File(), false), QO::k_chunkFailure);
  EXPECT_FALSE(empty.GetFormatInfo(&back));
}

TEST(WavFmtChunk, UpdateFormatInfoRewritesOnlyACompactChunkInAWritableFile) {
  TempDir dir;
  const std::string compact = U16(0xFFFE) + PcmFormatBody(1, 8000, 16).substr(2) + U16(4) + U16(0) +
                              U32(QO::MakeChannelConfig(1, 1, 4));
  const std::string tail = Chunk("data", Pcm16Samples(4, 1));
  const std::string original = Riff(Chunk("fmt ", compact) + tail);
  ASSERT_TRUE(WriteFileBytes(dir.File("c.wav"), original));
  ASSERT_TRUE(WriteFileBytes(dir.File("p.wav"), Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16)) + tail)));
  WaveFormatExtensible changed = {0xFFFE, 1, 16000, 32000, 2, 16, 4, 0, QO::MakeChannelConfig(1, 1, 4)};

  {  // Opened for reading only: refused, nothing changes, and the handle still reads.
    LoadedFormat file(dir.File("c.wav"), "rb");
    ASSERT_TRUE(file.ok);
    EXPECT_EQ(file.fmt.UpdateFormatInfo(changed, false), QO::k_chunkFailure);
    char form[4];
    EXPECT_EQ(file.riff.ReadData(form, 4, 0), 4u);
    EXPECT_EQ(std::string(form, 4), "WAVE");
  }
  EXPECT_EQ(ReadFileBytes(dir.File("c.wav")), original);
  {  // A 16-byte body would be overrun by the compact form: refused.
    LoadedFormat file(dir.File("p.wav"), "r+b");
    ASSERT_TRUE(file.ok);
    EXPECT_EQ(file.fmt.UpdateFormatInfo(changed, false), QO::k_chunkFailure);
  }
  {
    LoadedFormat file(dir.File("c.wav"), "r+b");
    ASSERT_TRUE(file.ok);
    ASSERT_EQ(file.stream.File().SetFilePointer(5, zu::k_fileBegin), 5);
    EXPECT_EQ(file.fmt.UpdateFormatInfo(changed, false), QO::k_chunkSuccess);
    EXPECT_EQ(file.stream.File().SetFilePointer(0, zu::k_fileCurrent), 5);
  }
  std::string expected = original;
  expected.replace(20, 24, std::string(reinterpret_cast<const char*>(&changed), 24));
  EXPECT_EQ(ReadFileBytes(dir.File("c.wav")), expected);
}

TEST(WavJunkChunk, SizesTheFillerSoTheNextBodyIsAligned) {
  QoJunkChunk junk(16);
  EXPECT_TRUE(junk.ComputeJunkSize(36));
  EXPECT_EQ(junk.GetSize(), 12u);
  EXPECT_FALSE(junk.ComputeJunkSize(40));
  EXPECT_EQ(junk.GetSize(), 0u);
  EXPECT_TRUE(junk.ComputeJunkSize(48));  // a bare head is enough
  EXPECT_EQ(junk.GetSize(), 0u);
  EXPECT_TRUE(junk.ComputeJunkSize(44));
  EXPECT_EQ(junk.GetSize(), 4u);
  QoJunkChunk none(0);
  EXPECT_FALSE(none.ComputeJunkSize(3));

  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff("")));
  StreamFile in(dir.File("in.wav"), "rb");
  StreamFile out(dir.File("out.bin"), "w+b");
  EXPECT_EQ(junk.WriteToFile(out.File(), false), QO::k_chunkFailure);  // not initialised yet
  EXPECT_TRUE(junk.Init(in.File(), nullptr));  // exists even where the file has none
  EXPECT_EQ(junk.GetChunkID(), QO::k_fccJUNK);
  ASSERT_TRUE(out.File().WriteExact(std::string(36, 'a').data(), 36));
  EXPECT_EQ(junk.WriteToFile(out.File(), false), QO::k_chunkSuccess);
  EXPECT_EQ(junk.WriteToFile(out.File(), true), QO::k_chunkSuccess);  // at 56: nothing needed
  ASSERT_TRUE(out.File().WriteExact("bb", 2));
  EXPECT_EQ(junk.WriteToFile(out.File(), true), QO::k_chunkSuccess);
  std::fflush(out.File().GetStream());
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), std::string(36, 'a') + "JUNK" + U32(12) + std::string(12, '\0') +
                                                    "bb" + "JUNK" + U32(6, true) + std::string(6, '\0'));
}
