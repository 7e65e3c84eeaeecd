// The cursor over the events of one MIDI track.
#include <qobase/midi/midi_track.h>

#include "midi/midi_track_reader.h"

bool SeekNextEvent(QoMidiTrack* track) {
  if (!track) return false;
  return qo_midi::AdvanceTrack(*track);
}
