// Builds RIFF/WAVE (and other chunked) files byte by byte, in either byte order, so tests can
// describe exactly the bytes a reader sees, including broken ones.
#pragma once

#include <qobase/audio/wave_format.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qotest {

class ByteBuilder {
 public:
  explicit ByteBuilder(bool bigEndian = false) : m_bigEndian(bigEndian) {}

  ByteBuilder& U8(uint8_t v);
  ByteBuilder& U16(uint16_t v);
  ByteBuilder& U32(uint32_t v);
  ByteBuilder& U64(uint64_t v);
  ByteBuilder& F32(float v);
  ByteBuilder& F64(double v);
  // Raw bytes, never swapped (four-character codes, GUIDs, text).
  ByteBuilder& Raw(const std::string& bytes);
  ByteBuilder& Zeros(size_t count);
  // A chunk: four-character ID, u32 size (body size unless given), body, and a 0 pad byte
  // after an odd body when pad is true.
  ByteBuilder& Chunk(const std::string& id, const std::string& body, bool pad = true);
  ByteBuilder& ChunkWithSize(const std::string& id, uint32_t size, const std::string& body);

  const std::string& Bytes() const { return m_bytes; }

 private:
  bool m_bigEndian;
  std::string m_bytes;
};

// A whole WAVE file: "RIFF"/"RIFX", the RIFF size (the real one unless given), "WAVE", chunks.
std::string WaveFile(bool bigEndian, const std::string& chunks, int64_t riffSize = -1);

// A plain "fmt " body of 16 bytes (tag, channels, rate, block align and bits; average rate
// computed).
std::string FmtBody(bool bigEndian, uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits,
                    uint16_t blockAlign = 0);

// A "fmt " body in the published extensible layout: the basic fields, cbSize (22 plus the extra
// bytes), valid bits at body offset 18, channel mask at 20, sub-format at 24 (40 bytes), then
// `extra` zero bytes.
std::string StandardExtensibleBody(bool bigEndian, uint16_t channels, uint32_t rate, uint16_t bits,
                                   uint16_t validBits, uint32_t mask,
                                   const QO::SonvoAuthoringAPI::QoGuid& subFormat,
                                   uint16_t extra = 0);

// A 44-byte format record: the default channel mask, PCM sub-format (IEEE float for 32 bits).
WAVEFORMATEXTENSIBLE ExtensibleFormat(uint16_t channels, uint16_t bits, uint32_t rate = 44100,
                                      uint16_t tag = 0xFFFE);

// The fields of a compact format as "tag channels rate avg align bits cbSize reserved config"
// (tag, reserved and config in hex), for exact one-line comparisons.
std::string Fields(const WaveFormatExtensible& format);

// Markers as "ID@position:label ..." (the label's labelSize bytes), for exact comparisons.
std::string Markers(const std::vector<QO_WAVE_MARKER>& markers);

// Bytes as "46 46 49 52 ..." for readable assertion failures.
std::string Hex(const std::string& bytes);

}  // namespace qotest
