// The structure check, event validation and the walk over the converted stream.
#include <qobase/midi/midi_parse_at.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "midi_test_util.h"
#include "support/midi_builder.h"

namespace {

using qotest::MidiChunk;
using qotest::MidiFileBytes;
using qotest::MidiHeader;
using qotest::MidiHex;
using qotest::MidiToHex;

const std::string k_endTrack = MidiChunk("MTrk", MidiHex("00 FF 2F 00"));

std::string OneTrack(const std::string& trackData, int division = 96) {
  return MidiHeader(0, 1, division) + MidiChunk("MTrk", trackData);
}

// "type channel first second +delta;" for every event of the parser's walk.
std::string Walk(QoMidiParseAt& parser) {
  std::string text;
  QoMidiEventEx e{};
  unsigned int delta = 0;
  while (parser.GetNextEvent(e, delta)) {
    const std::string bytes{char(e.type), char(e.channel), char(e.firstData), char(e.secondData)};
    text += qotest::MidiToHex(bytes) + " +" + std::to_string(delta) + "; ";
  }
  return text;
}

TEST(MidiStructure, AcceptsFormatsZeroAndOneAndRejectsBadHeadersChunkLayoutsAndCuts) {
  const std::string smf = MidiHeader(1, 3, 480) + k_endTrack + MidiChunk("JUNK", MidiHex("01 02")) +
                          MidiChunk("MTrk", "");
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_EQ(parser.GetFlags(), 3u);  // checked and valid
  EXPECT_EQ(parser.GetFormat() * 1000000 + parser.GetNumTracks() * 1000 + parser.GetDivision(),
            1003480u);
  const QoMidiTrack* t = parser.GetTracks();
  ASSERT_NE(t, nullptr);
  EXPECT_TRUE(t[0].start == data.data() + 22);
  EXPECT_TRUE(t[0].end == data.data() + 26);
  EXPECT_TRUE(t[1].trackIndex == 1);
  EXPECT_TRUE(!t[1].start);
  EXPECT_TRUE(!t[1].end);             // not "MTrk"
  EXPECT_TRUE(t[2].trackIndex == 2);  // length 0
  EXPECT_TRUE(!t[2].start);
  EXPECT_TRUE(!t[2].end);
  EXPECT_EQ(parser.Validate(), QoMidiParseAt::k_validateOk);
  // Division 0 passes the structure check but not Validate; a bad structure is reported first.
  const std::string zero = OneTrack(MidiHex("00 FF 2F 00"), 0);
  parser.SetBuffer(reinterpret_cast<const unsigned char*>(zero.data()), unsigned(zero.size()));
  EXPECT_TRUE(parser.GetFlags() == 3);
  EXPECT_TRUE(parser.Validate() == QoMidiParseAt::k_validateZeroDivision);
  EXPECT_EQ(miditest::ValidateBytes(MidiHeader(2, 1, 0) + k_endTrack), 2u);

  const std::string good = MidiHeader(0, 1, 96) + k_endTrack;
  const std::vector<std::pair<const char*, std::string>> bad = {
      {"format 0 with two tracks", MidiHeader(0, 2, 96) + k_endTrack + k_endTrack},
      {"format 2", MidiHeader(2, 1, 96) + k_endTrack},
      {"no tracks", MidiHeader(1, 0, 96)},
      {"SMPTE division", MidiHeader(0, 1, 0xE728) + k_endTrack},
      {"header length 7", MidiChunk("MThd", MidiHex("00 00 00 01 00 60 00")) + k_endTrack},
      {"not MThd", "MThD" + good.substr(4)},
      {"one byte more", good + std::string(1, '\0')},
  };
  for (const auto& [what, smf] : bad) {
    parser.SetBuffer(reinterpret_cast<const unsigned char*>(smf.data()), unsigned(smf.size()));
    EXPECT_EQ(parser.GetFlags(), QoMidiParseAt::k_flagStructureChecked) << what;
    EXPECT_EQ(parser.Validate(), QoMidiParseAt::k_validateFailed) << what;
    QoMidiInfo info{true, 0, 0, 0, 0};
    EXPECT_FALSE(parser.GetMidiInfo(info) || info.valid || miditest::Convert(smf).ok) << what;
  }
  const std::string two = MidiFileBytes(1, 96, {"0 90 3C 01, 0 FF 2F 00", "9 FF 2F 00"});
  for (size_t cut = 0; cut < two.size(); ++cut)
    EXPECT_EQ(miditest::ValidateBytes(two.substr(0, cut)), 2u);
  EXPECT_EQ(miditest::ValidateBytes(two), 0u);
}

TEST(MidiValidate, RejectsMalformedEventsAndAcceptsOddButValidOnes) {
  const std::vector<std::pair<const char*, const char*>> bad = {
      {"delta with four continuation bytes", "FF FF FF FF 00 FF 2F 00"},
      {"later delta with four continuation bytes", "00 90 3C 64 80 80 80 80 00 FF 2F 00"},
      {"data byte without running status", "00 3C 64 00 FF 2F 00"},
      {"running status cleared by sysex", "00 90 3C 64 00 F0 01 F7 00 3C 00"},
      {"running status cleared by meta", "00 90 3C 64 00 FF 01 00 00 3C 00"},
      {"controller number above 127", "00 B0 80 00 00 FF 2F 00"},
      {"controller number above 127 in running status", "00 B0 07 00 00 90 00 FF 2F 00"},
      {"meta length past the track", "00 FF 01 05 61 62"},
      {"sysex length past the track", "00 F0 10 01 02 F7"},
      {"meta length VLQ malformed", "00 FF 01 80 80 80 80 00"},
      {"sysex length VLQ malformed", "00 F7 FF FF FF FF 00"},
      {"channel event cut by the track end", "00 90 3C"},
      {"delta running to the track end", "00 90 3C 64 81"},
      {"nothing after the last delta", "00 90 3C 64 00"},
      {"first delta only", "00"},
  };
  for (const auto& [what, trackData] : bad) {
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(MidiHex(trackData))), 2u) << what;
    EXPECT_FALSE(miditest::Convert(OneTrack(MidiHex(trackData))).ok) << what;
  }
  for (int status = 0xF1; status <= 0xFE; ++status) {
    const std::string trackData = std::string(1, '\0') + char(status) + MidiHex("00 00 00");
    if (status != 0xF7) {
      EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 2u) << status;
    }
  }
  // A malformed event in a second track fails the whole file.
  EXPECT_EQ(miditest::ValidateBytes(MidiFileBytes(1, 96, {"0 FF 2F 00", "0 F5"})), 2u);
  // Accepted: the longest delta, no end-of-track at all, events after an end-of-track, a note
  // byte above 127 (only controller numbers are checked), an empty sysex, a 2-byte meta length.
  for (const std::string& trackData :
       {MidiHex("FF FF FF 7F FF 2F 00"), MidiHex("00 C0 05"), MidiHex("00 FF 2F 00 00 90 3C 64"),
        MidiHex("00 90 FF 64"), MidiHex("00 F0 00 00 F7 00"),
        MidiHex("00 FF 7F 81 00") + std::string(128, 'x')}) {
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 0u) << qotest::MidiToHex(trackData);
  }
}

