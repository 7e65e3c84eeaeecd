// The MIDI file front over a fuzzed file: open, validate, information, the event list and the
// converted stream written to another file, as a caller uses it. Beyond the sanitizers it checks
// that the front agrees with the parser run straight over the same bytes: the same validation
// result, the same number of events, and the same converted bytes on disk.
#include <qobase/midi/midi_file.h>
#include <qobase/midi/midi_parse_at.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qofuzz::ScratchFolder& scratch = qofuzz::ScratchFolder::Get();
  const std::string input = scratch.File("input.mid");
  const std::string output = scratch.File("output.bin");
  qofuzz::ScratchFolder::Write(input, data, size);
  std::remove(output.c_str());

  // The parser straight over the bytes, as the reference.
  std::vector<unsigned char> bytes(data, data + size);
  QoMidiParseAt parser;
  parser.SetBuffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
  const unsigned int parserResult = parser.Validate();
  std::vector<unsigned char> converted(2 * size + 1024);
  unsigned int convertedSize = static_cast<unsigned int>(converted.size());
  const bool parserConverted = parserResult == QoMidiParseAt::k_validateOk &&
                               parser.Convert(converted.data(), convertedSize);
  if (parserConverted && convertedSize > converted.size()) std::abort();

  QoMidiFile midi;
  if (midi.Open(zu::Path(input.c_str())) != QO::k_resultSuccess) std::abort();
  const unsigned int valid = midi.Validate();
  if ((valid == QO::k_resultSuccess) != parserConverted) std::abort();
  if (valid != QO::k_resultSuccess) return 0;
  QoMidiInfo info{};
  if (!midi.GetMidiInfo(info) || !info.valid) std::abort();
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  // A data byte of 0x80 or above is taken as data where only a controller number must be below
  // 0x80, so the stream walk may find more events than were counted; never more than its bytes.
  if (midi.GetEvents(events) != QO::k_resultSuccess || events.size() > convertedSize) std::abort();
  if (midi.Convert(zu::Path(output.c_str())) != QO::k_resultSuccess) std::abort();
  const std::vector<unsigned char> written = qofuzz::ReadFileBytes(output);
  if (written != std::vector<unsigned char>(converted.begin(), converted.begin() + convertedSize)) {
    std::abort();
  }
  return 0;
}
