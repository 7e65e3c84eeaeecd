// qobase wavinfo FILE: what a RIFF/RIFX WAVE file holds.
#include <qobase/audio/wav_file_reader.h>

#include <iostream>
#include <memory>

#include "command.h"
#include "input_file.h"
#include "wav_summary.h"

namespace qobase_tool {
namespace {

int RunWavInfo(const std::string& file) {
  std::string reason;
  if (!CheckInputFile(file, reason)) return Fail(file, reason);
  QoWavFileReader reader;
  if (!reader.Open(zu::Path(file)))
    return Fail(file, "cannot be read or is not a RIFF/RIFX WAVE file");
  if (!reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData | QO::k_chunkSmpl | QO::k_chunkCue |
                         QO::k_chunkLIST)) {
    return Fail(file, "missing or damaged format, data or marker chunk");
  }
  std::cout << file << "\n";
  PrintWavSummary(reader, std::cout);
  return k_exitSuccess;
}

void AddWavInfo(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("wavinfo", "show the format, length, loop and markers of a WAV file");
  command.footer(
      "Reads a RIFF (little-endian) or RIFX (big-endian) WAVE file and prints its format, channel\n"
      "configuration, number of frames, loop points and markers with their labels.\n"
      "Exit code 0 on success, 1 when the file cannot be read as WAVE, 2 on bad usage.");
  auto file = std::make_shared<std::string>();
  command.add_option("FILE", *file, "the WAVE file")->required();
  SetRunner(command, "qobase wavinfo FILE", [file] { return RunWavInfo(*file); });
}

const CommandRegistration s_wavinfo("wavinfo", AddWavInfo);

}  // namespace
}  // namespace qobase_tool
