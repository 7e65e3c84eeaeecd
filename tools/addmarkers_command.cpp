// qobase addmarkers: adds labelled cue points (and optionally a loop) to a WAVE file, writing a
// new file through the chunk editor: the source is only read, its samples are copied unchanged.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include "command.h"
#include "input_file.h"
#include "marked_copy.h"
#include "output_file.h"

namespace qobase_tool {
namespace {

const char k_usage[] = "qobase addmarkers [--loop START:END] [--compact] IN OUT TIME[:LABEL]...";

// A bad argument value found after parsing: the same form as the parser's usage errors.
int UsageError(const std::string& reason) {
  std::cerr << "qobase addmarkers: " << reason << "\nusage: " << k_usage
            << "\n(see 'qobase addmarkers --help')\n";
  return k_exitUsage;
}

struct MarkerSpec {
  std::string time;
  std::string label;
};

// "1200" is a sample frame, "1.5s" a time in seconds (rounded to the nearest frame).
bool ParseTime(const std::string& text, unsigned int sampleRate, unsigned long long& frame) {
  if (text.empty() || text[0] == '-' || text[0] == '+' ||
      std::isspace(static_cast<unsigned char>(text[0]))) {
    return false;
  }
  char* end = nullptr;
  errno = 0;
  if (text.back() == 's') {
    const std::string number = text.substr(0, text.size() - 1);
    const double seconds = std::strtod(number.c_str(), &end);
    if (number.empty() || *end != '\0' || errno != 0 || !std::isfinite(seconds)) return false;
    const double frames = std::round(seconds * sampleRate);
    if (frames > 4294967295.0) return false;
    frame = static_cast<unsigned long long>(frames);
    return true;
  }
  frame = std::strtoull(text.c_str(), &end, 10);
  return *end == '\0' && errno == 0;
}

struct AddMarkersOptions {
  std::string in;
  std::string out;
  std::vector<std::string> markers;
  std::string loop;
  bool compact = false;
};

int RunAddMarkers(const AddMarkersOptions& options) {
  const std::string& in = options.in;
  const std::string& out = options.out;
  const std::string& loop = options.loop;
  if (options.markers.empty() && loop.empty()) return UsageError("no marker or loop to add");
  std::vector<MarkerSpec> specs;
  for (const std::string& marker : options.markers) {
    const size_t colon = marker.find(':');
    specs.push_back(
        {marker.substr(0, colon), colon == std::string::npos ? "" : marker.substr(colon + 1)});
  }
  std::string reason;
  if (!CheckInputFile(in, reason)) return Fail(in, reason);
  OutputFile target;
  if (!target.Create(out, {in}, reason)) return Fail(out, reason);

  MarkedCopy copy;
  if (!copy.Open(in, options.compact, reason)) return Fail(in, reason);
  if (!copy.Warning().empty()) {
    std::cerr << "qobase: " << in << ": warning: " << copy.Warning() << "\n";
  }
  const unsigned long long frames = copy.Frames();

  const auto toFrame = [&](const std::string& text, unsigned long long& frame) -> int {
    if (!ParseTime(text, copy.SampleRate(), frame)) return UsageError("bad time '" + text + "'");
    if (frame >= frames) {
      return Fail(in, "time " + text + " is past the last frame (the file has " +
                          std::to_string(frames) + " frames)");
    }
    return k_exitSuccess;
  };
  for (const MarkerSpec& spec : specs) {
    unsigned long long frame = 0;
    if (const int code = toFrame(spec.time, frame)) return code;
    copy.AddMarker(static_cast<unsigned int>(frame), spec.label);
  }
  if (!loop.empty()) {
    const size_t colon = loop.find(':');
    if (colon == std::string::npos) return UsageError("--loop needs START:END");
    unsigned long long start = 0, end = 0;
    if (const int code = toFrame(loop.substr(0, colon), start)) return code;
    if (const int code = toFrame(loop.substr(colon + 1), end)) return code;
    if (end < start) return UsageError("the loop ends before it starts");
    copy.SetLoop(static_cast<unsigned int>(start), static_cast<unsigned int>(end));
  }
  if (!copy.Write(target, reason)) return Fail(out, reason);
  std::cout << out << ": " << specs.size() << " marker(s) added, " << copy.MarkerCount()
            << " in total" << (loop.empty() ? "" : ", loop set") << "\n";
  return k_exitSuccess;
}

void AddAddMarkers(CLI::App& parent) {
  CLI::App& command = *parent.add_subcommand(
      "addmarkers", "add labelled markers to a WAVE file, writing a new file");
  command.footer(
      "Copies the WAVE file IN to OUT with a cue point at each TIME, labelled LABEL when one is\n"
      "given. The markers and loop IN already has are kept; cue points are written in order of\n"
      "position, and the samples are copied unchanged, starting on a 16-byte boundary.\n\n"
      "TIME is a sample frame (1200) or seconds with an 's' (1.5s, rounded to the nearest frame),\n"
      "and must lie inside the file.\n\n"
      "--compact writes the library's own 24-byte format chunk, which other programs (sox among\n"
      "them) refuse as too short; without it the plain format chunk every program reads is "
      "written.\n"
      "Everything else is kept as IN has it: the format chunk byte for byte (format tag,\n"
      "extensible layout, channel mask) and every other chunk (bext, LIST/INFO, fact, iXML, ...)\n"
      "in its place. A file whose chunks the editor would change or drop is refused. OUT must\n"
      "not be IN; it is replaced only when complete, and its folder must exist.\n"
      "Exit code 0 on success, 1 when IN cannot be read or OUT cannot be written, 2 on bad usage.");
  auto options = std::make_shared<AddMarkersOptions>();
  command.add_option("--loop", options->loop, "set the sampler loop (replacing the one IN has)")
      ->type_name("START:END");
  command.add_flag("--compact", options->compact,
                   "write the library's 24-byte format chunk (not readable by sox)");
  command.add_option("IN", options->in, "the WAVE file to read")->required();
  command.add_option("OUT", options->out, "the new file to write")->required();
  command.add_option("MARKERS", options->markers, "where to add markers")
      ->type_name("TIME[:LABEL]");
  SetRunner(command, k_usage, [options] { return RunAddMarkers(*options); });
}

const CommandRegistration s_addMarkers("addmarkers", AddAddMarkers);

}  // namespace
}  // namespace qobase_tool
