#include <qobase/strings/number_conversions.h>

#include <gtest/gtest.h>

#include <climits>
#include <regex>
#include <string>

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

  EXPECT_EQ(StringHelp::QoVariantType2String(1), "Uint8");
  EXPECT_EQ(StringHelp::QoVariantType2String(9), "Real32");
  EXPECT_EQ(StringHelp::QoVariantType2String(13), "wstring");
  EXPECT_EQ(StringHelp::QoVariantType2String(14), "guid");
  for (int code : {0, 15, -1}) EXPECT_EQ(StringHelp::QoVariantType2String(code), "") << code;
  EXPECT_EQ(StringHelp::String2QoVariantType("REAL32"), 9);
  EXPECT_EQ(StringHelp::String2QoVariantType("int8"), 5);
  EXPECT_EQ(StringHelp::String2QoVariantType("uint64"), 4);
  EXPECT_EQ(StringHelp::String2QoVariantType("float"), 0);
  EXPECT_EQ(StringHelp::String2QoVariantType(""), 0);
  for (int code = 1; code <= 14; ++code) {
    EXPECT_EQ(StringHelp::String2QoVariantType(StringHelp::QoVariantType2String(code)), code);
  }
}

TEST(TextToNumber, ParsesLikeScanf) {
  int i = -5;
  EXPECT_TRUE(StringHelp::StringToInt32("  42abc", i));
  EXPECT_EQ(i, 42);
  EXPECT_FALSE(StringHelp::StringToInt32("abc", i));
  EXPECT_EQ(i, 42);  // untouched
  unsigned int u = 0;
  EXPECT_TRUE(StringHelp::StringToUInt32("-1", u));
  EXPECT_EQ(u, 4294967295u);
  EXPECT_TRUE(StringHelp::HexStringToUInt32("ff", u));
  EXPECT_EQ(u, 255u);
  EXPECT_EQ(StringHelp::HexStringToUInt32("zz"), 0xFFFFFFFFu);
  EXPECT_EQ(StringHelp::HexStringToUInt32("0x1F"), 31u);
  EXPECT_EQ(StringHelp::HexStringToUInt32(" 1fG"), 31u);

  long long ll = 0;
  EXPECT_TRUE(StringHelp::StringToInt64("-9000000000", ll));
  EXPECT_EQ(ll, -9000000000LL);
  EXPECT_EQ(StringHelp::StringToInt64("x"), 0);
  EXPECT_EQ(StringHelp::StringToInt64("\t123456789012 "), 123456789012LL);
  unsigned long long ull = 0;
  EXPECT_TRUE(StringHelp::StringToUInt64("18446744073709551615", ull));
  EXPECT_EQ(ull, 18446744073709551615ULL);
  EXPECT_EQ(StringHelp::StringToUInt64("-1"), 18446744073709551615ULL);
  EXPECT_EQ(StringHelp::StringToUInt64(""), 0u);

  EXPECT_FALSE(StringHelp::IsAllDigit(""));
  EXPECT_TRUE(StringHelp::IsAllDigit("0123"));
  EXPECT_FALSE(StringHelp::IsAllDigit("12a"));
  EXPECT_FALSE(StringHelp::IsAllDigit("-1"));
}

