// Copies the data chunk of a 500 MB WAVE file with QoWavFile::WriteDataChunk and copies the
// same file with cp, alternately, in a fresh temporary directory; prints the median times and
// the ratio ours / cp.
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/result_code.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr unsigned int k_frames = 125u * 1000u * 1000u;  // 16-bit stereo: 500 MB of samples
constexpr int k_rounds = 5;

double Seconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool MakeSource(const std::string& path) {
  QoWavFileWriter writer;
  if (!writer.Open(zu::Path(path), false)) return false;
  WaveFormatExtensible format = {0xFFFE, 2, 48000, 192000, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 3)};
  writer.SetFormat(format);
  if (!writer.WriteChunks(0)) return false;
  std::vector<short> block(2u * 1024u * 1024u);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<short>(i * 7919u);
  const unsigned int blockFrames = static_cast<unsigned int>(block.size() / 2);
  for (unsigned int done = 0; done < k_frames; done += blockFrames) {
    if (!writer.WriteInt16AsPCMData(std::min(blockFrames, k_frames - done), block.data())) return false;
  }
  return writer.Close();
}

// Our copy: open the source, write the data chunk into a new file, close it.
double CopyOurs(const std::string& source, const std::string& target) {
  const auto start = std::chrono::steady_clock::now();
  QoWavFile wav;
  zu::File out;
  if (!wav.Open(zu::Path(source), false) || out.Open(zu::Path(target), k_openModeWrite, 0) != QO::k_resultSuccess ||
      !wav.WriteDataChunk(out, false) || out.Close() != QO::k_resultSuccess) {
    return -1.0;
  }
  benchmark::DoNotOptimize(wav);
  return Seconds(start);
}

double CopyWithCp(const std::string& source, const std::string& target) {
  const std::string command = "cp '" + source + "' '" + target + "'";
  const auto start = std::chrono::steady_clock::now();
  if (std::system(command.c_str()) != 0) return -1.0;
  return Seconds(start);
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main() {
  char pattern[] = "/tmp/qobase_wav_copy_XXXXXX";
  if (!mkdtemp(pattern)) {
    std::fprintf(stderr, "wav_copy_bench: cannot make a temporary directory\n");
    return 1;
  }
  const std::string dir = pattern;
  const std::string source = dir + "/source.wav", ours = dir + "/ours.bin", theirs = dir + "/cp.wav";
  int status = 0;
  if (!MakeSource(source)) {
    std::fprintf(stderr, "wav_copy_bench: cannot write the source file\n");
    status = 1;
  } else {
    std::vector<double> oursTimes, cpTimes;
    // One unmeasured round of each first, so both start with the source in the page cache.
    CopyOurs(source, ours);
    CopyWithCp(source, theirs);
    for (int round = 0; round < k_rounds && status == 0; ++round) {
      std::remove(ours.c_str());
      std::remove(theirs.c_str());
      const double a = CopyOurs(source, ours);
      std::remove(ours.c_str());
      const double b = CopyWithCp(source, theirs);
      if (a < 0 || b < 0) {
        std::fprintf(stderr, "wav_copy_bench: a copy failed\n");
        status = 1;
      }
      oursTimes.push_back(a);
      cpTimes.push_back(b);
    }
    if (status == 0) {
      const double a = Median(oursTimes), b = Median(cpTimes);
      std::printf("data chunk copy of %u MB, median of %d rounds\n", k_frames * 4u / 1000000u, k_rounds);
      std::printf("  QoWavFile::WriteDataChunk  %.3f s\n", a);
      std::printf("  cp                         %.3f s\n", b);
      std::printf("  ratio ours / cp            %.2f (target <= 1.30)\n", a / b);
    }
  }
  std::remove(ours.c_str());
  std::remove(theirs.c_str());
  std::remove(source.c_str());
  rmdir(dir.c_str());
  return status;
}
