// Chunk search and the container, format, filler and data chunks of the chunk editor.
#include <gtest/gtest.h>

#include <qobase/audio/wav_marker_chunks.h>
#include <qobase/audio/wav_structure_chunks.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>
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
  void SetRange(std::uint32_t lower, std::uint32_t upper) override {
    calls.push_back({lower, upper});
  }
  void SetPosition(std::uint32_t current) override { calls.push_back({current, 0}); }
  bool IsCancelled() override { return true; }
  std::vector<std::pair<std::uint32_t, std::uint32_t>> calls;
};

// A head as a plain chunk search meets it: offset, ID, size, byte order in force, size wraps.
struct Head {
  uint32_t offset, id, size;
  bool swap, wraps;
};

// The heads a chunk search meets from just after the form type, taken from the file's bytes one
// by one, the plain way the search must agree with; `end` gets the offset up to which the walk
// accounted for the file.
std::vector<Head> PlainWalk(const std::string& bytes, bool big, uint64_t& end) {
  std::vector<Head> heads;
  bool swap = big;
  uint32_t head[2];
  end = 12;
  for (uint32_t p = 12; p + 8ull <= bytes.size(); end = p) {
    std::memcpy(head, bytes.data() + p, 8);
    if (head[0] == QO::k_fccRIFX) swap = true;
    const uint32_t size = swap ? __builtin_bswap32(head[1]) : head[1];
    uint32_t next = p + 8 + size;
    heads.push_back({p, head[0], size, swap, next <= p});
    if (next <= p) {
      end = p + 8ull + size;
      break;
    }
    if ((size & 1) && next < bytes.size() && bytes[next] == 0) ++next;
    p = next;
  }
  return heads;
}

// A container of random chunks: mostly small bodies (odd ones with and without their pad byte),
// some longer than the search's read window, sizes that run past the file or wrap the offset,
// "RIFX" heads, sometimes thousands of chunks, sometimes cut short or with stray bytes after.
std::string RandomContainer(std::mt19937& rng, bool big) {
  static const char* const ids[] = {"fmt ", "data", "cue ", "LIST", "smpl", "JUNK", "RIFX", "odd "};
  std::string chunks;
  if (rng() % 4)
    chunks = Chunk("fmt ", PcmFormatBody(1, 8000, 16, big), big) + Chunk("data", "ab", big);
  // Thousands of small chunks, so heads straddle the window's edges; or a few chunks of any size.
  const bool many = rng() % 5 == 0;
  for (int i = 0, n = many ? 3000 : rng() % 12; i < n; ++i) {
    const uint32_t kind = many ? 2 : rng() % 12;
    const uint32_t size = kind == 0   ? 0xFFFFFFFF - rng() % 10
                          : kind == 1 ? 20000 + rng() % 20000
                                      : rng() % 40;
    std::string body(size > 40000 ? rng() % 40 : size, '\0');
    for (size_t k = 0; k < body.size() && k < 8; ++k)
      body[k] = static_cast<char>(rng() % 2 * rng());
    if (body.size() >= 4 && rng() % 2) body.replace(0, 4, "adtl");
    if (body.size() % 2 && rng() % 3) body.push_back(0);
    chunks += ChunkWithSize(ids[rng() % 8], size, body, big);
  }
  if (rng() % 4 == 0) chunks.resize(rng() % (chunks.size() + 1));
  if (rng() % 5 == 0) chunks.append(1 + rng() % 7, '\0');
  return Riff(chunks, big);
}

// A WAVE file with a data chunk of `size` bytes of which the file holds `present`.
std::string DataFile(uint32_t size, uint32_t present) {
  std::string samples;
  for (uint32_t i = 0; i < present; ++i) samples.push_back(static_cast<char>(i * 7 + i / 251));
  return Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 8)) + ChunkWithSize("data", size, samples));
}

}  // namespace

