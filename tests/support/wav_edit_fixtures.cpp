#include "wav_edit_fixtures.h"

#include <qobase/audio/wav_file_reader.h>
#include <qobase/result_code.h>

#include "temp_dir.h"
#include "wav_builder.h"

namespace qotest {

std::string U16(uint16_t value, bool bigEndian) { return ByteBuilder(bigEndian).U16(value).Bytes(); }

std::string U32(uint32_t value, bool bigEndian) { return ByteBuilder(bigEndian).U32(value).Bytes(); }

std::string ChunkWithSize(const std::string& id, uint32_t size, const std::string& body, bool bigEndian) {
  return ByteBuilder(bigEndian).ChunkWithSize(id, size, body).Bytes();
}

std::string Chunk(const std::string& id, const std::string& body, bool bigEndian) {
  return ByteBuilder(bigEndian).Chunk(id, body).Bytes();
}

std::string Riff(const std::string& chunks, bool bigEndian) { return WaveFile(bigEndian, chunks); }

std::string PcmFormatBody(uint16_t channels, uint32_t rate, uint16_t bits, bool bigEndian) {
  return FmtBody(bigEndian, 1, channels, rate, bits);
}

std::string Pcm16Samples(uint32_t count) {
  std::string bytes;
  for (uint32_t i = 0; i < count; ++i) bytes += U16(static_cast<uint16_t>(i + 1));
  return bytes;
}

std::string CueBody(const std::initializer_list<uint32_t>& positions, bool bigEndian) {
  std::string body = U32(static_cast<uint32_t>(positions.size()), bigEndian);
  uint32_t id = 1;
  for (uint32_t p : positions) {
    body += U32(id++, bigEndian) + U32(p, bigEndian) + "data" + U32(0, bigEndian) + U32(0, bigEndian) + U32(p, bigEndian);
  }
  return body;
}

std::string LablChunk(uint32_t id, const std::string& text, bool bigEndian) {
  return Chunk("labl", U32(id, bigEndian) + text + std::string(1, '\0'), bigEndian);
}

std::string SmplBody(uint32_t loops, uint32_t start, uint32_t end, bool bigEndian) {
  std::string body;
  for (uint32_t v : {0u, 0u, 22675u, 60u, 0u, 0u, 0u, loops, 0u}) body += U32(v, bigEndian);
  for (uint32_t i = 0; i < loops; ++i) {
    for (uint32_t v : {i, 0u, start + i, end + i, 0u, 0u}) body += U32(v, bigEndian);
  }
  return body;
}

OpenedWav::OpenedWav(const std::string& path, const char* mode)
    : stream(std::fopen(path.c_str(), mode)), file(stream), ok(stream && riff.Init(file, nullptr)) {}

OpenedWav::~OpenedWav() {
  if (stream) std::fclose(stream);
}

std::string Written(QoFormatChunkBase& chunk, bool swap, unsigned int* result) {
  TempDir dir;
  {
    zu::File out;
    if (out.Open(zu::Path(dir.File("out.bin")), k_openModeWrite, 0) != 1) return "open failed";
    const unsigned int code = chunk.WriteToFile(out, swap);
    if (result) *result = code;
  }
  return ReadFileBytes(dir.File("out.bin"));
}

bool WriteAll(QoWavFile& wav, const std::string& path, bool swap, bool compact) {
  zu::File out;
  if (out.Open(zu::Path(path), k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  return wav.WriteRiffChunk(out, swap) &&
         (compact ? wav.WriteFormatChunk(out, swap) : wav.WriteFormatChunkNotExtensible(out, swap)) &&
         wav.WriteCueChunk(out, swap) && wav.WriteListChunk(out, swap) && wav.WriteSmplChunk(out, swap) &&
         wav.WriteJunkChunk(out, swap) && wav.WriteDataChunk(out, swap) && wav.UpdateRiffChunkSize(out, swap) &&
         out.Close() == QO::k_resultSuccess;
}

ReadBack::ReadBack(const std::string& path, unsigned int channels) {
  QoWavFileReader reader;
  ok = reader.Open(zu::Path(path)) && reader.ReadChunks(0x1F);
  if (!ok) return;
  for (const QO_WAVE_MARKER& m : reader.GetMarkers()) {
    markers.push_back(std::to_string(m.ID) + "@" + std::to_string(m.position) + ":" + (m.label ? m.label : ""));
  }
  loopStart = reader.GetLoopStartFrame();
  loopEnd = reader.GetLoopEndFrame();
  dataOffset = reader.GetDataOffset();
  samples.resize(reader.GetNumFrames() * channels);
  reader.SeekToAudioFrame(0);
  samples.resize(reader.ReadPCMDataAsInt16(reader.GetNumFrames(), samples.data()) * channels);
}

}  // namespace qotest
