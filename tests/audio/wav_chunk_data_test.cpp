// The data chunk of the chunk editor: sample copy, short sources, progress, full devices and
// size limits, and head updates.
#include <gtest/gtest.h>

#include <qobase/audio/wav_structure_chunks.h>
#include <qobase/result_code.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

class RecordingProgress : public QO::Sonvo::IProgress {
 public:
  void SetRange(std::uint32_t lower, std::uint32_t upper) override { calls.push_back({'R', lower, upper}); }
  void SetPosition(std::uint32_t current) override { calls.push_back({'P', current, 0}); }
  bool IsCancelled() override {
    calls.push_back({'C', 0, 0});
    return true;
  }
  struct Call {
    char kind;
    std::uint32_t a, b;
    bool operator==(const Call& o) const { return kind == o.kind && a == o.a && b == o.b; }
  };
  std::vector<Call> calls;
};

// A WAVE file with a data chunk of `size` bytes of which the file holds `present`.
std::string DataFile(uint32_t size, uint32_t present) {
  std::string samples;
  for (uint32_t i = 0; i < present; ++i) samples.push_back(static_cast<char>(i * 7 + i / 251));
  return Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 8)) + ChunkWithSize("data", size, samples));
}

// Source file, container and data chunk, ready to copy.
struct Source {
  explicit Source(const std::string& path, const char* mode = "rb") : stream(std::fopen(path.c_str(), mode)), file(stream) {
    riffOk = riff.Init(file, nullptr);
    dataOk = data.Init(file, &riff);
  }
  ~Source() {
    data.Reset();
    if (stream) std::fclose(stream);
  }
  FILE* stream;
  zu::File file;
  QoRiffChunk riff;
  QoDataChunk data;
  bool riffOk = false, dataOk = false;
};

}  // namespace

TEST(WavDataChunk, CopiesTheSamplesAndReportsProgressPerBlock) {
  TempDir dir;
  const std::string source = DataFile(40000, 40000);
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  Source in(dir.File("in.wav"));
  ASSERT_TRUE(in.dataOk);
  EXPECT_EQ(in.data.GetDataOffset(), 36u + 8);

  zu::File out;
  ASSERT_EQ(out.Open(zu::Path(dir.File("out.bin")), k_openModeWrite, 0), QO::k_resultSuccess);
  ASSERT_TRUE(out.WriteExact("xyz", 3));
  RecordingProgress progress;
  EXPECT_EQ(in.data.WriteToFile(out, false, &progress), QO::k_chunkSuccess);
  EXPECT_EQ(in.data.WriteToFile(out, true), QO::k_chunkSuccess);
  EXPECT_EQ(in.data.WriteChunkHeaderToFile(out, false), QO::k_chunkSuccess);
  out.Close();
  const std::string samples = source.substr(44);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")),
            "xyz" + ("data" + U32(40000) + samples) + ("data" + U32(40000, true) + samples) + "data" + U32(40000));
  const std::vector<RecordingProgress::Call> expected = {
      {'R', 0, 40000}, {'P', 0, 0}, {'P', 16384, 0}, {'P', 32768, 0}, {'P', 40000, 0}};
  EXPECT_EQ(progress.calls, expected);  // never asked whether to cancel

  // An output in append mode, and a pipe, which cannot be positioned, get the same bytes.
  zu::File append;
  ASSERT_EQ(append.Open(zu::Path(dir.File("append.bin")), k_openModeAppend, 0), QO::k_resultSuccess);
  RecordingProgress appendProgress;
  EXPECT_EQ(in.data.WriteToFile(append, false, &appendProgress), QO::k_chunkSuccess);
  append.Close();
  EXPECT_EQ(ReadFileBytes(dir.File("append.bin")), "data" + U32(40000) + samples);
  EXPECT_EQ(appendProgress.calls, expected);
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(fcntl(fds[1], F_SETPIPE_SZ, 1 << 17), 1 << 17);
  FILE* pipeStream = fdopen(fds[1], "w");
  {
    zu::File pipeOut(pipeStream);
    EXPECT_EQ(in.data.WriteToFile(pipeOut, false), QO::k_chunkSuccess);
  }
  std::fclose(pipeStream);
  std::string piped(40100, '\0');
  ssize_t got = 0, n = 0;
  while ((n = read(fds[0], &piped[got], piped.size() - got)) > 0) got += n;
  close(fds[0]);
  EXPECT_EQ(piped.substr(0, got), "data" + U32(40000) + samples);

  QoDataChunk empty;
  EXPECT_EQ(empty.WriteToFile(out, false, &progress), QO::k_chunkFailure);
  EXPECT_EQ(empty.WriteChunkHeaderToFile(out, false), QO::k_chunkFailure);
  EXPECT_EQ(empty.UpdateChunkSize(4, false), QO::k_chunkFailure);
}