// Files where the search fails are refused by QoWavFile::Open.
TEST(WavChunkSearch, FindsTheFirstChunkOfItsKind) {
  TempDir dir;
  // "odd1" keeps its pad byte, "odd2" lost it; the second "test" chunk is never taken.
  const std::string chunks =
      Chunk("odd1", "abc") + ChunkWithSize("odd2", 3, "xyz") + Chunk("test", "body");
  ASSERT_TRUE(WriteFileBytes(dir.File("a.wav"), Riff(chunks + Chunk("test", "late"))));
  OpenedWav file(dir.File("a.wav"));
  ASSERT_TRUE(file.ok);
  EXPECT_EQ(file.riff.GetFormType(), QO::k_fccWAVE);
  ProbeChunk probe("test");
  ASSERT_TRUE(probe.Init(file.file, &file.riff));
  EXPECT_EQ(probe.GetDataOffset(), 12u + 12 + 11 + 8);
  EXPECT_EQ(probe.GetFileChunkSize(), 12u);
  char body[32] = {};
  EXPECT_EQ(probe.ReadData(body, 32, 1), 15u);  // reads on past its body, up to the end of the file
  EXPECT_EQ(std::string(body, 7), "odytest");
  probe.Reset();  // drops its handle
  EXPECT_EQ(probe.ReadData(body, 4, 0), 0u);
}

// A caller that wrote the file through its own stream searches it before the stream's buffer
// reached the disk.
TEST(WavChunkSearch, SeesWhatTheStreamStillBuffers) {
  TempDir dir;
  FILE* stream = std::fopen(dir.File("w.wav").c_str(), "w+b");
  ASSERT_NE(stream, nullptr);
  const std::string bytes = Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16)) + Chunk("test", "x"));
  ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), stream), bytes.size());
  {
    zu::File file(stream);
    QoRiffChunk riff;
    ProbeChunk probe("test");
    EXPECT_TRUE(riff.Init(file, nullptr));
    EXPECT_TRUE(probe.Init(file, &riff));
    EXPECT_EQ(probe.GetDataOffset(), 12u + 24 + 8);
  }
  std::fclose(stream);
}

// Every chunk kind finds what a plain walk finds, and the editor carries exactly the chunks of
// that walk which no member loaded (up to a head that switches the byte order), over containers
// made to catch a walk that reads its heads through a window.
TEST(WavChunkSearch, AgreesWithAPlainWalkOverGeneratedFiles) {
  TempDir dir;
  const std::string path = dir.File("g.wav");
  std::mt19937 rng(7);
  for (int i = 0; i < 400; ++i) {
    const bool big = rng() % 4 == 0;
    const std::string bytes = RandomContainer(rng, big);
    ASSERT_TRUE(WriteFileBytes(path, bytes));
    uint64_t end = 0;
    const std::vector<Head> heads = PlainWalk(bytes, big, end);
    SCOPED_TRACE(std::to_string(i) + ": " + std::to_string(heads.size()) + " heads");
    OpenedWav file(path);
    ASSERT_TRUE(file.ok);
    for (const char* id : {"fmt ", "data", "LIST", "odd "}) {
      ProbeChunk probe(id);
      const bool found = probe.Init(file.file, &file.riff);
      const auto first = std::find_if(heads.begin(), heads.end(),
                                      [&](const Head& h) { return h.id == probe.GetChunkID(); });
      ASSERT_EQ(found, first != heads.end() && !first->wraps) << id;
      if (found) {
        const uint32_t size = probe.GetFileChunkSize() - 8 - (first->size & 1);
        EXPECT_EQ(std::make_tuple(probe.GetDataOffset(), size, probe.NeedSwapRead()),
                  std::make_tuple(first->offset + 8, first->size, first->swap))
            << id;
      }
    }
    QoWavFile wav;
    if (!wav.Open(zu::Path(path), false)) continue;
    std::vector<uint32_t> expected, carried;
    const QoFormatChunkBase* members[] = {&wav.m_fmtChunk, &wav.m_dataChunk, &wav.m_cueChunk,
                                          &wav.m_listChunk, &wav.m_smplChunk};
    bool switched = false;  // a "RIFX" head inside a little-endian file ends what is carried
    for (const Head& h : heads) {
      if (h.swap != big) {
        switched = true;
        break;
      }
      if (std::none_of(std::begin(members), std::end(members), [&](const QoFormatChunkBase* m) {
            return m->IsValid() && m->GetDataOffset() == h.offset + 8;
          }))
        expected.push_back(h.offset);
    }
    for (const QoCarriedChunk& c : wav.GetCarriedChunks()) carried.push_back(c.offset);
    EXPECT_EQ(carried, expected);
    EXPECT_EQ((wav.GetDroppedOnLoad() & QO::k_droppedAfterByteOrderSwitch) != 0, switched);
    if (!switched) {
      EXPECT_EQ((wav.GetDroppedOnLoad() & QO::k_droppedTrailingBytes) != 0, end < bytes.size());
    }
  }
}

