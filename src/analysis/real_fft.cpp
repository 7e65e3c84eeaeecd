// The KISS FFT handle and the window cosine shared by the analyses.
#include "analysis/real_fft.h"

#include <kiss_fftr.h>

#include <climits>
#include <cmath>

namespace qobase_analysis {

static_assert(sizeof(kiss_fft_cpx) == sizeof(std::complex<float>),
              "KISS FFT bins are laid out as complex<float>");

kiss_fftr_state* AllocRealFFT(unsigned int size) {
  if (size == 0 || size % 2 != 0 || size > static_cast<unsigned int>(INT_MAX)) return nullptr;
  return kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr);
}

void FreeRealFFT(kiss_fftr_state* config) {
  if (config != nullptr) kiss_fftr_free(config);
}

void ForwardRealFFT(kiss_fftr_state* config, const float* input, std::complex<float>* output) {
  kiss_fftr(config, input, reinterpret_cast<kiss_fft_cpx*>(output));
}

float WindowCosine(unsigned int i, unsigned int size) {
  const float step = 6.2831855f / static_cast<float>(size - 1);
  return std::cos(static_cast<float>(i) * step);
}

float HammingCoefficient(unsigned int i, unsigned int size) {
  return 0.53836f - 0.46164f * WindowCosine(i, size);
}

}  // namespace qobase_analysis
