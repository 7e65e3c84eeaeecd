// Loading a MIDI file stops on a stream that never ends (/dev/zero, a pipe fed forever).
#include <gtest/gtest.h>

#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>

#include <memory>
#include <string>

#include "support/endless_stream.h"
#include "support/temp_dir.h"
#include "support/wav_builder.h"

TEST(MidiEndlessStream, LoadingStopsWithAFailure) {
  // A valid head and a track that claims nearly 4 GiB.
  const std::string head = qotest::ByteBuilder(true)
                               .Raw("MThd")
                               .U32(6)
                               .U16(0)
                               .U16(1)
                               .U16(96)
                               .Raw("MTrk")
                               .U32(0xFFFFFFF0u)
                               .Bytes();
  qotest::TempDir dir;
  for (bool pipe : {false, true}) {
    SCOPED_TRACE(pipe ? "pipe" : "/dev/zero");
    const std::string path = pipe ? dir.File("pipe") : "/dev/zero";
    std::unique_ptr<qotest::EndlessFifo> fifo;
    if (pipe) {
      fifo.reset(new qotest::EndlessFifo(path, head));
      ASSERT_TRUE(fifo->Ok());
    }
    const int status = qotest::RunWithWatchdog(10, [&] {
      QoMidiFile midi;
      if (midi.Open(zu::Path(path)) != QO::k_resultSuccess) return 2;
      return midi.Validate() == QO::k_resultSuccess ? 1 : 0;
    });
    EXPECT_EQ(status, 0);  // opened, then refused; -1 would be a hang
  }
}
