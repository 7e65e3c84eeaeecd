// Every walk over a file stops on a stream that never ends (/dev/zero, a pipe fed forever) and
// reports a failure; a watchdog turns a hang into a failed test.
#include <gtest/gtest.h>

#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>

#include <functional>
#include <memory>
#include <string>

#include "support/endless_stream.h"
#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

struct EndlessCase {
  const char* name;
  std::string pipePrefix;  // empty: read /dev/zero instead of a pipe
  std::function<bool(const std::string&)> opens;
};

}  // namespace

TEST(EndlessStream, AudioWalksStopWithAFailure) {
  const std::string riffHead =
      qotest::ByteBuilder().Raw("RIFF").U32(0xFFFFFFF0u).Raw("WAVE").Bytes();
  const std::string cafHead("caff\x00\x01\x00\x00", 8);
  const auto editor = [](const std::string& path) {
    QoWavFile wav;
    return wav.Open(zu::Path(path), false);
  };
  const auto reader = [](const std::string& path) {
    QoWavFileReader wav;
    return wav.Open(zu::Path(path)) && wav.ReadChunks(0x3);
  };
  const auto caf = [](const std::string& path) {
    QoCAFFileReader file;
    return file.Open(path.c_str()) && file.ReadChunks(0);
  };
  const EndlessCase cases[] = {
      {"editor, /dev/zero", "", editor}, {"editor, pipe", riffHead, editor},
      {"reader, /dev/zero", "", reader}, {"reader, pipe", riffHead, reader},
      {"CAF, /dev/zero", "", caf},       {"CAF, pipe", cafHead, caf},
  };
  qotest::TempDir dir;
  int n = 0;
  for (const EndlessCase& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = "/dev/zero";
    std::unique_ptr<qotest::EndlessFifo> fifo;
    if (!c.pipePrefix.empty()) {
      path = dir.File("pipe" + std::to_string(n++));
      fifo.reset(new qotest::EndlessFifo(path, c.pipePrefix));
      ASSERT_TRUE(fifo->Ok());
    }
    // 0: the walk stopped and failed; 1: it claimed success; -1: it hung.
    EXPECT_EQ(qotest::RunWithWatchdog(10, [&] { return c.opens(path) ? 1 : 0; }), 0);
  }
}
