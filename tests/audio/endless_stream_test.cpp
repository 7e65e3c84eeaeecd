// Every audio walk stops on a stream that never ends (/dev/zero, a pipe fed forever) and reports
// a failure; a watchdog turns a hang into a failed test.
#include <gtest/gtest.h>

#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>

#include <functional>
#include <memory>
#include <string>

#include "support/endless_stream.h"
#include "support/temp_dir.h"

TEST(EndlessStream, AudioWalksStopWithAFailure) {
  const std::string riffHead("RIFF\xF0\xFF\xFF\xFFWAVE", 12), cafHead("caff\x00\x01\x00\x00", 8);
  const std::function<bool(const std::string&)> editor = [](const std::string& path) {
    QoWavFile wav;
    return wav.Open(zu::Path(path), false);
  };
  const std::function<bool(const std::string&)> reader = [](const std::string& path) {
    QoWavFileReader wav;
    return wav.Open(zu::Path(path)) && wav.ReadChunks(QO::k_chunksFormatAndData);
  };
  const std::function<bool(const std::string&)> caf = [](const std::string& path) {
    QoCAFFileReader file;
    return file.Open(path.c_str()) && file.ReadChunks(0);
  };
  // An empty pipe prefix reads /dev/zero instead.
  const std::pair<std::string, std::function<bool(const std::string&)>> cases[] = {
      {"", editor}, {riffHead, editor}, {"", reader}, {riffHead, reader}, {"", caf}, {cafHead, caf},
  };
  qotest::TempDir dir;
  for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) {
    SCOPED_TRACE(i);
    std::string path = "/dev/zero";
    std::unique_ptr<qotest::EndlessFifo> fifo;
    if (!cases[i].first.empty()) {
      path = dir.File("pipe" + std::to_string(i));
      fifo.reset(new qotest::EndlessFifo(path, cases[i].first));
      ASSERT_TRUE(fifo->Ok());
    }
    // 0: the walk stopped and failed; 1: it claimed success; -1: it hung.
    EXPECT_EQ(qotest::RunWithWatchdog(10, [&] { return cases[i].second(path) ? 1 : 0; }), 0);
  }
}
