// Finding the characters the writers escape, sixteen bytes at a time where SSE2 is available:
// most texts hold none, and then the scan is all the escaping costs.
#pragma once

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qobase_text {

// Which characters each writer escapes, one bit per kind.
enum : unsigned char { k_xmlText = 1, k_xmlAttribute = 2, k_json = 4 };

struct EscapeTable {
  unsigned char kinds[256] = {};
  constexpr EscapeTable() {
    for (unsigned char c : {'&', '<', '>'}) kinds[c] = k_xmlText | k_xmlAttribute;
    kinds[static_cast<unsigned char>('"')] = k_xmlAttribute | k_json;
    for (unsigned char c : {'\\', '\b', '\t', '\n', '\f', '\r'}) kinds[c] = k_json;
  }
};

inline constexpr EscapeTable s_escapeTable{};

inline bool IsSpecial(char ch, unsigned char kind) {
  return (s_escapeTable.kinds[static_cast<unsigned char>(ch)] & kind) != 0;
}

// True for & < > (and " when `attribute`).
inline bool IsXmlSpecial(char ch, bool attribute) {
  return IsSpecial(ch, attribute ? k_xmlAttribute : k_xmlText);
}

// True for backslash, double quote, backspace, tab, line feed, form feed and carriage return.
inline bool IsJsonSpecial(char ch) { return IsSpecial(ch, k_json); }

#if defined(__SSE2__)
// Runs `hitsOf` over [p, end) sixteen bytes at a time and returns the first byte it flags that
// `isSpecial` confirms, or end. The last partial block is read as the sixteen bytes ending at
// `end`, which lie inside the text when it began at least sixteen bytes before; bytes before `p`
// are masked off.
template <class Hits, class IsSpecialFn>
inline const char* ScanBlocks(const char* begin, const char* p, const char* end, Hits hitsOf,
                              IsSpecialFn isSpecial) {
  auto firstConfirmed = [&](const char* base, unsigned mask) -> const char* {
    while (mask) {
      const char* candidate = base + __builtin_ctz(mask);
      if (isSpecial(*candidate)) return candidate;
      mask &= mask - 1;
    }
    return nullptr;
  };
  while (end - p >= 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hitsOf(v)))) {
      if (const char* found = firstConfirmed(p, mask)) return found;
    }
    p += 16;
  }
  if (p == end) return end;
  if (end - begin >= 16) {
    const char* base = end - 16;
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(base));
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hitsOf(v)));
    mask &= ~((1u << (p - base)) - 1u);
    const char* found = firstConfirmed(base, mask);
    return found ? found : end;
  }
  while (p < end && !isSpecial(*p)) ++p;
  return p;
}
#endif

// The first XML special character in [p, end), or end. `begin` is where the text starts
// (at or before p); the scan may read any byte of [begin, end).
inline const char* FindXmlSpecial(const char* begin, const char* p, const char* end,
                                  bool attribute) {
  const unsigned char kind = attribute ? k_xmlAttribute : k_xmlText;
#if defined(__SSE2__)
  const __m128i amp = _mm_set1_epi8('&'), lt = _mm_set1_epi8('<'), gt = _mm_set1_epi8('>');
  const __m128i quot = _mm_set1_epi8(attribute ? '"' : '&');
  return ScanBlocks(
      begin, p, end,
      [&](__m128i v) {
        return _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, amp), _mm_cmpeq_epi8(v, lt)),
                            _mm_or_si128(_mm_cmpeq_epi8(v, gt), _mm_cmpeq_epi8(v, quot)));
      },
      [kind](char ch) { return IsSpecial(ch, kind); });
#else
  (void)begin;
  while (p < end && !IsSpecial(*p, kind)) ++p;
  return p;
#endif
}

// The first JSON special character in [p, end), or end; `begin` as for FindXmlSpecial.
inline const char* FindJsonSpecial(const char* begin, const char* p, const char* end) {
#if defined(__SSE2__)
  const __m128i backslash = _mm_set1_epi8('\\'), quot = _mm_set1_epi8('"');
  const __m128i control = _mm_set1_epi8(0x1F);
  // Control bytes are candidates; only five of them are escaped.
  return ScanBlocks(
      begin, p, end,
      [&](__m128i v) {
        return _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, backslash), _mm_cmpeq_epi8(v, quot)),
                            _mm_cmpeq_epi8(_mm_min_epu8(v, control), v));
      },
      [](char ch) { return IsJsonSpecial(ch); });
#else
  (void)begin;
  while (p < end && !IsJsonSpecial(*p)) ++p;
  return p;
#endif
}

}  // namespace qobase_text
