// Outputs that cannot be written: a new file in a read-only folder, a read-only file, a
// directory standing at the output's name, and a file whose writer lock another process holds.
// Every writer fails cleanly and leaves what stands there as it was.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/files/directory_operations.h>
#include <qobase/files/file.h>
#include <qobase/files/path.h>
#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "faults/fault_child.h"
#include "support/midi_builder.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

namespace {

using qotest::Outcome;

// A text writer opened on `out`: 0 when it is not ready and says so, 1 when it is ready.
template <typename Writer>
int OpenTextWriter(const std::string& out) {
  Writer* writer = new Writer(zu::Path(out));
  const bool ready = writer->IsReady();
  const bool saysNotReady = writer->GetReadyState() == QO::k_writerNotReady;
  if (ready) writer->WriteStartDocument();
  writer->Destroy();
  if (ready) return qotest::k_claimedSuccess;
  return saysNotReady ? static_cast<int>(qotest::k_reportedFailure) : 2;
}

// Runs `body` as user 65534 when the test runs as root, whom permissions do not bind.
int AsOrdinaryUser(const std::function<int()>& body) {
  if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return qotest::k_setUpFailed;
  return body();
}

}  // namespace

TEST(LockedOutput, EveryWriterFailsAndLeavesWhatStandsThere) {
  qotest::TempDir dir;
  ASSERT_EQ(chmod(dir.Path().c_str(), 0777), 0);
  const std::string wave = dir.File("in.wav"), midi = dir.File("in.mid");
  const std::string waveBytes =
      qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                   qotest::Chunk("data", qotest::Pcm16Samples(1000)));
  ASSERT_TRUE(qotest::WriteFileBytes(wave, waveBytes));
  ASSERT_TRUE(qotest::WriteFileBytes(
      midi, qotest::MidiFileBytes(0, 96, {"0 90 3C 64, 96 80 3C 00, 0 FF 2F 00"})));

  const std::string lockedFolder = dir.File("read-only folder");
  ASSERT_EQ(mkdir(lockedFolder.c_str(), 0555), 0);
  const std::string readOnlyFile = dir.File("read-only file");
  ASSERT_TRUE(qotest::WriteFileBytes(readOnlyFile, "the user's file"));
  ASSERT_EQ(chmod(readOnlyFile.c_str(), 0444), 0);
  const std::string folderInPlace = dir.File("a folder");
  ASSERT_EQ(mkdir(folderInPlace.c_str(), 0777), 0);
  const std::string lockedFile = dir.File("locked file");
  ASSERT_TRUE(qotest::WriteFileBytes(lockedFile, "the user's file"));
  ASSERT_EQ(chmod(lockedFile.c_str(), 0666), 0);
  // Held by this process for the whole test: the writers run in children.
  zu::File holder;
  ASSERT_EQ(holder.Open(zu::Path(lockedFile), k_openModeAppend, 0), QO::k_resultSuccess);

  const std::string outputs[] = {lockedFolder + "/out", readOnlyFile, folderInPlace, lockedFile};
  const struct {
    const char* name;
    std::function<int(const std::string& out)> write;
  } writers[] = {
      {"wav writer",
       [](const std::string& out) {
         QoWavFileWriter writer;
         return Outcome(writer.Open(zu::Path(out), false));
       }},
      {"xml writer", OpenTextWriter<XmlTextWriterLite2>},
      {"json writer", OpenTextWriter<JSONTextWriter>},
      {"midi convert",
       [&](const std::string& out) { return qotest::ConvertMidiOutcome(midi, out); }},
      {"path copy",
       [&](const std::string& out) {
         return Outcome(zu::Path(wave).Copy(zu::Path(out), nullptr));
       }},
  };
  for (const std::string& out : outputs) {
    for (const auto& writer : writers) {
      SCOPED_TRACE(std::string(writer.name) + " to " + out);
      EXPECT_EQ(qotest::RunFaultCase(
                    20, -1, [&] { return AsOrdinaryUser([&] { return writer.write(out); }); }),
                qotest::k_reportedFailure);
    }
  }
  // A move that cannot rename falls back on a copy, which fails too and keeps the source (a
  // rename may replace a read-only or locked file: their folder allows it). A recursive copy
  // into the read-only folder fails as well.
  const auto move = [&](const std::string& out) {
    const std::string source = dir.File("to-move");
    if (!zu::Path(wave).Copy(zu::Path(source), nullptr)) return 3;
    const bool moved = zu::Path(source).Move(zu::Path(out), true);
    const bool kept = qotest::ReadFileBytes(source) == waveBytes;
    unlink(source.c_str());
    return moved ? 1 : (kept ? 0 : 4);
  };
  for (const std::string& out : {lockedFolder + "/out", folderInPlace}) {
    SCOPED_TRACE("move to " + out);
    EXPECT_EQ(
        qotest::RunFaultCase(20, -1, [&] { return AsOrdinaryUser([&] { return move(out); }); }),
        qotest::k_reportedFailure);
  }
  EXPECT_EQ(qotest::RunFaultCase(20, -1,
                                 [&] {
                                   return AsOrdinaryUser([&] {
                                     return Outcome(zu::CopyFilesRecursive(
                                         dir.File("a folder"), lockedFolder + "/tree",
                                         [](const CStdStr&) { return true; }, false));
                                   });
                                 }),
            qotest::k_reportedFailure);

  struct stat info;
  ASSERT_EQ(stat(folderInPlace.c_str(), &info), 0);
  EXPECT_TRUE(S_ISDIR(info.st_mode));
  EXPECT_EQ(qotest::ReadFileBytes(readOnlyFile), "the user's file");
  EXPECT_EQ(qotest::ReadFileBytes(lockedFile), "the user's file");
  EXPECT_FALSE(zu::Path(lockedFolder + "/out").Exists());
  EXPECT_FALSE(zu::Path(lockedFolder + "/tree").Exists());
  EXPECT_EQ(qotest::ReadFileBytes(wave), waveBytes);
}

