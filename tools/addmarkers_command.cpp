// qobase addmarkers: adds labelled cue points (and optionally a loop) to a WAVE file, writing a
// new file through the chunk editor: the source is only read, its samples are copied unchanged.
#include <qobase/audio/wav_file.h>
#include <qobase/result_code.h>

#include <sys/stat.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "command.h"

namespace qobase_tool {
namespace {

struct MarkerSpec {
  std::string time;
  std::string label;
};

// "1200" is a sample frame, "1.5s" a time in seconds (rounded to the nearest frame).
bool ParseTime(const std::string& text, unsigned int sampleRate, unsigned long long& frame) {
  if (text.empty() || text[0] == '-' || text[0] == '+' || std::isspace(static_cast<unsigned char>(text[0]))) {
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

// Removes a partly written output, but only the regular file this run created: never a file
// that was there before, a device, or whatever has taken the name since.
void RemovePartialOutput(const std::string& path, bool created, const struct stat& opened) {
  struct stat info;
  if (created && lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && info.st_dev == opened.st_dev &&
      info.st_ino == opened.st_ino) {
    std::remove(path.c_str());
  }
}

// The same file, by device and inode, when both exist.
bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

int RunAddMarkers(const std::vector<std::string>& args) {
  std::vector<std::string> positional;
  std::string loop;
  bool compact = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--compact") {
      compact = true;
    } else if (args[i] == "--loop") {
      if (++i == args.size()) return UsageError("addmarkers", "--loop needs START:END");
      loop = args[i];
    } else {
      positional.push_back(args[i]);
    }
  }
  if (positional.size() < 2) return UsageError("addmarkers", "needs IN and OUT");
  if (positional.size() < 3 && loop.empty()) return UsageError("addmarkers", "no marker or loop to add");
  const std::string in = positional[0], out = positional[1];
  std::vector<MarkerSpec> specs;
  for (size_t i = 2; i < positional.size(); ++i) {
    const size_t colon = positional[i].find(':');
    specs.push_back({positional[i].substr(0, colon), colon == std::string::npos ? "" : positional[i].substr(colon + 1)});
  }
  if (SameFile(in, out)) return Fail(out, "is the input file; write the result to a new file");

  QoWavFile wav;
  if (!wav.Open(zu::Path(in), false)) return Fail(in, "not a WAVE file that can be edited");
  uint16_t tag = 0;
  if (wav.m_fmtChunk.ReadData(&tag, 2, 0) != 2) return Fail(in, "cannot read the format");
  if (wav.m_riffChunk.NeedSwapRead()) tag = static_cast<uint16_t>((tag >> 8) | (tag << 8));
  if (tag == QO::k_waveFormatIeeeFloat) return Fail(in, "floating-point samples are not supported");
  WaveFormatExtensible format;
  wav.GetFormat(&format);
  const unsigned long long frames = format.nBlockAlign ? wav.m_dataChunk.GetSize() / format.nBlockAlign : 0;

  const auto toFrame = [&](const std::string& text, unsigned long long& frame) -> int {
    if (!ParseTime(text, format.nSamplesPerSec, frame)) return UsageError("addmarkers", "bad time '" + text + "'");
    if (frame >= frames) {
      return Fail(in, "time " + text + " is past the end (" + std::to_string(frames) + " frames)");
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
    if (colon == std::string::npos) return UsageError("addmarkers", "--loop needs START:END");
    unsigned long long start = 0, end = 0;
    if (const int code = toFrame(loop.substr(0, colon), start)) return code;
    if (const int code = toFrame(loop.substr(colon + 1), end)) return code;
    if (end < start) return UsageError("addmarkers", "the loop ends before it starts");
    wav.m_smplChunk.ForceInitLoop(wav.m_file, &wav.m_riffChunk, static_cast<unsigned int>(start),
                                  static_cast<unsigned int>(end));
    wav.m_smplChunk.SetLoopPosition(static_cast<unsigned int>(start), static_cast<unsigned int>(end));
  }
  wav.SortCueChunk();

  const bool swap = wav.m_riffChunk.NeedSwapRead();
  struct stat existing, opened;
  const bool created = lstat(out.c_str(), &existing) != 0 && errno == ENOENT;
  zu::File target;
  if (target.Open(zu::Path(out), k_openModeWrite, 0) != QO::k_resultSuccess) return Fail(out, "cannot create the file");
  const bool measured = fstat(fileno(target.GetStream()), &opened) == 0;
  const bool written =
      wav.WriteRiffChunk(target, swap) &&
      (compact ? wav.WriteFormatChunk(target, swap) : wav.WriteFormatChunkNotExtensible(target, swap)) &&
      wav.WriteCueChunk(target, swap) && wav.WriteListChunk(target, swap) && wav.WriteSmplChunk(target, swap) &&
      wav.WriteJunkChunk(target, swap) && wav.WriteDataChunk(target, swap) && wav.UpdateRiffChunkSize(target, swap);
  const bool closed = target.Close() == QO::k_resultSuccess;
  if (!written || !closed) {
    RemovePartialOutput(out, created && measured, opened);
    return Fail(out, "cannot write the file (is the disk full?)");
  }
  std::vector<WAV_CUE> cues;
  wav.m_cueChunk.GetCuesVector(cues);
  std::cout << out << ": " << specs.size() << " marker(s) added, " << cues.size() << " in total"
            << (loop.empty() ? "" : ", loop set") << "\n";
  return k_exitSuccess;
}

const CommandRegistration s_addMarkers({
    "addmarkers",
    "add labelled markers to a WAVE file, writing a new file",
    "usage: qobase addmarkers [--loop START:END] [--compact] IN OUT TIME[:LABEL]...\n\n"
    "Copies the WAVE file IN to OUT with a cue point at each TIME, labelled LABEL when one is\n"
    "given. The markers and loop IN already has are kept; cue points are written in order of\n"
    "position, and the samples are copied unchanged, starting on a 16-byte boundary.\n\n"
    "TIME is a sample frame (1200) or seconds with an 's' (1.5s, rounded to the nearest frame),\n"
    "and must lie inside the file.\n\n"
    "  --loop START:END  set the sampler loop (replacing the one IN has)\n"
    "  --compact         write the 24-byte format chunk of this library instead of the plain\n"
    "                    PCM one that every program reads\n\n"
    "Floating-point files are refused. OUT must not be IN.\n"
    "Exit code 0 on success, 1 when IN cannot be read or OUT cannot be written, 2 for usage errors.\n",
    RunAddMarkers,
});

}  // namespace
}  // namespace qobase_tool
