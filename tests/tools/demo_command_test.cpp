// `qobase demo DIR`, what `make demo` runs: the end-to-end job leaves a sound, its marked copy,
// two plots that render and a JSON report that parses, and lists where each one is.
#include <gtest/gtest.h>

#include "program_runner.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"
#include "tool_test_support.h"

using qotest::RunQobase;

TEST(QobaseDemo, RunsTheEndToEndJobIntoAFolder) {
  qotest::TempDir dir;
  const std::string folder = dir.File("demo");  // made by the demo
  const qotest::RunResult run = RunQobase({"demo", folder});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  const std::string listing =
      "== outputs ==\n"
      "  sound:           " +
      folder +
      "/drums.wav\n"
      "  marked copy:     " +
      folder +
      "/drums-onsets.wav\n"
      "  onsets plot:     " +
      folder +
      "/drums-onsets.svg\n"
      "  onsets report:   " +
      folder +
      "/drums-onsets.json\n"
      "  spectrum plot:   " +
      folder + "/drums-spectrum.svg\n";
  ASSERT_GE(run.out.size(), listing.size());
  EXPECT_EQ(run.out.substr(run.out.size() - listing.size()), listing);

  // Twelve hits, each found, stored as a labelled marker and listed in the report.
  const auto report =
      qotest::FlattenJsonDocuments(qotest::ReadFileBytes(folder + "/drums-onsets.json"));
  ASSERT_EQ(report.size(), 1u);
  qotest::ReadBack marked(folder + "/drums-onsets.wav", 2), sound(folder + "/drums.wav", 2);
  ASSERT_TRUE(marked.ok);
  ASSERT_TRUE(sound.ok);
  EXPECT_EQ(marked.samples, sound.samples);
  ASSERT_EQ(marked.markers.size(), 12u);
  for (size_t i = 0; i < 12; ++i) {
    const std::string number = std::to_string(i + 1);
    EXPECT_EQ(marked.markers[i],
              number + "@" +
                  qotest::JsonValue(report[0], "onsets." + std::to_string(i) + ".frame") +
                  ":Onset " + number);
    // A hit every quarter second from 0.25 s; the marker a hop or two before it.
    const double time =
        std::stod(qotest::JsonValue(report[0], "onsets." + std::to_string(i) + ".time"));
    EXPECT_NEAR(time, 0.25 * (i + 1) - 0.01, 0.0151) << i;
  }
  for (const std::string plot : {"drums-onsets", "drums-spectrum"}) {
    ASSERT_TRUE(qotest::RenderSvg(folder + "/" + plot + ".svg", dir.File(plot + ".png")));
    EXPECT_EQ(qotest::PngSize(dir.File(plot + ".png")).first, 1000u) << plot;
  }

  // Run again into the same folder: the outputs are replaced, nothing else is left there.
  ASSERT_EQ(RunQobase({"demo", folder}).exitCode, 0);
  const qotest::RunResult listed = qotest::RunProgram({"ls", "-A", folder});
  EXPECT_EQ(listed.out,
            "drums-onsets.json\ndrums-onsets.svg\ndrums-onsets.wav\ndrums-spectrum.svg\n"
            "drums.wav\n");
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("file"), "x"));
  const qotest::RunResult notFolder = RunQobase({"demo", dir.File("file")});
  EXPECT_EQ(notFolder.exitCode, 1);
  EXPECT_EQ(notFolder.err, "qobase: " + dir.File("file") + ": exists and is not a folder\n");
}
