#include <gtest/gtest.h>
#include <qobase/audio/wav_file_reader.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;
using qotest::FmtBody;
using qotest::WaveFile;

std::string PcmGuid() { return std::string("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16); }

// Writes bytes to a file in dir and opens a reader on it.
class ReaderOn {
 public:
  ReaderOn(const qotest::TempDir& dir, const std::string& bytes, const std::string& name = "t.wav") {
    m_path = dir.File(name);
    qotest::WriteFileBytes(m_path, bytes);
    m_opened = reader.Open(zu::Path(m_path));
  }
  bool Opened() const { return m_opened; }
  QoWavFileReader reader;

 private:
  std::string m_path;
  bool m_opened;
};

std::string Label(const QO_WAVE_MARKER& m) { return m.label ? std::string(m.label, m.labelSize) : std::string(); }

TEST(WavFileReader, OpenChecksTheContainerHead) {
  qotest::TempDir dir;
  EXPECT_TRUE(ReaderOn(dir, WaveFile(false, "")).Opened());
  EXPECT_TRUE(ReaderOn(dir, WaveFile(true, "")).Opened());
  EXPECT_FALSE(ReaderOn(dir, "RIFF\x04\x00\x00\x00WAVX").Opened());
  EXPECT_FALSE(ReaderOn(dir, "RIFQ\x04\x00\x00\x00WAVE").Opened());
  EXPECT_FALSE(ReaderOn(dir, "RIFF\x04\x00\x00\x00WAV").Opened());
  EXPECT_FALSE(ReaderOn(dir, "").Opened());
  QoWavFileReader missing;
  EXPECT_FALSE(missing.Open(zu::Path(dir.File("none.wav"))));
  EXPECT_FALSE(missing.ReadChunks(0x3));
}

TEST(WavFileReader, PlainPcmFormatAndData) {
  qotest::TempDir dir;
  ByteBuilder chunks;
  chunks.Chunk("fmt ", FmtBody(false, 1, 2, 44100, 16));
  chunks.Chunk("data", ByteBuilder().U16(0x8000).U16(0x7FFF).U16(1).U16(0xFFFF).Bytes());
  ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
  ASSERT_TRUE(r.Opened());
  ASSERT_TRUE(r.reader.ReadChunks(0x1F));
  EXPECT_EQ(0x3u, r.reader.ChunksRead());
  const WaveFormatExtensible* f = r.reader.GetFormat();
  EXPECT_EQ(0xFFFE, f->wFormatTag);
  EXPECT_EQ(2, f->nChannels);
  EXPECT_EQ(44100u, f->nSamplesPerSec);
  EXPECT_EQ(176400u, f->nAvgBytesPerSec);
  EXPECT_EQ(4, f->nBlockAlign);
  EXPECT_EQ(16, f->wBitsPerSample);
  EXPECT_EQ(4, f->cbSize);
  EXPECT_EQ(0x3102u, f->channelConfig);
  EXPECT_EQ(0u, r.reader.GetChannelOrdering());
  EXPECT_FALSE(r.reader.IsFloat());
  EXPECT_EQ(8u, r.reader.GetDataSize());
  EXPECT_EQ(2u, r.reader.GetNumFrames());
  EXPECT_EQ(12u + 24u + 8u, r.reader.GetDataOffset());
  EXPECT_EQ(12 + 24 + 8 + 4, r.reader.SeekToAudioFrame(1));
  EXPECT_EQ(4u, r.reader.GetCurrentDataPos());
  ASSERT_EQ(0, r.reader.SeekToAudioFrame(0) - 44);
  float out[6] = {9, 9, 9, 9, 9, 9};
  ASSERT_EQ(2u, r.reader.ReadPCMDataAsFloat32(3, out));
  EXPECT_EQ(-1.0f, out[0]);
  EXPECT_EQ(32767.0f / 32768.0f, out[1]);
  EXPECT_EQ(1.0f / 32768.0f, out[2]);
  EXPECT_EQ(-1.0f / 32768.0f, out[3]);
  EXPECT_EQ(9.0f, out[4]);
  // Past the end: nothing read, output untouched.
  out[0] = 5;
  EXPECT_EQ(0u, r.reader.ReadPCMDataAsFloat32(1, out));
  EXPECT_EQ(5.0f, out[0]);
  // Seeking beyond the data reads nothing either.
  r.reader.SeekToAudioFrame(100);
  EXPECT_EQ(0u, r.reader.ReadPCMDataAsFloat32(1, out));
  r.reader.SeekToAudioFrame(0);
  short ints[4];
  ASSERT_EQ(2u, r.reader.ReadPCMDataAsInt16(2, ints));
  EXPECT_EQ(-32768, ints[0]);
  EXPECT_EQ(32767, ints[1]);
  EXPECT_EQ(1, ints[2]);
  EXPECT_EQ(-1, ints[3]);
}

TEST(WavFileReader, FloatAnd24BitAndBigEndianSamples) {
  qotest::TempDir dir;
  for (bool big : {false, true}) {
    SCOPED_TRACE(big ? "RIFX" : "RIFF");
    {
      ByteBuilder chunks(big);
      chunks.Chunk("fmt ", FmtBody(big, 3, 1, 48000, 32));
      chunks.Chunk("data", ByteBuilder(big).F32(0.25f).F32(-2.5f).Bytes());
      ReaderOn r(dir, WaveFile(big, chunks.Bytes()));
      ASSERT_TRUE(r.reader.ReadChunks(0x3));
      EXPECT_TRUE(r.reader.IsFloat());
      EXPECT_EQ(big, r.reader.IsByteSwapped());
      EXPECT_EQ(0x4101u, r.reader.GetFormat()->channelConfig);
      r.reader.SeekToAudioFrame(0);
      float out[2];
      ASSERT_EQ(2u, r.reader.ReadPCMDataAsFloat32(2, out));
      EXPECT_EQ(0.25f, out[0]);
      EXPECT_EQ(-2.5f, out[1]);  // copied, not clamped
      r.reader.SeekToAudioFrame(0);
      short ints[2];
      ASSERT_EQ(2u, r.reader.ReadPCMDataAsInt16(2, ints));
      EXPECT_EQ(8191, ints[0]);  // 0.25 * 32767 truncated
      EXPECT_EQ(-32767, ints[1]);  // clamped to -1
    }
    {
      ByteBuilder data(big);
      // 0x7FFFFF, -0x800000, 0x000100 as 3-byte samples in file order.
      const std::string le("\xFF\xFF\x7F\x00\x00\x80\x00\x01\x00", 9);
      const std::string be("\x7F\xFF\xFF\x80\x00\x00\x00\x01\x00", 9);
      ByteBuilder chunks(big);
      chunks.Chunk("fmt ", FmtBody(big, 1, 1, 48000, 24));
      chunks.Chunk("data", big ? be : le);  // odd size, pad byte follows
      chunks.Chunk("JUNK", "ab");
      ReaderOn r(dir, WaveFile(big, chunks.Bytes()));
      ASSERT_TRUE(r.reader.ReadChunks(0x1F));
      r.reader.SeekToAudioFrame(0);
      float out[3];
      ASSERT_EQ(3u, r.reader.ReadPCMDataAsFloat32(3, out));
      EXPECT_EQ(8388607.0f / 8388608.0f, out[0]);
      EXPECT_EQ(-1.0f, out[1]);
      EXPECT_EQ(256.0f / 8388608.0f, out[2]);
      r.reader.SeekToAudioFrame(0);
      short ints[3];
      ASSERT_EQ(3u, r.reader.ReadPCMDataAsInt16(3, ints));
      EXPECT_EQ(32767, ints[0]);
      EXPECT_EQ(-32768, ints[1]);
      EXPECT_EQ(1, ints[2]);
    }
  }
}

TEST(WavFileReader, LoopMarkersAndLabels) {
  qotest::TempDir dir;
  for (bool big : {false, true}) {
    SCOPED_TRACE(big ? "RIFX" : "RIFF");
    ByteBuilder smpl(big);
    smpl.Zeros(36).U32(0).U32(0).U32(1000).U32(2000).U32(0).U32(0);
    ByteBuilder list(big);
    list.Raw("adtl");
    // A label before its cue point, with an odd size and its pad byte.
    list.Raw("labl").U32(7).U32(7).Raw("abc").U8(0);
    list.Raw("note").U32(3).Raw("xyz").U8(0);  // other sub-chunks are skipped
    list.Raw("labl").U32(8).U32(2).Raw(std::string("ab\0\0", 4));
    ByteBuilder cue(big);
    cue.U32(2);
    cue.U32(2).U32(50).Raw("data").Zeros(12);
    cue.U32(7).U32(70).Raw("data").Zeros(12);
    ByteBuilder chunks(big);
    chunks.Chunk("fmt ", FmtBody(big, 1, 1, 1000, 16));
    chunks.Chunk("LIST", list.Bytes());
    chunks.Chunk("cue ", cue.Bytes());
    chunks.Chunk("smpl", smpl.Bytes());
    chunks.Chunk("data", std::string(4000, '\0'));
    ReaderOn r(dir, WaveFile(big, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x1F));
    EXPECT_EQ(0x1Fu, r.reader.ChunksRead());
    EXPECT_EQ(1000u, r.reader.GetLoopStartFrame());
    EXPECT_EQ(2000u, r.reader.GetLoopEndFrame());
    EXPECT_DOUBLE_EQ(1.0, r.reader.GetLoopStart());
    EXPECT_DOUBLE_EQ(2.0, r.reader.GetLoopEnd());
    EXPECT_DOUBLE_EQ(2.0, r.reader.GetDuration());
    const std::vector<QO_WAVE_MARKER>& m = r.reader.GetMarkers();
    ASSERT_EQ(2u, m.size());
    EXPECT_EQ(7u, m[0].ID);
    EXPECT_EQ(70u, m[0].position);
    EXPECT_EQ(3u, m[0].labelSize);
    EXPECT_EQ("abc", Label(m[0]));
    EXPECT_EQ(2u, m[1].ID);
    EXPECT_EQ(50u, m[1].position);
    EXPECT_EQ(4u, m[1].labelSize);
    EXPECT_EQ(std::string("ab\0\0", 4), Label(m[1]));
    // GetWavMarker finds an existing ID and appends an unknown one.
    EXPECT_EQ(70u, r.reader.GetWavMarker(7).position);
    EXPECT_EQ(99u, r.reader.GetWavMarker(99).ID);
    EXPECT_EQ(3u, r.reader.GetNumMarkers());
    r.reader.Close();
    EXPECT_EQ(0u, r.reader.GetNumMarkers());
    EXPECT_EQ(0u, r.reader.GetDataSize());
    EXPECT_EQ(1000u, r.reader.GetLoopStartFrame());  // loop points stay after Close
    EXPECT_EQ(1000u, r.reader.GetFormat()->nSamplesPerSec);
  }
}

TEST(WavFileReader, WalkStopsWhenAskedChunksAreFound) {
  qotest::TempDir dir;
  ByteBuilder cue;
  cue.U32(1).U32(1).U32(5).Raw("data").Zeros(12);
  ByteBuilder chunks;
  chunks.Chunk("fmt ", FmtBody(false, 1, 1, 8000, 16)).Chunk("data", "\x01\x02").Chunk("cue ", cue.Bytes());
  {
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(0x3u, r.reader.ChunksRead());
    EXPECT_EQ(0u, r.reader.GetNumMarkers());
  }
  {
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x1F));
    EXPECT_EQ(0xBu, r.reader.ChunksRead());
    EXPECT_EQ(1u, r.reader.GetNumMarkers());
  }
  {
    // A missing data chunk fails only when it was asked for.
    ByteBuilder only;
    only.Chunk("fmt ", FmtBody(false, 1, 1, 8000, 16));
    ReaderOn a(dir, WaveFile(false, only.Bytes()));
    EXPECT_FALSE(a.reader.ReadChunks(0x3));
    ReaderOn b(dir, WaveFile(false, only.Bytes()));
    EXPECT_TRUE(b.reader.ReadChunks(0x1));
  }
}

