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

#include "bench_support.h"

#include <unistd.h>

namespace {

constexpr unsigned int k_frames = 125u * 1000u * 1000u;  // 16-bit stereo: 500 MB of samples
constexpr int k_rounds = 6;

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

// Our copy: open the source, write the data chunk into a new file, close it. The new file is
// opened by zu::File::Open, or by fopen and handed over as a borrowed stream: zu::File::Open
// truncates even an empty new file, and after a truncation to zero ext4 starts writing the file
// back to disk when it is closed, which is then part of the time.
double CopyOurs(const std::string& source, const std::string& target, bool openWithFile) {
  const auto start = std::chrono::steady_clock::now();
  QoWavFile wav;
  if (!wav.Open(zu::Path(source), false)) return -1.0;
  bool ok = false;
  if (openWithFile) {
    zu::File out;
    ok = out.Open(zu::Path(target), k_openModeWrite, 0) == QO::k_resultSuccess && wav.WriteDataChunk(out, false) &&
         out.Close() == QO::k_resultSuccess;
  } else {
    FILE* stream = std::fopen(target.c_str(), "wb");
    if (!stream) return -1.0;
    {
      zu::File out(stream);
      ok = wav.WriteDataChunk(out, false);
    }
    ok = std::fclose(stream) == 0 && ok;
  }
  if (!ok) return -1.0;
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
  const qobench::ScratchDir scratch;
  if (!scratch.IsValid()) {
    std::fprintf(stderr, "wav_copy_bench: cannot make a temporary directory\n");
    return 1;
  }
  const std::string source = scratch.File("source.wav"), ours = scratch.File("ours.bin"),
                    theirs = scratch.File("cp.wav");
  int status = 0;
  if (!MakeSource(source)) {
    std::fprintf(stderr, "wav_copy_bench: cannot write the source file\n");
    status = 1;
  } else {
    std::vector<double> fileTimes, streamTimes, cpTimes;
    // One unmeasured round of each first, so that all start with the source in the page cache.
    CopyOurs(source, ours, true);
    std::remove(ours.c_str());
    CopyWithCp(source, theirs);
    for (int round = 0; round < k_rounds && status == 0; ++round) {
      // Each copy runs on an empty directory, the three taking turns to go first.
      double times[3] = {0, 0, 0};
      for (int i = 0; i < 3; ++i) {
        std::remove(ours.c_str());
        std::remove(theirs.c_str());
        const int which = (round + i) % 3;
        times[which] = which == 2 ? CopyWithCp(source, theirs) : CopyOurs(source, ours, which == 0);
      }
      if (times[0] < 0 || times[1] < 0 || times[2] < 0) {
        std::fprintf(stderr, "wav_copy_bench: a copy failed\n");
        status = 1;
      }
      fileTimes.push_back(times[0]);
      streamTimes.push_back(times[1]);
      cpTimes.push_back(times[2]);
    }
    if (status == 0) {
      const double a = Median(fileTimes), b = Median(streamTimes), c = Median(cpTimes);
      std::printf("data chunk copy of %u MB, median of %d rounds\n", k_frames * 4u / 1000000u, k_rounds);
      std::printf("  WriteDataChunk, output by zu::File::Open  %.3f s\n", a);
      std::printf("  WriteDataChunk, output by fopen           %.3f s\n", b);
      std::printf("  cp                                        %.3f s\n", c);
      std::printf("  ratio ours / cp, zu::File::Open output    %.2f\n", a / c);
      std::printf("  ratio ours / cp, fopen output             %.2f (target <= 1.30)\n", b / c);
    }
  }
  return status;
}
