// Runs the spectrum and the onset detection over a fuzzed WAVE file, as the program's "spectrum"
// and "onsets" commands do. Beyond the sanitizers it checks the shape of the results: a spectrum
// of N/2 levels none above 0 dB, and onset times that are ascending, finite and not negative.
#include <qobase/analysis/fft_helper.h>
#include <qobase/analysis/onset_detector.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string path = qofuzz::ScratchFolder::Get().File("input.wav");
  qofuzz::ScratchFolder::Write(path, data, size);
  // Small transforms keep each run short; the first byte picks the window and the size.
  const unsigned int fftSize = 16u << (data[0] % 4);
  const auto window = static_cast<FFTHelper::WindowFunction>(data[0] / 4 % 3);
  FFTHelper helper(fftSize, window);
  std::vector<float> spectrum;
  unsigned int rate = 0;
  if (helper.GetSpectrum(path.c_str(), spectrum, rate, nullptr)) {
    if (spectrum.size() != fftSize / 2) std::abort();
    for (const float level : spectrum) {
      if (level > 1e-3f) std::abort();  // the strongest bin sits at 0 dB, up to rounding
    }
    (void)FFTHelper::FindMaximumFrequency(spectrum, rate, -60.0);
  }
  QoOnsetDetector detector;
  detector.SetSource(path.c_str());
  std::vector<double> times;
  detector.GetMarkerTimes(times, static_cast<float>(data[0]) / 255.0f);
  for (size_t i = 0; i < times.size(); ++i) {
    if (!std::isfinite(times[i]) || times[i] < 0.0 || (i > 0 && times[i] < times[i - 1])) {
      std::abort();
    }
  }
  return 0;
}
