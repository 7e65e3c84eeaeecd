// Chunk search and the container, format, filler and data chunks of the chunk editor.
#include <gtest/gtest.h>

#include <qobase/audio/wav_marker_chunks.h>
#include <qobase/audio/wav_structure_chunks.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

using namespace qotest;

namespace {

// A chunk kind that accepts the ID given to it, to test the shared search.
class ProbeChunk : public QoFormatChunkBase {
 public:
  explicit ProbeChunk(const char* id) { std::memcpy(&m_id, id, 4); }
  unsigned int GetChunkID() override { return m_id; }
  unsigned int WriteToFile(const zu::File&, bool) override { return QO::k_chunkFailure; }

 private:
  uint32_t m_id = 0;
};

class RecordingProgress : public QO::Sonvo::IProgress {
 public:
  void SetRange(std::uint32_t lower, std::uint32_t upper) override { calls.push_back({lower, upper}); }
  void SetPosition(std::uint32_t current) override { calls.push_back({current, 0}); }
  bool IsCancelled() override { return true; }
  std::vector<std::pair<std::uint32_t, std::uint32_t>> calls;
};

// A WAVE file with a data chunk of `size` bytes of which the file holds `present`.
std::string DataFile(uint32_t size, uint32_t present) {
  std::string samples;
  for (uint32_t i = 0; i < present; ++i) samples.push_back(static_cast<char>(i * 7 + i / 251));
  return Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 8)) + ChunkWithSize("data", size, samples));
}

}  // namespace

TEST(WavChunkSearch, FindsTheFirstChunkOfItsKindAndFailsOnBadHeads) {
  TempDir dir;
  // "odd1" keeps its pad byte, "odd2" lost it; the second "test" chunk is never taken.
  const std::string chunks = Chunk("odd1", "abc") + ChunkWithSize("odd2", 3, "xyz") + Chunk("test", "body");
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(chunks + Chunk("test", "late"))));
  OpenedWav file(dir.File("a.wav"));
  ASSERT_TRUE(file.ok);
  EXPECT_EQ(file.riff.GetFormType(), QO::k_fccWAVE);
  EXPECT_EQ(file.riff.GetFileChunkSize(), 12u);
  ProbeChunk probe("test");
  ASSERT_TRUE(probe.Init(file.file, &file.riff));
  EXPECT_EQ(probe.GetDataOffset(), 12u + 12 + 11 + 8);
  EXPECT_EQ(probe.GetFileChunkSize(), 12u);
  char body[32] = {};
  EXPECT_EQ(probe.ReadData(body, 32, 1), 15u);  // reads on past its body, up to the end of the file
  EXPECT_EQ(std::string(body, 7), "odytest");
  probe.Reset();
  EXPECT_FALSE(probe.IsValid());
  EXPECT_EQ(probe.GetDataOffset(), 0u);
  EXPECT_EQ(probe.ReadData(body, 4, 0), 0u);

  // No such chunk; a size that wraps the 32-bit offset (also in the chunk sought); a head cut by
  // the end of the file; a container that is not at the start or is cut.
  const struct {
    std::string bytes;
    const char* id;
    bool riff;
  } cases[] = {
      {Riff(chunks), "none", true},
      {Riff(ChunkWithSize("big ", 0xFFFFFFF0u, "") + Chunk("test", "x")), "test", true},
      {Riff(ChunkWithSize("big ", 0xFFFFFFF8u, "")), "big ", true},
      {Riff(Chunk("data", "ab")).substr(0, 18), "data", true},
      {Chunk("junk", "1234") + Riff(""), "", false},
      {"RIFF\x04", "", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes.size());
    ASSERT_TRUE(WriteFileBytes(dir.File("b.wav"), c.bytes));
    OpenedWav bad(dir.File("b.wav"));
    EXPECT_EQ(bad.ok, c.riff);
    if (!c.riff) continue;
    ProbeChunk sought(c.id);
    EXPECT_FALSE(sought.Init(bad.file, &bad.riff));
    EXPECT_FALSE(sought.IsValid());
  }
}

