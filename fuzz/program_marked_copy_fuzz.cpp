// Adds markers to a fuzzed WAVE file the way `qobase addmarkers` and `qobase onsets --markers`
// do (the first byte chooses the compact format chunk, how many markers and whether a loop is
// set; the rest is the file). Beyond the sanitizers it checks what a user would see as wrong: the
// source changed, a refused or failed copy that leaves a file or a temporary file behind, and a
// copy that does not open again with every marker and every sample byte the source holds.
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>
#include <sys/stat.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_support.h"
#include "marked_copy.h"
#include "output_file.h"

namespace {

// The data bytes the source really holds: its data chunk's size, cut to the end of the file.
unsigned long long PresentDataBytes(const std::string& source, size_t fileSize) {
  QoWavFile wav;
  if (!wav.Open(zu::Path(source.c_str()), false)) std::abort();  // MarkedCopy opened it
  const unsigned long long offset = wav.m_dataChunk.GetDataOffset();
  return offset >= fileSize
             ? 0
             : std::min<unsigned long long>(wav.m_dataChunk.GetSize(), fileSize - offset);
}

size_t FilesIn(const std::string& folder) {
  boost::system::error_code error;
  size_t count = 0;
  for (boost::filesystem::directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    ++count;
  }
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const qofuzz::ScratchFolder& scratch = qofuzz::ScratchFolder::Get();
  const std::string folder = scratch.File("marked");
  boost::filesystem::remove_all(folder);
  boost::filesystem::create_directory(folder);
  const std::string source = folder + "/source.wav";
  const std::string target = folder + "/marked.wav";
  qofuzz::ScratchFolder::Write(source, data + 1, size - 1);
  const bool compact = (data[0] & 1) != 0;
  const unsigned int markers = (data[0] >> 1) & 7;
  const bool loop = (data[0] & 0x10) != 0;

  bool written = false;
  std::vector<std::pair<unsigned int, unsigned int>> added;  // (ID, frame)
  {
    qobase_tool::MarkedCopy copy;
    std::string reason;
    if (copy.Open(source, compact, reason)) {
      const unsigned long long frames = copy.Frames();
      for (unsigned int i = 0; i < markers && frames > 0; ++i) {
        const auto frame = static_cast<unsigned int>((frames - 1) * i / std::max(1u, markers));
        const unsigned int id =
            copy.AddMarker(frame, i % 2 ? "Onset " + std::to_string(i + 1) : std::string());
        added.emplace_back(id, frame);
      }
      if (loop && frames > 1) copy.SetLoop(0, static_cast<unsigned int>(frames - 1));
      qobase_tool::OutputFile out;
      written = out.Create(target, {source}, reason) && copy.Write(out, reason);
      if (!written && reason.empty()) std::abort();
    } else if (reason.empty()) {
      std::abort();
    }
  }

  const std::vector<uint8_t> after = qofuzz::ReadFileBytes(source);
  if (after.size() != size - 1 || !std::equal(after.begin(), after.end(), data + 1)) std::abort();
  // Nothing but the source, and the copy when it was made.
  if (FilesIn(folder) != (written ? 2u : 1u)) std::abort();
  if (!written) return 0;

  QoWavFileReader reader;
  reader.SetStandardExtensibleLayout(true);
  if (!reader.Open(zu::Path(target.c_str())) ||
      !reader.ReadChunks(QO::k_chunkFmt | QO::k_chunkData | QO::k_chunkCue | QO::k_chunkLIST)) {
    std::abort();
  }
  // Every new marker where it was put. (The count of markers proves little: a source's cue
  // points may share an ID, and its labels may name IDs that have no cue point.)
  const std::vector<QO_WAVE_MARKER>& found = reader.GetMarkers();
  for (const auto& marked : added) {
    if (std::none_of(found.begin(), found.end(), [&](const QO_WAVE_MARKER& marker) {
          return marker.ID == marked.first && marker.position == marked.second;
        })) {
      std::abort();
    }
  }
  if (reader.GetDataSize() != PresentDataBytes(source, size - 1)) std::abort();
  return 0;
}
