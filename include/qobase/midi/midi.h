// Every public header of this subsystem: standard MIDI File parsing and the MIDI file front.
#pragma once

#include <qobase/midi/midi_active_notes.h>
#include <qobase/midi/midi_event.h>
#include <qobase/midi/midi_file.h>
#include <qobase/midi/midi_parse_at.h>
#include <qobase/midi/midi_track.h>
