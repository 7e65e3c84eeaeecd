// Writing a new WAVE file from float samples (WriteReal32AsPCMData) against libsndfile's
// sf_writef_float: 200 MB of 16-bit stereo (and, without a bar, 24-bit) made from 400 MB of
// distinct floats streamed once from memory, in blocks of 4096 frames, from opening the file to
// closing it. Before each run the side's previous output is removed and dirty pages are written
// back (untimed), so every run writes a file that did not exist.
#include <qobase/audio/wav_file_writer.h>
#include <sndfile.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bench_support.h"

namespace {

constexpr unsigned int k_block = 4096;
constexpr unsigned int k_channels = 2;
constexpr unsigned int k_frames = 50u * 1000u * 1000u;  // 16-bit stereo: 200 MB of samples

// Distinct samples over [-1.05, 1.05): a few clip, none repeats a block.
std::vector<float> MakeSamples() {
  std::vector<float> samples(static_cast<size_t>(k_frames) * k_channels);
  uint64_t state = 0x9E3779B97F4A7C15ull;
  for (float& sample : samples) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    sample = static_cast<float>(static_cast<int32_t>(state >> 32)) * (1.05f / 2147483648.0f);
  }
  return samples;
}

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
    ok = writer.WriteReal32AsPCMData(k_block, samples.data() + static_cast<size_t>(done) * 2);
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
    ok = sf_writef_float(file, samples.data() + static_cast<size_t>(done) * 2, k_block) == k_block;
  }
  return sf_close(file) == 0 && ok;
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
