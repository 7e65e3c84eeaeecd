// Stored format facts and the published extensible layout.
#include "audio/format_layout.h"

#include <qobase/audio/wav_byte_swap.h>

#include <cstddef>
#include <cstring>

namespace qobase_audio {
namespace {

// The first 40 bytes of a stored body in the published layout, numbers in host order.
StandardWaveFormatExtensible StandardBody(const WAVEFORMATEXTENSIBLE& stored, bool bigEndian) {
  StandardWaveFormatExtensible body;
  std::memcpy(&body, &stored, sizeof(body));
  if (bigEndian) WavByteSwapHelpers::Convert(body);
  return body;
}

}  // namespace

QoWaveFormatFacts ReadFormatFacts(const WAVEFORMATEXTENSIBLE& stored, uint32_t bodySize,
                                  bool bigEndian) {
  const StandardWaveFormatExtensible body = StandardBody(stored, bigEndian);
  QoWaveFormatFacts facts{};
  facts.bodySize = bodySize;
  facts.formatTag = body.Format.wFormatTag;
  facts.numChannels = body.Format.nChannels;
  facts.sampleRate = body.Format.nSamplesPerSec;
  facts.blockAlign = body.Format.nBlockAlign;
  facts.bitsPerSample = body.Format.wBitsPerSample;
  facts.hasExtensibleFields = facts.formatTag == QO::k_waveFormatExtensible &&
                              bodySize >= sizeof(StandardWaveFormatExtensible);
  if (facts.hasExtensibleFields) {
    facts.validBitsPerSample = body.wValidBitsPerSample;
    facts.channelMask = body.dwChannelMask;
    facts.subFormat = body.SubFormat;  // a byte string: never swapped
  }
  return facts;
}

bool HasKnownStandardLayout(const QoWaveFormatFacts& facts) {
  return facts.hasExtensibleFields && QO::IsKnownSubFormat(facts.subFormat);
}

WAVEFORMATEXTENSIBLE StandardLayoutRecord(const WAVEFORMATEXTENSIBLE& stored, bool bigEndian) {
  const StandardWaveFormatExtensible body = StandardBody(stored, bigEndian);
  WAVEFORMATEXTENSIBLE record;
  std::memset(&record, 0, sizeof(record));
  record.wFormatTag = body.Format.wFormatTag;
  record.nChannels = body.Format.nChannels;
  record.nSamplesPerSec = body.Format.nSamplesPerSec;
  record.nAvgBytesPerSec = body.Format.nAvgBytesPerSec;
  record.nBlockAlign = body.Format.nBlockAlign;
  record.wBitsPerSample = body.Format.wBitsPerSample;
  record.cbSize = body.Format.cbSize;
  // Bytes 18-19 as stored, unswapped, as the default read keeps them for the compact form.
  std::memcpy(&record.wPadding1,
              reinterpret_cast<const unsigned char*>(&stored) +
                  offsetof(StandardWaveFormatExtensible, wValidBitsPerSample),
              2);
  record.wValidBitsPerSample = body.wValidBitsPerSample;
  record.dwChannelMask = body.dwChannelMask;
  record.SubFormat = body.SubFormat;
  return record;
}

}  // namespace qobase_audio
