// Cue, label and sampler chunks of the chunk editor: loading, editing, writing, in-place updates
// and hostile bodies.
#include <gtest/gtest.h>

#include <qobase/audio/wav_marker_chunks.h>
#include <qobase/audio/wav_structure_chunks.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

// A file with its container found, opened through the C library in `mode`.
struct Opened {
  Opened(const std::string& path, const char* mode = "rb") : stream(std::fopen(path.c_str(), mode)), file(stream) {
    riffOk = riff.Init(file, nullptr);
  }
  ~Opened() {
    if (stream) std::fclose(stream);
  }
  FILE* stream;
  zu::File file;
  QoRiffChunk riff;
  bool riffOk = false;
};

std::vector<uint32_t> Positions(const QoCueChunk& cues) {
  std::vector<WAV_CUE> list;
  cues.GetCuesVector(list);
  std::vector<uint32_t> positions;
  for (const WAV_CUE& cue : list) positions.push_back(cue.dwPosition);
  return positions;
}

std::string Written(QoFormatChunkBase& chunk, bool swap, unsigned int* result = nullptr) {
  TempDir dir;
  unsigned int code = 99;
  {
    zu::File out;
    if (out.Open(zu::Path(dir.File("out.bin")), k_openModeWrite, 0) != 1) return "open failed";
    code = chunk.WriteToFile(out, swap);
  }
  if (result) *result = code;
  return ReadFileBytes(dir.File("out.bin"));
}

const std::string k_fmt = Chunk("fmt ", PcmFormatBody(1, 8000, 16));

}  // namespace

TEST(WavCueChunk, LoadsEditsAndWritesCuePoints) {
  TempDir dir;
  std::string body = CueBody({300, 100, 200});
  body.replace(4 + 48, 4, U32(9));  // the third cue has ID 9
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(k_fmt + Chunk("cue ", body))));
  Opened in(dir.File("a.wav"));
  QoCueChunk cues;
  ASSERT_TRUE(cues.Init(in.file, &in.riff));
  EXPECT_EQ(cues.GetSize(), 76u);
  EXPECT_EQ(Positions(cues), (std::vector<uint32_t>{300, 100, 200}));
  EXPECT_EQ(cues.AddCue(100), 10u);  // one above the highest ID
  EXPECT_EQ(cues.GetSize(), 100u);
  cues.SortCues();
  std::vector<WAV_CUE> list;
  cues.GetCuesVector(list);
  ASSERT_EQ(list.size(), 4u);
  EXPECT_EQ(list[0].dwName, 2u);  // equal positions keep their order
  EXPECT_EQ(list[1].dwName, 10u);
  EXPECT_EQ(list[2].dwName, 9u);
  EXPECT_EQ(list[3].dwName, 1u);

  const std::string added = U32(10) + U32(100) + "data" + U32(0) + U32(0) + U32(100);
  EXPECT_EQ(Written(cues, false), "cue " + U32(100) + U32(4) + body.substr(4 + 24, 24) + added +
                                      body.substr(4 + 48, 24) + body.substr(4, 24));
  const std::string swapped = Written(cues, true);
  EXPECT_EQ(swapped.substr(0, 12), "cue " + U32(100, true) + U32(4, true));
  EXPECT_EQ(swapped.substr(12 + 24, 24), U32(10, true) + U32(100, true) + "data" + U32(0) + U32(0) + U32(100, true));

  // A new chunk: ID 1, size 4 + 24.
  QoCueChunk fresh;
  unsigned int result = 0;
  EXPECT_EQ(Written(fresh, false, &result), "");
  EXPECT_EQ(result, QO::k_chunkFailure);
  EXPECT_EQ(fresh.AddCue(5), 1u);
  EXPECT_TRUE(fresh.IsValid());
  EXPECT_EQ(fresh.GetSize(), 28u);
  EXPECT_EQ(Written(fresh, false), "cue " + U32(28) + U32(1) + U32(1) + U32(5) + "data" + U32(0) + U32(0) + U32(5));
  fresh.Reset();
  EXPECT_FALSE(fresh.IsValid());
  EXPECT_EQ(fresh.AddCue(7), 1u);
}

