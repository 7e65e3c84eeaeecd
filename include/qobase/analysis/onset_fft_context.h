// The transform state of one onset analysis: a Hamming window, the real-input forward FFT and
// the power spectra of the newest and the preceding frame, made once and reused for every frame.
#pragma once

#include <complex>
#include <vector>

struct kiss_fftr_state;

class OnsetFFTContext {
 public:
  // Builds the context for size points (2048 in the analysis). An odd or zero size gets no
  // transform (IsValid() is false); the vectors are built all the same.
  explicit OnsetFFTContext(unsigned int size);
  ~OnsetFFTContext();
  OnsetFFTContext(const OnsetFFTContext&) = delete;
  OnsetFFTContext& operator=(const OnsetFFTContext&) = delete;

  bool IsValid() const { return config != nullptr; }

  // Windows the size samples at frame, transforms them and sets current[k] = scale * |F[k]|^2
  // for the numBins bins. Only for a valid context.
  void MakeFrame(const float* frame);
  // The sum over all bins of the rise max(0, current[k] - previous[k]), accumulated in single
  // precision in bin order.
  float Flux() const;
  // The newest frame becomes the preceding one.
  void SwapSpectra() { current.swap(previous); }

  unsigned int size;
  unsigned int numBins;  // size/2 + 1
  float scale;           // 1 / the sum of the window coefficients
  kiss_fftr_state* config;
  std::vector<float> window;  // 0.53836 - 0.46164 * cos(i * 2pi/(size-1)), single precision
  std::vector<float> input;
  std::vector<std::complex<float>> output;
  std::vector<float> current;
  std::vector<float> previous;
};
