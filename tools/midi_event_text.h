// Text form of MIDI events, shared by `qobase midi` and the demo.
#pragma once

#include <qobase/midi/midi_file.h>

#include <iosfwd>
#include <string>
#include <vector>

#include "midi_file_walk.h"

namespace qobase_tool {

// One line of file information, then one line per converted event: absolute tick, delta, event
// name, channel and data bytes.
void PrintMidiEvents(std::ostream& out, const QoMidiInfo& info,
                     const std::vector<QoMidiFile::QoMidiFileEvent>& events);

// The listing of `qobase midi`: the header facts, then each event of the file with its tick in
// the file, its time in seconds and its tick in the converted stream (`streamEvents`, one per
// channel or end-of-track event of the file, in the same order), then the closing events the
// converted stream adds.
void PrintMidiListing(std::ostream& out, const SmfHeader& header, const QoMidiInfo& info,
                      const std::vector<SmfEvent>& fileEvents,
                      const std::vector<QoMidiFile::QoMidiFileEvent>& streamEvents);

// "120.000", or "(none)" for a tempo that is not a finite positive number.
std::string FormatBpm(double bpm);

// Why QoMidiParseAt::Validate failed, from its result.
const char* MidiValidateReason(unsigned int validateResult);

}  // namespace qobase_tool
