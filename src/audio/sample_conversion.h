// Sample conversion loops shared by the readers and the writer. Each function converts a whole
// buffer with one loop chosen before it starts, with no branch on the format inside, so the
// compiler can vectorise it. Buffers are byte pointers: samples in files are not aligned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qobase_audio {

inline uint16_t Load16(const unsigned char* p) {
  uint16_t v;
  std::memcpy(&v, p, 2);
  return v;
}
inline uint32_t Load32(const unsigned char* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

// True when the loops below run their AVX2 build (the processor has it and it is allowed).
bool ConversionSimdAvailable();
// Switches the AVX2 builds off (or back on where the processor has them), so the plain loops can
// be exercised on any machine. Not thread-safe: meant for test set-up.
void SetConversionSimdAllowed(bool allowed);

// Signed 16-bit samples to float, scaled by 2^-15.
void Int16ToFloat(const unsigned char* in, float* out, size_t count, bool byteSwap);
// Signed 24-bit samples (3 bytes each, little- or big-endian) to float, scaled by 2^-23.
void Int24ToFloat(const unsigned char* in, float* out, size_t count, bool bigEndian);
// Signed 32-bit samples to float, scaled by 2^-31.
void Int32ToFloat(const unsigned char* in, float* out, size_t count, bool byteSwap);
// IEEE floats copied, byte-swapped when asked.
void Float32ToFloat(const unsigned char* in, float* out, size_t count, bool byteSwap);

// Float to 16-bit: x * 32767 clamped to [-32768, 32767], truncated toward zero; NaN gives -32768.
void FloatToInt16(const float* in, unsigned char* out, size_t count, bool bigEndian);
// Float to 24-bit: x * 8388607 clamped to [-8388608, 8388607], truncated; 3 bytes per sample.
void FloatToInt24(const float* in, unsigned char* out, size_t count, bool bigEndian);
// Floats copied, byte-swapped when asked.
void FloatToFloat32(const float* in, unsigned char* out, size_t count, bool bigEndian);
// 16-bit words copied, byte-swapped when asked.
void CopyInt16(const void* in, unsigned char* out, size_t count, bool byteSwap);

}  // namespace qobase_audio
