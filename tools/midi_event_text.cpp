#include "midi_event_text.h"

#include <cmath>
#include <cstdio>
#include <ostream>

namespace qobase_tool {
namespace {

const char* EventName(uint8_t type) {
  switch (type) {
    case 0x80:
      return "note-off";
    case 0x90:
      return "note-on";
    case 0xA0:
      return "key-pressure";
    case 0xB0:
      return "control";
    case 0xC0:
      return "program";
    case 0xD0:
      return "channel-pressure";
    case 0xE0:
      return "pitch-bend";
    case 0xFF:
      return "end-of-track";
    default:
      return "other";
  }
}

// "note-on          ch  1   60 100" for a channel event.
std::string ChannelEventText(uint8_t type, unsigned int channel, uint8_t first, uint8_t second) {
  char text[64];
  if (type == 0xC0 || type == 0xD0) {
    std::snprintf(text, sizeof text, "%-16s ch %2u  %3u", EventName(type), channel + 1u, first);
  } else {
    std::snprintf(text, sizeof text, "%-16s ch %2u  %3u %3u", EventName(type), channel + 1u, first,
                  second);
  }
  return text;
}

bool IsInStream(const SmfEvent& event) {
  return event.status < 0xF0 || (event.status == 0xFF && event.metaType == 0x2F);
}

std::string FileEventText(const SmfEvent& event) {
  if (event.status < 0xF0) {
    return ChannelEventText(event.status & 0xF0, event.status & 0x0F, event.data1, event.data2);
  }
  if (event.status == 0xFF && event.metaType == 0x2F) return "end-of-track";
  if (event.status == 0xFF && event.metaType == 0x51) {
    return "tempo            " + FormatBpm(60000000.0 / event.tempo) + " bpm (" +
           std::to_string(event.tempo) + " us per quarter)";
  }
  if (event.status == 0xFF) return "meta " + std::to_string(event.metaType);
  return "system-exclusive";
}

}  // namespace

std::string FormatBpm(double bpm) {
  if (!std::isfinite(bpm) || bpm <= 0.0) return "(none)";
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", bpm);
  return text;
}

void PrintMidiEvents(std::ostream& out, const QoMidiInfo& info,
                     const std::vector<QoMidiFile::QoMidiFileEvent>& events) {
  char line[160];
  std::snprintf(line, sizeof line, "division %u, tempo %s bpm, %u events, %llu ticks\n",
                info.division, FormatBpm(info.tempo).c_str(), info.numEvents,
                static_cast<unsigned long long>(info.lengthTicks));
  out << line;
  unsigned long long tick = 0;
  for (const QoMidiFile::QoMidiFileEvent& entry : events) {
    tick += entry.deltaTicks;
    const QoMidiEventEx& e = entry.event;
    const std::string text = e.type == 0xFF
                                 ? std::string(EventName(e.type))
                                 : ChannelEventText(e.type, e.channel, e.firstData, e.secondData);
    std::snprintf(line, sizeof line, "%10llu +%-7u  %s\n", tick, entry.deltaTicks, text.c_str());
    out << line;
  }
}

void PrintMidiListing(std::ostream& out, const SmfHeader& header, const QoMidiInfo& info,
                      const std::vector<SmfEvent>& fileEvents,
                      const std::vector<QoMidiFile::QoMidiFileEvent>& streamEvents) {
  out << "format " << header.format << ", " << header.numTracks << " track(s), division "
      << header.division << " ticks per quarter note\n";
  out << "converted stream: tempo " << FormatBpm(info.tempo) << " bpm, " << info.numEvents
      << " events, " << info.lengthTicks << " ticks\n";
  out << "      tick     seconds  stream-tick  track  event\n";
  char line[200];
  size_t next = 0;
  unsigned long long streamTick = 0;
  for (const SmfEvent& event : fileEvents) {
    std::string streamColumn = "-";
    if (IsInStream(event) && next < streamEvents.size()) {
      streamTick += streamEvents[next++].deltaTicks;
      streamColumn = std::to_string(streamTick);
    }
    std::snprintf(line, sizeof line, "%10llu %11.3f %12s  %5u  %s\n",
                  static_cast<unsigned long long>(event.tick), event.seconds, streamColumn.c_str(),
                  event.track, FileEventText(event).c_str());
    out << line;
  }
  // What is left was added by the conversion: notes and pedals closed at the end.
  for (; next < streamEvents.size(); ++next) {
    streamTick += streamEvents[next].deltaTicks;
    const QoMidiEventEx& e = streamEvents[next].event;
    const std::string text = e.type == 0xFF
                                 ? std::string(EventName(e.type))
                                 : ChannelEventText(e.type, e.channel, e.firstData, e.secondData);
    std::snprintf(line, sizeof line, "%10s %11s %12llu  %5s  %s (added at the end)\n", "-", "-",
                  streamTick, "-", text.c_str());
    out << line;
  }
}

const char* MidiValidateReason(unsigned int validateResult) {
  switch (validateResult) {
    case 1:
      return "cannot be read";
    case 4:
      return "not a usable MIDI file (division is 0)";
    default:
      return "not a valid MIDI file (format 0 or 1 with well-formed tracks)";
  }
}

}  // namespace qobase_tool
