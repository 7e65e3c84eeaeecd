// FFTHelper: windows, the power spectrum, the level spectrum of a file, the highest frequency.
#include <gtest/gtest.h>
#include <qobase/analysis/fft_helper.h>
#include <qobase/audio/caf_reader.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "analysis/analysis_test_util.h"
#include "analysis/plain_recipes.h"

namespace {

using qotest::k_pi;

double Window(FFTHelper::WindowFunction function, unsigned int i, unsigned int n) {
  const double c = std::cos(2.0 * k_pi * i / (n - 1)), h = n / 2;
  if (function == FFTHelper::Triangular) return i < h ? i / h : 1.0 - (i - h) / h;
  return function == FFTHelper::Hamming ? 0.53836 - 0.46164 * c : 0.5 * (1.0 - c);
}

// In double precision: P[0] = 2 Re^2 (the DC bin is real), |F[k]|^2 shared between k and n-k by
// (1 +- sin(k pi/n))/2, and |F[n/2]|^2.
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

// The level spectrum in dB, in double precision: consecutive blocks of n frames mixed with gain
// 1/sqrt(channels), one block per n/2 frames of the file plus one, the largest power per bin,
// 10 log10(P/n), rescaled to 0 / -96.3 dB.
std::vector<double> Spectrum(const std::vector<float>& samples, unsigned int channels,
                             unsigned int n, FFTHelper::WindowFunction window) {
  const size_t frames = samples.size() / channels;
  std::vector<double> maxima(n / 2, 0.0);
  for (size_t block = 0; block == 0 || block * n / 2 <= frames; ++block) {
    std::vector<double> x(n, 0.0);
    for (size_t i = 0, f = block * n; i < n && f < frames; ++i, ++f) {
      for (unsigned int c = 0; c < channels; ++c) x[i] += samples[f * channels + c];
      x[i] *= Window(window, i, n) / std::sqrt(channels);
    }
    const auto power = Power(x);
    for (size_t k = 0; k < n / 2; ++k) maxima[k] = std::max(maxima[k], power[k]);
  }
  double loudest = -96.3;
  for (double& m : maxima) loudest = std::max(loudest, m = 10.0 * std::log10(m / n));
  for (double& m : maxima) m = (m + 96.3) * (96.3 / (loudest + 96.3)) - 96.3;
  return maxima;
}

// The windows' coefficients are checked with the file spectra below; here, the exact points.
TEST(FFTHelper, WindowEndsAndValuesOutsideTheTable) {
  EXPECT_EQ(1.0f, FFTHelper(8, FFTHelper::Triangular).GetWindow()[4]);
  EXPECT_EQ(0.0f, FFTHelper(8, FFTHelper::Hann).GetWindow()[0]);
  FFTHelper helper(8, static_cast<FFTHelper::WindowFunction>(3));
  EXPECT_EQ(std::vector<float>(8, 0.0f), helper.GetWindow());
  helper.InitWindow(FFTHelper::Hann);
  const std::vector<float> hann = helper.GetWindow();
  helper.InitWindow(static_cast<FFTHelper::WindowFunction>(-1));
  EXPECT_EQ(hann, helper.GetWindow());
}

// Sizes with one, two and many bin pairs (6 is not a power of two); noise, a tone, an impulse:
// bit for bit the plain recurrence, and the formulas within 1e-5 of the largest power.
TEST(FFTHelper, PowerSpectrumIsThePlainRecurrence) {
  for (unsigned int n : {2u, 4u, 6u, 64u, 2048u}) {
    FFTHelper helper(n, FFTHelper::Hann);
    for (int signal = 0; signal < 3; ++signal) {
      std::vector<float> input = qotest::Noise(n, 3.0f, n + signal);
      for (unsigned int i = 0; signal > 0 && i < n; ++i)
        input[i] = signal == 1 ? std::sin(0.37f * i) * 0.25f : (i == n / 3 ? 1.0f : 0.0f);
      std::copy(input.begin(), input.end(), helper.GetInput());
      std::vector<float> power(n);
      ASSERT_EQ(n / 2, helper.PowerSpectrum(power.data()));
      EXPECT_TRUE(qotest::SameBits(qotest::PlainPowerSpectrum(input), power)) << n << " " << signal;
      if (n == 6) continue;  // the reference transform takes powers of two
      const auto expected = Power(std::vector<double>(input.begin(), input.end()));
      const double top = *std::max_element(expected.begin(), expected.end());
      for (unsigned int k = 0; k < n; ++k) ASSERT_NEAR(expected[k], power[k], 1e-5 * top) << n;
    }
  }
  float power[1] = {1};  // a size the real transform refuses: nothing written
  EXPECT_EQ(0u, FFTHelper(255, FFTHelper::Hann).PowerSpectrum(power));
  EXPECT_EQ(1.0f, power[0]);
}

// Every channel count, width and window; many blocks with a partial last one, one block and a
// block of nothing (N/2 <= T < N), a single block (T < N/2). The window within 2e-6 of its
// formula; the spectrum bit for bit the plain recipe, and the formulas within 0.02 dB.
TEST(FFTHelper, FileSpectrumIsThePlainRecipe) {
  const qotest::TempDir dir;
  const struct {
    uint16_t channels, bits;
    unsigned int frames, size;
    FFTHelper::WindowFunction window;
  } cases[] = {{1, 16, 9000, 2048, FFTHelper::Hann},     {2, 24, 3000, 256, FFTHelper::Hamming},
               {6, 32, 200, 256, FFTHelper::Triangular}, {2, 32, 100, 256, FFTHelper::Hann},
               {1, 32, 1000, 2, FFTHelper::Hamming},     {1, 32, 1000, 8, FFTHelper::Triangular}};
  for (const auto& c : cases) {
    std::vector<float> samples = qotest::Noise(c.frames * c.channels, 0.9f, c.frames);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] *= static_cast<float>(i % 700) / 700;
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), c.channels, c.bits, 48000, samples));
    FFTHelper helper(c.size, c.window);
    for (unsigned int i = 0; i < c.size; ++i)
      ASSERT_NEAR(Window(c.window, i, c.size), helper.GetWindow()[i], 2e-6) << c.window << " " << i;
    std::vector<float> spectrum;
    unsigned int rate = 0;
    ASSERT_TRUE(helper.GetSpectrum(dir.File("n.wav"), spectrum, rate, nullptr));
    EXPECT_EQ(48000u, rate);
    EXPECT_TRUE(
        qotest::SameBits(qotest::PlainSpectrum(dir.File("n.wav"), helper.GetWindow()), spectrum))
        << c.channels << " channels, N = " << c.size;
    const auto expected = Spectrum(samples, c.channels, c.size, c.window);
    for (size_t k = 0; k < expected.size(); ++k)
      ASSERT_NEAR(expected[k], spectrum[k], 0.02) << c.channels << " channels, bin " << k;
  }
}

