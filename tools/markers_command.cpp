// qobase markers FILE: the markers (with their labels) and the loop of a WAVE file, one per line,
// or as a JSON document.
#include <qobase/audio/wav_file_reader.h>

#include <iostream>
#include <memory>

#include "audio_input.h"
#include "audio_summary.h"
#include "command.h"
#include "input_file.h"
#include "json_report.h"
#include "onsets_analysis.h"

namespace qobase_tool {
namespace {

struct MarkersOptions {
  std::string file;
  bool json = false;
};

int RunMarkers(const MarkersOptions& options) {
  const std::string& file = options.file;
  std::string reason;
  if (!CheckInputFile(file, reason)) return Fail(file, reason);
  if (SniffContainer(file) != Container::k_wave) return Fail(file, "not a RIFF/RIFX WAVE file");
  QoWavFileReader reader;
  reader.SetStandardExtensibleLayout(true);
  if (!reader.Open(zu::Path(file)) ||
      !reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData | QO::k_chunkSmpl | QO::k_chunkCue |
                         QO::k_chunkLIST)) {
    return Fail(file, "missing or damaged format, data or marker chunk");
  }
  const unsigned int rate = reader.GetFormat()->nSamplesPerSec;
  const auto seconds = [rate](unsigned int frame) {
    return SecondsText(rate == 0 ? 0.0 : static_cast<double>(frame) / rate);
  };
  const bool looped = (reader.ChunksRead() & QO::k_chunkSmpl) != 0;
  JsonReport json;
  json.Member("file", file);
  json.Member("sampleRate", std::to_string(rate));
  std::string text = file + ": " + std::to_string(reader.GetMarkers().size()) +
                     (reader.GetMarkers().size() == 1 ? " marker" : " markers") + "\n";
  json.BeginArray("markers");
  for (const QO_WAVE_MARKER& marker : reader.GetMarkers()) {
    text += "  #" + std::to_string(marker.ID) + "  frame " + std::to_string(marker.position) +
            "  " + seconds(marker.position) + " s" +
            (marker.labelSize ? "  \"" + LabelText(marker) + "\"" : "") + "\n";
    json.BeginItemObject();
    json.Member("id", std::to_string(marker.ID));
    json.Member("frame", std::to_string(marker.position));
    json.Member("time", seconds(marker.position));
    json.Member("label", LabelText(marker));
    json.End();
  }
  json.End();
  if (looped) {
    text += "  loop: frames " + std::to_string(reader.GetLoopStartFrame()) + " - " +
            std::to_string(reader.GetLoopEndFrame()) + " (" + seconds(reader.GetLoopStartFrame()) +
            " - " + seconds(reader.GetLoopEndFrame()) + " s)\n";
    json.BeginObject("loop");
    json.Member("start", std::to_string(reader.GetLoopStartFrame()));
    json.Member("end", std::to_string(reader.GetLoopEndFrame()));
    json.End();
  } else {
    text += "  loop: none\n";
  }
  std::cout << (options.json ? json.Finish() : text);
  return k_exitSuccess;
}

void AddMarkers(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("markers", "list the markers and the loop of a WAVE file");
  command.footer(
      "Prints each marker of the WAVE file with its ID, sample frame, time in seconds and label,\n"
      "in the order the file lists them, then the sampler loop. --json prints the same as a JSON\n"
      "document, every value a string. `qobase addmarkers` and `qobase onsets --markers` add\n"
      "markers.\n"
      "Exit code 0 on success, 1 when the file cannot be read as WAVE, 2 on bad usage.");
  auto options = std::make_shared<MarkersOptions>();
  command.add_option("FILE", options->file, "the WAVE file")->required();
  command.add_flag("--json", options->json, "print a JSON document instead of text");
  SetRunner(command, "qobase markers FILE [--json]", [options] { return RunMarkers(*options); });
}

const CommandRegistration s_markers("markers", AddMarkers);

}  // namespace
}  // namespace qobase_tool
