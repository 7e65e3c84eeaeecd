// qobase midi: list the merged events of a Standard MIDI File, or write its converted stream.
#include <qobase/midi/midi_file.h>

#include <iostream>

#include "command.h"
#include "midi_event_text.h"

namespace qobase_tool {
namespace {

int RunMidi(const std::vector<std::string>& args) {
  std::string input;
  std::string output;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--convert") {
      if (i + 1 == args.size()) return UsageError("midi", "--convert needs an output file");
      if (!output.empty()) return UsageError("midi", "--convert given twice");
      output = args[++i];
    } else if (!args[i].empty() && args[i][0] == '-') {
      return UsageError("midi", "unknown option '" + args[i] + "'");
    } else if (input.empty()) {
      input = args[i];
    } else {
      return UsageError("midi", "one MIDI file at a time");
    }
  }
  if (input.empty()) return UsageError("midi", "no MIDI file given");

  QoMidiFile midi;
  if (midi.Open(input) != 1) return Fail(input, "cannot open");
  if (midi.Validate() != 1) return Fail(input, MidiValidateReason(midi.GetValidateResult()));
  QoMidiInfo info{};
  midi.GetMidiInfo(info);
  if (!output.empty()) {
    if (midi.Convert(output) != 1) return Fail(output, "cannot write the converted stream");
    std::cout << input << ": " << info.numEvents << " events, " << info.lengthTicks
              << " ticks converted to " << output << "\n";
    return k_exitSuccess;
  }
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  if (midi.GetEvents(events) != 1) return Fail(input, "cannot list the events");
  PrintMidiEvents(std::cout, info, events);
  return k_exitSuccess;
}

const CommandRegistration s_midi({
    "midi",
    "list the merged events of a MIDI file, or convert it",
    "usage: qobase midi FILE [--convert OUT]\n\n"
    "Reads a Standard MIDI File (format 0 or 1), merges its tracks by time at a single tempo and\n"
    "prints one line per event: absolute tick, delta, event, channel (1-16), data bytes.\n"
    "With --convert, writes the converted event stream to OUT instead (its folder is created).\n"
    "Exit code 0 on success, 1 when the file cannot be read, is not valid MIDI or OUT cannot be\n"
    "written, 2 for a usage error.\n",
    RunMidi,
});

}  // namespace
}  // namespace qobase_tool
