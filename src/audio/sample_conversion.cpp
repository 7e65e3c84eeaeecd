// Sample conversion loops between stored integer or float samples and float, plain and AVX2.
#include "audio/sample_conversion.h"

#include <cmath>

// These loops are the hot path of every sample read and write; let the compiler vectorise them
// fully whatever the build's optimisation level.
#if defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__)
#pragma GCC optimize("O3")
#endif

// On x86-64 each public loop is also built for AVX2 and that build is taken when the processor
// has it (and it has not been switched off); the loops are the same source, only wider.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__)
#define QOBASE_CONVERSION_AVX2 1
#include <immintrin.h>
#define QOBASE_INLINE_LOOP inline __attribute__((always_inline))
#else
#define QOBASE_CONVERSION_AVX2 0
#define QOBASE_INLINE_LOOP inline
#endif

namespace qobase_audio {
namespace {

constexpr float k_scale16 = 1.0f / 32768.0f;  // 2^-15
constexpr float k_scale32 =
    1.0f / 2147483648.0f;  // 2^-31; also 24-bit samples placed in the top bytes

template <bool Swap>
QOBASE_INLINE_LOOP void Int16ToFloatLoop(const unsigned char* __restrict in, float* __restrict out,
                                         size_t count) {
  for (size_t i = 0; i < count; ++i) {
    uint16_t u = Load16(in + 2 * i);
    if (Swap) u = static_cast<uint16_t>((u >> 8) | (u << 8));
    out[i] = static_cast<float>(static_cast<int16_t>(u)) * k_scale16;
  }
}

template <bool BigEndian>
QOBASE_INLINE_LOOP void Int24ToFloatLoop(const unsigned char* __restrict in, float* __restrict out,
                                         size_t count) {
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
QOBASE_INLINE_LOOP void Int32ToFloatLoop(const unsigned char* __restrict in, float* __restrict out,
                                         size_t count) {
  for (size_t i = 0; i < count; ++i) {
    uint32_t u = Load32(in + 4 * i);
    if (Swap) u = __builtin_bswap32(u);
    out[i] = static_cast<float>(static_cast<int32_t>(u)) * k_scale32;
  }
}

// The largest float x whose exact product x * scale is at or below -(scale + 1): every input up
// to it clamps to the most negative integer, every input above it does not.
float LowestUnclamped(double scale) {
  float bound = static_cast<float>(-(scale + 1.0) / scale);
  if (static_cast<double>(bound) * scale > -(scale + 1.0)) bound = std::nextafter(bound, -2.0f);
  return bound;
}

const float s_lowest16 = LowestUnclamped(32767.0);
const float s_lowest24 = LowestUnclamped(8388607.0);

// x * scale, clamped to [-(scale + 1), scale] and truncated toward zero. The clamp is done on the
// float input against the exact bounds (so it runs four lanes wide and sends NaN to the lower
// bound); the product is then exact in double and always within the integer range.
template <int Scale>
inline int32_t ScaleTruncate(float x, float lowest) {
  x = (x > lowest) ? x : lowest;
  x = (x < 1.0f) ? x : 1.0f;
  return static_cast<int32_t>(static_cast<double>(x) * Scale);
}

// Float to integer conversions work in runs of this many samples: the arithmetic, whose results
// stay 32 bits wide, then the narrowing or packing of its results.
constexpr size_t k_conversionRun = 256;

// The arithmetic of a run, one sample at a time: the reference for the wide form below.
struct PlainScaling {
  template <int Scale>
  static void Run(const float* __restrict in, int32_t* __restrict values, size_t n, float lowest) {
    for (size_t i = 0; i < n; ++i) values[i] = ScaleTruncate<Scale>(in[i], lowest);
  }
};

template <bool BigEndian, class Scaling>
QOBASE_INLINE_LOOP void FloatToInt16Loop(const float* __restrict in, unsigned char* __restrict out,
                                         size_t count) {
  const float lowest = s_lowest16;
  int32_t values[k_conversionRun];
  for (size_t start = 0; start < count; start += k_conversionRun) {
    const size_t n = count - start < k_conversionRun ? count - start : k_conversionRun;
    Scaling::template Run<32767>(in + start, values, n, lowest);
    unsigned char* p = out + 2 * start;
    for (size_t i = 0; i < n; ++i) {
      uint16_t u = static_cast<uint16_t>(values[i]);
      if (BigEndian) u = static_cast<uint16_t>((u >> 8) | (u << 8));
      std::memcpy(p + 2 * i, &u, 2);
    }
  }
}

template <bool BigEndian, class Scaling>
QOBASE_INLINE_LOOP void FloatToInt24Loop(const float* __restrict in, unsigned char* __restrict out,
                                         size_t count) {
  const float lowest = s_lowest24;
  int32_t values[k_conversionRun];
  for (size_t start = 0; start < count; start += k_conversionRun) {
    const size_t n = count - start < k_conversionRun ? count - start : k_conversionRun;
    Scaling::template Run<8388607>(in + start, values, n, lowest);
    unsigned char* p = out + 3 * start;
    for (size_t i = 0; i < n; ++i, p += 3) {
      const uint32_t u = static_cast<uint32_t>(values[i]);
      p[BigEndian ? 2 : 0] = static_cast<unsigned char>(u);
      p[1] = static_cast<unsigned char>(u >> 8);
      p[BigEndian ? 0 : 2] = static_cast<unsigned char>(u >> 16);
    }
  }
}

QOBASE_INLINE_LOOP void SwapWords32(const void* __restrict in, unsigned char* __restrict out,
                                    size_t count) {
  const unsigned char* bytes = static_cast<const unsigned char*>(in);
  for (size_t i = 0; i < count; ++i) {
    const uint32_t u = __builtin_bswap32(Load32(bytes + 4 * i));
    std::memcpy(out + 4 * i, &u, 4);
  }
}

QOBASE_INLINE_LOOP void SwapWords16(const void* __restrict in, unsigned char* __restrict out,
                                    size_t count) {
  const unsigned char* bytes = static_cast<const unsigned char*>(in);
  for (size_t i = 0; i < count; ++i) {
    uint16_t u = Load16(bytes + 2 * i);
    u = static_cast<uint16_t>((u >> 8) | (u << 8));
    std::memcpy(out + 2 * i, &u, 2);
  }
}

#if QOBASE_CONVERSION_AVX2
#define QOBASE_AVX2_TARGET __attribute__((target("avx2")))
bool DetectAvx2() {
  __builtin_cpu_init();  // may run before the library's other constructors
  return __builtin_cpu_supports("avx2");
}
const bool s_hasAvx2 = DetectAvx2();
#else
#define QOBASE_AVX2_TARGET
const bool s_hasAvx2 = false;
#endif
bool s_avx2Allowed = true;

#if QOBASE_CONVERSION_AVX2
// ScaleTruncate eight lanes wide, with the same operations in the same order (the compiler does
// not vectorise the scalar form): max and min select as the two comparisons do, NaN included
// (the second operand wins when the first is NaN), the widened product is the same exact double,
// and the conversion truncates.
template <int Scale>
QOBASE_AVX2_TARGET void ScaleRunAvx2(const float* __restrict in, int32_t* __restrict values,
                                     size_t n, float lowest) {
  const __m256 low = _mm256_set1_ps(lowest), one = _mm256_set1_ps(1.0f);
  const __m256d scale = _mm256_set1_pd(Scale);
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m256 x = _mm256_min_ps(_mm256_max_ps(_mm256_loadu_ps(in + i), low), one);
    const __m256d lower = _mm256_mul_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(x)), scale);
    const __m256d upper = _mm256_mul_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(x, 1)), scale);
    const __m256i both = _mm256_set_m128i(_mm256_cvttpd_epi32(upper), _mm256_cvttpd_epi32(lower));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(values + i), both);
  }
  for (; i < n; ++i) values[i] = ScaleTruncate<Scale>(in[i], lowest);
}

