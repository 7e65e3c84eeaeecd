// The level spectrum of a whole audio file: the file is cut into blocks of N frames, each block
// is mixed to mono, windowed and transformed, every frequency bin keeps the largest power met in
// any block, and the result is given in decibels with the strongest bin at 0 dB and the floor at
// -96.3 dB.
//
//   FFTHelper helper(4096, FFTHelper::Hann);
//   std::vector<float> spectrum;
//   unsigned int rate = 0;
//   if (helper.GetSpectrum("take.wav", spectrum, rate, nullptr))
//     float top = FFTHelper::FindMaximumFrequency(spectrum, rate, -60.0);
#pragma once

#include <qobase/strings/std_str.h>
#include <qobase/system/progress.h>

#include <memory>
#include <vector>

class QoAudioFileReader;

class FFTHelper {
 public:
  // Window coefficient i of N (i = 0 .. N-1), cosines in single precision.
  enum WindowFunction {
    Triangular = 0,  // i/h below h = N/2, then 1 - (i-h)/h: w[0] = 0, w[h] = 1
    Hamming = 1,     // 0.53836 - 0.46164 * cos(i * 2pi/(N-1))
    Hann = 2,        // 0.5 * (1 - cos(i * 2pi/(N-1)))
  };

  // size is the block and FFT size N; it must be even and non-zero. Any other size (or one
  // too large to allocate) leaves the helper without a transform: PowerSpectrum returns 0 and
  // GetSpectrum false.
  FFTHelper(unsigned int size, WindowFunction windowFunction);
  ~FFTHelper();
  FFTHelper(const FFTHelper&) = delete;
  FFTHelper& operator=(const FFTHelper&) = delete;

  // Resizes the window to N (new coefficients 0) and fills it by the table. A value outside
  // the table leaves the coefficients as they were.
  void InitWindow(WindowFunction windowFunction);

  // Transforms the N samples at GetInput() and writes N power values: P[0] for the DC bin, P[k]
  // = |F[k]|^2 (1 + sin k*pi/N)/2 and P[N-k] = |F[k]|^2 (1 - sin k*pi/N)/2 for k = 1 .. N/2-1,
  // P[N/2] = |F[N/2]|^2. Returns N/2; 0 (nothing written) without a transform.
  unsigned int PowerSpectrum(float* power);

  // The level spectrum of the file at path, read through the reader QoAudioFileReader::Create
  // makes for it: spectrum gets N/2 values in dB (entries already there take part in the
  // maxima), sampleRate the file's rate. progress (may be null) gets the range 0 .. frames and
  // a position after every block, and is asked after every block whether to stop. False when
  // no reader can be made, its chunks cannot be read, the helper has no transform, or progress
  // cancels (the spectrum then holds partial maxima). A silent file gives -infinity in every
  // bin.
  bool GetSpectrum(const CStdStr& path, std::vector<float>& spectrum, unsigned int& sampleRate,
                   QO::Sonvo::IProgress* progress);
  // The same over a reader the caller made and opened (a CAF reader, for one) whose chunks have
  // not been read yet; it reads them (format and data) here. The reader stays the caller's.
  bool GetSpectrum(QoAudioFileReader& reader, std::vector<float>& spectrum,
                   unsigned int& sampleRate, QO::Sonvo::IProgress* progress);

  // The frequency of the highest bin whose level is strictly above threshold: bin * sampleRate
  // / (2 * bins), the product taken modulo 2^32. 0 when no bin is above it or the spectrum is
  // empty.
  static float FindMaximumFrequency(const std::vector<float>& spectrum, unsigned int sampleRate,
                                    double threshold);

  unsigned int GetSize() const { return m_size; }
  // False when the size was refused; see the constructor.
  bool IsValid() const;
  // The N coefficients of the current window.
  const std::vector<float>& GetWindow() const { return m_window; }
  // The N samples the next PowerSpectrum transforms; null without a transform.
  float* GetInput();

 private:
  struct Context;

  // Transforms the input and raises maxima[k] to P[k] for the N/2 bins a file spectrum keeps;
  // P[k] is PowerSpectrum's value. Only with a transform.
  void FoldLowerPowers(float* maxima);

  unsigned int m_size;
  std::vector<float> m_window;
  std::unique_ptr<Context> m_fft;
};
