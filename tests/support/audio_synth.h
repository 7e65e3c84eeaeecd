// Writes synthesised samples to audio files through the library's own WAV writer, so analysis
// tests can describe their input as a signal rather than as bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qotest {

// Writes interleaved samples as a WAV file of the given width: 16 or 24-bit integers (x scaled
// by 32767 or 8388607 and truncated, as the writer does) or 32-bit IEEE float (exact). Any
// other width writes a file with the format but no samples. False when writing fails.
bool WriteWavSamples(const std::string& path, uint16_t channels, uint16_t bits, uint32_t rate,
                     const std::vector<float>& interleaved);

// Deterministic white noise, uniform in [-amplitude, amplitude).
std::vector<float> Noise(size_t count, float amplitude, uint32_t seed);

}  // namespace qotest
