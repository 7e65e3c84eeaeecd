#include <gtest/gtest.h>
#include <qobase/analysis/fft_helper.h>
#include <qobase/audio/caf_reader.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "analysis/analysis_test_util.h"

namespace {

using qotest::k_pi;

double Window(FFTHelper::WindowFunction function, unsigned int i, unsigned int n) {
  const double c = std::cos(2.0 * k_pi * i / (n - 1)), h = n / 2;
  if (function == FFTHelper::Triangular) return i < h ? i / h : 1.0 - (i - h) / h;
  return function == FFTHelper::Hamming ? 0.53836 - 0.46164 * c : 0.5 * (1.0 - c);
}

// P[0] = 2 Re^2 (the DC bin is real), |F[k]|^2 shared between k and n-k by (1 +- sin(k pi/n))/2,
// and |F[n/2]|^2, in double precision.
std::vector<double> Power(const std::vector<double>& input) {
  const size_t n = input.size();
  const auto f = qotest::Dft(input);
  std::vector<double> power(n);
  power[0] = 2.0 * std::norm(f[0]);
  for (size_t k = 1; k < n / 2; ++k) {
    power[k] = std::norm(f[k]) * (1.0 + std::sin(k * k_pi / n)) / 2.0;
    power[n - k] = std::norm(f[k]) * (1.0 - std::sin(k * k_pi / n)) / 2.0;
  }
  power[n / 2] = std::norm(f[n / 2]);
  return power;
}

// The Hann level spectrum in dB: consecutive blocks of n frames mixed with gain 1/sqrt(channels),
// one block per n/2 frames of the file plus one, the largest power per bin, 10 log10(P/n),
// rescaled to 0 / -96.3 dB.
std::vector<double> Spectrum(const std::vector<float>& samples, unsigned int channels,
                             unsigned int n) {
  const size_t frames = samples.size() / channels;
  std::vector<double> maxima(n / 2, 0.0);
  for (size_t block = 0; block == 0 || block * n / 2 <= frames; ++block) {
    std::vector<double> x(n, 0.0);
    for (size_t i = 0, f = block * n; i < n && f < frames; ++i, ++f) {
      for (unsigned int c = 0; c < channels; ++c) x[i] += samples[f * channels + c];
      x[i] *= Window(FFTHelper::Hann, i, n) / std::sqrt(channels);
    }
    const auto power = Power(x);
    for (size_t k = 0; k < n / 2; ++k) maxima[k] = std::max(maxima[k], power[k]);
  }
  double loudest = -96.3;
  for (double& m : maxima) loudest = std::max(loudest, m = 10.0 * std::log10(m / n));
  for (double& m : maxima) m = (m + 96.3) * (96.3 / (loudest + 96.3)) - 96.3;
  return maxima;
}

TEST(FFTHelper, WindowsFollowTheirFormulas) {
  for (auto function : {FFTHelper::Triangular, FFTHelper::Hamming, FFTHelper::Hann}) {
    for (unsigned int n : {2u, 8u, 1024u}) {
      const FFTHelper helper(n, function);
      ASSERT_EQ(n, helper.GetWindow().size());
      for (unsigned int i = 0; i < n; ++i)
        EXPECT_NEAR(Window(function, i, n), helper.GetWindow()[i], 2e-6) << function << n << i;
    }
  }
  EXPECT_EQ(1.0f, FFTHelper(8, FFTHelper::Triangular).GetWindow()[4]);
  // A value outside the table keeps what the window held: zeros after construction.
  FFTHelper helper(8, static_cast<FFTHelper::WindowFunction>(3));
  EXPECT_EQ(std::vector<float>(8, 0.0f), helper.GetWindow());
  helper.InitWindow(FFTHelper::Hann);
  const std::vector<float> hann = helper.GetWindow();
  helper.InitWindow(static_cast<FFTHelper::WindowFunction>(-1));
  EXPECT_EQ(hann, helper.GetWindow());
}

TEST(FFTHelper, PowerSpectrumMatchesTheTransformOfItsInput) {
  for (unsigned int n : {2u, 4u, 64u, 1024u}) {
    FFTHelper helper(n, FFTHelper::Hann);
    const std::vector<float> noise = qotest::Noise(n, 1.0f, n);
    std::copy(noise.begin(), noise.end(), helper.GetInput());
    std::vector<float> power(n, -1.0f);
    ASSERT_EQ(n / 2, helper.PowerSpectrum(power.data()));
    const auto expected = Power(std::vector<double>(noise.begin(), noise.end()));
    const double top = *std::max_element(expected.begin(), expected.end());
    for (unsigned int k = 0; k < n; ++k) EXPECT_NEAR(expected[k], power[k], 1e-5 * top) << n << k;
  }
  float power[1] = {1};  // a size the real transform refuses: nothing written
  EXPECT_EQ(0u, FFTHelper(255, FFTHelper::Hann).PowerSpectrum(power));
}

// Noise for N = 256: many blocks and a partial last one, one block plus a block of nothing
// (N/2 <= T < N), a single block (T < N/2).
TEST(FFTHelper, SpectrumOfAFileMatchesTheFormulas) {
  const qotest::TempDir dir;
  for (const auto& c : {std::make_pair(1u, 3000u), {2u, 200u}, {6u, 100u}}) {
    const std::vector<float> samples = qotest::Noise(c.first * c.second, 0.5f, 7);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), c.first, 32, 22050, samples));
    FFTHelper helper(256, FFTHelper::Hann);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    ASSERT_TRUE(helper.GetSpectrum(dir.File("n.wav"), spectrum, rate, nullptr));
    EXPECT_EQ(22050u, rate);
    const auto expected = Spectrum(samples, c.first, 256);
    ASSERT_EQ(expected.size(), spectrum.size());
    for (size_t k = 0; k < expected.size(); ++k)
      EXPECT_NEAR(expected[k], spectrum[k], 0.02) << c.first << " channels, bin " << k;
  }
}

