// The data chunk's copy of its samples between two files. Between regular files written in place
// the bulk goes by descriptors; every way it can end must look exactly like the copy through the
// streams, which an output in append mode always takes.
#include <gtest/gtest.h>

#include <qobase/audio/wav_structure_chunks.h>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

constexpr uint32_t k_transfer = 32 * QoDataChunk::k_copyBlockSize;

// A WAVE file whose data chunk claims `size` bytes and holds `present` of them, from offset 44.
std::string DataFile(uint32_t size, uint32_t present) {
  std::string samples;
  for (uint32_t i = 0; i < present; ++i) samples.push_back(static_cast<char>(i * 7 + i / 251));
  return Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 8)) + ChunkWithSize("data", size, samples));
}

class CountingProgress : public QO::Sonvo::IProgress {
 public:
  void SetRange(std::uint32_t, std::uint32_t) override {}
  void SetPosition(std::uint32_t current) override {
    last = current;
    ++calls;
  }
  bool IsCancelled() override { return false; }
  std::uint32_t last = 0, calls = 0;
};

// How a copy ended: everything a caller can see of it afterwards.
struct Outcome {
  unsigned int result = 0, lastError = 0;
  long long outPosition = -1, outSize = -1, sourcePosition = -1;
  int outError = -1, sourceAtEnd = -1;
  std::uint32_t progressCalls = 0, progressLast = 0;
  std::string Text() const {
    char text[256];
    std::snprintf(text, sizeof(text),
                  "result %u error %u | out at %lld of %lld, ferror %d | source at %lld, feof %d |"
                  " progress %u calls, last %u",
                  result, lastError, outPosition, outSize, outError, sourcePosition, sourceAtEnd,
                  progressCalls, progressLast);
    return text;
  }
};

// Copies the data chunk of `source` into a new file `target` opened in `mode`, in a child
// process under a file size limit of `limit` bytes (0: none), after mounting a 1 MiB memory file
// system on `mountAt` when it is given (in a mount namespace of the child's own). Gives the
// outcome's text, or "" when the set-up was not possible here.
std::string CopyInChild(const std::string& source, const std::string& target, const char* mode,
                        rlim_t limit, const std::string& mountAt = "") {
  int pipeEnds[2];
  if (pipe(pipeEnds) != 0) return "";
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) return "";
  if (child == 0) {
    close(pipeEnds[0]);
    std::string text;
    bool ready = true;
    if (!mountAt.empty()) {
      ready = unshare(CLONE_NEWNS) == 0 &&
              // The kernel ignores the names of a propagation change; given, so memory
              // checkers that read them see strings.
              mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
              mount("qobase-test", mountAt.c_str(), "tmpfs", 0, "size=1m") == 0;
    }
    if (ready && limit != 0) {
      // A write past the limit then fails with EFBIG instead of ending the process.
      signal(SIGXFSZ, SIG_IGN);
      const struct rlimit rl = {limit, limit};
      ready = setrlimit(RLIMIT_FSIZE, &rl) == 0;
    }
    if (ready) {
      OpenedWav in(source), out(target, mode);
      QoDataChunk data;
      if (out.stream && data.Init(in.file, &in.riff)) {
        CountingProgress progress;
        Outcome o;
        o.result = data.WriteToFile(out.file, false, &progress);
        o.lastError = zu::File::GetLastError();
        o.outError = std::ferror(out.stream) != 0;
        o.outPosition = ftello(out.stream);
        o.sourceAtEnd = std::feof(in.stream) != 0;
        o.sourcePosition = ftello(in.stream);
        o.progressCalls = progress.calls;
        o.progressLast = progress.last;
        struct stat info;
        o.outSize = fstat(fileno(out.stream), &info) == 0 ? info.st_size : -1;
        text = o.Text();
      }
    }
    if (write(pipeEnds[1], text.data(), text.size()) < 0) _exit(1);
    _exit(0);
  }
  close(pipeEnds[1]);
  std::string text;
  char buffer[512];
  for (ssize_t got; (got = read(pipeEnds[0], buffer, sizeof(buffer))) > 0;)
    text.append(buffer, got);
  close(pipeEnds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "";
}

}  // namespace

