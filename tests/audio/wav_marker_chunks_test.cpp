// Cue, label and sampler chunks of the chunk editor: loading, editing, writing, in-place updates
// and hostile bodies.
#include <gtest/gtest.h>

#include <qobase/audio/wav_marker_chunks.h>

#include <utility>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

std::vector<uint32_t> Positions(const QoCueChunk& cues) {
  std::vector<WAV_CUE> list;
  cues.GetCuesVector(list);
  std::vector<uint32_t> positions;
  for (const WAV_CUE& cue : list) positions.push_back(cue.dwPosition);
  return positions;
}

std::vector<std::string> Texts(const QoListChunk& list) {
  std::vector<std::string> texts;
  for (const LABEL& label : list.GetLabels())
    texts.push_back(std::to_string(label.cueID) + ":" + label.text);
  return texts;
}

}  // namespace

TEST(WavCueChunk, LoadsEditsAndWritesCuePoints) {
  TempDir dir;
  std::string body = CueBody({300, 100, 200});
  body.replace(4 + 48, 4, U32(9));  // the third cue has ID 9
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(Chunk("cue ", body))));
  OpenedWav in(dir.File("a.wav"));
  QoCueChunk cues;
  ASSERT_TRUE(cues.Init(in.file, &in.riff));
  EXPECT_EQ(Positions(cues), (std::vector<uint32_t>{300, 100, 200}));
  EXPECT_EQ(cues.AddCue(100), 10u);  // one above the highest ID
  cues.SortCues();                   // stable: the added cue follows the one already at 100
  const std::string added = U32(10) + U32(100) + "data" + U32(0) + U32(0) + U32(100);
  EXPECT_EQ(Written(cues, false), "cue " + U32(100) + U32(4) + body.substr(4 + 24, 24) + added +
                                      body.substr(4 + 48, 24) + body.substr(4, 24));
  EXPECT_EQ(Written(cues, true).substr(36, 24),
            U32(10, true) + U32(100, true) + "data" + U32(0) + U32(0) + U32(100, true));

  QoCueChunk fresh;
  EXPECT_EQ(Written(fresh, false), "result 1: ");
  EXPECT_EQ(fresh.AddCue(5), 1u);
  EXPECT_EQ(Written(fresh, false), "cue " + U32(28) + CueBody({5}));
  fresh.Reset();
  EXPECT_EQ(fresh.AddCue(7), 1u);  // IDs start again
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
  cues.TrimCues(0, 100, nullptr);           // nothing to remove: the empty callback is never needed

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
  EXPECT_EQ(scaled.UpdateCueInfo(-1.0, 1000, false), QO::k_chunkFailure);
  EXPECT_EQ(Positions(scaled), (std::vector<uint32_t>{0, 0, 0}));
  EXPECT_EQ(QoCueChunk().UpdateCueInfo(0.5, 1000, false), QO::k_chunkFailure);
}

TEST(WavCueChunk, HostileCountsAndTruncatedBodiesStayInsideTheFile) {
  TempDir dir;
  std::string body = CueBody({10, 20});
  body.replace(0, 4, U32(0xFFFFFFFFu));
  const struct {
    std::string file;
    std::vector<uint32_t> positions;
    bool ok;
  } cases[] = {
      // A count far beyond the body: only the records inside it.
      {Riff(Chunk("cue ", body) + Chunk("data", CueBody({30}))), {10, 20}, true},
      // A body cut by the end of the file keeps its whole records.
      {Riff(Chunk("cue ", CueBody({10, 20, 30}))).substr(0, 12 + 8 + 4 + 24 + 10), {10}, true},
      // A count of 0, or no room for the count: no cue chunk.
      {Riff(Chunk("cue ", U32(0)) + Chunk("data", "")), {}, false},
      {Riff(Chunk("cue ", "")).substr(0, 20), {}, false},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), c.file));
    OpenedWav in(dir.File("a.wav"));
    QoCueChunk cues;
    EXPECT_EQ(cues.Init(in.file, &in.riff), c.ok);
    EXPECT_EQ(Positions(cues), c.positions);
    EXPECT_EQ(cues.GetSize(), c.ok ? 4 + 24 * c.positions.size() : 0u);
    EXPECT_EQ(cues.AddCue(1), c.positions.size() + 1);
  }
}

TEST(WavListChunk, LoadsEditsAndWritesLabelsOfTheFirstAdtlList) {
  TempDir dir;
  // An "INFO" list first, then the labels with a note that is dropped.
  const std::string info = Chunk("LIST", "INFO" + Chunk("INAM", "name"));
  const std::string adtl = Chunk(
      "LIST", "adtl" + LablChunk(1, "Intro") + Chunk("note", U32(1) + "no") + LablChunk(7, "Go"));
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"),
                             Riff(info + Chunk("fmt ", PcmFormatBody(1, 8000, 16)) + adtl)));
  OpenedWav in(dir.File("a.wav"));
  QoListChunk list;
  ASSERT_TRUE(list.Init(in.file, &in.riff));
  EXPECT_EQ(Texts(list), (std::vector<std::string>{"1:Intro", "7:Go"}));
  EXPECT_EQ(list.GetLabels()[0].size, 6u);
  EXPECT_EQ(Written(list, false),
            "LIST" + U32(38) + "adtl" + LablChunk(1, "Intro") + LablChunk(7, "Go"));  // no note
  EXPECT_EQ(Written(list, true), "LIST" + U32(38, true) + "adtl" + LablChunk(1, "Intro", true) +
                                     LablChunk(7, "Go", true));

  EXPECT_EQ(list.AddLabel(3, "ab"), QO::k_chunkSuccess);
  EXPECT_EQ(list.RemoveLabel(1), QO::k_chunkSuccess);
  EXPECT_EQ(list.RemoveLabel(1), QO::k_chunkFailure);
  EXPECT_EQ(Written(list, false),
            "LIST" + U32(36) + "adtl" + LablChunk(7, "Go") + LablChunk(3, "ab"));
  EXPECT_EQ(list.RemoveLabel(7) + list.RemoveLabel(3), 0u);
  EXPECT_EQ(Written(list, false), "LIST" + U32(4) + "adtl");  // still valid, with no label

  QoListChunk fresh;
  fresh.AddLabel(3, "ab");
  EXPECT_EQ(Written(fresh, false),
            "LIST" + U32(20) + "adtl" + "labl" + U32(7) + U32(3) + std::string("ab\0\0", 4));
  fresh.Reset();
  EXPECT_TRUE(fresh.GetLabels().empty());
}

