// The chunk editor's data copy against cp: QoWavFile opens a 500 MB WAVE file and writes its data
// chunk into a new file (open to close, progress reported), cp copies the same file (the whole
// process). Before each run the side's previous output is removed and dirty pages are written
// back (untimed). The source stays in the page cache for both.
#include <fcntl.h>
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/result_code.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"

extern char** environ;

namespace {

constexpr unsigned int k_frames = 125u * 1000u * 1000u;  // 16-bit stereo: 500 MB of samples

bool MakeSource(const std::string& path) {
  QoWavFileWriter writer;
  if (!writer.Open(zu::Path(path), false)) return false;
  WaveFormatExtensible format = {
      0xFFFE, 2, 48000, 192000, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 3)};
  writer.SetFormat(format);
  if (!writer.WriteChunks(0)) return false;
  std::vector<short> block(2u * 1024u * 1024u);
  uint32_t state = 7919;
  const unsigned int blockFrames = static_cast<unsigned int>(block.size() / 2);
  for (unsigned int done = 0; done < k_frames; done += blockFrames) {
    for (short& sample : block) {
      state = state * 1664525u + 1013904223u;
      sample = static_cast<short>(state >> 16);
    }
    if (!writer.WriteInt16AsPCMData(std::min(blockFrames, k_frames - done), block.data()))
      return false;
  }
  return writer.Close();
}

// Counts the progress calls, as a caller's progress bar would see them.
class CountingProgress : public QO::Sonvo::IProgress {
 public:
  void SetRange(uint32_t, uint32_t upper) override { m_upper = upper; }
  void SetPosition(uint32_t position) override {
    m_last = position;
    ++m_calls;
  }
  bool IsCancelled() override { return false; }
  uint32_t m_upper = 0, m_last = 0, m_calls = 0;
};

bool CopyOurs(const std::string& source, const std::string& target) {
  QoWavFile wav;
  if (!wav.Open(zu::Path(source), false)) return false;
  zu::File out;
  if (out.Open(zu::Path(target), k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  CountingProgress progress;
  const bool copied = wav.m_dataChunk.WriteToFile(out, false, &progress) == QO::k_chunkSuccess;
  return out.Close() == QO::k_resultSuccess && copied && progress.m_last == progress.m_upper;
}

// cp started directly, without a shell in between that only the peer would pay for.
bool CopyWithCp(const std::string& source, const std::string& target) {
  char program[] = "cp";
  std::string from = source, to = target;
  char* arguments[] = {program, from.data(), to.data(), nullptr};
  pid_t child = 0;
  if (posix_spawnp(&child, "cp", nullptr, nullptr, arguments, environ) != 0) return false;
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The copy holds the source's samples after its 8-byte head.
bool SameSamples(const std::string& source, unsigned int dataOffset, const std::string& copy) {
  const int a = open(source.c_str(), O_RDONLY), b = open(copy.c_str(), O_RDONLY);
  struct stat sa {
  }, sb{};
  bool same = a >= 0 && b >= 0 && fstat(a, &sa) == 0 && fstat(b, &sb) == 0 &&
              sb.st_size == sa.st_size - dataOffset + 8;
  if (same) {
    const size_t size = static_cast<size_t>(sa.st_size);
    void* pa = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, a, 0);
    void* pb = mmap(nullptr, size - dataOffset + 8, PROT_READ, MAP_PRIVATE, b, 0);
    same = pa != MAP_FAILED && pb != MAP_FAILED &&
           std::memcmp(static_cast<char*>(pa) + dataOffset, static_cast<char*>(pb) + 8,
                       size - dataOffset) == 0;
    if (pa != MAP_FAILED) munmap(pa, size);
    if (pb != MAP_FAILED) munmap(pb, size - dataOffset + 8);
  }
  if (a >= 0) close(a);
  if (b >= 0) close(b);
  return same;
}

}  // namespace

int main() {
  const qobench::ScratchDir dir;
  if (!dir.IsValid()) return 1;
  const std::string source = dir.File("source.wav"), ours = dir.File("ours.bin"),
                    peer = dir.File("cp.wav");
  if (!MakeSource(source)) {
    std::fprintf(stderr, "wav_chunk_copy_bench: cannot write the source file\n");
    return 1;
  }
  const int rounds = qobench::Rounds(5);
  std::printf("data chunk of %u MB, best of %d interleaved rounds\n", k_frames * 4u / 1000000u,
              rounds);
  const qobench::Comparison result = qobench::CompareInterleaved(
      rounds, {[&] { qobench::RemoveAndSync(ours); }, [&] { return CopyOurs(source, ours); }},
      {[&] { qobench::RemoveAndSync(peer); }, [&] { return CopyWithCp(source, peer); }});
  QoWavFile wav;
  if (result.ok &&
      (!wav.Open(zu::Path(source), false) || !SameSamples(source, wav.GetFileHeaderSize(), ours))) {
    std::fprintf(stderr, "wav_chunk_copy_bench: the copy differs from the source\n");
    return 1;
  }
  const bool ok =
      qobench::PrintRow("Chunk editor data copy 500 MB, new file, vs cp", result, 1.0, 0.9);
  qobench::RemoveAndSync(ours);
  qobench::RemoveAndSync(peer);
  return ok ? 0 : 1;
}
