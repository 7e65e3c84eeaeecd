// Loading a MIDI file stops on a stream that never ends (/dev/zero, a pipe fed forever).
#include <gtest/gtest.h>

#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>

#include <memory>
#include <string>

#include "support/endless_stream.h"
#include "support/temp_dir.h"

TEST(MidiEndlessStream, LoadingStopsWithAFailure) {
  // A format-0 head and a track that claims nearly 4 GiB.
  const std::string head("MThd\0\0\0\x06\0\0\0\x01\0\x60MTrk\xFF\xFF\xFF\xF0", 22);
  qotest::TempDir dir;
  for (bool pipe : {false, true}) {
    SCOPED_TRACE(pipe ? "pipe" : "/dev/zero");
    const std::string path = pipe ? dir.File("pipe") : "/dev/zero";
    std::unique_ptr<qotest::EndlessFifo> fifo(pipe ? new qotest::EndlessFifo(path, head) : nullptr);
    ASSERT_TRUE(!pipe || fifo->Ok());
    // Opened, then refused (0); -1 would be a hang.
    EXPECT_EQ(qotest::RunWithWatchdog(10,
                                      [&] {
                                        QoMidiFile midi;
                                        if (midi.Open(zu::Path(path)) != QO::k_resultSuccess)
                                          return 2;
                                        return midi.Validate() == QO::k_resultSuccess ? 1 : 0;
                                      }),
              0);
  }
}
