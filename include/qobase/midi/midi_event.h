// The records the MIDI parser hands out: one event of the converted stream, and the summary of a
// converted file.
#pragma once

#include <cstdint>

// One event as the parser reports it.
struct QoMidiEventEx {
  // A channel event's status with the channel cleared (0x80 ... 0xE0), or the status byte itself
  // from 0xF0 up. A note on (0x90) with velocity 0 is reported as a note off (0x80).
  uint8_t type;
  // The low four bits of the status byte (15 for a meta event, whose status is 0xFF).
  uint8_t channel;
  // The byte after the status (a meta event's type) and the byte after that.
  uint8_t firstData;
  uint8_t secondData;
};

// What a conversion produced.
struct QoMidiInfo {
  bool valid;
  // Beats per minute of the converted stream.
  double tempo;
  // Ticks per quarter note.
  uint32_t division;
  // Events written to the converted stream, the closing end-of-track at tick 1 excepted.
  uint32_t numEvents;
  // Total duration of the converted stream in ticks.
  uint64_t lengthTicks;
};
