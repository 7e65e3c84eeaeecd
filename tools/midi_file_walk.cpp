#include "midi_file_walk.h"

#include <algorithm>

namespace qobase_tool {
namespace {

uint32_t Big32(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = (value << 8) | static_cast<uint8_t>(bytes[at + i]);
  return value;
}

unsigned int Big16(const std::string& bytes, size_t at) {
  return (static_cast<uint8_t>(bytes[at]) << 8) | static_cast<uint8_t>(bytes[at + 1]);
}

// A variable-length quantity of at most four bytes inside [at, end).
bool ReadVlq(const std::string& bytes, size_t& at, size_t end, uint32_t& value) {
  value = 0;
  for (int i = 0; i < 4; ++i) {
    if (at >= end) return false;
    const uint8_t byte = static_cast<uint8_t>(bytes[at++]);
    value = (value << 7) | (byte & 0x7F);
    if (!(byte & 0x80)) return true;
  }
  return false;
}

// The events of one track's data [at, end), with absolute ticks.
bool ReadTrack(const std::string& bytes, size_t at, size_t end, unsigned int track,
               std::vector<SmfEvent>& events, std::string& reason) {
  uint64_t tick = 0;
  uint8_t running = 0;
  while (at < end) {
    uint32_t delta = 0;
    if (!ReadVlq(bytes, at, end, delta) || at >= end) {
      reason = "malformed delta time in track " + std::to_string(track);
      return false;
    }
    tick += delta;
    SmfEvent event;
    event.tick = tick;
    event.track = track;
    uint8_t status = static_cast<uint8_t>(bytes[at]);
    if (status < 0x80) {
      if (running == 0) {
        reason = "data byte without a status in track " + std::to_string(track);
        return false;
      }
      status = running;
    } else {
      ++at;
    }
    event.status = status;
    if (status < 0xF0) {
      const size_t length = (status & 0xF0) == 0xC0 || (status & 0xF0) == 0xD0 ? 1 : 2;
      if (end - at < length) {
        reason = "event cut short in track " + std::to_string(track);
        return false;
      }
      event.data1 = static_cast<uint8_t>(bytes[at]);
      if (length == 2) event.data2 = static_cast<uint8_t>(bytes[at + 1]);
      at += length;
      running = status;
    } else if (status == 0xF0 || status == 0xF7 || status == 0xFF) {
      if (status == 0xFF) {
        if (at >= end) {
          reason = "meta event cut short in track " + std::to_string(track);
          return false;
        }
        event.metaType = static_cast<uint8_t>(bytes[at++]);
      }
      uint32_t length = 0;
      if (!ReadVlq(bytes, at, end, length) || end - at < length) {
        reason = "event cut short in track " + std::to_string(track);
        return false;
      }
      if (status == 0xFF && event.metaType == 0x51) {
        if (length < 3) {
          reason = "tempo event shorter than three bytes in track " + std::to_string(track);
          return false;
        }
        event.tempo = (static_cast<uint32_t>(static_cast<uint8_t>(bytes[at])) << 16) |
                      (static_cast<uint32_t>(static_cast<uint8_t>(bytes[at + 1])) << 8) |
                      static_cast<uint8_t>(bytes[at + 2]);
      }
      at += length;
      running = 0;
    } else {
      reason = "status byte not allowed in a file in track " + std::to_string(track);
      return false;
    }
    events.push_back(event);
  }
  return true;
}

}  // namespace

bool ReadSmfHeader(const std::string& bytes, SmfHeader& header, std::string& reason) {
  if (bytes.size() < 14 || bytes.compare(0, 4, "MThd") != 0 || Big32(bytes, 4) != 6) {
    reason = "not a Standard MIDI File (no MThd header)";
    return false;
  }
  header.format = Big16(bytes, 8);
  header.numTracks = Big16(bytes, 10);
  header.division = Big16(bytes, 12);
  header.smpte = (header.division & 0x8000) != 0;
  return true;
}

bool WalkSmf(const std::string& bytes, std::vector<SmfEvent>& events, std::string& reason) {
  SmfHeader header;
  if (!ReadSmfHeader(bytes, header, reason)) return false;
  if (header.smpte || header.division == 0) {
    reason = "no ticks-per-quarter-note division";
    return false;
  }
  events.clear();
  size_t at = 14;
  for (unsigned int track = 0; track < header.numTracks; ++track) {
    if (bytes.size() - at < 8) {
      reason = "track " + std::to_string(track) + " is missing";
      return false;
    }
    const uint32_t length = Big32(bytes, at + 4);
    const size_t start = at + 8;
    if (bytes.size() - start < length) {
      reason = "track " + std::to_string(track) + " is cut short";
      return false;
    }
    if (bytes.compare(at, 4, "MTrk") == 0 &&
        !ReadTrack(bytes, start, start + length, track, events, reason)) {
      return false;
    }
    at = start + length;
  }
  // Collected track by track, so a stable sort by tick puts the lower track first on a tie.
  std::stable_sort(events.begin(), events.end(),
                   [](const SmfEvent& a, const SmfEvent& b) { return a.tick < b.tick; });
  double seconds = 0.0;
  double secondsPerTick = 500000.0 / 1e6 / header.division;
  uint64_t lastTick = 0;
  for (SmfEvent& event : events) {
    seconds += static_cast<double>(event.tick - lastTick) * secondsPerTick;
    lastTick = event.tick;
    event.seconds = seconds;
    if (event.status == 0xFF && event.metaType == 0x51) {
      if (event.tempo == 0) {
        reason = "a tempo event at tick " + std::to_string(event.tick) +
                 " sets 0 microseconds per quarter note";
        return false;
      }
      secondsPerTick = event.tempo / 1e6 / header.division;
    }
  }
  return true;
}

}  // namespace qobase_tool
