// The per-analysis transform state of the onset detector and the two steps it runs per frame.
#include <qobase/analysis/onset_fft_context.h>

#include <cmath>

#include "analysis/real_fft.h"

OnsetFFTContext::OnsetFFTContext(unsigned int size)
    : size(size),
      numBins(size / 2 + 1),
      scale(0.0f),
      config(qobase_analysis::AllocRealFFT(size)),
      window(size),
      input(size, 0.0f),
      output(numBins),
      current(numBins, 0.0f),
      previous(numBins, 0.0f) {
  float sum = 0.0f;
  for (unsigned int i = 0; i < size; ++i) {
    window[i] = qobase_analysis::HammingCoefficient(i, size);
    sum += window[i];
  }
  scale = 1.0f / sum;
}

OnsetFFTContext::~OnsetFFTContext() { qobase_analysis::FreeRealFFT(config); }

void OnsetFFTContext::MakeFrame(const float* frame) {
  for (unsigned int i = 0; i < size; ++i) input[i] = frame[i] * window[i];
  qobase_analysis::ForwardRealFFT(config, input.data(), output.data());
  const std::complex<float>* bins = output.data();
  float* power = current.data();
  for (unsigned int k = 0; k < numBins; ++k)
    power[k] = scale * (bins[k].real() * bins[k].real() + bins[k].imag() * bins[k].imag());
}

float OnsetFFTContext::Flux() const {
  float sum = 0.0f;
  for (unsigned int k = 0; k < numBins; ++k) {
    const float rise = current[k] - previous[k];
    sum += (std::fabs(rise) + rise) * 0.5f;
  }
  return sum;
}
