// qobase onsets FILE...: the onsets of each sound, optionally stored as markers in a copy of the
// WAVE file and drawn over its waveform; several files and folders run on --jobs threads.
#include <iostream>
#include <map>
#include <memory>

#include "batch_inputs.h"
#include "batch_runner.h"
#include "command.h"
#include "onsets_analysis.h"

namespace qobase_tool {
namespace {

const char k_usage[] =
    "qobase onsets FILE... [--sensitivity S] [--markers OUT.wav | --markers-dir DIR] "
    "[--svg PLOT.svg] [--json] [--recursive] [--jobs N]";

struct OnsetsOptions {
  std::vector<std::string> inputs;
  float sensitivity = 1.0f;
  std::string markers, markersDir, svg;
  bool json = false;
  bool recursive = false;
  unsigned int jobs = DefaultJobCount();
};

int UsageError(const std::string& reason) {
  std::cerr << "qobase onsets: " << reason << "\nusage: " << k_usage
            << "\n(see 'qobase onsets --help')\n";
  return k_exitUsage;
}

std::string FileName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

int RunOnsets(const OnsetsOptions& options) {
  const std::vector<BatchInput> inputs =
      ExpandBatchInputs(options.inputs, options.recursive, {".wav", ".wave", ".caf"});
  if ((!options.markers.empty() || !options.svg.empty()) && inputs.size() != 1) {
    return UsageError("--markers and --svg take one input file; use --markers-dir for several (" +
                      std::to_string(inputs.size()) + " files given)");
  }
  if (!options.markers.empty() && options.markers == options.svg) {
    return UsageError("--markers and --svg name the same file");
  }
  // Marked copies go into one folder by file name: a second input of the same name would
  // replace the first one's copy.
  std::map<std::string, std::string> firstOfName;
  std::map<std::string, std::string> clashes;
  if (!options.markersDir.empty()) {
    for (const BatchInput& input : inputs) {
      const auto added = firstOfName.emplace(FileName(input.path), input.path);
      if (!added.second) clashes[input.path] = added.first->second;
    }
  }
  const bool json = options.json;
  return RunBatch(inputs, options.jobs, [&](const std::string& path) {
    const auto clash = clashes.find(path);
    if (clash != clashes.end()) {
      FileOutcome outcome;
      outcome.err = "qobase: " + path + ": has the same name as " + clash->second +
                    ", whose marked copy is written to " + options.markersDir + "\n";
      outcome.failed = true;
      return outcome;
    }
    OnsetsRequest request;
    request.sensitivity = options.sensitivity;
    request.svgOut = options.svg;
    request.markersOut = options.markers;
    if (!options.markersDir.empty()) {
      request.markersOut =
          options.markersDir + (options.markersDir.back() == '/' ? "" : "/") + FileName(path);
    }
    OnsetsReport report = FindOnsets(path, request);
    FileOutcome outcome;
    outcome.out = json ? report.json : report.text;
    outcome.err = std::move(report.err);
    outcome.failed = report.failed;
    return outcome;
  });
}

void AddOnsets(CLI::App& parent) {
  CLI::App& command = *parent.add_subcommand(
      "onsets", "find the onsets of sounds and store them as markers in a copy of the file");
  command.footer(
      "Finds the onsets (note attacks, hits) of each WAVE or CAF file and prints their times in\n"
      "seconds and sample frames, one line each, in order. A folder stands for the .wav, .wave\n"
      "and .caf files in it (and below it, with --recursive); the files run on --jobs threads\n"
      "and are printed in the order given. A file that fails is reported on its own line on\n"
      "stderr and the others go on; the exit code is then 1.\n\n"
      "--sensitivity S keeps the onsets whose strength (the prominence of the spectral rise) lies\n"
      "in the lowest fraction S of the range the file shows: 1 (the default) keeps every onset\n"
      "found, smaller values fewer, 0 none.\n"
      "--markers OUT.wav writes a copy of the WAVE file with a cue point labelled \"Onset 1\",\n"
      "\"Onset 2\", ... at each onset, keeping its format, markers, loop and other chunks, as\n"
      "`qobase addmarkers` does; --markers-dir DIR writes one such copy per file into DIR, under\n"
      "the file's own name. --svg PLOT.svg draws the waveform, one lane per channel, with the\n"
      "onsets as numbered red lines. --json prints one JSON document per file instead of the\n"
      "text; every value in it is a string holding the number the text shows.\n"
      "Outputs are replaced only when complete and may not name an input.\n"
      "Exit code 0 on success, 1 when a file failed, 2 on bad usage.");
  auto options = std::make_shared<OnsetsOptions>();
  command.add_option("FILE", options->inputs, "WAVE or CAF files, or folders of them")->required();
  command.add_option("--sensitivity", options->sensitivity, "fraction of the onsets to keep (0-1)")
      ->type_name("S")
      ->check(CLI::Range(0.0f, 1.0f));
  CLI::Option* markers =
      command.add_option("--markers", options->markers, "write a marked copy of the file")
          ->type_name("OUT.wav");
  command.add_option("--markers-dir", options->markersDir, "write marked copies into DIR")
      ->type_name("DIR")
      ->check(CLI::ExistingDirectory)
      ->excludes(markers);
  command.add_option("--svg", options->svg, "draw the waveform and onsets")->type_name("PLOT.svg");
  command.add_flag("--json", options->json, "print JSON documents instead of text");
  command.add_flag("--recursive", options->recursive, "descend into the folders' folders");
  command.add_option("--jobs", options->jobs, "files analysed at once (default: the cores)")
      ->type_name("N")
      ->check(CLI::Range(1u, 256u));
  SetRunner(command, k_usage, [options] { return RunOnsets(*options); });
}

const CommandRegistration s_onsets("onsets", AddOnsets);

}  // namespace
}  // namespace qobase_tool
