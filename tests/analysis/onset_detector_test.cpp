#include <gtest/gtest.h>
#include <qobase/analysis/onset_detector.h>
#include <qobase/audio/caf_reader.h>

#include <cmath>
#include <string>
#include <vector>

#include "analysis/analysis_test_util.h"

namespace {

using qotest::k_pi;

// The flux straight from the description, in double precision: 2048-frame frames of the
// channel mean centred on 0, h, 2h, ... (zeros outside the file), Hamming window, power scaled
// by 1 / the window's sum, and the summed rise of every bin from one frame to the next.
std::vector<double> ExpectedFlux(const std::vector<float>& samples, unsigned int channels,
                                 unsigned int rate, size_t count) {
  const long frames = static_cast<long>(samples.size() / channels), hop = rate / 100;
  std::vector<double> window(2048), previous, flux;
  double sum = 0;
  for (int i = 0; i < 2048; ++i)
    sum += window[i] = 0.53836 - 0.46164 * std::cos(2 * k_pi * i / 2047);
  for (size_t t = 0; t <= count; ++t) {
    std::vector<double> x(2048, 0.0), power(1025);
    for (long i = 0, f = static_cast<long>(t) * hop - 1024; i < 2048; ++i, ++f) {
      for (unsigned int c = 0; f >= 0 && f < frames && c < channels; ++c)
        x[i] += samples[f * channels + c] / channels;
      x[i] *= window[i];
    }
    const auto bins = qotest::Dft(x);
    double rise = 0;
    for (size_t k = 0; k < power.size(); ++k) {
      power[k] = std::norm(bins[k]) / sum;
      if (t > 0) rise += std::max(0.0, power[k] - previous[k]);
    }
    if (t > 0) flux.push_back(rise);
    previous.swap(power);
  }
  return flux;
}

// Decaying noise bursts (clicks) or decaying tones starting at the given times, on every channel.
std::vector<float> Hits(const std::vector<double>& times, bool tones, unsigned int channels,
                        unsigned int rate, double seconds) {
  std::vector<float> samples(static_cast<size_t>(seconds * rate) * channels, 0.0f);
  const std::vector<float> noise = qotest::Noise(rate / 2, 0.8f, 11);
  for (double start : times) {
    const size_t at = static_cast<size_t>(start * rate);
    for (size_t i = 0; i < rate / 2 && (at + i) * channels < samples.size(); ++i) {
      const double d = static_cast<double>(i);
      const float v = tones
                          ? 0.6 * std::sin(2 * k_pi * 660 * d / rate) * std::exp(-d / (0.08 * rate))
                          : noise[i] * std::exp(-d / (0.0015 * rate));
      for (unsigned int c = 0; c < channels; ++c) samples[(at + i) * channels + c] += v;
    }
  }
  return samples;
}

// Value t of the flux is timed t * hop but measures the rise into the frame centred on
// (t+1) * hop, and a frame reaches 1024 frames ahead of its centre: a marker therefore comes at
// most `hops` hops before its onset, never after it.
void ExpectOnsetsLeadBy(const std::vector<double>& onsets, double hops, QoOnsetDetector& detector,
                        const std::string& what) {
  std::vector<double> times;
  detector.GetMarkerTimes(times, 1.0f);
  ASSERT_EQ(onsets.size(), times.size()) << what;
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_LE(times[i], onsets[i] + 1e-9) << what << ", onset " << i;
    EXPECT_GE(times[i], onsets[i] - hops * 0.01 - 1e-9) << what << ", onset " << i;
  }
}

const std::vector<double> k_hitTimes = {0.253, 0.807, 1.3045, 1.751};

