#include "marked_copy.h"

#include <qobase/result_code.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "audio_input.h"
#include "wave_format_text.h"

namespace qobase_tool {
namespace {

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
  if (dropped & QO::k_droppedAfterByteOrderSwitch) {
    return "a chunk named 'RIFX' inside it makes the chunks after it read big-endian, which a "
           "file written in one byte order cannot keep";
  }
  if (dropped != 0) return "part of it would be lost";
  for (const QoCarriedChunk& chunk : wav.GetCarriedChunks()) {
    const std::string name = ChunkName(chunk.chunkID);
    if (!chunk.complete) return "its " + name + " chunk is cut short";
    // A second format, data, cue, sampler or label list beside the ones the editor writes: two
    // of a kind would contradict each other, and readers differ on which one they take.
    if (name == "'fmt '" || name == "'data'" || name == "'cue '" || name == "'smpl'" ||
        (name == "'LIST'" && ChunkName(chunk.listType) == "'adtl'")) {
      return "it has a second " + name + " chunk the editor cannot merge";
    }
  }
  return "";
}

}  // namespace

bool MarkedCopy::Open(const std::string& source, bool compact, std::string& reason) {
  m_compact = compact;
  // The editor takes any RIFF form; the program edits WAVE files only, as it reads them.
  if (SniffContainer(source) != Container::k_wave) {
    reason = "not a RIFF/RIFX WAVE file";
    return false;
  }
  m_wav.SetStandardExtensibleLayout(true);
  if (!m_wav.Open(zu::Path(source), false)) {
    reason = "not a WAVE file that can be edited";
    return false;
  }
  // A size that runs past the 4 GiB a RIFF file can address (0xFFFFFFFF from a writer that
  // streamed the file) sends the editor's chunk walk on into the samples, where it would take
  // sample bytes for chunks.
  const unsigned long long claimed = m_wav.m_dataChunk.GetSize();
  const unsigned long long offset = m_wav.m_dataChunk.GetDataOffset();
  if (offset + claimed > 0xFFFFFFFFull) {
    reason =
        "its data chunk claims more bytes than a WAVE file can hold (a size left unset by a "
        "program that wrote it as a stream); rewrite it with its real size first";
    return false;
  }
  const std::string loss = WhatAnEditWouldLose(m_wav, compact);
  if (!loss.empty()) {
    reason = "cannot be edited without loss: " + loss;
    return false;
  }
  m_usedIds.clear();
  m_idTaken = false;
  std::vector<WAV_CUE> cues;
  m_wav.m_cueChunk.GetCuesVector(cues);
  for (const WAV_CUE& cue : cues) m_usedIds.insert(cue.dwName);
  for (const LABEL& label : m_wav.m_listChunk.GetLabels()) m_usedIds.insert(label.cueID);
  m_wav.GetFormat(&m_format);
  // A frame as the file stores it: a channel mask with speaker bits beyond its channels makes
  // the library count more channels (and a larger frame) than the format chunk gives.
  const QoWaveFormatFacts& stored = m_wav.GetStoredFormat();
  const unsigned int blockAlign = stored.numChannels != m_format.nChannels && stored.blockAlign != 0
                                      ? stored.blockAlign
                                      : m_format.nBlockAlign;
  if (blockAlign == 0) {
    reason = "the format gives a block size of 0";
    return false;
  }
  // Markers must lie on samples the file really holds: a data chunk cut short by a truncated
  // copy claims more than is there.
  struct stat info;
  const unsigned long long present =
      stat(source.c_str(), &info) == 0 && static_cast<unsigned long long>(info.st_size) > offset
          ? std::min(claimed, static_cast<unsigned long long>(info.st_size) - offset)
          : 0;
  m_frames = present / blockAlign;
  m_warning.clear();
  if (present < claimed) {
    // The copy keeps what is there and writes the size it copied.
    m_warning = "the data chunk is cut short: it holds " + std::to_string(m_frames) + " of the " +
                std::to_string(claimed / blockAlign) +
                " frames its header gives; only those "
                "are copied";
  }
  return true;
}

unsigned int MarkedCopy::AddMarker(unsigned int frame, const std::string& label) {
  const unsigned int id = m_wav.m_cueChunk.AddCue(frame);
  if (!m_usedIds.insert(id).second && !m_idTaken) {
    m_idTaken = true;
    m_takenId = id;
  }
  if (!label.empty()) m_wav.m_listChunk.AddLabel(id, label);
  return id;
}

void MarkedCopy::SetLoop(unsigned int start, unsigned int end) {
  m_wav.m_smplChunk.ForceInitLoop(m_wav.m_file, &m_wav.m_riffChunk, start, end);
  m_wav.m_smplChunk.SetLoopPosition(start, end);
}

bool MarkedCopy::Write(OutputFile& target, std::string& reason) {
  if (m_idTaken) {
    reason = "a new marker would get cue ID " + std::to_string(m_takenId) +
             ", which the source already uses (cue IDs are numbered on from its highest, " +
             "wrapping after 4294967295)";
    return false;
  }
  m_wav.SortCueChunk();
  // The format as stored and every chunk the editor does not model go out unchanged, in order
  // around the samples.
  QoWavFile& wav = m_wav;
  const bool swap = wav.m_riffChunk.NeedSwapRead();
  zu::File stream(target.Stream());
  errno = 0;
  const bool written =
      wav.WriteRiffChunk(stream, swap) &&
      (m_compact ? wav.WriteFormatChunk(stream, swap)
                 : wav.WriteFormatChunkAsStored(stream, swap)) &&
      wav.WriteCarriedChunksBeforeData(stream, swap) && wav.WriteCueChunk(stream, swap) &&
      wav.WriteListChunk(stream, swap) && wav.WriteSmplChunk(stream, swap) &&
      wav.WriteJunkChunk(stream, swap) && wav.WriteDataChunk(stream, swap) &&
      wav.WriteCarriedChunksAfterData(stream, swap) && wav.UpdateRiffChunkSize(stream, swap);
  if (!written) {
    reason = std::string("cannot write the file: ") + std::strerror(errno ? errno : EIO);
    return false;
  }
  return target.Commit(reason);
}

size_t MarkedCopy::MarkerCount() const {
  std::vector<WAV_CUE> cues;
  m_wav.m_cueChunk.GetCuesVector(cues);
  return cues.size();
}

}  // namespace qobase_tool
