// Inputs that are no regular file, or whose size says nothing: /dev/zero, a pipe fed zeros
// without end, a pipe whose writer never writes, and a /proc file whose size reads as 0. Every
// reader, parser and analysis given one by path ends, within a watchdog's time, with a failure
// or an empty result.
#include <gtest/gtest.h>

#include <qobase/analysis/fft_helper.h>
#include <qobase/analysis/onset_detector.h>
#include <qobase/audio/audio_file_reader.h>
#include <qobase/audio/caf_reader.h>
#include <qobase/audio/wav_file.h>
#include <qobase/audio/wav_file_reader.h>
#include <qobase/files/file_operation.h>
#include <qobase/files/memory_mapped_file.h>
#include <qobase/midi/midi_file.h>
#include <qobase/result_code.h>
#include <qobase/text/xml_text_reader.h>
#include <qobase/text/xml_validation.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "faults/fault_child.h"
#include "support/endless_stream.h"
#include "support/temp_dir.h"

namespace {

using qotest::Outcome;

// One way of reading a file by path: 0 when it ended with a failure or an empty result, 1 when
// it claimed to have read something. The XML readers take a pipe as a source on purpose (a
// document piped from another program); like any reader of a pipe they wait for its writer, so
// they are not given one whose writer never writes.
struct Reader {
  const char* name;
  std::function<int(const std::string& path)> read;
  bool waitsForPipes = false;
};

std::vector<Reader> Readers(const std::string& schema) {
  return {
      {"wav reader",
       [](const std::string& path) {
         QoWavFileReader wav;
         float samples[256];
         return Outcome(wav.Open(zu::Path(path)) && wav.ReadChunks(0x3) &&
                        wav.ReadPCMDataAsFloat32(64, samples) > 0);
       }},
      {"caf reader",
       [](const std::string& path) {
         QoCAFFileReader caf;
         return Outcome(caf.Open(path.c_str()) && caf.ReadChunks(0));
       }},
      {"reader factory",
       [](const std::string& path) {
         std::unique_ptr<QoAudioFileReader> reader(QoAudioFileReader::Create(path.c_str()));
         return Outcome(reader && reader->ReadChunks(0x3));
       }},
      {"chunk editor",
       [](const std::string& path) {
         QoWavFile wav;
         return Outcome(wav.Open(zu::Path(path), false));
       }},
      {"midi validate",
       [](const std::string& path) {
         QoMidiFile midi;
         return Outcome(midi.Open(zu::Path(path)) == QO::k_resultSuccess &&
                        midi.Validate() == QO::k_resultSuccess);
       }},
      {"midi read",
       [](const std::string& path) {
         QoMidiFile midi;
         return Outcome(midi.Open(zu::Path(path)) == QO::k_resultSuccess &&
                        midi.Read() == QO::k_resultSuccess && midi.GetFileSize() > 0);
       }},
      {"xml reader",
       [](const std::string& path) {
         XmlTextReaderLite reader(path, XmlTextReaderLite::k_xmlSourceFile);
         bool any = false;
         while (reader.Read()) any = true;
         return Outcome(any && !reader.HasFailed());
       },
       true},
      {"xml document",
       [schema](const std::string& path) {
         ValidationErrorInfo info;
         return Outcome(ValidateXmlFile(path, schema, info));
       },
       true},
      {"xml schema",
       [schema](const std::string& path) {
         ValidationErrorInfo info;
         return Outcome(ValidateXmlFile(schema + ".xml", path, info));
       },
       true},
      {"text file",
       [](const std::string& path) {
         return Outcome(zu::FileOperation::ReadUtf8FileRaw(zu::Path(path)).size() > 1);
       }},
      {"mapped file",
       [](const std::string& path) {
         zu::MemoryMappedFile mapped;
         return Outcome(mapped.Map(zu::Path(path)) != nullptr);
       }},
      {"spectrum",
       [](const std::string& path) {
         FFTHelper fft(1024, FFTHelper::Hann);
         std::vector<float> spectrum;
         unsigned int rate = 0;
         return Outcome(fft.GetSpectrum(path, spectrum, rate, nullptr));
       }},
      {"onsets",
       [](const std::string& path) {
         QoOnsetDetector detector;
         detector.SetSource(path);
         return Outcome(detector.GetNumFluxFrames() > 0);
       }},
  };
}

}  // namespace

TEST(EndlessInput, EveryReaderEndsWithAFailure) {
  qotest::TempDir dir;
  const std::string schema = dir.File("s.xsd");
  ASSERT_TRUE(qotest::WriteFileBytes(schema,
                                     "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">"
                                     "<xs:element name=\"a\" type=\"xs:string\"/></xs:schema>"));
  ASSERT_TRUE(qotest::WriteFileBytes(schema + ".xml", "<a>x</a>"));
  // Names with the extension the reader factory picks the WAV reader by.
  ASSERT_EQ(symlink("/dev/zero", dir.File("zero.wav").c_str()), 0);
  ASSERT_EQ(symlink("/proc/self/status", dir.File("proc.wav").c_str()), 0);

  enum Input { k_zero, k_proc, k_endlessPipe, k_silentPipe };
  const std::pair<Input, const char*> inputs[] = {
      {k_zero, "/dev/zero"},
      {k_proc, "a /proc file"},
      {k_endlessPipe, "a pipe fed without end"},
      {k_silentPipe, "a pipe whose writer never writes"},
  };
  int pipes = 0;
  for (const Reader& reader : Readers(schema)) {
    for (const auto& input : inputs) {
      if (input.first == k_silentPipe && reader.waitsForPipes) continue;
      SCOPED_TRACE(std::string(reader.name) + " on " + input.second);
      std::string path = dir.File(input.first == k_zero ? "zero.wav" : "proc.wav");
      // A pipe serves one reader: each case gets its own.
      std::unique_ptr<qotest::EndlessFifo> endless;
      std::unique_ptr<qotest::SilentFifo> silent;
      if (input.first == k_endlessPipe) {
        path = dir.File("pipe" + std::to_string(++pipes) + ".wav");
        endless.reset(new qotest::EndlessFifo(path, "RIFF"));
        ASSERT_TRUE(endless->Ok());
      } else if (input.first == k_silentPipe) {
        path = dir.File("pipe" + std::to_string(++pipes) + ".wav");
        silent.reset(new qotest::SilentFifo(path));
        ASSERT_TRUE(silent->Ok());
      }
      EXPECT_EQ(qotest::RunFaultCase(10, -1, [&] { return reader.read(path); }),
                qotest::k_reportedFailure);
    }
  }
}
