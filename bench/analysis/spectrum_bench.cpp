// The level spectrum (FFTHelper::GetSpectrum, N = 2048, Hann) of ten minutes of a stereo 48 kHz
// 16-bit drum track read from disk, against the bare cost of KISS FFT real transforms on the
// same blocks (mixed and windowed beforehand, held in memory): best of several interleaved runs.
// Two baselines: the transforms GetSpectrum runs (one per block of data and one block of
// nothing), and the transforms of the plain block loop, which advances by N/2 per block and so
// also transforms every block of nothing up to twice the file's length (about twice as many).
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
                                     size_t& count, size_t& frames) {
  std::vector<float> blocks;
  QoWavFileReader reader;
  if (!reader.Open(zu::Path(path)) || !reader.ReadChunks(QO::k_chunksFormatAndData)) return blocks;
  reader.SeekToAudioFrame(0);
  frames = reader.GetNumFrames();
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
  size_t count = 0, frames = 0;
  const std::vector<float> blocks = TransformedBlocks(path, helper.GetWindow(), count, frames);
  kiss_fftr_cfg config = kiss_fftr_alloc(k_size, 0, nullptr, nullptr);
  std::vector<kiss_fft_cpx> bins(k_size / 2 + 1);
  // The plain loop runs while the position, N/2 more per block, has not passed the file's end.
  const size_t plainCount = frames / (k_size / 2) + 1;
  double checksum = 0;
  // `transforms` blocks: the data blocks, then the block of nothing for the rest.
  auto bareTransforms = [&](size_t transforms) {
    for (size_t b = 0; b < transforms; ++b) {
      kiss_fftr(config, blocks.data() + std::min(b, count - 1) * k_size, bins.data());
      checksum += bins[b % bins.size()].r;
    }
  };

  double ours = 1e30, bare = 1e30, barePlain = 1e30;
  bool ok = !blocks.empty();
  std::vector<float> spectrum;
  for (int i = 0; i < k_repetitions && ok; ++i) {
    ours = std::min(ours, Seconds([&] {
                      unsigned int rate = 0;
                      spectrum.clear();
                      ok = helper.GetSpectrum(path, spectrum, rate, nullptr);
                    }));
    bare = std::min(bare, Seconds([&] { bareTransforms(count); }));
    barePlain = std::min(barePlain, Seconds([&] { bareTransforms(plainCount); }));
  }
  kiss_fftr_free(config);
  if (!ok) {
    std::fprintf(stderr, "spectrum_bench: the analysis failed\n");
    return 1;
  }
  std::printf("spectrum, 10 min stereo 48 kHz 16-bit drums, N = %u, best of %d interleaved runs\n",
              k_size, k_repetitions);
  std::printf(
      "  GetSpectrum %.3f s   bare kiss_fftr: %zu transforms %.3f s, %zu transforms %.3f s"
      "   (checksum %g)\n",
      ours, count, bare, plainCount, barePlain, checksum);
  std::printf("  overhead ratio ours / the %zu transforms it runs %.3f (target <= 1.25) %s\n",
              count, ours / bare, ours / bare <= 1.25 ? "met" : "MISSED");
  std::printf("  ratio ours / the %zu transforms of the plain block loop %.3f\n", plainCount,
              ours / barePlain);
  return 0;
}