struct Avx2Scaling {
  template <int Scale>
  static void Run(const float* __restrict in, int32_t* __restrict values, size_t n, float lowest) {
    ScaleRunAvx2<Scale>(in, values, n, lowest);
  }
};
#else
using Avx2Scaling = PlainScaling;
#endif

inline bool UseAvx2() { return s_hasAvx2 && s_avx2Allowed; }

}  // namespace

void SetConversionSimdAllowed(bool allowed) { s_avx2Allowed = allowed; }
bool ConversionSimdAvailable() { return UseAvx2(); }

// Defines a public conversion: its body is built once plainly and once for AVX2, and the choice
// between the two is made once per call, never per sample.
#define QOBASE_DEFINE_CONVERSION(Name, InType, OutType, Flag, ...)        \
  namespace {                                                             \
  void Name##Default(InType in, OutType out, size_t count,                \
                     bool Flag){__VA_ARGS__} QOBASE_AVX2_TARGET void Name \
      ##Avx2(InType in, OutType out, size_t count, bool Flag) {           \
    __VA_ARGS__                                                           \
  }                                                                       \
  }                                                                       \
  void Name(InType in, OutType out, size_t count, bool Flag) {            \
    if (UseAvx2()) {                                                      \
      Name##Avx2(in, out, count, Flag);                                   \
    } else {                                                              \
      Name##Default(in, out, count, Flag);                                \
    }                                                                     \
  }

