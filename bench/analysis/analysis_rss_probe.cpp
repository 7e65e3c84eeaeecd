// A lean process for measuring the peak resident size of one analysis: onset_bench runs it as
// `analysis_rss_probe onset|spectrum|idle path`, and it prints its own peak (VmHWM, in kB) when
// the analysis is done. It links nothing but the library, so the figure is the analysis and a
// small process floor. (The kernel's per-child peak would include the forking parent's pages.)
#include <qobase/analysis/fft_helper.h>
#include <qobase/analysis/onset_detector.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

bool Analyse(const std::string& what, const std::string& path) {
  if (what == "onset") {
    QoOnsetDetector detector;
    detector.SetSource(path);
    std::vector<double> times;
    detector.GetMarkerTimes(times, 1.0f);
    return !times.empty();
  }
  if (what == "spectrum") {
    FFTHelper helper(2048, FFTHelper::Hann);
    std::vector<float> spectrum;
    unsigned int rate = 0;
    return helper.GetSpectrum(path, spectrum, rate, nullptr);
  }
  return what == "idle";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || !Analyse(argv[1], argv[2])) return 1;
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, 6, "VmHWM:") == 0) {
      std::printf("%s\n", line.substr(6).c_str());
      return 0;
    }
  }
  return 1;
}
