// The converted stream, compared byte for byte.
#include <qobase/midi/midi_parse_at.h>

#include <gtest/gtest.h>

#include "midi_test_util.h"
#include "support/midi_builder.h"

namespace {

using qotest::MidiFileBytes;
using qotest::MidiHex;
using qotest::MidiStreamHeader;
using qotest::MidiToHex;
using qotest::MidiTrackBuilder;

#define EXPECT_STREAM(conversion, expected)                                   \
  do {                                                                        \
    ASSERT_TRUE((conversion).ok);                                             \
    EXPECT_EQ(MidiToHex((conversion).bytes), MidiToHex(expected));            \
  } while (0)

TEST(MidiConvert, WritesHeaderChannelEventsAndEndOfTrack) {
  const auto c = miditest::Convert(MidiFileBytes(
      0, 96, {MidiTrackBuilder().NoteOn(0, 0, 60, 100).NoteOff(96, 0, 60).EndOfTrack(0)}));
  EXPECT_STREAM(c, MidiHex("00 60 00 00 F0 42  00 90 3C 64  60 80 3C 00  00 FF 2F 00"));
  EXPECT_TRUE(c.info.valid);
  EXPECT_EQ(c.info.tempo, 120.0);
  EXPECT_EQ(c.info.division, 96u);
  EXPECT_EQ(c.info.numEvents, 3u);
  EXPECT_EQ(c.info.lengthTicks, 96u);

  // The division's two bytes are copied as the file has them.
  const auto wide = miditest::Convert(
      MidiFileBytes(0, 0x1E0, {MidiTrackBuilder().Program(0, 3, 7).EndOfTrack(480)}));
  EXPECT_STREAM(wide, MidiHex("01 E0 00 00 F0 42  00 C3 07  83 60 FF 2F 00"));
}

TEST(MidiConvert, RunningStatusInOutputAndInput) {
  // Same status in a row is left out; an end-of-track forces the next status to be written.
  const auto c = miditest::Convert(MidiFileBytes(
      1, 96,
      {MidiTrackBuilder().NoteOn(0, 0, 60, 100).NoteOn(0, 0, 64, 90).NoteOff(5, 0, 60).EndOfTrack(5),
       MidiTrackBuilder().NoteOff(20, 0, 64).EndOfTrack(0)}));
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) +
                       MidiHex("00 90 3C 64  00 40 5A  05 80 3C 00  05 FF 2F 00"
                               "0A 80 40 00  00 FF 2F 00"));
  EXPECT_EQ(c.info.numEvents, 6u);
  EXPECT_EQ(c.info.lengthTicks, 20u);

  // Running status in the file: the held status applies to data-only events, one- and
  // two-byte ones alike; a note on with velocity 0 ends the note.
  const auto r = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(0, 2, 60, 100).Running(10, 60, 0).Program(1, 2, 5).Running(1, 6)
           .Control(0, 2, 7, 100).Running(3, 10, 64).EndOfTrack(0)}));
  EXPECT_STREAM(r, MidiStreamHeader(96, 120.0f) +
                       MidiHex("00 92 3C 64  0A 3C 00  01 C2 05  01 06  00 B2 07 64  03 0A 40"
                               "00 FF 2F 00"));
}

TEST(MidiConvert, DeltaTimesInShortestFormModulo2To28) {
  const auto c = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(0x7F, 0, 1, 1).NoteOn(0x80, 0, 2, 1).NoteOn(0x3FFF, 0, 3, 1)
           .NoteOn(0x4000, 0, 4, 1).NoteOn(0x1FFFFF, 0, 5, 1).NoteOn(0x200000, 0, 6, 1)
           .Control(0, 0, 123, 0).EndOfTrack(0)}));
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) +
                       MidiHex("7F 90 01 01  81 00 02 01  FF 7F 03 01  81 80 00 04 01"
                               "FF FF 7F 05 01  81 80 80 00 06 01  00 B0 7B 00  00 FF 2F 00"));
  EXPECT_EQ(c.info.lengthTicks, 0x7Fu + 0x80 + 0x3FFF + 0x4000 + 0x1FFFFF + 0x200000);

  // Deltas go through single precision: 2^24 + 1 becomes 2^24, and 2^28 - 1 becomes 2^28,
  // which is written as 0 (modulo 2^28) but still counted in the length.
  const auto big = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(0x1000001, 0, 60, 1).NoteOff(0x0FFFFFFF, 0, 60).EndOfTrack(0)}));
  EXPECT_STREAM(big, MidiStreamHeader(96, 120.0f) +
                         MidiHex("88 80 80 00 90 3C 01  00 80 3C 00  00 FF 2F 00"));
  EXPECT_EQ(big.info.lengthTicks, 0x1000000u + 0x10000000u);
}

