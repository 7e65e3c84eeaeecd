// Reading samples as float (ReadPCMDataAsFloat32) and writing floats as PCM
// (WriteReal32AsPCMData) against libsndfile's sf_readf_float and sf_writef_float, on 200 MB
// files of 16-bit and 24-bit stereo, in blocks of 4096 frames. The files are made in a fresh
// temporary directory and removed at the end. Prints throughput and ratios (ours / libsndfile).
#include <qobase/audio/wav_file_reader.h>
#include <qobase/audio/wav_file_writer.h>
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench_support.h"

namespace {

constexpr unsigned int k_block = 4096;
constexpr unsigned int k_channels = 2;
constexpr unsigned long long k_fileBytes = 200ull * 1000 * 1000;
constexpr int k_repetitions = 5;

double Seconds(const std::function<void()>& job) {
  const auto start = std::chrono::steady_clock::now();
  job();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The best of k_repetitions runs of each job, alternating so both see the same cache state.
// Before each run, prepare (untimed) removes the previous output and flushes dirty pages, so
// no run pays for another one's truncation or write-back.
void Best(const std::function<void()>& ours, const std::function<void()>& theirs, double& oursBest,
          double& theirsBest, const std::function<void(bool forOurs)>& prepare) {
  oursBest = theirsBest = 1e30;
  for (int i = 0; i < k_repetitions; ++i) {
    prepare(false);
    theirsBest = std::min(theirsBest, Seconds(theirs));
    prepare(true);
    oursBest = std::min(oursBest, Seconds(ours));
  }
}

WAVEFORMATEXTENSIBLE Format(unsigned int bits) {
  WAVEFORMATEXTENSIBLE f;
  std::memset(&f, 0, sizeof(f));
  f.wFormatTag = 1;
  f.nChannels = k_channels;
  f.nSamplesPerSec = 48000;
  f.nBlockAlign = static_cast<uint16_t>(k_channels * bits / 8);
  f.nAvgBytesPerSec = 48000u * f.nBlockAlign;
  f.wBitsPerSample = static_cast<uint16_t>(bits);
  return f;
}

struct Result {
  double readRatio;
  double writeRatio;
};

bool Run(const std::string& dir, unsigned int bits, Result& result) {
  const unsigned int bytesPerFrame = k_channels * bits / 8;
  const unsigned int frames =
      static_cast<unsigned int>(k_fileBytes / bytesPerFrame / k_block * k_block);
  const double megabytes = static_cast<double>(frames) * bytesPerFrame / 1e6;
  std::vector<float> block(static_cast<size_t>(k_block) * k_channels);
  for (size_t i = 0; i < block.size(); ++i)
    block[i] = 0.8f * std::sin(0.001f * static_cast<float>(i * 7 % 10007));

  const std::string oursPath = dir + "/ours.wav";
  const std::string theirsPath = dir + "/theirs.wav";
  bool ok = true;
  auto writeOurs = [&] {
    QoWavFileWriter writer;
    ok = ok && writer.Open(zu::Path(oursPath), false);
    writer.SetFormat(Format(bits));
    ok = ok && writer.WriteChunks(0);
    for (unsigned int done = 0; done < frames; done += k_block)
      ok = ok && writer.WriteReal32AsPCMData(k_block, block.data());
    ok = ok && writer.Close();
  };
  auto writeTheirs = [&] {
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    info.channels = k_channels;
    info.samplerate = 48000;
    info.format = SF_FORMAT_WAV | (bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24);
    SNDFILE* file = sf_open(theirsPath.c_str(), SFM_WRITE, &info);
    if (file == nullptr) {
      ok = false;
      return;
    }
    for (unsigned int done = 0; done < frames; done += k_block)
      ok = ok && sf_writef_float(file, block.data(), k_block) == k_block;
    sf_close(file);
  };
  double oursWrite = 0, theirsWrite = 0;
  Best(writeOurs, writeTheirs, oursWrite, theirsWrite, [&](bool forOurs) {
    std::remove(forOurs ? oursPath.c_str() : theirsPath.c_str());
    sync();
  });
  if (!ok) return false;

  // Both readers read the same file, the one libsndfile wrote.
  std::vector<float> out(static_cast<size_t>(k_block) * k_channels);
  double oursSum = 0, theirsSum = 0;
  auto readOurs = [&] {
    QoWavFileReader reader;
    ok = ok && reader.Open(zu::Path(theirsPath)) && reader.ReadChunks(0x3);
    reader.SeekToAudioFrame(0);
    unsigned long long total = 0;
    double sum = 0;
    for (unsigned int n; (n = reader.ReadPCMDataAsFloat32(k_block, out.data())) != 0;) {
      total += n;
      sum += out[0];
    }
    ok = ok && total == frames;
    oursSum = sum;
  };
  auto readTheirs = [&] {
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    SNDFILE* file = sf_open(theirsPath.c_str(), SFM_READ, &info);
    if (file == nullptr) {
      ok = false;
      return;
    }
    unsigned long long total = 0;
    double sum = 0;
    for (sf_count_t n; (n = sf_readf_float(file, out.data(), k_block)) > 0;) {
      total += static_cast<unsigned long long>(n);
      sum += out[0];
    }
    sf_close(file);
    ok = ok && total == frames;
    theirsSum = sum;
  };
  double oursRead = 0, theirsRead = 0;
  Best(readOurs, readTheirs, oursRead, theirsRead, [](bool) {});
  std::remove(oursPath.c_str());
  std::remove(theirsPath.c_str());
  if (!ok) return false;
  if (std::fabs(oursSum - theirsSum) > 1e-3 * (1 + std::fabs(theirsSum))) {
    std::fprintf(stderr, "wav_read_bench: the two readers disagree (%f vs %f)\n", oursSum,
                 theirsSum);
    return false;
  }
  std::printf("%2u-bit stereo, %.0f MB, blocks of %u frames, best of %d\n", bits, megabytes,
              k_block, k_repetitions);
  std::printf(
      "  read : ReadPCMDataAsFloat32 %7.0f MB/s   sf_readf_float  %7.0f MB/s   ratio %.2f\n",
      megabytes / oursRead, megabytes / theirsRead, theirsRead / oursRead);
  std::printf(
      "  write: WriteReal32AsPCMData %7.0f MB/s   sf_writef_float %7.0f MB/s   ratio %.2f\n",
      megabytes / oursWrite, megabytes / theirsWrite, theirsWrite / oursWrite);
  result.readRatio = theirsRead / oursRead;
  result.writeRatio = theirsWrite / oursWrite;
  return true;
}

}  // namespace

int main() {
  const qobench::ScratchDir scratch;
  if (!scratch.IsValid()) {
    std::perror("wav_read_bench: mkdtemp");
    return 1;
  }
  Result r16 = {0, 0}, r24 = {0, 0};
  const bool ok = Run(scratch.Path(), 16, r16) && Run(scratch.Path(), 24, r24);
  if (!ok) {
    std::fprintf(stderr, "wav_read_bench: a run failed\n");
    return 1;
  }
  std::printf(
      "ratios (ours / libsndfile, throughput): read16 %.2f  read24 %.2f  write16 %.2f  write24 "
      "%.2f\n",
      r16.readRatio, r24.readRatio, r16.writeRatio, r24.writeRatio);
  return 0;
}
