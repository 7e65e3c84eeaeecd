// GUID text forms: writing, parsing and refusing malformed text.
#include <qobase/streams/guid.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

QoGuid FromBytes(std::initializer_list<int> bytes) {
  unsigned char raw[16] = {};
  int i = 0;
  for (int b : bytes) raw[i++] = static_cast<unsigned char>(b);
  QoGuid guid;
  std::memcpy(&guid, raw, 16);
  return guid;
}

const QoGuid k_counting = FromBytes({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
const char k_countingText[] = "{03020100-0504-0706-0809-0A0B0C0D0E0F}";

TEST(GuidText, PrintsUpperCaseAndParsesEitherCase) {
  EXPECT_EQ(StringHelp::ConvertQoGuidToString(k_counting), k_countingText);
  EXPECT_EQ(k_counting.Data1, 0x03020100u);

  std::string narrow;
  QoGuidToStr(k_counting, narrow);
  EXPECT_EQ(narrow, k_countingText);
  std::string longer(40, '#');
  QoGuidToStr(k_counting, longer);
  EXPECT_EQ(longer, std::string(k_countingText) + "##");
  std::wstring wide = L"old";
  QoGuidToWStr(k_counting, wide);
  EXPECT_EQ(wide, L"{03020100-0504-0706-0809-0A0B0C0D0E0F}");

  EXPECT_EQ(StringHelp::ConvertStringToQoGuid(k_countingText), k_counting);
  EXPECT_EQ(StringHelp::ConvertStringToQoGuid("{03020100-0504-0706-0809-0a0b0c0d0e0f}"),
            k_counting);
  // A wave sub-format identifier, given in text and as stored bytes.
  EXPECT_EQ(StringHelp::ConvertStringToQoGuid("{00000003-0000-0010-8000-00aa00389b71}"),
            FromBytes({3, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}));

  QoGuid parsed = QoGuidNull;
  EXPECT_TRUE(WStrToQoGuid(L"{03020100-0504-0706-0809-0a0B0c0D0e0F}", parsed));
  EXPECT_EQ(parsed, k_counting);
  EXPECT_EQ(QoGuidFromWStr(L"{03020100-0504-0706-0809-0A0B0C0D0E0F}"), k_counting);
}

TEST(GuidText, BadTextGivesNullGuidWhileWideParseKeepsBytesRead) {
  const char* const bad[] = {"",
                             "03020100-0504-0706-0809-0A0B0C0D0E0F",     // no braces
                             "{03020100-0504-0706-0809-0A0B0C0D0E0F",    // no closing brace
                             "{03020100-0504-0706-0809-0A0B0C0D0E0F}x",  // one too long
                             "(03020100-0504-0706-0809-0A0B0C0D0E0F)",
                             "{03020100-0504-0706+0809-0A0B0C0D0E0F}",
                             "{030201000504-0706-0809-0A0B0C0D0E0F0}",  // hyphen moved
                             "{03020100-0504-0706-0809-0A0B0C0D0E0G}",  // not a hex digit
                             "{ 3020100-0504-0706-0809-0A0B0C0D0E0F}"};
  for (const char* text : bad) {
    EXPECT_EQ(StringHelp::ConvertStringToQoGuid(text), QoGuidNull) << text;
  }
  std::string zeroInside = k_countingText;
  zeroInside[20] = '\0';
  EXPECT_EQ(StringHelp::ConvertStringToQoGuid(CStdStr(zeroInside)), QoGuidNull);
  EXPECT_EQ(QoGuidFromWStr(L"{03020100-0504-0706-0809-0A0B0C0D0E0Z}"), QoGuidNull);
  EXPECT_EQ(QoGuidFromWStr(L""), QoGuidNull);

  QoGuid guid;
  std::memset(&guid, 0xEE, sizeof guid);
  // The fourth group's first digit is bad: the first three fields were read (bytes 0 to 7).
  EXPECT_FALSE(WStrToQoGuid(L"{03020100-0504-0706-X809-0A0B0C0D0E0F}", guid));
  EXPECT_EQ(StringHelp::ConvertQoGuidToString(guid), "{03020100-0504-0706-EEEE-EEEEEEEEEEEE}");

  // A zero inside the string shortens it: the length check fails before anything is read.
  std::memset(&guid, 0xEE, sizeof guid);
  std::wstring withZero = L"{03020100-0504-0706-0809-0A0B0C0D0E0F}";
  withZero[5] = L'\0';
  EXPECT_FALSE(WStrToQoGuid(withZero, guid));
  EXPECT_EQ(StringHelp::ConvertQoGuidToString(guid), "{EEEEEEEE-EEEE-EEEE-EEEE-EEEEEEEEEEEE}");

  // A missing closing brace is found only after all bytes were read.
  EXPECT_FALSE(WStrToQoGuid(L"{03020100-0504-0706-0809-0A0B0C0D0E0F]", guid));
  EXPECT_EQ(guid, k_counting);
}

}  // namespace
