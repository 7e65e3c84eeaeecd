// The format chunk body as stored and its published extensible layout, read the same way by the
// WAV reader and the chunk editor. The library's own 44-byte record keeps the channel mask at
// offset 24 and the sub-format at 28; the published 40-byte body has them at 20 and 24, so a
// reader that copies such a body over the 44-byte record sees neither where it looks.
#pragma once

#include <qobase/audio/wave_format.h>

#include <cstdint>

namespace qobase_audio {

// The facts of a format body whose first min(bodySize, 44) bytes lie in `stored` exactly as in
// the file (numbers in the file's byte order, the rest of the record zero).
QoWaveFormatFacts ReadFormatFacts(const WAVEFORMATEXTENSIBLE& stored, uint32_t bodySize,
                                  bool bigEndian);

// Whether the body can be read by the published layout: it has the extensible fields and a
// sub-format the library knows.
bool HasKnownStandardLayout(const QoWaveFormatFacts& facts);

// The published layout (StandardWaveFormatExtensible) moved into the library's 44-byte record,
// numbers in host order: the basic fields and cbSize, body bytes 18-19 kept unswapped in
// wPadding1 (as the default read keeps them, for the compact form's carried field), then valid
// bits, mask and sub-format (a known GUID also with its leading tag big-endian, in a big-endian
// file).
WAVEFORMATEXTENSIBLE StandardLayoutRecord(const WAVEFORMATEXTENSIBLE& stored, bool bigEndian);

}  // namespace qobase_audio
