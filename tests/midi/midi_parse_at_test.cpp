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

const uint32_t k_checkedAndValid =
    QoMidiParseAt::k_flagStructureValid | QoMidiParseAt::k_flagStructureChecked;

std::string OneTrack(const std::string& trackData, int division = 96) {
  return MidiHeader(0, 1, division) + MidiChunk("MTrk", trackData);
}

TEST(MidiStructure, AcceptsFormatsZeroAndOneAndRecordsTheTrackTable) {
  const std::string smf = MidiHeader(1, 3, 480) + MidiChunk("MTrk", MidiHex("00 FF 2F 00")) +
                          MidiChunk("JUNK", MidiHex("01 02")) + MidiChunk("MTrk", "");
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_EQ(parser.GetFlags(), k_checkedAndValid);
  EXPECT_EQ(parser.GetFormat(), 1u);
  EXPECT_EQ(parser.GetNumTracks(), 3u);
  EXPECT_EQ(parser.GetDivision(), 480u);
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
}

TEST(MidiStructure, RejectsBadHeadersAndChunkLayouts) {
  const std::string track = MidiChunk("MTrk", MidiHex("00 FF 2F 00"));
  const std::string good = MidiHeader(0, 1, 96) + track;
  const std::vector<std::pair<const char*, std::string>> bad = {
      {"format 0 with two tracks", MidiHeader(0, 2, 96) + track + track},
      {"format 2", MidiHeader(2, 1, 96) + track},
      {"no tracks", MidiHeader(1, 0, 96)},
      {"SMPTE division", MidiHeader(0, 1, 0xE728) + track},
      {"header length 7", MidiChunk("MThd", MidiHex("00 00 00 01 00 60 00")) + track},
      {"not MThd", "MThD" + good.substr(4)},
      {"one byte more", good + std::string(1, '\0')},
      {"a track missing", MidiHeader(1, 2, 96) + track},
      {"chunk header cut", MidiHeader(1, 2, 96) + track + "MTrk"},
      {"chunk data cut", good.substr(0, good.size() - 1)},
      {"shorter than a header", good.substr(0, 13)},
  };
  for (const auto& [what, smf] : bad) {
    std::vector<unsigned char> data(smf.begin(), smf.end());
    QoMidiParseAt parser;
    parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
    EXPECT_EQ(parser.GetFlags(), QoMidiParseAt::k_flagStructureChecked) << what;
    EXPECT_EQ(parser.Validate(), 2u) << what;
    QoMidiInfo info{};
    info.valid = true;
    EXPECT_FALSE(parser.GetMidiInfo(info)) << what;
    EXPECT_FALSE(info.valid) << what;
    EXPECT_FALSE(parser.ResetNextEvent()) << what;
    unsigned char out[256];
    unsigned int size = sizeof out;
    EXPECT_FALSE(parser.Convert(out, size)) << what;
  }

  // Every cut of a valid file fails the structure check.
  const std::string smf = MidiFileBytes(1, 96, {MidiTrackBuilder().NoteOn(0, 0, 60, 1).EndOfTrack(0),
                                                MidiTrackBuilder().Tempo(0, 500000).EndOfTrack(9)});
  for (size_t cut = 0; cut < smf.size(); ++cut) {
    EXPECT_EQ(miditest::ValidateBytes(smf.substr(0, cut)), 2u) << cut;
  }
  EXPECT_EQ(miditest::ValidateBytes(smf), 0u);
}

TEST(MidiStructure, DivisionZeroPassesTheStructureButNotValidate) {
  std::string smf = OneTrack(MidiHex("00 FF 2F 00"), 0);
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_EQ(parser.GetFlags(), k_checkedAndValid);
  EXPECT_EQ(parser.Validate(), 4u);
  // A bad structure is reported before the division.
  EXPECT_EQ(miditest::ValidateBytes(MidiHeader(2, 1, 0) + MidiChunk("MTrk", MidiHex("00 FF 2F 00"))), 2u);
}

