// A synthetic drum track for the analysis benchmarks: kick, snare, hi-hat and tom hits on a
// 16th-note grid at 120 beats per minute with varied velocities and a few milliseconds of
// timing jitter, over a quiet bass line and a noise floor, written as stereo 48 kHz 16-bit WAV
// by the library's writer in blocks, so files of any length are made in constant memory.
#pragma once

#include <qobase/audio/wav_file_writer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace qobench {

constexpr unsigned int k_drumRate = 48000;

class DrumTrack {
 public:
  DrumTrack() {
    // One waveform per instrument, made once; hits are scaled copies of them.
    m_kick = Voice(0.40, [](double t, double n) {
      return std::sin(2 * M_PI * (50 * t + 60 * (1 - std::exp(-t * 30)) / 30)) * std::exp(-t * 9) +
             0.2 * n * std::exp(-t * 200);
    });
    m_snare = Voice(0.25, [](double t, double n) {
      return 0.55 * n * std::exp(-t * 18) + 0.4 * std::sin(2 * M_PI * 190 * t) * std::exp(-t * 25);
    });
    m_hat = Voice(0.08, [](double t, double n) { return 0.35 * n * std::exp(-t * 60); });
    m_tom = Voice(0.30, [](double t, double n) {
      return 0.7 * std::sin(2 * M_PI * (120 - 40 * t) * t) * std::exp(-t * 12) +
             0.05 * n * std::exp(-t * 80);
    });
  }

  // Interleaved stereo frames [first, first + count).
  void Render(uint64_t first, unsigned int count, std::vector<float>& out) const {
    out.assign(static_cast<size_t>(count) * 2, 0.0f);
    const uint64_t step = k_drumRate / 8;  // a 16th note at 120 bpm
    const uint64_t firstStep = first / step > 4 ? first / step - 4 : 0;
    for (uint64_t s = firstStep; s * step < first + count; ++s) {
      uint32_t h = Hash(static_cast<uint32_t>(s));
      const uint64_t at = s * step + h % 240;  // up to 5 ms late
      const float velocity = 0.5f + (h >> 12) % 1000 / 2000.0f;
      const unsigned int inBar = s % 16;
      if (inBar % 4 == 0 || (inBar == 10 && h % 3 == 0))
        Add(m_kick, at, velocity, 0.5f, first, out);
      if (inBar == 4 || inBar == 12) Add(m_snare, at, velocity, 0.45f, first, out);
      if (inBar % 2 == 0 || h % 5 == 0) Add(m_hat, at, velocity * 0.8f, 0.7f, first, out);
      if (s % 64 >= 60) Add(m_tom, at, velocity, 0.3f + 0.1f * (s % 4), first, out);
    }
    // A quiet bass line, one note per bar, and a noise floor.
    for (unsigned int i = 0; i < count; ++i) {
      const uint64_t n = first + i;
      const double pitch =
          55.0 * std::pow(2.0, (Hash(static_cast<uint32_t>(n / (step * 16))) % 7) / 12.0);
      const float bass = 0.08f * static_cast<float>(std::sin(2 * M_PI * pitch * n / k_drumRate));
      const float floor =
          0.002f * (static_cast<float>(Hash(static_cast<uint32_t>(n)) % 2001) / 1000.0f - 1.0f);
      out[2 * i] += bass + floor;
      out[2 * i + 1] += bass - floor;
    }
  }

  // Writes `seconds` of the track; false when the file cannot be written.
  bool Write(const std::string& path, double seconds) const {
    WAVEFORMATEXTENSIBLE format;
    std::memset(&format, 0, sizeof(format));
    format.wFormatTag = 1;
    format.nChannels = 2;
    format.nSamplesPerSec = k_drumRate;
    format.nBlockAlign = 4;
    format.nAvgBytesPerSec = k_drumRate * 4;
    format.wBitsPerSample = 16;
    QoWavFileWriter writer;
    if (!writer.Open(zu::Path(path), false)) return false;
    writer.SetFormat(format);
    if (!writer.WriteChunks(0)) return false;
    const uint64_t total = static_cast<uint64_t>(seconds * k_drumRate);
    std::vector<float> block;
    for (uint64_t done = 0; done < total; done += k_drumRate) {
      const unsigned int count =
          static_cast<unsigned int>(std::min<uint64_t>(k_drumRate, total - done));
      Render(done, count, block);
      if (!writer.WriteReal32AsPCMData(count, block.data())) return false;
    }
    return writer.Close();
  }

 private:
  template <typename Shape>
  static std::vector<float> Voice(double seconds, Shape shape) {
    std::vector<float> wave(static_cast<size_t>(seconds * k_drumRate));
    uint32_t state = 12345;
    for (size_t i = 0; i < wave.size(); ++i) {
      state = state * 1664525u + 1013904223u;
      const double noise = static_cast<double>(state >> 8) / 8388608.0 - 1.0;
      wave[i] = static_cast<float>(shape(static_cast<double>(i) / k_drumRate, noise));
    }
    return wave;
  }

  static uint32_t Hash(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    return x ^ (x >> 16);
  }

  // Adds a hit starting at frame `at` to the block starting at `first`, panned by `pan` (0 left,
  // 1 right).
  static void Add(const std::vector<float>& wave, uint64_t at, float velocity, float pan,
                  uint64_t first, std::vector<float>& out) {
    const uint64_t frames = out.size() / 2;
    const float left = velocity * (1.0f - pan) * 1.2f, right = velocity * pan * 1.2f;
    for (uint64_t i = at > first ? 0 : first - at; i < wave.size() && at + i < first + frames;
         ++i) {
      const size_t o = static_cast<size_t>(at + i - first) * 2;
      out[o] += wave[i] * left;
      out[o + 1] += wave[i] * right;
    }
  }

  std::vector<float> m_kick, m_snare, m_hat, m_tom;
};

}  // namespace qobench