TEST(WavListChunk, BadListsGiveNoLabelsOrStopBeforeTheBadOne) {
  const struct {
    std::string file;
    std::vector<std::string> texts;
  } cases[] = {
      {Riff(Chunk("LIST", "INFO" + LablChunk(1, "x"))), {}},  // only a list of another type
      // A label whose size runs past its list.
      {Riff(Chunk("LIST", "adtl" + LablChunk(1, "ok") + "labl" + U32(40) + U32(2) + "long")),
       {"1:ok"}},
      {Riff(Chunk("LIST", "adtl" + Chunk("labl", "ab") + LablChunk(1, "late"))),
       {}},  // too small for its cue ID
      {Riff(Chunk("LIST", "adtl" + LablChunk(4, "one") + "lab")),
       {"4:one"}},  // head cut by the list end
      {Riff(Chunk("LIST", "adtl")), {}},
      // A list and a label claiming nearly 4 GiB in a small file.
      {Riff(ChunkWithSize("LIST", 0xFFFFFF00u,
                          "adtl" + LablChunk(1, "a") + "labl" + U32(0xFFFFF000u) + "xx")),
       {"1:a"}},
      {Riff(Chunk("LIST", "adtl" + LablChunk(1, "abcdef"))).substr(0, 40),
       {}},  // cut by the end of the file
  };
  TempDir dir;
  for (const auto& c : cases) {
    ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), c.file));
    OpenedWav in(dir.File("a.wav"));
    QoListChunk list;
    EXPECT_EQ(list.Init(in.file, &in.riff), !c.texts.empty());
    EXPECT_EQ(Texts(list), c.texts);
    EXPECT_EQ(list.GetSize() == 0, c.texts.empty());
  }
}

TEST(WavSmplChunk, LoadsTheFirstLoopOrCreatesOne) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("two.wav"), Riff(Chunk("smpl", SmplBody(2, 100, 200)))));
  ASSERT_TRUE(WriteFileBytes(dir.File("none.wav"), Riff(Chunk("smpl", SmplBody(0, 0, 0)))));
  ASSERT_TRUE(WriteFileBytes(dir.File("cut.wav"),
                             Riff(ChunkWithSize("smpl", 60, SmplBody(1, 1, 2).substr(0, 40)))));
  OpenedWav two(dir.File("two.wav"));
  QoSmplChunk smpl;
  ASSERT_TRUE(smpl.Init(two.file, &two.riff));
  unsigned int start = 0, end = 0;
  EXPECT_TRUE(smpl.GetLoopPosition(start, end));
  EXPECT_EQ(std::make_pair(start, end), std::make_pair(100u, 200u));
  EXPECT_EQ(Written(smpl, false), "smpl" + U32(60) + SmplBody(1, 100, 200));
  EXPECT_EQ(Written(smpl, true), "smpl" + U32(60, true) + SmplBody(1, 100, 200, true));
  smpl.SetLoopPosition(5, 6);
  EXPECT_EQ(Written(smpl, false).substr(8 + 36 + 8, 8), U32(5) + U32(6));
  EXPECT_TRUE(smpl.ForceInitLoop(two.file, &two.riff, 1, 2));  // the file's loop wins
  EXPECT_EQ(Written(smpl, false), "smpl" + U32(60) + SmplBody(1, 100, 200));

  for (const char* name : {"none.wav", "cut.wav"}) {
    SCOPED_TRACE(name);
    OpenedWav in(dir.File(name));
    QoSmplChunk created;
    EXPECT_FALSE(created.Init(in.file, &in.riff));
    EXPECT_FALSE(created.GetLoopPosition(start, end));
    created.SetLoopPosition(1, 2);  // ignored
    EXPECT_EQ(Written(created, false), "result 1: ");
    EXPECT_TRUE(created.ForceInitLoop(in.file, &in.riff, 10, 20));
    EXPECT_EQ(Written(created, false), "smpl" + U32(60) + SmplBody(1, 10, 20));
    // Not in the file, but rescaled: the end limited to the last frame, the start past it made 0.
    EXPECT_EQ(created.UpdateLoopInfo(60.0, 500, false), QO::k_chunkFailure);
    EXPECT_TRUE(created.GetLoopPosition(start, end));
    EXPECT_EQ(std::make_pair(start, end), std::make_pair(0u, 499u));
  }
}
