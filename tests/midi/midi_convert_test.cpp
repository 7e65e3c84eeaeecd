// The converted stream, compared byte for byte. Tempo meta events: FF 51 03 and microseconds
// per quarter note (07 A1 20 = 120 bpm, 09 27 C0 = 100, 04 93 E0 = 200, 0F 42 40 = 60,
// 03 D0 90 = 240).
#include <qobase/midi/midi_parse_at.h>

#include <gtest/gtest.h>

#include "midi_test_util.h"
#include "support/midi_builder.h"

namespace {

using qotest::MidiFileBytes;
using qotest::MidiHex;
using qotest::MidiToHex;

struct Case {
  const char* what;
  uint32_t numEvents;
  uint64_t lengthTicks;
  std::vector<std::string> tracks;  // format 1 when more than one
  std::string events;               // the expected stream after its header
  float tempo = 120.0f;
  int division = 96;
};

TEST(MidiConvert, WritesTheExactStream) {
  // clang-format off
  const std::vector<Case> cases = {
      {"note on, note off, end-of-track; division bytes copied", 3, 480,
       {"0 90 3C 64, 480 80 3C 00, 0 FF 2F 00"},
       "00 90 3C 64  83 60 80 3C 00  00 FF 2F 00", 120.0f, 0x1E0},
      {"running status written; an end-of-track forces the next status", 6, 20,
       {"0 90 3C 64, 0 90 40 5A, 5 80 3C 00, 5 FF 2F 00", "20 80 40 00, 0 FF 2F 00"},
       "00 90 3C 64  00 40 5A  05 80 3C 00  05 FF 2F 00  0A 80 40 00  00 FF 2F 00"},
      {"running status read, one- and two-byte events", 7, 15,
       {"0 92 3C 64, 10 3C 00, 1 C2 05, 1 06, 0 B2 07 64, 3 0A 40, 0 FF 2F 00"},
       "00 92 3C 64  0A 3C 00  01 C2 05  01 06  00 B2 07 64  03 0A 40  00 FF 2F 00"},
      {"shortest delta forms", 8, 0x7F + 0x80 + 0x3FFF + 0x4000 + 0x1FFFFF + 0x200000,
       {"0x7F 90 01 01, 0x80 02 01, 0x3FFF 03 01, 0x4000 04 01, 0x1FFFFF 05 01, 0x200000 06 01,"
        "0 B0 7B 00, 0 FF 2F 00"},
       "7F 90 01 01  81 00 02 01  FF 7F 03 01  81 80 00 04 01  FF FF 7F 05 01  81 80 80 00 06 01"
       "00 B0 7B 00  00 FF 2F 00"},
      // Single precision: 2^24 + 1 becomes 2^24; 2^28 - 1 becomes 2^28, written as 0 (modulo
      // 2^28) but still counted in the length.
      {"deltas through single precision, modulo 2^28", 3, 0x1000000u + 0x10000000u,
       {"0x1000001 90 3C 01, 0xFFFFFFF 80 3C 00, 0 FF 2F 00"},
       "88 80 80 00 90 3C 01  00 80 3C 00  00 FF 2F 00"},
      {"sysex and meta events carry their delta", 3, 38,
       {"10 F0 03 43 10 F7, 5 90 3C 64, 7 FF 01 04 74657874, 3 F7 02 01 02, 1 FF 7F 00,"
        "2 80 3C 00, 4 FF 06 01 6D, 6 FF 2F 00"},
       "0F 90 3C 64  0D 80 3C 00  0A FF 2F 00"},
      // 100 bpm becomes the stream's tempo; 200 bpm halves later deltas (halves go up); 60 bpm
      // scales by 100/60.
      {"tempo changes baked in", 5, 26,
       {"0 FF 51 03 09 27 C0, 10 90 3C 64, 4 FF 51 03 04 93 E0, 3 80 3C 00, 5 90 3E 64,"
        "1 80 3E 00, 2 FF 51 03 0F 42 40, 3 FF 2F 00"},
       "0A 90 3C 64  06 80 3C 00  03 90 3E 64  01 80 3E 00  06 FF 2F 00", 100.0f},
      {"a first tempo after a written event only rescales", 3, 24,
       {"10 90 3C 64, 0 FF 51 03 0F 42 40, 7 80 3C 00, 0 FF 2F 00"},
       "0A 90 3C 64  0E 80 3C 00  00 FF 2F 00"},
      {"a tempo before any written event is the stream's, even past tick 0", 2, 60,
       {"0 F0 02 7E F7, 50 FF 51 03 0F 42 40, 10 90 3C 00, 0 FF 2F 00"},
       "3C 90 3C 00  00 FF 2F 00", 60.0f},
      {"merge by time, ties to the lower track", 9, 45,
       {"0 FF 51 03 07 A1 20, 10 90 3C 64, 20 80 3C 00, 0 FF 2F 00",
        "10 91 3E 64, 5 81 3E 00, 30 FF 2F 00", "3 92 40 64, 27 82 40 00, 0 FF 2F 00"},
       "03 92 40 64  07 90 3C 64  00 91 3E 64  05 81 3E 00  0F 80 3C 00  00 FF 2F 00"
       "00 82 40 00  00 FF 2F 00  0F FF 2F 00"},
      // From tick 8 on, track 1's gaps are in ticks of 240 bpm: 4 becomes 2, 9 becomes 5.
      {"a tempo change in one track rescales another", 6, 15,
       {"0 FF 51 03 07 A1 20, 8 FF 51 03 03 D0 90, 0 FF 2F 00",
        "4 90 3C 64, 8 80 3C 00, 9 90 3D 64, 0 FF 2F 00"},
       "04 90 3C 64  04 FF 2F 00  02 80 3C 00  05 90 3D 64  00 FF 2F 00  00 80 3D 00"},
      // The first 60 is ended by the note off; closing note offs come oldest first.
      {"closes sounding notes", 11, 6,
       {"0 90 3C 64, 1 91 3E 64, 1 90 40 64, 1 90 3C 64, 1 90 43 64, 1 80 3C 00, 1 FF 2F 00"},
       "00 90 3C 64  01 91 3E 64  01 90 40 64  01 3C 64  01 43 64  01 80 3C 00  01 FF 2F 00"
       "00 81 3E 00  00 80 40 00  00 3C 00  00 43 00"},
      {"velocity 0 ends a note; controllers 123 and 120 end their channel", 10, 5,
       {"0 90 3C 64, 0 3C 00, 0 91 3D 64, 0 3E 64, 0 92 3F 64, 0 93 40 64, 5 B1 7B 00,"
        "0 B3 78 00, 0 FF 2F 00"},
       "00 90 3C 64  00 3C 00  00 91 3D 64  00 3E 64  00 92 3F 64  00 93 40 64  05 B1 7B 00"
       "00 B3 78 00  00 FF 2F 00  00 82 3F 00"},
      // Channels 1 and 5 stay down (63 released 3): releases in channel order, then note offs.
      {"held sustain pedals released", 9, 3,
       {"0 B5 40 40, 0 B1 40 7F, 2 B3 40 64, 0 B3 40 3F, 1 91 46 01, 0 FF 2F 00"},
       "00 B5 40 40  00 B1 40 7F  02 B3 40 64  00 40 3F  01 91 46 01  00 FF 2F 00  00 B1 40 00"
       "00 B5 40 00  00 81 46 00"},
      {"only an end-of-track at tick 0", 1, 1, {"0 FF 2F 00"}, "00 FF 2F 00  01 FF 2F 00"},
      {"a note left at tick 0, no end-of-track", 2, 1,
       {"0 99 24 5A"}, "00 99 24 5A  00 89 24 00  01 FF 2F 00"},
      {"only dropped events", 0, 1, {"0 FF 03 01 78"}, "01 FF 2F 00"},
  };
  // clang-format on

  for (const Case& c : cases) {
    const int format = c.tracks.size() > 1 ? 1 : 0;
    const miditest::Conversion result =
        miditest::Convert(MidiFileBytes(format, c.division, c.tracks));
    ASSERT_TRUE(result.ok) << c.what;
    EXPECT_EQ(MidiToHex(result.bytes),
              MidiToHex(qotest::MidiStreamHeader(c.division, c.tempo) + MidiHex(c.events)))
        << c.what;
    EXPECT_TRUE(result.info.valid) << c.what;
    EXPECT_TRUE(result.info.tempo == c.tempo) << c.what;
    EXPECT_EQ(result.info.numEvents, c.numEvents) << c.what;
    EXPECT_EQ(result.info.lengthTicks, c.lengthTicks) << c.what;
    EXPECT_EQ(result.info.division, uint32_t(c.division)) << c.what;
  }
}

TEST(MidiConvert, CapacityChecksAndRetry) {
  // A dropped 100-byte sysex makes the track data far longer than its stream. The room asked
  // for is the span of the non-empty tracks' data plus 2: empty tracks around it and a foreign
  // chunk before it do not count. With no span the header and closing event still need room.
  const std::string head = qotest::MidiStreamHeader(96, 120.0f);
  const std::string data = MidiHex("00 F0 64") + std::string(99, 1) + MidiHex("F7 04 90 3C 00");
  const std::string spanned = qotest::MidiHeader(1, 4, 96) + qotest::MidiChunk("MTrk", "") +
                              qotest::MidiChunk("XFIH", std::string(50, 1)) +
                              qotest::MidiChunk("MTrk", data) + qotest::MidiChunk("MTrk", "");
  EXPECT_EQ(miditest::Convert(spanned, unsigned(data.size()) + 2).bytes,
            head + MidiHex("04 90 3C 00"));
  EXPECT_FALSE(miditest::Convert(spanned, unsigned(data.size()) + 1).ok);
  const std::string empty = MidiFileBytes(0, 96, {""});
  EXPECT_FALSE(miditest::Convert(empty, 5).ok || miditest::Convert(empty, 15).ok);
  EXPECT_EQ(miditest::Convert(empty, 16).bytes, head + MidiHex("01 FF 2F 00"));

  // Every written event wants 10 bytes of room, the closing note offs and end-of-track too.
  const std::string smf = MidiFileBytes(0, 96, {"0 90 3C 64, 0 3D 64, 0 FF 2F 00"});
  const std::string expected =
      head + MidiHex("00 90 3C 64 00 3D 64 00 FF 2F 00 00 80 3C 00 00 3D 00 01 FF 2F 00");
  EXPECT_FALSE(miditest::Convert(smf, unsigned(expected.size()) + 5).ok);
  EXPECT_EQ(miditest::Convert(smf, unsigned(expected.size()) + 6).bytes, expected);

  QoMidiParseAt parser;
  parser.SetBuffer(reinterpret_cast<const unsigned char*>(smf.data()), unsigned(smf.size()));
  unsigned char out[64], copy[64];
  unsigned int size = 0;
  EXPECT_FALSE(parser.Convert(out, size) || parser.Convert(nullptr, size = 64) ||
               parser.Convert(out, size = 20));
  EXPECT_EQ(parser.GetFlags() & QoMidiParseAt::k_flagConverted, 0u);
  ASSERT_TRUE(parser.Convert(out, size = 64));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), size), expected);
  // Once converted, Convert copies the stream (and refuses a buffer that cannot hold it).
  EXPECT_FALSE(parser.Convert(copy, size = unsigned(expected.size()) - 1));
  ASSERT_TRUE(parser.Convert(copy, size = 64));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(copy), size), expected);
}

}  // namespace