TEST(FFTHelper, SineIsFoundWithinOneBinInEveryFormat) {
  const qotest::TempDir dir;
  const unsigned int rate = 44100;
  std::vector<float> fromWav, fromCaf;
  for (const auto& c : {std::make_pair(1, 16), {2, 24}, {6, 32}, {2, 16}}) {
    std::vector<float> samples(22050 * c.first);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = 0.7f * std::sin(2.0 * k_pi * 1000.0 * (i / c.first) / rate);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("s.wav"), c.first, c.second, rate, samples));
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File("s.caf"), qotest::Caf16(c.first, rate, samples)));
    FFTHelper helper(1024, FFTHelper::Hann);
    unsigned int gotRate = 0;
    ASSERT_TRUE(helper.GetSpectrum(dir.File("s.wav"), fromWav, gotRate, nullptr));
    EXPECT_NEAR(1000.0, FFTHelper::FindMaximumFrequency(fromWav, gotRate, -6.0), rate / 1024.0)
        << c.first << " channels, " << c.second << " bits";
    QoCAFFileReader caf;  // the reader form; as 16-bit WAV it gives the same spectrum
    ASSERT_TRUE(caf.Open(dir.File("s.caf").c_str()));
    fromCaf.clear();
    ASSERT_TRUE(helper.GetSpectrum(caf, fromCaf, gotRate, nullptr));
    if (c.second == 16) {
      EXPECT_EQ(fromWav, fromCaf);
    }
  }
}

// Silence, no frames and 8-bit samples (which the reader leaves unconverted) give the log of
// zero power everywhere; files without a readable format or data, the CAF name (the factory
// opens WAV names only) and refused sizes fail and leave the spectrum as it was.
TEST(FFTHelper, SilenceAndBadInput) {
  const qotest::TempDir dir;
  qotest::WriteUnusableFiles(dir);
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("silent.wav"), 2, 16, 8000, {0, 0, 0, 0, 0, 0}));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tone.caf"), qotest::Caf16(1, 8000, {0.5f, 0.2f})));
  const float minusInfinity = -std::numeric_limits<float>::infinity();
  const struct {
    const char* name;
    unsigned int size;
    bool result;
  } cases[] = {{"silent.wav", 64, true},   {"empty.wav", 64, true}, {"eight.wav", 64, true},
               {"missing.wav", 64, false}, {"text.wav", 64, false}, {"cut.wav", 64, false},
               {"folder.wav", 64, false},  {"tone.caf", 64, false}, {"silent.wav", 0, false},
               {"silent.wav", 63, false}};
  for (const auto& c : cases) {
    FFTHelper helper(c.size, FFTHelper::Hamming);
    std::vector<float> spectrum = c.result ? std::vector<float>() : std::vector<float>({1, 2, 3});
    unsigned int rate = 0;
    EXPECT_EQ(c.result, helper.GetSpectrum(dir.File(c.name), spectrum, rate, nullptr)) << c.name;
    EXPECT_EQ(c.result ? std::vector<float>(32, minusInfinity) : std::vector<float>({1, 2, 3}),
              spectrum)
        << c.name << " " << c.size;
  }
}

// Records every call; answers "cancelled" at the given question.
struct RecordingProgress : QO::Sonvo::IProgress {
  explicit RecordingProgress(int cancelAt) : cancelAt(cancelAt) {}
  void SetRange(uint32_t lo, uint32_t hi) override {
    calls += std::to_string(lo) + "-" + std::to_string(hi) + ":";
  }
  void SetPosition(uint32_t current) override { calls += " " + std::to_string(current); }
  bool IsCancelled() override { return calls += "?", --cancelAt == 0; }
  std::string calls;
  int cancelAt;
};

// 512 frames are four half blocks: the position reaches 512 and one more block follows.
TEST(FFTHelper, ProgressSeesEveryBlockAndCanCancel) {
  const qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), 1, 16, 8000, qotest::Noise(512, 0.5f, 3)));
  for (const auto& c : {std::make_pair(0, "0-512: 128? 256? 384? 512? 640?"),
                        std::make_pair(2, "0-512: 128? 256?")}) {
    FFTHelper helper(256, FFTHelper::Hann);
    RecordingProgress progress(c.first);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    EXPECT_EQ(c.first == 0, helper.GetSpectrum(dir.File("n.wav"), spectrum, rate, &progress));
    EXPECT_EQ(c.second, progress.calls);
    EXPECT_EQ(128u, spectrum.size());
  }
}

TEST(FFTHelper, MaximumFrequencyIsTheHighestBinStrictlyAboveTheThreshold) {
  const std::vector<float> spectrum = {-5, -3, -7, -20};
  EXPECT_EQ(125.0f, FFTHelper::FindMaximumFrequency(spectrum, 1000, -7.0));
  EXPECT_EQ(375.0f, FFTHelper::FindMaximumFrequency(spectrum, 1000, -100.0));
  EXPECT_EQ(0.0f, FFTHelper::FindMaximumFrequency(spectrum, 1000, -3.0));
  EXPECT_EQ(0.0f, FFTHelper::FindMaximumFrequency({}, 1000, -100.0));
  std::vector<float> wide(100001, -200.0f);  // 100000 * 50000 wraps to 705032704
  wide.back() = 0.0f;
  EXPECT_FLOAT_EQ(705032704.0f / 200002.0f, FFTHelper::FindMaximumFrequency(wide, 50000, -1.0));
}

}  // namespace
