// The level spectrum (FFTHelper::GetSpectrum, N = 2048, Hann) of ten minutes of a stereo 48 kHz
// 16-bit drum track read from disk, against the bare cost of the KISS FFT real transforms it
// runs, made on the same blocks (mixed and windowed beforehand, held in memory): best of several
// interleaved runs and the overhead ratio, ours / bare transforms.
#include <kiss_fftr.h>
#include <qobase/analysis/fft_helper.h>
#include <qobase/audio/wav_file_reader.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "analysis/percussion.h"
#include "bench_support.h"

namespace {

constexpr int k_repetitions = 5;
constexpr unsigned int k_size = 2048;

double Seconds(const std::function<void()>& job) {
  const auto start = std::chrono::steady_clock::now();
  job();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The blocks GetSpectrum transforms: every N frames of the file mixed with gain 1/sqrt(2) and
// windowed, the last one padded with zeros, and the one block of nothing that follows the end.
std::vector<float> TransformedBlocks(const std::string& path, const std::vector<float>& window,
                                     size_t& count) {
  std::vector<float> blocks;
  QoWavFileReader reader;
  if (!reader.Open(zu::Path(path)) || !reader.ReadChunks(0x3)) return blocks;
  reader.SeekToAudioFrame(0);
  const float gain = 1.0f / std::sqrt(2.0f);
  std::vector<float> samples(2 * k_size);
  for (unsigned int got; (got = reader.ReadPCMDataAsFloat32(k_size, samples.data())) != 0;) {
    const size_t at = blocks.size();
    blocks.resize(at + k_size, 0.0f);
    for (unsigned int i = 0; i < got; ++i)
      blocks[at + i] = (samples[2 * i] * gain + samples[2 * i + 1] * gain) * window[i];
  }
  blocks.resize(blocks.size() + k_size, 0.0f);
  count = blocks.size() / k_size;
  return blocks;
}

}  // namespace

int main() {
  const qobench::ScratchDir scratch;
  const qobench::DrumTrack track;
  const std::string path = scratch.File("drums-10min.wav");
  if (!scratch.IsValid() || !track.Write(path, 600.0)) {
    std::fprintf(stderr, "spectrum_bench: cannot write the test file\n");
    return 1;
  }
  FFTHelper helper(k_size, FFTHelper::Hann);
  size_t count = 0;
  const std::vector<float> blocks = TransformedBlocks(path, helper.GetWindow(), count);
  kiss_fftr_cfg config = kiss_fftr_alloc(k_size, 0, nullptr, nullptr);
  std::vector<kiss_fft_cpx> bins(k_size / 2 + 1);

  double ours = 1e30, bare = 1e30, checksum = 0;
  bool ok = !blocks.empty();
  std::vector<float> spectrum;
  for (int i = 0; i < k_repetitions && ok; ++i) {
    ours = std::min(ours, Seconds([&] {
                      unsigned int rate = 0;
                      spectrum.clear();
                      ok = helper.GetSpectrum(path, spectrum, rate, nullptr);
                    }));
    bare = std::min(bare, Seconds([&] {
                      for (size_t b = 0; b < count; ++b) {
                        kiss_fftr(config, blocks.data() + b * k_size, bins.data());
                        checksum += bins[b % bins.size()].r;
                      }
                    }));
  }
  kiss_fftr_free(config);
  if (!ok) {
    std::fprintf(stderr, "spectrum_bench: the analysis failed\n");
    return 1;
  }
  std::printf("spectrum, 10 min stereo 48 kHz 16-bit drums, N = %u, best of %d interleaved runs\n",
              k_size, k_repetitions);
  std::printf("  GetSpectrum %.3f s   %zu bare kiss_fftr transforms %.3f s   (checksum %g)\n", ours,
              count, bare, checksum);
  std::printf("  overhead ratio ours / bare %.3f (target <= 1.25) %s\n", ours / bare,
              ours / bare <= 1.25 ? "met" : "MISSED");
  return 0;
}
