// What the spectrum and onset analyses share: the KISS FFT real-input forward transform behind a
// small owning handle, and the single-precision window cosine both of them build windows from.
#pragma once

#include <complex>

struct kiss_fftr_state;

namespace qobase_analysis {

// A forward real-input configuration for size points, or null for a size of zero, an odd size
// or one beyond the library's int range (refused here so that KISS FFT never prints its own
// complaint about them). Released with FreeRealFFT.
kiss_fftr_state* AllocRealFFT(unsigned int size);
void FreeRealFFT(kiss_fftr_state* config);
// Transforms size samples into size/2 + 1 bins.
void ForwardRealFFT(kiss_fftr_state* config, const float* input, std::complex<float>* output);

// Owns a configuration made by AllocRealFFT; IsValid() is false for a refused size.
class RealFFT {
 public:
  explicit RealFFT(unsigned int size) : m_config(AllocRealFFT(size)) {}
  ~RealFFT() { FreeRealFFT(m_config); }
  RealFFT(const RealFFT&) = delete;
  RealFFT& operator=(const RealFFT&) = delete;

  bool IsValid() const { return m_config != nullptr; }
  // Only for a valid configuration.
  void Forward(const float* input, std::complex<float>* output) const {
    ForwardRealFFT(m_config, input, output);
  }

 private:
  kiss_fftr_state* m_config;
};

// cos((float)i * (6.2831855f / (size - 1))) in single precision: the cosine term of the
// Hamming and Hann windows.
float WindowCosine(unsigned int i, unsigned int size);

// 0.53836 - 0.46164 * WindowCosine(i, size), in single precision.
float HammingCoefficient(unsigned int i, unsigned int size);

}  // namespace qobase_analysis
