#include "info_report.h"

#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "audio_input.h"
#include "audio_summary.h"
#include "channel_layout_text.h"
#include "input_file.h"
#include "json_report.h"
#include "midi_event_text.h"
#include "midi_file_walk.h"
#include "onsets_analysis.h"
#include "wave_format_text.h"

namespace qobase_tool {
namespace {

constexpr unsigned long long k_maxMidiFileSize = 512ull * 1024 * 1024;

std::string Hex(unsigned int value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", value);
  return text;
}

// "0.864563 (-1.26 dBFS)", "0 (silence)", or empty when the samples cannot be read.
std::string PeakText(QoAudioFileReader& reader) {
  double peak = 0.0;
  if (!MeasurePeak(reader, peak)) return "";
  char text[64];
  if (peak > 0.0) {
    std::snprintf(text, sizeof text, "%.6f (%.2f dBFS)", peak, 20.0 * std::log10(peak));
  } else {
    std::snprintf(text, sizeof text, "0 (silence)");
  }
  return text;
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

// The lines and members every audio container shares: layout, length, loop, markers, peak.
void DescribeCommon(QoAudioFileReader& reader, const InfoRequest& request, bool hasLoop,
                    std::ostream& text, JsonReport& json) {
  const WaveFormatExtensible& format = *reader.GetFormat();
  const ChannelLayoutText layout = DescribeChannelLayout(format.channelConfig);
  json.Member("sampleRate", std::to_string(format.nSamplesPerSec));
  json.Member("channels", std::to_string(format.nChannels));
  json.Member("layout", layout.name);
  json.BeginArray("channelNames");
  for (const std::string& name : layout.names) json.Item(name);
  json.End();
  if (QO::GetChannelConfigType(format.channelConfig) == QO::k_channelConfigStandard) {
    json.Member("speakerMask", Hex(QO::GetChannelConfigMask(format.channelConfig)));
  }
  json.Member("frames", std::to_string(reader.GetNumFrames()));
  json.Member("duration", SecondsText(reader.GetDuration()));
  json.Member("dataBytes", std::to_string(reader.GetDataSize()));
  if (hasLoop) {
    json.BeginObject("loop");
    json.Member("start", std::to_string(reader.GetLoopStartFrame()));
    json.Member("end", std::to_string(reader.GetLoopEndFrame()));
    json.End();
  }
  json.BeginArray("markers");
  for (const QO_WAVE_MARKER& marker : reader.GetMarkers()) {
    json.BeginItemObject();
    json.Member("id", std::to_string(marker.ID));
    json.Member("frame", std::to_string(marker.position));
    json.Member("label", LabelText(marker));
    json.End();
  }
  json.End();
  if (request.peak) {
    const std::string peak = PeakText(reader);
    text << "   peak:      " << (peak.empty() ? "cannot be read" : peak) << "\n";
    if (!peak.empty()) json.Member("peak", peak.substr(0, peak.find(' ')));
  }
}

InfoReport Failed(const std::string& path, const std::string& reason) {
  InfoReport report;
  report.err = "qobase: " + path + ": " + reason + "\n";
  report.failed = true;
  return report;
}

InfoReport DescribeWav(const std::string& file, const InfoRequest& request) {
  QoWavFileReader reader;
  // Standard extensible files (sox, libsndfile and most software write them) are read by their
  // published layout: the right mask, and integer samples as integers.
  reader.SetStandardExtensibleLayout(true);
  if (!reader.Open(zu::Path(file))) return Failed(file, "cannot be read or is not a WAVE file");
  if (!reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData | QO::k_chunkSmpl | QO::k_chunkCue |
                         QO::k_chunkLIST) ||
      (reader.ChunksRead() & (QO::k_chunkFmt | QO::k_chunkData)) !=
          (QO::k_chunkFmt | QO::k_chunkData)) {
    return Failed(file, "missing or damaged format, data or marker chunk");
  }
  std::ostringstream text;
  JsonReport json;
  text << file << "\n";
  PrintWavSummary(reader, text);
  const QoWaveFormatFacts& facts = reader.GetStoredFormat();
  json.Member("file", file);
  json.Member("container", reader.IsByteSwapped() ? "RIFX" : "RIFF");
  json.Member("format", FormatName(facts, reader.IsFloat()));
  json.Member("sample", SampleText(facts, reader.IsFloat()));
  json.Member("blockAlign", std::to_string(reader.GetFormat()->nBlockAlign));
  InfoRequest asked = request;
  if (request.peak && !HasFloatConversion(facts, reader.IsFloat())) {
    asked.peak = false;
    text << "   peak:      not measured (" << FormatName(facts, reader.IsFloat()) << " "
         << SampleText(facts, reader.IsFloat()) << " samples are not decoded)\n";
  }
  DescribeCommon(reader, asked, (reader.ChunksRead() & QO::k_chunkSmpl) != 0, text, json);

  InfoReport report;
  std::vector<std::string> warnings;
  if (reader.GetFormat()->nChannels != facts.numChannels) {
    warnings.push_back("the library reads " + ChannelCount(reader.GetFormat()->nChannels) +
                       " from the channel mask, where the format chunk gives " +
                       ChannelCount(facts.numChannels) + " (as other programs read it)");
  }
  warnings.push_back(DataChunkWarning(file, reader));
  for (const std::string& warning : warnings) {
    if (!warning.empty()) report.err += "qobase: " + file + ": warning: " + warning + "\n";
  }
  report.out = request.json ? json.Finish() : text.str();
  return report;
}

InfoReport DescribeCaf(const std::string& file, const InfoRequest& request) {
  QoCAFFileReader reader;
  if (!reader.Open(file.c_str()) || !reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData)) {
    return Failed(file, "not a CAF file of linear PCM samples that can be read");
  }
  // The description chunk comes first: format flags at body offset 12 (bit 0 for float), bits
  // per channel at 28, big-endian.
  const std::string head = ReadFileHead(file, 64);
  const bool described = head.size() >= 52 && head.compare(8, 4, "desc") == 0;
  const bool isFloat = described && (static_cast<unsigned char>(head[35]) & 1) != 0;
  unsigned int bits = described ? 0 : reader.GetFormat()->wBitsPerSample;
  for (size_t i = 48; described && i < 52; ++i) {
    bits = bits << 8 | static_cast<unsigned char>(head[i]);
  }
  std::ostringstream text;
  JsonReport json;
  text << file << "\n";
  PrintCafSummary(reader, isFloat, bits, text);
  // The CAF reader reads no loop or markers; said as for a WAVE file without them.
  text << "   loop:      none\n"
       << "   markers:   " << reader.GetMarkers().size() << "\n";
  json.Member("file", file);
  json.Member("container", "CAF");
  json.Member("format", "linear PCM");
  json.Member("sample", std::to_string(bits) + "-bit " + (isFloat ? "float" : "integer"));
  json.Member("blockAlign", std::to_string(reader.GetFormat()->nBlockAlign));
  InfoRequest asked = request;
  // The reader converts what a WAVE reader converts; other samples are left as zeros.
  if (request.peak && !(isFloat ? bits == 32 : bits == 16 || bits == 24 || bits == 32)) {
    asked.peak = false;
    text << "   peak:      not measured (" << bits << "-bit " << (isFloat ? "float" : "integer")
         << " samples are not decoded)\n";
  }
  DescribeCommon(reader, asked, false, text, json);
  InfoReport report;
  report.out = request.json ? json.Finish() : text.str();
  return report;
}

InfoReport DescribeMidi(const std::string& file, const InfoRequest& request) {
  std::ifstream in(file, std::ios::binary | std::ios::ate);
  const std::streamoff size = in.tellg();
  if (!in || size < 0) return Failed(file, "cannot be read");
  if (static_cast<unsigned long long>(size) > k_maxMidiFileSize) {
    return Failed(file, "too large for a MIDI file");
  }
  std::string bytes(static_cast<size_t>(size), '\0');
  in.seekg(0);
  if (!in.read(&bytes[0], size)) return Failed(file, "cannot be read");
  SmfHeader header;
  std::vector<SmfEvent> events;
  std::string reason;
  if (!ReadSmfHeader(bytes, header, reason)) return Failed(file, reason);
  if (header.smpte) return Failed(file, "SMPTE time division is not supported");
  if (!WalkSmf(bytes, events, reason)) return Failed(file, reason);

  std::ostringstream text;
  JsonReport json;
  const uint64_t lengthTicks = events.empty() ? 0 : events.back().tick;
  const double lengthSeconds = events.empty() ? 0.0 : events.back().seconds;
  std::vector<const SmfEvent*> tempos;
  for (const SmfEvent& event : events) {
    if (event.status == 0xFF && event.metaType == 0x51) tempos.push_back(&event);
  }
  text << file << "\n"
       << "   container: Standard MIDI File\n"
       << "   format:    " << header.format << "\n"
       << "   tracks:    " << header.numTracks << "\n"
       << "   division:  " << header.division << " ticks per quarter note\n"
       << "   tempo:     " << tempos.size() << (tempos.size() == 1 ? " change" : " changes")
       << (tempos.empty() ? " (120 bpm throughout)" : "") << "\n";
  json.Member("file", file);
  json.Member("container", "MIDI");
  json.Member("format", std::to_string(header.format));
  json.Member("tracks", std::to_string(header.numTracks));
  json.Member("division", std::to_string(header.division));
  json.BeginArray("tempoChanges");
  for (const SmfEvent* tempo : tempos) {
    const std::string bpm = FormatBpm(60000000.0 / tempo->tempo);
    text << "     at tick " << tempo->tick << " (" << SecondsText(tempo->seconds) << " s): " << bpm
         << " bpm\n";
    json.BeginItemObject();
    json.Member("tick", std::to_string(tempo->tick));
    json.Member("time", SecondsText(tempo->seconds));
    json.Member("bpm", bpm);
    json.End();
  }
  json.End();
  text << "   events:    " << events.size() << "\n"
       << "   length:    " << lengthTicks << " ticks (" << SecondsText(lengthSeconds) << " s)\n";
  json.Member("events", std::to_string(events.size()));
  json.Member("lengthTicks", std::to_string(lengthTicks));
  json.Member("duration", SecondsText(lengthSeconds));
  InfoReport report;
  report.out = request.json ? json.Finish() : text.str();
  return report;
}

}  // namespace

InfoReport DescribeFile(const std::string& path, const InfoRequest& request) {
  std::string reason;
  if (!CheckInputFile(path, reason)) return Failed(path, reason);
  switch (SniffContainer(path)) {
    case Container::k_wave:
      return DescribeWav(path, request);
    case Container::k_caf:
      return DescribeCaf(path, request);
    case Container::k_midi:
      return DescribeMidi(path, request);
    default:
      return Failed(path, "not a WAVE (RIFF/RIFX), CAF or MIDI file");
  }
}

}  // namespace qobase_tool
