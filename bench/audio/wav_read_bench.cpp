// Reading samples as float (ReadPCMDataAsFloat32) against libsndfile's sf_readf_float, from
// opening the file to closing it, on 200 MB files of 16-bit and 24-bit stereo that libsndfile
// wrote, in blocks of 4096 frames into one block buffer (as a caller that processes as it
// reads). Both sides read the same file and must arrive at the same sum.
#include <qobase/audio/wav_file_reader.h>
#include <sndfile.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bench_support.h"

namespace {

constexpr unsigned int k_block = 4096;
constexpr unsigned int k_channels = 2;
constexpr unsigned long long k_fileBytes = 200ull * 1000 * 1000;

bool MakeFile(const std::string& path, unsigned int bits, unsigned int frames) {
  SF_INFO info;
  std::memset(&info, 0, sizeof(info));
  info.channels = k_channels;
  info.samplerate = 48000;
  info.format = SF_FORMAT_WAV | (bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24);
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) return false;
  std::vector<float> block(static_cast<size_t>(k_block) * k_channels);
  uint32_t state = 12345;
  bool ok = true;
  for (unsigned int done = 0; ok && done < frames; done += k_block) {
    for (float& sample : block) {
      state = state * 1664525u + 1013904223u;
      sample = static_cast<float>(static_cast<int32_t>(state)) * (1.0f / 2147483648.0f);
    }
    ok = sf_writef_float(file, block.data(), k_block) == k_block;
  }
  return sf_close(file) == 0 && ok;
}

}  // namespace

int main() {
  const qobench::ScratchDir dir;
  if (!dir.IsValid()) return 1;
  const std::string path = dir.File("read.wav");
  const int rounds = qobench::Rounds(5);
  std::vector<float> out(static_cast<size_t>(k_block) * k_channels);
  bool ok = true;
  for (const unsigned int bits : {16u, 24u}) {
    const unsigned int frames =
        static_cast<unsigned int>(k_fileBytes / (k_channels * bits / 8) / k_block * k_block);
    if (!MakeFile(path, bits, frames)) return 1;
    double oursSum = 0, peerSum = 0;
    const qobench::Side ours{
        nullptr, [&] {
          QoWavFileReader reader;
          if (!reader.Open(zu::Path(path)) || !reader.ReadChunks(QO::k_chunksFormatAndData))
            return false;
          reader.SeekToAudioFrame(0);
          unsigned long long total = 0;
          double sum = 0;
          for (unsigned int n; (n = reader.ReadPCMDataAsFloat32(k_block, out.data())) != 0;) {
            total += n;
            sum += out[0];
          }
          oursSum = sum;
          return total == frames;
        }};
    const qobench::Side peer{nullptr, [&] {
                               SF_INFO info;
                               std::memset(&info, 0, sizeof(info));
                               SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
                               if (file == nullptr) return false;
                               unsigned long long total = 0;
                               double sum = 0;
                               for (sf_count_t n;
                                    (n = sf_readf_float(file, out.data(), k_block)) > 0;) {
                                 total += static_cast<unsigned long long>(n);
                                 sum += out[0];
                               }
                               sf_close(file);
                               peerSum = sum;
                               return total == frames;
                             }};
    const qobench::Comparison result = qobench::CompareInterleaved(rounds, ours, peer);
    if (result.ok && std::fabs(oursSum - peerSum) > 1e-3 * (1 + std::fabs(peerSum))) {
      std::fprintf(stderr, "wav_read_bench: the two readers disagree (%f vs %f)\n", oursSum,
                   peerSum);
      return 1;
    }
    char work[128];
    std::snprintf(work, sizeof(work),
                  "WAV read 200 MB %u-bit stereo vs sf_readf_float (hold: was 0.57-0.66)", bits);
    ok &= qobench::PrintRow(work, result, 0.7);
    std::remove(path.c_str());
  }
  return ok ? 0 : 1;
}
