// A cursor over the events of one MIDI track: a track chunk of a Standard MIDI File, or the
// parser's converted event stream. The cursor holds the current event's delta time and a copy of
// its first bytes, and steps from event to event without ever reading past the track's end.
#pragma once

#include <cstdint>

struct QoMidiTrack {
  // The track's number in file order.
  uint8_t trackIndex;
  // First byte of the track's data and one past its last; both null for an empty track.
  const unsigned char* start;
  const unsigned char* end;
  // First byte of the current event (after its delta time); null once the track is exhausted or
  // found malformed.
  const unsigned char* cursor;
  // Delta time of the current event; 0xFFFFFFFF when there is none.
  uint32_t deltaTicks;
  // The current event's first bytes. In running status, eventBytes[0] is the held status and the
  // next five bytes of the track follow it. Bytes past the track's end read as 0.
  uint8_t eventBytes[6];
  // The running status held after the previous channel event; 0 for none.
  uint8_t runningStatus;
};

// Steps `track` to its next event. A track that is already exhausted stays so and gives true;
// reaching the track's end exactly exhausts it and gives true. A malformed event, delta time or
// length marks the track exhausted (cursor null, deltaTicks 0xFFFFFFFF) and gives false.
bool SeekNextEvent(QoMidiTrack* track);
