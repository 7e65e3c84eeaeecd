// `qobase markers` on a file marked by `addmarkers`, and `qobase watch` printing the batches of
// the directory watcher as JSON lines until Ctrl-C.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "program_runner.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

using qotest::RunQobase;

TEST(QobaseMarkers, ListsMarkersAndLoopAsTextAndJson) {
  qotest::TempDir dir;
  ASSERT_TRUE(qotest::WriteFileBytes(
      dir.File("in.wav"), qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                                       qotest::Chunk("data", qotest::Pcm16Samples(8000)))));
  ASSERT_EQ(RunQobase({"addmarkers", "--loop", "100:4000", dir.File("in.wav"), dir.File("m.wav"),
                       "2000:Quarter", "6000"})
                .exitCode,
            0);
  const qotest::RunResult text = RunQobase({"markers", dir.File("m.wav")});
  ASSERT_EQ(text.exitCode, 0) << text.err;
  EXPECT_EQ(text.out, dir.File("m.wav") +
                          ": 2 markers\n"
                          "  #1  frame 2000  0.250 s  \"Quarter\"\n"
                          "  #2  frame 6000  0.750 s\n"
                          "  loop: frames 100 - 4000 (0.013 - 0.500 s)\n");
  const auto json =
      qotest::FlattenJsonDocuments(RunQobase({"markers", "--json", dir.File("m.wav")}).out);
  ASSERT_EQ(json.size(), 1u);
  EXPECT_EQ(json[0], (std::vector<std::string>{
                         "file=" + dir.File("m.wav"), "sampleRate=8000", "markers.0.id=1",
                         "markers.0.frame=2000", "markers.0.time=0.250", "markers.0.label=Quarter",
                         "markers.1.id=2", "markers.1.frame=6000", "markers.1.time=0.750",
                         "markers.1.label=", "loop.start=100", "loop.end=4000"}));
  const qotest::RunResult plain = RunQobase({"markers", dir.File("in.wav")});
  EXPECT_EQ(plain.out, dir.File("in.wav") + ": 0 markers\n  loop: none\n");
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("x.mid"), "MThd"));
  EXPECT_EQ(RunQobase({"markers", dir.File("x.mid")}).err,
            "qobase: " + dir.File("x.mid") + ": not a RIFF/RIFX WAVE file\n");
}

TEST(QobaseWatch, PrintsEachBatchAsAJsonLineUntilCtrlC) {
  qotest::TempDir dir;
  ASSERT_EQ(::mkdir(dir.File("watched").c_str(), 0755), 0);
  // Ctrl-C comes once the batch is printed; the latency is long enough that a loaded machine
  // does not split the changes over two batches. The new folder is a change of the watched one;
  // the file made inside it would show only with --recursive, which this run does not ask for.
  static const char k_script[] = R"(
import os, signal, subprocess, sys, time
folder = sys.argv[2]
program = subprocess.Popen([sys.argv[1], "watch", folder, "--latency", "400"],
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
program.stderr.readline()
os.mkdir(os.path.join(folder, "below"))
with open(os.path.join(folder, "below", "ignored.wav"), "w") as f:
    f.write("x")
with open(os.path.join(folder, "take.wav"), "w") as f:
    f.write("x")
line = program.stdout.readline()
time.sleep(0.3)
program.send_signal(signal.SIGINT)
rest, _ = program.communicate(timeout=10)
sys.stdout.write("%d\n%s%s" % (program.returncode, line, rest))
)";
  const qotest::RunResult run =
      qotest::RunProgram({"python3", "-c", k_script, QOBASE_TOOL_PATH, dir.File("watched")});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "0\n{\"changes\": [\"" + dir.File("watched/below") + "\",\"" +
                         dir.File("watched/take.wav") + "\"]}\n");
  const auto batches = qotest::FlattenJsonDocuments(run.out.substr(2));
  ASSERT_EQ(batches.size(), 1u);
  EXPECT_EQ(batches[0], (std::vector<std::string>{"changes.0=" + dir.File("watched/below"),
                                                  "changes.1=" + dir.File("watched/take.wav")}));

  const qotest::RunResult missing = RunQobase({"watch", dir.File("nothing")});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err, "qobase: " + dir.File("nothing") + ": No such file or directory\n");
}
