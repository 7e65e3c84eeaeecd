// The list of sounding notes kept while converting (its effect on the stream is tested with the
// conversion).
#include <qobase/midi/midi_active_notes.h>

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

TEST(MidiActiveNotes, KeepsNoteOnOrderRemovesTheOldestMatchAndWholeChannels) {
  QoMidiActiveNotes notes;
  EXPECT_FALSE(notes.RemoveFirst(60, 0));
  notes.RemoveChannel(3);  // nothing to do on an empty list
  for (auto [note, channel] : {std::pair{60, 0}, {62, 1}, {60, 0}, {64, 0}, {60, 1}, {65, 2}}) {
    ASSERT_TRUE(notes.PushBack(static_cast<uint8_t>(note), static_cast<uint8_t>(channel)));
  }
  EXPECT_TRUE(notes.RemoveFirst(60, 0));
  EXPECT_FALSE(notes.RemoveFirst(60, 3));
  EXPECT_TRUE(notes.RemoveFirst(60, 1));
  EXPECT_EQ(Contents(notes), "62/1 60/0 64/0 65/2 ");
  notes.RemoveChannel(0);
  EXPECT_EQ(Contents(notes), "62/1 65/2 ");
  // Recycled nodes keep the order right.
  ASSERT_TRUE(notes.PushBack(70, 0));
  ASSERT_TRUE(notes.PushBack(62, 1));
  QoMidiNoteChanPair pair{};
  ASSERT_TRUE(notes.PopFront(pair));
  EXPECT_EQ(pair.note, 62);
  EXPECT_TRUE(notes.RemoveFirst(62, 1));  // the second 62/1 is now the oldest
  EXPECT_EQ(Contents(notes), "65/2 70/0 ");
  notes.Clear();
  EXPECT_FALSE(notes.PopFront(pair));

  // Past the first pool: a channel of thousands goes at once, one key loses its oldest only.
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(notes.PushBack(static_cast<uint8_t>(i % 128), static_cast<uint8_t>(i % 3)));
  }
  notes.RemoveChannel(1);
  ASSERT_TRUE(notes.RemoveFirst(40, 2));  // pushed as number 296
  EXPECT_EQ(notes.Size(), 5000u - 1667u - 1u);
  int i = 0;
  notes.ForEach([&](const QoMidiNoteChanPair& p) {
    while (i % 3 == 1 || i == 296) ++i;
    EXPECT_EQ(p.note * 1000 + p.channel, (i % 128) * 1000 + i % 3) << i;
    ++i;
  });
  EXPECT_EQ(i, 4999);  // the last one kept was number 4998
}

}  // namespace