TEST(WavRiffChunk, WritesHeadAndPatchesSizeFromFileSize) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16)), true)));
  OpenedWav in(dir.File("in.wav"));
  ASSERT_TRUE(in.ok);
  EXPECT_TRUE(in.riff.NeedSwapRead());
  EXPECT_EQ(in.riff.GetChunkID(), QO::k_fccRIFX);
  EXPECT_EQ(in.riff.GetSize(), 28u);

  // Unswapped, a "RIFX" container keeps its ID; swapped, it is "RIFX" with a big-endian size.
  OpenedWav out(dir.File("out.wav"), "w+b");
  EXPECT_EQ(in.riff.WriteToFile(out.file, false), QO::k_chunkSuccess);
  ASSERT_TRUE(out.file.WriteExact("0123456789", 10));
  EXPECT_EQ(in.riff.UpdateRiffChunkSize(out.file, false), QO::k_chunkSuccess);
  EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 22);
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.wav")), "RIFX" + U32(14) + "WAVE0123456789");
  EXPECT_EQ(in.riff.WriteToFile(out.file, true), QO::k_chunkSuccess);
  EXPECT_EQ(in.riff.UpdateRiffChunkSize(out.file, true), QO::k_chunkSuccess);
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.wav")), "RIFX" + U32(26, true) + "WAVE0123456789RIFX" + U32(28, true) + "WAVE");

  QoRiffChunk empty;
  EXPECT_EQ(empty.WriteToFile(out.file, false), QO::k_chunkFailure);
  EXPECT_EQ(empty.UpdateRiffChunkSize(out.file, false), QO::k_chunkFailure);
}

TEST(WavFmtChunk, ReadsPcmFloatExtensibleAndCompactBodies) {
  TempDir dir;
  std::string pcm = PcmFormatBody(2, 44100, 16);
  pcm[12] = 1;  // nBlockAlign 1, raised to fit the frame
  // Extensible, 6 channels without speaker mask, in this library's 44-byte layout.
  const std::string extensible = U16(0xFFFE) + U16(6) + U32(48000) + U32(48000 * 24) + U16(24) + U16(32) + U16(22) +
                                 U16(24) + U16(24) + U16(0) + U32(0) + std::string(16, '\x01');
  const std::string compactHead = U16(0xFFFE) + PcmFormatBody(2, 22050, 16).substr(2) + U16(4);
  const uint32_t stereo = QO::MakeChannelConfig(2, 1, 0x3);
  const struct {
    std::string chunk;
    bool ok;
    WaveFormatExtensible expected;
    bool unspecifiedMask;
  } cases[] = {
      {Chunk("fmt ", pcm), true, {0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, stereo}, false},
      {Chunk("fmt ", PcmFormatBody(1, 8000, 8).substr(0, 15)), false, {}, false},
      {Chunk("fmt ", U16(3) + PcmFormatBody(2, 96000, 32).substr(2) + U16(0) + U16(0x5A5A)), true,
       {0xFFFE, 2, 96000, 768000, 8, 32, 4, 0x5A5A, stereo}, false},
      {Chunk("fmt ", extensible), true, {0xFFFE, 6, 48000, 48000 * 24, 24, 32, 4, 24, QO::GetDefaultChannelConfig(6)},
       true},
      {Chunk("fmt ", compactHead + U16(7) + U32(QO::MakeChannelConfig(2, 0, 0))), true,
       {0xFFFE, 2, 22050, 88200, 4, 16, 4, 7, QO::MakeChannelConfig(2, 0, 0)}, false},
      {Chunk("fmt ", compactHead + U16(0) + U32(QO::MakeChannelConfig(3, 0, 0))), false, {}, false},
      {Chunk("fmt ", PcmFormatBody(0, 8000, 16)), false, {}, false},
      {ChunkWithSize("fmt ", 16, PcmFormatBody(1, 8000, 16).substr(0, 10)), false, {}, false},  // cut by the file end
  };
  int index = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(index++);
    ASSERT_TRUE(WriteFileBytes(dir.File("f.wav"), Riff(c.chunk)));
    OpenedWav file(dir.File("f.wav"));
    QoFmtChunk fmt;
    EXPECT_EQ(fmt.Init(file.file, &file.riff), c.ok);
    WaveFormatExtensible format;
    EXPECT_EQ(fmt.GetFormatInfo(&format), c.ok);
    if (!c.ok) continue;
    EXPECT_EQ(std::memcmp(&format, &c.expected, sizeof(format)), 0) << format.nBlockAlign << " " << format.channelConfig;
    EXPECT_EQ(fmt.HasUnspecifiedChannelMask(), c.unspecifiedMask);
  }
}