TEST(WavFileReader, OddChunksWithAndWithoutPadAndShortFiles) {
  qotest::TempDir dir;
  const std::string fmt = FmtBody(false, 1, 1, 8000, 16);
  {
    ByteBuilder padded;
    padded.Chunk("JUNK", "abc", true).Chunk("fmt ", fmt).Chunk("data", std::string("\x01\x00", 2));
    ReaderOn r(dir, WaveFile(false, padded.Bytes()));
    EXPECT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(12u + 12u + 24u + 8u, r.reader.GetDataOffset());
  }
  {
    ByteBuilder unpadded;
    unpadded.Chunk("JUNK", "abc", false).Chunk("fmt ", fmt).Chunk("data", std::string("\x01\x00", 2));
    ReaderOn r(dir, WaveFile(false, unpadded.Bytes()));
    EXPECT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(12u + 11u + 24u + 8u, r.reader.GetDataOffset());
  }
  {
    // Data claiming more than the file holds is cut to the file.
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt).ChunkWithSize("data", 1000, std::string("\x01\x00\x02\x00\x03", 5));
    ReaderOn r(dir, WaveFile(false, chunks.Bytes(), 5000));
    ASSERT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(5u, r.reader.GetDataSize());
    EXPECT_EQ(2u, r.reader.GetNumFrames());
    r.reader.SeekToAudioFrame(0);
    float out[4] = {9, 9, 9, 9};
    EXPECT_EQ(2u, r.reader.ReadPCMDataAsFloat32(4, out));
    EXPECT_EQ(2.0f / 32768, out[1]);
    EXPECT_EQ(9.0f, out[2]);
  }
  {
    // A RIFF size smaller than the file limits the walk: a chunk head is read only when it
    // starts at or before the RIFF end.
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt).Chunk("data", std::string("\x01\x00", 2));
    ReaderOn early(dir, WaveFile(false, chunks.Bytes(), 20));
    EXPECT_FALSE(early.reader.ReadChunks(0x3));
    EXPECT_EQ(0x1u, early.reader.ChunksRead());
    ReaderOn atEnd(dir, WaveFile(false, chunks.Bytes(), 28), "b.wav");
    EXPECT_TRUE(atEnd.reader.ReadChunks(0x3));
    EXPECT_EQ(2u, atEnd.reader.GetDataSize());
  }
  {
    // A truncated chunk head ends the walk without error.
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt).Chunk("data", std::string("\x01\x00", 2)).Raw("cue \x10");
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    EXPECT_TRUE(r.reader.ReadChunks(0x1F));
    EXPECT_EQ(0x3u, r.reader.ChunksRead());
  }
  {
    // A cut-short format chunk fails.
    ReaderOn r(dir, WaveFile(false, ByteBuilder().ChunkWithSize("fmt ", 16, fmt.substr(0, 10)).Bytes()));
    EXPECT_FALSE(r.reader.ReadChunks(0x3));
  }
}

