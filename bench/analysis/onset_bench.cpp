// Onset detection on ten minutes of a stereo 48 kHz 16-bit drum track, read from disk, against
// aubio's "specflux" onset detector (buffer 2048, hop 480, its own file source) on the same
// file: best of several interleaved runs, the ratio of our time to aubio's, and our real-time
// factor. Then the peak resident size of a lean process (analysis_rss_probe) that analyses a
// 10-minute and a 60-minute file, to show that memory does not grow with the file's length.
#include <aubio/aubio.h>
#include <qobase/analysis/onset_detector.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "analysis/percussion.h"
#include "bench_support.h"

namespace {

constexpr int k_repetitions = 5;
constexpr double k_seconds = 600.0;

double Seconds(const std::function<void()>& job) {
  const auto start = std::chrono::steady_clock::now();
  job();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The whole span a user waits for: analysis and marker times at full sensitivity.
size_t OurOnsets(const std::string& path) {
  QoOnsetDetector detector;
  detector.SetSource(path);
  std::vector<double> times;
  detector.GetMarkerTimes(times, 1.0f);
  return times.size();
}

size_t AubioOnsets(const std::string& path) {
  const uint_t hop = 480;
  aubio_source_t* source = new_aubio_source(path.c_str(), 0, hop);
  if (source == nullptr) return 0;
  aubio_onset_t* onset =
      new_aubio_onset("specflux", 2048, hop, aubio_source_get_samplerate(source));
  fvec_t* in = new_fvec(hop);
  fvec_t* out = new_fvec(1);
  size_t count = 0;
  uint_t read = 0;
  do {
    aubio_source_do(source, in, &read);
    aubio_onset_do(onset, in, out);
    if (out->data[0] != 0) ++count;
  } while (read == hop);
  del_fvec(out);
  del_fvec(in);
  del_aubio_onset(onset);
  del_aubio_source(source);
  return count;
}

// Runs analysis_rss_probe (beside this program) on path and returns the peak resident size
// it reports, in MiB, or -1.
double PeakResidentMiB(const char* what, const std::string& path) {
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
  if (length <= 0) return -1;
  std::string command(self, static_cast<size_t>(length));
  command =
      command.substr(0, command.rfind('/') + 1) + "analysis_rss_probe " + what + " '" + path + "'";
  FILE* probe = popen(command.c_str(), "r");
  if (probe == nullptr) return -1;
  double kilobytes = -1;
  if (std::fscanf(probe, "%lf", &kilobytes) != 1) kilobytes = -1;
  return pclose(probe) == 0 && kilobytes >= 0 ? kilobytes / 1024.0 : -1;
}

}  // namespace

int main() {
  const qobench::ScratchDir scratch;
  const qobench::DrumTrack track;
  const std::string tenMinutes = scratch.File("drums-10min.wav");
  if (!scratch.IsValid() || !track.Write(tenMinutes, k_seconds)) {
    std::fprintf(stderr, "onset_bench: cannot write the test file\n");
    return 1;
  }

  double ours = 1e30, aubio = 1e30;
  size_t ourCount = 0, aubioCount = 0;
  for (int i = 0; i < k_repetitions; ++i) {
    aubio = std::min(aubio, Seconds([&] { aubioCount = AubioOnsets(tenMinutes); }));
    ours = std::min(ours, Seconds([&] { ourCount = OurOnsets(tenMinutes); }));
  }
  if (ourCount == 0 || aubioCount == 0) {
    std::fprintf(stderr, "onset_bench: no onsets found (ours %zu, aubio %zu)\n", ourCount,
                 aubioCount);
    return 1;
  }
  std::printf("onsets, 10 min stereo 48 kHz 16-bit drums, best of %d interleaved runs\n",
              k_repetitions);
  std::printf("  QoOnsetDetector %7.3f s (%zu markers)   aubio specflux %7.3f s (%zu onsets)\n",
              ours, ourCount, aubio, aubioCount);
  std::printf("  ratio ours / aubio %.3f (target <= 1.0, goal 0.5) %s\n", ours / aubio,
              ours / aubio <= 1.0 ? "met" : "MISSED");
  std::printf("  real-time factor %.0fx on one core (aim >= 1000x)\n", k_seconds / ours);

  const std::string sixtyMinutes = scratch.File("drums-60min.wav");
  if (!track.Write(sixtyMinutes, 6 * k_seconds)) {
    std::fprintf(stderr, "onset_bench: cannot write the 60-minute file\n");
    return 1;
  }
  std::printf("peak resident size of a lean process (MiB): idle / onsets / spectrum\n");
  for (const auto& file :
       {std::make_pair("10 min", tenMinutes), std::make_pair("60 min", sixtyMinutes)}) {
    std::printf("  %s: %.1f / %.1f / %.1f\n", file.first, PeakResidentMiB("idle", file.second),
                PeakResidentMiB("onset", file.second), PeakResidentMiB("spectrum", file.second));
  }
  return 0;
}
