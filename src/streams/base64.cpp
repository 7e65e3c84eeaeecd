// QoBase64: Base64 encoding and decoding, the plain loops and the choice of the vector ones.
#include <qobase/streams/base64.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "platform/memory_platform.h"
#include "streams/base64_simd.h"

namespace {

constexpr char k_alphabet[65] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<unsigned char, 256> MakeDecodingTable() {
  std::array<unsigned char, 256> table{};
  for (auto& entry : table) entry = QoBase64::k_invalid;
  for (int i = 0; i < 64; ++i) {
    const auto c = static_cast<unsigned char>(k_alphabet[i]);
    table[c] = static_cast<unsigned char>(i);
    table[c + 128] = static_cast<unsigned char>(i);
  }
  table['='] = QoBase64::k_padding;
  table['=' + 128] = QoBase64::k_padding;
  return table;
}

constexpr std::array<unsigned char, 256> k_decodingTable = MakeDecodingTable();

// Encoding: every 12-bit half of a 3-byte group maps to two characters, stored as one 16-bit
// word in memory order, so a group costs two loads and one store with no branches.
constexpr std::array<uint16_t, 4096> MakePairTable() {
  std::array<uint16_t, 4096> table{};
  for (int v = 0; v < 4096; ++v) {
    const auto first = static_cast<unsigned char>(k_alphabet[v >> 6]);
    const auto second = static_cast<unsigned char>(k_alphabet[v & 0x3F]);
    table[v] = static_cast<uint16_t>(first | (second << 8));
  }
  return table;
}

constexpr std::array<uint16_t, 4096> k_pairTable = MakePairTable();

// Decoding: the value of a character already shifted into its place in a 24-bit group. Any
// byte that is not a plain alphabet character (white space, "=", invalid) sets bit 24, so one OR
// of four lookups tells whether the group can take the fast path.
constexpr uint32_t k_slowPath = 1u << 24;

constexpr std::array<uint32_t, 256> MakeShiftedTable(int shift) {
  std::array<uint32_t, 256> table{};
  for (int c = 0; c < 256; ++c) {
    const unsigned char value = k_decodingTable[c];
    table[c] = value < 64 ? static_cast<uint32_t>(value) << shift : k_slowPath;
  }
  return table;
}

constexpr std::array<uint32_t, 256> k_shifted18 = MakeShiftedTable(18);
constexpr std::array<uint32_t, 256> k_shifted12 = MakeShiftedTable(12);
constexpr std::array<uint32_t, 256> k_shifted6 = MakeShiftedTable(6);
constexpr std::array<uint32_t, 256> k_shifted0 = MakeShiftedTable(0);

bool IsSkippedSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The 24 bits of four characters, with k_slowPath set when any of them is not a plain
// alphabet character.
inline uint32_t LookupGroup(const unsigned char* p) {
  return k_shifted18[p[0]] | k_shifted12[p[1]] | k_shifted6[p[2]] | k_shifted0[p[3]];
}

// Writes the three bytes of a full group; `out` has at least four bytes of room.
inline unsigned char* PutGroup(unsigned char* out, uint32_t group) {
  const uint32_t bigEndian = __builtin_bswap32(group << 8);
  std::memcpy(out, &bigEndian, 4);
  return out + 3;
}

// The 8-bit results of a group of four values, as the reference decoder computes them (values
// of 0xFF from a misplaced "=" included).
inline void GroupBytes(const unsigned char* v, unsigned char* bytes) {
  bytes[0] = static_cast<unsigned char>((v[0] << 2) | (v[1] >> 4));
  bytes[1] = static_cast<unsigned char>((v[1] << 4) | (v[2] >> 2));
  bytes[2] = static_cast<unsigned char>((v[2] << 6) | v[3]);
}

// Large outputs are made a slice at a time: the vector grows by one slice, whose zero fill stays
// in the cache, and the slice is written at once, instead of a zero fill of the whole output
// followed by a second pass over memory that has long left the cache. A fresh output asks for
// large pages as it goes (LargePageFill), which saves most of the cost of faulting it in.
constexpr size_t k_encodeSliceGroups = 16384;  // 48 KiB of bytes, 64 KiB of text
constexpr size_t k_decodeSliceChars = 65536;

// The room a decoder needs once it has read the characters before `limit`: three bytes per
// four characters started, and 4 spare bytes for the wide stores.
size_t DecodeRoom(size_t limit) { return (limit + 3) / 4 * 3 + 4; }

// Reserves room for `size` elements. The old content is dropped first when the storage must be
// replaced: it is about to be overwritten anyway.
template <typename Byte>
void ReserveFresh(std::vector<Byte>& output, size_t size) {
  if (output.capacity() >= size) return;
  output.clear();
  output.reserve(size);
}

// Makes `output` hold at least `size` elements; the ones it holds already are kept as they are,
// to be overwritten without a fill.
template <typename Byte>
void GrowTo(std::vector<Byte>& output, size_t size) {
  if (output.size() < size) output.resize(size);
}

// A decoding in progress: the characters of [in, in + end) (trailing white space dropped), the
// next one at `next`, and the values of the group being collected.
struct Decoder {
  const unsigned char* in;
  size_t end;
  size_t next = 0;
  unsigned char values[4] = {0, 0, 0, 0};
  int count = 0;
  bool finished = false;  // the last group was written
};

// Decodes the characters of [d.next, limit) into `out`, the output position, which has room up
// to DecodeRoom(limit) counted from the output's start. Returns the new output position, or null
// for an invalid character.
unsigned char* DecodeUpTo(Decoder& d, size_t limit, unsigned char* out) {
  const unsigned char* const in = d.in;
  size_t i = d.next;
  while (i < limit) {
    if (d.count == 0) {
      if (qobase_internal::Base64SimdAvailable()) {
        const size_t done = qobase_internal::DecodeBlocksSimd(in + i, limit - i, out);
        i += done;
        out += done / 4 * 3;
      }
      // Fast path: whole groups of four alphabet characters that are not the last group, four
      // at a time and then one. The 8-byte stores stay inside the room: more characters
      // follow, and the room has 4 spare bytes.
      while (i + 16 < limit) {
        const uint32_t g0 = LookupGroup(in + i);
        const uint32_t g1 = LookupGroup(in + i + 4);
        const uint32_t g2 = LookupGroup(in + i + 8);
        const uint32_t g3 = LookupGroup(in + i + 12);
        if ((g0 | g1 | g2 | g3) & k_slowPath) break;
        const uint64_t a = __builtin_bswap64(((static_cast<uint64_t>(g0) << 24) | g1) << 16);
        const uint64_t b = __builtin_bswap64(((static_cast<uint64_t>(g2) << 24) | g3) << 16);
        std::memcpy(out, &a, 8);
        std::memcpy(out + 6, &b, 8);
        out += 12;
        i += 16;
      }
      while (i + 4 < limit) {
        const uint32_t group = LookupGroup(in + i);
        if (group & k_slowPath) break;
        out = PutGroup(out, group);
        i += 4;
      }
      if (i >= limit) break;
    }
    const unsigned char c = in[i++];
    if (IsSkippedSpace(c)) continue;
    const unsigned char value = k_decodingTable[c];
    if (value == QoBase64::k_invalid) return nullptr;
    unsigned char* const values = d.values;
    values[d.count++] = value;
    if (d.count == 4) {
      d.count = 0;
      unsigned char bytes[3];
      if (i == d.end) {
        // The last group: padding in the last two places counts as zero.
        size_t produced = 3;
        if (values[3] == QoBase64::k_padding) {
          const bool onlyOne = values[2] == QoBase64::k_padding;
          values[3] = 0;
          if (onlyOne) values[2] = 0;
          produced = onlyOne ? 1 : 2;
        }
        GroupBytes(values, bytes);
        std::memcpy(out, bytes, produced);
        d.next = i;
        d.finished = true;
        return out + produced;
      }
      GroupBytes(values, bytes);
      std::memcpy(out, bytes, 3);
      out += 3;
    }
  }
  d.next = i;
  return out;
}

// Ends a decoding that read every character: a short last group of k values gives (6 * k) / 8
// bytes, missing values taken as zero.
unsigned char* FinishDecoding(Decoder& d, unsigned char* out) {
  if (d.finished || d.count == 0) return out;
  for (int k = d.count; k < 4; ++k) d.values[k] = 0;
  unsigned char bytes[3];
  GroupBytes(d.values, bytes);
  const int produced = (6 * d.count) / 8;
  std::memcpy(out, bytes, static_cast<size_t>(produced));
  return out + produced;
}

template <typename Byte>
void DecodeToVector(const char* text, size_t length, std::vector<Byte>& output) {
  if (!text || length == 0) {
    output.clear();
    return;
  }
  Decoder d;
  d.in = reinterpret_cast<const unsigned char*>(text);
  // The last group is the one holding the last character that is not white space.
  d.end = length;
  while (d.end > 0 && IsSkippedSpace(d.in[d.end - 1])) --d.end;
  ReserveFresh(output, DecodeRoom(length));
  qobase_internal::LargePageFill pages;
  size_t produced = 0;
  while (d.next < d.end && !d.finished) {
    const size_t limit = d.end - d.next > k_decodeSliceChars ? d.next + k_decodeSliceChars : d.end;
    GrowTo(output, DecodeRoom(limit));
    auto* const start = reinterpret_cast<unsigned char*>(output.data());
    const unsigned char* const out = DecodeUpTo(d, limit, start + produced);
    if (!out) {
      output.clear();
      return;
    }
    produced = static_cast<size_t>(out - start);
    pages.Advance(start, output.size(), output.capacity());
  }
  pages.Finish();
  GrowTo(output, DecodeRoom(0));  // for white space only
  auto* const start = reinterpret_cast<unsigned char*>(output.data());
  produced = static_cast<size_t>(FinishDecoding(d, start + produced) - start);
  output[produced] = 0;  // stays in the storage after the resize: the data reads as a C string
  output.resize(produced);
}

// Encodes the `groups` whole 3-byte groups at `in` into 4 * groups characters at `out`;
// `readable` bytes from `in` on may be read.
void EncodeGroups(const unsigned char* in, size_t groups, size_t readable, unsigned char* out) {
  const unsigned char* const end = in + 3 * groups;
  if (qobase_internal::Base64SimdAvailable()) {
    // The vector loop reads 16 bytes for every 12 it encodes.
    const size_t done =
        qobase_internal::EncodeBlocksSimd(in, std::min(readable, 3 * groups + 4), out);
    in += done;
    out += done / 3 * 4;
  }
  // Two groups per step from one 8-byte load, while 8 bytes are readable.
  while (end - in >= 6 && static_cast<size_t>(end - in) + (readable - 3 * groups) >= 8) {
    uint64_t word;
    std::memcpy(&word, in, 8);
    word = __builtin_bswap64(word);
    const auto first = static_cast<uint32_t>(word >> 40);
    const auto second = static_cast<uint32_t>(word >> 16) & 0xFFFFFF;
    const uint64_t chars = static_cast<uint64_t>(k_pairTable[first >> 12]) |
                           (static_cast<uint64_t>(k_pairTable[first & 0xFFF]) << 16) |
                           (static_cast<uint64_t>(k_pairTable[second >> 12]) << 32) |
                           (static_cast<uint64_t>(k_pairTable[second & 0xFFF]) << 48);
    std::memcpy(out, &chars, 8);
    in += 6;
    out += 8;
  }
  for (; in < end; in += 3, out += 4) {
    const uint32_t group =
        (static_cast<uint32_t>(in[0]) << 16) | (static_cast<uint32_t>(in[1]) << 8) | in[2];
    const uint32_t chars = static_cast<uint32_t>(k_pairTable[group >> 12]) |
                           (static_cast<uint32_t>(k_pairTable[group & 0xFFF]) << 16);
    std::memcpy(out, &chars, 4);
  }
}

}  // namespace