// The first hop + 2049 frames give the first values; past one chunk, the reads decide.
TEST(OnsetDetector, FluxLengthFollowsTheHopAndChunkArithmetic) {
  const qotest::TempDir dir;
  const struct {
    unsigned int rate, frames, values;
  } cases[] = {{44100, 2489, 0}, {44100, 2490, 3}, {48000, 35168, 68}, {48000, 35169, 71}};
  for (const auto& c : cases) {
    const std::vector<float> noise = qotest::Noise(c.frames, 0.5f, 1);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), 1, 16, c.rate, noise));
    QoOnsetDetector detector;
    std::vector<float> flux;
    detector.SpectralFluxFromFile(dir.File("n.wav"), flux);
    EXPECT_EQ(c.values, flux.size()) << c.frames;
    EXPECT_EQ(c.rate / 100, detector.GetHop());
    EXPECT_EQ(c.values, detector.GetNumFluxFrames());
  }
}

TEST(OnsetDetector, FluxMatchesTheFormulasForEveryChannelCount) {
  const qotest::TempDir dir;
  for (unsigned int channels : {1u, 2u, 6u}) {
    std::vector<float> samples = qotest::Noise(4000 * channels, 1.0f, channels);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] *= (i / channels / 700) % 2 ? 0.6f : 0.05f;
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), channels, 32, 8000, samples));
    QoOnsetDetector detector;
    std::vector<float> flux;
    detector.SpectralFluxFromFile(dir.File("n.wav"), flux);
    const std::vector<double> expected = ExpectedFlux(samples, channels, 8000, 37);
    ASSERT_EQ(expected.size(), flux.size()) << channels << " channels";
    for (size_t t = 0; t < flux.size(); ++t)
      EXPECT_NEAR(expected[t], flux[t], 1e-4 * (1 + expected[t])) << channels << " channels, " << t;
  }
}

// Tones are marked within one hop before they start; clicks, short enough to be seen by a frame
// centred up to 1024 frames after them, within two.
TEST(OnsetDetector, ClicksAndTonesAreMarkedJustBeforeTheyStartInEveryFormat) {
  const qotest::TempDir dir;
  const struct {
    bool tones;
    uint16_t channels, bits;
    unsigned int rate;
  } cases[] = {{false, 1, 16, 44100}, {true, 2, 24, 48000}, {true, 6, 32, 44100}};
  for (const auto& c : cases) {
    const auto samples = Hits(k_hitTimes, c.tones, c.channels, c.rate, 2.2);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("hits.wav"), c.channels, c.bits, c.rate, samples));
    QoOnsetDetector detector;
    detector.SetSource(dir.File("hits.wav"));
    ExpectOnsetsLeadBy(k_hitTimes, c.tones ? 1 : 2, detector,
                       std::to_string(c.channels) + " channels");
  }
  // CAF through the reader form.
  const auto samples = Hits(k_hitTimes, false, 2, 44100, 2.2);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("hits.caf"), qotest::Caf16(2, 44100, samples)));
  QoCAFFileReader reader;
  ASSERT_TRUE(reader.Open(dir.File("hits.caf").c_str()));
  QoOnsetDetector detector;
  detector.SetSource(reader);
  ExpectOnsetsLeadBy(k_hitTimes, 2, detector, "CAF");
}

// Every source that gives no flux, or no peak, leaves no prominences from the earlier one.
TEST(OnsetDetector, BadSourcesLeaveNoMarkers) {
  const qotest::TempDir dir;
  qotest::WriteUnusableFiles(dir);
  const auto hits = Hits(k_hitTimes, false, 1, 44100, 2.2);
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("hits.wav"), 1, 16, 44100, hits));
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("short.wav"), 1, 16, 44100,
                                      std::vector<float>(hits.begin(), hits.begin() + 2489)));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("hits.caf"), qotest::Caf16(1, 44100, hits)));
  for (const char* name : {"", "missing.wav", "text.wav", "cut.wav", "folder.wav", "empty.wav",
                           "short.wav", "eight.wav", "hits.caf"}) {
    QoOnsetDetector detector;
    detector.SetSource(dir.File("hits.wav"));
    ASSERT_EQ(4u, detector.GetProminences().size());
    detector.SetSource(*name ? dir.File(name) : "");
    std::vector<double> times = {1.0};
    detector.GetMarkerTimes(times, 1.0f);
    EXPECT_TRUE(detector.GetProminences().empty() && times.empty()) << name;
  }
}

}  // namespace
