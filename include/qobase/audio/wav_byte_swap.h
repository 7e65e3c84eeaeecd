// Byte-order helpers for big-endian ("RIFX") WAVE files: reverse the numeric fields of a record
// in place (never its four-character codes, padding or GUID), and convert sample buffers.
#pragma once

#include <qobase/audio/wave_format.h>

#include <cstdint>

class WavByteSwapHelpers {
 public:
  static uint16_t Swap16(uint16_t v) { return static_cast<uint16_t>((v >> 8) | (v << 8)); }
  static uint32_t Swap32(uint32_t v) { return __builtin_bswap32(v); }

  // The chunk size only; the ID stays.
  static void Convert(RIFFHEADER& header);
  // The seven fields.
  static void Convert(tWAVEFORMATEX& format);
  // The basic fields, cbSize, wValidBitsPerSample and dwChannelMask; not the padding or GUID.
  static void Convert(WAVEFORMATEXTENSIBLE& format);
  // The basic fields, cbSize, wValidBitsPerSample and dwChannelMask; not the GUID.
  static void Convert(StandardWaveFormatExtensible& format);
  // The basic fields, cbSize, the u16 at offset 18 and the channel configuration.
  static void Convert(WaveFormatExtensible& format);
  static void Convert(SAMPLER& sampler);
  static void Convert(SAMPLER_LOOP& loop);
  // Every field but fccChunk.
  static void Convert(WAV_CUE& cue);

  // Converts size bytes of samples in place by wBitsPerSample: 16 and 32 bits swap every word
  // that starts below size; 8 bits flip the sign bit of every byte (unsigned <-> signed) unless
  // keep8Bit is true; any other width is left as it is.
  static void ConvertData(unsigned char* data, unsigned int size,
                          const WaveFormatExtensible& format, bool keep8Bit);
  static void ConvertData(unsigned char* data, unsigned int size,
                          const WAVEFORMATEXTENSIBLE& format, bool keep8Bit);
};