TEST(WavFmtChunk, WritesCompactAndPlainFormsAndUpdatesOnlyACompactChunkInPlace) {
  TempDir dir;
  const std::string config = U32(QO::MakeChannelConfig(2, 1, 3));
  const std::string compact = U16(0xFFFE) + PcmFormatBody(2, 44100, 16).substr(2) + U16(4) + U16(0) + config;
  const std::string swapped = U16(0xFFFE, true) + PcmFormatBody(2, 44100, 16, true).substr(2) + U16(4, true) + U16(0) +
                              U32(QO::MakeChannelConfig(2, 1, 3), true);
  const std::string tail = Chunk("data", Pcm16Samples(4));
  ASSERT_TRUE(WriteFileBytes(dir.File("p.wav"), Riff(Chunk("fmt ", PcmFormatBody(2, 44100, 16)) + tail)));
  ASSERT_TRUE(WriteFileBytes(dir.File("x.wav"), Riff(Chunk("fmt ", swapped, true) + tail, true)));
  OpenedWav plain(dir.File("p.wav"), "r+b");
  QoFmtChunk fmt;
  ASSERT_TRUE(fmt.Init(plain.file, &plain.riff));
  EXPECT_EQ(Written(fmt, false), "fmt " + U32(24) + compact);
  EXPECT_EQ(Written(fmt, true), "fmt " + U32(24, true) + swapped);
  OpenedWav out(dir.File("out.bin"), "wb");
  EXPECT_EQ(fmt.WriteToFileNotExtensible(out.file, false), QO::k_chunkSuccess);
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "fmt " + U32(20) + PcmFormatBody(2, 44100, 16) + U16(4) + U16(0));
  // The swapped compact form reads back as the same format from a big-endian file.
  OpenedWav big(dir.File("x.wav"));
  QoFmtChunk back;
  WaveFormatExtensible format, read;
  ASSERT_TRUE(back.Init(big.file, &big.riff) && back.GetFormatInfo(&read) && fmt.GetFormatInfo(&format));
  EXPECT_EQ(std::memcmp(&read, &format, sizeof(format)), 0);

  // In place: refused over a 16-byte body and in a file opened for reading; done in a compact one.
  format.nSamplesPerSec = 16000;
  EXPECT_EQ(fmt.UpdateFormatInfo(format, false), QO::k_chunkFailure);
  EXPECT_EQ(back.UpdateFormatInfo(format, true), QO::k_chunkFailure);
  const std::string before = ReadFileBytes(dir.File("x.wav"));
  {
    OpenedWav file(dir.File("x.wav"), "r+b");
    QoFmtChunk update;
    ASSERT_TRUE(update.Init(file.file, &file.riff));
    ASSERT_EQ(file.file.SetFilePointer(5, zu::k_fileBegin), 5);
    EXPECT_EQ(update.UpdateFormatInfo(format, true), QO::k_chunkSuccess);
    EXPECT_EQ(file.file.SetFilePointer(0, zu::k_fileCurrent), 5);
  }
  std::string expected = before;
  expected.replace(24, 4, U32(16000, true));
  EXPECT_EQ(ReadFileBytes(dir.File("x.wav")), expected);
  QoFmtChunk empty;
  EXPECT_EQ(empty.WriteToFile(out.file, false), QO::k_chunkFailure);
  EXPECT_EQ(empty.WriteToFileNotExtensible(out.file, false), QO::k_chunkFailure);
  EXPECT_FALSE(empty.GetFormatInfo(&format));
}

TEST(WavJunkChunk, SizesTheFillerSoTheNextBodyIsAligned) {
  QoJunkChunk junk(16);
  for (const auto& c : {std::make_pair(36, 12), {40, -1}, {48, 0}, {44, 4}}) {
    EXPECT_EQ(junk.ComputeJunkSize(c.first), c.second >= 0) << c.first;
    EXPECT_EQ(junk.GetSize(), static_cast<unsigned int>(std::max(c.second, 0)));
  }
  EXPECT_FALSE(QoJunkChunk(0).ComputeJunkSize(3));

  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), Riff("")));
  OpenedWav in(dir.File("in.wav"));
  OpenedWav out(dir.File("out.bin"), "w+b");
  EXPECT_EQ(junk.WriteToFile(out.file, false), QO::k_chunkFailure);  // not initialised yet
  EXPECT_TRUE(junk.Init(in.file, nullptr));                          // exists where the file has none
  ASSERT_TRUE(out.file.WriteExact(std::string(36, 'a').data(), 36));
  EXPECT_EQ(junk.WriteToFile(out.file, false), QO::k_chunkSuccess);
  EXPECT_EQ(junk.WriteToFile(out.file, true), QO::k_chunkSuccess);  // at 56: nothing needed
  ASSERT_TRUE(out.file.WriteExact("bb", 2));
  EXPECT_EQ(junk.WriteToFile(out.file, true), QO::k_chunkSuccess);
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), std::string(36, 'a') + "JUNK" + U32(12) + std::string(12, '\0') +
                                                    "bb" + "JUNK" + U32(6, true) + std::string(6, '\0'));
}

