// Damaged files, made by flipping and overwriting bytes of valid ones with a fixed seed: the
// readers must fail or succeed cleanly, never read out of bounds (run under the sanitizers), and
// keep their promises about what they deliver.
#include <gtest/gtest.h>
#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::ByteBuilder;

class Mutator {
 public:
  explicit Mutator(uint32_t seed) : m_state(seed) {}
  uint32_t Next() {
    m_state = m_state * 1664525u + 1013904223u;
    return m_state >> 8;
  }
  std::string Mutate(std::string bytes) {
    const int edits = 1 + static_cast<int>(Next() % 4);
    for (int i = 0; i < edits; ++i) {
      const size_t at = Next() % bytes.size();
      switch (Next() % 4) {
        case 0:
          bytes[at] = static_cast<char>(bytes[at] ^ (1 << (Next() % 8)));
          break;
        case 1:
          bytes[at] = static_cast<char>(0xFF);
          break;
        case 2:
          bytes[at] = 0;
          break;
        default:
          bytes.resize(at);  // truncated
          if (bytes.empty()) bytes = "R";
          break;
      }
    }
    return bytes;
  }

 private:
  uint32_t m_state;
};

std::string ValidWave(bool big) {
  ByteBuilder smpl(big);
  smpl.Zeros(36).U32(0).U32(0).U32(1).U32(3).U32(0).U32(0);
  ByteBuilder cue(big);
  cue.U32(2).U32(1).U32(1).Raw("data").Zeros(12).U32(2).U32(2).Raw("data").Zeros(12);
  ByteBuilder list(big);
  list.Raw("adtl").Raw("labl").U32(7).U32(1).Raw("abc").U8(0).Raw("labl").U32(8).U32(2).Raw("wxyz");
  ByteBuilder chunks(big);
  chunks.Chunk("fmt ", qotest::FmtBody(big, 1, 2, 8000, 24)).Chunk("smpl", smpl.Bytes());
  chunks.Chunk("cue ", cue.Bytes())
      .Chunk("LIST", list.Bytes())
      .Chunk("data", std::string(6 * 5, '\x11'));
  return qotest::WaveFile(big, chunks.Bytes());
}

TEST(MutatedInput, WavReaderStaysWithinItsData) {
  qotest::TempDir dir;
  Mutator mutator(2024);
  int accepted = 0;
  for (int round = 0; round < 400; ++round) {
    const std::string bytes = mutator.Mutate(ValidWave(round % 2 == 1));
    const std::string path = dir.File("m" + std::to_string(round) + ".wav");  // no truncation waits
    ASSERT_TRUE(qotest::WriteFileBytes(path, bytes));
    QoWavFileReader reader;
    if (!reader.Open(zu::Path(path))) continue;
    const bool ok = reader.ReadChunks(0x1F);
    for (const QO_WAVE_MARKER& m : reader.GetMarkers()) {
      ASSERT_TRUE(m.labelSize == 0 || m.label != nullptr);
      ASSERT_LE(m.labelSize, bytes.size());
    }
    if (!ok) continue;
    ++accepted;
    const WaveFormatExtensible* f = reader.GetFormat();
    ASSERT_LE(reader.GetDataSize(), bytes.size());
    const unsigned int frames = 8;
    std::vector<float> out(static_cast<size_t>(frames) * (f->nChannels + 1));
    std::vector<short> ints(out.size());
    reader.SeekToAudioFrame(0);
    unsigned int total = 0;
    for (unsigned int n; (n = reader.ReadPCMDataAsFloat32(frames, out.data())) != 0;) {
      ASSERT_LE(n, frames);
      total += n;
      ASSERT_LE(total, reader.GetNumFrames());
    }
    reader.SeekToAudioFrame(0);
    ASSERT_LE(reader.ReadPCMDataAsInt16(frames, ints.data()), frames);
  }
  EXPECT_GT(accepted, 50);  // the mutations leave many files readable: the loop above really ran
}

TEST(MutatedInput, CafReaderFailsOrDeliversFrames) {
  qotest::TempDir dir;
  ByteBuilder desc(true);
  desc.F64(48000).Raw("lpcm").U32(2).U32(4).U32(1).U32(2).U32(16);
  ByteBuilder matrix(true);
  matrix.Raw(std::string("\x1A\xD3\x18\xC3\x00\xE5\x55\x76\xBE\x2D\x0D\xCA\x24\x60\xBC\x89", 16))
      .U32(3)
      .U32(2);
  for (int i = 0; i < 6; ++i) matrix.F32(0.5f);
  ByteBuilder file(true);
  file.Raw("caff").U16(1).U16(0);
  file.Raw("desc").U64(32).Raw(desc.Bytes());
  file.Raw("uuid").U64(matrix.Bytes().size()).Raw(matrix.Bytes());
  file.Raw("data").U64(4 + 40).Zeros(4).Raw(std::string(40, '\x22'));
  Mutator mutator(7);
  int accepted = 0;
  for (int round = 0; round < 400; ++round) {
    const std::string path = dir.File("m" + std::to_string(round) + ".caf");
    ASSERT_TRUE(qotest::WriteFileBytes(path, mutator.Mutate(file.Bytes())));
    QoCAFFileReader reader;
    ASSERT_TRUE(reader.Open(path.c_str()));
    if (!reader.ReadChunks(0)) continue;
    ++accepted;
    const unsigned int channels = reader.GetFormat()->nChannels;
    std::vector<float> out(static_cast<size_t>(4) * (channels + 1));
    reader.SeekToAudioFrame(0);
    for (int i = 0; i < 20; ++i) ASSERT_LE(reader.ReadPCMDataAsFloat32(4, out.data()), 4u);
  }
  EXPECT_GT(accepted, 50);
}

}  // namespace