TEST(MidiConvert, DroppedEventsCarryTheirDelta) {
  const auto c = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().Sysex(10, MidiHex("43 10 F7")).NoteOn(5, 0, 60, 100)
           .Meta(7, 0x01, "text").Raw(MidiHex("03 F7 02 01 02")).Meta(1, 0x7F, "")
           .NoteOff(2, 0, 60).Meta(4, 0x06, "m").EndOfTrack(6)}));
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) +
                       MidiHex("0F 90 3C 64  0D 80 3C 00  0A FF 2F 00"));
  EXPECT_EQ(c.info.numEvents, 3u);
  EXPECT_EQ(c.info.lengthTicks, 38u);
}

TEST(MidiConvert, TempoChangesAreBakedIntoDeltas) {
  // 600000 us per quarter is 100 bpm and becomes the stream's tempo; 300000 (200 bpm) halves
  // the following deltas, halves of a tick going up; 1000000 (60 bpm) scales by 100/60.
  const auto c = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().Tempo(0, 600000).NoteOn(10, 0, 60, 100).Tempo(4, 300000)
           .NoteOff(3, 0, 60).NoteOn(5, 0, 62, 100).NoteOff(1, 0, 62).Tempo(2, 1000000)
           .EndOfTrack(3)}));
  EXPECT_STREAM(c, MidiHex("00 60 00 00 C8 42  0A 90 3C 64  06 80 3C 00  03 90 3E 64"
                           "01 80 3E 00  06 FF 2F 00"));
  EXPECT_EQ(c.info.tempo, 100.0);
  EXPECT_EQ(c.info.lengthTicks, 26u);

  // A first tempo after something was written only rescales: 60 bpm against 120 doubles.
  const auto late = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(10, 0, 60, 100).Tempo(0, 1000000).NoteOff(7, 0, 60)
           .EndOfTrack(0)}));
  EXPECT_STREAM(late, MidiStreamHeader(96, 120.0f) + MidiHex("0A 90 3C 64  0E 80 3C 00  00 FF 2F 00"));

  // Until a first event is written the tempo still becomes the stream's, even past tick 0.
  const auto early = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().Sysex(0, MidiHex("7E F7")).Tempo(50, 1000000).NoteOn(10, 0, 60, 0)
           .EndOfTrack(0)}));
  EXPECT_STREAM(early, MidiHex("00 60 00 00 70 42  3C 90 3C 00  00 FF 2F 00"));
  EXPECT_EQ(early.info.tempo, 60.0);
}

TEST(MidiConvert, MergeOrdersByTimeThenTrackIndex) {
  const auto c = miditest::Convert(MidiFileBytes(
      1, 96,
      {MidiTrackBuilder().Tempo(0, 500000).NoteOn(10, 0, 60, 100).NoteOff(20, 0, 60).EndOfTrack(0),
       MidiTrackBuilder().NoteOn(10, 1, 62, 100).NoteOff(5, 1, 62).EndOfTrack(30),
       MidiTrackBuilder().NoteOn(3, 2, 64, 100).NoteOff(27, 2, 64).EndOfTrack(0)}));
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) +
                       MidiHex("03 92 40 64  07 90 3C 64  00 91 3E 64  05 81 3E 00"
                               "0F 80 3C 00  00 FF 2F 00  00 82 40 00  00 FF 2F 00"
                               "0F FF 2F 00"));
  EXPECT_EQ(c.info.numEvents, 9u);
  EXPECT_EQ(c.info.lengthTicks, 45u);
}

TEST(MidiConvert, EmptyAndForeignChunksTakeATrackSlotOnly) {
  // A dropped 100-byte sysex makes the track data far longer than the stream it gives.
  const std::string data = MidiTrackBuilder()
                               .Sysex(0, std::string(99, '\x11') + "\xF7")
                               .NoteOn(4, 0, 60, 0)
                               .EndOfTrack(0)
                               .Data();
  ASSERT_EQ(data.size(), 111u);
  const std::string smf = qotest::MidiHeader(1, 4, 96) + qotest::MidiChunk("MTrk", "") +
                          qotest::MidiChunk("XFIH", std::string(50, '\x01')) +
                          qotest::MidiChunk("MTrk", data) + qotest::MidiChunk("MTrk", "");
  const auto c = miditest::Convert(smf);
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) + MidiHex("04 90 3C 00  00 FF 2F 00"));
  // The room asked for is the span of the non-empty tracks' data plus 2: the empty tracks
  // around it and the foreign chunk before it do not count.
  EXPECT_TRUE(miditest::Convert(smf, 113).ok);
  EXPECT_FALSE(miditest::Convert(smf, 112).ok);
}

