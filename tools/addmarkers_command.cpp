// qobase addmarkers: adds labelled cue points (and optionally a loop) to a WAVE file, writing a
// new file through the chunk editor: the source is only read, its samples are copied unchanged.
#include <qobase/audio/wav_file.h>
#include <qobase/result_code.h>

#include <sys/stat.h>

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
#include "output_file.h"
#include "wave_format_text.h"

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

// Four characters of a chunk ID in file order, for messages.
std::string ChunkName(uint32_t id) {
  std::string name(reinterpret_cast<const char*>(&id), 4);
  for (char& c : name) {
    if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E) c = '?';
  }
  return "'" + name + "'";
}

// Why the edit could not keep everything it does not change, or empty when it can.
std::string WhatAnEditWouldLose(const QoWavFile& wav, bool compact) {
  const QoWaveFormatFacts& facts = wav.GetStoredFormat();
  if (compact && !IsIntegerPcm(facts)) {
    return "--compact can only state integer PCM; leave it out to keep the format as it is";
  }
  // The compact chunk has no format tag: readers take every 32-bit format in it for float.
  if (compact && facts.bitsPerSample == 32) {
    return "--compact would turn 32-bit integer samples into float ones (the compact format "
           "chunk takes every 32-bit format for float); leave it out to keep them integers";
  }
  const unsigned int dropped = wav.GetDroppedOnLoad();
  if (dropped & QO::k_droppedListSubChunks) {
    return "its label list holds entries other than labels (such as 'ltxt' or 'note'), which "
           "the editor cannot write back";
  }
  if (dropped & QO::k_droppedSamplerLoops) return "its sampler chunk has more than one loop";
  if (dropped & QO::k_droppedSamplerData) return "its sampler chunk has data the editor drops";
  if (dropped & QO::k_droppedCueRecords) return "its cue chunk's count does not match its size";
  if (dropped & QO::k_droppedTrailingBytes) return "it ends with bytes that are not a chunk";
  if (dropped & QO::k_droppedExcessChunks) return "it has more chunks than the editor can carry";
  if (dropped != 0) return "part of it would be lost";
  for (const QoCarriedChunk& chunk : wav.GetCarriedChunks()) {
    const std::string name = ChunkName(chunk.chunkID);
    if (!chunk.complete) return "its " + name + " chunk is cut short";
    // A second cue, sampler or label list beside the ones the editor writes: two of a kind
    // would contradict each other.
    if (name == "'cue '" || name == "'smpl'" ||
        (name == "'LIST'" && ChunkName(chunk.listType) == "'adtl'")) {
      return "it has a second " + name + " chunk the editor cannot merge";
    }
  }
  return "";
}

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

  QoWavFile wav;
  wav.SetStandardExtensibleLayout(true);
  if (!wav.Open(zu::Path(in), false)) return Fail(in, "not a WAVE file that can be edited");
  // A size that runs past the 4 GiB a RIFF file can address (0xFFFFFFFF from a writer that
  // streamed the file) sends the editor's chunk walk on into the samples, where it would take
  // sample bytes for chunks.
  if (static_cast<unsigned long long>(wav.m_dataChunk.GetDataOffset()) + wav.m_dataChunk.GetSize() >
      0xFFFFFFFFull) {
    return Fail(in,
                "its data chunk claims more bytes than a WAVE file can hold (a size left unset "
                "by a program that wrote it as a stream); rewrite it with its real size first");
  }
  const std::string loss = WhatAnEditWouldLose(wav, options.compact);
  if (!loss.empty()) return Fail(in, "cannot be edited without loss: " + loss);
  WaveFormatExtensible format;
  wav.GetFormat(&format);
  // A frame as the file stores it: a channel mask with speaker bits beyond its channels makes
  // the library count more channels (and a larger frame) than the format chunk gives.
  const QoWaveFormatFacts& stored = wav.GetStoredFormat();
  const unsigned int blockAlign = stored.numChannels != format.nChannels && stored.blockAlign != 0
                                      ? stored.blockAlign
                                      : format.nBlockAlign;
  if (blockAlign == 0) return Fail(in, "the format gives a block size of 0");

  // Markers must lie on samples the file really holds: a data chunk cut short by a truncated
  // copy claims more than is there.
  struct stat info;
  const unsigned long long claimed = wav.m_dataChunk.GetSize();
  const unsigned long long offset = wav.m_dataChunk.GetDataOffset();
  const unsigned long long present =
      stat(in.c_str(), &info) == 0 && static_cast<unsigned long long>(info.st_size) > offset
          ? std::min(claimed, static_cast<unsigned long long>(info.st_size) - offset)
          : 0;
  const unsigned long long frames = present / blockAlign;
  if (present < claimed) {
    // The copy keeps what is there and writes the size it copied.
    std::cerr << "qobase: " << in << ": warning: the data chunk is cut short: it holds " << frames
              << " of the " << claimed / blockAlign
              << " frames its header gives; only those are copied\n";
  }

  const auto toFrame = [&](const std::string& text, unsigned long long& frame) -> int {
    if (!ParseTime(text, format.nSamplesPerSec, frame))
      return UsageError("bad time '" + text + "'");
    if (frame >= frames) {
      return Fail(in, "time " + text + " is past the last frame (the file has " +
                          std::to_string(frames) + " frames)");
    }
    return k_exitSuccess;
  };
  for (const MarkerSpec& spec : specs) {
    unsigned long long frame = 0;
    if (const int code = toFrame(spec.time, frame)) return code;
    const unsigned int id = wav.m_cueChunk.AddCue(static_cast<unsigned int>(frame));
    if (!spec.label.empty()) wav.m_listChunk.AddLabel(id, spec.label);
  }
  if (!loop.empty()) {
    const size_t colon = loop.find(':');
    if (colon == std::string::npos) return UsageError("--loop needs START:END");
    unsigned long long start = 0, end = 0;
    if (const int code = toFrame(loop.substr(0, colon), start)) return code;
    if (const int code = toFrame(loop.substr(colon + 1), end)) return code;
    if (end < start) return UsageError("the loop ends before it starts");
    wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, static_cast<unsigned int>(start),
                                  static_cast<unsigned int>(end));
    wav.m_smplChunk.SetLoopPosition(static_cast<unsigned int>(start),
                                    static_cast<unsigned int>(end));
  }
  wav.SortCueChunk();

  // The format as stored and every chunk the editor does not model go out unchanged, in order
  // around the samples.
  const bool swap = wav.m_riffChunk.NeedSwapRead();
  zu::File stream(target.Stream());
  errno = 0;
  const bool written =
      wav.WriteRiffChunk(stream, swap) &&
      (options.compact ? wav.WriteFormatChunk(stream, swap)
                       : wav.WriteFormatChunkAsStored(stream, swap)) &&
      wav.WriteCarriedChunksBeforeData(stream, swap) && wav.WriteCueChunk(stream, swap) &&
      wav.WriteListChunk(stream, swap) && wav.WriteSmplChunk(stream, swap) &&
      wav.WriteJunkChunk(stream, swap) && wav.WriteDataChunk(stream, swap) &&
      wav.WriteCarriedChunksAfterData(stream, swap) && wav.UpdateRiffChunkSize(stream, swap);
  if (!written) {
    return Fail(out, std::string("cannot write the file: ") + std::strerror(errno ? errno : EIO));
  }
  if (!target.Commit(reason)) return Fail(out, reason);
  std::vector<WAV_CUE> cues;
  wav.m_cueChunk.GetCuesVector(cues);
  std::cout << out << ": " << specs.size() << " marker(s) added, " << cues.size() << " in total"
            << (loop.empty() ? "" : ", loop set") << "\n";
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
