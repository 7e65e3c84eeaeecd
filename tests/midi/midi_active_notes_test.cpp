// The list of sounding notes kept while converting. What it means for the stream (oldest first,
// velocity 0, controllers 120 and 123) is tested with the conversion; this covers the pool.
#include <qobase/midi/midi_active_notes.h>

#include <gtest/gtest.h>

TEST(MidiActiveNotes, GrowsRecyclesAndKeepsNoteOnOrder) {
  QoMidiActiveNotes notes;
  QoMidiNoteChanPair pair{};
  EXPECT_FALSE(notes.RemoveFirst(60, 0) || notes.PopFront(pair));
  notes.RemoveChannel(3);                    // nothing to do on an empty list
  for (int round = 0; round < 2; ++round) {  // the second round runs on recycled nodes
    for (int i = 0; i < 5000; ++i) ASSERT_TRUE(notes.PushBack(uint8_t(i % 128), uint8_t(i % 3)));
    notes.RemoveChannel(1);
    ASSERT_TRUE(notes.RemoveFirst(40, 2));
    ASSERT_TRUE(!notes.RemoveFirst(40, 1));  // 40/2: number 296
    EXPECT_EQ(notes.Size(), 5000u - 1667u - 1u);
    ASSERT_TRUE(notes.PopFront(pair));
    ASSERT_TRUE(pair.note == 0);
    ASSERT_TRUE(pair.channel == 0);
    int i = 1;  // number 0 was popped
    notes.ForEach([&](const QoMidiNoteChanPair& p) {
      while (i % 3 == 1 || i == 296) ++i;
      EXPECT_EQ(p.note * 100 + p.channel, (i % 128) * 100 + i % 3);
      ++i;
    });
    EXPECT_EQ(i, 4999);  // the last one kept was number 4998
    notes.Clear();
    EXPECT_TRUE(notes.Empty());
  }
}
