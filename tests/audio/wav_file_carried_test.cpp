// QoWavFile keeping what it does not change: the chunks no member loads are carried over byte for
// byte around the samples, and what a member leaves out of its chunk is reported.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/result_code.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

// The filler the editor writes at `position` so that the next body starts on 16 bytes.
std::string Filler(size_t position, bool big) {
  if ((position + 8) % 16 == 0) return "";
  const size_t r = (position + 16) % 16;
  return Chunk("JUNK", std::string(r == 0 ? 0 : 16 - r, '\0'), big);
}

std::string Describe(const QoCarriedChunk& c) {
  std::string text(reinterpret_cast<const char*>(&c.chunkID), 4);
  if (c.listType != 0) text += "/" + std::string(reinterpret_cast<const char*>(&c.listType), 4);
  return text + (c.beforeData ? "<" : ">") + (c.complete ? "" : " cut");
}

}  // namespace

TEST(WavFileCarried, UnloadedChunksComeOutByteForByteAroundTheSamples) {
  for (bool big : {false, true}) {
    SCOPED_TRACE(big ? "RIFX" : "RIFF");
    TempDir dir;
    const std::string fmt = Chunk("fmt ", PcmFormatBody(1, 8000, 16, big), big);
    const std::string samples = "\x01\x02\x03\x04\x05\x06\x07\x08\x09";  // odd: a pad follows
    const std::string before = Chunk("bext", "abcde", big) +
                               Chunk("LIST", "INFO" + Chunk("ICMT", "hi", big), big) +
                               Chunk("fact", U32(4, big), big);
    // An odd chunk whose writer left out the pad byte: it comes out with one.
    const std::string noPad = ChunkWithSize("odd ", 3, "xyz", big);
    const std::string after = Chunk("iXML", "<x/>", big) + Chunk("cue ", CueBody({1}, big), big) +
                              Chunk("LIST", "INFO" + Chunk("INAM", "n", big), big) +
                              Chunk("id3 ", "abc", big);
    const std::string source = Riff(fmt + before + noPad + Chunk("cue ", CueBody({2}, big), big) +
                                        Chunk("LIST", "adtl" + LablChunk(1, "one", big), big) +
                                        Chunk("data", samples, big) + after,
                                    big);
    ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));

    QoWavFile wav;
    ASSERT_TRUE(wav.Open(zu::Path(dir.File("in.wav")), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), 0u);
    std::vector<std::string> carried;
    for (const QoCarriedChunk& c : wav.GetCarriedChunks()) {
      carried.push_back(Describe(c));
      EXPECT_EQ(source.substr(c.offset, 4), carried.back().substr(0, 4));
    }
    EXPECT_EQ(carried, (std::vector<std::string>{"bext<", "LIST/INFO<", "fact<", "odd <", "iXML>",
                                                 "cue >", "LIST/INFO>", "id3 >"}));

    wav.m_listChunk.AddLabel(wav.m_cueChunk.AddCue(4), "two");
    ASSERT_TRUE(WriteKeepingEverything(wav, dir.File("out.wav"), big));
    wav.Close();
    EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);

    std::string chunks =
        fmt + before + Chunk("odd ", "xyz", big) + Chunk("cue ", CueBody({2, 4}, big), big) +
        Chunk("LIST", "adtl" + LablChunk(1, "one", big) + LablChunk(2, "two", big), big);
    chunks += Filler(12 + chunks.size(), big) + Chunk("data", samples, big) + after;
    EXPECT_EQ(Hex(ReadFileBytes(dir.File("out.wav"))), Hex(Riff(chunks, big)));

    // The byte order of stored chunks cannot change.
    ASSERT_TRUE(wav.Open(zu::Path(dir.File("in.wav")), false));
    zu::File out;
    ASSERT_EQ(out.Open(zu::Path(dir.File("other.wav")), k_openModeWrite, 0), QO::k_resultSuccess);
    EXPECT_FALSE(wav.WriteCarriedChunksBeforeData(out, !big));
    EXPECT_FALSE(wav.WriteCarriedChunksAfterData(out, !big));
  }
}

