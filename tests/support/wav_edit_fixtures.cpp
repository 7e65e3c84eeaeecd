#include "wav_edit_fixtures.h"

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

std::string Pcm16Samples(uint32_t frames, uint16_t channels, int first) {
  std::string bytes;
  for (uint32_t i = 0; i < frames * channels; ++i) bytes += U16(static_cast<uint16_t>(first + static_cast<int>(i)));
  return bytes;
}

std::string CueBody(const std::initializer_list<uint32_t>& positions, bool bigEndian) {
  std::string body = U32(static_cast<uint32_t>(positions.size()), bigEndian);
  uint32_t id = 1;
  for (uint32_t position : positions) {
    body += U32(id++, bigEndian) + U32(position, bigEndian) + "data" + U32(0, bigEndian) + U32(0, bigEndian) +
            U32(position, bigEndian);
  }
  return body;
}

std::string LablChunk(uint32_t id, const std::string& text, bool bigEndian) {
  return Chunk("labl", U32(id, bigEndian) + text + std::string(1, '\0'), bigEndian);
}

std::string SmplBody(uint32_t loops, uint32_t start, uint32_t end, bool bigEndian) {
  std::string body;
  for (uint32_t v : {0u, 0u, 22675u, 60u, 0u, 0u, 0u}) body += U32(v, bigEndian);
  body += U32(loops, bigEndian) + U32(0, bigEndian);
  for (uint32_t i = 0; i < loops; ++i) {
    body += U32(i, bigEndian) + U32(0, bigEndian) + U32(start + i, bigEndian) + U32(end + i, bigEndian) +
            U32(0, bigEndian) + U32(0, bigEndian);
  }
  return body;
}

}  // namespace qotest
