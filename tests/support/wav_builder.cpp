// WAVE files built byte by byte, in either byte order.
#include "support/wav_builder.h"

#include <cstdio>
#include <cstring>

namespace qotest {

ByteBuilder& ByteBuilder::U8(uint8_t v) {
  m_bytes.push_back(static_cast<char>(v));
  return *this;
}

ByteBuilder& ByteBuilder::U16(uint16_t v) {
  if (m_bigEndian) return U8(static_cast<uint8_t>(v >> 8)).U8(static_cast<uint8_t>(v));
  return U8(static_cast<uint8_t>(v)).U8(static_cast<uint8_t>(v >> 8));
}

ByteBuilder& ByteBuilder::U32(uint32_t v) {
  if (m_bigEndian) return U16(static_cast<uint16_t>(v >> 16)).U16(static_cast<uint16_t>(v));
  return U16(static_cast<uint16_t>(v)).U16(static_cast<uint16_t>(v >> 16));
}

ByteBuilder& ByteBuilder::U64(uint64_t v) {
  if (m_bigEndian) return U32(static_cast<uint32_t>(v >> 32)).U32(static_cast<uint32_t>(v));
  return U32(static_cast<uint32_t>(v)).U32(static_cast<uint32_t>(v >> 32));
}

ByteBuilder& ByteBuilder::F32(float v) {
  uint32_t bits;
  std::memcpy(&bits, &v, 4);
  return U32(bits);
}

ByteBuilder& ByteBuilder::F64(double v) {
  uint64_t bits;
  std::memcpy(&bits, &v, 8);
  return U64(bits);
}

ByteBuilder& ByteBuilder::Raw(const std::string& bytes) { return m_bytes += bytes, *this; }

ByteBuilder& ByteBuilder::Zeros(size_t count) { return m_bytes.append(count, '\0'), *this; }

ByteBuilder& ByteBuilder::Chunk(const std::string& id, const std::string& body, bool pad) {
  Raw(id).U32(static_cast<uint32_t>(body.size())).Raw(body);
  if (pad && body.size() % 2 == 1) U8(0);
  return *this;
}

ByteBuilder& ByteBuilder::ChunkWithSize(const std::string& id, uint32_t size,
                                        const std::string& body) {
  return Raw(id).U32(size).Raw(body);
}

std::string WaveFile(bool bigEndian, const std::string& chunks, int64_t riffSize) {
  ByteBuilder b(bigEndian);
  b.Raw(bigEndian ? "RIFX" : "RIFF");
  b.U32(riffSize < 0 ? static_cast<uint32_t>(chunks.size() + 4) : static_cast<uint32_t>(riffSize));
  b.Raw("WAVE").Raw(chunks);
  return b.Bytes();
}

std::string FmtBody(bool bigEndian, uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits,
                    uint16_t blockAlign) {
  if (blockAlign == 0) blockAlign = static_cast<uint16_t>(channels * bits / 8);
  ByteBuilder b(bigEndian);
  b.U16(tag).U16(channels).U32(rate).U32(rate * blockAlign).U16(blockAlign).U16(bits);
  return b.Bytes();
}

std::string StandardExtensibleBody(bool bigEndian, uint16_t channels, uint32_t rate, uint16_t bits,
                                   uint16_t validBits, uint32_t mask,
                                   const QO::SonvoAuthoringAPI::QoGuid& subFormat, uint16_t extra) {
  std::string guid(16, '\0');
  std::memcpy(&guid[0], &subFormat, 16);
  ByteBuilder b(bigEndian);
  b.Raw(FmtBody(bigEndian, 0xFFFE, channels, rate, bits)).U16(static_cast<uint16_t>(22 + extra));
  b.U16(validBits).U32(mask).Raw(guid).Zeros(extra);
  return b.Bytes();
}

WAVEFORMATEXTENSIBLE ExtensibleFormat(uint16_t channels, uint16_t bits, uint32_t rate,
                                      uint16_t tag) {
  WAVEFORMATEXTENSIBLE f;
  std::memset(&f, 0, sizeof(f));
  f.wFormatTag = tag;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  f.wBitsPerSample = bits;
  f.cbSize = 22;
  f.wValidBitsPerSample = bits;
  f.dwChannelMask = QO::GetDefaultChannelMask(channels);
  f.SubFormat = bits == 32 ? ks_dataformat_ieee_float : ks_dataformat_pcm;
  return f;
}

std::string Fields(const WaveFormatExtensible& f) {
  char text[128];
  std::snprintf(text, sizeof(text), "%X %u %u %u %u %u %u %X %X", f.wFormatTag, f.nChannels,
                f.nSamplesPerSec, f.nAvgBytesPerSec, f.nBlockAlign, f.wBitsPerSample, f.cbSize,
                f.wReserved, f.channelConfig);
  return text;
}

std::string Markers(const std::vector<QO_WAVE_MARKER>& markers) {
  std::string text;
  for (const QO_WAVE_MARKER& m : markers) {
    text += (text.empty() ? "" : " ") + std::to_string(m.ID) + "@" + std::to_string(m.position) +
            ":" + (m.label ? std::string(m.label, m.labelSize) : std::string(m.labelSize, '?'));
  }
  return text;
}

std::string Hex(const std::string& bytes) {
  std::string text;
  char cell[4];
  for (unsigned char c : bytes) {
    std::snprintf(cell, sizeof(cell), "%02X ", c);
    text += cell;
  }
  if (!text.empty()) text.pop_back();
  return text;
}

}  // namespace qotest
