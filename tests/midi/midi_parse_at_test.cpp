// The structure check, event validation and the walk over the converted stream.
#include <qobase/midi/midi_parse_at.h>

#include <gtest/gtest.h>

#include <vector>

#include "midi_test_util.h"
#include "support/midi_builder.h"

namespace {

using qotest::MidiChunk;
using qotest::MidiFileBytes;
using qotest::MidiHeader;
using qotest::MidiHex;
using qotest::MidiTrackBuilder;

const std::string k_endTrack = MidiChunk("MTrk", MidiHex("00 FF 2F 00"));

std::string OneTrack(const std::string& trackData, int division = 96) {
  return MidiHeader(0, 1, division) + MidiChunk("MTrk", trackData);
}

// "type channel first second delta" for every event of the parser's walk.
std::string Walk(QoMidiParseAt& parser) {
  std::string text;
  QoMidiEventEx e{};
  unsigned int delta = 0;
  while (parser.GetNextEvent(e, delta)) {
    text += qotest::MidiToHex(std::string{char(e.type), char(e.channel), char(e.firstData),
                                          char(e.secondData)}) + " +" + std::to_string(delta) + "; ";
  }
  return text;
}

TEST(MidiStructure, AcceptsFormatsZeroAndOneRecordsTheTracksAndChecksDivisionZeroLast) {
  const std::string smf = MidiHeader(1, 3, 480) + k_endTrack + MidiChunk("JUNK", MidiHex("01 02")) +
                          MidiChunk("MTrk", "");
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_EQ(parser.GetFlags(), 3u);  // checked and valid
  EXPECT_EQ(parser.GetFormat() * 1000000 + parser.GetNumTracks() * 1000 + parser.GetDivision(), 1003480u);
  const QoMidiTrack* tracks = parser.GetTracks();
  ASSERT_NE(tracks, nullptr);
  EXPECT_EQ(tracks[0].start, data.data() + 22);
  EXPECT_EQ(tracks[0].end, data.data() + 26);
  EXPECT_EQ(tracks[1].trackIndex, 1);
  EXPECT_EQ(tracks[1].start, nullptr);  // not "MTrk"
  EXPECT_EQ(tracks[1].end, nullptr);
  EXPECT_EQ(tracks[2].trackIndex, 2);
  EXPECT_EQ(tracks[2].start, nullptr);  // length 0
  EXPECT_EQ(parser.Validate(), 0u);
  EXPECT_EQ(miditest::ValidateBytes(OneTrack(MidiHex("00 FF 2F 00"))), 0u);

  // Division 0 passes the structure check but not Validate; a bad structure is reported first.
  const std::string zero = OneTrack(MidiHex("00 FF 2F 00"), 0);
  parser.SetBuffer(reinterpret_cast<const unsigned char*>(zero.data()), unsigned(zero.size()));
  EXPECT_EQ(parser.GetFlags(), 3u);
  EXPECT_EQ(parser.Validate(), 4u);
  EXPECT_EQ(miditest::ValidateBytes(MidiHeader(2, 1, 0) + k_endTrack), 2u);
}

TEST(MidiStructure, RejectsBadHeadersChunkLayoutsAndEveryCut) {
  const std::string good = MidiHeader(0, 1, 96) + k_endTrack;
  const std::vector<std::pair<const char*, std::string>> bad = {
      {"format 0 with two tracks", MidiHeader(0, 2, 96) + k_endTrack + k_endTrack},
      {"format 2", MidiHeader(2, 1, 96) + k_endTrack},
      {"no tracks", MidiHeader(1, 0, 96)},
      {"SMPTE division", MidiHeader(0, 1, 0xE728) + k_endTrack},
      {"header length 7", MidiChunk("MThd", MidiHex("00 00 00 01 00 60 00")) + k_endTrack},
      {"not MThd", "MThD" + good.substr(4)},
      {"one byte more", good + std::string(1, '\0')},
      {"a track missing", MidiHeader(1, 2, 96) + k_endTrack},
      {"chunk header cut", MidiHeader(1, 2, 96) + k_endTrack + "MTrk"},
  };
  for (const auto& [what, smf] : bad) {
    std::vector<unsigned char> data(smf.begin(), smf.end());
    QoMidiParseAt parser;
    parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
    EXPECT_EQ(parser.GetFlags(), QoMidiParseAt::k_flagStructureChecked) << what;
    EXPECT_EQ(parser.Validate(), 2u) << what;
    QoMidiInfo info{};
    info.valid = true;
    EXPECT_FALSE(parser.GetMidiInfo(info) || info.valid) << what;
    EXPECT_FALSE(parser.ResetNextEvent()) << what;
    unsigned char out[256];
    unsigned int size = sizeof out;
    EXPECT_FALSE(parser.Convert(out, size)) << what;
  }
  const std::string smf = MidiFileBytes(1, 96, {MidiTrackBuilder().NoteOn(0, 0, 60, 1).EndOfTrack(0),
                                                MidiTrackBuilder().Tempo(0, 500000).EndOfTrack(9)});
  for (size_t cut = 0; cut < smf.size(); ++cut) {
    EXPECT_EQ(miditest::ValidateBytes(smf.substr(0, cut)), 2u) << cut;
  }
  EXPECT_EQ(miditest::ValidateBytes(smf), 0u);
}

TEST(MidiValidate, RejectsMalformedEventsAndAcceptsOddButValidOnes) {
  const std::vector<std::pair<const char*, std::string>> bad = {
      {"delta with four continuation bytes", MidiHex("FF FF FF FF 00 FF 2F 00")},
      {"later delta with four continuation bytes", MidiHex("00 90 3C 64 80 80 80 80 00 FF 2F 00")},
      {"status F4", MidiHex("00 F4 00 FF 2F 00")},
      {"data byte without running status", MidiHex("00 3C 64 00 FF 2F 00")},
      {"running status cleared by sysex", MidiHex("00 90 3C 64 00 F0 01 F7 00 3C 00")},
      {"running status cleared by meta", MidiHex("00 90 3C 64 00 FF 01 00 00 3C 00")},
      {"controller number above 127", MidiHex("00 B0 80 00 00 FF 2F 00")},
      {"controller number above 127 in running status", MidiHex("00 B0 07 00 00 90 00 FF 2F 00")},
      {"meta length past the track", MidiHex("00 FF 01 05 61 62")},
      {"sysex length past the track", MidiHex("00 F0 10 01 02 F7")},
      {"meta length VLQ malformed", MidiHex("00 FF 01 80 80 80 80 00")},
      {"sysex length VLQ malformed", MidiHex("00 F7 FF FF FF FF 00")},
      {"channel event cut by the track end", MidiHex("00 90 3C")},
      {"delta running to the track end", MidiHex("00 90 3C 64 81")},
      {"nothing after the last delta", MidiHex("00 90 3C 64 00")},
      {"first delta only", MidiHex("00")},
  };
  for (const auto& [what, trackData] : bad) {
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 2u) << what;
    EXPECT_FALSE(miditest::Convert(OneTrack(trackData)).ok) << what;
  }
  for (int status = 0xF1; status <= 0xFE; ++status) {
    if (status == 0xF7) continue;
    const std::string trackData = std::string(1, '\0') + char(status) + MidiHex("00 00 00");
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 2u) << status;
  }
  // A malformed event in a second track fails the whole file.
  EXPECT_EQ(miditest::ValidateBytes(MidiFileBytes(
                1, 96, {MidiTrackBuilder().EndOfTrack(0), MidiTrackBuilder().Raw(MidiHex("00 F5"))})),
            2u);
  // Accepted: the longest delta, no end-of-track at all, events after an end-of-track, a note
  // byte above 127 (only controller numbers are checked), an empty sysex, a 2-byte meta length.
  for (const std::string& trackData :
       {MidiHex("FF FF FF 7F FF 2F 00"), MidiHex("00 C0 05"), MidiHex("00 FF 2F 00 00 90 3C 64"),
        MidiHex("00 90 FF 64"), MidiHex("00 F0 00 00 F7 00"), MidiHex("00 FF 7F 81 00") + std::string(128, 'x')}) {
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 0u) << qotest::MidiToHex(trackData);
  }
}