TEST(WavRiffChunk, WritesHeadAndPatchesSizeFromFileSize) {
  TempDir dir;
  ASSERT_TRUE(
      WriteFileBytes(dir.File("in.wav"), Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16)), true)));
  OpenedWav in(dir.File("in.wav")), out(dir.File("out.wav"), "w+b"),
      append(dir.File("out.wav"), "ab");
  ASSERT_TRUE(in.ok);
  ASSERT_TRUE(in.riff.NeedSwapRead());
  EXPECT_EQ(in.riff.GetSize(), 28u);
  // Unswapped, a "RIFX" container keeps its ID; the patch returns to where out was.
  EXPECT_EQ(in.riff.WriteToFile(out.file, false), QO::k_chunkSuccess);
  ASSERT_TRUE(out.file.WriteExact("0123456789", 10));
  EXPECT_EQ(in.riff.UpdateRiffChunkSize(out.file, false), QO::k_chunkSuccess);
  EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 22);
  EXPECT_EQ(in.riff.WriteToFile(out.file, true), QO::k_chunkSuccess);
  // Nothing is patched through append mode, which puts every write at the end.
  EXPECT_EQ(in.riff.UpdateRiffChunkSize(append.file, false), QO::k_chunkFailure);
  EXPECT_EQ(QoRiffChunk().WriteToFile(out.file, false) +
                QoRiffChunk().UpdateRiffChunkSize(out.file, false),
            2u);
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.wav")),
            "RIFX" + U32(14) + "WAVE0123456789RIFX" + U32(28, true) + "WAVE");
}