TEST(WavFileReader, FormatVariants) {
  qotest::TempDir dir;
  {
    // The 40-byte extensible body laid out field after field lands on the 44-byte record: the
    // mask field receives the GUID's first bytes (1), which do not fit 2 channels.
    ByteBuilder fmt;
    fmt.U16(0xFFFE).U16(2).U32(44100).U32(176400).U16(4).U16(16).U16(22).U16(16).U32(3).Raw(PcmGuid());
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt.Bytes()).Chunk("data", std::string(8, '\0'));
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(0x3102u, r.reader.GetFormat()->channelConfig);
    EXPECT_TRUE(r.reader.IsFloat());
  }
  {
    // The compact 24-byte form is taken as it is, also from a big-endian file.
    for (bool big : {false, true}) {
      ByteBuilder fmt(big);
      fmt.U16(0xFFFE).U16(4).U32(48000).U32(384000).U16(8).U16(16).U16(0).U16(0xABCD).U32(0x204);
      ByteBuilder chunks(big);
      chunks.Chunk("fmt ", fmt.Bytes()).Chunk("data", std::string(16, '\0'));
      ReaderOn r(dir, WaveFile(big, chunks.Bytes()));
      ASSERT_TRUE(r.reader.ReadChunks(0x3));
      const WaveFormatExtensible* f = r.reader.GetFormat();
      EXPECT_EQ(0x204u, f->channelConfig);
      EXPECT_EQ(0xABCDu, f->wReserved);
      EXPECT_EQ(4u, f->cbSize);
      EXPECT_EQ(0u, r.reader.GetChannelOrdering());  // not changed by the compact form
      EXPECT_FALSE(r.reader.IsFloat());
    }
  }
  {
    // An ambisonic extensible record: ordering 2; a zero block alignment is rebuilt.
    ByteBuilder fmt;
    fmt.U16(0xFFFE).U16(4).U32(48000).U32(0).U16(0).U16(16).U16(22).U16(0x55AA).U16(16).U16(0).U32(0);
    fmt.Raw(std::string("\x01\x00\x00\x00\x21\x07\xD3\x11\x86\x44\xC8\xC1\xCA\x00\x00\x00", 16));
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt.Bytes()).Chunk("data", std::string(16, '\0'));
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(0x204u, r.reader.GetFormat()->channelConfig);
    EXPECT_EQ(2u, r.reader.GetChannelOrdering());
    EXPECT_EQ(8, r.reader.GetFormat()->nBlockAlign);
    EXPECT_EQ(0x55AAu, r.reader.GetFormat()->wReserved);
    EXPECT_EQ(2u, r.reader.GetNumFrames());
  }
}

