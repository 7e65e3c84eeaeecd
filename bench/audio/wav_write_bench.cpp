// Writing a new WAVE file from float samples (WriteReal32AsPCMData) against libsndfile's
// sf_writef_float: 200 MB of 16-bit stereo (and, without a bar, 24-bit) made from 400 MB of
// distinct floats streamed once from memory, in blocks of 4096 frames, from opening the file to
// closing it. Before each run the side's previous output is removed and dirty pages are written
// back (untimed), so every run writes a file that did not exist. Afterwards both files must hold
// the same samples: ours truncate toward zero and libsndfile's round, so they may differ by one
// step, never more.
#include <qobase/audio/wav_file_writer.h>
#include <sndfile.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bench_support.h"

namespace {

constexpr unsigned int k_block = 4096;
constexpr unsigned int k_channels = 2;
constexpr unsigned int k_frames = 50u * 1000u * 1000u;  // 16-bit stereo: 200 MB of samples

// Distinct samples over [-1, 1), none repeating a block. They stay in range: libsndfile clips only
// when asked to (by default a sample past full scale wraps round), so samples beyond it would
// give the two sides different results rather than different speeds for the same result.
std::vector<float> MakeSamples() {
  std::vector<float> samples(static_cast<size_t>(k_frames) * k_channels);
  uint64_t state = 0x9E3779B97F4A7C15ull;
  for (float& sample : samples) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    sample = static_cast<float>(static_cast<int32_t>(state >> 32)) * (1.0f / 2147483648.0f);
  }
  return samples;
}

// The frames of the block that starts at `done`: the last one is short (the frame count is not a
// multiple of the block), and must not run past the samples.
unsigned int BlockAt(unsigned int done) { return std::min(k_block, k_frames - done); }

WAVEFORMATEXTENSIBLE Format(unsigned int bits) {
  WAVEFORMATEXTENSIBLE f;
  std::memset(&f, 0, sizeof(f));
  f.wFormatTag = 1;
  f.nChannels = k_channels;
  f.nSamplesPerSec = 48000;
  f.nBlockAlign = static_cast<uint16_t>(k_channels * bits / 8);
  f.nAvgBytesPerSec = 48000u * f.nBlockAlign;
  f.wBitsPerSample = static_cast<uint16_t>(bits);
  return f;
}

long long FileSize(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size) : -1;
}

bool WriteOurs(const std::string& path, unsigned int bits, std::vector<float>& samples) {
  QoWavFileWriter writer;
  if (!writer.Open(zu::Path(path), false)) return false;
  writer.SetFormat(Format(bits));
  bool ok = writer.WriteChunks(0);
  for (unsigned int done = 0; ok && done < k_frames; done += k_block) {
    ok = writer.WriteReal32AsPCMData(BlockAt(done), samples.data() + static_cast<size_t>(done) * 2);
  }
  return writer.Close() && ok;
}

bool WriteLibsndfile(const std::string& path, unsigned int bits, std::vector<float>& samples) {
  SF_INFO info;
  std::memset(&info, 0, sizeof(info));
  info.channels = k_channels;
  info.samplerate = 48000;
  info.format = SF_FORMAT_WAV | (bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24);
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) return false;
  bool ok = true;
  for (unsigned int done = 0; ok && done < k_frames; done += k_block) {
    const sf_count_t frames = BlockAt(done);
    ok = sf_writef_float(file, samples.data() + static_cast<size_t>(done) * 2, frames) == frames;
  }
  return sf_close(file) == 0 && ok;
}

// The body of the first "data" chunk of a RIFF file, empty when there is none.
std::vector<unsigned char> DataChunk(const std::string& path) {
  std::vector<unsigned char> bytes;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    bytes.resize(static_cast<size_t>(std::max(FileSize(path), 0ll)));
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
  }
  for (size_t at = 12; at + 8 <= bytes.size();) {
    uint32_t size = 0;
    std::memcpy(&size, &bytes[at + 4], 4);
    if (std::memcmp(&bytes[at], "data", 4) == 0) {
      const size_t end = std::min(bytes.size(), at + 8 + size);
      return std::vector<unsigned char>(bytes.begin() + static_cast<long>(at + 8),
                                        bytes.begin() + static_cast<long>(end));
    }
    at += 8 + size + (size & 1);
  }
  return {};
}

// True when both files hold `bytes` of little-endian samples of `bits`, each pair at most one step
// apart.
bool SameSamples(const std::string& a, const std::string& b, unsigned int bits, size_t bytes) {
  const std::vector<unsigned char> x = DataChunk(a), y = DataChunk(b);
  const size_t width = bits / 8;
  if (x.size() != bytes || y.size() != bytes || bytes % width != 0) {
    std::fprintf(stderr, "data chunks of %zu and %zu bytes\n", x.size(), y.size());
    return false;
  }
  for (size_t i = 0; i < x.size(); i += width) {
    int32_t u = 0, v = 0;
    for (size_t k = 0; k < width; ++k) {
      u |= static_cast<int32_t>(x[i + k]) << (8 * k);
      v |= static_cast<int32_t>(y[i + k]) << (8 * k);
    }
    const int shift = 32 - static_cast<int>(bits);  // sign-extend
    u = static_cast<int32_t>(static_cast<uint32_t>(u) << shift) >> shift;
    v = static_cast<int32_t>(static_cast<uint32_t>(v) << shift) >> shift;
    if (u - v > 1 || v - u > 1) {
      std::fprintf(stderr, "sample %zu: %d and %d\n", i / width, u, v);
      return false;
    }
  }
  return true;
}

}  // namespace

int main() {
  const qobench::ScratchDir dir;
  if (!dir.IsValid()) return 1;
  std::vector<float> samples = MakeSamples();
  const std::string ours = dir.File("ours.wav"), peer = dir.File("peer.wav");
  const int rounds = qobench::Rounds(5);
  std::printf(
      "%u frames of stereo from %.0f MB of floats, blocks of %u frames, best of %d "
      "interleaved rounds\n",
      k_frames, samples.size() * 4 / 1e6, k_block, rounds);

  bool ok = true;
  for (const unsigned int bits : {16u, 24u}) {
    const long long dataBytes = static_cast<long long>(k_frames) * k_channels * bits / 8;
    const qobench::Side oursSide{
        [&] { qobench::RemoveAndSync(ours); },
        [&] { return WriteOurs(ours, bits, samples) && FileSize(ours) > dataBytes; }};
    const qobench::Side peerSide{
        [&] { qobench::RemoveAndSync(peer); },
        [&] { return WriteLibsndfile(peer, bits, samples) && FileSize(peer) > dataBytes; }};
    const qobench::Comparison result = qobench::CompareInterleaved(rounds, oursSide, peerSide);
    if (result.ok && !SameSamples(ours, peer, bits, static_cast<size_t>(dataBytes))) {
      std::fprintf(stderr, "wav_write_bench: the %u-bit files hold different samples\n", bits);
      return 1;
    }
    if (bits == 16) {
      ok &= qobench::PrintRow("WAV write 200 MB 16-bit stereo, new file, vs sf_writef_float",
                              result, 1.0, 0.7);
    } else {
      ok &= qobench::PrintRow(
          "WAV write 300 MB 24-bit stereo, new file, vs sf_writef_float (no bar)", result, 0);
    }
  }
  qobench::RemoveAndSync(ours);
  qobench::RemoveAndSync(peer);
  return ok ? 0 : 1;
}
