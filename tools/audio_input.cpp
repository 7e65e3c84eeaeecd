#include "audio_input.h"

#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include "input_file.h"
#include "wave_format_text.h"

namespace qobase_tool {
namespace {

std::unique_ptr<QoWavFileReader> OpenWave(const std::string& path) {
  auto reader = std::make_unique<QoWavFileReader>();
  // Standard extensible files are read by their published layout, as `info` reads them.
  reader->SetStandardExtensibleLayout(true);
  if (!reader->Open(zu::Path(path))) return nullptr;
  return reader;
}

std::unique_ptr<QoCAFFileReader> OpenCaf(const std::string& path) {
  auto reader = std::make_unique<QoCAFFileReader>();
  if (!reader->Open(path.c_str())) return nullptr;
  return reader;
}

bool CheckWave(const std::string& path, AnalysisInput& input, std::string& reason) {
  std::unique_ptr<QoWavFileReader> probe = OpenWave(path);
  if (!probe || !probe->ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) {
    reason = "missing or damaged format or data chunk";
    return false;
  }
  const QoWaveFormatFacts& facts = probe->GetStoredFormat();
  if (!HasFloatConversion(facts, probe->IsFloat())) {
    const std::string name = FormatName(facts, probe->IsFloat());
    const std::string sample = SampleText(facts, probe->IsFloat());
    reason = "unsupported sample format: " +
             (name == "PCM" || name == "IEEE float" ? sample : name + ", " + sample);
    return false;
  }
  if (probe->GetFormat()->nChannels != facts.numChannels) {
    reason = "its channel mask names " + ChannelCount(probe->GetFormat()->nChannels) +
             " where the format chunk gives " + ChannelCount(facts.numChannels) +
             "; it cannot be analysed";
    return false;
  }
  input.channels = probe->GetFormat()->nChannels;
  input.sampleRate = probe->GetFormat()->nSamplesPerSec;
  input.frames = probe->GetNumFrames();
  input.reader = OpenWave(path);
  if (!input.reader) reason = "cannot be read";
  return input.reader != nullptr;
}

bool CheckCaf(const std::string& path, AnalysisInput& input, std::string& reason) {
  std::unique_ptr<QoCAFFileReader> probe = OpenCaf(path);
  if (!probe || !probe->ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) {
    reason = "not a CAF file of linear PCM samples that can be read";
    return false;
  }
  // The description chunk comes first: format flags at body offset 12 (bit 0 for float), bits
  // per channel at 28, big-endian.
  const std::string head = ReadFileHead(path, 52);
  const bool described = head.size() >= 52 && head.compare(8, 4, "desc") == 0;
  const bool isFloat = described && (static_cast<unsigned char>(head[35]) & 1) != 0;
  unsigned int bits = described ? 0 : probe->GetFormat()->wBitsPerSample;
  for (size_t i = 48; described && i < 52; ++i) {
    bits = bits << 8 | static_cast<unsigned char>(head[i]);
  }
  if (!(isFloat ? bits == 32 : bits == 16 || bits == 24 || bits == 32)) {
    reason = "unsupported sample format: " + std::to_string(bits) + "-bit " +
             (isFloat ? "float" : "integer");
    return false;
  }
  input.channels = probe->GetFormat()->nChannels;
  input.sampleRate = probe->GetFormat()->nSamplesPerSec;
  input.frames = probe->GetNumFrames();
  input.reader = OpenCaf(path);
  if (!input.reader) reason = "cannot be read";
  return input.reader != nullptr;
}

}  // namespace

Container SniffContainer(const std::string& path) {
  const std::string head = ReadFileHead(path, 12);
  if (head.size() >= 12 && (head.compare(0, 4, "RIFF") == 0 || head.compare(0, 4, "RIFX") == 0) &&
      head.compare(8, 4, "WAVE") == 0) {
    return Container::k_wave;
  }
  if (head.compare(0, 4, "caff") == 0) return Container::k_caf;
  if (head.compare(0, 4, "MThd") == 0) return Container::k_midi;
  return Container::k_unknown;
}

bool OpenForAnalysis(const std::string& path, AnalysisInput& input, std::string& reason) {
  if (!CheckInputFile(path, reason)) return false;
  input.container = SniffContainer(path);
  switch (input.container) {
    case Container::k_wave:
      return CheckWave(path, input, reason);
    case Container::k_caf:
      return CheckCaf(path, input, reason);
    default:
      reason = "not a RIFF/RIFX WAVE or CAF file";
      return false;
  }
}

}  // namespace qobase_tool
