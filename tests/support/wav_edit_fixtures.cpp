// Short forms of the WAVE builders for the chunk editor tests.
#include "wav_edit_fixtures.h"

#include <qobase/audio/wav_file_reader.h>
#include <qobase/result_code.h>

#include <cstring>

#include "temp_dir.h"

namespace qotest {

std::string Pcm16Samples(uint32_t count) {
  std::string bytes;
  for (uint32_t i = 0; i < count; ++i) bytes += U16(static_cast<uint16_t>(i + 1));
  return bytes;
}

std::string CueBody(const std::initializer_list<uint32_t>& positions, bool big) {
  std::string body = U32(static_cast<uint32_t>(positions.size()), big);
  uint32_t id = 1;
  for (uint32_t p : positions) {
    body += U32(id++, big) + U32(p, big) + "data" + U32(0, big) + U32(0, big) + U32(p, big);
  }
  return body;
}

std::string SmplBody(uint32_t loops, uint32_t start, uint32_t end, bool big) {
  std::string body;
  for (uint32_t v : {0u, 0u, 22675u, 60u, 0u, 0u, 0u, loops, 0u}) body += U32(v, big);
  for (uint32_t i = 0; i < loops; ++i) {
    for (uint32_t v : {i, 0u, start + i, end + i, 0u, 0u}) body += U32(v, big);
  }
  return body;
}

OpenedWav::OpenedWav(const std::string& path, const char* mode)
    : stream(std::fopen(path.c_str(), mode)),
      file(stream),
      ok(stream && riff.Init(file, nullptr)) {}

OpenedWav::~OpenedWav() {
  if (stream) std::fclose(stream);
}

std::string Written(QoFormatChunkBase& chunk, bool swap) {
  TempDir dir;
  unsigned int code = QO::k_chunkSuccess;
  {
    zu::File out;
    if (out.Open(zu::Path(dir.File("out.bin")), k_openModeWrite, 0) != QO::k_resultSuccess)
      return "open failed";
    code = chunk.WriteToFile(out, swap);
  }
  const std::string bytes = ReadFileBytes(dir.File("out.bin"));
  return code == QO::k_chunkSuccess ? bytes : "result " + std::to_string(code) + ": " + bytes;
}

bool WriteAll(QoWavFile& wav, const std::string& path, bool swap, bool compact) {
  zu::File out;
  if (out.Open(zu::Path(path), k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  return wav.WriteRiffChunk(out, swap) &&
         (compact ? wav.WriteFormatChunk(out, swap)
                  : wav.WriteFormatChunkNotExtensible(out, swap)) &&
         wav.WriteCueChunk(out, swap) && wav.WriteListChunk(out, swap) &&
         wav.WriteSmplChunk(out, swap) && wav.WriteJunkChunk(out, swap) &&
         wav.WriteDataChunk(out, swap) && wav.UpdateRiffChunkSize(out, swap) &&
         out.Close() == QO::k_resultSuccess;
}

std::vector<std::pair<std::string, std::string>> ChunksOf(const std::string& file, bool big) {
  std::vector<std::pair<std::string, std::string>> chunks;
  for (size_t p = 12; p + 8 <= file.size();) {
    uint32_t size;
    std::memcpy(&size, file.data() + p + 4, 4);
    if (big) size = __builtin_bswap32(size);
    chunks.emplace_back(file.substr(p, 4), file.substr(p + 8, size));
    p += 8ull + size + (size & 1);
  }
  return chunks;
}

bool WriteKeepingEverything(QoWavFile& wav, const std::string& path, bool swap) {
  zu::File out;
  if (out.Open(zu::Path(path), k_openModeWrite, 0) != QO::k_resultSuccess) return false;
  return wav.WriteRiffChunk(out, swap) && wav.WriteFormatChunkAsStored(out, swap) &&
         wav.WriteCarriedChunksBeforeData(out, swap) && wav.WriteCueChunk(out, swap) &&
         wav.WriteListChunk(out, swap) && wav.WriteSmplChunk(out, swap) &&
         wav.WriteJunkChunk(out, swap) && wav.WriteDataChunk(out, swap) &&
         wav.WriteCarriedChunksAfterData(out, swap) && wav.UpdateRiffChunkSize(out, swap) &&
         out.Close() == QO::k_resultSuccess;
}

ReadBack::ReadBack(const std::string& path, unsigned int channels) {
  QoWavFileReader reader;
  ok = reader.Open(zu::Path(path)) && reader.ReadChunks(QO::k_chunksAll);
  if (!ok) return;
  for (const QO_WAVE_MARKER& m : reader.GetMarkers()) {
    markers.push_back(std::to_string(m.ID) + "@" + std::to_string(m.position) + ":" +
                      (m.label ? m.label : ""));
  }
  loopStart = reader.GetLoopStartFrame();
  loopEnd = reader.GetLoopEndFrame();
  dataOffset = reader.GetDataOffset();
  samples.resize(reader.GetNumFrames() * channels);
  reader.SeekToAudioFrame(0);
  samples.resize(reader.ReadPCMDataAsInt16(reader.GetNumFrames(), samples.data()) * channels);
}

}  // namespace qotest