TEST(WavFileReader, HostileInputFailsCleanly) {
  qotest::TempDir dir;
  const std::string fmt = FmtBody(false, 1, 1, 8000, 16);
  {
    // Zero channels: no usable configuration.
    ByteBuilder chunks;
    chunks.Chunk("fmt ", FmtBody(false, 1, 0, 8000, 16)).Chunk("data", std::string("\x01\x00", 2));
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    EXPECT_FALSE(r.reader.ReadChunks(0x3));
  }
  {
    // A compact format with zero channels and zero block alignment reads nothing.
    ByteBuilder f;
    f.U16(0xFFFE).U16(0).U32(8000).U32(0).U16(0).U16(16).U16(4).U16(0).U32(0);
    ByteBuilder chunks;
    chunks.Chunk("fmt ", f.Bytes()).Chunk("data", std::string(8, '\0'));
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x3));
    EXPECT_EQ(0u, r.reader.GetNumFrames());
    float out[4] = {7, 7, 7, 7};
    short ints[4];
    r.reader.SeekToAudioFrame(0);
    EXPECT_EQ(0u, r.reader.ReadPCMDataAsFloat32(4, out));
    EXPECT_EQ(0u, r.reader.ReadPCMDataAsInt16(4, ints));
    EXPECT_EQ(7.0f, out[0]);
  }
  {
    // 0xFFFFFFFF sizes everywhere.
    for (const char* id : {"fmt ", "JUNK", "cue ", "LIST", "smpl", "data"}) {
      SCOPED_TRACE(id);
      ByteBuilder chunks;
      if (std::string(id) != "fmt ") chunks.Chunk("fmt ", fmt);
      chunks.ChunkWithSize(id, 0xFFFFFFFF, std::string(64, '\x01'));
      ReaderOn r(dir, WaveFile(false, chunks.Bytes(), 0xFFFFFFFF));
      const bool ok = r.reader.ReadChunks(0x1F);
      if (std::string(id) == "data") {
        EXPECT_TRUE(ok);
        EXPECT_EQ(64u, r.reader.GetDataSize());
      } else if (std::string(id) == "JUNK") {
        EXPECT_FALSE(ok);  // no data chunk
        EXPECT_EQ(0x1u, r.reader.ChunksRead());
      } else {
        EXPECT_FALSE(ok);
      }
    }
  }
  {
    // A label longer than its list and than the file.
    ByteBuilder list;
    list.Raw("adtl").Raw("labl").U32(0x7FFFFFF0).U32(1).Raw("abc");
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt).Chunk("data", std::string("\x01\x00", 2)).Chunk("LIST", list.Bytes());
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    EXPECT_FALSE(r.reader.ReadChunks(0x1F));
    EXPECT_EQ(0u, r.reader.GetNumMarkers());
  }
  {
    // A cue count far beyond the chunk: records are read until the file ends, then failure.
    ByteBuilder cue;
    cue.U32(0xFFFFFFFF).U32(1).U32(2).Raw("data").Zeros(12);
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt).Chunk("data", std::string("\x01\x00", 2)).Chunk("cue ", cue.Bytes());
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    EXPECT_FALSE(r.reader.ReadChunks(0x1F));
    ASSERT_EQ(1u, r.reader.GetNumMarkers());  // what was read before stays
    EXPECT_EQ(2u, r.reader.GetMarkers()[0].position);
  }
  {
    // A "labl" too short to hold its ID is skipped like an unknown sub-chunk.
    ByteBuilder list;
    list.Raw("adtl").Raw("labl").U32(2).Raw("ab").Raw("labl").U32(6).U32(3).Raw("hi");
    ByteBuilder chunks;
    chunks.Chunk("fmt ", fmt).Chunk("LIST", list.Bytes()).Chunk("data", std::string("\x01\x00", 2));
    ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(0x1F));
    ASSERT_EQ(1u, r.reader.GetNumMarkers());
    EXPECT_EQ("hi", Label(r.reader.GetMarkers()[0]));
  }
}