TEST(MidiConvert, ClosesSoundingNotesOldestFirst) {
  const auto c = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(0, 0, 60, 100).NoteOn(1, 1, 62, 100).NoteOn(1, 0, 64, 100)
           .NoteOn(1, 0, 60, 100).NoteOn(1, 0, 67, 100).NoteOff(1, 0, 60).EndOfTrack(1)}));
  // The first 60 was ended by the note off; the second 60 is still sounding.
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) +
                       MidiHex("00 90 3C 64  01 91 3E 64  01 90 40 64  01 3C 64  01 43 64"
                               "01 80 3C 00  01 FF 2F 00"
                               "00 81 3E 00  00 80 40 00  00 3C 00  00 43 00"));
  EXPECT_EQ(c.info.numEvents, 11u);
  EXPECT_EQ(c.info.lengthTicks, 6u);

  // Velocity 0 ends a note; controllers 123 and 120 end every note of their channel only.
  const auto cc = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(0, 0, 60, 100).NoteOn(0, 0, 60, 0).NoteOn(0, 1, 61, 100)
           .NoteOn(0, 1, 62, 100).NoteOn(0, 2, 63, 100).NoteOn(0, 3, 64, 100)
           .Control(5, 1, 123, 0).Control(0, 3, 120, 0).EndOfTrack(0)}));
  EXPECT_STREAM(cc, MidiStreamHeader(96, 120.0f) +
                        MidiHex("00 90 3C 64  00 3C 00  00 91 3D 64  00 3E 64  00 92 3F 64"
                                "00 93 40 64  05 B1 7B 00  00 B3 78 00  00 FF 2F 00"
                                "00 82 3F 00"));
}

TEST(MidiConvert, ReleasesHeldSustainPedals) {
  const auto c = miditest::Convert(MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().Control(0, 5, 64, 64).Control(0, 1, 64, 127).Control(2, 3, 64, 100)
           .Control(0, 3, 64, 63).NoteOn(1, 1, 70, 1).EndOfTrack(0)}));
  // Channels 1 and 5 are still down (3 was released by 63); releases come in channel order
  // and always carry their status, then the note offs follow.
  EXPECT_STREAM(c, MidiStreamHeader(96, 120.0f) +
                       MidiHex("00 B5 40 40  00 B1 40 7F  02 B3 40 64  00 40 3F  01 91 46 01"
                               "00 FF 2F 00  00 B1 40 00  00 B5 40 00  00 81 46 00"));
  EXPECT_EQ(c.info.numEvents, 9u);
}

TEST(MidiConvert, EverythingAtTickZeroGetsAClosingEndOfTrackAtTickOne) {
  const auto only = miditest::Convert(MidiFileBytes(0, 96, {MidiTrackBuilder().EndOfTrack(0)}));
  EXPECT_STREAM(only, MidiStreamHeader(96, 120.0f) + MidiHex("00 FF 2F 00  01 FF 2F 00"));
  EXPECT_EQ(only.info.numEvents, 1u);
  EXPECT_EQ(only.info.lengthTicks, 1u);

  // Without any end-of-track, with a note left sounding: the note off comes first.
  const auto note = miditest::Convert(MidiFileBytes(0, 96, {MidiTrackBuilder().NoteOn(0, 9, 36, 90)}));
  EXPECT_STREAM(note, MidiStreamHeader(96, 120.0f) + MidiHex("00 99 24 5A  00 89 24 00  01 FF 2F 00"));
  EXPECT_EQ(note.info.numEvents, 2u);
  EXPECT_EQ(note.info.lengthTicks, 1u);

  // Only dropped events: nothing but the closing event.
  const auto none = miditest::Convert(MidiFileBytes(0, 96, {MidiTrackBuilder().Meta(0, 3, "x")}));
  EXPECT_STREAM(none, MidiStreamHeader(96, 120.0f) + MidiHex("01 FF 2F 00"));
  EXPECT_EQ(none.info.numEvents, 0u);
}

TEST(MidiConvert, CapacityChecksAndRetry) {
  const std::string smf = MidiFileBytes(
      0, 96, {MidiTrackBuilder().NoteOn(0, 0, 60, 100).NoteOn(0, 0, 61, 100).EndOfTrack(0)});
  const std::string expected = MidiStreamHeader(96, 120.0f) +
                               MidiHex("00 90 3C 64  00 3D 64  00 FF 2F 00  00 80 3C 00  00 3D 00  01 FF 2F 00");
  // Every written event wants 10 bytes of room, the closing note offs and end-of-track too.
  EXPECT_FALSE(miditest::Convert(smf, static_cast<unsigned int>(expected.size()) + 5).ok);
  EXPECT_STREAM(miditest::Convert(smf, static_cast<unsigned int>(expected.size()) + 6), expected);

  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  unsigned char out[64];
  unsigned int size = 0;
  EXPECT_FALSE(parser.Convert(out, size));
  EXPECT_FALSE(parser.Convert(nullptr, size = 64));
  size = 20;
  EXPECT_FALSE(parser.Convert(out, size));
  EXPECT_EQ(parser.GetFlags() & QoMidiParseAt::k_flagConverted, 0u);
  size = 64;
  ASSERT_TRUE(parser.Convert(out, size));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), size), expected);

  // Once converted, Convert copies the stream (and refuses a buffer that cannot hold it).
  unsigned char copy[64] = {};
  size = static_cast<unsigned int>(expected.size()) - 1;
  EXPECT_FALSE(parser.Convert(copy, size));
  size = static_cast<unsigned int>(expected.size());
  ASSERT_TRUE(parser.Convert(copy, size));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(copy), size), expected);
}

}  // namespace
