// The WAV reader: formats, markers, loops, damaged chunk walks and sample reads.
#include <gtest/gtest.h>
#include <qobase/audio/wav_file_reader.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;
using qotest::Fields;
using qotest::FmtBody;
using qotest::WaveFile;

// Writes bytes to a file in a fresh directory and opens a reader on it.
struct ReaderOn {
  explicit ReaderOn(const std::string& bytes) {
    qotest::WriteFileBytes(dir.File("t.wav"), bytes);
    opened = reader.Open(zu::Path(dir.File("t.wav")));
  }
  // Reads up to `frames` frames from frame 0; the slots not written keep 9 (or 99).
  std::vector<float> Floats(unsigned int frames, unsigned int slots) {
    std::vector<float> out(slots, 9.0f);
    reader.SeekToAudioFrame(0);
    out.resize(reader.ReadPCMDataAsFloat32(frames, out.data()) * reader.GetFormat()->nChannels);
    return out;
  }
  std::vector<short> Int16s(unsigned int frames) {
    std::vector<short> out(frames * reader.GetFormat()->nChannels + 1, 99);
    reader.SeekToAudioFrame(0);
    out.resize(reader.ReadPCMDataAsInt16(frames, out.data()) * reader.GetFormat()->nChannels);
    return out;
  }
  qotest::TempDir dir;
  QoWavFileReader reader;
  bool opened;
};

// A file of a "fmt " and a "data" chunk, then any further chunks.
std::string Simple(const std::string& fmt, const std::string& data, const std::string& more = "",
                   bool big = false) {
  return WaveFile(big, ByteBuilder(big).Chunk("fmt ", fmt).Chunk("data", data).Bytes() + more);
}

const std::string k_mono16 = FmtBody(false, 1, 1, 8000, 16);
const std::string k_data2("\x01\x00", 2);

TEST(WavFileReader, OpenChecksTheContainerHead) {
  EXPECT_TRUE(ReaderOn(WaveFile(false, "")).opened);
  EXPECT_TRUE(ReaderOn(WaveFile(true, "")).opened);
  for (const char* bad :
       {"RIFF\x04\x00\x00\x00WAVX", "RIFQ\x04\x00\x00\x00WAVE", "RIFF\x04\x00\x00\x00WAV"})
    EXPECT_FALSE(ReaderOn(bad).opened) << bad;
  QoWavFileReader missing;
  EXPECT_FALSE(missing.Open(zu::Path("/nonexistent/none.wav")));
  EXPECT_FALSE(missing.ReadChunks(QO::k_chunksFormatAndData));
}

