// QoMidiFile: loading, validating, listing and converting MIDI files on disk.
#include <qobase/midi/midi_file.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/midi_builder.h"
#include "support/temp_dir.h"

namespace {

using qotest::MidiFileBytes;
using qotest::MidiHex;
using qotest::MidiStreamHeader;
using qotest::ReadFileBytes;
using qotest::WriteFileBytes;
using Track = qotest::MidiTrackBuilder;
using Events = std::vector<QoMidiFile::QoMidiFileEvent>;

bool Exists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

const std::string k_twoNotes = MidiFileBytes(
    1, 96, {Track().Tempo(0, 600000).NoteOn(0, 0, 60, 100).NoteOff(48, 0, 60).EndOfTrack(0),
            Track().NoteOn(24, 1, 64, 80).EndOfTrack(24)});
const std::string k_twoNotesStream =
    MidiStreamHeader(96, 100.0f) +
    MidiHex("00 90 3C 64  18 91 40 50  18 80 3C 00  00 FF 2F 00  00 FF 2F 00  00 81 40 00");

// "type/channel/first+delta" for every listed event.
std::string List(const Events& events) {
  std::string text;
  for (const auto& e : events) {
    text += std::to_string(e.event.type) + "/" + std::to_string(e.event.channel) + "/" +
            std::to_string(e.event.firstData) + "+" + std::to_string(e.deltaTicks) + " ";
  }
  return text;
}

TEST(MidiFile, ValidatesListsAndConverts) {
  qotest::TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("song.mid"), k_twoNotes));
  QoMidiFile midi;
  Events events(3);
  EXPECT_EQ(midi.GetEvents(events), 2u);  // before Validate: untouched
  EXPECT_EQ(events.size(), 3u);
  QoMidiInfo info{};
  EXPECT_FALSE(midi.GetMidiInfo(info));
  EXPECT_EQ(midi.GetValidateResult(), 0u);

  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  EXPECT_EQ(midi.GetFileSize(), k_twoNotes.size());
  ASSERT_EQ(midi.Validate(), 1u);
  EXPECT_EQ(midi.GetValidateResult(), 0u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_TRUE(info.valid);
  EXPECT_EQ(info.tempo, 100.0);
  EXPECT_EQ(info.division, 96u);
  EXPECT_EQ(info.numEvents, 6u);  // 3 channel events, 2 end-of-tracks, 1 closing note off
  EXPECT_EQ(info.lengthTicks, 48u);
  ASSERT_EQ(midi.GetEvents(events), 1u);
  EXPECT_EQ(List(events), "144/0/60+0 144/1/64+24 128/0/60+24 255/15/47+0 255/15/47+0 128/1/64+0 ");

  // The stream lands in a new folder; converting again replaces the file; the source stays.
  const std::string out = dir.File("new/folder/song.qmid");
  ASSERT_EQ(midi.Convert(out), 1u);
  EXPECT_EQ(ReadFileBytes(out), k_twoNotesStream);
  ASSERT_TRUE(WriteFileBytes(out, std::string(500, 'x')));
  ASSERT_EQ(midi.Convert(out), 1u);
  EXPECT_EQ(ReadFileBytes(out), k_twoNotesStream);
  EXPECT_EQ(ReadFileBytes(dir.File("song.mid")), k_twoNotes);

  // Close keeps what was loaded; Release drops it and leaves nothing to convert.
  midi.Close();
  EXPECT_TRUE(midi.GetMidiInfo(info));
  EXPECT_EQ(midi.GetEvents(events), 1u);
  EXPECT_EQ(events.size(), 6u);
  midi.Release();
  EXPECT_EQ(midi.GetFileSize(), 0u);
  EXPECT_FALSE(midi.GetMidiInfo(info));
  EXPECT_EQ(midi.Convert(dir.File("released.out")), 2u);
  EXPECT_FALSE(Exists(dir.File("released.out")));
}

