// Text form of converted MIDI events, shared by `qobase midi` and the demo.
#pragma once

#include <qobase/midi/midi_file.h>

#include <iosfwd>
#include <vector>

namespace qobase_tool {

// One line of file information, then one line per event: absolute tick, delta, event name,
// channel and data bytes.
void PrintMidiEvents(std::ostream& out, const QoMidiInfo& info,
                     const std::vector<QoMidiFile::QoMidiFileEvent>& events);

// Why QoMidiFile::Validate failed, from its GetValidateResult().
const char* MidiValidateReason(unsigned int validateResult);

}  // namespace qobase_tool
