// qobase info FILE... (also `wavinfo`): what WAVE, CAF and MIDI files hold, read from their
// headers; several files and folders run on --jobs threads and print in the order given.
#include <memory>

#include "batch_inputs.h"
#include "batch_runner.h"
#include "command.h"
#include "info_report.h"

namespace qobase_tool {
namespace {

struct InfoOptions {
  std::vector<std::string> inputs;
  InfoRequest request;
  bool recursive = false;
  unsigned int jobs = DefaultJobCount();
};

int RunInfo(const InfoOptions& options) {
  const std::vector<BatchInput> inputs = ExpandBatchInputs(
      options.inputs, options.recursive, {".wav", ".wave", ".caf", ".mid", ".midi"});
  return RunBatch(inputs, options.jobs, [&options](const std::string& path) {
    InfoReport report = DescribeFile(path, options.request);
    FileOutcome outcome;
    outcome.out = std::move(report.out);
    outcome.err = std::move(report.err);
    outcome.failed = report.failed;
    return outcome;
  });
}

void AddInfo(CLI::App& parent) {
  CLI::App& command = *parent.add_subcommand(
      "info", "show the format, channels, length, loop and markers of audio and MIDI files");
  command.alias("wavinfo");
  command.footer(
      "Reads RIFF (little-endian) and RIFX (big-endian) WAVE files, CAF files of linear PCM and\n"
      "Standard MIDI Files, told apart by their first bytes. For audio it prints the format\n"
      "(PCM, IEEE float, A-law, mu-law, or extensible with its sub-format, and the bits), the\n"
      "channels with their speakers and mask, the channel layout by name with the name of each\n"
      "channel (\"5.1 (L,R,C,LFE,SL,SR)\"), the rate, the frames and duration, the loop points\n"
      "and the markers with their labels; --peak also reads every sample for the peak value.\n"
      "For MIDI: the format, tracks, division, tempo changes, events and length.\n"
      "Only the headers are read, so a long file takes no longer than a short one.\n\n"
      "A folder stands for the .wav, .wave, .caf, .mid and .midi files in it (and below it, with\n"
      "--recursive); the files run on --jobs threads and print in the order given. --json prints\n"
      "one JSON document per file, every value a string holding the number the text shows. A\n"
      "file that fails is reported on its own line on stderr and the others go on.\n"
      "`qobase wavinfo` is the same command.\n"
      "Exit code 0 on success, 1 when a file cannot be read, 2 on bad usage.");
  auto options = std::make_shared<InfoOptions>();
  command.add_option("FILE", options->inputs, "audio or MIDI files, or folders of them")
      ->required();
  command.add_flag("--json", options->request.json, "print JSON documents instead of text");
  command.add_flag("--peak", options->request.peak, "measure the peak sample (reads the samples)");
  command.add_flag("--recursive", options->recursive, "descend into the folders' folders");
  command.add_option("--jobs", options->jobs, "files read at once (default: the cores)")
      ->type_name("N")
      ->check(CLI::Range(1u, 256u));
  SetRunner(command, "qobase info FILE... [--json] [--peak] [--recursive] [--jobs N]",
            [options] { return RunInfo(*options); });
}

const CommandRegistration s_info("info", AddInfo);

}  // namespace
}  // namespace qobase_tool
