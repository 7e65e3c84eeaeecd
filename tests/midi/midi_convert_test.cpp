// The converted stream, compared byte for byte.
#include <qobase/midi/midi_parse_at.h>

#include <gtest/gtest.h>

#include "midi_test_util.h"
#include "support/midi_builder.h"

namespace {

using qotest::MidiFileBytes;
using qotest::MidiHex;
using qotest::MidiToHex;
using Track = qotest::MidiTrackBuilder;

struct Case {
  const char* what;
  std::string smf;
  std::string events;  // the expected stream after its header, in hex
  uint32_t numEvents;
  uint64_t lengthTicks;
  float tempo = 120.0f;
  int division = 96;
};

TEST(MidiConvert, WritesTheExactStream) {
  const std::vector<Case> cases = {
      {"note on, note off, end-of-track",
       MidiFileBytes(0, 96, {Track().NoteOn(0, 0, 60, 100).NoteOff(96, 0, 60).EndOfTrack(0)}),
       "00 90 3C 64  60 80 3C 00  00 FF 2F 00", 3, 96},
      {"division bytes copied", MidiFileBytes(0, 0x1E0, {Track().Program(0, 3, 7).EndOfTrack(480)}),
       "00 C3 07  83 60 FF 2F 00", 2, 480, 120.0f, 0x1E0},
      {"running status written; an end-of-track forces the next status",
       MidiFileBytes(1, 96, {Track().NoteOn(0, 0, 60, 100).NoteOn(0, 0, 64, 90).NoteOff(5, 0, 60).EndOfTrack(5),
                             Track().NoteOff(20, 0, 64).EndOfTrack(0)}),
       "00 90 3C 64  00 40 5A  05 80 3C 00  05 FF 2F 00  0A 80 40 00  00 FF 2F 00", 6, 20},
      {"running status read, one- and two-byte events",
       MidiFileBytes(0, 96, {Track().NoteOn(0, 2, 60, 100).Running(10, 60, 0).Program(1, 2, 5).Running(1, 6)
                                 .Control(0, 2, 7, 100).Running(3, 10, 64).EndOfTrack(0)}),
       "00 92 3C 64  0A 3C 00  01 C2 05  01 06  00 B2 07 64  03 0A 40  00 FF 2F 00", 7, 15},
      {"shortest delta forms",
       MidiFileBytes(0, 96, {Track().NoteOn(0x7F, 0, 1, 1).NoteOn(0x80, 0, 2, 1).NoteOn(0x3FFF, 0, 3, 1)
                                 .NoteOn(0x4000, 0, 4, 1).NoteOn(0x1FFFFF, 0, 5, 1).NoteOn(0x200000, 0, 6, 1)
                                 .Control(0, 0, 123, 0).EndOfTrack(0)}),
       "7F 90 01 01  81 00 02 01  FF 7F 03 01  81 80 00 04 01  FF FF 7F 05 01  81 80 80 00 06 01"
       "00 B0 7B 00  00 FF 2F 00", 8, 0x7F + 0x80 + 0x3FFF + 0x4000 + 0x1FFFFF + 0x200000},
      // Single precision: 2^24 + 1 becomes 2^24; 2^28 - 1 becomes 2^28, written as 0 (modulo
      // 2^28) but still counted in the length.
      {"deltas through single precision, modulo 2^28",
       MidiFileBytes(0, 96, {Track().NoteOn(0x1000001, 0, 60, 1).NoteOff(0x0FFFFFFF, 0, 60).EndOfTrack(0)}),
       "88 80 80 00 90 3C 01  00 80 3C 00  00 FF 2F 00", 3, 0x1000000u + 0x10000000u},
      {"sysex and meta events carry their delta",
       MidiFileBytes(0, 96, {Track().Sysex(10, MidiHex("43 10 F7")).NoteOn(5, 0, 60, 100).Meta(7, 0x01, "text")
                                 .Raw(MidiHex("03 F7 02 01 02")).Meta(1, 0x7F, "").NoteOff(2, 0, 60)
                                 .Meta(4, 0x06, "m").EndOfTrack(6)}),
       "0F 90 3C 64  0D 80 3C 00  0A FF 2F 00", 3, 38},
      // 100 bpm becomes the stream's tempo; 200 bpm halves later deltas (halves go up); 60 bpm
      // scales by 100/60.
      {"tempo changes baked in",
       MidiFileBytes(0, 96, {Track().Tempo(0, 600000).NoteOn(10, 0, 60, 100).Tempo(4, 300000).NoteOff(3, 0, 60)
                                 .NoteOn(5, 0, 62, 100).NoteOff(1, 0, 62).Tempo(2, 1000000).EndOfTrack(3)}),
       "0A 90 3C 64  06 80 3C 00  03 90 3E 64  01 80 3E 00  06 FF 2F 00", 5, 26, 100.0f},
      {"a first tempo after a written event only rescales",
       MidiFileBytes(0, 96, {Track().NoteOn(10, 0, 60, 100).Tempo(0, 1000000).NoteOff(7, 0, 60).EndOfTrack(0)}),
       "0A 90 3C 64  0E 80 3C 00  00 FF 2F 00", 3, 24},
      {"a tempo before any written event is the stream's, even past tick 0",
       MidiFileBytes(0, 96, {Track().Sysex(0, MidiHex("7E F7")).Tempo(50, 1000000).NoteOn(10, 0, 60, 0)
                                 .EndOfTrack(0)}),
       "3C 90 3C 00  00 FF 2F 00", 2, 60, 60.0f},
      {"merge by time, ties to the lower track",
       MidiFileBytes(1, 96, {Track().Tempo(0, 500000).NoteOn(10, 0, 60, 100).NoteOff(20, 0, 60).EndOfTrack(0),
                             Track().NoteOn(10, 1, 62, 100).NoteOff(5, 1, 62).EndOfTrack(30),
                             Track().NoteOn(3, 2, 64, 100).NoteOff(27, 2, 64).EndOfTrack(0)}),
       "03 92 40 64  07 90 3C 64  00 91 3E 64  05 81 3E 00  0F 80 3C 00  00 FF 2F 00  00 82 40 00"
       "00 FF 2F 00  0F FF 2F 00", 9, 45},
      // A tempo change in one track rescales the gaps of the others from its tick on.
      {"tempo change across tracks",
       MidiFileBytes(1, 96, {Track().Tempo(0, 500000).Tempo(8, 250000).EndOfTrack(0),
                             Track().NoteOn(4, 0, 60, 100).NoteOff(8, 0, 60).NoteOn(9, 0, 61, 100).EndOfTrack(0)}),
       "04 90 3C 64  04 FF 2F 00  02 80 3C 00  05 90 3D 64  00 FF 2F 00  00 80 3D 00", 6, 15},
      // The first 60 is ended by the note off; closing note offs come oldest first.
      {"closes sounding notes",
       MidiFileBytes(0, 96, {Track().NoteOn(0, 0, 60, 100).NoteOn(1, 1, 62, 100).NoteOn(1, 0, 64, 100)
                                 .NoteOn(1, 0, 60, 100).NoteOn(1, 0, 67, 100).NoteOff(1, 0, 60).EndOfTrack(1)}),
       "00 90 3C 64  01 91 3E 64  01 90 40 64  01 3C 64  01 43 64  01 80 3C 00  01 FF 2F 00"
       "00 81 3E 00  00 80 40 00  00 3C 00  00 43 00", 11, 6},
      {"velocity 0 ends a note; controllers 123 and 120 end their channel",
       MidiFileBytes(0, 96, {Track().NoteOn(0, 0, 60, 100).NoteOn(0, 0, 60, 0).NoteOn(0, 1, 61, 100)
                                 .NoteOn(0, 1, 62, 100).NoteOn(0, 2, 63, 100).NoteOn(0, 3, 64, 100)
                                 .Control(5, 1, 123, 0).Control(0, 3, 120, 0).EndOfTrack(0)}),
       "00 90 3C 64  00 3C 00  00 91 3D 64  00 3E 64  00 92 3F 64  00 93 40 64  05 B1 7B 00"
       "00 B3 78 00  00 FF 2F 00  00 82 3F 00", 10, 5},
      // Channels 1 and 5 stay down (63 released 3): releases in channel order, then note offs.
      {"held sustain pedals released",
       MidiFileBytes(0, 96, {Track().Control(0, 5, 64, 64).Control(0, 1, 64, 127).Control(2, 3, 64, 100)
                                 .Control(0, 3, 64, 63).NoteOn(1, 1, 70, 1).EndOfTrack(0)}),
       "00 B5 40 40  00 B1 40 7F  02 B3 40 64  00 40 3F  01 91 46 01  00 FF 2F 00  00 B1 40 00"
       "00 B5 40 00  00 81 46 00", 9, 3},
      {"only an end-of-track at tick 0", MidiFileBytes(0, 96, {Track().EndOfTrack(0)}),
       "00 FF 2F 00  01 FF 2F 00", 1, 1},
      {"a note left at tick 0, no end-of-track", MidiFileBytes(0, 96, {Track().NoteOn(0, 9, 36, 90)}),
       "00 99 24 5A  00 89 24 00  01 FF 2F 00", 2, 1},
      {"only dropped events", MidiFileBytes(0, 96, {Track().Meta(0, 3, "x")}), "01 FF 2F 00", 0, 1},
  };
  for (const Case& c : cases) {
    const miditest::Conversion result = miditest::Convert(c.smf);
    ASSERT_TRUE(result.ok) << c.what;
    EXPECT_EQ(MidiToHex(result.bytes),
              MidiToHex(qotest::MidiStreamHeader(c.division, c.tempo) + MidiHex(c.events))) << c.what;
    EXPECT_TRUE(result.info.valid) << c.what;
    EXPECT_EQ(result.info.numEvents, c.numEvents) << c.what;
    EXPECT_EQ(result.info.lengthTicks, c.lengthTicks) << c.what;
    EXPECT_EQ(result.info.tempo, c.tempo) << c.what;
    EXPECT_EQ(result.info.division, uint32_t(c.division)) << c.what;
  }
}

TEST(MidiConvert, CapacityChecksAndRetry) {
  // A dropped 100-byte sysex makes the track data far longer than its stream. The room asked
  // for is the span of the non-empty tracks' data plus 2: empty tracks around it and a foreign
  // chunk before it do not count.
  const std::string data = Track().Sysex(0, std::string(99, '\x11') + "\xF7").NoteOn(4, 0, 60, 0).Data();
  const std::string spanned = qotest::MidiHeader(1, 4, 96) + qotest::MidiChunk("MTrk", "") +
                              qotest::MidiChunk("XFIH", std::string(50, '\x01')) +
                              qotest::MidiChunk("MTrk", data) + qotest::MidiChunk("MTrk", "");
  EXPECT_EQ(MidiToHex(miditest::Convert(spanned, unsigned(data.size()) + 2).bytes),
            MidiToHex(qotest::MidiStreamHeader(96, 120.0f) + MidiHex("04 90 3C 00")));
  EXPECT_FALSE(miditest::Convert(spanned, unsigned(data.size()) + 1).ok);
  // With only empty tracks the span is 0, but the stream header and closing event still need room.
  const std::string empty = qotest::MidiHeader(0, 1, 96) + qotest::MidiChunk("MTrk", "");
  EXPECT_FALSE(miditest::Convert(empty, 5).ok);
  EXPECT_FALSE(miditest::Convert(empty, 15).ok);
  EXPECT_EQ(miditest::Convert(empty, 16).bytes, qotest::MidiStreamHeader(96, 120.0f) + MidiHex("01 FF 2F 00"));

  const std::string smf = MidiFileBytes(0, 96, {Track().NoteOn(0, 0, 60, 100).NoteOn(0, 0, 61, 100).EndOfTrack(0)});
  const std::string expected = qotest::MidiStreamHeader(96, 120.0f) +
                               MidiHex("00 90 3C 64  00 3D 64  00 FF 2F 00  00 80 3C 00  00 3D 00  01 FF 2F 00");
  // Every written event wants 10 bytes of room, the closing note offs and end-of-track too.
  EXPECT_FALSE(miditest::Convert(smf, unsigned(expected.size()) + 5).ok);
  EXPECT_EQ(miditest::Convert(smf, unsigned(expected.size()) + 6).bytes, expected);

  std::vector<unsigned char> bytes(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
  unsigned char out[64];
  unsigned int size = 0;
  EXPECT_FALSE(parser.Convert(out, size));
  EXPECT_FALSE(parser.Convert(nullptr, size = 64));
  EXPECT_FALSE(parser.Convert(out, size = 20));
  EXPECT_EQ(parser.GetFlags() & QoMidiParseAt::k_flagConverted, 0u);
  ASSERT_TRUE(parser.Convert(out, size = 64));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), size), expected);
  // Once converted, Convert copies the stream (and refuses a buffer that cannot hold it).
  unsigned char copy[64] = {};
  EXPECT_FALSE(parser.Convert(copy, size = unsigned(expected.size()) - 1));
  ASSERT_TRUE(parser.Convert(copy, size = 64));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(copy), size), expected);
}

}  // namespace
