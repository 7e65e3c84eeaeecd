// Feeds arbitrary bytes to the MIDI parser: structure check, validation, conversion into the
// parser's buffer and into caller buffers of several sizes, and the walk over the events. A
// conversion never reports more bytes than the caller's buffer holds.
#include <qobase/midi/midi_parse_at.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // An exact copy, so a read one byte past the input is caught.
  std::vector<unsigned char> bytes(data, data + size);
  {
    QoMidiParseAt parser;
    parser.SetBuffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
    parser.Validate();
    QoMidiInfo info{};
    if (parser.GetMidiInfo(info) && parser.ResetNextEvent()) {
      QoMidiEventEx event{};
      unsigned int delta = 0;
      while (parser.GetNextEvent(event, delta)) {
      }
    }
  }
  for (unsigned int capacity : {1u, 16u, 64u, static_cast<unsigned int>(size) + 8u}) {
    QoMidiParseAt parser;
    parser.SetBuffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
    std::vector<unsigned char> out(capacity);
    unsigned int written = capacity;
    if (parser.Convert(out.data(), written) && written > capacity) std::abort();
  }
  return 0;
}
