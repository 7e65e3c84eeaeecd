// QoOnsetDetector on files: the flux curve, the markers of clicks and tones, unusable sources.
#include <gtest/gtest.h>
#include <qobase/analysis/onset_detector.h>
#include <qobase/audio/caf_reader.h>

#include <cmath>
#include <string>
#include <vector>

#include "analysis/analysis_test_util.h"
#include "analysis/plain_recipes.h"

namespace {

using qotest::k_pi;

// Flux value t straight from its definition, in double precision: the summed rise of every bin
// from the frame centred on t*hop to the one centred on (t+1)*hop, each frame 2048 frames of the
// channel mean (zeros outside the file), Hamming-windowed, power scaled by 1 / the window's sum.
double ExpectedFlux(const std::vector<float>& samples, unsigned int channels, unsigned int rate,
                    long t) {
  const long frames = static_cast<long>(samples.size() / channels), hop = rate / 100;
  std::vector<double> power[2];
  for (int side = 0; side < 2; ++side) {
    std::vector<double> x(2048, 0.0);
    double sum = 0;
    for (long i = 0, f = (t + side) * hop - 1024; i < 2048; ++i, ++f) {
      const double w = 0.53836 - 0.46164 * std::cos(2 * k_pi * i / 2047);
      for (unsigned int c = 0; f >= 0 && f < frames && c < channels; ++c)
        x[i] += samples[f * channels + c] / channels;
      x[i] *= w;
      sum += w;
    }
    for (const auto& bin : qotest::Dft(x)) power[side].push_back(std::norm(bin) / sum);
  }
  double rise = 0;
  for (size_t k = 0; k <= 1024; ++k) rise += std::max(0.0, power[1][k] - power[0][k]);
  return rise;
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

// A marker sits at t * hop for the flux value t that rises most near its onset (computed
// independently from the samples), the start of the rise it measures. A frame reaches 1024 frames
// ahead of its centre, so at these rates a short click is marked one to two hops early, a tone
// within one hop.
void ExpectMarkersAtTheLargestRise(const std::vector<double>& onsets,
                                   const std::vector<float>& samples, unsigned int channels,
                                   unsigned int rate, bool tones, QoOnsetDetector& detector,
                                   const std::string& what) {
  std::vector<double> times;
  detector.GetMarkerTimes(times, 1.0f);
  ASSERT_EQ(onsets.size(), times.size()) << what;
  const long hop = rate / 100;
  for (size_t i = 0; i < times.size(); ++i) {
    const long near = static_cast<long>(onsets[i] * rate) / hop;
    long best = near - 4;
    double largest = ExpectedFlux(samples, channels, rate, best);
    for (long t = best + 1; t <= near + 2; ++t) {
      const double rise = ExpectedFlux(samples, channels, rate, t);
      if (rise > largest) largest = rise, best = t;
    }
    EXPECT_EQ(static_cast<double>(best) * hop / rate, times[i]) << what << ", onset " << i;
    EXPECT_LE(times[i], onsets[i]) << what << ", onset " << i;
    EXPECT_GE(times[i], onsets[i] - (tones ? 1 : 2) * hop / static_cast<double>(rate))
        << what << ", onset " << i;
  }
}

const std::vector<double> k_hitTimes = {0.253, 0.807, 1.3045, 1.751};

// The first hop + 2049 frames give the first values; past one chunk, the reads decide. A hop
// above the 32768-frame chunk leaves no chunk of whole hops: no values. One detector runs every
// case, so a count left from the case before shows.
TEST(OnsetDetector, FluxLengthFollowsTheHopAndChunkArithmetic) {
  const qotest::TempDir dir;
  const struct {
    unsigned int rate, frames, values;
  } cases[] = {{44100, 2489, 0},    {44100, 2490, 3},   {48000, 35168, 68}, {48000, 35169, 71},
               {3300000, 40000, 0}, {48000, 35169, 71}, {3400000, 40000, 0}};
  QoOnsetDetector detector;
  for (const auto& c : cases) {
    const std::vector<float> noise = qotest::Noise(c.frames, 0.5f, 1);
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), 1, 16, c.rate, noise));
    std::vector<float> flux;
    detector.SpectralFluxFromFile(dir.File("n.wav"), flux);
    EXPECT_EQ(c.values, flux.size()) << c.frames;
    EXPECT_EQ(c.rate / 100, detector.GetHop());
    EXPECT_EQ(c.values, detector.GetNumFluxFrames()) << c.rate;
  }
}