// An editor that rewrites a file in place opens it for update and may have read from it; such a
// stream reads ahead of its position. The samples must land where the stream stands, and reading
// them back through the same stream must give the new bytes.
TEST(WavDataCopy, AnOutputOpenForUpdateGetsTheSamplesWhereItStands) {
  TempDir dir;
  for (const uint32_t size : {100u, 3 * k_transfer + 7}) {
    const std::string source = DataFile(size, size), samples = source.substr(44);
    ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
    const std::string before(2 * size + 9000, 'p');
    for (const char* mode : {"r+b", "w+b"}) {
      SCOPED_TRACE(std::string(mode) + " " + std::to_string(size));
      const std::string path = dir.File("out.bin");
      ASSERT_TRUE(WriteFileBytes(path, before));
      OpenedWav in(dir.File("in.wav")), out(path, mode);
      if (std::string(mode) == "w+b") {
        ASSERT_TRUE(out.file.WriteExact(before.data(), static_cast<unsigned int>(before.size())));
      }
      const long long at = 1000;
      char seen[16];
      ASSERT_EQ(out.file.SetFilePointer(at, zu::k_fileBegin), at);
      ASSERT_TRUE(out.file.ReadExact(seen, sizeof(seen)));
      ASSERT_EQ(out.file.SetFilePointer(at, zu::k_fileBegin), at);
      QoDataChunk data;
      ASSERT_TRUE(data.Init(in.file, &in.riff));
      EXPECT_EQ(data.WriteToFile(out.file, false), QO::k_chunkSuccess);
      EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), at + 8 + size);
      const std::string written = "data" + U32(size) + samples;
      std::string back(written.size() + 10, '\0');
      ASSERT_EQ(out.file.SetFilePointer(at, zu::k_fileBegin), at);
      ASSERT_TRUE(out.file.ReadExact(back.data(), static_cast<unsigned int>(back.size())));
      EXPECT_TRUE(back == written + std::string(10, 'p'));
      std::fflush(out.stream);
      EXPECT_TRUE(ReadFileBytes(path) ==
                  before.substr(0, at) + written + before.substr(at + written.size()));
    }
  }
}

// A write that fails part way (a file size limit, a full file system) gives the result, the
// output's error flag and position, the source's position and the progress of the copy through
// the streams, so a caller that checks the stream after the failure still sees it.
TEST(WavDataCopy, AFailedWriteEndsAsTheCopyThroughTheStreamsDoes) {
  TempDir dir;
  const uint32_t size = 4 * k_transfer + 12345;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), DataFile(size, size)));
  // The limit cuts the head, a transfer in the middle, and the output exactly after a transfer.
  for (const rlim_t limit : {rlim_t{4}, rlim_t{8 + k_transfer + 100}, rlim_t{8 + 3 * k_transfer}}) {
    SCOPED_TRACE(limit);
    const std::string name = std::to_string(limit);
    const std::string inPlace = CopyInChild(dir.File("in.wav"), dir.File(name + "a"), "wb", limit);
    const std::string streamed = CopyInChild(dir.File("in.wav"), dir.File(name + "b"), "ab", limit);
    ASSERT_FALSE(streamed.empty());
    EXPECT_EQ(inPlace, streamed);
    EXPECT_EQ(inPlace.rfind("result 1 error 2 |", 0), 0u) << inPlace;
    EXPECT_NE(inPlace.find(" of " + std::to_string(limit) + ", ferror 1"), std::string::npos)
        << inPlace;
  }
  const std::string mountAt = dir.File("small");
  ASSERT_EQ(mkdir(mountAt.c_str(), 0700), 0);
  const std::string inPlace = CopyInChild(dir.File("in.wav"), mountAt + "/a.bin", "wb", 0, mountAt);
  if (inPlace.empty()) GTEST_SKIP() << "no memory file system could be mounted here";
  const std::string streamed =
      CopyInChild(dir.File("in.wav"), mountAt + "/b.bin", "ab", 0, mountAt);
  EXPECT_EQ(inPlace, streamed);
  EXPECT_EQ(inPlace.rfind("result 2 error 1 |", 0), 0u) << inPlace;
  EXPECT_NE(inPlace.find(", ferror 1"), std::string::npos) << inPlace;
}

// A source shorter than its chunk leaves its stream at its end, as the streams' copy does (which
// cannot correct the head of an appended chunk, so only the source is compared).
TEST(WavDataCopy, AShortSourceIsReadToItsEndAsTheStreamsRead) {
  TempDir dir;
  const uint32_t present = 2 * k_transfer + 999;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), DataFile(present + 5000, present)));
  const std::string inPlace = CopyInChild(dir.File("in.wav"), dir.File("a.bin"), "wb", 0);
  const std::string streamed = CopyInChild(dir.File("in.wav"), dir.File("b.bin"), "ab", 0);
  const auto sourcePart = [](const std::string& text) {
    return text.substr(text.find("| source"));
  };
  ASSERT_NE(inPlace.find("result 0"), std::string::npos) << inPlace;
  ASSERT_NE(streamed.find("result 1"), std::string::npos) << streamed;
  EXPECT_EQ(sourcePart(inPlace), sourcePart(streamed));
  EXPECT_NE(inPlace.find("source at " + std::to_string(44 + present) + ", feof 1"),
            std::string::npos)
      << inPlace;
}
