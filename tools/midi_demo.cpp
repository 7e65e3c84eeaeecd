// The MIDI section of `qobase demo`: builds a small two-track MIDI file in a fresh temporary
// folder, lists its merged events, converts it and cleans up.
#include <internal/scratch_folder.h>
#include <qobase/midi/midi_file.h>

#include <cstdio>
#include <ostream>
#include <string>

#include "command.h"
#include "midi_event_text.h"

namespace qobase_tool {
namespace {

std::string Chunk(const char* id, const std::string& data) {
  std::string bytes(id, 4);
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes.push_back(static_cast<char>((data.size() >> shift) & 0xFF));
  }
  return bytes + data;
}

// Format 1, 96 ticks per quarter. Track 0: tempo 100 bpm, then 200 bpm after two beats. Track 1: a
// sysex, a program change and four notes written in running status, the last left sounding.
std::string DemoFile() {
  const unsigned char header[] = {0x00, 0x01, 0x00, 0x02, 0x00, 0x60};
  const unsigned char conductor[] = {0x00, 0xFF, 0x51, 0x03, 0x09, 0x27, 0xC0,        // 600000 us
                                     0x81, 0x40, 0xFF, 0x51, 0x03, 0x04, 0x93, 0xE0,  // 300000 us
                                     0x00, 0xFF, 0x2F, 0x00};
  const unsigned char melody[] = {0x00, 0xF0, 0x03, 0x7E, 0x09, 0xF7,        // sysex: dropped
                                  0x00, 0xC0, 0x0B,                          // program 11
                                  0x00, 0x90, 0x3C, 0x64, 0x60, 0x3C, 0x00,  // C, running status
                                  0x00, 0x40, 0x64, 0x60, 0x40, 0x00,        // E
                                  0x00, 0x43, 0x64, 0x60, 0x43, 0x00,        // G
                                  0x00, 0x48, 0x64,                          // C, left sounding
                                  0x30, 0xFF, 0x2F, 0x00};
  auto text = [](const unsigned char* bytes, size_t size) {
    return std::string(reinterpret_cast<const char*>(bytes), size);
  };
  return Chunk("MThd", text(header, sizeof header)) +
         Chunk("MTrk", text(conductor, sizeof conductor)) +
         Chunk("MTrk", text(melody, sizeof melody));
}

bool WriteWhole(const std::string& path, const std::string& bytes) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

bool MidiDemo(std::ostream& out) {
  const qobase_internal::ScratchFolder scratch(qobase_internal::ScratchFolder::SystemTempFolder(),
                                               "qobase-demo");
  if (!scratch.IsValid()) return false;
  const std::string source = scratch.File("demo.mid");
  const std::string converted = scratch.File("demo.qmid");
  bool ok = WriteWhole(source, DemoFile());
  if (ok) {
    QoMidiFile midi;
    QoMidiInfo info{};
    std::vector<QoMidiFile::QoMidiFileEvent> events;
    ok = midi.Open(source) == QO::k_resultSuccess && midi.Validate() == QO::k_resultSuccess &&
         midi.GetMidiInfo(info) && midi.GetEvents(events) == QO::k_resultSuccess;
    if (ok) {
      out << "   a two-track file, the tempo doubles after two beats; merged at one tempo:\n";
      PrintMidiEvents(out, info, events);
      ok = midi.Convert(converted) == QO::k_resultSuccess;
    }
    if (ok) {
      FILE* file = std::fopen(converted.c_str(), "rb");
      out << "   converted stream:";
      int byte = 0;
      while (file && (byte = std::fgetc(file)) != EOF) {
        char hex[4];
        std::snprintf(hex, sizeof hex, " %02X", byte);
        out << hex;
      }
      out << "\n";
      if (file) std::fclose(file);
    }
  }
  return ok;
}

const DemoRegistration s_section({40, "midi", MidiDemo});

}  // namespace
}  // namespace qobase_tool