TEST(WavDataChunk, CopiesTheSamplesAndReportsProgressPerBlock) {
  TempDir dir;
  const std::string source = DataFile(40000, 40000);
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  OpenedWav in(dir.File("in.wav"));
  QoDataChunk data;
  ASSERT_TRUE(data.Init(in.file, &in.riff));
  EXPECT_EQ(data.GetDataOffset(), 44u);
  const std::string samples = source.substr(44);
  const std::vector<std::pair<uint32_t, uint32_t>> expected = {{0, 40000}, {0, 0}, {16384, 0}, {32768, 0}, {40000, 0}};

  // Into a file, an append-mode file and a pipe (which cannot be positioned): the same bytes.
  OpenedWav out(dir.File("out.bin"), "wb"), append(dir.File("append.bin"), "ab");
  ASSERT_TRUE(out.file.WriteExact("xyz", 3));
  RecordingProgress progress, appendProgress;
  EXPECT_EQ(data.WriteToFile(out.file, false, &progress), QO::k_chunkSuccess);
  EXPECT_EQ(data.WriteToFile(out.file, true), QO::k_chunkSuccess);
  EXPECT_EQ(data.WriteChunkHeaderToFile(out.file, false), QO::k_chunkSuccess);
  EXPECT_EQ(data.WriteToFile(append.file, false, &appendProgress), QO::k_chunkSuccess);
  std::fflush(nullptr);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")),
            "xyz" + ("data" + U32(40000) + samples) + ("data" + U32(40000, true) + samples) + "data" + U32(40000));
  EXPECT_EQ(ReadFileBytes(dir.File("append.bin")), "data" + U32(40000) + samples);
  EXPECT_EQ(progress.calls, expected);
  EXPECT_EQ(appendProgress.calls, expected);
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(fcntl(fds[1], F_SETPIPE_SZ, 1 << 17), 1 << 17);
  FILE* pipeStream = fdopen(fds[1], "w");
  EXPECT_EQ(data.WriteToFile(zu::File(pipeStream), false), QO::k_chunkSuccess);
  std::fclose(pipeStream);
  std::string piped(40100, '\0');
  ssize_t got = 0, n = 0;
  while ((n = read(fds[0], &piped[got], piped.size() - got)) > 0) got += n;
  close(fds[0]);
  EXPECT_EQ(piped.substr(0, got), "data" + U32(40000) + samples);

  QoDataChunk empty;
  EXPECT_EQ(empty.WriteToFile(out.file, false, &progress), QO::k_chunkFailure);
  EXPECT_EQ(empty.WriteChunkHeaderToFile(out.file, false), QO::k_chunkFailure);
  EXPECT_EQ(empty.UpdateChunkSize(4, false), QO::k_chunkFailure);
}

TEST(WavDataChunk, ASourceShorterThanItsSizeGivesAChunkOfWhatWasCopied) {
  TempDir dir;
  const std::string source = DataFile(70000, 33333);
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  OpenedWav in(dir.File("in.wav"));
  QoDataChunk data;
  ASSERT_TRUE(data.Init(in.file, &in.riff));
  EXPECT_EQ(data.GetSize(), 70000u);
  OpenedWav out(dir.File("out.bin"), "wb");
  RecordingProgress progress;
  EXPECT_EQ(data.WriteToFile(out.file, true, &progress), QO::k_chunkSuccess);
  EXPECT_EQ(data.GetSize(), 33333u);
  EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 8 + 33333);
  ASSERT_TRUE(out.file.WriteExact("end", 3));
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "data" + U32(33333, true) + source.substr(44) + "end");
  const std::vector<std::pair<uint32_t, uint32_t>> expected = {{0, 70000}, {0, 0}, {16384, 0}, {32768, 0}, {33333, 0}};
  EXPECT_EQ(progress.calls, expected);
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);
}

