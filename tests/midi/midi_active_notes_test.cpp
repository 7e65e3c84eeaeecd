// The list of sounding notes kept while converting.
#include <qobase/midi/midi_active_notes.h>
#include <qobase/midi/midi_parse_at.h>

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Contents(const QoMidiActiveNotes& notes) {
  std::string text;
  notes.ForEach([&](const QoMidiNoteChanPair& pair) {
    text += std::to_string(pair.note) + "/" + std::to_string(pair.channel) + " ";
  });
  return text;
}

TEST(MidiActiveNotes, KeepsNoteOnOrderAndRemovesTheOldestMatch) {
  QoMidiActiveNotes notes;
  EXPECT_TRUE(notes.Empty());
  EXPECT_FALSE(notes.RemoveFirst(60, 0));
  notes.RemoveChannel(3);  // nothing to do on an empty list
  for (auto [note, channel] : {std::pair{60, 0}, {62, 1}, {60, 0}, {64, 0}, {60, 1}, {65, 2}}) {
    ASSERT_TRUE(notes.PushBack(static_cast<uint8_t>(note), static_cast<uint8_t>(channel)));
  }
  EXPECT_EQ(Contents(notes), "60/0 62/1 60/0 64/0 60/1 65/2 ");
  EXPECT_TRUE(notes.RemoveFirst(60, 0));
  EXPECT_EQ(Contents(notes), "62/1 60/0 64/0 60/1 65/2 ");
  EXPECT_FALSE(notes.RemoveFirst(60, 3));
  EXPECT_TRUE(notes.RemoveFirst(60, 1));
  EXPECT_EQ(Contents(notes), "62/1 60/0 64/0 65/2 ");
  notes.RemoveChannel(0);
  EXPECT_EQ(Contents(notes), "62/1 65/2 ");
  EXPECT_EQ(notes.Size(), 2u);

  // Recycled nodes keep the order right.
  ASSERT_TRUE(notes.PushBack(70, 0));
  ASSERT_TRUE(notes.PushBack(62, 1));
  EXPECT_EQ(Contents(notes), "62/1 65/2 70/0 62/1 ");
  QoMidiNoteChanPair pair{};
  ASSERT_TRUE(notes.PopFront(pair));
  EXPECT_EQ(pair.note, 62);
  EXPECT_EQ(pair.channel, 1);
  EXPECT_TRUE(notes.RemoveFirst(62, 1));  // the second 62/1 is now the oldest
  EXPECT_EQ(Contents(notes), "65/2 70/0 ");
  notes.Clear();
  EXPECT_TRUE(notes.Empty());
  EXPECT_FALSE(notes.PopFront(pair));
  EXPECT_EQ(Contents(notes), "");
}

TEST(MidiActiveNotes, GrowsPastItsFirstPoolAndEmptiesAChannelOfThousands) {
  QoMidiActiveNotes notes;
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(notes.PushBack(static_cast<uint8_t>(i % 128), static_cast<uint8_t>(i % 3)));
  }
  EXPECT_EQ(notes.Size(), 5000u);
  notes.RemoveChannel(1);
  EXPECT_EQ(notes.Size(), 5000u - 1667u);
  // What is left is every entry of channels 0 and 2, still in push order.
  int i = 0;
  size_t checked = 0;
  notes.ForEach([&](const QoMidiNoteChanPair& pair) {
    while (i % 3 == 1) ++i;
    EXPECT_EQ(pair.note, i % 128);
    EXPECT_EQ(pair.channel, i % 3);
    ++i;
    ++checked;
  });
  EXPECT_EQ(checked, notes.Size());
  // Removing 40/2 takes its oldest entry, pushed as number 296, and only that one.
  ASSERT_TRUE(notes.RemoveFirst(40, 2));
  bool mismatch = false;
  int index = 0;
  notes.ForEach([&](const QoMidiNoteChanPair& pair) {
    while (index % 3 == 1 || index == 296) ++index;
    if (pair.note != index % 128 || pair.channel != index % 3) mismatch = true;
    ++index;
  });
  EXPECT_FALSE(mismatch);
}

TEST(MidiActiveNotes, UpdateFollowsTheTracksCurrentEvent) {
  QoMidiParseAt parser;
  QoMidiActiveNotes notes;
  QoMidiTrack track{};
  const auto apply = [&](uint8_t status, uint8_t first, uint8_t second) {
    track.eventBytes[0] = status;
    track.eventBytes[1] = first;
    track.eventBytes[2] = second;
    EXPECT_TRUE(parser.UpdateActiveNoteList(notes, &track));
  };
  apply(0x90, 60, 100);
  apply(0x91, 60, 100);
  apply(0x90, 60, 1);
  apply(0x92, 61, 100);
  EXPECT_EQ(Contents(notes), "60/0 60/1 60/0 61/2 ");
  apply(0x90, 60, 0);  // velocity 0 is a note off
  EXPECT_EQ(Contents(notes), "60/1 60/0 61/2 ");
  apply(0x81, 60, 64);
  EXPECT_EQ(Contents(notes), "60/0 61/2 ");
  apply(0xA0, 60, 10);  // key pressure changes nothing
  apply(0xB0, 7, 100);
  apply(0xFF, 0x2F, 0);
  EXPECT_EQ(Contents(notes), "60/0 61/2 ");
  apply(0xB2, 0x78, 0);  // all sound off on channel 2
  EXPECT_EQ(Contents(notes), "60/0 ");
  apply(0xB0, 0x7B, 0);  // all notes off on channel 0
  EXPECT_TRUE(notes.Empty());
}

}  // namespace