// The chunk editor's writers given an output handle that cannot be written (a file opened for
// reading) each fail, and the file is left as it was.
TEST(LockedOutput, ChunkWritersIntoAReadOnlyHandleFail) {
  qotest::TempDir dir;
  const std::string wave = dir.File("in.wav"), out = dir.File("out.wav");
  ASSERT_TRUE(qotest::WriteFileBytes(
      wave, qotest::Riff(qotest::Chunk("fmt ", qotest::PcmFormatBody(1, 8000, 16)) +
                         qotest::Chunk("cue ", qotest::CueBody({5})) +
                         qotest::Chunk("LIST", "adtl" + qotest::LablChunk(1, "one")) +
                         qotest::Chunk("smpl", qotest::SmplBody(1, 1, 50)) +
                         qotest::Chunk("data", qotest::Pcm16Samples(100000)))));
  ASSERT_TRUE(qotest::WriteFileBytes(out, "the user's file"));
  QoWavFile wav;
  ASSERT_TRUE(wav.Open(zu::Path(wave), false));
  zu::File readOnly;
  ASSERT_EQ(readOnly.Open(zu::Path(out), k_openModeRead, 0), QO::k_resultSuccess);
  const std::pair<const char*, std::function<bool()>> writers[] = {
      {"riff", [&] { return wav.WriteRiffChunk(readOnly, false); }},
      {"format", [&] { return wav.WriteFormatChunk(readOnly, false); }},
      {"format as stored", [&] { return wav.WriteFormatChunkAsStored(readOnly, false); }},
      {"cue", [&] { return wav.WriteCueChunk(readOnly, false); }},
      {"list", [&] { return wav.WriteListChunk(readOnly, false); }},
      {"smpl", [&] { return wav.WriteSmplChunk(readOnly, false); }},
      {"data", [&] { return wav.WriteDataChunk(readOnly, false); }},
      {"riff size", [&] { return wav.UpdateRiffChunkSize(readOnly, false); }},
  };
  for (const auto& writer : writers) {
    SCOPED_TRACE(writer.first);
    EXPECT_EQ(qotest::RunFaultCase(20, -1, [&] { return Outcome(writer.second()); }),
              qotest::k_reportedFailure);
  }
  EXPECT_EQ(qotest::ReadFileBytes(out), "the user's file");
}