TEST(MidiValidate, SurvivesEverySingleByteCorruption) {
  const std::string smf = MidiFileBytes(
      1, 96,
      {"0 FF 51 03 06 1A 80, 3 F0 03 01 02 F7, 1 90 3C 5A, 5 3C 00, 0 B0 40 7F, 2 FF 2F 00",
       "0 FF 03 04 6E616D65, 4 C1 09, 300 E1 00 40, 0 FF 2F 00"});
  for (size_t i = 0; i < smf.size(); ++i) {
    for (int value : {0x00, 0x7F, 0x80, 0xF4, 0xFF}) {
      std::string corrupt = smf;
      corrupt[i] = static_cast<char>(value);
      std::vector<unsigned char> data(corrupt.begin(), corrupt.end());
      QoMidiParseAt parser;
      parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
      // Validate and the conversion agree: 2 exactly when converting fails.
      const unsigned int result = parser.Validate();
      QoMidiInfo info{};
      const bool converted = parser.GetMidiInfo(info);
      EXPECT_TRUE(result == 2 ? !converted : converted && (result == 0 || result == 4)) << i;
      const std::string walk = converted && parser.ResetNextEvent() ? Walk(parser) : "";
      EXPECT_GE(size_t(std::count(walk.begin(), walk.end(), ';')), info.numEvents) << i;
    }
  }
}