TEST(WavCueChunk, TrimAdjustAndRescalePositions) {
  QoCueChunk cues;
  for (uint32_t p : {50u, 100u, 150u, 151u}) cues.AddCue(p);
  std::vector<unsigned int> removed;
  EXPECT_THROW(cues.TrimCues(100, 50, nullptr), std::bad_function_call);
  EXPECT_EQ(Positions(cues).size(), 4u);  // nothing changed by the refused call
  cues.TrimCues(100, 50, [&](unsigned int id) { removed.push_back(id); });
  EXPECT_EQ(Positions(cues), (std::vector<uint32_t>{0, 50}));
  EXPECT_EQ(removed, (std::vector<unsigned int>{1, 4}));
  EXPECT_EQ(cues.GetSize(), 4u + 48);
  std::vector<WAV_CUE> list;
  cues.GetCuesVector(list);
  EXPECT_EQ(list[1].dwSampleOffset, 150u);  // left as it was
  cues.TrimCues(0, 100, nullptr);  // nothing to remove: the empty callback is never needed

  QoCueChunk align;
  for (uint32_t p : {1280u, 1300u, 1024u, 100300u, 200704u, 99999u}) align.AddCue(p);
  align.AdjustCuesPosition(0, 512, 100000);
  // 100300 rounds up past the limit; 200704 is aligned already and stays.
  EXPECT_EQ(Positions(align), (std::vector<uint32_t>{1024, 1536, 1024, 100000, 200704, 99840}));
  align.GetCuesVector(list);
  EXPECT_EQ(list[1].dwSampleOffset, 1536u);
  align.AdjustCuesPosition(10, 0, 0);  // no alignment: shift only
  EXPECT_EQ(Positions(align), (std::vector<uint32_t>{1034, 1546, 1034, 100010, 200714, 99850}));

  // Rescaling needs the chunk's place in a writable file; the positions change either way.
  QoCueChunk scaled;
  for (uint32_t p : {1001u, 2001u, 10u}) scaled.AddCue(p);
  EXPECT_EQ(scaled.UpdateCueInfo(0.5, 1000, false), QO::k_chunkFailure);
  EXPECT_EQ(Positions(scaled), (std::vector<uint32_t>{501, 999, 5}));
  EXPECT_EQ(QoCueChunk().UpdateCueInfo(0.5, 1000, false), QO::k_chunkFailure);
}

TEST(WavCueChunk, UpdateCueInfoRewritesOnlyItsOwnChunk) {
  TempDir dir;
  const std::string before = Riff(k_fmt + Chunk("cue ", CueBody({1001, 2001})) + Chunk("data", Pcm16Samples(3, 1)));
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), before));
  {
    Opened in(dir.File("a.wav"));
    QoCueChunk cues;
    ASSERT_TRUE(cues.Init(in.file, &in.riff));
    EXPECT_EQ(cues.UpdateCueInfo(0.5, 1000, false), QO::k_chunkFailure);  // opened for reading
  }
  EXPECT_EQ(ReadFileBytes(dir.File("a.wav")), before);
  {
    Opened in(dir.File("a.wav"), "r+b");
    QoCueChunk cues;
    ASSERT_TRUE(cues.Init(in.file, &in.riff));
    EXPECT_EQ(cues.UpdateCueInfo(0.5, 1000, false), QO::k_chunkSuccess);
    cues.AddCue(4);  // the chunk no longer fits its place
    EXPECT_EQ(cues.UpdateCueInfo(1.0, 1000, false), QO::k_chunkFailure);
  }
  EXPECT_EQ(ReadFileBytes(dir.File("a.wav")),
            Riff(k_fmt + Chunk("cue ", CueBody({501, 999})) + Chunk("data", Pcm16Samples(3, 1))));
}

