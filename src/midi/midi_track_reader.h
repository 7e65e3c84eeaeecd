// Bounded reading of MIDI track data, shared by the track cursor and the converter. Inline so the
// conversion loop steps its tracks without a call per event.
#pragma once

#include <qobase/midi/midi_track.h>

#include <cstddef>
#include <cstdint>

namespace qo_midi {

constexpr uint32_t k_noDelta = 0xFFFFFFFFu;

// Reads a variable-length quantity of at most four bytes from [p, end). On success `p` is left
// after it. False when it runs past `end` or a fourth byte still has its continuation bit set.
inline bool ReadVlq(const unsigned char*& p, const unsigned char* end, uint32_t& value) {
  uint32_t result = 0;
  for (int i = 0; i < 4; ++i) {
    if (p == end) return false;
    const unsigned char byte = *p++;
    result = (result << 7) | (byte & 0x7Fu);
    if (!(byte & 0x80)) {
      value = result;
      return true;
    }
  }
  return false;
}

// Reads a length VLQ out of a copied event prefix; `count` bytes are available. Returns the value
// and, in `used`, how many bytes it took; 0xFFFFFFFF when it is malformed.
inline uint32_t VlqFromBytes(const uint8_t* bytes, size_t count, size_t& used) {
  const unsigned char* p = bytes;
  uint32_t value = 0;
  if (!ReadVlq(p, bytes + count, value)) return k_noDelta;
  used = static_cast<size_t>(p - bytes);
  return value;
}

// Number of bytes of a channel event with this status, status included.
inline size_t ChannelEventSize(uint8_t status) { return (status & 0xE0) == 0xC0 ? 2 : 3; }

inline void MarkExhausted(QoMidiTrack& track) {
  track.cursor = nullptr;
  track.deltaTicks = k_noDelta;
  track.runningStatus = 0;
  for (uint8_t& byte : track.eventBytes) byte = 0;
}

// Copies the first bytes of the event at `p` (which lies before the track's end) into
// `eventBytes`, putting the held running status in front of a data byte.
inline void LoadEventBytes(QoMidiTrack& track, const unsigned char* p) {
  size_t filled = 0;
  if (track.runningStatus != 0 && *p < 0x80) track.eventBytes[filled++] = track.runningStatus;
  const size_t available = static_cast<size_t>(track.end - p);
  if (available >= 6 - filled) {
    while (filled < 6) track.eventBytes[filled++] = *p++;
    return;
  }
  for (size_t i = 0; i < available; ++i) track.eventBytes[filled++] = *p++;
  while (filled < 6) track.eventBytes[filled++] = 0;
}

// Puts a track on its first event. An empty track is left exhausted and counts as started.
// False (the track exhausted) when the first delta time is malformed or nothing follows it.
inline bool StartTrack(QoMidiTrack& track) {
  MarkExhausted(track);
  if (!track.start) return true;
  const unsigned char* p = track.start;
  uint32_t delta = 0;
  if (!ReadVlq(p, track.end, delta) || p >= track.end) return false;
  LoadEventBytes(track, p);
  track.cursor = p;
  track.deltaTicks = delta;
  return true;
}

// The body of SeekNextEvent.
inline bool AdvanceTrack(QoMidiTrack& track) {
  if (!track.cursor) return true;
  const uint8_t status = track.eventBytes[0];
  size_t length = 0;
  bool channelEvent = false;
  if (status >= 0x80 && status < 0xF0) {
    // A controller number with its high bit set is not a control change.
    if ((status & 0xF0) == 0xB0 && (track.eventBytes[1] & 0x80)) {
      MarkExhausted(track);
      return false;
    }
    length = ChannelEventSize(status) - (*track.cursor < 0x80 ? 1 : 0);
    channelEvent = true;
  } else if (status == 0xF0 || status == 0xF7 || status == 0xFF) {
    // Sysex: status, length, data. Meta: 0xFF, type, length, data.
    const size_t prefix = status == 0xFF ? 2 : 1;
    size_t used = 0;
    const uint32_t dataLength = VlqFromBytes(track.eventBytes + prefix, 6 - prefix, used);
    if (dataLength == k_noDelta) {
      MarkExhausted(track);
      return false;
    }
    length = prefix + used + dataLength;
  } else {
    MarkExhausted(track);
    return false;
  }

  if (length > static_cast<size_t>(track.end - track.cursor)) {
    MarkExhausted(track);
    return false;
  }
  const unsigned char* next = track.cursor + length;
  track.runningStatus = channelEvent ? status : 0;
  if (next == track.end) {
    MarkExhausted(track);
    return true;
  }
  uint32_t delta = 0;
  if (!ReadVlq(next, track.end, delta) || next >= track.end) {
    MarkExhausted(track);
    return false;
  }
  LoadEventBytes(track, next);
  track.cursor = next;
  track.deltaTicks = delta;
  return true;
}

}  // namespace qo_midi