TEST(NumberFormat, CompactNumberString) {
  const std::pair<const char*, const char*> cases[] = {
      {"1.500", "1.5"}, {"2.000", "2"}, {"10.0", "10"}, {"-0.000", "0"},
      {"-0", "0"},      {"100", "100"},  // no decimal point: zeros are digits
      {"0.0", "0"},     {".", "."}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(Compact(text), expected) << text;
}

TEST(NumberFormat, FormatNumberStringRoundsPadsAndGroups) {
  struct Case {
    const char* text;
    unsigned int precision;
    const char* result;
  };
  const Case cases[] = {
      {"1234567.891", 2, "1 234 567.89"}, {"1234567.891", 0, "1 234 568"},
      {"0.996", 2, "1.00"},               {"-0.5", 0, "-1"},
      {"12", 3, "12.000"},                {"007", 0, "7"},
      {"1.2.3", 2, ""},                   {"", 0, "0"},
      {"", 2, ".00"},                     {".5", 1, ".5"},
      {"5.", 2, "5.00"},                  {"-.5", 1, "-.5"},
      {"-1234", 0, "-1 234"},             {"123", 0, "123"},
      {"123456", 1, "123 456.0"},         {"0.0951", 2, "0.10"},
      {"9.999", 2, "10.00"},              {"-999.995", 2, "-1 000.00"},
      {"1234.4", 0, "1 234"},             {"0.125", 2, "0.13"},
      {"0.1249", 2, "0.12"},              {"000.5", 3, "0.500"},
      // A carry at the edge of the 64-bit range goes through the digits.
      {"9223372036854775806.5", 0, "9 223 372 036 854 775 807"},
      {"9223372036854775807.5", 0, "9 223 372 036 854 775 808"},
      {"-99999999999999999999.9", 0, "-100 000 000 000 000 000 000"},
      // A negative number whose integer part is zero keeps its sign, also when rounding
      // leaves only zeros (as printf writes -0.04 to one place); an all-zero text has none.
      {"-0.25", 1, "-0.3"},               {"-0.25", 2, "-0.25"},
      {"-00.07", 1, "-0.1"},              {"-0.04", 1, "-0.0"},
      {"-0.4", 0, "-0"},                  {"-0.000", 2, "0.00"},
      {"-0", 1, "0.0"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(FormatNumberString(c.text, c.precision), c.result) << c.text << " " << c.precision;
  }
}

TEST(NumberFormat, GetSizeStringUnitsSwitchAtAThousand) {
  struct Case {
    long long bytes;
    bool perSecond;
    int precision;
    const char* result;
  };
  const Case cases[] = {
      {512, false, 2, "512 Bytes"},         {999, false, 2, "999 Bytes"},
      {-5, false, 2, "-5 Bytes"},           {1000, false, 2, "0.98 KB"},
      {1536, false, 1, "1.5 KB"},           {1536, true, 1, "1.5 KB/s"},
      {100, true, 1, "100 Bytes/s"},        {1023999, false, 2, "1000.00 KB"},
      {1024000, false, 2, "0.98 MB"},       {1048575999, false, 0, "1000 MB"},
      {1048576000, false, 2, "0.98 GB"},    {5368709120LL, false, 0, "5 GB"},
      {1073741824000LL, false, 2, "0.98 TB"}, {2199023255552LL, true, 3, "2.000 TB/s"},
      {1536, false, -4, "2 KB"},  // a negative precision counts as none
      // Single precision: 2^24 + 1 bytes is 2^24 as a float, exactly 16 MB.
      {16777217, false, 7, "16.0000000 MB"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(GetSizeString(c.bytes, c.perSecond, c.precision), c.result) << c.bytes;
  }
  // A huge precision is cut at strlen("%.2147483647f %s") + 1022 characters, quickly: printf
  // itself would need gigabytes for it.
  EXPECT_EQ(GetSizeString(1536, false, INT_MAX), "1.5" + std::string(1035, '0'));
  EXPECT_EQ(GetSizeString(1536, false, 1050), "1.5" + std::string(1029, '0'));
}

TEST(NumberFormat, GetDateTimeShapes) {
  const std::string date = StringHelp::GetDateTime(StringHelp::Date);
  EXPECT_TRUE(std::regex_match(date, std::regex(R"(\d{4}-\d{2}-\d{2})"))) << date;
  const std::string time = StringHelp::GetDateTime(StringHelp::Time);
  EXPECT_TRUE(std::regex_match(time, std::regex(R"((0\d|1[0-2]):[0-5]\d:[0-6]\d (AM|PM))")))
      << time;
  const std::string both = StringHelp::GetDateTime(StringHelp::DateAndTime);
  EXPECT_TRUE(std::regex_match(
      both, std::regex(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} (AM|PM))")))
      << both;
  EXPECT_EQ(StringHelp::GetDateTime(static_cast<StringHelp::DateTime>(3)), "");
}

}  // namespace
