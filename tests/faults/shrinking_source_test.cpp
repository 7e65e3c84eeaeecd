// A source file cut short while the chunk editor copies its samples (another program truncating
// it): the copy ends where the source ends, the data chunk's head is corrected to the bytes that
// were copied, and the container size patched afterwards agrees with the file.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/files/file.h>
#include <qobase/result_code.h>
#include <qobase/system/progress.h>

#include <unistd.h>

#include <cstring>
#include <string>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

namespace {

using qotest::Chunk;

constexpr uint32_t k_block = QoDataChunk::k_copyBlockSize;

// Cuts the file at `path` to `length` bytes the first time the copy reports reaching `at`.
class TruncatingProgress : public QO::Sonvo::IProgress {
 public:
  TruncatingProgress(const std::string& path, uint32_t at, off_t length)
      : m_path(path), m_at(at), m_length(length) {}
  void SetRange(uint32_t, uint32_t) override {}
  void SetPosition(uint32_t current) override {
    if (m_done || current < m_at) return;
    m_done = true;
    m_truncated = truncate(m_path.c_str(), m_length) == 0;
  }
  bool IsCancelled() override { return false; }
  bool Truncated() const { return m_truncated; }

 private:
  std::string m_path;
  uint32_t m_at;
  off_t m_length;
  bool m_done = false, m_truncated = false;
};

uint32_t U32At(const std::string& bytes, size_t offset) {
  uint32_t value = 0;
  if (offset + 4 <= bytes.size()) std::memcpy(&value, bytes.data() + offset, 4);
  return value;
}

}  // namespace

TEST(ShrinkingSource, TheDataChunkGetsTheSizeThatWasCopied) {
  qotest::TempDir dir;
  // Well past the editor's large transfers, so the cut can fall before, inside and after one.
  const uint32_t frames = 900000;
  const std::string samples = qotest::Pcm16Samples(frames);
  const std::string source =
      qotest::Riff(Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   Chunk("cue ", qotest::CueBody({5})) + Chunk("data", samples));
  const size_t dataOffset = source.size() - samples.size();
  // `expected` 0: the cut falls behind the copy, which keeps the whole blocks it had made then
  // (at least the position reported when the cut was made).
  const struct {
    const char* what;
    uint32_t at;        // the progress position that triggers the cut
    uint32_t keep;      // sample bytes left in the source
    uint32_t expected;  // the data size the output must get
  } cases[] = {
      {"before the first byte", 0, 1000, 1000},
      {"to an odd size inside a later transfer", k_block, 1000001, 1000001},
      {"to nothing before the copy", 0, 0, 0},
      {"behind what was already copied", k_block, 100, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string in = dir.File("in.wav"), outPath = dir.File("out.wav");
    ASSERT_TRUE(qotest::WriteFileBytes(in, source));
    QoWavFile wav;
    ASSERT_TRUE(wav.Open(zu::Path(in), false));
    zu::File out;
    ASSERT_EQ(out.Open(zu::Path(outPath), k_openModeWrite, 0), QO::k_resultSuccess);
    TruncatingProgress progress(in, c.at, static_cast<off_t>(dataOffset + c.keep));
    ASSERT_TRUE(wav.WriteRiffChunk(out, false));
    ASSERT_TRUE(wav.WriteFormatChunk(out, false));
    ASSERT_TRUE(wav.WriteCueChunk(out, false));
    ASSERT_TRUE(wav.WriteJunkChunk(out, false));
    EXPECT_EQ(wav.m_dataChunk.WriteToFile(out, false, &progress), QO::k_chunkSuccess);
    EXPECT_TRUE(progress.Truncated());
    ASSERT_TRUE(wav.UpdateRiffChunkSize(out, false));
    ASSERT_EQ(out.Close(), QO::k_resultSuccess);

    const std::string written = qotest::ReadFileBytes(outPath);
    const auto chunks = qotest::ChunksOf(written);
    ASSERT_EQ(chunks.size(), 4u);
    ASSERT_EQ(chunks[3].first, "data");
    const size_t bodyAt = written.size() - chunks[3].second.size();
    const uint32_t size = U32At(written, bodyAt - 4);
    if (c.expected != 0 || c.keep == 0) {
      EXPECT_EQ(size, c.expected);
    } else {
      EXPECT_GE(size, c.at);
      EXPECT_EQ(size % k_block, 0u);
    }
    EXPECT_EQ(written.size(), bodyAt + size);
    EXPECT_TRUE(chunks[3].second == samples.substr(0, size));
    EXPECT_EQ(U32At(written, 4), written.size() - 8);
    wav.Close();
  }
}