TEST(WavFmtChunk, ReadsPcmFloatExtensibleAndCompactBodies) {
  TempDir dir;
  std::string pcm = PcmFormatBody(2, 44100, 16);
  pcm[12] = 1;  // nBlockAlign 1, raised to fit the frame
  // Extensible, 6 channels without speaker mask, in this library's 44-byte layout.
  const std::string extensible = U16(0xFFFE) + U16(6) + U32(48000) + U32(48000 * 24) + U16(24) +
                                 U16(32) + U16(22) + U16(24) + U16(24) + U16(0) + U32(0) +
                                 std::string(16, '\x01');
  const std::string compactHead = U16(0xFFFE) + PcmFormatBody(2, 22050, 16).substr(2) + U16(4);
  const uint32_t stereo = QO::MakeChannelConfig(2, 1, 0x3);
  const std::string swapped = U16(0xFFFE, true) + PcmFormatBody(2, 44100, 16, true).substr(2) +
                              U16(4, true) + U16(0) + U32(stereo, true);
  // Each file's format chunk; the plain and compact forms written are checked through QoWavFile.
  const struct {
    std::string file;
    bool ok;
    WaveFormatExtensible expected;
    bool unspecifiedMask;
  } cases[] = {
      {Riff(Chunk("fmt ", pcm)), true, {0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, stereo}, false},
      {Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 8).substr(0, 15))), false, {}, false},
      {Riff(Chunk("fmt ", U16(3) + PcmFormatBody(2, 96000, 32).substr(2) + U16(0) + U16(0x5A5A))),
       true,
       {0xFFFE, 2, 96000, 768000, 8, 32, 4, 0x5A5A, stereo},
       false},
      {Riff(Chunk("fmt ", extensible)),
       true,
       {0xFFFE, 6, 48000, 48000 * 24, 24, 32, 4, 24, QO::GetDefaultChannelConfig(6)},
       true},
      {Riff(Chunk("fmt ", compactHead + U16(7) + U32(QO::MakeChannelConfig(2, 0, 0)))),
       true,
       {0xFFFE, 2, 22050, 88200, 4, 16, 4, 7, QO::MakeChannelConfig(2, 0, 0)},
       false},
      {Riff(Chunk("fmt ", compactHead + U16(0) + U32(QO::MakeChannelConfig(3, 0, 0)))),
       false,
       {},
       false},
      {Riff(Chunk("fmt ", PcmFormatBody(0, 8000, 16))), false, {}, false},
      {Riff(ChunkWithSize("fmt ", 16, PcmFormatBody(1, 8000, 16).substr(0, 10))),
       false,
       {},
       false},  // cut short
      // The compact form as written swapped, in a big-endian file.
      {Riff(Chunk("fmt ", swapped, true), true),
       true,
       {0xFFFE, 2, 44100, 176400, 4, 16, 4, 0, stereo},
       false},
  };
  int index = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(index++);
    ASSERT_TRUE(WriteFileBytes(dir.File("f.wav"), c.file));
    OpenedWav file(dir.File("f.wav"));
    QoFmtChunk fmt;
    EXPECT_EQ(fmt.Init(file.file, &file.riff), c.ok);
    WaveFormatExtensible format;
    EXPECT_EQ(fmt.GetFormatInfo(&format), c.ok);
    if (!c.ok) {
      EXPECT_EQ(Written(fmt, false), "result 1: ");  // an invalid chunk refuses to write
      continue;
    }
    EXPECT_EQ(std::memcmp(&format, &c.expected, sizeof(format)), 0) << format.channelConfig;
    EXPECT_EQ(fmt.HasUnspecifiedChannelMask(), c.unspecifiedMask);
  }
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
  OpenedWav in(dir.File("in.wav")), out(dir.File("out.bin"), "w+b");
  EXPECT_EQ(junk.WriteToFile(out.file, false), QO::k_chunkFailure);  // not initialised yet
  EXPECT_TRUE(junk.Init(in.file, nullptr));  // exists where the file has none
  ASSERT_TRUE(out.file.WriteExact("bb", 2));
  EXPECT_EQ(junk.WriteToFile(out.file, true), QO::k_chunkSuccess);  // at 2: 14 bytes
  EXPECT_EQ(junk.WriteToFile(out.file, true), QO::k_chunkSuccess);  // at 24: nothing needed
  ASSERT_TRUE(out.file.WriteExact("cccccccc", 8));
  EXPECT_EQ(junk.WriteToFile(out.file, true), QO::k_chunkSuccess);  // at 32: a bare head
  std::fflush(out.stream);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")),
            "bbJUNK" + U32(14, true) + std::string(14, '\0') + "ccccccccJUNK" + U32(0));
}

// A source shorter than the chunk size gives a chunk of what was copied, its head corrected.
TEST(WavDataChunk, CopiesTheSamplesOrWhatTheSourceHoldsAndReportsProgressPerBlock) {
  TempDir dir;
  for (const auto& [size, present, swap] :
       {std::make_tuple(40000u, 40000u, false), std::make_tuple(70000u, 33333u, true)}) {
    const std::string source = DataFile(size, present), samples = source.substr(44);
    ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
    const std::string outPath = dir.File(std::to_string(size)), appendPath = outPath + "a";
    OpenedWav in(dir.File("in.wav")), out(outPath, "wb"), append(appendPath, "ab");
    QoDataChunk data;
    ASSERT_TRUE(data.Init(in.file, &in.riff));
    // In append mode a short chunk's head cannot be corrected: a failure, nothing after the
    // samples.
    EXPECT_EQ(data.WriteToFile(append.file, false),
              present == size ? QO::k_chunkSuccess : QO::k_chunkFailure);
    ASSERT_TRUE(data.Init(in.file, &in.riff));
    ASSERT_TRUE(out.file.WriteExact("xyz", 3));
    RecordingProgress progress;
    EXPECT_EQ(data.WriteToFile(out.file, swap, &progress), QO::k_chunkSuccess);
    EXPECT_EQ(data.GetSize(), present);
    EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 3 + 8 + present);
    EXPECT_EQ(data.WriteChunkHeaderToFile(out.file, false), QO::k_chunkSuccess);
    std::fflush(nullptr);
    EXPECT_EQ(ReadFileBytes(outPath),
              "xyzdata" + U32(present, swap) + samples + "data" + U32(present));
    EXPECT_EQ(ReadFileBytes(appendPath), "data" + U32(size) + samples);
    const std::vector<std::pair<uint32_t, uint32_t>> expected = {
        {0, size}, {0, 0}, {16384, 0}, {32768, 0}, {present, 0}};
    EXPECT_EQ(progress.calls, expected);
    EXPECT_EQ(ReadFileBytes(dir.File("in.wav")), source);
  }
  QoDataChunk empty;
  EXPECT_EQ(empty.WriteToFile(zu::File(), false), QO::k_chunkFailure);
  EXPECT_EQ(empty.WriteChunkHeaderToFile(zu::File(), false), QO::k_chunkFailure);
}

