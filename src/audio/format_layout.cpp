// Stored format facts and the published extensible layout.
#include "audio/format_layout.h"

#include <qobase/audio/wav_byte_swap.h>

#include <cstddef>
#include <cstring>
#include <utility>

namespace qobase_audio {
namespace {

// The first 40 bytes of a stored body in the published layout, numbers in host order.
StandardWaveFormatExtensible StandardBody(const WAVEFORMATEXTENSIBLE& stored, bool bigEndian) {
  StandardWaveFormatExtensible body;
  std::memcpy(&body, &stored, sizeof(body));
  if (bigEndian) WavByteSwapHelpers::Convert(body);
  return body;
}

// The sub-format of a stored body. The published sub-formats begin with their format tag; sox
// stores that tag big-endian in a "RIFX" file, the rest of the GUID as it is. A GUID the library
// knows is taken in that form too; any other GUID as stored, never swapped.
QO::SonvoAuthoringAPI::QoGuid SubFormatOf(const StandardWaveFormatExtensible& body,
                                          bool bigEndian) {
  QO::SonvoAuthoringAPI::QoGuid stored = body.SubFormat;
  if (!bigEndian || QO::IsKnownSubFormat(stored)) return stored;
  QO::SonvoAuthoringAPI::QoGuid tagSwapped = stored;
  unsigned char* bytes = reinterpret_cast<unsigned char*>(&tagSwapped);
  std::swap(bytes[0], bytes[1]);
  return QO::IsKnownSubFormat(tagSwapped) ? tagSwapped : stored;
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
    facts.subFormat = SubFormatOf(body, bigEndian);
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
  record.SubFormat = SubFormatOf(body, bigEndian);
  return record;
}

}  // namespace qobase_audio