TEST(MidiValidate, RejectsMalformedEvents) {
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
    const std::string trackData = std::string(1, '\0') + static_cast<char>(status) + MidiHex("00 00 00");
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 2u) << status;
  }
  // A malformed event in a second track fails the whole file.
  EXPECT_EQ(miditest::ValidateBytes(MidiFileBytes(
                1, 96, {MidiTrackBuilder().EndOfTrack(0), MidiTrackBuilder().Raw(MidiHex("00 F5"))})),
            2u);

  // Accepted: the longest delta, no end-of-track at all, events after an end-of-track, a note
  // byte above 127 (only controller numbers are checked), an empty sysex.
  const std::vector<std::string> good = {
      MidiHex("FF FF FF 7F FF 2F 00"),
      MidiHex("00 C0 05"),
      MidiHex("00 FF 2F 00 00 90 3C 64"),
      MidiHex("00 90 FF 64"),
      MidiHex("00 F0 00 00 F7 00"),
      MidiHex("00 FF 7F 81 00") + std::string(128, 'x'),
  };
  for (const std::string& trackData : good) {
    EXPECT_EQ(miditest::ValidateBytes(OneTrack(trackData)), 0u) << qotest::MidiToHex(trackData);
  }
}

TEST(MidiValidate, SurvivesEverySingleByteCorruption) {
  const std::string smf = MidiFileBytes(
      1, 96,
      {MidiTrackBuilder().Tempo(0, 400000).Sysex(3, MidiHex("01 02 F7")).NoteOn(1, 0, 60, 90)
           .Running(5, 60, 0).Control(0, 0, 64, 127).EndOfTrack(2),
       MidiTrackBuilder().Meta(0, 3, "name").Program(4, 1, 9).PitchBend(300, 1, 8192).EndOfTrack(0)});
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

TEST(MidiWalk, ReportsConvertedEventsInOrder) {
  const std::string smf = MidiFileBytes(
      0, 96,
      {MidiTrackBuilder().NoteOn(0, 3, 60, 100).Running(10, 60, 0).PitchBend(2, 3, 0x2000)
           .Program(200, 4, 17).EndOfTrack(1)});
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  QoMidiEventEx event{};
  unsigned int delta = 0;
  EXPECT_FALSE(parser.GetNextEvent(event, delta));
  EXPECT_FALSE(parser.ResetNextEvent());
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  EXPECT_FALSE(parser.GetNextEvent(event, delta));  // not converted yet
  ASSERT_EQ(parser.Validate(), 0u);
  ASSERT_TRUE(parser.ResetNextEvent());
  EXPECT_EQ(parser.GetFlags(), 7u);

  struct Seen {
    int type, channel, first, second;
    unsigned int delta;
  };
  std::vector<Seen> seen;
  while (parser.GetNextEvent(event, delta)) {
    seen.push_back({event.type, event.channel, event.firstData, event.secondData, delta});
  }
  const std::vector<Seen> expected = {
      {0x90, 3, 60, 100, 0}, {0x80, 3, 60, 0, 10},     // velocity 0 reads as a note off
      {0xE0, 3, 0, 64, 2},   {0xC0, 4, 17, 0x01, 200},  // 2 bytes: the next delta follows
      {0xFF, 15, 0x2F, 0, 1},
  };
  ASSERT_EQ(seen.size(), expected.size());
  for (size_t i = 0; i < seen.size(); ++i) {
    EXPECT_EQ(seen[i].type, expected[i].type) << i;
    EXPECT_EQ(seen[i].channel, expected[i].channel) << i;
    EXPECT_EQ(seen[i].first, expected[i].first) << i;
    EXPECT_EQ(seen[i].second, expected[i].second) << i;
    EXPECT_EQ(seen[i].delta, expected[i].delta) << i;
  }
  // The walk can start over.
  ASSERT_TRUE(parser.ResetNextEvent());
  ASSERT_TRUE(parser.GetNextEvent(event, delta));
  EXPECT_EQ(event.type, 0x90);

  QoMidiInfo info{};
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_TRUE(info.valid);
  EXPECT_EQ(info.numEvents, 5u);
  EXPECT_EQ(info.lengthTicks, 213u);
  EXPECT_EQ(info.division, 96u);
}

TEST(MidiWalk, TheConvertedStreamSurvivesANewBufferUntilReset) {
  const std::string first = OneTrack(MidiHex("00 90 3C 64 10 80 3C 00"));
  const std::string second = OneTrack(MidiHex("00 C0 01 00 FF 2F 00"), 48);
  std::vector<unsigned char> a(first.begin(), first.end());
  std::vector<unsigned char> b(second.begin(), second.end());
  QoMidiParseAt parser;
  parser.SetBuffer(a.data(), static_cast<unsigned int>(a.size()));
  QoMidiInfo info{};
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.lengthTicks, 16u);

  // A new buffer clears the structure flags only: the earlier stream is still what is reported.
  parser.SetBuffer(b.data(), static_cast<unsigned int>(b.size()));
  EXPECT_EQ(parser.GetFlags(), 7u);
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.lengthTicks, 16u);
  EXPECT_EQ(info.division, 96u);

  // Reset starts over.
  parser.Reset();
  EXPECT_EQ(parser.GetFlags(), 0u);
  EXPECT_FALSE(parser.GetMidiInfo(info));
  parser.SetBuffer(b.data(), static_cast<unsigned int>(b.size()));
  ASSERT_TRUE(parser.GetMidiInfo(info));
  EXPECT_EQ(info.division, 48u);
  EXPECT_EQ(info.numEvents, 2u);
  EXPECT_EQ(info.lengthTicks, 1u);

  // A null buffer leaves the parser without one.
  parser.SetBuffer(nullptr, 10);
  EXPECT_EQ(parser.Validate(), 2u);
}

