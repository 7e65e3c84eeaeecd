#include "audio/sample_conversion.h"

// These loops are the hot path of every sample read and write; let the compiler vectorise them
// fully whatever the build's optimisation level.
#if defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__)
#pragma GCC optimize("O3")
#endif

namespace qobase_audio {
namespace {

constexpr float k_scale16 = 1.0f / 32768.0f;  // 2^-15
constexpr float k_scale32 = 1.0f / 2147483648.0f;  // 2^-31; also 24-bit samples placed in the top bytes

template <bool Swap>
void Int16ToFloatLoop(const unsigned char* __restrict in, float* __restrict out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    uint16_t u = Load16(in + 2 * i);
    if (Swap) u = static_cast<uint16_t>((u >> 8) | (u << 8));
    out[i] = static_cast<float>(static_cast<int16_t>(u)) * k_scale16;
  }
}

template <bool BigEndian>
void Int24ToFloatLoop(const unsigned char* __restrict in, float* __restrict out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const unsigned char* p = in + 3 * i;
    const uint32_t lo = BigEndian ? p[2] : p[0];
    const uint32_t mid = p[1];
    const uint32_t hi = BigEndian ? p[0] : p[2];
    // The sample in the top 24 bits of a signed 32-bit value: sign handled by the conversion.
    const int32_t v = static_cast<int32_t>((hi << 24) | (mid << 16) | (lo << 8));
    out[i] = static_cast<float>(v) * k_scale32;
  }
}

template <bool Swap>
void Int32ToFloatLoop(const unsigned char* __restrict in, float* __restrict out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    uint32_t u = Load32(in + 4 * i);
    if (Swap) u = __builtin_bswap32(u);
    out[i] = static_cast<float>(static_cast<int32_t>(u)) * k_scale32;
  }
}

template <bool BigEndian>
void FloatToInt16Loop(const float* __restrict in, unsigned char* __restrict out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    double v = static_cast<double>(in[i]) * 32767.0;
    v = (v > -32768.0) ? v : -32768.0;  // NaN lands here too
    v = (v < 32767.0) ? v : 32767.0;
    uint16_t u = static_cast<uint16_t>(static_cast<int32_t>(v));
    if (BigEndian) u = static_cast<uint16_t>((u >> 8) | (u << 8));
    std::memcpy(out + 2 * i, &u, 2);
  }
}

template <bool BigEndian>
void FloatToInt24Loop(const float* __restrict in, unsigned char* __restrict out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    double v = static_cast<double>(in[i]) * 8388607.0;
    v = (v > -8388608.0) ? v : -8388608.0;
    v = (v < 8388607.0) ? v : 8388607.0;
    const uint32_t u = static_cast<uint32_t>(static_cast<int32_t>(v));
    unsigned char* p = out + 3 * i;
    p[BigEndian ? 2 : 0] = static_cast<unsigned char>(u);
    p[1] = static_cast<unsigned char>(u >> 8);
    p[BigEndian ? 0 : 2] = static_cast<unsigned char>(u >> 16);
  }
}

void SwapWords32(const void* __restrict in, unsigned char* __restrict out, size_t count) {
  const unsigned char* bytes = static_cast<const unsigned char*>(in);
  for (size_t i = 0; i < count; ++i) {
    const uint32_t u = __builtin_bswap32(Load32(bytes + 4 * i));
    std::memcpy(out + 4 * i, &u, 4);
  }
}

void SwapWords16(const void* __restrict in, unsigned char* __restrict out, size_t count) {
  const unsigned char* bytes = static_cast<const unsigned char*>(in);
  for (size_t i = 0; i < count; ++i) {
    uint16_t u = Load16(bytes + 2 * i);
    u = static_cast<uint16_t>((u >> 8) | (u << 8));
    std::memcpy(out + 2 * i, &u, 2);
  }
}

}  // namespace

void Int16ToFloat(const unsigned char* in, float* out, size_t count, bool byteSwap) {
  if (byteSwap) {
    Int16ToFloatLoop<true>(in, out, count);
  } else {
    Int16ToFloatLoop<false>(in, out, count);
  }
}

void Int24ToFloat(const unsigned char* in, float* out, size_t count, bool bigEndian) {
  if (bigEndian) {
    Int24ToFloatLoop<true>(in, out, count);
  } else {
    Int24ToFloatLoop<false>(in, out, count);
  }
}

void Int32ToFloat(const unsigned char* in, float* out, size_t count, bool byteSwap) {
  if (byteSwap) {
    Int32ToFloatLoop<true>(in, out, count);
  } else {
    Int32ToFloatLoop<false>(in, out, count);
  }
}

void Float32ToFloat(const unsigned char* in, float* out, size_t count, bool byteSwap) {
  if (byteSwap) {
    SwapWords32(in, reinterpret_cast<unsigned char*>(out), count);
  } else {
    std::memcpy(out, in, count * 4);
  }
}

void FloatToInt16(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (bigEndian) {
    FloatToInt16Loop<true>(in, out, count);
  } else {
    FloatToInt16Loop<false>(in, out, count);
  }
}

void FloatToInt24(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (bigEndian) {
    FloatToInt24Loop<true>(in, out, count);
  } else {
    FloatToInt24Loop<false>(in, out, count);
  }
}

void FloatToFloat32(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (bigEndian) {
    SwapWords32(in, out, count);
  } else {
    std::memcpy(out, in, count * 4);
  }
}

void CopyInt16(const void* in, unsigned char* out, size_t count, bool byteSwap) {
  if (byteSwap) {
    SwapWords16(in, out, count);
  } else {
    std::memcpy(out, in, count * 2);
  }
}

}  // namespace qobase_audio