// Every channel count; several chunks and a partial last one, hops that do and do not divide the
// chunk. Bit for bit the plain recipe, and every seventh value within 1e-4 of the formulas.
TEST(OnsetDetector, FluxIsThePlainRecipe) {
  const qotest::TempDir dir;
  const struct {
    unsigned int channels, rate, frames;
  } cases[] = {{1, 44100, 100000}, {2, 48000, 70000}, {6, 8000, 40000}};
  for (const auto& c : cases) {
    std::vector<float> samples = qotest::Noise(c.frames * c.channels, 0.9f, c.rate);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] *= (i / c.channels / 3000) % 3 ? 0.02f : 1.0f;
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File("n.wav"), c.channels, 32, c.rate, samples));
    QoOnsetDetector detector;
    std::vector<float> flux;
    detector.SpectralFluxFromFile(dir.File("n.wav"), flux);
    const std::vector<float> plain = qotest::PlainFlux(dir.File("n.wav"));
    EXPECT_GT(plain.size(), 140u);
    EXPECT_TRUE(qotest::SameBits(plain, flux)) << c.channels << " channels";
    for (size_t t = 0; t < flux.size(); t += 7) {
      const double expected = ExpectedFlux(samples, c.channels, c.rate, static_cast<long>(t));
      ASSERT_NEAR(expected, flux[t], 1e-4 * (1 + expected)) << c.channels << " channels, " << t;
    }
  }
}

TEST(OnsetDetector, ClicksAndTonesAreMarkedAtTheStartOfTheirLargestRise) {
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
    ExpectMarkersAtTheLargestRise(k_hitTimes, samples, c.channels, c.rate, c.tones, detector,
                                  std::to_string(c.channels) + " channels");
  }
  // CAF through the reader form.
  const auto samples = Hits(k_hitTimes, false, 2, 44100, 2.2);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("hits.caf"), qotest::Caf16(2, 44100, samples)));
  QoCAFFileReader reader;
  ASSERT_TRUE(reader.Open(dir.File("hits.caf").c_str()));
  QoOnsetDetector detector;
  detector.SetSource(reader);
  ExpectMarkersAtTheLargestRise(k_hitTimes, samples, 2, 44100, false, detector, "CAF");
}

// A CAF that claims 2^32 - 1 frames and holds 40000 is read to the end of its data, and the curve
// is not reserved for the frames it claims.
TEST(OnsetDetector, AFileClaimingFourBillionFramesIsReadToTheEndOfItsData) {
  const qotest::TempDir dir;
  const std::vector<float> noise = qotest::Noise(40000, 0.5f, 5);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("h.caf"),
                                     qotest::Caf16(1, 44100, noise, 0x1FFFFFFFEull + 4)));
  QoCAFFileReader caf;
  ASSERT_TRUE(caf.Open(dir.File("h.caf").c_str()));
  QoOnsetDetector detector;
  std::vector<float> flux;
  detector.SpectralFluxFromFile(caf, flux);
  EXPECT_EQ(0xFFFFFFFFu, detector.GetNumFrames());
  EXPECT_EQ((40000u - 441 - 1024 + 440) / 441, flux.size());
  EXPECT_LE(flux.capacity(), 1u << 20);
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
  for (const float odd : {NAN, INFINITY}) {  // one such sample makes the running mean NaN
    std::vector<float> spoilt = hits;
    spoilt[100] = odd;
    ASSERT_TRUE(qotest::WriteWavSamples(dir.File(std::isnan(odd) ? "nan.wav" : "inf.wav"), 1, 32,
                                        44100, spoilt));
  }
  for (const char* name : {"", "missing.wav", "text.wav", "cut.wav", "folder.wav", "empty.wav",
                           "short.wav", "eight.wav", "hits.caf", "nan.wav", "inf.wav"}) {
    QoOnsetDetector detector;
    detector.SetSource(dir.File("hits.wav"));
    ASSERT_EQ(4u, detector.GetProminences().size());
    detector.SetSource(*name ? dir.File(name) : "");
    std::vector<double> times = {1.0};
    detector.GetMarkerTimes(times, 1.0f);
    EXPECT_TRUE(detector.GetProminences().empty()) << name;
    EXPECT_TRUE(times.empty()) << name;
  }
}

}  // namespace
