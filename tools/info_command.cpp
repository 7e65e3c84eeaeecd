// qobase info FILE (also `wavinfo`): what a WAVE or CAF file holds.
#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

#include "audio_summary.h"
#include "command.h"
#include "input_file.h"
#include "wave_format_text.h"

namespace qobase_tool {
namespace {

// The first bytes of the file: the container is chosen by what the file is, not by its name.
std::string Head(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string head(64, '\0');
  in.read(&head[0], static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  return head;
}

void PrintPeak(QoAudioFileReader& reader, std::ostream& out) {
  double peak = 0.0;
  if (!MeasurePeak(reader, peak)) {
    out << "   peak:      cannot be read\n";
    return;
  }
  char text[64];
  if (peak > 0.0) {
    std::snprintf(text, sizeof text, "%.6f (%.2f dBFS)", peak, 20.0 * std::log10(peak));
  } else {
    std::snprintf(text, sizeof text, "0 (silence)");
  }
  out << "   peak:      " << text << "\n";
}

// What the data chunk's own head claims, against what the file holds and what the reader takes:
// a copy cut short holds less than its head gives, and a RIFF size that ends inside the samples
// makes the reader stop there while other programs read them all. Empty when all three agree.
std::string DataChunkWarning(const std::string& file, const QoWavFileReader& reader) {
  const unsigned int blockAlign = reader.GetFormat()->nBlockAlign;
  const unsigned long long offset = reader.GetDataOffset();
  std::ifstream in(file, std::ios::binary | std::ios::ate);
  const long long fileSize = static_cast<long long>(in.tellg());
  unsigned char head[4];
  if (blockAlign == 0 || offset < 8 || fileSize < static_cast<long long>(offset) ||
      !in.seekg(static_cast<std::streamoff>(offset - 4)) ||
      !in.read(reinterpret_cast<char*>(head), 4)) {
    return "";
  }
  const unsigned long long claimed =
      reader.IsByteSwapped()
          ? (0ull + head[0]) << 24 | (0ull + head[1]) << 16 | (0ull + head[2]) << 8 | head[3]
          : (0ull + head[3]) << 24 | (0ull + head[2]) << 16 | (0ull + head[1]) << 8 | head[0];
  const unsigned long long present =
      std::min(claimed, static_cast<unsigned long long>(fileSize) - offset);
  if (reader.GetDataSize() < present) {
    return "the RIFF size ends inside the data chunk: the library reads " +
           std::to_string(reader.GetDataSize() / blockAlign) + " of the " +
           std::to_string(present / blockAlign) + " frames it holds, which other programs play";
  }
  if (claimed == 0xFFFFFFFF) {
    return "the data chunk's size is unset (0xFFFFFFFF, as a program writing a stream leaves "
           "it): it holds " +
           std::to_string(present / blockAlign) + " frames";
  }
  if (present < claimed) {
    return "the data chunk is cut short: it holds " + std::to_string(present / blockAlign) +
           " of the " + std::to_string(claimed / blockAlign) + " frames its header gives";
  }
  return "";
}

int InfoWav(const std::string& file) {
  QoWavFileReader reader;
  // Standard extensible files (sox, libsndfile and most software write them) are read by their
  // published layout: the right mask, and integer samples as integers.
  reader.SetStandardExtensibleLayout(true);
  if (!reader.Open(zu::Path(file))) return Fail(file, "cannot be read or is not a WAVE file");
  if (!reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData | QO::k_chunkSmpl | QO::k_chunkCue |
                         QO::k_chunkLIST) ||
      (reader.ChunksRead() & (QO::k_chunkFmt | QO::k_chunkData)) !=
          (QO::k_chunkFmt | QO::k_chunkData)) {
    return Fail(file, "missing or damaged format, data or marker chunk");
  }
  std::cout << file << "\n";
  PrintWavSummary(reader, std::cout);
  const QoWaveFormatFacts& facts = reader.GetStoredFormat();
  if (HasFloatConversion(facts, reader.IsFloat())) {
    PrintPeak(reader, std::cout);
  } else {
    std::cout << "   peak:      not measured (" << FormatName(facts, reader.IsFloat()) << " "
              << SampleText(facts, reader.IsFloat()) << " samples are not decoded)\n";
  }
  std::vector<std::string> warnings;
  if (reader.GetFormat()->nChannels != facts.numChannels) {
    warnings.push_back("the library reads " + ChannelCount(reader.GetFormat()->nChannels) +
                       " from the channel mask, where the format chunk gives " +
                       ChannelCount(facts.numChannels) + " (as other programs read it)");
  }
  warnings.push_back(DataChunkWarning(file, reader));
  for (const std::string& warning : warnings) {
    if (!warning.empty()) std::cerr << "qobase: " << file << ": warning: " << warning << "\n";
  }
  return k_exitSuccess;
}

int InfoCaf(const std::string& file, const std::string& head) {
  QoCAFFileReader reader;
  if (!reader.Open(file.c_str()) || !reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) {
    return Fail(file, "not a CAF file of linear PCM samples that can be read");
  }
  // The description chunk comes first: format flags at body offset 12 (bit 0 for float), bits
  // per channel at 28, big-endian.
  const bool described = head.size() >= 52 && head.compare(8, 4, "desc") == 0;
  const bool isFloat = described && (static_cast<unsigned char>(head[35]) & 1) != 0;
  unsigned int bits = described ? 0 : reader.GetFormat()->wBitsPerSample;
  for (size_t i = 48; described && i < 52; ++i) {
    bits = bits << 8 | static_cast<unsigned char>(head[i]);
  }
  std::cout << file << "\n";
  PrintCafSummary(reader, isFloat, bits, std::cout);
  // The reader converts what a WAVE reader converts; other samples are left as zeros.
  if (isFloat ? bits == 32 : bits == 16 || bits == 24 || bits == 32) {
    PrintPeak(reader, std::cout);
  } else {
    std::cout << "   peak:      not measured (" << bits << "-bit "
              << (isFloat ? "float" : "integer") << " samples are not decoded)\n";
  }
  return k_exitSuccess;
}

int RunInfo(const std::string& file) {
  std::string reason;
  if (!CheckInputFile(file, reason)) return Fail(file, reason);
  const std::string head = Head(file);
  if (head.compare(0, 4, "caff") == 0) return InfoCaf(file, head);
  if (head.size() >= 12 && (head.compare(0, 4, "RIFF") == 0 || head.compare(0, 4, "RIFX") == 0) &&
      head.compare(8, 4, "WAVE") == 0) {
    return InfoWav(file);
  }
  return Fail(file, "not a WAVE (RIFF/RIFX) or CAF file");
}

void AddInfo(CLI::App& parent) {
  CLI::App& command = *parent.add_subcommand(
      "info", "show the format, length, loop and markers of a WAVE or CAF file");
  command.alias("wavinfo");
  command.footer(
      "Reads a RIFF (little-endian) or RIFX (big-endian) WAVE file, or a CAF file of linear\n"
      "PCM, and prints its format (PCM, IEEE float, A-law, mu-law, or extensible with its\n"
      "sub-format, and the bits), the channels with their speakers and mask, the number of\n"
      "frames, the peak sample value, the loop points and the markers with their labels.\n"
      "`qobase wavinfo` is the same command.\n"
      "Exit code 0 on success, 1 when the file cannot be read as WAVE or CAF, 2 on bad usage.");
  auto file = std::make_shared<std::string>();
  command.add_option("FILE", *file, "the audio file")->required();
  SetRunner(command, "qobase info FILE", [file] { return RunInfo(*file); });
}

const CommandRegistration s_info("info", AddInfo);

}  // namespace
}  // namespace qobase_tool
