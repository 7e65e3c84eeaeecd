#include <qobase/streams/base64.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

std::string Encoded(const std::string& bytes) {
  std::vector<char> out{'s', 't', 'a', 'l', 'e'};
  QoBase64::Encode(bytes.data(), bytes.size(), out);
  return std::string(out.begin(), out.end());
}

std::vector<unsigned char> Decoded(const std::string& text) {
  std::vector<unsigned char> out{1, 2, 3};
  QoBase64::Decode(text.data(), text.size(), out);
  return out;
}

std::vector<unsigned char> Bytes(const std::string& text) {
  return std::vector<unsigned char>(text.begin(), text.end());
}

TEST(Base64Encode, PadsTheLastGroupAndNeverBreaksLines) {
  EXPECT_EQ(Encoded(""), "");
  EXPECT_EQ(Encoded("M"), "TQ==");
  EXPECT_EQ(Encoded("Ma"), "TWE=");
  EXPECT_EQ(Encoded("Man"), "TWFu");
  EXPECT_EQ(Encoded("foob"), "Zm9vYg==");
  EXPECT_EQ(Encoded("fooba"), "Zm9vYmE=");
  EXPECT_EQ(Encoded("foobar"), "Zm9vYmFy");
  EXPECT_EQ(Encoded(std::string("\x00\xFF\xFE", 3)), "AP/+");
  EXPECT_EQ(Encoded(std::string("\xFB\xEF\xBE", 3)), "++++");

  const std::string long_input(3000, 'x');
  const std::string text = Encoded(long_input);
  EXPECT_EQ(text.size(), 4000u);
  EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

TEST(Base64Encode, StoresAZeroAfterTheText) {
  for (size_t length : {1u, 2u, 3u, 4u, 100u}) {
    const std::string input(length, 'a');
    std::vector<char> out(500, 'z');
    QoBase64::Encode(input.data(), input.size(), out);
    ASSERT_EQ(out.size(), (length + 2) / 3 * 4);
    ASSERT_GT(out.capacity(), out.size());
    EXPECT_EQ(out.data()[out.size()], '\0') << length;
  }
}

TEST(Base64Decode, ReadsFullPaddedAndShortGroups) {
  EXPECT_EQ(Decoded("TWFu"), Bytes("Man"));
  EXPECT_EQ(Decoded("TWE="), Bytes("Ma"));
  EXPECT_EQ(Decoded("TQ=="), Bytes("M"));
  EXPECT_EQ(Decoded("QQ"), Bytes("A"));
  EXPECT_EQ(Decoded("TWE"), Bytes("Ma"));  // three values give two bytes
  EXPECT_EQ(Decoded("T"), Bytes(""));      // one value gives none
  EXPECT_EQ(Decoded(""), Bytes(""));
  EXPECT_EQ(Decoded("Zm9vYmFy"), Bytes("foobar"));
  EXPECT_EQ(Decoded("AP/+"), Bytes(std::string("\x00\xFF\xFE", 3)));

  std::vector<char> chars;
  QoBase64::Decode("Zm9vYg==", 8, chars);
  EXPECT_EQ(std::string(chars.begin(), chars.end()), "foob");
  ASSERT_GT(chars.capacity(), chars.size());
  EXPECT_EQ(chars.data()[chars.size()], '\0');
}

TEST(Base64Decode, SkipsBlankTabLineFeedAndCarriageReturnAnywhere) {
  EXPECT_EQ(Decoded("TW Fu\n"), Bytes("Man"));
  EXPECT_EQ(Decoded("TQ==\n"), Bytes("M"));
  EXPECT_EQ(Decoded(" \tT\rW\nE =\r\n \t"), Bytes("Ma"));
  EXPECT_EQ(Decoded("TQ= ="), Bytes("M"));
  EXPECT_EQ(Decoded(" \n\t\r"), Bytes(""));

  // A long text broken into lines, as other encoders write it, decodes like the unbroken one.
  std::string data;
  for (int i = 0; i < 1000; ++i) data.push_back(static_cast<char>(i * 7));
  const std::string flat = Encoded(data);
  std::string wrapped;
  for (size_t i = 0; i < flat.size(); i += 76) wrapped += flat.substr(i, 76) + "\r\n";
  EXPECT_EQ(Decoded(wrapped), Bytes(data));
  wrapped.insert(wrapped.size() / 2 + 1, " \t ");
  EXPECT_EQ(Decoded(wrapped), Bytes(data));
}

TEST(Base64Decode, InvalidCharacterGivesEmptyOutputWhereverItStands) {
  EXPECT_TRUE(Decoded("TWF*").empty());
  EXPECT_TRUE(Decoded("*TWF").empty());
  EXPECT_TRUE(Decoded("TWFu-").empty());
  EXPECT_TRUE(Decoded(std::string("TW\0u", 4)).empty());
  EXPECT_TRUE(Decoded("TWFu\v").empty());  // vertical tab is not skipped

  // Far into a long text, after the fast path has produced bytes already.
  std::string text = Encoded(std::string(3000, 'q'));
  text[3500] = '.';
  EXPECT_TRUE(Decoded(text).empty());
  std::vector<char> chars{'x'};
  QoBase64::Decode(text.data(), text.size(), chars);
  EXPECT_TRUE(chars.empty());
}

TEST(Base64Decode, EveryPositionOfASpaceOrAnInvalidCharacter) {
  // Covers each offset within the whole-group fast paths and the character-by-character walk.
  std::string data;
  for (int i = 0; i < 75; ++i) data.push_back(static_cast<char>(i * 37 + 11));
  const std::string text = Encoded(data);
  for (size_t position = 0; position <= text.size(); ++position) {
    std::string spaced = text;
    spaced.insert(position, 1, '\n');
    EXPECT_EQ(Decoded(spaced), Bytes(data)) << position;
    std::string broken = text;
    broken.insert(position, 1, '!');
    EXPECT_TRUE(Decoded(broken).empty()) << position;
    if (position < text.size() && text[position] != '=') {
      std::string highBit = text;
      highBit[position] = static_cast<char>(highBit[position] | 0x80);
      EXPECT_EQ(Decoded(highBit), Bytes(data)) << position;
    }
  }
}

TEST(Base64Decode, HighBitAlphabetAndMisplacedPadding) {
  // An alphabet character or "=" with its high bit set reads as the plain character.
  EXPECT_EQ(Decoded("\xD4\xD7\xC6\xF5"), Bytes("Man"));
  EXPECT_EQ(Decoded("TQ\xBD\xBD"), Bytes("M"));
  // "=" outside the last two places of the last group is taken as the value 0xFF.
  EXPECT_EQ(Decoded("TQ==TWFu"), (std::vector<unsigned char>{0x4D, 0x3F, 0xFF, 'M', 'a', 'n'}));
  // A last group whose fourth value is not padding gives three bytes even after a "=".
  EXPECT_EQ(Decoded("TQ=A"), (std::vector<unsigned char>{0x4D, 0x3F, 0xC0}));
}

// Bit by bit, the slow and obvious way.
std::string ReferenceEncoded(const std::string& data) {
  static const char alphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  int bits = 0;
  int value = 0;
  for (unsigned char c : data) {
    for (int b = 7; b >= 0; --b) {
      value = (value << 1) | ((c >> b) & 1);
      if (++bits == 6) {
        text.push_back(alphabet[value]);
        bits = value = 0;
      }
    }
  }
  if (bits) text.push_back(alphabet[value << (6 - bits)]);
  while (text.size() % 4) text.push_back('=');
  return text;
}

TEST(Base64RoundTrip, EveryLengthMatchesAReferenceEncoder) {
  // Lengths around every block size of the bulk loops, then one long buffer.
  std::mt19937 random(42);
  for (size_t length = 0; length < 200; ++length) {
    std::string data(length, '\0');
    for (char& c : data) c = static_cast<char>(random());
    const std::string text = Encoded(data);
    ASSERT_EQ(text, ReferenceEncoded(data)) << length;
    ASSERT_EQ(Decoded(text), Bytes(data)) << length;
  }
  std::string big(100003, '\0');
  for (char& c : big) c = static_cast<char>(random());
  const std::string bigText = Encoded(big);
  EXPECT_EQ(bigText, ReferenceEncoded(big));
  EXPECT_EQ(Decoded(bigText), Bytes(big));
  std::string all;
  for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
  EXPECT_EQ(Decoded(Encoded(all)), Bytes(all));
}

TEST(Base64Decode, HostileTextNeverReadsOutOfBounds) {
  // Random bytes from a small alphabet that mixes valid (0xC1 is "A" with its high bit),
  // padding, space and invalid characters;
  // the sanitizer build checks every access. Any text holding an invalid byte decodes to empty.
  const std::string pool = "AZaz09+/= \t\r\n\x80\xC1\xFF*";
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string text(random() % 40, ' ');
    for (char& c : text) c = pool[random() % pool.size()];
    const auto out = Decoded(text);
    const bool hasInvalid = text.find_first_of(std::string("\x80\xFF*", 3)) != std::string::npos;
    if (hasInvalid) {
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
  int valid = 0;
  for (int c = 0; c < 256; ++c) {
    const unsigned char entry = QoBase64::szTable[c];
    if (entry < 64) {
      ++valid;
      EXPECT_EQ(QoBase64::szDigits[entry], static_cast<char>(c & 0x7F)) << c;
    }
  }
  EXPECT_EQ(valid, 128);
  EXPECT_EQ(QoBase64::szTable[0], QoBase64::k_invalid);
  EXPECT_EQ(QoBase64::szTable['='], QoBase64::k_padding);
  EXPECT_EQ(QoBase64::szTable[189], QoBase64::k_padding);
  EXPECT_EQ(QoBase64::szTable[' '], QoBase64::k_invalid);
}

}  // namespace
