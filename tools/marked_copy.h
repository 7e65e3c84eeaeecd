// MarkedCopy: the one way the program writes a WAVE file with markers added. The source is
// loaded through the chunk editor, checked to be editable without loss, given its new cue points
// and labels (and optionally a loop), and written to an OutputFile: the format as stored, every
// chunk the editor does not model in its place, the samples copied unchanged. The source is only
// read. Used by `addmarkers` and `onsets --markers`.
#pragma once

#include <qobase/audio/wav_file.h>

#include <set>
#include <string>

#include "output_file.h"

namespace qobase_tool {

class MarkedCopy {
 public:
  // Loads `source`. False with a reason for "qobase: SOURCE: REASON" when it is no WAVE file the
  // editor can load, or when writing it back would lose or change something (with `compact`,
  // the library's 24-byte format chunk must state the format exactly).
  bool Open(const std::string& source, bool compact, std::string& reason);

  unsigned int SampleRate() const { return m_format.nSamplesPerSec; }
  // The frames the file really holds (a data chunk cut short holds fewer than its head gives).
  unsigned long long Frames() const { return m_frames; }
  // A warning for "qobase: SOURCE: warning: ...", or empty: set when the data chunk is cut short.
  const std::string& Warning() const { return m_warning; }

  // Adds a cue point at `frame` (below Frames()), labelled when `label` is not empty; returns
  // its ID. The editor numbers new cue points on from the highest ID the file has, wrapping
  // after 4294967295; an ID the source already uses for a cue point or a label makes Write
  // refuse, since the new marker would merge with the old one.
  unsigned int AddMarker(unsigned int frame, const std::string& label);
  // Replaces the sampler loop.
  void SetLoop(unsigned int start, unsigned int end);

  // Writes the marked file into `target` and commits it. False with a reason for
  // "qobase: OUT: REASON"; the target is then left as it was.
  bool Write(OutputFile& target, std::string& reason);

  // The cue points the written file holds, old and new.
  size_t MarkerCount() const;

 private:
  QoWavFile m_wav;
  WaveFormatExtensible m_format{};
  unsigned long long m_frames = 0;
  std::string m_warning;
  bool m_compact = false;
  std::set<unsigned int> m_usedIds;  // cue IDs of the cue points and labels so far
  bool m_idTaken = false;            // a new marker got an ID in m_usedIds
  unsigned int m_takenId = 0;
};

}  // namespace qobase_tool
