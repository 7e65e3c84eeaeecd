// Every writer under a small file size limit, as on a disk that fills up: the operations that
// report a result report the failure instead of success, a move never loses its source, and the
// text writers, which ignore write errors, put exactly the first bytes of their text in the file.
#include <gtest/gtest.h>

#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_writer.h>
#include <qobase/files/directory_operations.h>
#include <qobase/files/path.h>
#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>
#include <qobase/streams/byte_streams.h>
#include <qobase/text/json_text_writer.h>
#include <qobase/text/xml_text_writer_lite2.h>

#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

#include "faults/fault_child.h"
#include "support/midi_builder.h"
#include "support/temp_dir.h"
#include "support/wav_edit_fixtures.h"

namespace {

using qotest::Chunk;
using qotest::Outcome;

constexpr long long k_limit = 4096;

// A 16-bit stereo file with cue points, labels and a loop, well past the limit.
std::string MarkedWave() {
  return qotest::Riff(
      Chunk("fmt ", qotest::PcmFormatBody(2, 8000, 16)) +
      Chunk("cue ", qotest::CueBody({10, 2000})) +
      Chunk("LIST", "adtl" + qotest::LablChunk(1, "one") + qotest::LablChunk(2, "two")) +
      Chunk("smpl", qotest::SmplBody(1, 100, 9000)) +
      Chunk("data", qotest::Pcm16Samples(2 * 20000)));
}

std::string LongMidi() {
  std::string track;
  for (int i = 0; i < 3000; ++i) track += "1 90 3C 64, 1 80 3C 00, ";
  return qotest::MidiFileBytes(0, 96, {track + "0 FF 2F 00"});
}

bool WriteWithWavWriter(const std::string& path) {
  QoWavFileWriter writer;
  WaveFormatExtensible format = {
      0xFFFE, 2, 8000, 32000, 4, 16, 4, 0, QO::MakeChannelConfig(2, 1, 0x3)};
  char label[] = "start";
  if (!writer.Open(zu::Path(path), false)) return false;
  writer.SetFormat(format);
  writer.SetLoopPoints(0, 19999);
  writer.SetMarkers({{1, 0, sizeof(label), label}});
  if (!writer.WriteChunks(0x1C)) return false;
  std::vector<short> block(2 * 1000, 1234);
  for (int i = 0; i < 20; ++i) {
    if (!writer.WriteInt16AsPCMData(1000, block.data())) return false;
  }
  return writer.Close();
}

// The same document through any text writer: nested elements with attributes and text, and a
// memory writer's fragment appended, some 800 KiB in all (more than one flush).
void WriteDocument(QoTextWriterBuffer& writer, QoTextWriterBuffer& fragment) {
  fragment.WriteStartElement("Fragment", QO::XmlElementType::Object);
  fragment.WriteAttributeString("kind", "appended");
  fragment.WriteEndElement();
  writer.WriteStartDocument();
  writer.WriteStartElement("Takes", QO::XmlElementType::Array);
  for (int i = 0; i < 8000; ++i) {
    writer.WriteStartElement("Take", QO::XmlElementType::Object);
    writer.WriteAttributeString("name", "take & " + std::to_string(i));
    writer.WriteString(std::string(60, static_cast<char>('a' + i % 26)));
    writer.WriteEndElement();
  }
  writer.Append(&fragment);
  writer.WriteEndElement();
  writer.WriteEndDocument();
}

template <typename Writer>
std::string TextInMemory() {
  Writer writer, fragment;
  WriteDocument(writer, fragment);
  return std::string(writer.GetBufferedText(), writer.GetBufferedSize());
}

template <typename Writer>
int WriteTextFile(const std::string& path) {
  Writer* writer = new Writer(zu::Path(path));
  Writer fragment;
  if (!writer->IsReady()) return qotest::k_setUpFailed;
  WriteDocument(*writer, fragment);
  writer->Destroy();
  return qotest::k_claimedSuccess;
}

}  // namespace

