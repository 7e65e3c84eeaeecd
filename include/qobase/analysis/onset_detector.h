// Finds the onsets (note attacks, hits) in an audio file and hands them out as marker times in
// seconds. A spectral-flux curve with one value every 10 ms is computed, its peaks are picked
// with an adaptive threshold, and each peak's prominence is measured; a sensitivity then keeps
// the peaks whose prominence lies in the lowest fraction of the prominence range.
//
//   QoOnsetDetector detector;
//   detector.SetSource("drums.wav");
//   std::vector<double> times;
//   detector.GetMarkerTimes(times, 1.0f);  // every peak, in ascending time
#pragma once

#include <qobase/analysis/onset_fft_context.h>
#include <qobase/strings/std_str.h>

#include <memory>
#include <vector>

class QoAudioFileReader;

// One flux peak: its prominence over the surrounding minima and its time in seconds.
struct PeakProminence {
  float prominence;
  double time;
};

class QoOnsetDetector {
 public:
  QoOnsetDetector();
  ~QoOnsetDetector();
  QoOnsetDetector(const QoOnsetDetector&) = delete;
  QoOnsetDetector& operator=(const QoOnsetDetector&) = delete;

  // Analyses the file at path: flux, peaks, prominences. A file that yields no flux (missing,
  // unreadable, not longer than hop + 2048 frames) leaves no prominences.
  void SetSource(const CStdStr& path);
  // The same over a reader the caller made and opened, chunks not yet read (a CAF reader, for
  // one). The reader stays the caller's.
  void SetSource(QoAudioFileReader& reader);

  // Appends one flux value per hop (sampleRate / 100 frames) to flux: value t is the rise of
  // the power spectrum from the frame centred on frame t*hop to the one centred on (t+1)*hop.
  // Nothing is appended when the path is empty, no reader can be made, its chunks cannot be
  // read, the file has no more than hop + 2048 frames, the hop is not 1 to 32768 frames (a
  // rate below 100 Hz or from 3276900 Hz), or the format's channel count disagrees with its
  // channel configuration.
  void SpectralFluxFromFile(const CStdStr& path, std::vector<float>& flux);
  // The same over a reader the caller made and opened, chunks not yet read.
  void SpectralFluxFromFile(QoAudioFileReader& reader, std::vector<float>& flux);

  // Appends, in ascending order, the indices of the peaks among the first GetNumFluxFrames()
  // values of flux (never past its end): values of at least 1.0 that reach the running mean
  // and the decaying envelope and are the largest around them.
  void PickPeaks(std::vector<float>& flux, std::vector<unsigned int>& peaks);
  // Replaces the prominences by those of peaks over flux, in ascending order of prominence
  // (equal ones in ascending time). Peaks past the curve are skipped. Nothing happens for an
  // empty flux.
  void PeakProminences(std::vector<float>& flux, std::vector<unsigned int>& peaks);

  // Replaces times by the times of the peaks whose prominence lies in the lowest fraction
  // sensitivity of the prominence range, ascending: 1 (or more) takes every peak, 0 none, a
  // negative value none unless all prominences are equal. A peak at flux value t is timed
  // t*hop, the start of the rise it measures, so a marker comes before the attack it marks:
  // within a hop for tones, up to two for clicks (a frame sees 1024 frames ahead of its centre).
  void GetMarkerTimes(std::vector<double>& times, float sensitivity);

  // Creates the transform context for size points (none when it cannot be allocated); FreeFFT
  // destroys it.
  void AllocFFT(unsigned int size);
  void FreeFFT();

  unsigned int GetNumChannels() const { return numChannels; }
  unsigned int GetNumFrames() const { return numFrames; }
  unsigned int GetSampleRate() const { return sampleRate; }
  unsigned int GetHop() const { return hop; }
  unsigned int GetNumFluxFrames() const { return numFluxFrames; }
  const std::vector<PeakProminence>& GetProminences() const { return prominences; }

 private:
  // Peaks and prominences of a flux curve; an empty curve clears the prominences.
  void AnalyseFlux(std::vector<float>& flux);
  void ReadFlux(QoAudioFileReader& reader, std::vector<float>& flux);

  unsigned int numChannels;
  unsigned int numFrames;
  unsigned int sampleRate;
  unsigned int hop;
  unsigned int numFluxFrames;
  std::unique_ptr<OnsetFFTContext> fftContext;
  std::vector<PeakProminence> prominences;
};
