// qobase midi: list the events of a Standard MIDI File, or write its converted stream.
#include <qobase/midi/midi_parse_at.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "command.h"
#include "input_file.h"
#include "midi_event_text.h"
#include "midi_file_walk.h"
#include "output_file.h"
#include "standard_output.h"

namespace qobase_tool {
namespace {

// The converted stream is held in 32-bit sizes, at up to four times the file (see below).
constexpr uint64_t k_maxMidiFileSize = 512u * 1024u * 1024u;

// The converted stream, in a buffer the parser writes and then walks.
struct ConvertedStream {
  std::unique_ptr<unsigned char[]> bytes;
  unsigned int size = 0;
};

struct MidiOptions {
  std::string input;
  std::string output;
  bool convert = false;
};

int ReadWholeFile(const std::string& path, std::string& bytes) {
  std::string reason;
  if (!CheckInputFile(path, reason)) return Fail(path, reason);
  std::ifstream in(path, std::ios::binary);
  if (!in) return FailErrno(path);
  in.seekg(0, std::ios::end);
  const std::streamoff size = in.tellg();
  if (size < 0) return Fail(path, "cannot be read");
  if (static_cast<uint64_t>(size) > k_maxMidiFileSize)
    return Fail(path, "too large for a MIDI file");
  bytes.resize(static_cast<size_t>(size));
  in.seekg(0);
  if (!in.read(&bytes[0], size)) return Fail(path, "cannot be read");
  return k_exitSuccess;
}

// Checks the file with the library's parser, with the reasons a user can act on.
int Validate(const std::string& path, const std::string& bytes, QoMidiParseAt& parser) {
  if (bytes.empty()) return Fail(path, "the file is empty");
  SmfHeader header;
  std::string reason;
  if (!ReadSmfHeader(bytes, header, reason)) return Fail(path, reason);
  if (header.smpte) return Fail(path, "SMPTE time division is not supported");
  if (header.format > 1) return Fail(path, "MIDI format 2 is not supported (only 0 and 1)");
  parser.SetBuffer(reinterpret_cast<const unsigned char*>(bytes.data()),
                   static_cast<unsigned int>(bytes.size()));
  const unsigned int result = parser.Validate();
  if (result != QoMidiParseAt::k_validateOk) return Fail(path, MidiValidateReason(result));
  // Listing and converting both need the file's tempo map to be usable.
  std::vector<SmfEvent> events;
  if (!WalkSmf(bytes, events, reason)) return Fail(path, reason);
  return k_exitSuccess;
}

// Converts the validated file into a buffer of its own. The parser's own buffer (twice the file)
// is too small for a file whose tempo slows down after the first one: a one-byte delta time can
// grow to four bytes. An event of at least two bytes in the file (delta time and one data byte)
// takes at most seven in the stream (four-byte delta, status, two data bytes), and a note left
// on (at least three bytes) at most four more for its closing note-off, so four times the file
// and the fixed closing events always fit. Pages never written are never touched.
int ConvertWhole(const MidiOptions& options, QoMidiParseAt& parser, uint64_t fileSize,
                 ConvertedStream& stream, QoMidiInfo& info) {
  const uint64_t capacity = 4 * fileSize + 1024;
  stream.bytes.reset(new unsigned char[capacity]);
  stream.size = static_cast<unsigned int>(capacity);
  if (!parser.Convert(stream.bytes.get(), stream.size) || !parser.GetMidiInfo(info)) {
    return Fail(options.input, "cannot be converted");
  }
  return k_exitSuccess;
}

// The stream's delta times add up to its length unless one wrapped: a delta time is written
// modulo 2^28 ticks, so a longer gap (after rounding to single precision) comes out short.
bool DeltasAddUp(QoMidiParseAt& parser, const QoMidiInfo& info) {
  uint64_t total = 0;
  QoMidiEventEx event{};
  unsigned int delta = 0;
  if (!parser.ResetNextEvent()) return false;
  while (parser.GetNextEvent(event, delta)) total += delta;
  return total == info.lengthTicks;
}

int Convert(const MidiOptions& options, QoMidiParseAt& parser, uint64_t fileSize) {
  OutputFile out;
  std::string reason;
  if (!out.Create(options.output, {options.input}, reason)) return Fail(options.output, reason);
  ConvertedStream stream;
  QoMidiInfo info{};
  if (const int code = ConvertWhole(options, parser, fileSize, stream, info)) return code;
  if (!DeltasAddUp(parser, info)) {
    return Fail(options.input,
                "a gap between two events is 2^28 ticks or longer at the stream's tempo, more "
                "than a delta time of the converted stream can hold");
  }
  // A failed write is remembered; Commit reports it and removes the temporary file.
  out.Write(stream.bytes.get(), stream.size);
  if (!out.Commit(reason)) return Fail(options.output, reason);
  std::cout << options.input << ": " << info.numEvents << " events, " << info.lengthTicks
            << " ticks at " << FormatBpm(info.tempo) << " bpm converted to " << options.output
            << " (" << stream.size << " bytes)\n";
  return k_exitSuccess;
}

int List(const MidiOptions& options, const std::string& bytes, QoMidiParseAt& parser) {
  SmfHeader header;
  std::string reason;
  std::vector<SmfEvent> fileEvents;
  QoMidiInfo info{};
  if (!ReadSmfHeader(bytes, header, reason) || !WalkSmf(bytes, fileEvents, reason)) {
    return Fail(options.input, reason);
  }
  ConvertedStream stream;
  if (const int code = ConvertWhole(options, parser, bytes.size(), stream, info)) return code;
  if (!parser.ResetNextEvent()) return Fail(options.input, "cannot be converted");
  std::vector<QoMidiFile::QoMidiFileEvent> streamEvents;
  QoMidiEventEx event{};
  unsigned int delta = 0;
  while (parser.GetNextEvent(event, delta)) streamEvents.push_back({event, delta});
  PrintMidiListing(std::cout, header, info, fileEvents, streamEvents);
  return k_exitSuccess;
}

int RunMidi(const MidiOptions& options) {
  std::string bytes;
  if (const int code = ReadWholeFile(options.input, bytes)) return code;
  QoMidiParseAt parser;
  if (const int code = Validate(options.input, bytes, parser)) return code;
  if (options.convert) return Convert(options, parser, bytes.size());
  return List(options, bytes, parser);
}

void AddMidi(CLI::App& parent) {
  CLI::App& command =
      *parent.add_subcommand("midi", "list the events of a MIDI file, or convert it");
  command.footer(
      "Reads a Standard MIDI File (format 0 or 1, ticks-per-quarter-note division) and prints\n"
      "one line per event, tracks merged by time: the event's tick in the file, its time in\n"
      "seconds (following the file's tempo changes), its tick in the converted stream, and the\n"
      "event with its channel (1-16) and data bytes. Notes and pedals the converted stream closes\n"
      "at the end are listed last.\n"
      "With --convert, writes the converted event stream to OUT instead: bytes 0-1 the division\n"
      "(big-endian), bytes 2-5 the tempo in beats per minute (32-bit float, little-endian),\n"
      "then the channel events and end-of-track events, each after its delta time, at that one\n"
      "tempo. OUT is replaced only when it is complete; it must not be FILE, and its folder must\n"
      "exist.\n"
      "Exit code 0 on success, 1 when the file cannot be read, is not valid MIDI or OUT cannot be\n"
      "written, 2 on bad usage.");
  auto options = std::make_shared<MidiOptions>();
  command.add_option("FILE", options->input, "the MIDI file")->required();
  CLI::Option* convert =
      command.add_option("--convert", options->output, "write the converted stream to OUT")
          ->type_name("OUT");
  SetRunner(command, "qobase midi FILE [--convert OUT]", [options, convert] {
    options->convert = convert->count() != 0;
    return RunMidi(*options);
  });
}

const CommandRegistration s_midi("midi", AddMidi);

}  // namespace
}  // namespace qobase_tool
