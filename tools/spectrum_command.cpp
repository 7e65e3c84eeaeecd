// qobase spectrum FILE: the level spectrum of a whole sound (the loudest moment of every
// frequency), the highest frequency above a threshold, and a plot over a logarithmic axis.
#include <qobase/analysis/fft_helper.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#include "audio_input.h"
#include "command.h"
#include "json_report.h"
#include "output_file.h"
#include "progress_bar.h"
#include "spectrum_command.h"
#include "spectrum_plot.h"

namespace qobase_tool {
namespace {

const char k_usage[] =
    "qobase spectrum FILE [--size N] [--window hann|hamming|triangular] [--threshold DB] "
    "[--svg PLOT.svg] [--json]";

std::string Fixed(double value, int decimals) {
  char text[48];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string FileName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

SpectrumReport AnalyseSpectrum(const SpectrumRequest& request) {
  SpectrumReport report;
  const auto fail = [&](const std::string& what, const std::string& reason) {
    report.err = "qobase: " + what + ": " + reason + "\n";
    report.failed = true;
    return report;
  };
  std::string reason;
  AnalysisInput input;
  if (!OpenForAnalysis(request.file, input, reason)) return fail(request.file, reason);
  // The plot is checked before the analysis, so a bad name fails at once; it is created only
  // when the analysis is done, so an interruption leaves nothing behind.
  if (!request.svgOut.empty()) {
    OutputFile probe;
    if (!probe.Create(request.svgOut, {request.file}, reason)) {
      return fail(request.svgOut, reason);
    }
  }

  const FFTHelper::WindowFunction window = request.window == "hamming"      ? FFTHelper::Hamming
                                           : request.window == "triangular" ? FFTHelper::Triangular
                                                                            : FFTHelper::Hann;
  FFTHelper helper(request.size, window);
  if (!helper.IsValid()) return fail(request.file, "no transform of that size can be made");
  std::vector<float> levels;
  unsigned int rate = 0;
  bool done = false;
  {
    ProgressBar bar("frames");
    bar.ListenForCancel();
    done = helper.GetSpectrum(*input.reader, levels, rate, &bar);
    if (!done && bar.IsCancelled()) {
      report.cancelled = true;
      return fail(request.file, "cancelled");
    }
  }
  if (!done) return fail(request.file, "cannot be read");

  const size_t bins = levels.size();
  const double binWidth = bins == 0 ? 0.0 : static_cast<double>(rate) / (2.0 * bins);
  size_t strongest = 0;
  for (size_t k = 1; k < bins; ++k) {
    if (levels[k] > levels[strongest]) strongest = k;
  }
  const bool silent = bins == 0 || !std::isfinite(levels[strongest]);
  const double highest = FFTHelper::FindMaximumFrequency(levels, rate, request.threshold);

  report.text = request.file + ": spectrum of " + std::to_string(request.size) + "-frame blocks (" +
                request.window + " window), " + std::to_string(rate) + " Hz\n";
  JsonReport json;
  json.Member("file", request.file);
  json.Member("sampleRate", std::to_string(rate));
  json.Member("size", std::to_string(request.size));
  json.Member("window", request.window);
  json.Member("binWidth", Fixed(binWidth, 3));
  json.Member("threshold", Fixed(request.threshold, 1));
  if (silent) {
    report.text += "  silent: no frequency has any level\n";
    json.Member("silent", "true");
  } else {
    report.text += "  strongest: " + Fixed(strongest * binWidth, 1) + " Hz\n";
    json.Member("strongestFrequency", Fixed(strongest * binWidth, 1));
  }
  report.text +=
      "  highest above " + Fixed(request.threshold, 1) + " dB: " + Fixed(highest, 1) + " Hz\n";
  json.Member("highestFrequency", Fixed(highest, 1));

  if (!request.svgOut.empty()) {
    SpectrumPlot plot;
    plot.title = FileName(request.file) + ": level spectrum (" + std::to_string(request.size) +
                 "-frame " + request.window + " blocks)";
    plot.levels = std::move(levels);
    plot.sampleRate = rate;
    plot.threshold = request.threshold;
    plot.highest = highest;
    const std::string svg = DrawSpectrum(plot);
    OutputFile out;
    if (!out.Create(request.svgOut, {request.file}, reason) || !out.Write(svg.data(), svg.size()) ||
        !out.Commit(reason)) {
      return fail(request.svgOut, reason);
    }
    report.text += "  plot: " + request.svgOut + "\n";
    json.Member("plotFile", request.svgOut);
  }
  report.json = json.Finish();
  return report;
}

namespace {

struct SpectrumOptions {
  SpectrumRequest request;
  bool json = false;
};

int RunSpectrum(const SpectrumOptions& options) {
  if (options.request.size % 2 != 0) {
    std::cerr << "qobase spectrum: --size must be even\nusage: " << k_usage
              << "\n(see 'qobase spectrum --help')\n";
    return k_exitUsage;
  }
  const SpectrumReport report = AnalyseSpectrum(options.request);
  std::cerr << report.err;
  if (report.cancelled) return 130;
  if (report.failed) return k_exitFailure;
  std::cout << (options.json ? report.json : report.text);
  return k_exitSuccess;
}

void AddSpectrum(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("spectrum", "the level spectrum of a sound and its highest frequency");
  command.footer(
      "Cuts the WAVE or CAF file into blocks of N frames, mixes each to mono, applies the window\n"
      "and keeps for every frequency the loudest level any block reaches, in dB with the\n"
      "strongest frequency at 0 dB (and a floor at -96.3 dB). Prints the strongest frequency and\n"
      "the highest one whose level is above the threshold. --svg draws the levels over a\n"
      "logarithmic frequency axis; --json prints a JSON document instead of the text, every\n"
      "value a string holding the number the text shows. On a terminal a progress bar shows on\n"
      "stderr; Ctrl-C stops the analysis (exit code 130) and writes nothing.\n"
      "Exit code 0 on success, 1 when the file cannot be analysed or the plot written, 2 on bad\n"
      "usage.");
  auto options = std::make_shared<SpectrumOptions>();
  command.add_option("FILE", options->request.file, "the WAVE or CAF file")->required();
  command.add_option("--size", options->request.size, "block and FFT size (even, default 4096)")
      ->type_name("N")
      ->check(CLI::Range(16u, 1u << 20));
  command.add_option("--window", options->request.window, "hann (default), hamming, triangular")
      ->check(CLI::IsMember({"hann", "hamming", "triangular"}));
  command.add_option("--threshold", options->request.threshold, "level in dB (default -60)")
      ->type_name("DB")
      ->check(CLI::Range(-200.0, 0.0));
  command.add_option("--svg", options->request.svgOut, "draw the spectrum")->type_name("PLOT.svg");
  command.add_flag("--json", options->json, "print a JSON document instead of text");
  SetRunner(command, k_usage, [options] { return RunSpectrum(*options); });
}

const CommandRegistration s_spectrum("spectrum", AddSpectrum);

}  // namespace
}  // namespace qobase_tool
