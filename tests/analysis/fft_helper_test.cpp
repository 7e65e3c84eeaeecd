#include <gtest/gtest.h>
#include <qobase/analysis/fft_helper.h>
#include <qobase/audio/caf_reader.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "analysis/analysis_test_util.h"
#include "support/audio_synth.h"
#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

using qotest::k_pi;

const float k_minusInfinity = -std::numeric_limits<float>::infinity();

double ExpectedWindow(FFTHelper::WindowFunction function, unsigned int i, unsigned int n) {
  const double c = std::cos(2.0 * k_pi * i / (n - 1));
  const double h = n / 2;
  if (function == FFTHelper::Triangular) return i < h ? i / h : 1.0 - (i - h) / h;
  return function == FFTHelper::Hamming ? 0.53836 - 0.46164 * c : 0.5 * (1.0 - c);
}

// The power values of a transform: P[0] = 2 Re^2 (the DC bin is real), then |F[k]|^2 shared
// between k and n-k by (1 +- sin(k pi/n))/2, and |F[n/2]|^2.
std::vector<double> ExpectedPower(const std::vector<double>& input) {
  const size_t n = input.size();
  const auto f = qotest::Dft(input);
  std::vector<double> power(n);
  power[0] = 2.0 * std::norm(f[0]);
  for (size_t k = 1; k < n / 2; ++k) {
    const double s = std::sin(k * k_pi / n);
    power[k] = std::norm(f[k]) * (1.0 + s) / 2.0;
    power[n - k] = std::norm(f[k]) * (1.0 - s) / 2.0;
  }
  power[n / 2] = std::norm(f[n / 2]);
  return power;
}

// The Hann-window level spectrum of interleaved samples in dB, straight from the description:
// consecutive blocks of n frames mixed with gain 1/sqrt(channels), one block per n/2 frames of
// the file plus one, the largest power per bin, 10 log10(P/n), rescaled to 0 / -96.3 dB.
std::vector<double> ExpectedSpectrum(const std::vector<float>& samples, unsigned int channels,
                                     unsigned int n) {
  const size_t frames = samples.size() / channels;
  std::vector<double> maxima(n / 2, 0.0);
  size_t position = 0;
  for (size_t block = 0; block == 0 || position <= frames; ++block, position += n / 2) {
    std::vector<double> x(n, 0.0);
    for (size_t i = 0; i < n && block * n + i < frames; ++i) {
      for (unsigned int c = 0; c < channels; ++c) x[i] += samples[(block * n + i) * channels + c];
      x[i] *= ExpectedWindow(FFTHelper::Hann, i, n) / std::sqrt(channels);
    }
    const auto power = ExpectedPower(x);
    for (size_t k = 0; k < n / 2; ++k) maxima[k] = std::max(maxima[k], power[k]);
  }
  double loudest = -96.3;
  for (double& m : maxima) loudest = std::max(loudest, m = 10.0 * std::log10(m / n));
  for (double& m : maxima) m = (m + 96.3) * (96.3 / (loudest + 96.3)) - 96.3;
  return maxima;
}

class RecordingProgress : public QO::Sonvo::IProgress {
 public:
  explicit RecordingProgress(int cancelAt) : m_cancelAt(cancelAt) {}
  void SetRange(uint32_t lower, uint32_t upper) override {
    calls += "range " + std::to_string(lower) + "-" + std::to_string(upper) + ";";
  }
  void SetPosition(uint32_t current) override { calls += " " + std::to_string(current); }
  bool IsCancelled() override { return calls += "?", ++m_asked == m_cancelAt; }
  std::string calls;

 private:
  int m_cancelAt;
  int m_asked = 0;
};

