// The analyses written out plainly, step by step and in single precision, with none of the
// library's shortcuts (twiddle table, dropped zero terms, skipped empty blocks, channels mixed
// once per read): the library must give the very same floats, bit for bit.
#pragma once

#include <kiss_fftr.h>
#include <qobase/audio/audio_file_reader.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace qotest {

inline float Sq(float v) { return v * v; }

// The N power values of the transform of input: all N output bins, the upper ones left zero, and
// the twiddle moved on by its recurrence after every bin pair.
inline std::vector<float> PlainPowerSpectrum(const std::vector<float>& input) {
  const unsigned int n = static_cast<unsigned int>(input.size());
  std::vector<kiss_fft_cpx> f(n, kiss_fft_cpx{0.0f, 0.0f});
  kiss_fftr_cfg config = kiss_fftr_alloc(static_cast<int>(n), 0, nullptr, nullptr);
  kiss_fftr(config, input.data(), f.data());
  kiss_fftr_free(config);
  std::vector<float> p(n);
  const float theta = 3.1415927f / static_cast<float>(n);
  const float wpr = -2.0f * std::sin(theta / 2.0f) * std::sin(theta / 2.0f);
  const float wpi = std::sin(theta);
  float wr = 1.0f + wpr, wi = wpi;
  p[0] = Sq(f[0].r - f[0].i) + Sq(f[0].r + f[0].i);
  for (unsigned int k = 1; k < n / 2; ++k) {
    const unsigned int j = n - k;
    const float h1r = (f[k].r + f[j].r) / 2, h1i = (f[k].i - f[j].i) / 2;
    const float h2r = (f[k].i + f[j].i) / 2, h2i = -(f[k].r - f[j].r) / 2;
    p[k] = Sq(h1r + wr * h2r - wi * h2i) + Sq(h1i + wr * h2i + wi * h2r);
    p[j] = Sq(h1r - wr * h2r + wi * h2i) + Sq(-h1i + wr * h2i + wi * h2r);
    const float last = wr;
    wr = wr + wr * wpr - wi * wpi;
    wi = wi + wi * wpr + last * wpi;
  }
  p[n / 2] = Sq(f[n / 2].r) + Sq(f[n / 2].i);
  return p;
}

// The level spectrum of a file with the given window: a block of N frames per N/2 of position,
// each transformed (those past the end included), the largest power per bin, then dB.
inline std::vector<float> PlainSpectrum(const std::string& path, const std::vector<float>& window) {
  const std::unique_ptr<QoAudioFileReader> reader(QoAudioFileReader::Create(path.c_str()));
  if (!reader || !reader->ReadChunks(QO::k_chunksFormatAndData)) return {};
  reader->SeekToAudioFrame(0);
  const unsigned int total = reader->GetNumFrames(), c = reader->GetFormat()->nChannels;
  const unsigned int n = static_cast<unsigned int>(window.size());
  std::vector<float> spectrum(n / 2, 0.0f), samples(n * c, 0.0f), input(n);
  const float g = 1.0f / std::sqrt(static_cast<float>(c));
  for (unsigned int p = 0; p <= total;) {
    const unsigned int got = reader->ReadPCMDataAsFloat32(n, samples.data());
    for (unsigned int i = 0; i < n; ++i) {
      float sum = 0.0f;
      for (unsigned int ch = 0; i < got && ch < c; ++ch) sum += samples[i * c + ch] * g;
      input[i] = i < got ? sum * window[i] : 0.0f;
    }
    const std::vector<float> power = PlainPowerSpectrum(input);
    for (unsigned int k = 0; k < n / 2; ++k) spectrum[k] = std::max(spectrum[k], power[k]);
    p += n / 2;
  }
  float m = -96.3f;
  for (float& s : spectrum) m = std::max(m, s = 10.0f * std::log10(s / static_cast<float>(n)));
  for (float& s : spectrum) s = (s + 96.3f) * (96.3f / (m + 96.3f)) - 96.3f;
  return spectrum;
}

// The onset flux of a file: the interleaved buffer of C x 34816 frames, the priming frame, the
// first hop + 1024 frames at its end, chunks of whole hops, the channel mean taken per frame made.
inline std::vector<float> PlainFlux(const std::string& path) {
  const std::unique_ptr<QoAudioFileReader> reader(QoAudioFileReader::Create(path.c_str()));
  if (!reader || !reader->ReadChunks(QO::k_chunksFormatAndData)) return {};
  const unsigned int c = reader->GetFormat()->nChannels,
                     h = reader->GetFormat()->nSamplesPerSec / 100;
  const unsigned int frames = reader->GetNumFrames(), n = 2048, bins = n / 2 + 1;
  if (frames < h + n) return {};
  std::vector<float> window(n), input(n), current(bins, 0.0f), previous(bins, 0.0f), flux;
  float sum = 0.0f;
  for (unsigned int i = 0; i < n; ++i)
    sum += window[i] = 0.53836f - 0.46164f * std::cos(static_cast<float>(i) * (6.2831855f / 2047));
  const float scale = 1.0f / sum;
  std::vector<float> buffer(c * 34816, 0.0f);
  std::vector<kiss_fft_cpx> out(bins);
  kiss_fftr_cfg config = kiss_fftr_alloc(n, 0, nullptr, nullptr);
  auto makeFrame = [&](unsigned int at) {
    for (unsigned int i = 0; i < n; ++i) {
      float mean = buffer[(at + i) * c];
      if (c > 1) {
        float s = 0.0f;
        for (unsigned int ch = 0; ch < c; ++ch) s += buffer[(at + i) * c + ch];
        mean = s / static_cast<float>(c);
      }
      input[i] = mean * window[i];
    }
    kiss_fftr(config, input.data(), out.data());
    for (unsigned int k = 0; k < bins; ++k)
      current[k] = scale * (out[k].r * out[k].r + out[k].i * out[k].i);
  };
  reader->SeekToAudioFrame(0);
  if (reader->ReadPCMDataAsFloat32(1024, &buffer[1024 * c]) != 0) {
    makeFrame(0);
    current.swap(previous);
    reader->SeekToAudioFrame(0);
    unsigned int r = h + 1024, used = 32768;
    if (reader->ReadPCMDataAsFloat32(h + 1024, &buffer[(33792 - h) * c]) != 0 &&
        r < frames - 1024) {
      do {
        std::memmove(buffer.data(), &buffer[used * c], 2048 * c * sizeof(float));
        const unsigned int got = reader->ReadPCMDataAsFloat32(32768 / h * h, &buffer[2048 * c]);
        if (got == 0) break;
        for (unsigned int p = 0; p < got; p += h) {
          makeFrame(p);
          float rise = 0.0f;
          for (unsigned int k = 0; k < bins; ++k) {
            const float d = current[k] - previous[k];
            rise += (std::fabs(d) + d) * 0.5f;
          }
          flux.push_back(rise);
          current.swap(previous);
        }
        r += got;
        used = got;
      } while (r < frames - 1024);
    }
  }
  kiss_fftr_free(config);
  return flux;
}

// True when both hold the same floats bit for bit.
inline bool SameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

}  // namespace qotest
