#include "wav_edit_fixtures.h"

namespace qotest {

std::string U16(uint16_t value, bool bigEndian) {
  std::string bytes(2, '\0');
  bytes[bigEndian ? 1 : 0] = static_cast<char>(value & 0xFF);
  bytes[bigEndian ? 0 : 1] = static_cast<char>(value >> 8);
  return bytes;
}

std::string U32(uint32_t value, bool bigEndian) {
  std::string bytes(4, '\0');
  for (int i = 0; i < 4; ++i) bytes[bigEndian ? 3 - i : i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

std::string ChunkWithSize(const std::string& id, uint32_t size, const std::string& body, bool bigEndian) {
  return id + U32(size, bigEndian) + body;
}

std::string Chunk(const std::string& id, const std::string& body, bool bigEndian) {
  std::string chunk = ChunkWithSize(id, static_cast<uint32_t>(body.size()), body, bigEndian);
  if (body.size() & 1) chunk.push_back('\0');
  return chunk;
}

std::string Riff(const std::string& chunks, bool bigEndian) {
  return (bigEndian ? "RIFX" : "RIFF") + U32(static_cast<uint32_t>(4 + chunks.size()), bigEndian) + "WAVE" + chunks;
}

std::string PcmFormatBody(uint16_t channels, uint32_t rate, uint16_t bits, bool bigEndian) {
  const uint16_t align = static_cast<uint16_t>(channels * bits / 8);
  return U16(1, bigEndian) + U16(channels, bigEndian) + U32(rate, bigEndian) + U32(rate * align, bigEndian) +
         U16(align, bigEndian) + U16(bits, bigEndian);
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
