// Stored format facts and the published extensible layout.
#include "audio/format_layout.h"

#include <qobase/audio/wav_byte_swap.h>

#include <cstring>

#include "audio/sample_conversion.h"

namespace qobase_audio {
namespace {

constexpr uint32_t k_standardExtensibleBodySize = 40;

uint16_t Get16(const unsigned char* p, bool bigEndian) {
  const uint16_t v = Load16(p);
  return bigEndian ? WavByteSwapHelpers::Swap16(v) : v;
}

uint32_t Get32(const unsigned char* p, bool bigEndian) {
  const uint32_t v = Load32(p);
  return bigEndian ? WavByteSwapHelpers::Swap32(v) : v;
}

const unsigned char* BytesOf(const WAVEFORMATEXTENSIBLE& record) {
  return reinterpret_cast<const unsigned char*>(&record);
}

}  // namespace

QoWaveFormatFacts ReadFormatFacts(const WAVEFORMATEXTENSIBLE& stored, uint32_t bodySize,
                                  bool bigEndian) {
  const unsigned char* body = BytesOf(stored);
  QoWaveFormatFacts facts{};
  facts.bodySize = bodySize;
  facts.formatTag = Get16(body, bigEndian);
  facts.numChannels = Get16(body + 2, bigEndian);
  facts.sampleRate = Get32(body + 4, bigEndian);
  facts.blockAlign = Get16(body + 12, bigEndian);
  facts.bitsPerSample = Get16(body + 14, bigEndian);
  facts.hasExtensibleFields =
      facts.formatTag == QO::k_waveFormatExtensible && bodySize >= k_standardExtensibleBodySize;
  if (facts.hasExtensibleFields) {
    facts.validBitsPerSample = Get16(body + 18, bigEndian);
    facts.channelMask = Get32(body + 20, bigEndian);
    // A GUID is a byte string: the same bytes in either container byte order.
    std::memcpy(&facts.subFormat, body + 24, sizeof(facts.subFormat));
  }
  return facts;
}

bool HasKnownStandardLayout(const QoWaveFormatFacts& facts) {
  return facts.hasExtensibleFields && QO::IsKnownSubFormat(facts.subFormat);
}

WAVEFORMATEXTENSIBLE StandardLayoutRecord(const WAVEFORMATEXTENSIBLE& stored,
                                          const QoWaveFormatFacts& facts, bool bigEndian) {
  const unsigned char* body = BytesOf(stored);
  WAVEFORMATEXTENSIBLE record;
  std::memset(&record, 0, sizeof(record));
  record.wFormatTag = facts.formatTag;
  record.nChannels = facts.numChannels;
  record.nSamplesPerSec = facts.sampleRate;
  record.nAvgBytesPerSec = Get32(body + 8, bigEndian);
  record.nBlockAlign = facts.blockAlign;
  record.wBitsPerSample = facts.bitsPerSample;
  record.cbSize = Get16(body + 16, bigEndian);
  std::memcpy(&record.wPadding1, body + 18, 2);
  record.wValidBitsPerSample = facts.validBitsPerSample;
  record.dwChannelMask = facts.channelMask;
  record.SubFormat = facts.subFormat;
  return record;
}

}  // namespace qobase_audio