TEST(WavFileReader, UnconvertibleWidthsAreConsumedButNotWritten) {
  qotest::TempDir dir;
  ByteBuilder chunks;
  chunks.Chunk("fmt ", FmtBody(false, 1, 2, 8000, 8)).Chunk("data", "\x01\x02\x03\x04\x05\x06");
  ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
  ASSERT_TRUE(r.reader.ReadChunks(0x3));
  r.reader.SeekToAudioFrame(0);
  float out[6] = {4, 4, 4, 4, 4, 4};
  EXPECT_EQ(2u, r.reader.ReadPCMDataAsFloat32(2, out));
  EXPECT_EQ(4u, r.reader.GetCurrentDataPos());
  for (float v : out) EXPECT_EQ(4.0f, v);
  EXPECT_EQ(1u, r.reader.ReadPCMDataAsFloat32(2, out));
  EXPECT_EQ(0u, r.reader.ReadPCMDataAsFloat32(2, out));
  r.reader.SeekToAudioFrame(0);
  short ints[2];
  EXPECT_EQ(0u, r.reader.ReadPCMDataAsInt16(1, ints));

  float f[2] = {3, 3};
  unsigned char bytes[2] = {1, 2};
  EXPECT_FALSE(QoAudioFileReader::ConvertToFloat32(bytes, f, 8, 1, 0, 2, false));
  EXPECT_FALSE(QoAudioFileReader::ConvertToFloat32(bytes, f, 64, 1, 0, 1, false));
  EXPECT_EQ(3.0f, f[0]);
  // 32-bit integers use 2^-31; isFloat must be exactly 1 to copy floats.
  const int32_t ints32[2] = {INT32_MIN, 1 << 30};
  ASSERT_TRUE(QoAudioFileReader::ConvertToFloat32(const_cast<int32_t*>(ints32), f, 32, 2, 2, 1, false));
  EXPECT_EQ(-1.0f, f[0]);
  EXPECT_EQ(0.5f, f[1]);
  const unsigned char swapped[4] = {0x40, 0x00, 0x00, 0x00};
  ASSERT_TRUE(QoAudioFileReader::ConvertToFloat32(const_cast<unsigned char*>(swapped), f, 32, 1, 0, 1, true));
  EXPECT_EQ(0.5f, f[0]);
}

TEST(WavFileReader, DurationCountsWholeFrames) {
  qotest::TempDir dir;
  ByteBuilder chunks;
  chunks.Chunk("fmt ", FmtBody(false, 1, 1, 44100, 16)).Chunk("data", std::string(44101, '\0'));
  ReaderOn r(dir, WaveFile(false, chunks.Bytes()));
  ASSERT_TRUE(r.reader.ReadChunks(0x3));
  EXPECT_EQ(22050u, r.reader.GetNumFrames());
  EXPECT_DOUBLE_EQ(22050.0 / 44100.0, r.reader.GetDuration());
}

}  // namespace
