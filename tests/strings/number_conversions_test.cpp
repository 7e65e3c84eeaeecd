// Number, boolean, size and date conversions to and from text.
#include <qobase/strings/number_conversions.h>

#include <gtest/gtest.h>

#include <climits>
#include <regex>
#include <string>
#include <tuple>

namespace {

using StringHelp::FormatNumberString;
using StringHelp::GetSizeString;

CStdStr Compact(const char* text) {
  CStdStr s(text);
  StringHelp::CompactNumberString(s);
  return s;
}

TEST(NumberToText, IntegersBooleansAndVariantTypeNames) {
  EXPECT_EQ(StringHelp::IntToString(-42), "-42");
  EXPECT_EQ(StringHelp::UIntToString(7, true) + StringHelp::UIntToString(0, true), "0700");
  EXPECT_EQ(StringHelp::UIntToString(10, true) + StringHelp::UIntToString(7, false), "107");
  EXPECT_EQ(StringHelp::UInt32ToString(4294967295u), "4294967295");
  EXPECT_EQ(StringHelp::Int64ToString(-9223372036854775807LL - 1), "-9223372036854775808");
  EXPECT_EQ(StringHelp::UInt64ToString(18446744073709551615ULL), "18446744073709551615");

  EXPECT_EQ(StringHelp::Bool2String(true) + StringHelp::Bool2String(false), "truefalse");
  EXPECT_EQ(StringHelp::Bool2String(-3) + StringHelp::Bool2String(0), "truefalse");
  for (const char* text : {"TRUE", "1"}) EXPECT_TRUE(StringHelp::String2Bool(text)) << text;
  for (const char* text : {"yes", " 1", "true ", ""}) {
    EXPECT_FALSE(StringHelp::String2Bool(text)) << text;
  }

  const char* const names[] = {"",       "Uint8", "Uint16", "Uint32",  "Uint64",
                               "int8",   "int16", "int32",  "int64",   "Real32",
                               "Real64", "bool",  "string", "wstring", "guid"};
  for (int code = 0; code <= 14; ++code) {
    EXPECT_EQ(StringHelp::QoVariantType2String(code), names[code]);
    EXPECT_EQ(StringHelp::String2QoVariantType(names[code]), code);  // "" gives 0
  }
  EXPECT_EQ(StringHelp::QoVariantType2String(15) + StringHelp::QoVariantType2String(-1), "");
  EXPECT_EQ(StringHelp::String2QoVariantType("REAL32"), 9);
  EXPECT_EQ(StringHelp::String2QoVariantType("uint64"), 4);
  EXPECT_EQ(StringHelp::String2QoVariantType("float"), 0);
}

// The value read as text, or "none"; the value starts as 7 so an untouched one shows.
template <typename T>
std::string Scanned(bool (*parse)(const CStdStr&, T&), const char* text) {
  T value = 7;
  return parse(text, value) ? std::to_string(value) : "none:" + std::to_string(value);
}

TEST(TextToNumber, ParsesLikeScanf) {
  EXPECT_EQ(Scanned(StringHelp::StringToInt32, "  42abc"), "42");
  EXPECT_EQ(Scanned(StringHelp::StringToInt32, "abc"), "none:7");  // untouched
  EXPECT_EQ(Scanned(StringHelp::StringToUInt32, "-1"), "4294967295");
  EXPECT_EQ(Scanned<unsigned int>(StringHelp::HexStringToUInt32, "ff"), "255");
  EXPECT_EQ(StringHelp::HexStringToUInt32("zz"), 0xFFFFFFFFu);
  EXPECT_EQ(StringHelp::HexStringToUInt32("0x1F"), 31u);
  EXPECT_EQ(StringHelp::HexStringToUInt32(" 1fG"), 31u);
  EXPECT_EQ(Scanned<long long>(StringHelp::StringToInt64, "-9000000000"), "-9000000000");
  EXPECT_EQ(StringHelp::StringToInt64("x"), 0);
  EXPECT_EQ(StringHelp::StringToInt64("\t123456789012 "), 123456789012LL);
  EXPECT_EQ(Scanned<unsigned long long>(StringHelp::StringToUInt64, "18446744073709551615"),
            "18446744073709551615");
  EXPECT_EQ(StringHelp::StringToUInt64("-1"), 18446744073709551615ULL);
  EXPECT_EQ(StringHelp::StringToUInt64(""), 0u);

  EXPECT_TRUE(StringHelp::IsAllDigit("0123"));
  for (const char* text : {"", "12a", "-1"}) EXPECT_FALSE(StringHelp::IsAllDigit(text)) << text;
}

TEST(NumberFormat, CompactAndFormatNumberString) {
  const std::pair<const char*, const char*> compacted[] = {
      {"1.500", "1.5"}, {"2.000", "2"}, {"10.0", "10"},
      {"-0.000", "0"},  {"-0", "0"},    {"100", "100"},  // no decimal point: zeros are digits
      {"0.0", "0"},     {".", "."}};
  for (const auto& [text, expected] : compacted) EXPECT_EQ(Compact(text), expected) << text;

  // clang-format off
  const std::tuple<const char*, unsigned int, const char*> cases[] = {
      {"1234567.891", 2, "1 234 567.89"}, {"1234567.891", 0, "1 234 568"}, {"0.996", 2, "1.00"},
      {"-0.5", 0, "-1"},       {"12", 3, "12.000"},       {"007", 0, "7"},
      {"1.2.3", 2, ""},        {"", 0, "0"},              {"", 2, ".00"},
      {".5", 1, ".5"},         {"5.", 2, "5.00"},         {"-.5", 1, "-.5"},
      {"-1234", 0, "-1 234"},  {"123", 0, "123"},         {"123456", 1, "123 456.0"},
      {"0.0951", 2, "0.10"},   {"9.999", 2, "10.00"},     {"-999.995", 2, "-1 000.00"},
      {"1234.4", 0, "1 234"},  {"0.125", 2, "0.13"},      {"0.1249", 2, "0.12"},
      {"000.5", 3, "0.500"},
      // A carry at the edge of the 64-bit range goes through the digits.
      {"9223372036854775806.5", 0, "9 223 372 036 854 775 807"},
      {"9223372036854775807.5", 0, "9 223 372 036 854 775 808"},
      {"-99999999999999999999.9", 0, "-100 000 000 000 000 000 000"},
      // A negative number whose integer part is zero keeps its sign, also when rounding
      // leaves only zeros (as printf writes -0.04 to one place); an all-zero text has none.
      {"-0.25", 1, "-0.3"},    {"-0.25", 2, "-0.25"},     {"-00.07", 1, "-0.1"},
      {"-0.04", 1, "-0.0"},    {"-0.4", 0, "-0"},         {"-0.000", 2, "0.00"},
      {"-0", 1, "0.0"}};
  // clang-format on
  for (const auto& [text, precision, result] : cases) {
    EXPECT_EQ(FormatNumberString(text, precision), result) << text << " " << precision;
  }
}

TEST(NumberFormat, GetSizeStringUnitsSwitchAtAThousand) {
  // clang-format off
  const std::tuple<long long, bool, int, const char*> cases[] = {
      {512, false, 2, "512 Bytes"},          {999, false, 2, "999 Bytes"},
      {-5, false, 2, "-5 Bytes"},            {1000, false, 2, "0.98 KB"},
      {1536, false, 1, "1.5 KB"},            {1536, true, 1, "1.5 KB/s"},
      {100, true, 1, "100 Bytes/s"},         {1023999, false, 2, "1000.00 KB"},
      {1024000, false, 2, "0.98 MB"},        {1048575999, false, 0, "1000 MB"},
      {1048576000, false, 2, "0.98 GB"},     {5368709120LL, false, 0, "5 GB"},
      {1073741824000LL, false, 2, "0.98 TB"}, {2199023255552LL, true, 3, "2.000 TB/s"},
      {1536, false, -4, "2 KB"},  // a negative precision counts as none
      // Single precision: 2^24 + 1 bytes is 2^24 as a float, exactly 16 MB.
      {16777217, false, 7, "16.0000000 MB"}};
  // clang-format on
  for (const auto& [bytes, perSecond, precision, result] : cases) {
    EXPECT_EQ(GetSizeString(bytes, perSecond, precision), result) << bytes;
  }
  // A huge precision is cut at strlen("%.2147483647f %s") + 1022 characters, quickly: printf
  // itself would need gigabytes for it.
  EXPECT_EQ(GetSizeString(1536, false, INT_MAX), "1.5" + std::string(1035, '0'));
  EXPECT_EQ(GetSizeString(1536, false, 1050), "1.5" + std::string(1029, '0'));
}

TEST(NumberFormat, GetDateTimeShapes) {
  const char* const date = R"(\d{4}-\d{2}-\d{2})";
  const char* const time = R"((0\d|1[0-2]):[0-5]\d:[0-6]\d (AM|PM))";
  const std::string texts[] = {StringHelp::GetDateTime(StringHelp::Date),
                               StringHelp::GetDateTime(StringHelp::Time),
                               StringHelp::GetDateTime(StringHelp::DateAndTime)};
  EXPECT_TRUE(std::regex_match(texts[0], std::regex(date))) << texts[0];
  EXPECT_TRUE(std::regex_match(texts[1], std::regex(time))) << texts[1];
  EXPECT_TRUE(std::regex_match(texts[2], std::regex(std::string(date) + " " + time))) << texts[2];
  EXPECT_EQ(StringHelp::GetDateTime(static_cast<StringHelp::DateTime>(3)), "");
}

}  // namespace