QOBASE_DEFINE_CONVERSION(Int16ToFloat, const unsigned char*, float*, byteSwap,
                         if (byteSwap) Int16ToFloatLoop<true>(in, out, count);
                         else Int16ToFloatLoop<false>(in, out, count);)
QOBASE_DEFINE_CONVERSION(Int24ToFloat, const unsigned char*, float*, bigEndian,
                         if (bigEndian) Int24ToFloatLoop<true>(in, out, count);
                         else Int24ToFloatLoop<false>(in, out, count);)
QOBASE_DEFINE_CONVERSION(Int32ToFloat, const unsigned char*, float*, byteSwap,
                         if (byteSwap) Int32ToFloatLoop<true>(in, out, count);
                         else Int32ToFloatLoop<false>(in, out, count);)
QOBASE_DEFINE_CONVERSION(Float32ToFloat, const unsigned char*, float*, byteSwap,
                         if (byteSwap)
                             SwapWords32(in, reinterpret_cast<unsigned char*>(out), count);
                         else std::memcpy(out, in, count * 4);)

// Float to integer: the same loops, with the arithmetic plain or eight lanes wide.
namespace {
void FloatToInt16Default(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (bigEndian) {
    FloatToInt16Loop<true, PlainScaling>(in, out, count);
  } else {
    FloatToInt16Loop<false, PlainScaling>(in, out, count);
  }
}
QOBASE_AVX2_TARGET void FloatToInt16Avx2(const float* in, unsigned char* out, size_t count,
                                         bool bigEndian) {
  if (bigEndian) {
    FloatToInt16Loop<true, Avx2Scaling>(in, out, count);
  } else {
    FloatToInt16Loop<false, Avx2Scaling>(in, out, count);
  }
}
void FloatToInt24Default(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (bigEndian) {
    FloatToInt24Loop<true, PlainScaling>(in, out, count);
  } else {
    FloatToInt24Loop<false, PlainScaling>(in, out, count);
  }
}
QOBASE_AVX2_TARGET void FloatToInt24Avx2(const float* in, unsigned char* out, size_t count,
                                         bool bigEndian) {
  if (bigEndian) {
    FloatToInt24Loop<true, Avx2Scaling>(in, out, count);
  } else {
    FloatToInt24Loop<false, Avx2Scaling>(in, out, count);
  }
}
}  // namespace

void FloatToInt16(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (UseAvx2()) {
    FloatToInt16Avx2(in, out, count, bigEndian);
  } else {
    FloatToInt16Default(in, out, count, bigEndian);
  }
}

void FloatToInt24(const float* in, unsigned char* out, size_t count, bool bigEndian) {
  if (UseAvx2()) {
    FloatToInt24Avx2(in, out, count, bigEndian);
  } else {
    FloatToInt24Default(in, out, count, bigEndian);
  }
}

QOBASE_DEFINE_CONVERSION(FloatToFloat32, const float*, unsigned char*, bigEndian,
                         if (bigEndian) SwapWords32(in, out, count);
                         else std::memcpy(out, in, count * 4);)
QOBASE_DEFINE_CONVERSION(CopyInt16, const void*, unsigned char*, byteSwap,
                         if (byteSwap) SwapWords16(in, out, count);
                         else std::memcpy(out, in, count * 2);)

}  // namespace qobase_audio
