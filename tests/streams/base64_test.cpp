// Base64 encoding and decoding, with and without the vector loops.
#include <qobase/streams/base64.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "mapping_facts.h"

namespace {

// Both directions also check the zero byte stored after a non-empty output (over stale content
// that a resize keeps), so the data can be read as a C string.
std::string Encoded(const std::string& bytes) {
  std::vector<char> out(bytes.size() * 2 + 8, 'z');
  QoBase64::Encode(bytes.data(), bytes.size(), out);
  EXPECT_EQ(out.empty() ? '\0' : out.data()[out.size()], '\0');
  return std::string(out.begin(), out.end());
}

std::vector<unsigned char> Decoded(const std::string& text) {
  std::vector<unsigned char> out(text.size() + 8, 0xEE);
  QoBase64::Decode(text.data(), text.size(), out);
  EXPECT_EQ(out.empty() ? 0 : out.data()[out.size()], 0);
  return out;
}

std::vector<unsigned char> Bytes(const std::string& text) {
  return std::vector<unsigned char>(text.begin(), text.end());
}

std::string RandomBytes(size_t length, std::mt19937& random) {
  std::string data(length, '\0');
  for (char& c : data) c = static_cast<char>(random());
  return data;
}

// Bit by bit, the slow and obvious way.
std::string ReferenceEncoded(const std::string& data) {
  std::string text;
  int bits = 0;
  int value = 0;
  for (unsigned char c : data) {
    for (int b = 7; b >= 0; --b) {
      value = (value << 1) | ((c >> b) & 1);
      if (++bits == 6) {
        text.push_back(QoBase64::szDigits[value]);
        bits = value = 0;
      }
    }
  }
  if (bits) text.push_back(QoBase64::szDigits[value << (6 - bits)]);
  while (text.size() % 4) text.push_back('=');
  return text;
}

TEST(Base64Encode, PadsTheLastGroupNeverBreaksLinesAndEndsWithAZero) {
  EXPECT_EQ(Encoded("") + "|" + Encoded("M") + "|" + Encoded("Ma") + "|" + Encoded("Man"),
            "|TQ==|TWE=|TWFu");
}

TEST(Base64RoundTrip, EveryLengthMatchesAReferenceEncoder) {
  // Lengths around every block size of the bulk loops, then one long buffer.
  std::mt19937 random(42);
  for (size_t step = 0; step <= 200; ++step) {
    const size_t length = step == 200 ? 100003 : step;
    const std::string data = RandomBytes(length, random);
    const std::string text = Encoded(data);
    ASSERT_EQ(text, ReferenceEncoded(data)) << length;
    ASSERT_EQ(Decoded(text), Bytes(data)) << length;
  }
}

TEST(Base64RoundTrip, LongBuffersAreMadeSliceBySliceWithTheSameBytes) {
  // Long outputs are written in slices of 49152 input bytes (encoding) and 65536 characters
  // (decoding): lengths on and around their edges, into empty and into stale outputs.
  std::mt19937 random(11);
  for (const size_t length :
       {49151u, 49152u, 49153u, 65535u, 65536u, 65537u, 98304u, 98306u, 131072u, 196611u}) {
    const std::string data = RandomBytes(length, random);
    std::vector<char> fresh;
    QoBase64::Encode(data.data(), data.size(), fresh);
    const std::string text = Encoded(data);
    ASSERT_EQ(std::string(fresh.begin(), fresh.end()), text) << length;
    ASSERT_EQ(text, ReferenceEncoded(data)) << length;
    std::vector<unsigned char> decoded;
    QoBase64::Decode(text.data(), text.size(), decoded);
    ASSERT_EQ(decoded, Bytes(data)) << length;
    ASSERT_EQ(Decoded(text), Bytes(data)) << length;
    // Outputs that hold a little stale content and have room for all of it.
    std::vector<char> partText(100, 'q');
    partText.reserve(2 * text.size());
    QoBase64::Encode(data.data(), data.size(), partText);
    ASSERT_EQ(std::string(partText.begin(), partText.end()), text) << length;
    ASSERT_EQ(partText.data()[partText.size()], '\0') << length;
    std::vector<unsigned char> partBytes(100, 0xEE);
    partBytes.reserve(2 * data.size());
    QoBase64::Decode(text.data(), text.size(), partBytes);
    ASSERT_EQ(partBytes, Bytes(data)) << length;
    ASSERT_EQ(partBytes.data()[partBytes.size()], 0) << length;
  }
}

TEST(Base64Decode, SliceEdgesChangeNothing) {
  // White space, padding, a short last group and an invalid character on and around the edge
  // of the first decoding slice (65536 characters).
  std::mt19937 random(13);
  const std::string data = RandomBytes(49152 + 30, random);  // 65576 characters
  const std::string text = Encoded(data);
  for (size_t position = 65530; position <= 65542; ++position) {
    std::string spaced = text;
    ASSERT_EQ(Decoded(spaced.insert(position, 1, '\n')), Bytes(data)) << position;
    std::string broken = text;
    ASSERT_TRUE(Decoded(broken.insert(position, 1, '*')).empty()) << position;
  }
  // The text ends on the edge, just before it and just after it, padded or short.
  for (const size_t bytes : {49151u, 49152u, 49153u, 49154u}) {
    const std::string piece = data.substr(0, bytes);
    const std::string padded = Encoded(piece);
    ASSERT_EQ(Decoded(padded), Bytes(piece)) << bytes;
    ASSERT_EQ(Decoded(padded + std::string(7, ' ')), Bytes(piece)) << bytes;
    const std::string shortGroup = padded.substr(0, padded.find('='));
    ASSERT_EQ(Decoded(shortGroup), Bytes(piece)) << bytes;
  }
  // The text cut on the edge, white space past it; white space alone.
  std::string trailing = text.substr(0, 65536) + "\r\n";
  EXPECT_EQ(Decoded(trailing), Bytes(data.substr(0, 49152)));
  EXPECT_EQ(Decoded(std::string(70000, ' ')), std::vector<unsigned char>());
}

TEST(Base64RoundTrip, OutputsOfManyMegabytesKeepEveryByteAndTheirMemoryAsItWas) {
  // Whole groups encode on their own, so pieces are checked against the reference. The outputs'
  // storage belongs to the caller's allocator, which hands it to other allocations once the
  // vector is gone: the codec must leave no memory policy (large pages) behind on it.
  std::mt19937 random(17);
  const std::string data = RandomBytes((9u << 20) + 2, random);
  std::vector<char> text;
  QoBase64::Encode(data.data(), data.size(), text);
  ASSERT_EQ(text.size(), (data.size() + 2) / 3 * 4);
  EXPECT_EQ(text.data()[text.size()], '\0');
  EXPECT_FALSE(qotest::FactsOfMappingAt(text.data() + text.size() / 2).largePagesAdvised);
  for (const size_t group : {size_t{0}, size_t{699050}, size_t{2097152}, text.size() / 4 - 8}) {
    const std::string piece = data.substr(3 * group, 24);
    ASSERT_EQ(std::string(text.data() + 4 * group,
                          text.data() + 4 * group + 4 * ((piece.size() + 2) / 3)),
              ReferenceEncoded(piece))
        << group;
  }
  std::vector<unsigned char> decoded;
  QoBase64::Decode(text.data(), text.size(), decoded);
  ASSERT_EQ(decoded.size(), data.size());
  EXPECT_TRUE(std::memcmp(decoded.data(), data.data(), data.size()) == 0);
  EXPECT_EQ(decoded.data()[decoded.size()], 0);
  EXPECT_FALSE(qotest::FactsOfMappingAt(decoded.data() + decoded.size() / 2).largePagesAdvised);
}

TEST(Base64Decode, ReadsFullPaddedAndShortGroupsSkippingSpace) {
  // Three values give two bytes, one none. An alphabet character or "=" with its high bit set
  // reads as the plain character.
  // clang-format off
  const std::pair<const char*, const char*> cases[] = {
      {"TWFu", "Man"}, {"TWE=", "Ma"}, {"TQ==", "M"}, {"QQ", "A"}, {"TWE", "Ma"}, {"T", ""},
      {"", ""}, {"TW Fu\n", "Man"}, {"TQ==\n", "M"}, {" \tT\rW\nE =\r\n \t", "Ma"},
      {"TQ= =", "M"}, {" \n\t\r", ""}, {"\xD4\xD7\xC6\xF5", "Man"}, {"TQ\xBD\xBD", "M"}};
  // clang-format on
  for (const auto& [text, bytes] : cases) EXPECT_EQ(Decoded(text), Bytes(bytes)) << text;
  // "=" outside the last two places of the last group is taken as the value 0xFF; a last
  // group whose fourth value is not padding gives three bytes even after a "=".
  EXPECT_EQ(Decoded("TQ==TWFu"), (std::vector<unsigned char>{0x4D, 0x3F, 0xFF, 'M', 'a', 'n'}));
  EXPECT_EQ(Decoded("TQ=A"), (std::vector<unsigned char>{0x4D, 0x3F, 0xC0}));

  std::vector<char> chars(20, 'z');
  QoBase64::Decode("Zm9vYg==", 8, chars);
  EXPECT_EQ(std::string(chars.data(), chars.size() + 1), std::string("foob", 5));

  // A long text broken into lines, as other encoders write it, decodes like the unbroken one.
  std::mt19937 random(3);
  const std::string data = RandomBytes(1000, random);
  const std::string flat = Encoded(data);
  std::string wrapped;
  for (size_t i = 0; i < flat.size(); i += 76) wrapped += flat.substr(i, 76) + "\r\n";
  EXPECT_EQ(Decoded(wrapped), Bytes(data));
}

TEST(Base64Decode, InvalidCharacterGivesEmptyOutputWhereverItStands) {
  const std::string invalid[] = {"TWF*", "TWFu\v", std::string("TW\0u", 4)};  // "\v" is no space
  for (const std::string& text : invalid) EXPECT_TRUE(Decoded(text).empty()) << text;
  // Each offset within the bulk loops and the character-by-character walk: a line feed is
  // skipped, a "!" empties the output, a high bit changes nothing.
  std::mt19937 random(5);
  const std::string data = RandomBytes(75, random);
  const std::string text = Encoded(data);
  for (size_t position = 0; position <= text.size(); ++position) {
    std::string spaced = text;
    EXPECT_EQ(Decoded(spaced.insert(position, 1, '\n')), Bytes(data)) << position;
    std::string broken = text;
    EXPECT_TRUE(Decoded(broken.insert(position, 1, '!')).empty()) << position;
    if (position < text.size() && text[position] != '=') {
      std::string highBit = text;
      highBit[position] = static_cast<char>(highBit[position] | 0x80);
      EXPECT_EQ(Decoded(highBit), Bytes(data)) << position;
    }
  }
}

TEST(Base64Decode, HostileTextNeverReadsOutOfBounds) {
  // Random texts over valid (0xC1 is "A" with its high bit), padding, space and invalid bytes;
  // the sanitizer build checks every access. Any text holding an invalid byte decodes to empty.
  const std::string pool = "AZaz09+/= \t\r\n\x80\xC1\xFF*";
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string text(random() % 40, ' ');
    for (char& c : text) c = pool[random() % pool.size()];
    const auto out = Decoded(text);
    if (text.find_first_of(std::string("\x80\xFF*", 3)) != std::string::npos) {
      EXPECT_TRUE(out.empty()) << text;
    }
    EXPECT_LE(out.size(), (text.size() + 3) / 4 * 3);
  }
  std::vector<unsigned char> out{9};
  QoBase64::Decode(nullptr, 10, out);
  EXPECT_TRUE(out.empty());
}

TEST(Base64Tables, DigitsAndDecodingTableAgree) {
  EXPECT_STREQ(QoBase64::szDigits,
               "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  for (int c = 0; c < 256; ++c) {
    const char* digit = (c & 0x7F) ? std::strchr(QoBase64::szDigits, c & 0x7F) : nullptr;
    const int expected = (c & 0x7F) == '=' ? QoBase64::k_padding
                         : digit           ? static_cast<int>(digit - QoBase64::szDigits)
                                           : QoBase64::k_invalid;
    EXPECT_EQ(QoBase64::szTable[c], expected) << c;
  }
}

}  // namespace