TEST(WavFileCarried, WhatAMemberLeavesOutIsReported) {
  const std::string fmt = Chunk("fmt ", PcmFormatBody(1, 8000, 16)), data = Chunk("data", "abcd");
  const std::string smpl = SmplBody(1, 3, 9), adtl = "adtl" + LablChunk(1, "a");
  std::string many;  // more chunks than the record keeps
  for (int i = 0; i < 65537; ++i) many += Chunk("PAD ", "");
  const struct {
    std::string chunks;
    unsigned int dropped;
    std::vector<std::string> carried;
  } cases[] = {
      // clang-format off
      {Chunk("cue ", CueBody({1})) + Chunk("LIST", adtl) + Chunk("smpl", smpl), 0, {}},
      {Chunk("LIST", adtl + Chunk("note", U32(1) + "n")), QO::k_droppedListSubChunks, {}},
      {Chunk("LIST", adtl + ChunkWithSize("labl", 40, U32(2) + "b")), QO::k_droppedListSubChunks,
       {}},
      {Chunk("smpl", SmplBody(2, 3, 9)), QO::k_droppedSamplerLoops, {}},
      {Chunk("smpl", smpl.substr(0, 32) + U32(4) + smpl.substr(36) + "data"),
       QO::k_droppedSamplerData, {}},
      {Chunk("cue ", U32(3) + CueBody({1, 2}).substr(4)), QO::k_droppedCueRecords, {}},
      {Chunk("cue ", CueBody({1}) + "more"), QO::k_droppedCueRecords, {}},
      {"abc", QO::k_droppedTrailingBytes, {}},
      // Chunks their members do not load are carried whole, not reported; a cut one is refused.
      {Chunk("cue ", U32(0)) + Chunk("smpl", SmplBody(0, 0, 0)) +
       Chunk("LIST", "adtl" + Chunk("note", U32(1) + "n")), 0, {"cue >", "smpl>", "LIST/adtl>"}},
      {ChunkWithSize("LIST", 100, "INFO"), 0, {"LIST/INFO> cut"}},
      {many, QO::k_droppedExcessChunks, std::vector<std::string>(65536, "PAD >")},
      // A head named "RIFX" turns the rest of the walk big-endian: what follows it cannot be
      // written back in the file's own byte order, so nothing from there on is carried.
      {Chunk("bext", "ab") + Chunk("RIFX", "abcd", true) + Chunk("junk", "xy"),
       QO::k_droppedAfterByteOrderSwitch, {"bext>"}},
      // clang-format on
  };
  TempDir dir;
  QoWavFile wav;
  for (const auto& c : cases) {
    SCOPED_TRACE(Hex(c.chunks.substr(0, 8)));
    ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff(fmt + data + c.chunks)));
    ASSERT_TRUE(wav.Open(zu::Path(dir.File("in.wav")), false));
    EXPECT_EQ(wav.GetDroppedOnLoad(), c.dropped);
    std::vector<std::string> carried;
    for (const QoCarriedChunk& chunk : wav.GetCarriedChunks()) carried.push_back(Describe(chunk));
    EXPECT_EQ(carried, c.carried);
    const bool written = WriteKeepingEverything(wav, dir.File("out.wav"), false);
    EXPECT_EQ(written, carried.empty() || carried.back().find("cut") == std::string::npos);
    // What was written opens again with the samples.
    QoWavFile again;
    if (written) {
      ASSERT_TRUE(again.Open(zu::Path(dir.File("out.wav")), false));
      EXPECT_EQ(again.m_dataChunk.GetSize(), 4u);
    }
  }
  // Nothing is recorded for the format alone, nor after Close.
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("in.wav")), true));
  EXPECT_TRUE(wav.GetCarriedChunks().empty());
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("in.wav")), false));
  wav.Close();
  EXPECT_TRUE(wav.GetCarriedChunks().empty());
  EXPECT_TRUE(wav.GetDroppedOnLoad() == 0);
}

// Found by fuzzing: a "RIFX" head between the format and the data of a little-endian file. The
// data chunk is found big-endian (its size cut to the file), and the edit must still give a file
// that opens again: the chunk that switched the byte order is not carried into it.
TEST(WavFileCarried, AByteOrderSwitchInsideTheFileIsNotCarriedIntoTheEdit) {
  const std::string body = Chunk("fmt ", PcmFormatBody(1, 8000, 16)) +
                           Chunk("RIFX", std::string(119, '\xE9'), true) + "data" +
                           std::string("\x80\0\0\0", 4) + "\x01\x02\x03";
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff(body)));
  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(dir.File("in.wav")), false));
  EXPECT_EQ(wav.GetDroppedOnLoad(), QO::k_droppedAfterByteOrderSwitch);
  EXPECT_TRUE(wav.GetCarriedChunks().empty());
  ASSERT_TRUE(WriteKeepingEverything(wav, dir.File("out.wav"), false));
  QoWavFile again;
  ASSERT_TRUE(again.Open(zu::Path(dir.File("out.wav")), false));
  EXPECT_EQ(again.GetDroppedOnLoad(), 0u);
  EXPECT_EQ(again.m_dataChunk.GetSize(), 3u);
}
