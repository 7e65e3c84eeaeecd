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
using qotest::MidiTrackBuilder;
using qotest::ReadFileBytes;
using qotest::TempDir;
using qotest::WriteFileBytes;

bool Exists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

const std::string& TwoNotes() {
  static const std::string smf = MidiFileBytes(
      1, 96,
      {MidiTrackBuilder().Tempo(0, 600000).NoteOn(0, 0, 60, 100).NoteOff(48, 0, 60).EndOfTrack(0),
       MidiTrackBuilder().NoteOn(24, 1, 64, 80).EndOfTrack(24)});
  return smf;
}

TEST(MidiFile, ValidatesListsAndConverts) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("song.mid"), TwoNotes()));
  QoMidiFile midi;
  std::vector<QoMidiFile::QoMidiFileEvent> events(3);
  EXPECT_EQ(midi.GetEvents(events), 2u);  // before Validate: untouched
  EXPECT_EQ(events.size(), 3u);
  QoMidiInfo info{};
  EXPECT_FALSE(midi.GetMidiInfo(info));
  EXPECT_EQ(midi.GetValidateResult(), 0u);

  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  EXPECT_EQ(midi.GetFileSize(), TwoNotes().size());
  ASSERT_EQ(midi.Validate(), 1u);
  EXPECT_EQ(midi.GetValidateResult(), 0u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_TRUE(info.valid);
  EXPECT_EQ(info.tempo, 100.0);
  EXPECT_EQ(info.division, 96u);
  EXPECT_EQ(info.numEvents, 6u);  // 3 channel events, 2 end-of-tracks, 1 closing note off
  EXPECT_EQ(info.lengthTicks, 48u);

  ASSERT_EQ(midi.GetEvents(events), 1u);
  ASSERT_EQ(events.size(), 6u);
  const uint8_t types[] = {0x90, 0x90, 0x80, 0xFF, 0xFF, 0x80};
  const uint8_t channels[] = {0, 1, 0, 15, 15, 1};
  const uint32_t deltas[] = {0, 24, 24, 0, 0, 0};
  for (size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].event.type, types[i]) << i;
    EXPECT_EQ(events[i].event.channel, channels[i]) << i;
    EXPECT_EQ(events[i].deltaTicks, deltas[i]) << i;
  }
  EXPECT_EQ(events[5].event.firstData, 64);

  // The converted stream lands in a new folder, replacing nothing else.
  const std::string out = dir.File("new/folder/song.qmid");
  ASSERT_EQ(midi.Convert(out), 1u);
  EXPECT_EQ(ReadFileBytes(out),
            MidiStreamHeader(96, 100.0f) +
                MidiHex("00 90 3C 64  18 91 40 50  18 80 3C 00  00 FF 2F 00  00 FF 2F 00"
                        "00 81 40 00"));
  // Converting again overwrites the file with the same bytes.
  ASSERT_TRUE(WriteFileBytes(out, std::string(500, 'x')));
  ASSERT_EQ(midi.Convert(out), 1u);
  EXPECT_EQ(ReadFileBytes(out).size(), 30u);
  EXPECT_EQ(ReadFileBytes(dir.File("song.mid")), TwoNotes());  // the source is untouched
}