const char QoBase64::szDigits[65] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

const unsigned char QoBase64::szTable[256] = {
#define QOBASE64_ROW(r)                                                                           \
  k_decodingTable[r + 0], k_decodingTable[r + 1], k_decodingTable[r + 2], k_decodingTable[r + 3], \
      k_decodingTable[r + 4], k_decodingTable[r + 5], k_decodingTable[r + 6],                     \
      k_decodingTable[r + 7]
    QOBASE64_ROW(0),   QOBASE64_ROW(8),   QOBASE64_ROW(16),  QOBASE64_ROW(24),  QOBASE64_ROW(32),
    QOBASE64_ROW(40),  QOBASE64_ROW(48),  QOBASE64_ROW(56),  QOBASE64_ROW(64),  QOBASE64_ROW(72),
    QOBASE64_ROW(80),  QOBASE64_ROW(88),  QOBASE64_ROW(96),  QOBASE64_ROW(104), QOBASE64_ROW(112),
    QOBASE64_ROW(120), QOBASE64_ROW(128), QOBASE64_ROW(136), QOBASE64_ROW(144), QOBASE64_ROW(152),
    QOBASE64_ROW(160), QOBASE64_ROW(168), QOBASE64_ROW(176), QOBASE64_ROW(184), QOBASE64_ROW(192),
    QOBASE64_ROW(200), QOBASE64_ROW(208), QOBASE64_ROW(216), QOBASE64_ROW(224), QOBASE64_ROW(232),
    QOBASE64_ROW(240), QOBASE64_ROW(248),
#undef QOBASE64_ROW
};

