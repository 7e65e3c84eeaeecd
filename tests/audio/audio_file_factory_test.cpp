// The reader factory: which extension gives which reader.
#include <gtest/gtest.h>
#include <qobase/audio/audio_file_reader.h>
#include <qobase/audio/wav_file_reader.h>

#include <memory>
#include <string>

#include "support/temp_dir.h"
#include "support/wav_builder.h"

namespace {

TEST(AudioFileFactory, ChoosesByExtensionIgnoringAsciiCase) {
  qotest::TempDir dir;
  qotest::ByteBuilder chunks;
  chunks.Chunk("fmt ", qotest::FmtBody(false, 1, 1, 8000, 16)).Chunk("data", std::string(4, '\0'));
  const std::string wave = qotest::WaveFile(false, chunks.Bytes());
  for (const char* name : {"a.wav", "b.WAV", "c.Amb", "d.zem", "e.ZeM"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), wave));
    std::unique_ptr<QoAudioFileReader> reader(QoAudioFileReader::Create(dir.File(name).c_str()));
    ASSERT_NE(nullptr, reader);
    EXPECT_NE(nullptr, dynamic_cast<QoWavFileReader*>(reader.get()));
    ASSERT_TRUE(reader->ReadChunks(QO::k_chunksFormatAndData));
    EXPECT_EQ(2u, reader->GetNumFrames());
    EXPECT_EQ(0x4101u, reader->GetFormat()->channelConfig);
  }
  for (const char* name : {"f.wave", "g.caf", "noext", "h.wav.txt", "i.wa"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(qotest::WriteFileBytes(dir.File(name), wave));
    EXPECT_EQ(nullptr, QoAudioFileReader::Create(dir.File(name).c_str()));
  }
  // The right extension on something that is not a WAVE file, or on nothing at all.
  ASSERT_TRUE(qotest::WriteFileBytes(dir.File("j.wav"), "RIFF\x04\x00\x00\x00AVI "));
  EXPECT_EQ(nullptr, QoAudioFileReader::Create(dir.File("j.wav").c_str()));
  EXPECT_EQ(nullptr, QoAudioFileReader::Create(dir.File("missing.wav").c_str()));
  EXPECT_EQ(nullptr, QoAudioFileReader::Create(nullptr));
}

}  // namespace