// Between two files the samples go by the descriptors, past both streams' buffers: what either
// stream holds must reach the file first, and both streams must end where a copy through them
// would have left them. Several transfers of a megabyte, the last one short.
TEST(WavDataChunk, LargeCopiesSeeWhatTheStreamsBufferAndLeaveThemInPlace) {
  TempDir dir;
  const uint32_t size = 3 * 1048576 + 12345;
  const std::string source = DataFile(size, size);
  ASSERT_TRUE(WriteFileBytes(dir.File("in.wav"), source));
  for (const bool edited : {false, true}) {
    SCOPED_TRACE(edited);
    OpenedWav in(dir.File("in.wav"), "r+b"), out(dir.File("out.bin"), "wb");
    QoDataChunk data;
    ASSERT_TRUE(data.Init(in.file, &in.riff));
    std::string samples = source.substr(44);
    if (edited) {
      // Unflushed writes into the source, in the first and the last transfer.
      for (const uint32_t at : {5u, size - 3}) {
        ASSERT_EQ(in.file.SetFilePointer(44 + at, zu::k_fileBegin), 44 + at);
        ASSERT_TRUE(in.file.WriteExact("EDIT", 3));
        samples.replace(at, 3, "EDI");
      }
    }
    ASSERT_TRUE(out.file.WriteExact("xyz", 3));  // still in the output's buffer
    RecordingProgress progress;
    EXPECT_EQ(data.WriteToFile(out.file, false, &progress), QO::k_chunkSuccess);
    EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 3 + 8 + size);
    EXPECT_EQ(in.file.SetFilePointer(0, zu::k_fileCurrent), 44 + size);
    ASSERT_TRUE(out.file.WriteExact("end", 3));
    std::fflush(out.stream);
    EXPECT_TRUE(ReadFileBytes(dir.File("out.bin")) == "xyzdata" + U32(size) + samples + "end");
    // Every 16 KiB block, then the exact count.
    ASSERT_EQ(progress.calls.size(), 2 + size / 16384 + 1);
    EXPECT_EQ(progress.calls[2 + 63].first, 64u * 16384);
    EXPECT_EQ(progress.calls.back().first, size);
  }
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

