#include "midi_event_text.h"

#include <cstdio>
#include <ostream>

namespace qobase_tool {
namespace {

const char* EventName(uint8_t type) {
  switch (type) {
    case 0x80: return "note-off";
    case 0x90: return "note-on";
    case 0xA0: return "key-pressure";
    case 0xB0: return "control";
    case 0xC0: return "program";
    case 0xD0: return "channel-pressure";
    case 0xE0: return "pitch-bend";
    case 0xFF: return "end-of-track";
    default: return "other";
  }
}

}  // namespace

void PrintMidiEvents(std::ostream& out, const QoMidiInfo& info,
                     const std::vector<QoMidiFile::QoMidiFileEvent>& events) {
  char line[160];
  std::snprintf(line, sizeof line, "division %u, tempo %.3f bpm, %u events, %llu ticks\n",
                info.division, info.tempo, info.numEvents,
                static_cast<unsigned long long>(info.lengthTicks));
  out << line;
  unsigned long long tick = 0;
  for (const QoMidiFile::QoMidiFileEvent& entry : events) {
    tick += entry.deltaTicks;
    const QoMidiEventEx& e = entry.event;
    if (e.type == 0xFF) {
      std::snprintf(line, sizeof line, "%10llu +%-7u  %s\n", tick, entry.deltaTicks,
                    EventName(e.type));
    } else if (e.type == 0xC0 || e.type == 0xD0) {
      std::snprintf(line, sizeof line, "%10llu +%-7u  %-16s ch %2u  %3u\n", tick, entry.deltaTicks,
                    EventName(e.type), e.channel + 1u, e.firstData);
    } else {
      std::snprintf(line, sizeof line, "%10llu +%-7u  %-16s ch %2u  %3u %3u\n", tick,
                    entry.deltaTicks, EventName(e.type), e.channel + 1u, e.firstData,
                    e.secondData);
    }
    out << line;
  }
}

const char* MidiValidateReason(unsigned int validateResult) {
  switch (validateResult) {
    case 1: return "cannot be read";
    case 4: return "not a usable MIDI file (division is 0)";
    default: return "not a valid MIDI file (format 0 or 1 with well-formed tracks)";
  }
}

}  // namespace qobase_tool
