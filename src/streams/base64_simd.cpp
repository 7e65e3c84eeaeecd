// QoBase64's vector loops for x86 processors with SSSE3.
#include "streams/base64_simd.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define QOBASE_BASE64_SIMD 1
#endif

namespace qobase_internal {

namespace {
bool s_simdAllowed = true;
}  // namespace

void SetBase64SimdAllowed(bool allowed) { s_simdAllowed = allowed; }

#if QOBASE_BASE64_SIMD

bool Base64SimdAvailable() {
  static const bool available = __builtin_cpu_supports("ssse3");
  return available && s_simdAllowed;
}

namespace {

// Spreads each 3 input bytes over 4 lanes holding one 6-bit value each.
__attribute__((target("ssse3"))) inline __m128i SplitSixBits(__m128i in) {
  in = _mm_shuffle_epi8(in, _mm_set_epi8(10, 11, 9, 10, 7, 8, 6, 7, 4, 5, 3, 4, 1, 2, 0, 1));
  const __m128i high =
      _mm_mulhi_epu16(_mm_and_si128(in, _mm_set1_epi32(0x0fc0fc00)), _mm_set1_epi32(0x04000040));
  const __m128i low =
      _mm_mullo_epi16(_mm_and_si128(in, _mm_set1_epi32(0x003f03f0)), _mm_set1_epi32(0x01000010));
  return _mm_or_si128(high, low);
}

// The alphabet character of each 6-bit value: value + an offset chosen by its range.
__attribute__((target("ssse3"))) inline __m128i ToAlphabet(__m128i values) {
  // 0 for values below 52, 1 to 12 for 52 to 63; 13 for values below 26.
  __m128i range = _mm_subs_epu8(values, _mm_set1_epi8(51));
  const __m128i upper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
  range = _mm_or_si128(range, _mm_and_si128(upper, _mm_set1_epi8(13)));
  const __m128i offsets =
      _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                    '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  return _mm_add_epi8(_mm_shuffle_epi8(offsets, range), values);
}

inline __m128i InRange(__m128i c, char first, char last) {
  return _mm_and_si128(_mm_cmpgt_epi8(c, _mm_set1_epi8(static_cast<char>(first - 1))),
                       _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(last + 1)), c));
}

}  // namespace

__attribute__((target("ssse3"))) size_t EncodeBlocksSimd(const unsigned char* in, size_t length,
                                                         unsigned char* out) {
  size_t done = 0;
  while (length - done >= 16) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), ToAlphabet(SplitSixBits(block)));
    done += 12;
    out += 16;
  }
  return done;
}

__attribute__((target("ssse3"))) size_t DecodeBlocksSimd(const unsigned char* in, size_t length,
                                                         unsigned char* out) {
  size_t done = 0;
  while (length - done > 16) {
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
    // Signed compares: bytes of 0x80 and above are negative and fall in no range, so they
    // go to the scalar code, which decodes them as their plain counterparts.
    const __m128i upper = InRange(c, 'A', 'Z');
    const __m128i lower = InRange(c, 'a', 'z');
    const __m128i digit = InRange(c, '0', '9');
    const __m128i plus = _mm_cmpeq_epi8(c, _mm_set1_epi8('+'));
    const __m128i slash = _mm_cmpeq_epi8(c, _mm_set1_epi8('/'));
    const __m128i valid =
        _mm_or_si128(_mm_or_si128(upper, lower), _mm_or_si128(digit, _mm_or_si128(plus, slash)));
    if (_mm_movemask_epi8(valid) != 0xFFFF) break;
    const __m128i shift =
        _mm_or_si128(_mm_or_si128(_mm_and_si128(upper, _mm_set1_epi8(-65)),
                                  _mm_and_si128(lower, _mm_set1_epi8(-71))),
                     _mm_or_si128(_mm_and_si128(digit, _mm_set1_epi8(4)),
                                  _mm_or_si128(_mm_and_si128(plus, _mm_set1_epi8(19)),
                                               _mm_and_si128(slash, _mm_set1_epi8(16)))));
    const __m128i values = _mm_add_epi8(c, shift);
    // Pairs of 6-bit values into 12 bits, pairs of those into 24 bits per 32-bit lane.
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    const __m128i bytes = _mm_shuffle_epi8(
        groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    done += 16;
    out += 12;
  }
  return done;
}

#else

bool Base64SimdAvailable() { return false; }
size_t EncodeBlocksSimd(const unsigned char*, size_t, unsigned char*) { return 0; }
size_t DecodeBlocksSimd(const unsigned char*, size_t, unsigned char*) { return 0; }

#endif

}  // namespace qobase_internal
