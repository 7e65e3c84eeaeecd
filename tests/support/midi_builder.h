// Builds Standard MIDI File bytes from a readable list of events, so each MIDI test states its
// input plainly:
//
//   std::string smf = qotest::MidiFileBytes(0, 96, {qotest::MidiTrackBuilder()
//                                                       .NoteOn(0, 0, 60, 100)
//                                                       .NoteOff(96, 0, 60)
//                                                       .EndOfTrack(0)});
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qotest {

// Bytes from hex text, spaces ignored: MidiHex("4D 54") == "MT".
std::string MidiHex(const std::string& hex);
// Bytes as upper-case hex separated by spaces, for readable failure messages.
std::string MidiToHex(const std::string& bytes);
// A variable-length quantity in its shortest form (values up to 2^28 - 1).
std::string MidiVlq(uint32_t value);

// The events of one track, each with its delta time. Every call writes exactly the bytes its name
// says, the status byte included; Running() writes data bytes only.
class MidiTrackBuilder {
 public:
  MidiTrackBuilder& NoteOn(uint32_t delta, int channel, int note, int velocity);
  MidiTrackBuilder& NoteOff(uint32_t delta, int channel, int note, int velocity = 0);
  MidiTrackBuilder& Control(uint32_t delta, int channel, int controller, int value);
  MidiTrackBuilder& Program(uint32_t delta, int channel, int program);
  MidiTrackBuilder& PitchBend(uint32_t delta, int channel, int value14);
  // A channel event in running status: the delta and one or two data bytes.
  MidiTrackBuilder& Running(uint32_t delta, int data1, int data2 = -1);
  MidiTrackBuilder& Tempo(uint32_t delta, uint32_t microsecondsPerQuarter);
  // F0, length, payload (the payload normally ends in F7).
  MidiTrackBuilder& Sysex(uint32_t delta, const std::string& payload);
  MidiTrackBuilder& Meta(uint32_t delta, int type, const std::string& data);
  MidiTrackBuilder& EndOfTrack(uint32_t delta);
  // Bytes as they are, for malformed input.
  MidiTrackBuilder& Raw(const std::string& bytes);

  const std::string& Data() const { return m_data; }

 private:
  MidiTrackBuilder& Event(uint32_t delta, std::initializer_list<int> bytes);
  std::string m_data;
};

// The 14-byte header chunk.
std::string MidiHeader(int format, int numTracks, int division);
// One chunk: id, big-endian length, data.
std::string MidiChunk(const std::string& id, const std::string& data);
// A whole file: the header (counting the tracks given) and one "MTrk" chunk per track.
std::string MidiFileBytes(int format, int division, const std::vector<MidiTrackBuilder>& tracks);

// The 6-byte header of a converted stream: big-endian division, little-endian float tempo.
std::string MidiStreamHeader(int division, float tempo);

}  // namespace qotest
