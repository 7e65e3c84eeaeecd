// From a flux curve to marker times: adaptive peak picking, prominences, and the selection of
// the peaks whose prominence lies in the lowest fraction of the range.
#include <qobase/analysis/onset_detector.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

namespace {

constexpr float k_meanWeight = 12.0f;  // the running mean spans i-9 .. i+2
constexpr float k_minimumPeak = 1.0f;

// The envelope is kept in whole numbers: values are truncated toward zero when stored. Values
// no unsigned 32-bit integer can hold are saturated (NaN counts as 0).
uint32_t StoreEnvelope(float value) {
  if (!(value > 0.0f)) return 0;
  if (value >= 4294967296.0f) return UINT32_MAX;
  return static_cast<uint32_t>(value);
}

}  // namespace

void QoOnsetDetector::PickPeaks(std::vector<float>& flux, std::vector<unsigned int>& peaks) {
  const size_t n = std::min<size_t>(numFluxFrames, flux.size());
  if (n == 0) return;
  const float* x = flux.data();
  uint32_t envelope = StoreEnvelope(x[0]);  // e[i-1] while i is examined
  float mean = (x[0] + 0.0f + (n > 1 ? x[1] : 0.0f)) / k_meanWeight;
  try {
    for (size_t i = 0; i < n; ++i) {
      // The bounds are computed in float, as the mean's weights are; clamped to the curve.
      size_t lo = static_cast<size_t>(std::max(0.0f, static_cast<float>(i) - 9.0f));
      size_t hi =
          static_cast<size_t>(std::min(static_cast<float>(i) + 3.0f, static_cast<float>(n)));
      lo = std::min(lo, i);
      hi = std::min(std::max(hi, i + 1), n);
      if (lo >= 1) mean -= x[lo - 1] / k_meanWeight;
      mean += x[hi - 1] / k_meanWeight;

      const float value = x[i];
      const float previousEnvelope = static_cast<float>(envelope);
      if (i > 0)
        envelope = StoreEnvelope(std::max(value, 0.100000024f * value + 0.9f * previousEnvelope));
      if (value < mean || value < k_minimumPeak || (i > 0 && value < previousEnvelope)) continue;
      float largest = 0.0f;
      for (size_t j = lo; j < hi; ++j) largest = std::max(largest, x[j]);
      if (value == largest) peaks.push_back(static_cast<unsigned int>(i));
    }
  } catch (const std::bad_alloc&) {
    // The peaks found so far stay.
  }
}

void QoOnsetDetector::PeakProminences(std::vector<float>& flux, std::vector<unsigned int>& peaks) {
  if (flux.empty()) return;
  const size_t n = std::min<size_t>(numFluxFrames, flux.size());
  const float* x = flux.data();
  // The search reaches one second of hops each way (100 hops at rates divisible by 100).
  // Without a hop (no analysis yet) it reaches the whole curve.
  size_t width = n;
  if (hop != 0) {
    const float reach = std::ceil(static_cast<float>(sampleRate) / static_cast<float>(hop));
    if (reach < 4294967296.0f) width = static_cast<size_t>(reach);
  }
  prominences.clear();
  try {
    prominences.reserve(peaks.size());
    for (const unsigned int p : peaks) {
      if (p >= n) continue;
      const float v = x[p];
      float left = v;
      const size_t leftStop = p > width ? p - width : 0;
      for (size_t i = p;; --i) {
        if (x[i] > v) break;
        left = std::min(left, x[i]);
        if (i == leftStop) break;
      }
      float right = v;
      const size_t rightEnd = std::min(p + width, n);
      for (size_t i = p + 1; i < rightEnd && !(x[i] > v); ++i) right = std::min(right, x[i]);

      const float base = v == left ? right : v == right ? left : std::max(left, right);
      const double time = sampleRate == 0 ? 0.0
                                          : static_cast<double>(p) * static_cast<double>(hop) /
                                                static_cast<double>(sampleRate);
      prominences.push_back(PeakProminence{v - base, time});
    }
  } catch (const std::bad_alloc&) {
    prominences.clear();
  }
  std::stable_sort(
      prominences.begin(), prominences.end(),
      [](const PeakProminence& a, const PeakProminence& b) { return a.prominence < b.prominence; });
}

void QoOnsetDetector::GetMarkerTimes(std::vector<double>& times, float sensitivity) {
  times.clear();
  if (sensitivity == 0.0f || prominences.empty()) return;
  const float lowest = prominences.front().prominence;
  const float limit = (prominences.back().prominence - lowest) * sensitivity;
  if (0.0f > limit) return;
  try {
    for (const PeakProminence& peak : prominences) {
      if (peak.prominence - lowest > limit) break;
      times.push_back(peak.time);
    }
  } catch (const std::bad_alloc&) {
    times.clear();
    return;
  }
  std::stable_sort(times.begin(), times.end());
}