void QoBase64::Encode(const void* bytes, size_t length, std::vector<char>& output) {
  if (!bytes || length == 0) {
    output.clear();
    return;
  }
  const size_t textLength = (length + 2) / 3 * 4;
  ReserveFresh(output, textLength + 4);
  const auto* in = static_cast<const unsigned char*>(bytes);
  const size_t groups = length / 3;
  qobase_internal::LargePageFill pages;
  for (size_t done = 0; done < groups;) {
    const size_t slice = std::min(groups - done, k_encodeSliceGroups);
    GrowTo(output, 4 * (done + slice));
    EncodeGroups(in + 3 * done, slice, length - 3 * done,
                 reinterpret_cast<unsigned char*>(output.data()) + 4 * done);
    done += slice;
    pages.Advance(output.data(), output.size(), output.capacity());
  }
  pages.Finish();
  const size_t rest = length - 3 * groups;
  if (rest > 0) {
    in += 3 * groups;
    const uint32_t group =
        (static_cast<uint32_t>(in[0]) << 16) | (rest == 2 ? static_cast<uint32_t>(in[1]) << 8 : 0u);
    GrowTo(output, textLength);
    char* last = output.data() + 4 * groups;
    last[0] = k_alphabet[group >> 18];
    last[1] = k_alphabet[(group >> 12) & 0x3F];
    last[2] = rest == 2 ? k_alphabet[(group >> 6) & 0x3F] : '=';
    last[3] = '=';
  }
  // A zero byte after the text, left in the storage: the data reads as a C string.
  GrowTo(output, textLength + 1);
  output[textLength] = '\0';
  output.resize(textLength);
}

void QoBase64::Decode(const char* text, size_t length, std::vector<unsigned char>& output) {
  DecodeToVector(text, length, output);
}

void QoBase64::Decode(const char* text, size_t length, std::vector<char>& output) {
  DecodeToVector(text, length, output);
}
