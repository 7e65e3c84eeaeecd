#include "onsets_analysis.h"

#include <qobase/analysis/onset_detector.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "audio_input.h"
#include "channel_layout_text.h"
#include "json_report.h"
#include "marked_copy.h"
#include "output_file.h"
#include "waveform_plot.h"

namespace qobase_tool {
namespace {

struct Onset {
  double time;
  unsigned long long frame;
};

std::string FileName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string SensitivityText(float sensitivity) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(sensitivity));
  return text;
}

class ReportBuilder {
 public:
  explicit ReportBuilder(const std::string& path) : m_path(path) {}

  OnsetsReport Fail(const std::string& what, const std::string& reason) {
    m_report.err += "qobase: " + what + ": " + reason + "\n";
    m_report.failed = true;
    m_report.text.clear();
    m_report.json.clear();
    return std::move(m_report);
  }
  void Warn(const std::string& warning) {
    m_report.err += "qobase: " + m_path + ": warning: " + warning + "\n";
  }
  OnsetsReport& Report() { return m_report; }

 private:
  std::string m_path;
  OnsetsReport m_report;
};

bool WritePlot(const std::string& path, const std::string& svgOut, const std::vector<Onset>& onsets,
               float sensitivity, std::string& reason) {
  AnalysisInput input;
  if (!OpenForAnalysis(path, input, reason)) return false;
  if (!input.reader->ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) {
    reason = "cannot be read";
    return false;
  }
  WaveformPlot plot;
  plot.title = FileName(path) + ": " + std::to_string(onsets.size()) +
               (onsets.size() == 1 ? " onset" : " onsets") + " (sensitivity " +
               SensitivityText(sensitivity) + ")";
  plot.channelNames = DescribeChannelLayout(input.reader->GetFormat()->channelConfig).names;
  for (const Onset& onset : onsets) plot.onsets.push_back(onset.time);
  std::string svg;
  if (!DrawWaveform(*input.reader, plot, svg)) {
    reason = "has no channels to draw";
    return false;
  }
  OutputFile out;
  return out.Create(svgOut, {path}, reason) && out.Write(svg.data(), svg.size()) &&
         out.Commit(reason);
}

}  // namespace

std::string SecondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", seconds);
  return text;
}

OnsetsReport FindOnsets(const std::string& path, const OnsetsRequest& request) {
  ReportBuilder builder(path);
  std::string reason;
  AnalysisInput input;
  if (!OpenForAnalysis(path, input, reason)) return builder.Fail(path, reason);
  const bool marking = !request.markersOut.empty();
  if (marking && input.container != Container::k_wave) {
    return builder.Fail(path, "markers can only be stored in a WAVE file");
  }
  // Outputs are checked before the analysis, so a bad name fails at once.
  OutputFile markersFile;
  if (marking && !markersFile.Create(request.markersOut, {path}, reason)) {
    return builder.Fail(request.markersOut, reason);
  }
  MarkedCopy copy;
  if (marking) {
    if (!copy.Open(path, false, reason)) return builder.Fail(path, reason);
    if (!copy.Warning().empty()) builder.Warn(copy.Warning());
  }

  QoOnsetDetector detector;
  detector.SetSource(*input.reader);
  std::vector<double> times;
  detector.GetMarkerTimes(times, request.sensitivity);
  const unsigned int hop = input.sampleRate / 100;
  if (detector.GetNumFluxFrames() == 0) {
    builder.Warn("too short to find onsets in: " + std::to_string(input.frames) +
                 " frames, where more than " + std::to_string(hop + 2048) + " are needed");
  }
  std::vector<Onset> onsets;
  for (const double time : times) {
    onsets.push_back(
        {time, static_cast<unsigned long long>(std::llround(time * input.sampleRate))});
  }

  size_t stored = 0;
  if (marking) {
    for (size_t i = 0; i < onsets.size(); ++i) {
      // A data chunk cut short holds fewer frames than the analysis read.
      if (onsets[i].frame >= copy.Frames()) continue;
      copy.AddMarker(static_cast<unsigned int>(onsets[i].frame), "Onset " + std::to_string(i + 1));
      ++stored;
    }
    if (!copy.Write(markersFile, reason)) return builder.Fail(request.markersOut, reason);
  }
  if (!request.svgOut.empty() &&
      !WritePlot(path, request.svgOut, onsets, request.sensitivity, reason)) {
    return builder.Fail(request.svgOut, reason);
  }

  OnsetsReport& report = builder.Report();
  report.text = path + ": " + std::to_string(onsets.size()) +
                (onsets.size() == 1 ? " onset" : " onsets") + " (sensitivity " +
                SensitivityText(request.sensitivity) + ")\n";
  JsonReport json;
  json.Member("file", path);
  json.Member("sampleRate", std::to_string(input.sampleRate));
  json.Member("channels", std::to_string(input.channels));
  json.Member("frames", std::to_string(input.frames));
  json.Member("sensitivity", SensitivityText(request.sensitivity));
  json.BeginArray("onsets");
  for (size_t i = 0; i < onsets.size(); ++i) {
    char line[96];
    std::snprintf(line, sizeof line, "  %3zu  %s s  frame %llu\n", i + 1,
                  SecondsText(onsets[i].time).c_str(), onsets[i].frame);
    report.text += line;
    json.BeginItemObject();
    json.Member("number", std::to_string(i + 1));
    json.Member("time", SecondsText(onsets[i].time));
    json.Member("frame", std::to_string(onsets[i].frame));
    json.End();
  }
  json.End();
  if (marking) {
    report.text += "  markers: " + request.markersOut + " (" + std::to_string(stored) + " added, " +
                   std::to_string(copy.MarkerCount()) + " in total)\n";
    json.Member("markersFile", request.markersOut);
    json.Member("markersAdded", std::to_string(stored));
    json.Member("markersTotal", std::to_string(copy.MarkerCount()));
  }
  if (!request.svgOut.empty()) {
    report.text += "  plot: " + request.svgOut + "\n";
    json.Member("plotFile", request.svgOut);
  }
  report.json = json.Finish();
  return std::move(report);
}

}  // namespace qobase_tool