// Each writer in a child under the limit: 0 when it reported the failure, 1 when it claimed
// success, -1 when it hung or crashed.
TEST(FileSizeLimit, EveryWriterReportsTheFailure) {
  qotest::TempDir dir;
  const std::string wave = dir.File("in.wav"), midi = dir.File("in.mid"), big = dir.File("big");
  ASSERT_TRUE(qotest::WriteFileBytes(wave, MarkedWave()));
  ASSERT_TRUE(qotest::WriteFileBytes(midi, LongMidi()));
  ASSERT_TRUE(qotest::WriteFileBytes(big, std::string(65536, 'b')));
  ASSERT_EQ(mkdir(dir.File("tree").c_str(), 0700), 0);
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tree/small"), "small"));
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("tree/big"), std::string(65536, 'b')));

  const struct {
    const char* name;
    std::function<int(const std::string& out)> write;
  } writers[] = {
      {"wav writer", [](const std::string& out) { return Outcome(WriteWithWavWriter(out)); }},
      {"chunk editor",
       [&](const std::string& out) {
         QoWavFile wav;
         if (!wav.Open(zu::Path(wave), false)) return static_cast<int>(qotest::k_setUpFailed);
         return Outcome(qotest::WriteAll(wav, out, false));
       }},
      {"chunk editor keeping everything",
       [&](const std::string& out) {
         QoWavFile wav;
         wav.SetStandardExtensibleLayout(true);
         if (!wav.Open(zu::Path(wave), false)) return static_cast<int>(qotest::k_setUpFailed);
         return Outcome(qotest::WriteKeepingEverything(wav, out, false));
       }},
      {"midi convert",
       [&](const std::string& out) { return qotest::ConvertMidiOutcome(midi, out); }},
      {"path copy",
       [&](const std::string& out) { return Outcome(zu::Path(big).Copy(zu::Path(out), nullptr)); }},
      {"recursive copy",
       [&](const std::string& out) {
         return Outcome(zu::CopyFilesRecursive(
             dir.File("tree"), out, [](const CStdStr&) { return true; }, false));
       }},
      {"stream sink",
       [](const std::string& out) {
         FILE* stream = std::fopen(out.c_str(), "wb");
         if (!stream) return static_cast<int>(qotest::k_setUpFailed);
         WriteBytesOnFILE sink(stream);
         const std::string bytes(65536, 's');
         int written = 0;
         const bool all = sink.WriteBytes(bytes.data(), static_cast<int>(bytes.size()), written);
         std::fclose(stream);
         return Outcome(all && written == static_cast<int>(bytes.size()));
       }},
  };
  for (const auto& writer : writers) {
    SCOPED_TRACE(writer.name);
    const std::string out = dir.File(std::string("out-") + writer.name);
    EXPECT_EQ(qotest::RunFaultCase(20, k_limit, [&] { return writer.write(out); }),
              qotest::k_reportedFailure);
  }
  // A copy cut short leaves no partial file behind (it would refuse the next copy).
  EXPECT_FALSE(zu::Path(dir.File("out-path copy")).Exists());
  EXPECT_FALSE(zu::Path(dir.File("out-recursive copy/big")).Exists());
  // The sources are as they were.
  EXPECT_EQ(qotest::ReadFileBytes(wave), MarkedWave());
  EXPECT_EQ(qotest::ReadFileBytes(midi), LongMidi());
}

// A move that has to copy (across file systems) and cannot finish keeps its source.
TEST(FileSizeLimit, AMoveThatCannotCopyKeepsItsSource) {
  qotest::TempDir dir;
  struct stat here, shm;
  if (stat(dir.Path().c_str(), &here) != 0 || stat("/dev/shm", &shm) != 0 ||
      here.st_dev == shm.st_dev) {
    GTEST_SKIP() << "no second file system to move across";
  }
  const std::string source = "/dev/shm/qobase-move-" + std::to_string(getpid());
  const std::string bytes(65536, 'm');
  ASSERT_TRUE(qotest::WriteFileBytes(source, bytes));
  const int outcome = qotest::RunFaultCase(20, k_limit, [&] {
    return Outcome(zu::Path(source).Move(zu::Path(dir.File("moved")), true));
  });
  EXPECT_EQ(outcome, qotest::k_reportedFailure);
  EXPECT_EQ(qotest::ReadFileBytes(source), bytes);
  unlink(source.c_str());
}

// Write errors of the text writers are ignored by design; what reaches the file is exactly the
// start of the text the same events make in memory, and the writer gets through the whole
// document (the limit falls inside the first block written).
TEST(FileSizeLimit, TextWritersPutTheFirstBytesOfTheirTextInTheFile) {
  qotest::TempDir dir;
  const struct {
    const char* name;
    std::function<int(const std::string&)> write;
    std::string text;
  } writers[] = {
      {"xml", WriteTextFile<XmlTextWriterLite2>, TextInMemory<XmlTextWriterLite2>()},
      {"json", WriteTextFile<JSONTextWriter>, TextInMemory<JSONTextWriter>()},
  };
  for (const auto& writer : writers) {
    SCOPED_TRACE(writer.name);
    ASSERT_GT(writer.text.size(), 2 * QoTextWriterBuffer::k_initialBufferSize);
    const std::string out = dir.File(writer.name);
    EXPECT_EQ(qotest::RunFaultCase(20, k_limit, [&] { return writer.write(out); }),
              qotest::k_claimedSuccess);
    EXPECT_TRUE(qotest::ReadFileBytes(out) == writer.text.substr(0, k_limit));
  }
}