TEST(MidiWalk, ReportsConvertedEventsInOrderUntilReset) {
  const std::string smf =
      MidiFileBytes(0, 96, {"0 93 3C 64, 10 3C 00, 2 E3 00 40, 200 C4 11, 1 FF 2F 00"});
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  EXPECT_FALSE(parser.ResetNextEvent() || Walk(parser) != "");
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_EQ(Walk(parser), "");  // not converted yet
  ASSERT_EQ(parser.Validate(), QoMidiParseAt::k_validateOk);
  ASSERT_TRUE(parser.ResetNextEvent());
  ASSERT_EQ(parser.GetFlags(), 7u);
  // Velocity 0 reads as a note off; after a 2-byte event the next delta shows as second byte.
  const std::string expected =
      "90 03 3C 64 +0; 80 03 3C 00 +10; E0 03 00 40 +2; C0 04 11 01 +200; FF 0F 2F 00 +1; ";
  EXPECT_EQ(Walk(parser), expected);
  ASSERT_TRUE(parser.ResetNextEvent());
  EXPECT_EQ(Walk(parser), expected);
  QoMidiInfo info{};
  ASSERT_TRUE(parser.GetMidiInfo(info));
  ASSERT_TRUE(info.valid);
  EXPECT_EQ(info.division * 1000000 + info.numEvents * 1000 + info.lengthTicks, 96005213u);

  // A new buffer clears the structure flags only: the earlier stream stays until Reset.
  const std::string second = OneTrack(MidiHex("00 C0 01 00 FF 2F 00"), 48);
  std::vector<unsigned char> b(second.begin(), second.end());
  parser.SetBuffer(b.data(), static_cast<unsigned int>(b.size()));
  ASSERT_TRUE(parser.GetFlags() == 7);
  ASSERT_TRUE(parser.ResetNextEvent());
  EXPECT_EQ(Walk(parser), expected);
  parser.Reset();
  EXPECT_FALSE(parser.GetFlags() != 0 || parser.GetMidiInfo(info));
  parser.SetBuffer(b.data(), static_cast<unsigned int>(b.size()));
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.division * 1000000 + info.numEvents * 1000 + info.lengthTicks, 48002001u);
  parser.SetBuffer(nullptr, 10);  // leaves the parser without a buffer
  EXPECT_EQ(parser.Validate(), QoMidiParseAt::k_validateFailed);
}

TEST(MidiWalk, SeekNextEventStepsAndStopsAtMalformedEvents) {
  const std::string bytes = MidiHex("00 90 3C 64 05 3E 64 00 F0 01 F7 83 00 FF 2F 00");
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  QoMidiTrack track{0, data, data + bytes.size(), data + 1, 0, {0x90, 0x3C, 0x64, 0, 0, 0}, 0};
  const auto state = [&] {
    return MidiToHex(std::string(track.eventBytes, track.eventBytes + 6)) + " +" +
           std::to_string(track.deltaTicks) + " " + std::to_string(track.runningStatus) +
           (track.cursor ? " @" + std::to_string(track.cursor - data) : " done");
  };
  // Running status held for a data byte, a sysex, the end-of-track (zeros past the track's end),
  // then exhausted exactly at the end, and it stays so.
  const char* exhausted = "00 00 00 00 00 00 +4294967295 0 done";
  for (const char* expected : {"90 3E 64 00 F0 01 +5 144 @5", "F0 01 F7 83 00 FF +0 144 @8",
                               "FF 2F 00 00 00 00 +384 0 @13", exhausted, exhausted}) {
    EXPECT_TRUE(SeekNextEvent(&track));
    EXPECT_EQ(state(), expected);
  }
  track.cursor = data + 1;
  track.eventBytes[0] = 0xF4;
  track.runningStatus = 0x90;
  EXPECT_FALSE(SeekNextEvent(&track) || SeekNextEvent(nullptr));
  EXPECT_EQ(state(), exhausted);
}

}  // namespace