TEST(MidiFile, ListsTheClosingEndOfTrackBeyondNumEventsAndNothingWhenNoneCounted) {
  qotest::TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("a.mid"), MidiFileBytes(0, 96, {Track().Program(0, 0, 1).EndOfTrack(0)})));
  ASSERT_TRUE(WriteFileBytes(dir.File("b.mid"), MidiFileBytes(0, 96, {Track().Meta(0, 1, "only text")})));
  QoMidiFile midi;
  QoMidiInfo info{};
  Events events;
  ASSERT_EQ(midi.Open(dir.File("a.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_EQ(info.numEvents, 2u);
  ASSERT_EQ(midi.GetEvents(events), 1u);
  EXPECT_EQ(List(events), "192/0/1+0 255/15/47+0 255/15/47+1 ");
  ASSERT_EQ(midi.Open(dir.File("b.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_EQ(midi.GetEvents(events), 1u);
  EXPECT_TRUE(events.empty());
}

TEST(MidiFile, FailuresGiveTheirCodesAndWriteNothing) {
  qotest::TempDir dir;
  QoMidiFile midi;
  EXPECT_EQ(midi.Open(dir.File("missing.mid")), 66u);
  EXPECT_EQ(midi.Validate(), 7u);  // not open
  EXPECT_EQ(midi.GetValidateResult(), 1u);

  const std::string broken = MidiFileBytes(0, 96, {Track().Raw(MidiHex("00 F4 00"))});
  const std::vector<std::tuple<const char*, std::string, unsigned>> bad = {
      {"text.mid", "just some text, no header", 2},
      {"zero.mid", MidiFileBytes(0, 0, {Track().EndOfTrack(0)}), 4},
      {"broken.mid", broken, 2},
      {"empty.mid", "", 2},
  };
  for (const auto& [name, bytes, result] : bad) {
    ASSERT_TRUE(WriteFileBytes(dir.File(name), bytes));
    ASSERT_EQ(midi.Open(dir.File(name)), 1u) << name;
    EXPECT_EQ(midi.Validate(), 7u) << name;
    EXPECT_EQ(midi.GetValidateResult(), result) << name;
    QoMidiInfo info{};
    EXPECT_FALSE(midi.GetMidiInfo(info)) << name;
    Events events;
    EXPECT_EQ(midi.GetEvents(events), 2u) << name;
    if (result == 4) continue;  // a zero division still converts
    EXPECT_EQ(midi.Convert(dir.File("out")), 2u) << name;
    EXPECT_FALSE(Exists(dir.File("out"))) << name;
    EXPECT_EQ(ReadFileBytes(dir.File(name)), bytes) << name;
  }

  // Destinations that cannot be created or written.
  ASSERT_TRUE(WriteFileBytes(dir.File("song.mid"), k_twoNotes));
  ASSERT_TRUE(WriteFileBytes(dir.File("plain"), "x"));
  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  EXPECT_EQ(midi.Convert(dir.File("plain/under/a/file.out")), 2u);
  EXPECT_EQ(midi.Convert(dir.Path()), 2u);  // a folder

  // Read loads the bytes without handing them to the parser, so Convert has nothing to convert;
  // a second Read starts at the end of the file.
  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  ASSERT_EQ(midi.Read(), 1u);
  EXPECT_EQ(midi.Convert(dir.File("read.out")), 2u);
  EXPECT_FALSE(Exists(dir.File("read.out")));
  EXPECT_EQ(midi.Read(), 66u);
}

TEST(MidiFile, OpenStartsOverSoOneObjectServesSeveralFiles) {
  qotest::TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("one.mid"), k_twoNotes));
  ASSERT_TRUE(WriteFileBytes(dir.File("two.mid"), MidiFileBytes(0, 480, {Track().NoteOn(960, 5, 1, 2).EndOfTrack(0)})));
  QoMidiFile midi;
  QoMidiInfo info{};
  ASSERT_EQ(midi.Open(dir.File("one.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_EQ(midi.Open(dir.File("two.mid")), 1u);
  EXPECT_FALSE(midi.GetMidiInfo(info));  // nothing validated yet
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_EQ(info.division * 10000 + info.lengthTicks, 4800960u);
  EXPECT_EQ(info.tempo, 120.0);
  ASSERT_EQ(midi.Convert(dir.File("two.out")), 1u);
  EXPECT_EQ(ReadFileBytes(dir.File("two.out")),
            MidiStreamHeader(480, 120.0f) + MidiHex("87 40 95 01 02  00 FF 2F 00  00 85 01 00"));

  // Open and Convert without Validate, twice from what was loaded; the file was read to its
  // end, so validating reads nothing more and fails.
  ASSERT_EQ(midi.Open(dir.File("one.mid")), 1u);
  ASSERT_EQ(midi.Convert(dir.File("one.out")), 1u);
  ASSERT_EQ(midi.Convert(dir.File("one-again.out")), 1u);
  EXPECT_EQ(ReadFileBytes(dir.File("one.out")), k_twoNotesStream);
  EXPECT_EQ(ReadFileBytes(dir.File("one-again.out")), k_twoNotesStream);
  EXPECT_EQ(midi.Validate(), 7u);
}

}  // namespace
