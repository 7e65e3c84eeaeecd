// Files written by an independent implementation (python3-mido, a build dependency): our merged
// events and times must match what mido reads back from the same files. The fixtures are
// generated at test time by mido_fixtures.py. Without mido the test fails: it never skips.
#include <qobase/midi/midi_file.h>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace {

int RunQuietly(const std::string& command) {
  const int status = std::system((command + " >/dev/null 2>&1").c_str());
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct MidoEvent {
  uint64_t tick = 0;
  double seconds = 0;
  int count = 0;  // merged messages up to this one, meta and sysex included
  std::vector<int> bytes;
};

struct MidoView {
  uint32_t division = 0;
  std::vector<MidoEvent> events;
  int endOfTracks = -1;
  uint64_t totalTicks = 0;
  double totalSeconds = -1;
  int runningStatusSaved = -1;
};

MidoView ReadView(const std::string& path) {
  MidoView view;
  std::ifstream in(path);
  std::string line, key, hex;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    fields >> key;
    if (key == "division") fields >> view.division;
    if (key == "end_of_track") fields >> view.endOfTracks;
    if (key == "total_ticks") fields >> view.totalTicks;
    if (key == "total_seconds") fields >> view.totalSeconds;
    if (key == "running_status_saved") fields >> view.runningStatusSaved;
    if (key != "event") continue;
    MidoEvent event;
    fields >> event.tick >> event.seconds >> event.count;
    while (fields >> hex) event.bytes.push_back(std::stoi(hex, nullptr, 16));
    view.events.push_back(event);
  }
  return view;
}

void CheckAgainstMido(const std::string& dir, const std::string& name, bool exactTicks) {
  SCOPED_TRACE(name);
  const MidoView view = ReadView(dir + "/" + name + ".txt");
  ASSERT_GT(view.events.size(), 10u);
  ASSERT_GE(view.endOfTracks, 1);
  EXPECT_GT(view.runningStatusSaved, 0);  // mido wrote running status, so reading it is exercised

  QoMidiFile midi;
  ASSERT_EQ(midi.Open(dir + "/" + name + ".mid"), 1u);
  ASSERT_EQ(midi.Validate(), 1u);
  QoMidiInfo info{};
  ASSERT_TRUE(midi.GetMidiInfo(info));
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  ASSERT_EQ(midi.GetEvents(events), 1u);
  EXPECT_EQ(info.division, view.division);

  const double secondsPerTick = 60.0 / (info.tempo * info.division);
  uint64_t tick = 0;
  size_t next = 0;
  int endOfTracks = 0;
  for (const QoMidiFile::QoMidiFileEvent& entry : events) {
    tick += entry.deltaTicks;
    if (entry.event.type == 0xFF) {
      ++endOfTracks;
      continue;
    }
    ASSERT_LT(next, view.events.size());
    const MidoEvent& expected = view.events[next++];
    const std::vector<int>& b = expected.bytes;
    const int type = (b[0] & 0xF0) == 0x90 && b[2] == 0 ? 0x80 : b[0] & 0xF0;
    EXPECT_EQ(entry.event.type, type) << next;
    EXPECT_EQ(entry.event.channel, b[0] & 0x0F) << next;
    EXPECT_EQ(entry.event.firstData, b[1]) << next;
    if (b.size() == 3) { EXPECT_EQ(entry.event.secondData, b[2]) << next; }
    // Each merged message may round its delta by half a tick.
    const double tolerance = expected.count * 0.5 * secondsPerTick + 1e-6 * expected.seconds + 1e-9;
    EXPECT_NEAR(tick * secondsPerTick, expected.seconds, tolerance) << next;
    if (exactTicks) { EXPECT_EQ(tick, expected.tick) << next; }
  }
  EXPECT_EQ(next, view.events.size());
  EXPECT_EQ(endOfTracks, view.endOfTracks);
  EXPECT_EQ(tick, info.lengthTicks);
  const double allMessages = view.events.back().count + view.endOfTracks + 8;
  EXPECT_NEAR(info.lengthTicks * secondsPerTick, view.totalSeconds,
              allMessages * 0.5 * secondsPerTick + 1e-6 * view.totalSeconds);
  if (exactTicks) { EXPECT_EQ(info.lengthTicks, view.totalTicks); }
}

TEST(MidiMidoInterop, MergedEventsAndTimesMatchMido) {
  std::string python;
  for (const char* candidate : {"python3", "/usr/bin/python3"}) {
    if (python.empty() && RunQuietly(std::string(candidate) + " -c 'import mido'") == 0) python = candidate;
  }
  ASSERT_FALSE(python.empty()) << "no python3 that can import mido (install python3-mido)";
  qotest::TempDir dir;
  ASSERT_EQ(RunQuietly(python + " '" QOBASE_MIDO_FIXTURE_SCRIPT "' '" + dir.Path() + "'"), 0);
  CheckAgainstMido(dir.Path(), "format0", false);
  CheckAgainstMido(dir.Path(), "format1", false);
  CheckAgainstMido(dir.Path(), "steady", true);
}

}  // namespace