TEST(FFTHelper, WindowsFollowTheirFormulas) {
  for (auto function : {FFTHelper::Triangular, FFTHelper::Hamming, FFTHelper::Hann}) {
    for (unsigned int n : {2u, 8u, 1024u}) {
      const FFTHelper helper(n, function);
      ASSERT_EQ(n, helper.GetWindow().size());
      for (unsigned int i = 0; i < n; ++i)
        EXPECT_NEAR(ExpectedWindow(function, i, n), helper.GetWindow()[i], 2e-6)
            << "window " << function << " of " << n << ", coefficient " << i;
    }
  }
  const FFTHelper triangular(8, FFTHelper::Triangular);
  EXPECT_EQ(0.0f, triangular.GetWindow()[0]);
  EXPECT_EQ(1.0f, triangular.GetWindow()[4]);
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
    const auto expected = ExpectedPower(std::vector<double>(noise.begin(), noise.end()));
    const double top = *std::max_element(expected.begin(), expected.end());
    for (unsigned int k = 0; k < n; ++k)
      EXPECT_NEAR(expected[k], power[k], 1e-5 * top) << "size " << n << ", bin " << k;
  }
  // Sizes the real transform refuses leave the helper without one.
  for (unsigned int n : {0u, 255u}) {
    FFTHelper helper(n, FFTHelper::Hann);
    float power[4] = {1, 2, 3, 4};
    EXPECT_FALSE(helper.IsValid());
    EXPECT_EQ(nullptr, helper.GetInput());
    EXPECT_EQ(0u, helper.PowerSpectrum(power));
    EXPECT_EQ(1.0f, power[0]);
  }
}

// Noise files of every length class for N = 256: many blocks with a partial last one, one
// block plus a block of nothing (N/2 <= T < N), a single block (T < N/2).
TEST(FFTHelper, SpectrumOfAFileMatchesTheFormulas) {
  const qotest::TempDir dir;
  const struct {
    uint16_t channels;
    size_t frames;
  } cases[] = {{1, 3000}, {2, 200}, {6, 100}};
  for (const auto& c : cases) {
    const std::vector<float> samples = qotest::Noise(c.frames * c.channels, 0.5f, 7);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("noise.wav"), c.channels, 32, 22050, samples));
    FFTHelper helper(256, FFTHelper::Hann);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    ASSERT_TRUE(helper.GetSpectrum(dir.File("noise.wav"), spectrum, rate, nullptr));
    EXPECT_EQ(22050u, rate);
    const auto expected = ExpectedSpectrum(samples, c.channels, 256);
    ASSERT_EQ(expected.size(), spectrum.size());
    for (size_t k = 0; k < expected.size(); ++k)
      EXPECT_NEAR(expected[k], spectrum[k], 0.02) << c.channels << " channels, bin " << k;
    EXPECT_NEAR(0.0, *std::max_element(spectrum.begin(), spectrum.end()), 1e-4);
  }
}

TEST(FFTHelper, SineIsFoundWithinOneBinInEveryFormat) {
  const qotest::TempDir dir;
  const unsigned int rate = 44100, n = 1024;
  for (uint16_t channels : {1, 2, 6}) {
    std::vector<float> samples(22050 * channels);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = 0.7f * std::sin(2.0 * k_pi * 1000.0 * (i / channels) / rate);
    for (uint16_t bits : {16, 24, 32}) {
      ASSERT_TRUE(qotest::WriteWavSamples(dir.File("sine.wav"), channels, bits, rate, samples));
      FFTHelper helper(n, FFTHelper::Hann);
      std::vector<float> spectrum;
      unsigned int gotRate = 0;
      ASSERT_TRUE(helper.GetSpectrum(dir.File("sine.wav"), spectrum, gotRate, nullptr));
      EXPECT_NEAR(1000.0, FFTHelper::FindMaximumFrequency(spectrum, gotRate, -6.0),
                  double(rate) / n)
          << channels << " channels, " << bits << " bits";
    }
  }
  // A CAF file read through the reader form gives the spectrum of the same 16-bit WAV file.
  std::vector<float> stereo(44100);
  for (size_t i = 0; i < stereo.size(); ++i)
    stereo[i] = (i % 2 ? 0.3f : 0.6f) * std::sin(2.0 * k_pi * 3000.0 * (i / 2) / rate);
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("sine.wav"), 2, 16, rate, stereo));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("sine.caf"), qotest::Caf16(2, rate, stereo)));
  FFTHelper helper(n, FFTHelper::Hann);
  std::vector<float> fromWav, fromCaf;
  unsigned int wavRate = 0, cafRate = 0;
  QoCAFFileReader caf;
  ASSERT_TRUE(caf.Open(dir.File("sine.caf").c_str()));
  ASSERT_TRUE(helper.GetSpectrum(caf, fromCaf, cafRate, nullptr));
  ASSERT_TRUE(helper.GetSpectrum(dir.File("sine.wav"), fromWav, wavRate, nullptr));
  EXPECT_EQ(fromWav, fromCaf);
  EXPECT_EQ(rate, cafRate);
}

