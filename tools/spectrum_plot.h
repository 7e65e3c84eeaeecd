// The plot of `qobase spectrum`: the level of every frequency bin in dB over a logarithmic
// frequency axis, with the threshold as a dashed line and the highest frequency above it marked.
#pragma once

#include <string>
#include <vector>

namespace qobase_tool {

struct SpectrumPlot {
  std::string title;
  std::vector<float> levels;  // dB per bin; bin k lies at k * sampleRate / (2 * levels.size())
  unsigned int sampleRate = 0;
  double threshold = -60.0;
  double highest = 0.0;  // Hz; 0 draws no marker
};

constexpr int k_spectrumWidth = 1000;
constexpr int k_spectrumHeight = 420;

// The SVG document; a spectrum of fewer than two bins gives axes only.
std::string DrawSpectrum(const SpectrumPlot& plot);

}  // namespace qobase_tool
