#include <qobase/strings/number_conversions.h>

#include <gtest/gtest.h>

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

TEST(NumberToText, IntegersAndBooleans) {
  EXPECT_EQ(StringHelp::IntToString(-42), "-42");
  EXPECT_EQ(StringHelp::UIntToString(7, true), "07");
  EXPECT_EQ(StringHelp::UIntToString(0, true), "00");
  EXPECT_EQ(StringHelp::UIntToString(10, true), "10");
  EXPECT_EQ(StringHelp::UIntToString(7, false), "7");
  EXPECT_EQ(StringHelp::UInt32ToString(4294967295u), "4294967295");
  EXPECT_EQ(StringHelp::Int64ToString(-9223372036854775807LL - 1), "-9223372036854775808");
  EXPECT_EQ(StringHelp::UInt64ToString(18446744073709551615ULL), "18446744073709551615");

  EXPECT_EQ(StringHelp::Bool2String(true), "true");
  EXPECT_EQ(StringHelp::Bool2String(false), "false");
  EXPECT_EQ(StringHelp::Bool2String(-3), "true");
  EXPECT_EQ(StringHelp::Bool2String(0), "false");
  EXPECT_TRUE(StringHelp::String2Bool("TRUE"));
  EXPECT_TRUE(StringHelp::String2Bool("1"));
  EXPECT_FALSE(StringHelp::String2Bool("yes"));
  EXPECT_FALSE(StringHelp::String2Bool(" 1"));
  EXPECT_FALSE(StringHelp::String2Bool("true "));
  EXPECT_FALSE(StringHelp::String2Bool(""));
}

TEST(NumberToText, VariantTypeNames) {
  EXPECT_EQ(StringHelp::QoVariantType2String(1), "Uint8");
  EXPECT_EQ(StringHelp::QoVariantType2String(9), "Real32");
  EXPECT_EQ(StringHelp::QoVariantType2String(13), "wstring");
  EXPECT_EQ(StringHelp::QoVariantType2String(14), "guid");
  EXPECT_EQ(StringHelp::QoVariantType2String(0), "");
  EXPECT_EQ(StringHelp::QoVariantType2String(15), "");
  EXPECT_EQ(StringHelp::QoVariantType2String(-1), "");
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
  EXPECT_EQ(Compact("1.500"), "1.5");
  EXPECT_EQ(Compact("2.000"), "2");
  EXPECT_EQ(Compact("10.0"), "10");
  EXPECT_EQ(Compact("-0.000"), "0");
  EXPECT_EQ(Compact("-0"), "0");
  EXPECT_EQ(Compact("100"), "100");  // no decimal point: zeros are digits
  EXPECT_EQ(Compact("0.0"), "0");
  EXPECT_EQ(Compact("."), ".");
}

TEST(NumberFormat, FormatNumberStringRoundsPadsAndGroups) {
  EXPECT_EQ(FormatNumberString("1234567.891", 2), "1 234 567.89");
  EXPECT_EQ(FormatNumberString("1234567.891", 0), "1 234 568");
  EXPECT_EQ(FormatNumberString("0.996", 2), "1.00");
  EXPECT_EQ(FormatNumberString("-0.5", 0), "-1");
  EXPECT_EQ(FormatNumberString("12", 3), "12.000");
  EXPECT_EQ(FormatNumberString("007", 0), "7");
  EXPECT_EQ(FormatNumberString("1.2.3", 2), "");
  EXPECT_EQ(FormatNumberString("", 0), "0");
  EXPECT_EQ(FormatNumberString("", 2), ".00");
  EXPECT_EQ(FormatNumberString(".5", 1), ".5");
  EXPECT_EQ(FormatNumberString("5.", 2), "5.00");
  EXPECT_EQ(FormatNumberString("-.5", 1), "-.5");
  EXPECT_EQ(FormatNumberString("-1234", 0), "-1 234");
  EXPECT_EQ(FormatNumberString("123", 0), "123");
  EXPECT_EQ(FormatNumberString("123456", 1), "123 456.0");
  EXPECT_EQ(FormatNumberString("0.0951", 2), "0.10");
  EXPECT_EQ(FormatNumberString("9.999", 2), "10.00");
  EXPECT_EQ(FormatNumberString("-999.995", 2), "-1 000.00");
  EXPECT_EQ(FormatNumberString("1234.4", 0), "1 234");
  EXPECT_EQ(FormatNumberString("0.125", 2), "0.13");
  EXPECT_EQ(FormatNumberString("0.1249", 2), "0.12");
  EXPECT_EQ(FormatNumberString("000.5", 3), "0.500");
  // A carry at the edge of the 64-bit range goes through the digits.
  EXPECT_EQ(FormatNumberString("9223372036854775806.5", 0), "9 223 372 036 854 775 807");
  EXPECT_EQ(FormatNumberString("9223372036854775807.5", 0), "9 223 372 036 854 775 808");
  EXPECT_EQ(FormatNumberString("-99999999999999999999.9", 0), "-100 000 000 000 000 000 000");
}

TEST(NumberFormat, NegativeBelowOneKeepsItsSignWhileADecimalShowsIt) {
  EXPECT_EQ(FormatNumberString("-0.25", 1), "-0.3");
  EXPECT_EQ(FormatNumberString("-0.25", 2), "-0.25");
  EXPECT_EQ(FormatNumberString("-00.07", 1), "-0.1");
  // Rounded to zero, the number is written without a sign.
  EXPECT_EQ(FormatNumberString("-0.04", 1), "0.0");
  EXPECT_EQ(FormatNumberString("-0.000", 2), "0.00");
  EXPECT_EQ(FormatNumberString("-0.4", 0), "0");
}

TEST(NumberFormat, GetSizeStringUnitsSwitchAtAThousand) {
  EXPECT_EQ(GetSizeString(512, false, 2), "512 Bytes");
  EXPECT_EQ(GetSizeString(999, false, 2), "999 Bytes");
  EXPECT_EQ(GetSizeString(-5, false, 2), "-5 Bytes");
  EXPECT_EQ(GetSizeString(1000, false, 2), "0.98 KB");
  EXPECT_EQ(GetSizeString(1536, false, 1), "1.5 KB");
  EXPECT_EQ(GetSizeString(1536, true, 1), "1.5 KB/s");
  EXPECT_EQ(GetSizeString(100, true, 1), "100 Bytes/s");
  EXPECT_EQ(GetSizeString(1023999, false, 2), "1000.00 KB");
  EXPECT_EQ(GetSizeString(1024000, false, 2), "0.98 MB");
  EXPECT_EQ(GetSizeString(1048575999, false, 0), "1000 MB");
  EXPECT_EQ(GetSizeString(1048576000, false, 2), "0.98 GB");
  EXPECT_EQ(GetSizeString(5368709120LL, false, 0), "5 GB");
  EXPECT_EQ(GetSizeString(1073741824000LL, false, 2), "0.98 TB");
  EXPECT_EQ(GetSizeString(2199023255552LL, true, 3), "2.000 TB/s");
  EXPECT_EQ(GetSizeString(1536, false, -4), "2 KB");
  // Single precision: 2^24 + 1 bytes is 2^24 as a float, exactly 16 MB.
  EXPECT_EQ(GetSizeString(16777217, false, 7), "16.0000000 MB");
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
