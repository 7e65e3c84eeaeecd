// Converting a 16-track Standard MIDI File of 2 million events, against libsmf loading the same
// file, in the same run:
//   memory: QoMidiParseAt SetBuffer + Convert      vs  smf_load_from_memory
//   file:   QoMidiFile Open + Validate (reads,     vs  smf_load
//           checks and converts the file)
// Prints the ratios ours / libsmf of the best of several interleaved runs (lower is better).
#include <qobase/midi/midi_file.h>
#include <qobase/midi/midi_parse_at.h>

#include <smf.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

constexpr int k_tracks = 16;
constexpr int k_eventsPerTrack = 125000;  // end-of-track included: 2,000,000 events in all

void PutVlq(std::string& out, uint32_t value) {
  unsigned char bytes[4];
  int count = 0;
  bytes[count++] = value & 0x7F;
  for (value >>= 7; value; value >>= 7) bytes[count++] = 0x80 | (value & 0x7F);
  while (count) out.push_back(static_cast<char>(bytes[--count]));
}

void PutBig32(std::string& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>(value >> shift));
}

// Notes with running status (note offs as velocity-0 note ons), controllers, pitch bends,
// program changes, an occasional sysex, and tempo changes in the first track.
std::string MakeFile() {
  uint32_t seed = 12345;
  auto next = [&seed](uint32_t range) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 8) % range;
  };
  std::string file = "MThd";
  PutBig32(file, 6);
  file += std::string("\x00\x01\x00\x10\x01\xE0", 6);  // format 1, 16 tracks, 480 per quarter
  for (int t = 0; t < k_tracks; ++t) {
    std::string track;
    const int channel = t % 16;
    uint8_t running = 0;
    int note = -1;
    for (int e = 0; e < k_eventsPerTrack - 1; ++e) {
      PutVlq(track, e % 7 == 0 ? 0 : next(300));
      const uint32_t kind = next(100);
      if (t == 0 && e % 1000 == 999) {
        const uint32_t tempo = 300000 + next(400000);
        track += std::string("\xFF\x51\x03", 3);
        track.push_back(static_cast<char>(tempo >> 16));
        track.push_back(static_cast<char>(tempo >> 8));
        track.push_back(static_cast<char>(tempo));
        running = 0;
      } else if (e % 5000 == 4999) {
        track += std::string("\xF0\x05\x7E\x7F\x09\x01\xF7", 7);
        running = 0;
      } else if (kind < 80) {
        const uint8_t status = static_cast<uint8_t>(0x90 | channel);
        if (running != status) track.push_back(static_cast<char>(status));
        running = status;
        if (note < 0) {
          note = 36 + static_cast<int>(next(60));
          track.push_back(static_cast<char>(note));
          track.push_back(static_cast<char>(1 + next(126)));
        } else {
          track.push_back(static_cast<char>(note));
          track.push_back(0);
          note = -1;
        }
      } else if (kind < 92) {
        const uint8_t status = static_cast<uint8_t>(0xB0 | channel);
        if (running != status) track.push_back(static_cast<char>(status));
        running = status;
        track.push_back(static_cast<char>(next(100)));
        track.push_back(static_cast<char>(next(128)));
      } else if (kind < 98) {
        const uint8_t status = static_cast<uint8_t>(0xE0 | channel);
        if (running != status) track.push_back(static_cast<char>(status));
        running = status;
        track.push_back(static_cast<char>(next(128)));
        track.push_back(static_cast<char>(next(128)));
      } else {
        const uint8_t status = static_cast<uint8_t>(0xC0 | channel);
        if (running != status) track.push_back(static_cast<char>(status));
        running = status;
        track.push_back(static_cast<char>(next(128)));
      }
    }
    track += std::string("\x00\xFF\x2F\x00", 4);
    file += "MTrk";
    PutBig32(file, static_cast<uint32_t>(track.size()));
    file += track;
  }
  return file;
}

const std::string& File() {
  static const std::string file = MakeFile();
  return file;
}

}  // namespace

int main() {
  const qobench::ScratchDir scratch;
  if (!scratch.IsValid()) return 1;
  const std::string path = scratch.File("bench.mid");
  FILE* out = std::fopen(path.c_str(), "wb");
  if (!out || std::fwrite(File().data(), 1, File().size(), out) != File().size()) return 1;
  std::fclose(out);
  // libsmf takes tens of seconds over this file, so few rounds are enough and all one can wait for.
  const int rounds = qobench::Rounds(2);
  std::printf("file: %d tracks, %d events, %.1f MB, best of %d interleaved rounds\n", k_tracks,
              k_tracks * k_eventsPerTrack, File().size() / 1e6, rounds);

  const auto* data = reinterpret_cast<const unsigned char*>(File().data());
  const unsigned int size = static_cast<unsigned int>(File().size());
  std::vector<unsigned char> converted(2 * File().size() + 1024);
  const qobench::Side oursMemory{nullptr, [&] {
                                   QoMidiParseAt parser;
                                   parser.SetBuffer(data, size);
                                   unsigned int written =
                                       static_cast<unsigned int>(converted.size());
                                   const bool ok = parser.Convert(converted.data(), written);
                                   qobench::Keep(converted[0]);
                                   return ok;
                                 }};
  const qobench::Side smfMemory{nullptr, [&] {
                                  smf_t* smf = smf_load_from_memory(
                                      File().data(), static_cast<int>(File().size()));
                                  if (!smf) return false;
                                  qobench::Keep(smf);
                                  smf_delete(smf);
                                  return true;
                                }};
  const qobench::Side oursFile{
      nullptr, [&] {
        QoMidiFile midi;
        if (midi.Open(path) != QO::k_resultSuccess || midi.Validate() != QO::k_resultSuccess)
          return false;
        QoMidiInfo info{};
        midi.GetMidiInfo(info);
        qobench::Keep(info);
        return true;
      }};
  const qobench::Side smfFile{nullptr, [&] {
                                smf_t* smf = smf_load(path.c_str());
                                if (!smf) return false;
                                qobench::Keep(smf);
                                smf_delete(smf);
                                return true;
                              }};
  bool ok = true;
  ok &= qobench::PrintRow("MIDI convert in memory, Convert vs smf_load_from_memory (hold)",
                          qobench::CompareInterleaved(rounds, oursMemory, smfMemory), 0.5);
  ok &= qobench::PrintRow("MIDI file Open + Validate vs smf_load (hold)",
                          qobench::CompareInterleaved(rounds, oursFile, smfFile), 0.5);
  return ok ? 0 : 1;
}
