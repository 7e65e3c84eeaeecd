// `qobase midi` on files made by python's mido and by hand: the file's own ticks and times in
// seconds as mido computes them, the converted stream as the library writes it, and plain
// reasons for the files the converter cannot take.
#include <qobase/midi/midi_file.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "program_runner.h"
#include "support/midi_builder.h"
#include "support/temp_dir.h"

using qotest::RunQobase;

namespace {

const char k_python[] = "/usr/bin/python3";

// "tick seconds" of each channel event in a listing, in order.
std::vector<std::string> ListedChannelEvents(const std::string& listing) {
  std::vector<std::string> rows;
  std::istringstream lines(listing);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string tick, seconds, stream, track, event;
    if (!(fields >> tick >> seconds >> stream >> track >> event)) continue;
    if (event.rfind("note-", 0) == 0 || event == "control" || event == "program") {
      rows.push_back(tick + " " + seconds);
    }
  }
  return rows;
}

}  // namespace

// A tempo change in the conductor track: the converted stream re-times later events (mido
// counted 1925 ticks where the converted stream has 1928), the listing shows the file's own.
TEST(QobaseMidi, ListsTheFilesTicksAndSecondsAsMidoDoes) {
  if (!qotest::HaveTool(k_python) ||
      qotest::RunProgram({k_python, "-c", "import mido"}).exitCode != 0) {
    GTEST_SKIP() << "no python3 with mido";
  }
  qotest::TempDir dir;
  const std::string file = dir.File("tempo.mid");
  const std::string script =
      "import mido, sys\n"
      "m = mido.MidiFile(type=1, ticks_per_beat=480)\n"
      "c = mido.MidiTrack(); m.tracks.append(c)\n"
      "c.append(mido.MetaMessage('set_tempo', tempo=500000, time=0))\n"
      "c.append(mido.Message('program_change', program=5, time=0))\n"
      "c.append(mido.MetaMessage('set_tempo', tempo=697674, time=700))\n"
      "t = mido.MidiTrack(); m.tracks.append(t)\n"
      "for i in range(6):\n"
      "  t.append(mido.Message('note_on', note=60 + i, velocity=90, time=0 if i == 0 else 5))\n"
      "  t.append(mido.Message('note_off', note=60 + i, velocity=0, time=380))\n"
      "m.save(sys.argv[1])\n"
      "seconds = 0.0\n"
      "for msg in m:\n"
      "  seconds += msg.time\n"
      "  if not msg.is_meta: print('%.3f' % seconds)\n"
      "tick = 0\n"
      "for msg in mido.merge_tracks(m.tracks):\n"
      "  tick += msg.time\n"
      "  if not msg.is_meta: print(tick)\n";
  const qotest::RunResult made = qotest::RunProgram({k_python, "-c", script, file});
  ASSERT_EQ(made.exitCode, 0) << made.err;
  std::istringstream values(made.out);
  std::vector<std::string> seconds, ticks, expected;
  for (std::string value; values >> value;) {
    (value.find('.') != std::string::npos ? seconds : ticks).push_back(value);
  }
  ASSERT_EQ(seconds.size(), ticks.size());
  for (size_t i = 0; i < ticks.size(); ++i) expected.push_back(ticks[i] + " " + seconds[i]);

  const std::string before = qotest::ReadFileBytes(file);
  const qotest::RunResult run = RunQobase({"midi", file});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(ListedChannelEvents(run.out), expected) << run.out;
  // The converted stream counts in ticks of its single (first) tempo: after the slower tempo,
  // its ticks run ahead of the file's.
  EXPECT_EQ(expected.back(), "2305 3.062") << "mido's reading of the fixture changed";
  EXPECT_NE(run.out.find("      2305       3.062         2939      1  note-off"), std::string::npos)
      << run.out;
  EXPECT_EQ(qotest::ReadFileBytes(file), before);
}