TEST(WavDataChunk, AFullDeviceGivesTwoAndAFileSizeLimitGivesOne) {
  TempDir dir;
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), DataFile(65536, 65536)));
  {
    OpenedWav in(dir.File("in.wav")), full("/dev/full", "wb");
    QoDataChunk data;
    ASSERT_TRUE(data.Init(in.file, &in.riff));
    EXPECT_EQ(data.WriteToFile(full.file, false), QO::k_chunkOutOfSpace);
    EXPECT_EQ(zu::File::GetLastError(), static_cast<unsigned int>(zu::k_fileErrorOutOfSpace));
  }
  const std::string outPath = dir.File("out.bin");
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // Under a 4 KiB file size limit a refused write sets EFBIG instead of killing the child. Its
    // exit code is the chunk result, or 100 + step when the set-up failed.
    signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit = {4096, 4096};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(101);
    OpenedWav in(dir.File("in.wav")), out(outPath, "wb");
    QoDataChunk data;
    if (!data.Init(in.file, &in.riff) || !out.stream) _exit(102);
    const unsigned int result = data.WriteToFile(out.file, false);
    _exit(zu::File::GetLastError() == zu::k_fileErrorTooLarge ? static_cast<int>(result) : 103);
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
    OpenedWav in(dir.File("in.wav"));
    QoDataChunk data;
    ASSERT_TRUE(data.Init(in.file, &in.riff));
    EXPECT_EQ(data.UpdateChunkSize(60, false), QO::k_chunkFailure);
    unsigned char first = 0;
    EXPECT_EQ(data.ReadData(&first, 1, 1), 1u);  // still readable
    EXPECT_EQ(first, 7);
  }
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);
  {
    OpenedWav in(dir.File("in.wav"), "r+b");
    QoDataChunk data;
    ASSERT_TRUE(data.Init(in.file, &in.riff));
    ASSERT_EQ(in.file.SetFilePointer(50, zu::k_fileBegin), 50);
    EXPECT_EQ(data.UpdateChunkSize(60, false), QO::k_chunkSuccess);
    EXPECT_EQ(in.file.SetFilePointer(0, zu::k_fileCurrent), 50);
    EXPECT_EQ(data.GetSize(), 60u);
    // The same head update into another file, at a body offset given by the caller.
    OpenedWav out(dir.File("out.bin"), "w+b");
    ASSERT_TRUE(out.file.WriteExact(std::string(20, '-').data(), 20));
    EXPECT_EQ(data._UpdateChunkSize(out.file, 12, 0x01020304, true), QO::k_chunkSuccess);
    EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 20);
    EXPECT_EQ(data._UpdateChunkSize(out.file, 4, 1, false), QO::k_chunkFailure);
    std::fflush(out.stream);
    EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "----data\x01\x02\x03\x04--------");
  }
  std::string expected = source;
  expected.replace(40, 4, U32(60));
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), expected);
}

// A stream in append mode puts every write at its end, so nothing may be rewritten through it.
TEST(WavChunkRewrite, AppendModeStreamsAreNeverPatched) {
  TempDir dir;
  const std::string source = Riff(Chunk("cue ", CueBody({10})) + ChunkWithSize("data", 8, "abcd"));
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  ASSERT_TRUE(WriteFileBytes(dir.File("out.bin"), "prefix"));
  {
    OpenedWav in(dir.File("in.wav"), "a+b"), out(dir.File("out.bin"), "ab");
    QoCueChunk cues;
    QoDataChunk data;
    ASSERT_TRUE(cues.Init(in.file, &in.riff) && data.Init(in.file, &in.riff));
    EXPECT_EQ(cues.UpdateCueInfo(2.0, 100, false), QO::k_chunkFailure);
    EXPECT_EQ(data.UpdateChunkSize(4, false), QO::k_chunkFailure);
    EXPECT_EQ(in.riff.UpdateRiffChunkSize(out.file, false), QO::k_chunkFailure);
    EXPECT_EQ(data._UpdateChunkSize(out.file, 8, 4, false), QO::k_chunkFailure);
    data.Init(in.file, &in.riff);
    EXPECT_EQ(data.WriteToFile(out.file, false), QO::k_chunkFailure);  // short source: its head cannot be fixed
  }
  EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "prefix" + ChunkWithSize("data", 8, "abcd"));
}