TEST(MidiWalk, SeekNextEventStepsAndStopsAtMalformedEvents) {
  const std::string bytes = MidiHex("00 90 3C 64 05 3E 64 00 F0 01 F7 83 00 FF 2F 00");
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  QoMidiTrack track{};
  track.start = data;
  track.end = data + bytes.size();
  track.cursor = data + 1;
  track.deltaTicks = 0;
  track.eventBytes[0] = 0x90;
  track.eventBytes[1] = 0x3C;
  track.eventBytes[2] = 0x64;
  ASSERT_TRUE(SeekNextEvent(&track));
  EXPECT_EQ(track.cursor, data + 5);
  EXPECT_EQ(track.deltaTicks, 5u);
  EXPECT_EQ(track.runningStatus, 0x90);
  const uint8_t running[6] = {0x90, 0x3E, 0x64, 0x00, 0xF0, 0x01};
  EXPECT_EQ(std::vector<uint8_t>(track.eventBytes, track.eventBytes + 6),
            std::vector<uint8_t>(running, running + 6));
  ASSERT_TRUE(SeekNextEvent(&track));  // to the sysex
  EXPECT_EQ(track.eventBytes[0], 0xF0);
  ASSERT_TRUE(SeekNextEvent(&track));  // to the end-of-track, delta 0x180
  EXPECT_EQ(track.deltaTicks, 0x180u);
  EXPECT_EQ(track.runningStatus, 0);
  EXPECT_EQ(track.eventBytes[3], 0);  // past the track's end: zero
  ASSERT_TRUE(SeekNextEvent(&track));  // exactly at the end: exhausted
  EXPECT_EQ(track.cursor, nullptr);
  EXPECT_EQ(track.deltaTicks, 0xFFFFFFFFu);
  EXPECT_TRUE(SeekNextEvent(&track));  // stays exhausted

  track.cursor = data + 1;
  track.eventBytes[0] = 0xF4;
  track.runningStatus = 0x90;
  EXPECT_FALSE(SeekNextEvent(&track));
  EXPECT_EQ(track.cursor, nullptr);
  EXPECT_EQ(track.runningStatus, 0);
  EXPECT_EQ(track.deltaTicks, 0xFFFFFFFFu);
  EXPECT_FALSE(SeekNextEvent(nullptr));
}

}  // namespace
