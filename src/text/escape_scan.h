// Finding the characters the writers escape, sixteen bytes at a time where SSE2 is available:
// most texts hold none, and then the scan is all the escaping costs.
#pragma once

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qobase_text {

// True for & < > (and " when `attribute`).
inline bool IsXmlSpecial(char ch, bool attribute) {
  return ch == '&' || ch == '<' || ch == '>' || (attribute && ch == '"');
}

// True for backslash, double quote, backspace, tab, line feed, form feed and carriage return.
inline bool IsJsonSpecial(char ch) {
  return ch == '\\' || ch == '"' || ch == '\b' || ch == '\t' || ch == '\n' || ch == '\f' ||
         ch == '\r';
}

// The first XML special character in [p, end), or end.
inline const char* FindXmlSpecial(const char* p, const char* end, bool attribute) {
#if defined(__SSE2__)
  const __m128i amp = _mm_set1_epi8('&'), lt = _mm_set1_epi8('<'), gt = _mm_set1_epi8('>');
  const __m128i quot = _mm_set1_epi8(attribute ? '"' : '&');
  while (end - p >= 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i hits = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, amp), _mm_cmpeq_epi8(v, lt)),
                                      _mm_or_si128(_mm_cmpeq_epi8(v, gt), _mm_cmpeq_epi8(v, quot)));
    if (const int mask = _mm_movemask_epi8(hits)) return p + __builtin_ctz(static_cast<unsigned>(mask));
    p += 16;
  }
#endif
  while (p < end && !IsXmlSpecial(*p, attribute)) ++p;
  return p;
}

// The first JSON special character in [p, end), or end.
inline const char* FindJsonSpecial(const char* p, const char* end) {
#if defined(__SSE2__)
  const __m128i backslash = _mm_set1_epi8('\\'), quot = _mm_set1_epi8('"');
  const __m128i control = _mm_set1_epi8(0x1F);
  while (end - p >= 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    // Control bytes are candidates; only five of them are escaped.
    const __m128i hits =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, backslash), _mm_cmpeq_epi8(v, quot)),
                     _mm_cmpeq_epi8(_mm_min_epu8(v, control), v));
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hits));
    while (mask) {
      const char* candidate = p + __builtin_ctz(mask);
      if (IsJsonSpecial(*candidate)) return candidate;
      mask &= mask - 1;
    }
    p += 16;
  }
#endif
  while (p < end && !IsJsonSpecial(*p)) ++p;
  return p;
}

}  // namespace qobase_text
