// Builds Standard MIDI File bytes from a readable list of events, so each MIDI test states its
// input plainly:
//
//   std::string smf = qotest::MidiFileBytes(0, 96, {qotest::MidiTrackBuilder()
//                                                       .NoteOn(0, 0, 60, 100)
//                                                       .NoteOff(96, 0, 60)
//                                                       .EndOfTrack(0)});
#pragma once

#include <cstdint>
#include <initializer_list>
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
  MidiTrackBuilder& Event(uint32_t delta, std::initializer_list<int> bytes);
  MidiTrackBuilder& NoteOn(uint32_t d, int ch, int note, int vel) { return Event(d, {0x90 | ch, note, vel}); }
  MidiTrackBuilder& NoteOff(uint32_t d, int ch, int note) { return Event(d, {0x80 | ch, note, 0}); }
  MidiTrackBuilder& Control(uint32_t d, int ch, int cc, int v) { return Event(d, {0xB0 | ch, cc, v}); }
  MidiTrackBuilder& Program(uint32_t d, int ch, int program) { return Event(d, {0xC0 | ch, program}); }
  // A channel event in running status: the delta and one or two data bytes.
  MidiTrackBuilder& Running(uint32_t d, int data1) { return Event(d, {data1}); }
  MidiTrackBuilder& Running(uint32_t d, int data1, int data2) { return Event(d, {data1, data2}); }
  MidiTrackBuilder& Tempo(uint32_t d, uint32_t us) {
    return Event(d, {0xFF, 0x51, 3, int(us >> 16) & 0xFF, int(us >> 8) & 0xFF, int(us) & 0xFF});
  }
  // F0, length, payload (the payload normally ends in F7).
  MidiTrackBuilder& Sysex(uint32_t d, const std::string& payload) { return Raw(MidiVlq(d) + "\xF0" + MidiVlq(uint32_t(payload.size())) + payload); }
  MidiTrackBuilder& Meta(uint32_t d, int type, const std::string& data);
  MidiTrackBuilder& EndOfTrack(uint32_t d) { return Event(d, {0xFF, 0x2F, 0x00}); }
  // Bytes as they are, for malformed input.
  MidiTrackBuilder& Raw(const std::string& bytes) {
    m_data += bytes;
    return *this;
  }
  const std::string& Data() const { return m_data; }

 private:
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