TEST(WavDataChunk, ASourceShorterThanItsSizeGivesAChunkOfWhatWasCopied) {
  TempDir dir;
  const std::string source = DataFile(70000, 33333);
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  Source in(dir.File("in.wav"));
  ASSERT_TRUE(in.dataOk);
  EXPECT_EQ(in.data.GetSize(), 70000u);

  zu::File out;
  ASSERT_EQ(out.Open(zu::Path(dir.File("out.bin")), k_openModeWrite, 0), QO::k_resultSuccess);
  RecordingProgress progress;
  EXPECT_EQ(in.data.WriteToFile(out, true, &progress), QO::k_chunkSuccess);
  EXPECT_EQ(in.data.GetSize(), 33333u);
  EXPECT_EQ(out.SetFilePointer(0, zu::k_fileCurrent), 8 + 33333);
  ASSERT_TRUE(out.WriteExact("end", 3));
  out.Close();
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "data" + U32(33333, true) + source.substr(44) + "end");
  const std::vector<RecordingProgress::Call> expected = {
      {'R', 0, 70000}, {'P', 0, 0}, {'P', 16384, 0}, {'P', 32768, 0}, {'P', 33333, 0}};
  EXPECT_EQ(progress.calls, expected);
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);
}

TEST(WavDataChunk, AFullDeviceGivesTwo) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), DataFile(65536, 65536)));
  Source in(dir.File("in.wav"));
  ASSERT_TRUE(in.dataOk);
  zu::File full;
  ASSERT_EQ(full.Open(zu::Path("/dev/full"), k_openModeWrite, 0), QO::k_resultSuccess);
  EXPECT_EQ(in.data.WriteToFile(full, false), QO::k_chunkOutOfSpace);
  EXPECT_EQ(zu::File::GetLastError(), static_cast<unsigned int>(zu::k_fileErrorOutOfSpace));
}

TEST(WavDataChunk, AFileSizeLimitGivesOne) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), DataFile(65536, 65536)));
  const std::string outPath = dir.File("out.bin");
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The child writes under a 4 KiB file size limit; a refused write sets EFBIG instead of
    // killing it. Its exit code is the chunk result, or 100 + step when the set-up failed.
    signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit = {4096, 4096};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(101);
    Source in(dir.File("in.wav"));
    if (!in.dataOk) _exit(102);
    zu::File out;
    if (out.Open(zu::Path(outPath), k_openModeWrite, 0) != QO::k_resultSuccess) _exit(103);
    const unsigned int result = in.data.WriteToFile(out, false);
    if (zu::File::GetLastError() != zu::k_fileErrorTooLarge) _exit(104);
    _exit(static_cast<int>(result));
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(QO::k_chunkFailure));
  EXPECT_EQ(ReadFileBytes(outPath).size(), 4096u);
}

TEST(WavDataChunk, UpdatesItsHeadInPlaceOnlyInAWritableFile) {
  TempDir dir;
  const std::string source = DataFile(100, 100);
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  {
    Source in(dir.File("in.wav"));
    ASSERT_TRUE(in.dataOk);
    EXPECT_EQ(in.data.UpdateChunkSize(60, false), QO::k_chunkFailure);
    unsigned char first = 0;
    EXPECT_EQ(in.data.ReadData(&first, 1, 1), 1u);  // still readable
    EXPECT_EQ(first, 7);
  }
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);
  {
    Source in(dir.File("in.wav"), "r+b");
    ASSERT_TRUE(in.dataOk);
    ASSERT_EQ(in.file.SetFilePointer(50, zu::k_fileBegin), 50);
    EXPECT_EQ(in.data.UpdateChunkSize(60, false), QO::k_chunkSuccess);
    EXPECT_EQ(in.file.SetFilePointer(0, zu::k_fileCurrent), 50);
    EXPECT_EQ(in.data.GetSize(), 60u);
  }
  std::string expected = source;
  expected.replace(40, 4, U32(60));
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), expected);

  // The same head update into another file, at a body offset given by the caller.
  Source in(dir.File("in.wav"));
  zu::File out;
  ASSERT_EQ(out.Open(zu::Path(dir.File("out.bin")), k_openModeWrite, 0), QO::k_resultSuccess);
  ASSERT_TRUE(out.WriteExact(std::string(20, '-').data(), 20));
  EXPECT_EQ(in.data._UpdateChunkSize(out, 12, 0x01020304, true), QO::k_chunkSuccess);
  EXPECT_EQ(out.SetFilePointer(0, zu::k_fileCurrent), 20);
  EXPECT_EQ(in.data._UpdateChunkSize(out, 4, 1, false), QO::k_chunkFailure);
  out.Close();
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "----data\x01\x02\x03\x04--------");
}
