// qobase demo [DIR]: the library's main job from end to end on a sound it makes itself. A short
// percussive stereo WAVE file is synthesised with the library's writer, then `info`, `onsets
// --markers --svg --json` and `spectrum --svg` run on it, and every output is listed. `make demo`
// runs it.
#include <qobase/audio/wav_file_writer.h>

#include <stdlib.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <vector>

#include "command.h"
#include "info_report.h"
#include "onsets_analysis.h"
#include "output_file.h"
#include "spectrum_command.h"
#include "standard_output.h"

namespace qobase_tool {
namespace {

constexpr unsigned int k_rate = 44100;
constexpr double k_beat = 0.5;  // 120 beats per minute
constexpr int k_beats = 6;

// A small deterministic noise source, so every run makes the same file.
class Noise {
 public:
  float Next() {
    m_state = m_state * 1664525u + 1013904223u;
    return static_cast<float>(m_state >> 8) / 8388608.0f - 1.0f;
  }

 private:
  uint32_t m_state = 12345;
};

// Adds one hit at `start` seconds: a kick (a falling sine), a snare (noise over a tone) or a hat
// (bright noise), panned by `left`/`right`.
enum class Hit { k_kick, k_snare, k_hat };

void AddHit(std::vector<float>& stereo, double start, Hit hit, float left, float right,
            Noise& noise) {
  const size_t first = static_cast<size_t>(start * k_rate);
  const double length = hit == Hit::k_hat ? 0.06 : hit == Hit::k_snare ? 0.18 : 0.22;
  const size_t frames = static_cast<size_t>(length * k_rate);
  double phase = 0.0;
  float previous = 0.0f;
  for (size_t i = 0; i < frames && (first + i) * 2 + 1 < stereo.size(); ++i) {
    const double t = static_cast<double>(i) / k_rate;
    float sample = 0.0f;
    if (hit == Hit::k_kick) {
      phase += 2.0 * M_PI * (45.0 + 90.0 * std::exp(-t * 30.0)) / k_rate;
      sample = static_cast<float>(0.9 * std::sin(phase) * std::exp(-t * 14.0));
    } else if (hit == Hit::k_snare) {
      phase += 2.0 * M_PI * 190.0 / k_rate;
      sample =
          static_cast<float>((0.45 * noise.Next() + 0.3 * std::sin(phase)) * std::exp(-t * 22.0));
    } else {
      const float white = noise.Next();
      sample = static_cast<float>(0.5 * (white - previous) * std::exp(-t * 60.0));
      previous = white;
    }
    stereo[(first + i) * 2] += sample * left;
    stereo[(first + i) * 2 + 1] += sample * right;
  }
}

std::vector<float> Synthesise() {
  std::vector<float> stereo(static_cast<size_t>(k_beats * k_beat * k_rate + k_rate / 2) * 2, 0.0f);
  Noise noise;
  for (int beat = 0; beat < k_beats; ++beat) {
    const double at = 0.25 + beat * k_beat;
    AddHit(stereo, at, beat % 2 == 0 ? Hit::k_kick : Hit::k_snare, 1.0f, beat % 2 ? 0.7f : 1.0f,
           noise);
    AddHit(stereo, at + k_beat / 2, Hit::k_hat, 0.5f, 0.9f, noise);
  }
  for (float& sample : stereo) sample = std::fmax(-1.0f, std::fmin(1.0f, sample));
  return stereo;
}

bool WriteDrums(const std::string& path, std::string& reason) {
  WAVEFORMATEXTENSIBLE format;
  std::memset(&format, 0, sizeof(format));
  // The plain PCM tag: other programs read the first 16 bytes of the format chunk as PCM.
  format.wFormatTag = QO::k_waveFormatPcm;
  format.nChannels = 2;
  format.nSamplesPerSec = k_rate;
  format.wBitsPerSample = 16;
  format.nBlockAlign = 4;
  format.nAvgBytesPerSec = k_rate * 4;
  std::vector<float> samples = Synthesise();
  OutputFile out;
  if (!out.Create(path, {}, reason)) return false;
  QoWavFileWriter writer;
  if (!writer.Open(zu::Path(out.TemporaryPath()), false)) {
    reason = "cannot be written";
    return false;
  }
  writer.SetFormat(format);
  if (!writer.WriteChunks(0) ||
      !writer.WriteReal32AsPCMData(static_cast<unsigned int>(samples.size() / 2), samples.data()) ||
      !writer.Close()) {
    reason = "cannot be written";
    return false;
  }
  return out.Commit(reason);
}

// The folder to work in: DIR (made when missing), or a fresh one under /tmp.
bool PrepareFolder(std::string& folder, std::string& reason) {
  if (folder.empty()) {
    char pattern[] = "/tmp/qobase-demo-XXXXXX";
    if (!mkdtemp(pattern)) {
      reason = std::strerror(errno);
      folder = "/tmp";
      return false;
    }
    folder = pattern;
    return true;
  }
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  struct stat info;
  if (stat(folder.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) return true;
    reason = "exists and is not a folder";
    return false;
  }
  if (mkdir(folder.c_str(), 0777) != 0) {
    reason = std::string("cannot be made: ") + std::strerror(errno);
    return false;
  }
  return true;
}

// Prints a step's text with a heading; the step's problems go to stderr.
void Step(const std::string& heading, const std::string& text, const std::string& err) {
  std::cout << "== " << heading << " ==\n" << text << "\n" << std::flush;
  std::cerr << err << std::flush;
}

int RunDemo(std::string folder) {
  std::string reason;
  if (!PrepareFolder(folder, reason)) return Fail(folder, reason);
  const std::string drums = folder + "/drums.wav";
  const std::string marked = folder + "/drums-onsets.wav";
  const std::string onsetsPlot = folder + "/drums-onsets.svg";
  const std::string onsetsJson = folder + "/drums-onsets.json";
  const std::string spectrumPlot = folder + "/drums-spectrum.svg";

  if (!WriteDrums(drums, reason)) return Fail(drums, reason);
  Step("synthesised with the library's WAV writer",
       drums + ": 3.5 s of 16-bit stereo drums at 120 bpm (kick, snare, hi-hat)\n", "");

  InfoRequest infoRequest;
  const InfoReport info = DescribeFile(drums, infoRequest);
  Step("qobase info " + drums, info.out, info.err);
  if (info.failed) return k_exitFailure;

  OnsetsRequest onsetsRequest;
  onsetsRequest.markersOut = marked;
  onsetsRequest.svgOut = onsetsPlot;
  const OnsetsReport onsets = FindOnsets(drums, onsetsRequest);
  if (!onsets.failed) {
    OutputFile json;
    if (!json.Create(onsetsJson, {drums}, reason) ||
        !json.Write(onsets.json.data(), onsets.json.size()) || !json.Commit(reason)) {
      return Fail(onsetsJson, reason);
    }
  }
  Step("qobase onsets " + drums + " --markers " + marked + " --svg " + onsetsPlot + " --json",
       onsets.text, onsets.err);
  if (onsets.failed) return k_exitFailure;

  const InfoReport markers = DescribeFile(marked, infoRequest);
  Step("qobase info " + marked, markers.out, markers.err);
  if (markers.failed) return k_exitFailure;

  SpectrumRequest spectrumRequest;
  spectrumRequest.file = drums;
  spectrumRequest.svgOut = spectrumPlot;
  const SpectrumReport spectrum = AnalyseSpectrum(spectrumRequest);
  Step("qobase spectrum " + drums + " --svg " + spectrumPlot, spectrum.text, spectrum.err);
  if (spectrum.cancelled) return 130;
  if (spectrum.failed) return k_exitFailure;

  std::cout << "== outputs ==\n"
            << "  sound:           " << drums << "\n"
            << "  marked copy:     " << marked << "\n"
            << "  onsets plot:     " << onsetsPlot << "\n"
            << "  onsets report:   " << onsetsJson << "\n"
            << "  spectrum plot:   " << spectrumPlot << "\n";
  return k_exitSuccess;
}

void AddDemo(CLI::App& parent) {
  CLI::App& command = *parent.add_subcommand(
      "demo", "find the onsets of a synthesised sound and store them as markers, end to end");
  command.footer(
      "Synthesises drums.wav, a short percussive stereo sound, with the library's WAV writer in\n"
      "DIR (made when missing; by default a fresh folder under /tmp), then runs `qobase info` on\n"
      "it, `qobase onsets --markers --svg --json` (the marked copy drums-onsets.wav, the plot\n"
      "drums-onsets.svg and the report drums-onsets.json) and `qobase spectrum --svg`\n"
      "(drums-spectrum.svg), and lists where every output is. `qobase tour` shows the other\n"
      "subsystems.\n"
      "Exit code 0 on success, 1 when a step failed, 2 on bad usage.");
  auto folder = std::make_shared<std::string>();
  command.add_option("DIR", *folder, "the folder for the outputs");
  SetRunner(command, "qobase demo [DIR]", [folder] { return RunDemo(*folder); });
}

const CommandRegistration s_demo("demo", AddDemo);

}  // namespace
}  // namespace qobase_tool
