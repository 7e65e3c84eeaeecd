#include <gtest/gtest.h>
#include <qobase/analysis/onset_detector.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "analysis/analysis_test_util.h"

namespace {

// A detector that has analysed a silent file giving exactly `values` flux values, so that curves
// of that length can be handed to PickPeaks and PeakProminences at that rate.
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

std::string Text(const std::vector<double>& values) {
  std::string text;
  char item[32];
  for (double v : values) text += (std::snprintf(item, sizeof(item), "%.4f ", v), item);
  return text;
}

// A peak is at least 1.0, reaches the decaying envelope (kept in whole numbers) of what came
// before, and is the largest value from 9 before it to 2 after it.
TEST(OnsetPeaks, PickPeaksFollowsThresholdEnvelopeAndNeighbourhood) {
  QoOnsetDetector detector;
  Prime(detector, 44100, 20);
  const std::pair<std::map<size_t, float>, std::vector<unsigned int>> cases[] = {
      {{{3, 0.9f}}, {}},
      {{{3, 1.0f}}, {3}},
      {{{4, 5.0f}, {5, 5.0f}}, {4, 5}},     // equal neighbours are both peaks
      {{{0, 20.9f}, {11, 5.5f}}, {0, 11}},  // the envelope has decayed 20, 18, 16, .. 5
      {{{0, 20.9f}, {11, 4.5f}}, {0}},      // (from 20.9 it would be 7.3)
      {{{5, 3.0f}, {7, 4.0f}}, {7}},        // a larger value 2 ahead
      {{{5, 3.0f}, {8, 4.0f}}, {5, 8}},     // 3 ahead is outside
      {{{5, 4.0f}, {14, 3.0f}}, {5}},       // a larger value 9 behind
      {{{5, 4.0f}, {15, 3.0f}}, {5, 15}},   // 10 behind is outside
  };
  for (const auto& c : cases) {
    std::vector<float> flux = Curve(20, 0.0f, c.first);
    std::vector<unsigned int> peaks;
    detector.PickPeaks(flux, peaks);
    EXPECT_EQ(c.second, peaks) << "values from index " << c.first.begin()->first;
  }
}

// Four peaks at 44.1 kHz on a base of 1: the larger of the side minima, or the other side's when
// a side never drops below the peak. Prominences 2.75, 3.5, 5, 8.5 at 0.19, 0, 0.05, 0.12 s.
const std::map<size_t, float> k_fourPeaks = {{0, 4},     {3, 0.5f}, {5, 6},      {8, 2},
                                             {10, 1.5f}, {12, 9},   {16, 0.25f}, {19, 3}};

TEST(OnsetPeaks, ProminencesMeasureTheHigherSideMinimumWithinReach) {
  const struct {
    unsigned int rate, values;
    std::map<size_t, float> curve;
    std::vector<unsigned int> peaks;
    std::vector<double> prominencesAndTimes;
  } cases[] = {
      {44100, 20, k_fourPeaks, {0, 5, 12, 19}, {2.75, 0.19, 3.5, 0, 5, 0.05, 8.5, 0.12}},
      {44100, 20, {{4, 3}, {10, 3}}, {4, 10}, {2, 0.04, 2, 0.10}},  // equal: ascending time
      // At 4410 Hz the hop is 44 and the reach ceil(100.2) = 101: from 102 the left search
      // ends at index 1, from 20 the right search at 120.
      {4410, 150, {{0, 0.25f}, {1, 0.5f}, {102, 5}, {140, 0.1f}}, {102}, {4.5, 102 * 44 / 4410.0}},
      {4410, 150, {{0, 0.25f}, {20, 6}, {120, 0.3f}, {121, 0.05f}}, {20}, {5.7, 20 * 44 / 4410.0}},
  };
  for (const auto& c : cases) {
    QoOnsetDetector detector;
    Prime(detector, c.rate, c.values);
    std::vector<float> flux = Curve(c.values, c.rate == 4410 ? 2.0f : 1.0f, c.curve);
    std::vector<unsigned int> peaks = c.peaks;
    detector.PeakProminences(flux, peaks);
    std::vector<double> got;
    for (const PeakProminence& p : detector.GetProminences())
      got.insert(got.end(), {p.prominence, p.time});
    EXPECT_EQ(Text(c.prominencesAndTimes), Text(got));
  }
}

TEST(OnsetPeaks, SensitivitySelectsTheLowestFractionOfTheRange) {
  QoOnsetDetector detector;
  Prime(detector, 44100, 20);
  std::vector<float> flux = Curve(20, 1.0f, k_fourPeaks);
  std::vector<unsigned int> peaks = {0, 5, 12, 19};
  detector.PeakProminences(flux, peaks);
  const std::pair<float, std::vector<double>> cases[] = {
      {0.0f, {}},        {1.0f, {0, 0.05, 0.12, 0.19}}, {2.0f, {0, 0.05, 0.12, 0.19}},
      {0.2f, {0, 0.19}}, {0.4f, {0, 0.05, 0.19}},       {-0.5f, {}}};  // range 5.75
  std::vector<double> times;
  for (const auto& c : cases) {
    detector.GetMarkerTimes(times, c.first);
    EXPECT_EQ(Text(c.second), Text(times)) << c.first;
  }
  // Equal prominences are all taken for any sensitivity but 0, even a negative one.
  flux = Curve(20, 1.0f, {{4, 3}, {10, 3}});
  peaks = {4, 10};
  detector.PeakProminences(flux, peaks);
  for (float sensitivity : {0.01f, -1.0f}) {
    detector.GetMarkerTimes(times, sensitivity);
    EXPECT_EQ("0.0400 0.1000 ", Text(times)) << sensitivity;
  }
}

}  // namespace