TEST(WavFileReader, PlainPcmFormatDataAndReads) {
  ReaderOn r(Simple(FmtBody(false, 1, 2, 44100, 16),
                    ByteBuilder().U16(0x8000).U16(0x7FFF).U16(1).U16(0xFFFF).Bytes()));
  ASSERT_TRUE(r.reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ(0x3u, r.reader.ChunksRead());
  EXPECT_EQ("FFFE 2 44100 176400 4 16 4 0 3102", Fields(*r.reader.GetFormat()));
  EXPECT_EQ(0u, r.reader.GetChannelOrdering());
  EXPECT_FALSE(r.reader.IsFloat());
  EXPECT_EQ(2u, r.reader.GetNumFrames());
  EXPECT_EQ(44u, r.reader.GetDataOffset());
  EXPECT_EQ(48, r.reader.SeekToAudioFrame(1));
  EXPECT_EQ(4u, r.reader.GetCurrentDataPos());
  EXPECT_EQ((std::vector<float>{-1.0f, 32767.0f / 32768, 1.0f / 32768, -1.0f / 32768}),
            r.Floats(3, 6));
  float out[1] = {5};
  EXPECT_EQ(0u, r.reader.ReadPCMDataAsFloat32(1, out));  // past the end: output untouched
  EXPECT_EQ(5.0f, out[0]);
  r.reader.SeekToAudioFrame(100);
  EXPECT_EQ(0u, r.reader.ReadPCMDataAsFloat32(1, out));
  EXPECT_EQ((std::vector<short>{-32768, 32767, 1, -1}), r.Int16s(2));
}

TEST(WavFileReader, FloatAnd24BitSamplesInBothByteOrders) {
  for (bool big : {false, true}) {
    SCOPED_TRACE(big ? "RIFX" : "RIFF");
    ReaderOn flt(Simple(FmtBody(big, 3, 1, 48000, 32),
                        ByteBuilder(big).F32(0.25f).F32(-2.5f).Bytes(), "", big));
    ASSERT_TRUE(flt.reader.ReadChunks(QO::k_chunksFormatAndData));
    EXPECT_TRUE(flt.reader.IsFloat());
    EXPECT_EQ(big, flt.reader.IsByteSwapped());
    EXPECT_EQ((std::vector<float>{0.25f, -2.5f}), flt.Floats(2, 2));  // copied, not clamped
    // 0.25 * 32767 truncated; -2.5 clamped to -1 first.
    EXPECT_EQ((std::vector<short>{8191, -32767}), flt.Int16s(2));

    // 0x7FFFFF, -0x800000, 0x000100; odd data size, so a pad byte precedes the next chunk.
    const std::string samples = big ? std::string("\x7F\xFF\xFF\x80\x00\x00\x00\x01\x00", 9)
                                    : std::string("\xFF\xFF\x7F\x00\x00\x80\x00\x01\x00", 9);
    ReaderOn i24(Simple(FmtBody(big, 1, 1, 48000, 24), samples,
                        ByteBuilder(big).Chunk("JUNK", "ab").Bytes(), big));
    ASSERT_TRUE(i24.reader.ReadChunks(QO::k_chunksAll));
    EXPECT_EQ((std::vector<float>{8388607.0f / 8388608, -1.0f, 256.0f / 8388608}),
              i24.Floats(3, 3));
    EXPECT_EQ((std::vector<short>{32767, -32768, 1}), i24.Int16s(3));
  }
}

TEST(WavFileReader, LoopMarkersAndLabels) {
  for (bool big : {false, true}) {
    SCOPED_TRACE(big ? "RIFX" : "RIFF");
    ByteBuilder list(big);
    // A label before its cue point (odd, padded), another sub-chunk, an even label.
    list.Raw("adtl").Raw("labl").U32(7).U32(7).Raw("abc").U8(0);
    list.Raw("note").U32(3).Raw("xyz").U8(0).Raw("labl").U32(8).U32(2).Raw(
        std::string("ab\0\0", 4));
    ByteBuilder cue(big);
    cue.U32(2).U32(2).U32(50).Raw("data").Zeros(12).U32(7).U32(70).Raw("data").Zeros(12);
    ByteBuilder chunks(big);
    chunks.Chunk("fmt ", FmtBody(big, 1, 1, 1000, 16)).Chunk("LIST", list.Bytes());
    chunks.Chunk("cue ", cue.Bytes());
    chunks.Chunk("smpl", ByteBuilder(big).Zeros(44).U32(1000).U32(2000).Zeros(8).Bytes());
    chunks.Chunk("data", std::string(4000, '\0'));
    ReaderOn r(WaveFile(big, chunks.Bytes()));
    ASSERT_TRUE(r.reader.ReadChunks(QO::k_chunksAll));
    EXPECT_EQ(0x1Fu, r.reader.ChunksRead());
    EXPECT_EQ(1000u, r.reader.GetLoopStartFrame());
    EXPECT_EQ(2000u, r.reader.GetLoopEndFrame());
    EXPECT_DOUBLE_EQ(1.0, r.reader.GetLoopStart());
    EXPECT_DOUBLE_EQ(2.0, r.reader.GetLoopEnd());
    EXPECT_EQ(std::string("7@70:abc 2@50:ab\0\0", 18), qotest::Markers(r.reader.GetMarkers()));
    EXPECT_EQ(70u, r.reader.GetWavMarker(7).position);
    EXPECT_EQ(99u, r.reader.GetWavMarker(99).ID);  // unknown IDs are appended
    EXPECT_EQ(3u, r.reader.GetNumMarkers());
    r.reader.Close();
    EXPECT_EQ(0u, r.reader.GetNumMarkers());
    EXPECT_EQ(0u, r.reader.GetDataSize());
    EXPECT_EQ(1000u, r.reader.GetLoopStartFrame());  // loop points and format stay
    EXPECT_EQ(1000u, r.reader.GetFormat()->nSamplesPerSec);
  }
}

TEST(WavFileReader, WalkStopsWhenAskedChunksAreFound) {
  ByteBuilder cue;
  cue.Chunk("cue ", ByteBuilder().U32(1).U32(1).U32(5).Zeros(16).Bytes());
  const std::string file = Simple(k_mono16, k_data2, cue.Bytes());
  ReaderOn two(file), all(file);
  ASSERT_TRUE(two.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(0x3u, two.reader.ChunksRead());
  EXPECT_EQ(0u, two.reader.GetNumMarkers());
  ASSERT_TRUE(all.reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ(0xBu, all.reader.ChunksRead());
  EXPECT_EQ(1u, all.reader.GetNumMarkers());
  // A missing data chunk fails only when it was asked for; a "smpl" without loop sets the flag.
  ByteBuilder chunks;
  chunks.Chunk("fmt ", k_mono16).Chunk("smpl", std::string(36, '\0'));
  EXPECT_FALSE(
      ReaderOn(WaveFile(false, chunks.Bytes())).reader.ReadChunks(QO::k_chunksFormatAndData));
  ReaderOn fmtOnly(WaveFile(false, chunks.Bytes()));
  EXPECT_TRUE(fmtOnly.reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkSmpl));
  EXPECT_EQ(0x5u, fmtOnly.reader.ChunksRead());
  EXPECT_EQ(0u, fmtOnly.reader.GetLoopEndFrame());
}

TEST(WavFileReader, ToleratesPadsShortDataAndTruncation) {
  for (bool pad : {true, false}) {
    ByteBuilder chunks;
    chunks.Chunk("JUNK", "abc", pad).Chunk("fmt ", k_mono16).Chunk("data", k_data2);
    ReaderOn r(WaveFile(false, chunks.Bytes()));
    EXPECT_TRUE(r.reader.ReadChunks(QO::k_chunksFormatAndData));
    EXPECT_EQ((pad ? 12u : 11u) + 12u + 24u + 8u, r.reader.GetDataOffset());
  }

  // Data claiming more than the file holds is cut to the file.
  ByteBuilder chunks;
  chunks.Chunk("fmt ", k_mono16)
      .ChunkWithSize("data", 1000, std::string("\x01\x00\x02\x00\x03", 5));
  ReaderOn cut(WaveFile(false, chunks.Bytes(), 5000));
  ASSERT_TRUE(cut.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(5u, cut.reader.GetDataSize());
  EXPECT_EQ((std::vector<float>{1.0f / 32768, 2.0f / 32768}), cut.Floats(4, 4));

  // A RIFF size below the file size ends the walk: a head is read only if it starts at or
  // before the RIFF end.
  const std::string two = ByteBuilder().Chunk("fmt ", k_mono16).Chunk("data", k_data2).Bytes();
  ReaderOn early(WaveFile(false, two, 20)), atEnd(WaveFile(false, two, 28));
  EXPECT_FALSE(early.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(0x1u, early.reader.ChunksRead());
  EXPECT_TRUE(atEnd.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(2u, atEnd.reader.GetDataSize());
  // Such a head past the RIFF body is cut to the file too, so the frames counted are the frames
  // a read delivers.
  const std::string past = ByteBuilder()
                               .Chunk("fmt ", k_mono16)
                               .ChunkWithSize("data", 1000, std::string("\x01\x00\x02\x00\x03", 5))
                               .Bytes();
  ReaderOn beyond(WaveFile(false, past, 28));
  ASSERT_TRUE(beyond.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(5u, beyond.reader.GetDataSize());
  EXPECT_EQ(2u, beyond.reader.GetNumFrames());
  EXPECT_EQ((std::vector<float>{1.0f / 32768, 2.0f / 32768}), beyond.Floats(8, 8));

  // A truncated chunk head ends the walk without error; a truncated format chunk fails.
  ReaderOn head(Simple(k_mono16, k_data2, "cue \x10"));
  EXPECT_TRUE(head.reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ(0x3u, head.reader.ChunksRead());
  const std::string shortFmt = ByteBuilder().ChunkWithSize("fmt ", 16, "abcdefghij").Bytes();
  EXPECT_FALSE(ReaderOn(WaveFile(false, shortFmt)).reader.ReadChunks(QO::k_chunksFormatAndData));
}

TEST(WavFileReader, FormatVariants) {
  // A 40-byte extensible body laid out field after field lands on the 44-byte record: the mask
  // field receives the GUID's first bytes (1), which do not fit 2 channels.
  ByteBuilder ext;
  ext.U16(0xFFFE).U16(2).U32(44100).U32(176400).U16(4).U16(16).U16(22).U16(16).U32(3);
  ext.Raw(std::string("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16));
  ReaderOn extensible(Simple(ext.Bytes(), std::string(8, '\0')));
  ASSERT_TRUE(extensible.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ("FFFE 2 44100 176400 4 16 4 10 3102", Fields(*extensible.reader.GetFormat()));
  EXPECT_TRUE(extensible.reader.IsFloat());

  // The compact 24-byte form is taken as it is, in both byte orders; ordering left alone.
  for (bool big : {false, true}) {
    ByteBuilder compact(big);
    compact.U16(0xFFFE).U16(4).U32(48000).U32(384000).U16(8).U16(16).U16(0).U16(0xABCD);
    ReaderOn r(Simple(compact.U32(0x204).Bytes(), std::string(16, '\0'), "", big));
    ASSERT_TRUE(r.reader.ReadChunks(QO::k_chunksFormatAndData));
    EXPECT_EQ("FFFE 4 48000 384000 8 16 4 ABCD 204", Fields(*r.reader.GetFormat()));
    EXPECT_EQ(0u, r.reader.GetChannelOrdering());
  }
  // ...even when its channel count is 0 beside a configuration of 2: the frames are counted by
  // the block alignment, and a read, with no channel to fill, delivers none and ends.
  ByteBuilder noChannels;
  noChannels.U16(0xFFFE).U16(0).U32(44100).U32(176400).U16(4).U16(16).U16(0).U16(0).U32(0x3102);
  ReaderOn zero(Simple(noChannels.Bytes(), std::string(32, '\x11')));
  ASSERT_TRUE(zero.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(0u, zero.reader.GetFormat()->nChannels);
  EXPECT_EQ(8u, zero.reader.GetNumFrames());
  std::vector<float> untouched(64, 9.0f);
  EXPECT_EQ(0u, zero.reader.ReadPCMDataAsFloat32(8, untouched.data()));
  EXPECT_EQ(std::vector<float>(64, 9.0f), untouched);

  // Ambisonic, no mask: ordering 2; bytes 18-19 carried; a zero block alignment rebuilt.
  ByteBuilder amb;
  amb.U16(0xFFFE).U16(4).U32(48000).U32(0).U16(0).U16(16).U16(22).U16(0x55AA).U16(16).U16(0).U32(0);
  amb.Raw(std::string("\x01\x00\x00\x00\x21\x07\xD3\x11\x86\x44\xC8\xC1\xCA\x00\x00\x00", 16));
  ReaderOn r(Simple(amb.Bytes(), std::string(16, '\0')));
  ASSERT_TRUE(r.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ("FFFE 4 48000 0 8 16 4 55AA 204", Fields(*r.reader.GetFormat()));
  EXPECT_EQ(2u, r.reader.GetChannelOrdering());
  EXPECT_EQ(2u, r.reader.GetNumFrames());
}

TEST(WavFileReader, HostileInputFailsCleanly) {
  EXPECT_FALSE(ReaderOn(Simple(FmtBody(false, 1, 0, 8000, 16), k_data2))
                   .reader.ReadChunks(QO::k_chunksFormatAndData));  // 0 channels

  // A compact format with zero channels and zero block alignment reads nothing.
  ByteBuilder compact;
  compact.U16(0xFFFE).U16(0).U32(8000).U32(0).U16(0).U16(16).U16(4).U16(0).U32(0);
  ReaderOn zero(Simple(compact.Bytes(), std::string(8, '\0')));
  ASSERT_TRUE(zero.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(0u, zero.reader.GetNumFrames());
  EXPECT_EQ(std::vector<float>(), zero.Floats(4, 4));
  EXPECT_EQ(std::vector<short>(), zero.Int16s(4));

  // 0xFFFFFFFF sizes: only a data chunk survives one (cut to the file).
  for (const std::string id : {"fmt ", "JUNK", "cue ", "LIST", "smpl", "data"}) {
    ByteBuilder chunks;
    if (id != "fmt ") chunks.Chunk("fmt ", k_mono16);
    chunks.ChunkWithSize(id, 0xFFFFFFFF, std::string(64, '\x01'));
    ReaderOn r(WaveFile(false, chunks.Bytes(), 0xFFFFFFFF));
    EXPECT_EQ(id == "data", r.reader.ReadChunks(QO::k_chunksAll)) << id;
    EXPECT_EQ(id == "data" ? 64u : 0u, r.reader.GetDataSize()) << id;
  }

  // A label longer than its list and the file fails before allocating it.
  ByteBuilder longLabel;
  longLabel.Chunk("LIST",
                  ByteBuilder().Raw("adtl").Raw("labl").U32(0x7FFFFFF0).U32(1).Raw("abc").Bytes());
  ReaderOn labl(Simple(k_mono16, k_data2, longLabel.Bytes()));
  EXPECT_FALSE(labl.reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ(0u, labl.reader.GetNumMarkers());

  // A cue count beyond the chunk: records are read until the file ends, then failure; what
  // was read stays.
  ByteBuilder cue;
  cue.Chunk("cue ", ByteBuilder().U32(0xFFFFFFFF).U32(1).U32(2).Zeros(16).Bytes());
  ReaderOn cues(Simple(k_mono16, k_data2, cue.Bytes()));
  EXPECT_FALSE(cues.reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ("1@2:", qotest::Markers(cues.reader.GetMarkers()));

  // A "labl" too short to hold its ID is skipped like an unknown sub-chunk.
  ByteBuilder shortLabel;
  shortLabel.Raw("adtl").Raw("labl").U32(2).Raw("ab").Raw("labl").U32(6).U32(3).Raw("hi");
  ReaderOn skip(Simple(k_mono16, k_data2, ByteBuilder().Chunk("LIST", shortLabel.Bytes()).Bytes()));
  ASSERT_TRUE(skip.reader.ReadChunks(QO::k_chunksAll));
  EXPECT_EQ("3@0:hi", qotest::Markers(skip.reader.GetMarkers()));
}

TEST(WavFileReader, UnconvertibleWidthsAndDuration) {
  // 8-bit frames are consumed and counted, the output is left as it was.
  ReaderOn r(Simple(FmtBody(false, 1, 2, 8000, 8), "\x01\x02\x03\x04\x05\x06"));
  ASSERT_TRUE(r.reader.ReadChunks(QO::k_chunksFormatAndData));
  r.reader.SeekToAudioFrame(0);
  float out[4] = {4, 4, 4, 4};
  EXPECT_EQ(2u, r.reader.ReadPCMDataAsFloat32(2, out));
  EXPECT_EQ(4u, r.reader.GetCurrentDataPos());
  for (float v : out) EXPECT_EQ(4.0f, v);
  EXPECT_EQ(1u, r.reader.ReadPCMDataAsFloat32(2, out));
  EXPECT_EQ(std::vector<short>(), r.Int16s(1));

  unsigned char bytes[4] = {0x40, 0, 0, 0};
  EXPECT_FALSE(QoAudioFileReader::ConvertToFloat32(bytes, out, 8, 1, 0, 2, false));
  EXPECT_EQ(4.0f, out[0]);
  // 32-bit integers scale by 2^-31; only isFloat == 1 copies floats.
  ASSERT_TRUE(QoAudioFileReader::ConvertToFloat32(bytes, out, 32, 1, 2, 1, true));
  EXPECT_EQ(0.5f, out[0]);

  // Whole frames over the rate: 44101 bytes of 16-bit mono are 22050 frames.
  ReaderOn odd(Simple(FmtBody(false, 1, 1, 44100, 16), std::string(44101, '\0')));
  ASSERT_TRUE(odd.reader.ReadChunks(QO::k_chunksFormatAndData));
  EXPECT_EQ(22050u, odd.reader.GetNumFrames());
  EXPECT_DOUBLE_EQ(0.5, odd.reader.GetDuration());
}

}  // namespace
