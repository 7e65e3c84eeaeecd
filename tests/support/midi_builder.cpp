#include "support/midi_builder.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace qotest {

std::string MidiHex(const std::string& hex) {
  std::string bytes;
  std::string digits;
  for (char c : hex) {
    if (c != ' ') digits.push_back(c);
  }
  if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos) {
    throw std::invalid_argument("bad hex: " + hex);
  }
  for (size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::strtol(digits.substr(i, 2).c_str(), nullptr, 16)));
  }
  return bytes;
}

std::string MidiToHex(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char byte : bytes) {
    if (!text.empty()) text.push_back(' ');
    text += {digits[byte >> 4], digits[byte & 15]};
  }
  return text;
}

std::string MidiVlq(uint32_t value) {
  std::string bytes(1, static_cast<char>(value & 0x7F));
  for (value >>= 7; value != 0; value >>= 7) bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
  return bytes;
}

MidiTrackBuilder& MidiTrackBuilder::Event(uint32_t delta, std::initializer_list<int> bytes) {
  m_data += MidiVlq(delta);
  for (int byte : bytes) m_data.push_back(static_cast<char>(byte));
  return *this;
}

MidiTrackBuilder& MidiTrackBuilder::Meta(uint32_t delta, int type, const std::string& data) {
  Event(delta, {0xFF, type});
  return Raw(MidiVlq(static_cast<uint32_t>(data.size())) + data);
}

static std::string Big16(int value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }

std::string MidiHeader(int format, int numTracks, int division) {
  return MidiChunk("MThd", Big16(format) + Big16(numTracks) + Big16(division));
}

std::string MidiChunk(const std::string& id, const std::string& data) {
  const uint32_t size = static_cast<uint32_t>(data.size());
  return id + Big16(int(size >> 16)) + Big16(int(size & 0xFFFF)) + data;
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