TEST(WavCueChunk, HostileCountsAndTruncatedBodiesStayInsideTheFile) {
  TempDir dir;
  // The count claims far more records than the body holds: only those inside are taken.
  std::string body = CueBody({10, 20});
  body.replace(0, 4, U32(0xFFFFFFFFu));
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(Chunk("cue ", body) + Chunk("data", CueBody({30})))));
  {
    Opened in(dir.File("a.wav"));
    QoCueChunk cues;
    ASSERT_TRUE(cues.Init(in.file, &in.riff));
    EXPECT_EQ(Positions(cues), (std::vector<uint32_t>{10, 20}));
    EXPECT_EQ(cues.GetSize(), 52u);
  }
  // A body cut by the end of the file keeps its whole records.
  ASSERT_TRUE(WriteFileBytes(dir.File("b.wav"), Riff(Chunk("cue ", CueBody({10, 20, 30}))).substr(0, 12 + 8 + 4 + 24 + 10)));
  {
    Opened in(dir.File("b.wav"));
    QoCueChunk cues;
    ASSERT_TRUE(cues.Init(in.file, &in.riff));
    EXPECT_EQ(Positions(cues), (std::vector<uint32_t>{10}));
  }
  // A count of 0, or no room for the count: no cue chunk.
  ASSERT_TRUE(WriteFileBytes(dir.File("c.wav"), Riff(Chunk("cue ", U32(0)) + Chunk("data", ""))));
  ASSERT_TRUE(WriteFileBytes(dir.File("d.wav"), Riff(Chunk("cue ", "")).substr(0, 20)));
  for (const char* name : {"c.wav", "d.wav"}) {
    Opened in(dir.File(name));
    QoCueChunk cues;
    EXPECT_FALSE(cues.Init(in.file, &in.riff)) << name;
    EXPECT_EQ(cues.GetSize(), 0u);
    EXPECT_EQ(cues.AddCue(1), 1u);
  }
}

TEST(WavListChunk, LoadsLabelsOfTheFirstAdtlList) {
  TempDir dir;
  // An "INFO" list first, then the labels with a note that is dropped.
  const std::string info = Chunk("LIST", "INFO" + Chunk("INAM", "name"));
  const std::string adtl =
      Chunk("LIST", "adtl" + LablChunk(1, "Intro") + Chunk("note", U32(1) + "no") + LablChunk(7, "Go"));
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(info + k_fmt + adtl)));
  Opened in(dir.File("a.wav"));
  QoListChunk list;
  ASSERT_TRUE(list.Init(in.file, &in.riff));
  ASSERT_EQ(list.GetLabels().size(), 2u);
  EXPECT_EQ(list.GetLabels()[0].cueID, 1u);
  EXPECT_EQ(list.GetLabels()[0].size, 6u);
  EXPECT_STREQ(list.GetLabels()[0].text, "Intro");
  EXPECT_EQ(list.GetLabels()[1].cueID, 7u);
  EXPECT_STREQ(list.GetLabels()[1].text, "Go");
  EXPECT_EQ(list.GetSize(), 4u + 18 + 16);  // the note does not count
  EXPECT_EQ(Written(list, false), "LIST" + U32(38) + "adtl" + LablChunk(1, "Intro") + LablChunk(7, "Go"));
  EXPECT_EQ(Written(list, true), "LIST" + U32(38, true) + "adtl" + LablChunk(1, "Intro", true) + LablChunk(7, "Go", true));

  EXPECT_EQ(list.AddLabel(3, "ab"), 0u);
  EXPECT_EQ(list.GetSize(), 38u + 16);
  EXPECT_EQ(list.RemoveLabel(1), 0u);
  EXPECT_EQ(list.RemoveLabel(1), 1u);
  EXPECT_EQ(list.GetSize(), 4u + 16 + 16);
  EXPECT_EQ(Written(list, false), "LIST" + U32(36) + "adtl" + LablChunk(7, "Go") + LablChunk(3, "ab"));
  EXPECT_EQ(list.RemoveLabel(7), 0u);
  EXPECT_EQ(list.RemoveLabel(3), 0u);
  EXPECT_TRUE(list.IsValid());
  EXPECT_EQ(Written(list, false), "LIST" + U32(4) + "adtl");

  QoListChunk fresh;
  fresh.AddLabel(3, "ab");
  EXPECT_EQ(fresh.GetSize(), 20u);
  EXPECT_EQ(Written(fresh, false), "LIST" + U32(20) + "adtl" + "labl" + U32(7) + U32(3) + std::string("ab\0\0", 4));
}

