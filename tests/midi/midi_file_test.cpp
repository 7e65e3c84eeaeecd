// QoMidiFile: loading, validating, listing and converting MIDI files on disk.
#include <qobase/midi/midi_file.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include "support/midi_builder.h"
#include "support/temp_dir.h"

namespace {

using qotest::MidiFileBytes;
using qotest::MidiHex;
using qotest::MidiStreamHeader;
using qotest::ReadFileBytes;
using qotest::WriteFileBytes;
using Events = std::vector<QoMidiFile::QoMidiFileEvent>;

bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// Tempo 100 bpm, note 60 on channel 0 for ticks 0-48, note 64 on channel 1 from tick 24 on.
const std::string k_twoNotes = MidiFileBytes(
    1, 96,
    {"0 FF 51 03 09 27 C0, 0 90 3C 64, 48 80 3C 00, 0 FF 2F 00", "24 91 40 50, 24 FF 2F 00"});
const std::string k_twoNotesStream =
    MidiStreamHeader(96, 100.0f) +
    MidiHex("00 90 3C 64  18 91 40 50  18 80 3C 00  00 FF 2F 00  00 FF 2F 00  00 81 40 00");

// Writes `bytes` to `path`, opens and validates it: Validate's result, 0 when opening fails.
unsigned int Load(QoMidiFile& midi, const std::string& path, const std::string& bytes) {
  if (!WriteFileBytes(path, bytes) || midi.Open(path) != QO::k_resultSuccess) return 0;
  return midi.Validate();
}

// "type/channel/first+delta" for every listed event.
std::string List(const Events& events) {
  std::string text;
  for (const auto& e : events) {
    text += std::to_string(e.event.type) + "/" + std::to_string(e.event.channel) + "/" +
            std::to_string(e.event.firstData) + "+" + std::to_string(e.deltaTicks) + " ";
  }
  return text;
}

TEST(MidiFile, ValidatesListsConvertsAndServesSeveralFiles) {
  qotest::TempDir dir;
  QoMidiFile midi;
  Events events(3);
  QoMidiInfo info{};
  // Before Validate: nothing to give, the vector untouched.
  EXPECT_TRUE(midi.GetEvents(events) == QO::k_resultFailure);
  EXPECT_TRUE(events.size() == 3);
  EXPECT_TRUE(!midi.GetMidiInfo(info));
  EXPECT_EQ(midi.GetValidateResult(), 0u);
  ASSERT_EQ(Load(midi, dir.File("song.mid"), k_twoNotes), QO::k_resultSuccess);
  EXPECT_EQ(midi.GetFileSize(), k_twoNotes.size());
  EXPECT_EQ(midi.GetValidateResult(), 0u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_TRUE(info.valid);
  EXPECT_TRUE(info.tempo == 100.0);
  EXPECT_TRUE(info.division == 96);
  // 3 channel events, 2 end-of-tracks, 1 closing note off; 48 ticks.
  EXPECT_EQ(info.numEvents * 1000 + info.lengthTicks, 6048u);
  ASSERT_EQ(midi.GetEvents(events), QO::k_resultSuccess);
  EXPECT_EQ(List(events), "144/0/60+0 144/1/64+24 128/0/60+24 255/15/47+0 255/15/47+0 128/1/64+0 ");

  // The stream lands in a new folder; converting again replaces the file; the source stays.
  const std::string out = dir.File("new/folder/song.qmid");
  ASSERT_EQ(midi.Convert(out), QO::k_resultSuccess);
  EXPECT_EQ(ReadFileBytes(out), k_twoNotesStream);
  ASSERT_TRUE(WriteFileBytes(out, std::string(500, 'x')));
  ASSERT_EQ(midi.Convert(out), QO::k_resultSuccess);
  EXPECT_EQ(ReadFileBytes(out), k_twoNotesStream);
  EXPECT_EQ(ReadFileBytes(dir.File("song.mid")), k_twoNotes);

  // Close keeps what was loaded; Release drops it and leaves nothing to convert.
  midi.Close();
  EXPECT_TRUE(midi.GetMidiInfo(info));
  EXPECT_TRUE(midi.GetEvents(events) == QO::k_resultSuccess);
  EXPECT_TRUE(events.size() == 6);
  midi.Release();
  EXPECT_EQ(midi.GetFileSize(), 0u);
  EXPECT_FALSE(midi.GetMidiInfo(info));
  EXPECT_TRUE(midi.Convert(dir.File("released.out")) == QO::k_resultFailure);
  EXPECT_TRUE(!Exists(dir.File("released.out")));

  // The closing end-of-track is listed beyond numEvents; with nothing counted nothing is listed.
  ASSERT_EQ(Load(midi, dir.File("a.mid"), MidiFileBytes(0, 96, {"0 C0 01, 0 FF 2F 00"})),
            QO::k_resultSuccess);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_EQ(info.numEvents, 2u);
  ASSERT_EQ(midi.GetEvents(events), QO::k_resultSuccess);
  EXPECT_EQ(List(events), "192/0/1+0 255/15/47+0 255/15/47+1 ");
  ASSERT_EQ(Load(midi, dir.File("b.mid"), MidiFileBytes(0, 96, {"0 FF 01 01 74"})),
            QO::k_resultSuccess);
  ASSERT_EQ(midi.GetEvents(events), QO::k_resultSuccess);
  EXPECT_TRUE(events.empty());

  // Open starts over, so one object serves several files.
  ASSERT_EQ(Load(midi, dir.File("two.mid"), MidiFileBytes(0, 480, {"960 95 01 02"})),
            QO::k_resultSuccess);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_TRUE(info.division == 480);
  EXPECT_TRUE(info.lengthTicks == 960);
  EXPECT_TRUE(info.tempo == 120.0);
  ASSERT_EQ(midi.Convert(dir.File("two.out")), QO::k_resultSuccess);
  EXPECT_EQ(ReadFileBytes(dir.File("two.out")),
            MidiStreamHeader(480, 120.0f) + MidiHex("87 40 95 01 02  00 85 01 00"));
  // Open and Convert without Validate, twice from what was loaded; the file was read to its
  // end, so validating reads nothing more and fails.
  ASSERT_EQ(midi.Open(dir.File("song.mid")), QO::k_resultSuccess);
  ASSERT_TRUE(midi.Convert(dir.File("1.out")) == QO::k_resultSuccess);
  ASSERT_TRUE(midi.Convert(dir.File("2.out")) == QO::k_resultSuccess);
  EXPECT_EQ(ReadFileBytes(dir.File("1.out")) + ReadFileBytes(dir.File("2.out")),
            k_twoNotesStream + k_twoNotesStream);
  EXPECT_EQ(midi.Validate(), QO::k_resultInvalidFile);
}

TEST(MidiFile, FailuresGiveTheirCodesAndWriteNothing) {
  qotest::TempDir dir;
  QoMidiFile midi;
  EXPECT_EQ(midi.Open(dir.File("missing.mid")), QO::k_resultFileNotFound);
  EXPECT_TRUE(midi.Validate() == QO::k_resultInvalidFile);
  EXPECT_TRUE(midi.GetValidateResult() == 1);  // not open

  const std::vector<std::tuple<const char*, std::string, unsigned>> bad = {
      {"text.mid", "just some text, no header", 2},
      {"zero.mid", MidiFileBytes(0, 0, {"0 FF 2F 00"}), 4},
      {"broken.mid", MidiFileBytes(0, 96, {"0 F4 00"}), 2},
      {"empty.mid", "", 2},
  };
  for (const auto& [name, bytes, result] : bad) {
    ASSERT_EQ(Load(midi, dir.File(name), bytes), QO::k_resultInvalidFile) << name;
    EXPECT_EQ(midi.GetValidateResult(), result) << name;
    QoMidiInfo info{};
    Events events;
    EXPECT_TRUE(!midi.GetMidiInfo(info)) << name;
    EXPECT_TRUE(midi.GetEvents(events) == QO::k_resultFailure) << name;
    if (result == 4) continue;  // a zero division still converts
    EXPECT_EQ(midi.Convert(dir.File("out")), QO::k_resultFailure) << name;
    EXPECT_FALSE(Exists(dir.File("out"))) << name;
    EXPECT_EQ(ReadFileBytes(dir.File(name)), bytes) << name;
  }

  // Destinations that cannot be created or written.
  ASSERT_TRUE(WriteFileBytes(dir.File("plain"), "x"));
  ASSERT_EQ(Load(midi, dir.File("song.mid"), k_twoNotes), QO::k_resultSuccess);
  EXPECT_EQ(midi.Convert(dir.File("plain/under/a/file.out")), QO::k_resultFailure);
  EXPECT_EQ(midi.Convert(dir.Path()), QO::k_resultFailure);  // a folder

  // Read loads the bytes without handing them to the parser, so Convert has nothing to convert;
  // a second Read starts at the end of the file.
  ASSERT_EQ(midi.Open(dir.File("song.mid")), QO::k_resultSuccess);
  ASSERT_EQ(midi.Read(), QO::k_resultSuccess);
  EXPECT_TRUE(midi.Convert(dir.File("read.out")) == QO::k_resultFailure);
  EXPECT_TRUE(!Exists(dir.File("read.out")));
  EXPECT_EQ(midi.Read(), QO::k_resultFileNotFound);
}

}  // namespace
