// `qobase base64`: round trips through files and standard input, strict checking of the text
// (what the library's tolerant decoder would turn into wrong bytes is refused), and streaming.
#include <gtest/gtest.h>

#include "program_runner.h"
#include "support/temp_dir.h"

using qotest::RunQobase;

TEST(QobaseBase64, RoundTripsThroughFilesAndStandardInput) {
  qotest::TempDir dir;
  std::string bytes;
  for (int i = 0; i < 256 * 3 + 1; ++i) bytes += static_cast<char>(i * 7);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("in.bin"), bytes));
  const qotest::RunResult encoded = RunQobase({"base64", "encode", dir.File("in.bin")});
  ASSERT_EQ(encoded.exitCode, 0);
  EXPECT_EQ(encoded.out.size(), (bytes.size() + 2) / 3 * 4 + 1);
  EXPECT_EQ(encoded.out.substr(encoded.out.size() - 5), "AA==\n");
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("in.b64"), encoded.out));
  EXPECT_EQ(RunQobase({"base64", "decode", dir.File("in.b64")}).out, bytes);
  qotest::RunOptions stdinText;
  stdinText.input = encoded.out;
  EXPECT_EQ(RunQobase({"base64", "decode", "-"}, stdinText).out, bytes);
  qotest::RunOptions stdinBytes;
  stdinBytes.input = "Man";
  EXPECT_EQ(RunQobase({"base64", "encode"}, stdinBytes).out, "TWFu\n");
  // Line breaks and blanks anywhere are skipped.
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("wrapped.b64"), "TW\r\nFu\tTQ =\n=\n"));
  EXPECT_EQ(RunQobase({"base64", "decode", dir.File("wrapped.b64")}).out, "ManM");
}

TEST(QobaseBase64, MalformedTextIsRefusedBeforeAnyOutput) {
  qotest::TempDir dir;
  const struct {
    std::string text, reason;
  } cases[] = {
      {"aGk=aGk=", "text after the '=' padding at byte 4"},
      {"====", "'=' padding inside the text at byte 0"},
      {"aGk", "the text ends inside a group of four (missing '=' padding?) at byte 3"},
      {"a=Gk", "'=' padding inside the text at byte 1"},
      {"aG=k", "'=' padding inside the text at byte 3"},
      {"aGk*", "a character outside the Base64 alphabet at byte 3"},
      {"aGk\xC1", "a character outside the Base64 alphabet at byte 3"},
      {"TWFuTWFu\nTWFu====", "'=' padding inside the text at byte 13"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string file = dir.File("bad.b64");
    ASSERT_TRUE(qotest::WriteFileBytes(file, c.text));
    const qotest::RunResult run = RunQobase({"base64", "decode", file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "qobase: " + file + ": not Base64 text: " + c.reason + "\n");
    qotest::RunOptions options;
    options.input = c.text;
    const qotest::RunResult piped = RunQobase({"base64", "decode"}, options);
    EXPECT_EQ(piped.exitCode, 1);
    EXPECT_EQ(piped.err, "qobase: standard input: not Base64 text: " + c.reason + "\n");
  }
}

// A large file goes through in blocks: memory stays far below its size.
TEST(QobaseBase64, StreamsLargeInputs) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  constexpr int k_megabytes = 48;
#else
  // The instrumented program is many times slower and its peak is not checked there: a few
  // megabytes still run through every buffer refill.
  constexpr int k_megabytes = 4;
#endif
  qotest::TempDir dir;
  const std::string block(1 << 20, 'Q');  // "QQQQ" decodes to 0x41 0x04 0x10
  std::string text;
  for (int i = 0; i < k_megabytes; ++i) text += block + "\n";
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("big.b64"), text));
  // The child starts as a copy of this process: give the memory back before it is made.
  std::string().swap(text);
  const qotest::RunResult run = RunQobase({"base64", "decode", dir.File("big.b64")});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out.size(), k_megabytes * (1u << 20) / 4 * 3);
  EXPECT_EQ(run.out.substr(0, 3), "\x41\x04\x10");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // (The sanitizers keep freed memory in quarantine, and the child starts as a copy of this
  // process, so its peak says nothing there.)
  EXPECT_LT(run.maxResidentKiB, 40 * 1024) << "the 48 MiB input was held in memory";
#endif
}