// The WAV reader made by the factory and, through the reader form, CAF (which as 16 bits gives
// the very same spectrum).
TEST(FFTHelper, SineIsFoundWithinOneBinInEveryFormat) {
  const qotest::TempDir dir;
  const unsigned int rate = 44100;
  for (const auto& c : {std::make_pair(1, 16), {2, 24}, {6, 32}, {2, 16}}) {
    std::vector<float> samples(22050 * c.first), fromWav, fromCaf;
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = 0.7f * std::sin(2.0 * k_pi * 1000.0 * (i / c.first) / rate);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("s.wav"), c.first, c.second, rate, samples));
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File("s.caf"), qotest::Caf16(c.first, rate, samples)));
    FFTHelper helper(1024, FFTHelper::Hann);
    unsigned int gotRate = 0;
    ASSERT_TRUE(helper.GetSpectrum(dir.File("s.wav"), fromWav, gotRate, nullptr));
    EXPECT_NEAR(1000.0, FFTHelper::FindMaximumFrequency(fromWav, gotRate, -6.0), rate / 1024.0)
        << c.first << " channels, " << c.second << " bits";
    QoCAFFileReader caf;
    ASSERT_TRUE(caf.Open(dir.File("s.caf").c_str()));
    ASSERT_TRUE(helper.GetSpectrum(caf, fromCaf, gotRate, nullptr));
    EXPECT_TRUE(c.second != 16 || fromWav == fromCaf) << c.first << " channels";
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
  void SetPosition(uint32_t current) override {
    calls += " " + std::to_string(current);
    ++positions;
  }
  bool IsCancelled() override { return calls += "?", --cancelAt == 0; }
  std::string calls;
  int cancelAt;
  unsigned int positions = 0;
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

// Counts the reads of a CAF reader.
struct CountingCafReader : QoCAFFileReader {
  unsigned int ReadPCMDataAsFloat32(unsigned int frames, float* out) override {
    return ++reads, QoCAFFileReader::ReadPCMDataAsFloat32(frames, out);
  }
  unsigned int reads = 0;
};

// A CAF that claims 2^32 - 1 frames and holds 40000. Without progress the reads stop at the end
// of the data: 157 blocks of 256 frames and one of nothing. With progress every position is
// still reported, up to 2^32 and past it (no 32-bit wrap), and the loop ends.
TEST(FFTHelper, AFileClaimingFourBillionFramesCostsWhatItHolds) {
  const qotest::TempDir dir;
  const std::vector<float> noise = qotest::Noise(40000, 0.5f, 5);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("h.caf"),
                                     qotest::Caf16(1, 44100, noise, 0x1FFFFFFFEull + 4)));
  for (const unsigned int size : {256u, 65536u}) {
    CountingCafReader caf;
    ASSERT_TRUE(caf.Open(dir.File("h.caf").c_str()));
    FFTHelper helper(size, FFTHelper::Hann);
    RecordingProgress progress(0);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    ASSERT_TRUE(helper.GetSpectrum(caf, spectrum, rate, size == 256 ? nullptr : &progress));
    EXPECT_EQ(0xFFFFFFFFu, caf.GetNumFrames());
    EXPECT_EQ(size == 256 ? 158u : 2u, caf.reads);
    EXPECT_EQ(size == 256 ? 0u : 131072u, progress.positions);
    EXPECT_NEAR(0.0, *std::max_element(spectrum.begin(), spectrum.end()), 1e-4);
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