TEST(WavListChunk, BadListsGiveNoLabelsOrStopBeforeTheBadOne) {
  TempDir dir;
  const struct {
    std::string list;
    std::vector<std::string> texts;
  } cases[] = {
      // Only a list of another type.
      {Chunk("LIST", "INFO" + LablChunk(1, "x")), {}},
      // A label whose size runs past its list: the walk stops there.
      {Chunk("LIST", "adtl" + LablChunk(1, "ok") + "labl" + U32(40) + U32(2) + "long"), {"ok"}},
      // A label too small to hold its cue ID.
      {Chunk("LIST", "adtl" + Chunk("labl", "ab") + LablChunk(1, "late")), {}},
      // A sub-chunk head cut by the end of the list.
      {Chunk("LIST", "adtl" + LablChunk(4, "one") + "lab"), {"one"}},
      // Too short for any label.
      {Chunk("LIST", "adtl"), {}},
  };
  int index = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(index);
    const std::string path = dir.File(std::to_string(index++) + ".wav");
    ASSERT_TRUE(WriteFileBytes(path, Riff(c.list + k_fmt)));
    Opened in(path);
    QoListChunk list;
    EXPECT_EQ(list.Init(in.file, &in.riff), !c.texts.empty());
    std::vector<std::string> texts;
    for (const LABEL& label : list.GetLabels()) texts.push_back(label.text);
    EXPECT_EQ(texts, c.texts);
    if (c.texts.empty()) {
      EXPECT_EQ(list.GetSize(), 0u);
    }
  }
  // A list and a label claiming nearly 4 GiB in a small file: the walk stops at that label.
  ASSERT_TRUE(WriteFileBytes(dir.File("huge.wav"), Riff(ChunkWithSize("LIST", 0xFFFFFF00u, "adtl" + LablChunk(1, "a") +
                                                                                        "labl" + U32(0xFFFFF000u) + "xx"))));
  {
    Opened huge(dir.File("huge.wav"));
    QoListChunk list;
    EXPECT_TRUE(list.Init(huge.file, &huge.riff));
    ASSERT_EQ(list.GetLabels().size(), 1u);
    EXPECT_STREQ(list.GetLabels()[0].text, "a");
  }
  // A list that the end of the file cuts inside a label.
  ASSERT_TRUE(WriteFileBytes(dir.File("cut.wav"), Riff(Chunk("LIST", "adtl" + LablChunk(1, "abcdef"))).substr(0, 40)));
  Opened in(dir.File("cut.wav"));
  QoListChunk list;
  EXPECT_FALSE(list.Init(in.file, &in.riff));
}