TEST(MidiValidate, SurvivesEverySingleByteCorruption) {
  const std::string smf = MidiFileBytes(
      1, 96,
      {MidiTrackBuilder().Tempo(0, 400000).Sysex(3, MidiHex("01 02 F7")).NoteOn(1, 0, 60, 90)
           .Running(5, 60, 0).Control(0, 0, 64, 127).EndOfTrack(2),
       MidiTrackBuilder().Meta(0, 3, "name").Program(4, 1, 9).Event(300, {0xE1, 0, 0x40}).EndOfTrack(0)});
  for (size_t i = 0; i < smf.size(); ++i) {
    for (int value : {0x00, 0x7F, 0x80, 0xF4, 0xFF}) {
      std::string corrupt = smf;
      corrupt[i] = static_cast<char>(value);
      std::vector<unsigned char> data(corrupt.begin(), corrupt.end());
      QoMidiParseAt parser;
      parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
      const unsigned int result = parser.Validate();
      EXPECT_TRUE(result == 0 || result == 2 || result == 4) << i << " " << value;
      QoMidiInfo info{};
      if (parser.GetMidiInfo(info) && parser.ResetNextEvent()) {
        QoMidiEventEx event{};
        unsigned int delta = 0;
        unsigned int count = 0;
        while (parser.GetNextEvent(event, delta)) ++count;
        EXPECT_GE(count, info.numEvents) << i << " " << value;
      }
    }
  }
}

