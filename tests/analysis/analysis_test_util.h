// Helpers of the analysis tests: a double-precision FFT to compute expected values straight
// from the formulas, and a CAF file builder (the library reads CAF but does not write it).
#pragma once

#include <sys/stat.h>

#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "support/audio_synth.h"
#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace qotest {

constexpr double k_pi = 3.14159265358979323846;

// The discrete Fourier transform of a power-of-two number of samples, in double precision.
inline std::vector<std::complex<double>> Dft(const std::vector<std::complex<double>>& x) {
  const size_t n = x.size();
  if (n == 1) return x;
  std::vector<std::complex<double>> even(n / 2), odd(n / 2);
  for (size_t i = 0; i < n / 2; ++i) even[i] = x[2 * i], odd[i] = x[2 * i + 1];
  const auto e = Dft(even), o = Dft(odd);
  std::vector<std::complex<double>> out(n);
  for (size_t k = 0; k < n / 2; ++k) {
    const auto t = std::polar(1.0, -2.0 * k_pi * static_cast<double>(k) / n) * o[k];
    out[k] = e[k] + t;
    out[k + n / 2] = e[k] - t;
  }
  return out;
}

inline std::vector<std::complex<double>> Dft(const std::vector<double>& x) {
  return Dft(std::vector<std::complex<double>>(x.begin(), x.end()));
}

// A CAF file of 16-bit big-endian integer samples (x scaled by 32767, truncated).
inline std::string Caf16(uint32_t channels, double rate, const std::vector<float>& interleaved) {
  ByteBuilder desc(true), data(true), file(true);
  desc.F64(rate).Raw("lpcm").U32(0).U32(2 * channels).U32(1).U32(channels).U32(16);
  data.U32(0);
  for (float x : interleaved) data.U16(static_cast<uint16_t>(static_cast<int16_t>(x * 32767.0f)));
  file.Raw("caff").U16(1).U16(0);
  file.Raw("desc").U64(desc.Bytes().size()).Raw(desc.Bytes());
  file.Raw("data").U64(data.Bytes().size()).Raw(data.Bytes());
  return file.Bytes();
}

// Files the analyses cannot use, written into dir: "text.wav" (no audio), "cut.wav" (a format
// chunk cut short), "folder.wav" (a directory), "empty.wav" (no frames) and "eight.wav" (3000
// frames of 8-bit mono at 44.1 kHz, which the reader consumes without converting).
inline void WriteUnusableFiles(const TempDir& dir) {
  WriteFileBytes(dir.File("text.wav"), "just some text, no audio");
  WriteFileBytes(dir.File("cut.wav"),
                 WaveFile(false, ByteBuilder().ChunkWithSize("fmt ", 16, "\x01\x00").Bytes()));
  mkdir(dir.File("folder.wav").c_str(), 0755);
  WriteWavSamples(dir.File("empty.wav"), 1, 16, 44100, {});
  const std::string fmt = FmtBody(false, 1, 1, 44100, 8);
  WriteFileBytes(
      dir.File("eight.wav"),
      WaveFile(false,
               ByteBuilder().Chunk("fmt ", fmt).Chunk("data", std::string(3000, 'p')).Bytes()));
}

}  // namespace qotest
