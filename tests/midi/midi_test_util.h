// Shared steps of the MIDI tests, with file bytes in an exactly sized heap buffer (so the address
// sanitizer sees any read past the end).
#pragma once

#include <qobase/midi/midi_parse_at.h>

#include <string>
#include <vector>

namespace miditest {

struct Conversion {
  bool ok = false;
  std::string bytes;
  QoMidiInfo info{};
};
// Converts `smf` with a fresh parser into a buffer of `capacity` bytes (0: twice the file size
// plus 1024), then reads the information.
inline Conversion Convert(const std::string& smf, unsigned int capacity = 0) {
  std::vector<unsigned char> data(smf.begin(), smf.end());
  std::vector<unsigned char> out(capacity ? capacity : 2 * smf.size() + 1024);
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  unsigned int size = static_cast<unsigned int>(out.size());
  Conversion result;
  result.ok = parser.Convert(out.data(), size) && parser.GetMidiInfo(result.info);
  if (result.ok) result.bytes.assign(out.begin(), out.begin() + size);
  return result;
}

inline unsigned int ValidateBytes(const std::string& smf) {
  std::vector<unsigned char> data(smf.begin(), smf.end());
  QoMidiParseAt parser;
  parser.SetBuffer(data.data(), static_cast<unsigned int>(data.size()));
  return parser.Validate();
}

}  // namespace miditest