// Silence, no frames at all, and 8-bit samples (which the reader leaves unconverted) all give
// a spectrum of -infinity: the log of zero power, which the rescaling keeps.
TEST(FFTHelper, SilenceGivesMinusInfinityEverywhere) {
  const qotest::TempDir dir;
  const std::string eightBit =
      qotest::WaveFile(false, qotest::ByteBuilder()
                                  .Chunk("fmt ", qotest::FmtBody(false, 1, 1, 8000, 8))
                                  .Chunk("data", std::string(3000, '\x10'))
                                  .Bytes());
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("eight.wav"), eightBit));
  ASSERT_TRUE(
      qotest::WriteWavSamples(dir.File("silent.wav"), 2, 16, 8000, std::vector<float>(6000, 0.0f)));
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("empty.wav"), 1, 16, 8000, {}));
  for (const char* name : {"eight.wav", "silent.wav", "empty.wav"}) {
    FFTHelper helper(64, FFTHelper::Hamming);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    ASSERT_TRUE(helper.GetSpectrum(dir.File(name), spectrum, rate, nullptr)) << name;
    EXPECT_EQ(std::vector<float>(32, k_minusInfinity), spectrum) << name;
    EXPECT_EQ(8000u, rate);
  }
}

TEST(FFTHelper, BadInputFailsAndLeavesTheSpectrum) {
  const qotest::TempDir dir;
  std::vector<float> tone(4000);
  for (size_t i = 0; i < tone.size(); ++i) tone[i] = 0.5f * std::sin(0.3 * i);
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("tone.wav"), 1, 16, 8000, tone));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("text.wav"), "just some text, no audio"));
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("cut.wav"),
      qotest::WaveFile(
          false, qotest::ByteBuilder().ChunkWithSize("fmt ", 16, std::string(6, '\x01')).Bytes())));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tone.caf"), qotest::Caf16(1, 8000, tone)));
  ASSERT_EQ(0, mkdir(dir.File("folder.wav").c_str(), 0755));
  const struct {
    const char* name;
    unsigned int size;
  } cases[] = {{"missing.wav", 64}, {"text.wav", 64}, {"cut.wav", 64}, {"folder.wav", 64},
               {"tone.caf", 64},    {"tone.wav", 0},  {"tone.wav", 63}};
  for (const auto& c : cases) {
    FFTHelper helper(c.size, FFTHelper::Hann);
    std::vector<float> spectrum = {1, 2, 3};
    unsigned int rate = 5;
    EXPECT_FALSE(helper.GetSpectrum(dir.File(c.name), spectrum, rate, nullptr)) << c.name;
    EXPECT_EQ(std::vector<float>({1, 2, 3}), spectrum) << c.name;
  }
}

TEST(FFTHelper, ProgressSeesEveryBlockAndCanCancel) {
  const qotest::TempDir dir;
  ASSERT_TRUE(
      qotest::WriteWavSamples(dir.File("noise.wav"), 1, 16, 8000, qotest::Noise(600, 0.5f, 3)));
  const struct {
    int cancelAt;
    bool result;
    const char* calls;
  } cases[] = {{0, true, "range 0-600; 128? 256? 384? 512? 640?"},
               {2, false, "range 0-600; 128? 256?"}};
  for (const auto& c : cases) {
    FFTHelper helper(256, FFTHelper::Hann);
    RecordingProgress progress(c.cancelAt);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    EXPECT_EQ(c.result, helper.GetSpectrum(dir.File("noise.wav"), spectrum, rate, &progress));
    EXPECT_EQ(c.calls, progress.calls);
    EXPECT_EQ(128u, spectrum.size());
  }
}

TEST(FFTHelper, MaximumFrequencyIsTheHighestBinStrictlyAboveTheThreshold) {
  const std::vector<float> spectrum = {-5, -3, -7, -20};
  EXPECT_EQ(125.0f, FFTHelper::FindMaximumFrequency(spectrum, 1000, -7.0));
  EXPECT_EQ(375.0f, FFTHelper::FindMaximumFrequency(spectrum, 1000, -100.0));
  EXPECT_EQ(0.0f, FFTHelper::FindMaximumFrequency(spectrum, 1000, -3.0));
  EXPECT_EQ(0.0f, FFTHelper::FindMaximumFrequency({}, 1000, -100.0));
  // bin * rate is taken modulo 2^32: 100000 * 50000 wraps to 705032704.
  std::vector<float> wide(100001, -200.0f);
  wide.back() = 0.0f;
  EXPECT_FLOAT_EQ(705032704.0f / 200002.0f, FFTHelper::FindMaximumFrequency(wide, 50000, -1.0));
}

}  // namespace