// In-place updates write only their own chunk, only through a stream that is open for writing
// and not in append mode (which puts every write at the end), and return to where it was.
TEST(WavChunkRewrite, InPlaceUpdatesWriteOnlyTheirChunkOfAWritableFile) {
  TempDir dir;
  const std::string path = dir.File("a.wav");
  const auto compact = [](uint32_t rate) {
    return Chunk("fmt ", U16(0xFFFE) + PcmFormatBody(1, rate, 16).substr(2) + U16(4) + U16(0) +
                             U32(QO::MakeChannelConfig(1, 1, 4)));
  };
  const std::string before =
      Riff(compact(8000) + Chunk("cue ", CueBody({1001, 2001})) +
           Chunk("smpl", SmplBody(1, 301, 1001)) + Chunk("data", Pcm16Samples(4)));
  // 1001 x 0.5 = 500.5 -> 501 (halves away from zero), 2001 -> 999 (the last frame); the loop
  // 150.5 -> 151 and 500.5 -> 399.
  const std::string after =
      Riff(compact(16000) + Chunk("cue ", CueBody({501, 999})) +
           Chunk("smpl", SmplBody(1, 151, 399)) + ChunkWithSize("data", 6, Pcm16Samples(4)));
  WaveFormatExtensible format = {
      0xFFFE, 1, 16000, 32000, 2, 16, 4, 0, QO::MakeChannelConfig(1, 1, 4)};
  for (const char* mode : {"rb", "a+b", "r+b"}) {
    SCOPED_TRACE(mode);
    const unsigned int expected =
        std::string(mode) == "r+b" ? QO::k_chunkSuccess : QO::k_chunkFailure;
    ASSERT_TRUE(WriteFileBytes(path, before));
    {
      OpenedWav in(path, mode);
      QoFmtChunk fmt;
      QoCueChunk cues;
      QoSmplChunk smpl;
      QoDataChunk data;
      ASSERT_TRUE(fmt.Init(in.file, &in.riff));
      ASSERT_TRUE(cues.Init(in.file, &in.riff));
      ASSERT_TRUE(smpl.Init(in.file, &in.riff));
      ASSERT_TRUE(data.Init(in.file, &in.riff));
      ASSERT_EQ(in.file.SetFilePointer(5, zu::k_fileBegin), 5);
      EXPECT_EQ(fmt.UpdateFormatInfo(format, false), expected);
      EXPECT_EQ(cues.UpdateCueInfo(0.5, 1000, false), expected);
      EXPECT_EQ(smpl.UpdateLoopInfo(0.5, 400, false), expected);
      EXPECT_EQ(data.UpdateChunkSize(6, false), expected);
      EXPECT_EQ(in.file.SetFilePointer(0, zu::k_fileCurrent), 5);
      cues.AddCue(4);  // the chunk no longer fits its place
      EXPECT_EQ(cues.UpdateCueInfo(1.0, 1000, false), QO::k_chunkFailure);
    }
    EXPECT_EQ(ReadFileBytes(path), expected == QO::k_chunkSuccess ? after : before);
  }
  // A format body of another size and a sampler chunk of two loops are never rewritten.
  const std::string other =
      Riff(Chunk("fmt ", PcmFormatBody(1, 8000, 16)) + Chunk("smpl", SmplBody(2, 100, 200)));
  ASSERT_TRUE(WriteFileBytes(dir.File("b.wav"), other));
  {
    OpenedWav in(dir.File("b.wav"), "r+b");
    QoFmtChunk fmt;
    QoSmplChunk smpl;
    ASSERT_TRUE(fmt.Init(in.file, &in.riff));
    ASSERT_TRUE(smpl.Init(in.file, &in.riff));
    EXPECT_EQ(fmt.UpdateFormatInfo(format, false), QO::k_chunkFailure);
    EXPECT_EQ(smpl.UpdateLoopInfo(1.0, 1000, false), QO::k_chunkFailure);
  }
  EXPECT_EQ(ReadFileBytes(dir.File("b.wav")), other);

  // A data head patched into another file at a body offset given by the caller.
  ASSERT_TRUE(WriteFileBytes(dir.File("out.bin"), std::string(20, '-')));
  OpenedWav in(path), out(dir.File("out.bin"), "r+b"), append(dir.File("out.bin"), "ab");
  QoDataChunk data;
  ASSERT_TRUE(data.Init(in.file, &in.riff));
  ASSERT_EQ(out.file.SetFilePointer(20, zu::k_fileBegin), 20);
  EXPECT_EQ(data._UpdateChunkSize(out.file, 12, 0x01020304, true), QO::k_chunkSuccess);
  EXPECT_EQ(out.file.SetFilePointer(0, zu::k_fileCurrent), 20);
  EXPECT_EQ(data._UpdateChunkSize(append.file, 12, 1, false), QO::k_chunkFailure);
  std::fflush(nullptr);
  EXPECT_EQ(ReadFileBytes(dir.File("out.bin")), "----data\x01\x02\x03\x04--------");
  EXPECT_EQ(QoDataChunk().UpdateChunkSize(4, false), QO::k_chunkFailure);
}
