// Damaged files, made by flipping and overwriting bytes of a valid one with a fixed seed: the
// reader must fail or succeed cleanly, never read out of bounds (run under the sanitizers), and
// keep its promises about what it delivers.
#include <gtest/gtest.h>
#include <qobase/audio/wav_file_reader.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;

std::string ValidWave(bool big) {
  ByteBuilder cue(big);
  cue.U32(2).U32(1).U32(1).Raw("data").Zeros(12).U32(2).U32(2).Raw("data").Zeros(12);
  ByteBuilder list(big);
  list.Raw("adtl").Raw("labl").U32(7).U32(1).Raw("abc").U8(0).Raw("labl").U32(8).U32(2).Raw("wxyz");
  ByteBuilder chunks(big);
  chunks.Chunk("fmt ", qotest::FmtBody(big, 1, 2, 8000, 24));
  chunks.Chunk("smpl", ByteBuilder(big).Zeros(44).U32(1).U32(3).Zeros(8).Bytes());
  chunks.Chunk("cue ", cue.Bytes()).Chunk("LIST", list.Bytes());
  chunks.Chunk("data", std::string(6 * 5, '\x11'));
  return qotest::WaveFile(big, chunks.Bytes());
}

TEST(MutatedInput, WavReaderStaysWithinItsData) {
  qotest::TempDir dir;
  uint32_t state = 2024;
  auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
  int accepted = 0;
  for (int round = 0; round < 400; ++round) {
    std::string bytes = ValidWave(round % 2 == 1);
    for (uint32_t edits = 1 + next() % 4; edits > 0; --edits) {
      const size_t at = next() % bytes.size();
      const uint32_t kind = next() % 4;
      if (kind == 3) {
        bytes.resize(at == 0 ? 1 : at);  // truncated
      } else {
        bytes[at] = kind == 0   ? static_cast<char>(bytes[at] ^ (1 << (next() % 8)))
                    : kind == 1 ? '\xFF'
                                : '\0';
      }
    }
    const std::string path = dir.File("m" + std::to_string(round) + ".wav");
    ASSERT_TRUE(qotest::WriteFileBytes(path, bytes));
    QoWavFileReader reader;
    if (!reader.Open(zu::Path(path))) continue;
    const bool ok = reader.ReadChunks(QO::k_chunksAll);
    for (const QO_WAVE_MARKER& m : reader.GetMarkers()) {
      ASSERT_TRUE(m.labelSize == 0 || m.label != nullptr);
      ASSERT_LE(m.labelSize, bytes.size());
    }
    if (!ok) continue;
    ++accepted;
    ASSERT_LE(reader.GetDataSize(), bytes.size());
    const unsigned int frames = 8;
    std::vector<float> out(static_cast<size_t>(frames) * (reader.GetFormat()->nChannels + 1));
    std::vector<short> ints(out.size());
    reader.SeekToAudioFrame(0);
    unsigned int total = 0;
    for (unsigned int n; (n = reader.ReadPCMDataAsFloat32(frames, out.data())) != 0;) {
      ASSERT_LE(n, frames);
      ASSERT_LE(total += n, reader.GetNumFrames());
    }
    reader.SeekToAudioFrame(0);
    ASSERT_LE(reader.ReadPCMDataAsInt16(frames, ints.data()), frames);
  }
  EXPECT_GT(accepted, 50);  // the mutations leave many files readable: the loop above really ran
}

}  // namespace
