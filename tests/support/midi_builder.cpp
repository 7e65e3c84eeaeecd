// Standard MIDI Files built byte by byte from lists of events.
#include "support/midi_builder.h"

#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace qotest {

std::string MidiHex(const std::string& hex) {
  std::string bytes;
  std::istringstream in(hex);
  std::string token;
  while (in >> token) {  // std::stoi throws on anything but hex digits
    if (token.size() % 2 != 0) throw std::invalid_argument("odd hex digits: " + hex);
    for (size_t i = 0; i < token.size(); i += 2) {
      bytes.push_back(static_cast<char>(std::stoi(token.substr(i, 2), nullptr, 16)));
    }
  }
  return bytes;
}

std::string MidiToHex(const std::string& bytes) {
  std::string text;
  char digits[4];
  for (unsigned char byte : bytes) {
    std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X", byte);
    text += digits;
  }
  return text;
}

std::string MidiTrack(const std::string& events) {
  std::string data;
  std::istringstream in(events);
  std::string event, delta, rest;
  while (std::getline(in, event, ',')) {
    std::istringstream fields(event);
    fields >> delta;
    std::getline(fields, rest);
    auto value = static_cast<uint32_t>(std::stoul(delta, nullptr, 0));
    std::string vlq(1, static_cast<char>(value & 0x7F));  // shortest form, last byte first
    for (value >>= 7; value != 0; value >>= 7)
      vlq.insert(0, 1, static_cast<char>(0x80 | (value & 0x7F)));
    data += vlq + MidiHex(rest);
  }
  return data;
}

static std::string Big16(int value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string MidiHeader(int format, int numTracks, int division) {
  return MidiChunk("MThd", Big16(format) + Big16(numTracks) + Big16(division));
}

std::string MidiChunk(const std::string& id, const std::string& data) {
  const auto size = static_cast<uint32_t>(data.size());
  return id + Big16(static_cast<int>(size >> 16)) + Big16(static_cast<int>(size)) + data;
}

std::string MidiFileBytes(int format, int division, const std::vector<std::string>& tracks) {
  std::string bytes = MidiHeader(format, static_cast<int>(tracks.size()), division);
  for (const std::string& track : tracks) bytes += MidiChunk("MTrk", MidiTrack(track));
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
