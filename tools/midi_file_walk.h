// The program's own walk over a Standard MIDI File's bytes: every event of every track merged
// by time, each with its tick in the file's own time base and its time in seconds from the
// file's tempo map. The library's converted stream re-times events to one tempo; users compare
// times with other tools, which count in the file's ticks, so the listing shows both.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qobase_tool {

struct SmfHeader {
  unsigned int format = 0;
  unsigned int numTracks = 0;
  unsigned int division = 0;  // the raw 16-bit field
  bool smpte = false;         // high bit of the division set: frames per second, not ticks
};

struct SmfEvent {
  uint64_t tick = 0;     // absolute, in the file's ticks
  double seconds = 0.0;  // from the start, following every tempo change before it
  unsigned int track = 0;
  uint8_t status = 0;    // the full status byte (running status resolved); 0xF0/0xF7/0xFF
  uint8_t metaType = 0;  // for 0xFF
  uint8_t data1 = 0, data2 = 0;
  uint32_t tempo = 0;  // microseconds per quarter note, for a tempo meta event
};

// Reads the 14-byte header. False with a reason when it is not a MIDI header.
bool ReadSmfHeader(const std::string& bytes, SmfHeader& header, std::string& reason);

// Every event of every track, merged by time (on equal ticks the lower track first, as the
// library merges them), with seconds computed from the tempo events (120 bpm until the first).
// False with a reason for a malformed file or a tempo event of 0 microseconds per quarter.
bool WalkSmf(const std::string& bytes, std::vector<SmfEvent>& events, std::string& reason);

}  // namespace qobase_tool