TEST(QobaseMidi, ListingEdgesAndRefusals) {
  qotest::TempDir dir;
  // A first tempo of 1 us per quarter, then the slowest: every later one-tick delta becomes a
  // four-byte one in the stream, which outgrows twice the file.
  std::string slowing = "0 FF 51 03 00 00 01, 0 C0 01, 1 C0 01, 0 FF 51 03 FF FF FF, 0 C0 01";
  for (int i = 0; i < 2000; ++i) slowing += ", 1 01";
  const std::string wrapped =
      "a gap between two events is 2^28 ticks or longer at the stream's tempo, more than a delta "
      "time of the converted stream can hold";
  const struct {
    std::string name, bytes;
    int code;
    std::string expected;             // in stdout for 0, the stderr reason for 1
    std::string convertRefusal = "";  // for 0: why --convert refuses the file, if it does
  } cases[] = {
      // The largest delta a file can hold: the listing shows its tick; rounded to single
      // precision it is 2^28, which the stream's delta time would wrap to 0.
      {"far.mid", qotest::MidiFileBytes(0, 96, {"0 90 3C 64, 0x0FFFFFFF 80 3C 00, 0 FF 2F 00"}), 0,
       " 268435455 1398101.328            0      0  note-off", wrapped},
      {"slowing.mid", qotest::MidiFileBytes(0, 96, {slowing + ", 0 FF 2F 00"}), 0,
       "converted stream: tempo 60000000.000 bpm, 2004 events, "},
      {"smpte.mid",
       qotest::MidiHeader(0, 1, 0xE250) +
           qotest::MidiChunk("MTrk", qotest::MidiTrack("0 FF 2F 00")),
       1, "SMPTE time division is not supported"},
      {"tempo0.mid", qotest::MidiFileBytes(0, 96, {"0 FF 51 03 00 00 00, 0 90 3C 64, 0 FF 2F 00"}),
       1, "a tempo event at tick 0 sets 0 microseconds per quarter note"},
      {"format2.mid", qotest::MidiFileBytes(2, 96, {"0 FF 2F 00"}), 1,
       "MIDI format 2 is not supported (only 0 and 1)"},
      {"empty.mid", "", 1, "the file is empty"},
      {"text.mid", "MThd is not enough", 1, "not a Standard MIDI File (no MThd header)"},
      {"bad.mid", qotest::MidiFileBytes(0, 96, {"0 F4, 0 FF 2F 00"}), 1,
       "not a valid MIDI file (format 0 or 1 with well-formed tracks)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string file = dir.File(c.name);
    ASSERT_TRUE(qotest::WriteFileBytes(file, c.bytes));
    for (const bool convert : {false, true}) {
      std::vector<std::string> args{"midi", file};
      if (convert) args.insert(args.end(), {"--convert", dir.File("out.q")});
      const qotest::RunResult run = RunQobase(args);
      const std::string refusal = c.code != 0 ? c.expected
                                  : convert   ? c.convertRefusal
                                              : std::string();
      EXPECT_EQ(run.exitCode, refusal.empty() ? 0 : 1);
      if (refusal.empty()) {
        if (!convert) {
          EXPECT_NE(run.out.find(c.expected), std::string::npos) << run.out;
        }
      } else {
        EXPECT_EQ(run.err, "qobase: " + file + ": " + refusal + "\n");
        EXPECT_EQ(run.out, "");
      }
      EXPECT_EQ(qotest::ReadFileBytes(dir.File("out.q")).empty(), !convert || !refusal.empty());
      std::remove(dir.File("out.q").c_str());
    }
    EXPECT_EQ(qotest::ReadFileBytes(file), c.bytes);
  }
}

// --convert writes exactly the stream the library's own converter writes.
TEST(QobaseMidi, ConvertWritesTheLibrarysStream) {
  qotest::TempDir dir;
  const std::string file = dir.File("two.mid"), out = dir.File("two.qmid"),
                    reference = dir.File("ref");
  ASSERT_TRUE(qotest::WriteFileBytes(
      file, qotest::MidiFileBytes(1, 96,
                                  {"0 FF 51 03 09 27 C0, 192 FF 51 03 04 93 E0, 0 FF 2F 00",
                                   "0 C0 0B, 0 90 3C 64, 96 3C 00, 0 40 64, 0 FF 2F 00"})));
  QoMidiFile midi;
  ASSERT_EQ(midi.Open(zu::Path(file)), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  ASSERT_EQ(midi.Convert(zu::Path(reference)), 1u);
  const std::string expected = qotest::ReadFileBytes(reference);
  ASSERT_EQ(expected.substr(0, 6), qotest::MidiStreamHeader(96, 100.0f));

  const qotest::RunResult run = RunQobase({"midi", file, "--convert", out});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, file + ": 7 events, 192 ticks at 100.000 bpm converted to " + out + " (" +
                         std::to_string(expected.size()) + " bytes)\n");
  EXPECT_EQ(qotest::MidiToHex(qotest::ReadFileBytes(out)), qotest::MidiToHex(expected));
}

// A file larger than the memory allowed ends with a plain line and exit 1, and the output's
// temporary file is removed (the program once aborted on the allocation failure).
TEST(QobaseMidi, RunningOutOfMemoryFailsCleanly) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers' allocators cannot start under an address-space limit";
#endif
  qotest::TempDir dir;
  std::string track = qotest::MidiTrack("0 90 3C 64");
  track.reserve(track.size() + 3 * 7000000 + 4);
  for (int i = 0; i < 7000000; ++i) track += "\x01\x3C\x40";
  track += qotest::MidiTrack("0 FF 2F 00");
  const std::string file = dir.File("huge.mid");
  ASSERT_TRUE(qotest::WriteFileBytes(
      file, qotest::MidiHeader(0, 1, 96) + qotest::MidiChunk("MTrk", track)));
  qotest::RunOptions small;
  small.memoryLimit = 200ll << 20;
  for (const bool convert : {false, true}) {
    std::vector<std::string> args{"midi", file};
    if (convert) args.insert(args.end(), {"--convert", dir.File("out.q")});
    const qotest::RunResult run = RunQobase(args, small);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "qobase: midi: not enough memory for this input\n");
  }
  EXPECT_EQ(qotest::RunProgram({"ls", "-A", dir.Path()}).out, "huge.mid\n");
}
