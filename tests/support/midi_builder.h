// Builds Standard MIDI File bytes from a readable list of events, so each MIDI test states its
// input plainly. A track is written as events separated by commas, each a delta time (decimal,
// or hex with 0x) followed by the event's bytes in hex, exactly as they go into the file:
//
//   MidiFileBytes(0, 96, {"0 90 3C 64, 96 80 3C 00, 0 FF 2F 00"})  // note 60 for a quarter
//   MidiTrack("0 90 3C 64, 10 3C 00")                               // running status
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qotest {

// Bytes from hex text, spaces ignored: MidiHex("4D 54") == "MT".
std::string MidiHex(const std::string& hex);
// Bytes as upper-case hex separated by spaces, for readable failure messages.
std::string MidiToHex(const std::string& bytes);
// Track data from an event list (see above); each delta becomes its shortest variable-length
// quantity.
std::string MidiTrack(const std::string& events);
// The 14-byte header chunk.
std::string MidiHeader(int format, int numTracks, int division);
// One chunk: id, big-endian length, data.
std::string MidiChunk(const std::string& id, const std::string& data);
// A whole file: the header (counting the tracks given) and one "MTrk" chunk per event list.
std::string MidiFileBytes(int format, int division, const std::vector<std::string>& tracks);
// The 6-byte header of a converted stream: big-endian division, little-endian float tempo.
std::string MidiStreamHeader(int division, float tempo);

}  // namespace qotest
