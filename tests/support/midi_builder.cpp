#include "support/midi_builder.h"

#include <cctype>
#include <cstring>
#include <stdexcept>

namespace qotest {

std::string MidiHex(const std::string& hex) {
  std::string bytes;
  int high = -1;
  for (char c : hex) {
    if (std::isspace(static_cast<unsigned char>(c))) continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) throw std::invalid_argument("bad hex");
    const int digit = std::isdigit(static_cast<unsigned char>(c))
                          ? c - '0'
                          : std::toupper(static_cast<unsigned char>(c)) - 'A' + 10;
    if (high < 0) {
      high = digit;
    } else {
      bytes.push_back(static_cast<char>(high * 16 + digit));
      high = -1;
    }
  }
  if (high >= 0) throw std::invalid_argument("odd number of hex digits");
  return bytes;
}

std::string MidiToHex(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char byte : bytes) {
    if (!text.empty()) text.push_back(' ');
    text.push_back(digits[byte >> 4]);
    text.push_back(digits[byte & 15]);
  }
  return text;
}

std::string MidiVlq(uint32_t value) {
  std::string bytes(1, static_cast<char>(value & 0x7F));
  for (value >>= 7; value != 0; value >>= 7) {
    bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
  }
  return bytes;
}

MidiTrackBuilder& MidiTrackBuilder::Event(uint32_t delta, std::initializer_list<int> bytes) {
  m_data += MidiVlq(delta);
  for (int byte : bytes) m_data.push_back(static_cast<char>(byte));
  return *this;
}

MidiTrackBuilder& MidiTrackBuilder::NoteOn(uint32_t delta, int channel, int note, int velocity) {
  return Event(delta, {0x90 | channel, note, velocity});
}

MidiTrackBuilder& MidiTrackBuilder::NoteOff(uint32_t delta, int channel, int note, int velocity) {
  return Event(delta, {0x80 | channel, note, velocity});
}

MidiTrackBuilder& MidiTrackBuilder::Control(uint32_t delta, int channel, int controller,
                                            int value) {
  return Event(delta, {0xB0 | channel, controller, value});
}

MidiTrackBuilder& MidiTrackBuilder::Program(uint32_t delta, int channel, int program) {
  return Event(delta, {0xC0 | channel, program});
}

MidiTrackBuilder& MidiTrackBuilder::PitchBend(uint32_t delta, int channel, int value14) {
  return Event(delta, {0xE0 | channel, value14 & 0x7F, (value14 >> 7) & 0x7F});
}

MidiTrackBuilder& MidiTrackBuilder::Running(uint32_t delta, int data1, int data2) {
  if (data2 < 0) return Event(delta, {data1});
  return Event(delta, {data1, data2});
}

MidiTrackBuilder& MidiTrackBuilder::Tempo(uint32_t delta, uint32_t microsecondsPerQuarter) {
  const int a = static_cast<int>((microsecondsPerQuarter >> 16) & 0xFF);
  const int b = static_cast<int>((microsecondsPerQuarter >> 8) & 0xFF);
  const int c = static_cast<int>(microsecondsPerQuarter & 0xFF);
  return Event(delta, {0xFF, 0x51, 0x03, a, b, c});
}

MidiTrackBuilder& MidiTrackBuilder::Sysex(uint32_t delta, const std::string& payload) {
  m_data += MidiVlq(delta);
  m_data.push_back(static_cast<char>(0xF0));
  m_data += MidiVlq(static_cast<uint32_t>(payload.size()));
  m_data += payload;
  return *this;
}

MidiTrackBuilder& MidiTrackBuilder::Meta(uint32_t delta, int type, const std::string& data) {
  m_data += MidiVlq(delta);
  m_data.push_back(static_cast<char>(0xFF));
  m_data.push_back(static_cast<char>(type));
  m_data += MidiVlq(static_cast<uint32_t>(data.size()));
  m_data += data;
  return *this;
}

MidiTrackBuilder& MidiTrackBuilder::EndOfTrack(uint32_t delta) {
  return Event(delta, {0xFF, 0x2F, 0x00});
}

MidiTrackBuilder& MidiTrackBuilder::Raw(const std::string& bytes) {
  m_data += bytes;
  return *this;
}

static std::string Big16(int value) {
  return std::string{static_cast<char>((value >> 8) & 0xFF), static_cast<char>(value & 0xFF)};
}

std::string MidiHeader(int format, int numTracks, int division) {
  return MidiChunk("MThd", Big16(format) + Big16(numTracks) + Big16(division));
}

std::string MidiChunk(const std::string& id, const std::string& data) {
  const uint32_t size = static_cast<uint32_t>(data.size());
  std::string bytes = id;
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>(size >> shift));
  return bytes + data;
}

std::string MidiFileBytes(int format, int division, const std::vector<MidiTrackBuilder>& tracks) {
  std::string bytes = MidiHeader(format, static_cast<int>(tracks.size()), division);
  for (const MidiTrackBuilder& track : tracks) bytes += MidiChunk("MTrk", track.Data());
  return bytes;
}

std::string MidiStreamHeader(int division, float tempo) {
  uint32_t bits = 0;
  std::memcpy(&bits, &tempo, sizeof bits);
  std::string bytes = Big16(division);
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>(bits >> (8 * i)));
  return bytes;
}

}  // namespace qotest
