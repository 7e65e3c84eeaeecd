// Files written by an independent implementation (python3-mido, a build dependency, run by
// mido_fixtures.py at test time): our merged events and times must match what mido reads back.
#include <qobase/midi/midi_file.h>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <map>
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

// Reads mido's description of one file: its channel events, and the totals by name (division,
// end_of_track, total_ticks, total_seconds, running_status_saved).
std::vector<MidoEvent> ReadView(const std::string& path, std::map<std::string, double>& totals) {
  std::vector<MidoEvent> events;
  std::ifstream in(path);
  std::string line, key, hex;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    fields >> key;
    if (key != "event") {
      fields >> totals[key];
      continue;
    }
    MidoEvent& event = events.emplace_back();
    fields >> event.tick >> event.seconds >> event.count;
    while (fields >> hex) event.bytes.push_back(std::stoi(hex, nullptr, 16));
  }
  return events;
}

void CheckAgainstMido(const std::string& dir, const std::string& name, bool exactTicks) {
  SCOPED_TRACE(name);
  std::map<std::string, double> totals;
  const std::vector<MidoEvent> midoEvents = ReadView(dir + "/" + name + ".txt", totals);
  ASSERT_GT(midoEvents.size(), 10u);
  const double endOfTracks = totals.at("end_of_track");
  // mido wrote running status, so reading it is exercised.
  EXPECT_GT(totals.at("running_status_saved"), 0);

  QoMidiFile midi;
  QoMidiInfo info{};
  std::vector<QoMidiFile::QoMidiFileEvent> events;
  ASSERT_TRUE(midi.Open(dir + "/" + name + ".mid") == QO::k_resultSuccess);
  ASSERT_TRUE(midi.Validate() == QO::k_resultSuccess);
  ASSERT_TRUE(midi.GetMidiInfo(info));
  ASSERT_TRUE(midi.GetEvents(events) == QO::k_resultSuccess);
  EXPECT_EQ(info.division, totals.at("division"));

  const double secondsPerTick = 60.0 / (info.tempo * info.division);
  uint64_t tick = 0;
  size_t next = 0;
  int endOfTracksSeen = 0;
  for (const QoMidiFile::QoMidiFileEvent& entry : events) {
    tick += entry.deltaTicks;
    if (entry.event.type == 0xFF && ++endOfTracksSeen) continue;
    ASSERT_LT(next, midoEvents.size());
    const MidoEvent& expected = midoEvents[next++];
    const std::vector<int>& b = expected.bytes;
    const int type = (b[0] & 0xF0) == 0x90 && b[2] == 0 ? 0x80 : b[0] & 0xF0;
    const int second = b.size() == 3 ? b[2] : entry.event.secondData;
    EXPECT_EQ(std::vector<int>({entry.event.type, entry.event.channel, entry.event.firstData,
                                entry.event.secondData}),
              std::vector<int>({type, b[0] & 0x0F, b[1], second}))
        << next;
    // Each merged message may round its delta by half a tick.
    const double tolerance = expected.count * 0.5 * secondsPerTick + 1e-6 * expected.seconds + 1e-9;
    EXPECT_NEAR(tick * secondsPerTick, expected.seconds, tolerance) << next;
    EXPECT_TRUE(!exactTicks || tick == expected.tick) << next << ": " << tick;
  }
  EXPECT_EQ(next, midoEvents.size());
  EXPECT_EQ(endOfTracksSeen, endOfTracks);
  EXPECT_EQ(tick, info.lengthTicks);
  const double allMessages = midoEvents.back().count + endOfTracks + 8;
  EXPECT_NEAR(info.lengthTicks * secondsPerTick, totals.at("total_seconds"),
              allMessages * 0.5 * secondsPerTick + 1e-6 * totals.at("total_seconds"));
  EXPECT_TRUE(!exactTicks || info.lengthTicks == totals.at("total_ticks")) << tick;
}

TEST(MidiMidoInterop, MergedEventsAndTimesMatchMido) {
  // The default python3 may lack mido where the system one has it. The script exits with 3
  // when it cannot import mido, which fails the test: it never skips.
  const char* python = RunQuietly("python3 -c 'import mido'") == 0 ? "python3" : "/usr/bin/python3";
  qotest::TempDir dir;
  ASSERT_EQ(
      RunQuietly(std::string(python) + " '" QOBASE_MIDO_FIXTURE_SCRIPT "' '" + dir.Path() + "'"), 0)
      << "python3-mido missing?";
  CheckAgainstMido(dir.Path(), "format0", false);
  CheckAgainstMido(dir.Path(), "format1", false);
  CheckAgainstMido(dir.Path(), "steady", true);
}

}  // namespace
