// The level spectrum of a file: blocks of N frames, mixed to mono, windowed, transformed, the
// largest power per bin over all blocks, then decibels rescaled to 0 / -96.3 dB.
#include <qobase/analysis/fft_helper.h>
#include <qobase/audio/audio_file_reader.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <new>

#include "analysis/real_fft.h"

namespace {

constexpr float k_floorDb = 96.3f;

inline float Square(float v) { return v * v; }

// Mixes n interleaved frames of `channels` samples to mono with gain g per channel and applies
// the window; input[n .. size-1] become 0. Mono and stereo, the common cases, get loops of
// their own so that the compiler can vectorise them.
void MixAndWindow(const float* samples, unsigned int n, unsigned int channels, float gain,
                  const float* window, float* input, unsigned int size) {
  if (channels == 1) {
    for (unsigned int i = 0; i < n; ++i) input[i] = (samples[i] * gain) * window[i];
  } else if (channels == 2) {
    for (unsigned int i = 0; i < n; ++i)
      input[i] = (samples[2 * i] * gain + samples[2 * i + 1] * gain) * window[i];
  } else {
    for (unsigned int i = 0; i < n; ++i) {
      const float* frame = samples + static_cast<size_t>(i) * channels;
      float sum = frame[0] * gain;
      for (unsigned int c = 1; c < channels; ++c) sum += frame[c] * gain;
      input[i] = sum * window[i];
    }
  }
  for (unsigned int i = n; i < size; ++i) input[i] = 0.0f;
}

// The power of bin 0 and, for 1 <= k < N/2, of bins k and N-k by the recurrence with twiddle
// (wr, wi). With F[N-k] = 0 its terms are h1r = Re/2, h1i = Im/2, h2r = Im/2, h2i = -Re/2, bit
// for bit what the full terms give (adding or subtracting a zero only changes a zero's sign,
// which squaring removes).
inline float PowerOfBinZero(float re, float im) { return Square(re - im) + Square(re + im); }

inline float LowerPower(float re, float im, float wr, float wi) {
  const float h1r = re / 2, h1i = im / 2, h2r = im / 2, h2i = -re / 2;
  return Square(h1r + wr * h2r - wi * h2i) + Square(h1i + wr * h2i + wi * h2r);
}

inline float UpperPower(float re, float im, float wr, float wi) {
  const float h1r = re / 2, h1i = im / 2, h2r = im / 2, h2i = -re / 2;
  return Square(h1r - wr * h2r + wi * h2i) + Square(-h1i + wr * h2i + wi * h2r);
}

}  // namespace

// The transform with its input, its output and the twiddle factors of the power recurrence,
// all made once per helper. The real transform writes bins 0 .. N/2 only; bins N/2+1 .. N-1 of
// the recurrence are always 0, so they are not stored and drop out of its terms.
struct FFTHelper::Context {
  explicit Context(unsigned int size)
      : fft(size),
        input(size, 0.0f),
        output(size / 2 + 1),
        twiddleReal(size / 2),
        twiddleImag(size / 2),
        upper(size / 2) {
    // (cos k*theta, sin k*theta) for k = 1 .. N/2-1 by the single-precision recurrence, so
    // every block uses exactly the values the recurrence gives.
    const float theta = 3.1415927f / static_cast<float>(size);
    const float halfSine = std::sin(theta * 0.5f);
    const float wpr = -2.0f * halfSine * halfSine;
    const float wpi = std::sin(theta);
    float wr = 1.0f + wpr, wi = wpi;
    for (unsigned int k = 1; k < size / 2; ++k) {
      twiddleReal[k] = wr;
      twiddleImag[k] = wi;
      const float next = wr + wr * wpr - wi * wpi;
      wi = wi + wi * wpr + wr * wpi;
      wr = next;
    }
  }

  // Bin k of the last transform as (re, im) pairs.
  const float* Bins() const { return reinterpret_cast<const float*>(output.data()); }

  qobase_analysis::RealFFT fft;
  std::vector<float> input;
  std::vector<std::complex<float>> output;
  std::vector<float> twiddleReal;
  std::vector<float> twiddleImag;
  std::vector<float> upper;  // P[N-k] by k, before it is written out in reverse
};

FFTHelper::FFTHelper(unsigned int size, WindowFunction windowFunction) : m_size(size) {
  try {
    m_fft.reset(new Context(size));
    if (!m_fft->fft.IsValid()) m_fft.reset();
  } catch (const std::bad_alloc&) {
    m_fft.reset();
  }
  InitWindow(windowFunction);
}

FFTHelper::~FFTHelper() = default;

bool FFTHelper::IsValid() const { return m_fft != nullptr && m_window.size() == m_size; }

float* FFTHelper::GetInput() { return m_fft ? m_fft->input.data() : nullptr; }

void FFTHelper::InitWindow(WindowFunction windowFunction) {
  try {
    m_window.resize(m_size, 0.0f);
  } catch (const std::bad_alloc&) {
    m_window.clear();
    return;
  }
  const unsigned int n = m_size;
  switch (windowFunction) {
    case Triangular: {
      const unsigned int h = n / 2;
      for (unsigned int i = 0; i < h; ++i)
        m_window[i] = static_cast<float>(i) / static_cast<float>(h);
      for (unsigned int i = h; i < 2 * h; ++i)
        m_window[i] = 1.0f - static_cast<float>(i - h) / static_cast<float>(h);
      break;
    }
    case Hamming:
      for (unsigned int i = 0; i < n; ++i) m_window[i] = qobase_analysis::HammingCoefficient(i, n);
      break;
    case Hann:
      for (unsigned int i = 0; i < n; ++i)
        m_window[i] = 0.5f * (1.0f - qobase_analysis::WindowCosine(i, n));
      break;
  }
}