TEST(WavSmplChunk, LoadsTheFirstLoopOrCreatesOne) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("two.wav"), Riff(k_fmt + Chunk("smpl", SmplBody(2, 100, 200)))));
  ASSERT_TRUE(WriteFileBytes(dir.File("none.wav"), Riff(k_fmt + Chunk("smpl", SmplBody(0, 0, 0)))));
  ASSERT_TRUE(WriteFileBytes(dir.File("cut.wav"), Riff(k_fmt + ChunkWithSize("smpl", 60, SmplBody(1, 1, 2).substr(0, 40)))));
  {
    Opened in(dir.File("two.wav"));
    QoSmplChunk smpl;
    ASSERT_TRUE(smpl.Init(in.file, &in.riff));
    unsigned int start = 0, end = 0;
    EXPECT_TRUE(smpl.GetLoopPosition(start, end));
    EXPECT_EQ(start, 100u);
    EXPECT_EQ(end, 200u);
    SAMPLER sampler;
    smpl.GetSamplerInfo(sampler);
    EXPECT_EQ(sampler.cSampleLoops, 1u);
    EXPECT_EQ(sampler.dwSamplePeriod, 22675u);
    EXPECT_EQ(smpl.GetSize(), 60u);
    EXPECT_EQ(Written(smpl, false), "smpl" + U32(60) + SmplBody(1, 100, 200));
    EXPECT_EQ(Written(smpl, true), "smpl" + U32(60, true) + SmplBody(1, 100, 200, true));
    smpl.SetLoopPosition(5, 6);
    SAMPLER_LOOP loop;
    smpl.GetLoopInfo(loop);
    EXPECT_EQ(loop.dwStart, 5u);
    EXPECT_EQ(loop.dwEnd, 6u);
    EXPECT_TRUE(smpl.ForceInitLoop(in.file, &in.riff, 1, 2));  // the file's loop wins
    EXPECT_TRUE(smpl.GetLoopPosition(start, end));
    EXPECT_EQ(start, 100u);
    // The 60-byte form does not fit the 84-byte chunk of the file: no in-place update.
    EXPECT_EQ(smpl.UpdateLoopInfo(1.0, 1000, false), QO::k_chunkFailure);
  }
  for (const char* name : {"none.wav", "cut.wav"}) {
    SCOPED_TRACE(name);
    Opened in(dir.File(name));
    QoSmplChunk smpl;
    EXPECT_FALSE(smpl.Init(in.file, &in.riff));
    unsigned int start = 9, end = 9;
    EXPECT_FALSE(smpl.GetLoopPosition(start, end));
    smpl.SetLoopPosition(1, 2);  // ignored
    EXPECT_EQ(Written(smpl, false), "");
    EXPECT_TRUE(smpl.ForceInitLoop(in.file, &in.riff, 10, 20));
    EXPECT_TRUE(smpl.GetLoopPosition(start, end));
    EXPECT_EQ(start, 10u);
    EXPECT_EQ(end, 20u);
    EXPECT_EQ(smpl.GetDataOffset(), 0u);
    const std::string written = Written(smpl, false);
    EXPECT_EQ(written.substr(0, 8), "smpl" + U32(60));
    EXPECT_EQ(written.substr(8 + 28, 8), U32(1) + U32(0));
    EXPECT_EQ(written.substr(8 + 36), U32(0) + U32(0) + U32(10) + U32(20) + U32(0) + U32(0));
    EXPECT_EQ(smpl.UpdateLoopInfo(2.0, 100, false), QO::k_chunkFailure);  // not in the file
    smpl.GetLoopPosition(start, end);
    EXPECT_EQ(start, 20u);
    EXPECT_EQ(end, 40u);
  }
}

TEST(WavSmplChunk, UpdateLoopInfoScalesAndRewritesInPlace) {
  TempDir dir;
  const std::string tail = Chunk("data", Pcm16Samples(2, 1));
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(k_fmt + Chunk("smpl", SmplBody(1, 301, 1001)) + tail)));
  {
    Opened in(dir.File("a.wav"), "r+b");
    QoSmplChunk smpl;
    ASSERT_TRUE(smpl.Init(in.file, &in.riff));
    EXPECT_EQ(smpl.UpdateLoopInfo(0.5, 400, false), QO::k_chunkSuccess);  // 150.5 -> 151, 500.5 -> 399
  }
  EXPECT_EQ(ReadFileBytes(dir.File("a.wav")), Riff(k_fmt + Chunk("smpl", SmplBody(1, 151, 399)) + tail));
  {
    Opened in(dir.File("a.wav"), "r+b");
    QoSmplChunk smpl;
    ASSERT_TRUE(smpl.Init(in.file, &in.riff));
    EXPECT_EQ(smpl.UpdateLoopInfo(4.0, 500, false), QO::k_chunkSuccess);  // start 604 passes end 499
  }
  EXPECT_EQ(ReadFileBytes(dir.File("a.wav")), Riff(k_fmt + Chunk("smpl", SmplBody(1, 0, 499)) + tail));
}
