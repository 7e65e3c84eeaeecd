#include <gtest/gtest.h>
#include <qobase/analysis/onset_detector.h>

#include <map>
#include <string>
#include <vector>

#include "support/audio_synth.h"
#include "support/temp_dir.h"

namespace {

// A detector that has analysed a silent file giving exactly `values` flux values, so that a
// curve of that length can be handed to PickPeaks and PeakProminences at that rate.
void Prime(QoOnsetDetector& detector, unsigned int rate, unsigned int values) {
  const qotest::TempDir dir;
  const unsigned int hop = rate / 100;
  ASSERT_TRUE(qotest::WriteWavSamples(dir.File("s.wav"), 1, 16, rate,
                                      std::vector<float>(hop + 1024 + hop * values, 0.0f)));
  std::vector<float> flux;
  detector.SpectralFluxFromFile(dir.File("s.wav"), flux);
  ASSERT_EQ(values, flux.size());
}

// A curve of n values, `base` everywhere but where given.
std::vector<float> Curve(size_t n, float base, const std::map<size_t, float>& values) {
  std::vector<float> curve(n, base);
  for (const auto& v : values) curve[v.first] = v.second;
  return curve;
}

std::string Describe(const std::vector<PeakProminence>& prominences) {
  std::string text;
  for (const PeakProminence& p : prominences)
    text += std::to_string(p.prominence) + "@" + std::to_string(p.time) + " ";
  return text;
}

// A peak is at least 1.0, reaches the decaying integer envelope of what came before, and is the
// largest value from 9 before it to 2 after it.
TEST(OnsetPeaks, PickPeaksFollowsThresholdEnvelopeAndNeighbourhood) {
  QoOnsetDetector detector;
  Prime(detector, 44100, 20);
  const struct {
    std::map<size_t, float> values;
    std::vector<unsigned int> peaks;
  } cases[] = {
      {{{3, 0.9f}}, {}},
      {{{3, 1.0f}}, {3}},
      {{{4, 5.0f}, {5, 5.0f}}, {4, 5}},     // equal neighbours are both peaks
      {{{0, 20.9f}, {11, 5.5f}}, {0, 11}},  // the envelope keeps whole numbers: 20 .. 5
      {{{0, 20.9f}, {11, 4.5f}}, {0}},      // below the envelope
      {{{5, 3.0f}, {7, 4.0f}}, {7}},        // a larger value 2 ahead
      {{{5, 3.0f}, {8, 4.0f}}, {5, 8}},     // 3 ahead is outside
      {{{5, 4.0f}, {14, 3.0f}}, {5}},       // a larger value 9 behind
      {{{5, 4.0f}, {15, 3.0f}}, {5, 15}},   // 10 behind is outside
  };
  for (const auto& c : cases) {
    std::vector<float> flux = Curve(20, 0.0f, c.values);
    std::vector<unsigned int> peaks;
    detector.PickPeaks(flux, peaks);
    EXPECT_EQ(c.peaks, peaks) << c.values.size() << " values from index "
                              << c.values.begin()->first;
  }
}

// Bases: the larger of the two side minima, or the other side's when one side never drops below
// the peak; the search reaches ceil(rate / hop) values each way.
TEST(OnsetPeaks, ProminencesMeasureTheHigherSideMinimumWithinReach) {
  const struct {
    unsigned int rate, values;
    float base;
    std::map<size_t, float> curve;
    std::vector<unsigned int> peaks;
    const char* prominences;
  } cases[] = {
      {44100,
       20,
       1.0f,
       {{0, 4}, {3, 0.5f}, {5, 6}, {8, 2}, {10, 1.5f}, {12, 9}, {16, 0.25f}, {19, 3}},
       {0, 5, 12, 19},
       "2.750000@0.190000 3.500000@0.000000 5.000000@0.050000 8.500000@0.120000 "},
      {44100, 20, 1.0f, {{4, 3}, {10, 3}}, {4, 10}, "2.000000@0.040000 2.000000@0.100000 "},
      // At 4410 Hz the hop is 44 and the reach 101: from 102 the left search ends at index 1,
      // from 20 the right search at 120.
      {4410,
       150,
       2.0f,
       {{0, 0.25f}, {1, 0.5f}, {102, 5}, {140, 0.1f}},
       {102},
       "4.500000@1.017687 "},
      {4410,
       150,
       2.0f,
       {{0, 0.25f}, {20, 6}, {120, 0.3f}, {121, 0.05f}},
       {20},
       "5.700000@0.199546 "},
  };
  for (const auto& c : cases) {
    QoOnsetDetector detector;
    Prime(detector, c.rate, c.values);
    std::vector<float> flux = Curve(c.values, c.base, c.curve);
    std::vector<unsigned int> peaks = c.peaks;
    detector.PeakProminences(flux, peaks);
    EXPECT_EQ(c.prominences, Describe(detector.GetProminences()));
  }
}

// Prominences 2.75, 3.5, 5 and 8.5 (range 5.75) at 0.19, 0, 0.05 and 0.12 s.
TEST(OnsetPeaks, SensitivitySelectsTheLowestFractionOfTheRange) {
  QoOnsetDetector detector;
  Prime(detector, 44100, 20);
  std::vector<float> flux = Curve(
      20, 1.0f, {{0, 4}, {3, 0.5f}, {5, 6}, {8, 2}, {10, 1.5f}, {12, 9}, {16, 0.25f}, {19, 3}});
  std::vector<unsigned int> peaks = {0, 5, 12, 19};
  detector.PeakProminences(flux, peaks);
  const struct {
    float sensitivity;
    std::vector<double> times;
  } cases[] = {
      {0.0f, {}},          {1.0f, {0.0, 0.05, 0.12, 0.19}}, {2.0f, {0.0, 0.05, 0.12, 0.19}},
      {0.2f, {0.0, 0.19}}, {0.4f, {0.0, 0.05, 0.19}},       {-0.5f, {}}};
  for (const auto& c : cases) {
    std::vector<double> times = {7.0};
    detector.GetMarkerTimes(times, c.sensitivity);
    ASSERT_EQ(c.times.size(), times.size()) << c.sensitivity;
    for (size_t i = 0; i < times.size(); ++i) EXPECT_NEAR(c.times[i], times[i], 1e-12);
  }
  // Equal prominences are all taken for any sensitivity but 0, even a negative one.
  flux = Curve(20, 1.0f, {{4, 3}, {10, 3}});
  peaks = {4, 10};
  detector.PeakProminences(flux, peaks);
  for (float sensitivity : {0.01f, -1.0f}) {
    std::vector<double> times;
    detector.GetMarkerTimes(times, sensitivity);
    EXPECT_EQ(2u, times.size()) << sensitivity;
  }
}

}  // namespace