TEST(MidiWalk, ReportsConvertedEventsInOrderAndStartsOver) {
  const std::string smf = MidiFileBytes(
      0, 96, {MidiTrackBuilder().NoteOn(0, 3, 60, 100).Running(10, 60, 0).Event(2, {0xE3, 0, 0x40})
                  .Program(200, 4, 17).EndOfTrack(1)});
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  EXPECT_EQ(Walk(parser), "");
  EXPECT_FALSE(parser.ResetNextEvent());
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_EQ(Walk(parser), "");  // not converted yet
  ASSERT_EQ(parser.Validate(), 0u);
  ASSERT_TRUE(parser.ResetNextEvent());
  EXPECT_EQ(parser.GetFlags(), 7u);
  // Velocity 0 reads as a note off; after a 2-byte event the next delta shows as second byte.
  const std::string expected =
      "90 03 3C 64 +0; 80 03 3C 00 +10; E0 03 00 40 +2; C0 04 11 01 +200; FF 0F 2F 00 +1; ";
  EXPECT_EQ(Walk(parser), expected);
  ASSERT_TRUE(parser.ResetNextEvent());
  EXPECT_EQ(Walk(parser), expected);

  QoMidiInfo info{};
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_TRUE(info.valid);
  EXPECT_EQ(info.numEvents * 1000 + info.lengthTicks, 5213u);
  EXPECT_EQ(info.division, 96u);
}

TEST(MidiWalk, TheConvertedStreamSurvivesANewBufferUntilReset) {
  const std::string first = OneTrack(MidiHex("00 90 3C 64 10 80 3C 00"));
  const std::string second = OneTrack(MidiHex("00 C0 01 00 FF 2F 00"), 48);
  std::vector<unsigned char> a(first.begin(), first.end()), b(second.begin(), second.end());
  QoMidiParseAt parser;
  parser.SetBuffer(a.data(), static_cast<unsigned int>(a.size()));
  QoMidiInfo info{};
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.lengthTicks, 16u);
  // A new buffer clears the structure flags only: the earlier stream is still what is reported.
  parser.SetBuffer(b.data(), static_cast<unsigned int>(b.size()));
  EXPECT_EQ(parser.GetFlags(), 7u);
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.lengthTicks * 1000 + info.division, 16096u);
  parser.Reset();
  EXPECT_EQ(parser.GetFlags(), 0u);
  EXPECT_FALSE(parser.GetMidiInfo(info));
  parser.SetBuffer(b.data(), static_cast<unsigned int>(b.size()));
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.division * 1000000 + info.numEvents * 1000 + info.lengthTicks, 48002001u);
  // A null buffer leaves the parser without one.
  parser.SetBuffer(nullptr, 10);
  EXPECT_EQ(parser.Validate(), 2u);
}

TEST(MidiWalk, SeekNextEventStepsAndStopsAtMalformedEvents) {
  const std::string bytes = MidiHex("00 90 3C 64 05 3E 64 00 F0 01 F7 83 00 FF 2F 00");
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  QoMidiTrack track{0, data, data + bytes.size(), data + 1, 0, {0x90, 0x3C, 0x64, 0, 0, 0}, 0};
  ASSERT_TRUE(SeekNextEvent(&track));
  EXPECT_EQ(track.cursor, data + 5);
  EXPECT_EQ(track.deltaTicks, 5u);
  EXPECT_EQ(track.runningStatus, 0x90);
  EXPECT_EQ(std::string(track.eventBytes, track.eventBytes + 6), MidiHex("90 3E 64 00 F0 01"));
  ASSERT_TRUE(SeekNextEvent(&track));  // to the sysex
  EXPECT_EQ(track.eventBytes[0], 0xF0);
  ASSERT_TRUE(SeekNextEvent(&track));  // to the end-of-track, delta 0x180
  EXPECT_EQ(track.deltaTicks, 0x180u);
  EXPECT_EQ(track.runningStatus, 0);
  EXPECT_EQ(std::string(track.eventBytes, track.eventBytes + 6), MidiHex("FF 2F 00 00 00 00"));
  ASSERT_TRUE(SeekNextEvent(&track));  // exactly at the end: exhausted
  EXPECT_EQ(track.cursor, nullptr);
  EXPECT_EQ(track.deltaTicks, 0xFFFFFFFFu);
  EXPECT_TRUE(SeekNextEvent(&track));  // stays exhausted

  track.cursor = data + 1;
  track.eventBytes[0] = 0xF4;
  track.runningStatus = 0x90;
  EXPECT_FALSE(SeekNextEvent(&track));
  EXPECT_TRUE(track.cursor == nullptr && track.runningStatus == 0 && track.deltaTicks == 0xFFFFFFFFu);
  EXPECT_FALSE(SeekNextEvent(nullptr));
}

}  // namespace