unsigned int FFTHelper::PowerSpectrum(float* power) {
  if (!m_fft || power == nullptr) return 0;
  Context& fft = *m_fft;
  const unsigned int n = m_size, half = n / 2;
  fft.fft.Forward(fft.input.data(), fft.output.data());
  const float* __restrict bins = fft.Bins();
  const float* __restrict wr = fft.twiddleReal.data();
  const float* __restrict wi = fft.twiddleImag.data();
  float* __restrict out = power;
  float* __restrict upper = fft.upper.data();
  // Both halves in forward order, so that the loop vectorises; the upper one is then reversed.
  out[0] = PowerOfBinZero(bins[0], bins[1]);
  for (unsigned int k = 1; k < half; ++k) {
    out[k] = LowerPower(bins[2 * k], bins[2 * k + 1], wr[k], wi[k]);
    upper[k] = UpperPower(bins[2 * k], bins[2 * k + 1], wr[k], wi[k]);
  }
  for (unsigned int k = 1; k < half; ++k) out[n - k] = upper[k];
  out[half] = Square(bins[2 * half]) + Square(bins[2 * half + 1]);
  return half;
}

void FFTHelper::FoldLowerPowers(float* maxima) {
  Context& fft = *m_fft;
  const unsigned int half = m_size / 2;
  fft.fft.Forward(fft.input.data(), fft.output.data());
  const float* __restrict bins = fft.Bins();
  const float* __restrict wr = fft.twiddleReal.data();
  const float* __restrict wi = fft.twiddleImag.data();
  float* __restrict out = maxima;
  const float zero = PowerOfBinZero(bins[0], bins[1]);
  out[0] = zero > out[0] ? zero : out[0];
  for (unsigned int k = 1; k < half; ++k) {
    const float p = LowerPower(bins[2 * k], bins[2 * k + 1], wr[k], wi[k]);
    out[k] = p > out[k] ? p : out[k];
  }
}

bool FFTHelper::GetSpectrum(const CStdStr& path, std::vector<float>& spectrum,
                            unsigned int& sampleRate, QO::Sonvo::IProgress* progress) {
  if (!IsValid()) return false;
  const std::unique_ptr<QoAudioFileReader> reader(QoAudioFileReader::Create(path.c_str()));
  if (!reader) return false;
  return GetSpectrum(*reader, spectrum, sampleRate, progress);
}

bool FFTHelper::GetSpectrum(QoAudioFileReader& reader, std::vector<float>& spectrum,
                            unsigned int& sampleRate, QO::Sonvo::IProgress* progress) {
  if (!IsValid() || !reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) return false;
  reader.SeekToAudioFrame(0);
  const uint64_t total = reader.GetNumFrames();
  const WaveFormatExtensible& format = *reader.GetFormat();
  const unsigned int channels = format.nChannels;
  sampleRate = format.nSamplesPerSec;
  if (channels == 0) return false;

  const unsigned int n = m_size, half = n / 2;
  std::vector<float> samples;
  try {
    spectrum.resize(half, 0.0f);
    samples.assign(static_cast<size_t>(n) * channels, 0.0f);
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (progress) progress->SetRange(0, static_cast<uint32_t>(total));

  const float gain = 1.0f / std::sqrt(static_cast<float>(channels));
  float* input = m_fft->input.data();
  // The position advances by N/2 per block while the reads advance by N frames, so the second
  // half of the blocks reads nothing. A block of nothing has power 0 everywhere; the first one
  // is applied, and every later one would change nothing, so its transform is skipped.
  bool silentBlockApplied = false;
  uint64_t position = 0;
  do {
    unsigned int got = reader.ReadPCMDataAsFloat32(n, samples.data());
    if (got > n) got = n;
    if (got > 0 || !silentBlockApplied) {
      MixAndWindow(samples.data(), got, channels, gain, m_window.data(), input, n);
      FoldLowerPowers(spectrum.data());
      if (got == 0) silentBlockApplied = true;
    }
    position += half;
    if (progress) {
      progress->SetPosition(static_cast<uint32_t>(position));
      if (progress->IsCancelled()) return false;
    }
  } while (position <= total);

  const float size = static_cast<float>(n);
  float loudest = -k_floorDb;
  for (unsigned int k = 0; k < half; ++k) {
    spectrum[k] = 10.0f * std::log10(spectrum[k] / size);
    if (spectrum[k] > loudest) loudest = spectrum[k];
  }
  const float scale = k_floorDb / (loudest + k_floorDb);
  for (unsigned int k = 0; k < half; ++k)
    spectrum[k] = (spectrum[k] + k_floorDb) * scale - k_floorDb;
  return true;
}

float FFTHelper::FindMaximumFrequency(const std::vector<float>& spectrum, unsigned int sampleRate,
                                      double threshold) {
  const size_t bins = spectrum.size();
  for (size_t k = bins; k-- > 0;) {
    if (static_cast<double>(spectrum[k]) > threshold) {
      const uint32_t product = static_cast<uint32_t>(k) * sampleRate;
      return static_cast<float>(static_cast<double>(product) / (2.0 * static_cast<double>(bins)));
    }
  }
  return 0.0f;
}