TEST(MidiFile, AllAtTickZeroListsTheClosingEndOfTrackBeyondNumEvents) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("a.mid"),
                             MidiFileBytes(0, 96, {MidiTrackBuilder().Program(0, 0, 1).EndOfTrack(0)})));
  QoMidiFile midi;
  ASSERT_EQ(midi.Open(dir.File("a.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  QoMidiInfo info{};
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_EQ(info.numEvents, 2u);
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  ASSERT_EQ(midi.GetEvents(events), 1u);
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[2].event.type, 0xFF);
  EXPECT_EQ(events[2].deltaTicks, 1u);

  // A file with nothing counted lists nothing, not even the closing event.
  ASSERT_TRUE(WriteFileBytes(dir.File("b.mid"),
                             MidiFileBytes(0, 96, {MidiTrackBuilder().Meta(0, 1, "only text")})));
  ASSERT_EQ(midi.Open(dir.File("b.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  events.resize(4);
  ASSERT_EQ(midi.GetEvents(events), 1u);
  EXPECT_TRUE(events.empty());
}

TEST(MidiFile, FailuresGiveTheirCodes) {
  TempDir dir;
  QoMidiFile midi;
  EXPECT_EQ(midi.Open(dir.File("missing.mid")), 66u);
  EXPECT_EQ(midi.Validate(), 7u);  // not open
  EXPECT_EQ(midi.GetValidateResult(), 1u);

  // Not MIDI, a zero division, a malformed event.
  ASSERT_TRUE(WriteFileBytes(dir.File("text.mid"), "just some text, no header"));
  ASSERT_EQ(midi.Open(dir.File("text.mid")), 1u);
  EXPECT_EQ(midi.Validate(), 7u);
  EXPECT_EQ(midi.GetValidateResult(), 2u);
  QoMidiInfo info{};
  EXPECT_FALSE(midi.GetMidiInfo(info));
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  EXPECT_EQ(midi.GetEvents(events), 2u);

  ASSERT_TRUE(WriteFileBytes(dir.File("zero.mid"),
                             MidiFileBytes(0, 0, {MidiTrackBuilder().EndOfTrack(0)})));
  ASSERT_EQ(midi.Open(dir.File("zero.mid")), 1u);
  EXPECT_EQ(midi.Validate(), 7u);
  EXPECT_EQ(midi.GetValidateResult(), 4u);

  const std::string broken = MidiFileBytes(0, 96, {MidiTrackBuilder().Raw(MidiHex("00 F4 00"))});
  ASSERT_TRUE(WriteFileBytes(dir.File("broken.mid"), broken));
  ASSERT_EQ(midi.Open(dir.File("broken.mid")), 1u);
  EXPECT_EQ(midi.Validate(), 7u);
  EXPECT_EQ(midi.GetValidateResult(), 2u);
  EXPECT_EQ(midi.Convert(dir.File("broken.out")), 2u);
  EXPECT_FALSE(Exists(dir.File("broken.out")));
  EXPECT_EQ(ReadFileBytes(dir.File("broken.mid")), broken);

  // An empty file converts to nothing and creates no file.
  ASSERT_TRUE(WriteFileBytes(dir.File("empty.mid"), ""));
  ASSERT_EQ(midi.Open(dir.File("empty.mid")), 1u);
  EXPECT_EQ(midi.Convert(dir.File("empty.out")), 2u);
  EXPECT_FALSE(Exists(dir.File("empty.out")));
  EXPECT_EQ(midi.Validate(), 7u);

  // A destination that cannot be created.
  ASSERT_TRUE(WriteFileBytes(dir.File("song.mid"), TwoNotes()));
  ASSERT_TRUE(WriteFileBytes(dir.File("plain"), "x"));
  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  EXPECT_EQ(midi.Convert(dir.File("plain/under/a/file.out")), 2u);
  EXPECT_EQ(midi.Convert(dir.Path()), 2u);  // a folder
}

TEST(MidiFile, OpenStartsOverSoOneObjectServesSeveralFiles) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("one.mid"), TwoNotes()));
  ASSERT_TRUE(WriteFileBytes(dir.File("two.mid"),
                             MidiFileBytes(0, 480, {MidiTrackBuilder().NoteOn(960, 5, 1, 2).EndOfTrack(0)})));
  QoMidiFile midi;
  QoMidiInfo info{};
  ASSERT_EQ(midi.Open(dir.File("one.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_EQ(midi.Open(dir.File("two.mid")), 1u);
  EXPECT_FALSE(midi.GetMidiInfo(info));  // nothing validated yet
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  EXPECT_EQ(info.division, 480u);
  EXPECT_EQ(info.lengthTicks, 960u);
  EXPECT_EQ(info.tempo, 120.0);
  ASSERT_EQ(midi.Convert(dir.File("two.out")), 1u);
  EXPECT_EQ(ReadFileBytes(dir.File("two.out")),
            MidiStreamHeader(480, 120.0f) + MidiHex("87 40 95 01 02  00 FF 2F 00  00 85 01 00"));

  // Open and Convert without Validate, then a second Convert from what was loaded.
  ASSERT_EQ(midi.Open(dir.File("one.mid")), 1u);
  ASSERT_EQ(midi.Convert(dir.File("one.out")), 1u);
  ASSERT_EQ(midi.Convert(dir.File("one-again.out")), 1u);
  EXPECT_EQ(ReadFileBytes(dir.File("one.out")).size(), 30u);
  EXPECT_EQ(ReadFileBytes(dir.File("one-again.out")), ReadFileBytes(dir.File("one.out")));
  // The file was read to its end, so reading it again from there fails.
  EXPECT_EQ(midi.Validate(), 7u);
}

TEST(MidiFile, ReadReleaseAndClose) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("song.mid"), TwoNotes()));
  QoMidiFile midi;
  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  ASSERT_EQ(midi.Read(), 1u);
  ASSERT_EQ(midi.Convert(dir.File("read.out")), 1u);  // converts what Read loaded
  EXPECT_EQ(ReadFileBytes(dir.File("read.out")).size(), 30u);
  EXPECT_EQ(midi.Read(), 66u);  // at the end of the file now

  ASSERT_EQ(midi.Open(dir.File("song.mid")), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  midi.Close();
  QoMidiInfo info{};
  EXPECT_TRUE(midi.GetMidiInfo(info));  // Close keeps what was loaded
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  EXPECT_EQ(midi.GetEvents(events), 1u);
  EXPECT_EQ(events.size(), 6u);
  midi.Release();
  EXPECT_EQ(midi.GetFileSize(), 0u);
  EXPECT_FALSE(midi.GetMidiInfo(info));
  EXPECT_EQ(midi.Convert(dir.File("released.out")), 2u);
  EXPECT_FALSE(Exists(dir.File("released.out")));
}

}  // namespace
