// QoBase64: bytes to Base64 text and back, with the alphabet and padding of RFC 4648 and no
// line breaks.
#pragma once

#include <cstddef>
#include <vector>

class QoBase64 {
 public:
  // The 64 characters of the alphabet, in value order (and a terminating zero).
  static const char szDigits[65];
  // The decoding table: the value of each alphabet character, also with its high bit set;
  // k_padding for "=" (and "=" | 0x80); k_invalid for every other byte.
  static const unsigned char szTable[256];
  static constexpr unsigned char k_invalid = 0xFE;
  static constexpr unsigned char k_padding = 0xFF;

  // Replaces `output` by the Base64 text of the bytes: 4 * ceil(length / 3) characters padded
  // with "=", followed in the vector's storage (not its size) by a zero byte so the data can be
  // read as a C string. Empty input gives empty output. "Man" gives "TWFu", "M" gives "TQ==".
  static void Encode(const void* bytes, size_t length, std::vector<char>& output);

  // Replaces `output` by the bytes of the Base64 text. Blank, tab, line feed and carriage return
  // are skipped wherever they stand; any other byte outside the alphabet and "=" makes the
  // output empty. The last group may be padded or short: "TWE=" gives "Ma", "QQ" gives "A".
  // A zero byte follows the decoded bytes in the vector's storage.
  static void Decode(const char* text, size_t length, std::vector<unsigned char>& output);
  static void Decode(const char* text, size_t length, std::vector<char>& output);
};
