// StringHelp conversions: numbers, booleans, sizes, dates and type names to and from text.
#include <qobase/strings/number_conversions.h>

#include <qobase/strings/string_help.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const sa_variantTypeNames[] = {
    "",      "Uint8",  "Uint16", "Uint32", "Uint64", "int8",    "int16", "int32",
    "int64", "Real32", "Real64", "bool",   "string", "wstring", "guid",
};
constexpr int k_variantTypeCount = sizeof(sa_variantTypeNames) / sizeof(sa_variantTypeNames[0]);

template <typename T>
bool ScanOne(const CStdStr& text, const char* format, T& value) {
  T read{};
  if (std::sscanf(text.c_str(), format, &read) != 1) return false;
  value = read;
  return true;
}

// The most decimals GetSizeString has printf write.
constexpr int k_maxPrintedPrecision = 1100;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Adds one unit in the last place of a run of decimal digits; true when it overflowed (all
// nines), leaving all zeros.
bool IncrementDigits(std::string& digits) {
  for (size_t i = digits.size(); i-- > 0;) {
    if (digits[i] == '9') {
      digits[i] = '0';
    } else if (IsDigit(digits[i])) {
      ++digits[i];
      return false;
    } else {
      return false;
    }
  }
  return true;
}

// The decimals of the fraction digits `fraction` for `precision` places, and whether rounding
// carries into the integer part.
std::string RoundFraction(const std::string& fraction, unsigned int precision, bool& carry) {
  carry = false;
  if (fraction.size() <= precision) {
    return fraction + std::string(precision - fraction.size(), '0');
  }
  std::string kept = fraction.substr(0, precision);
  const char dropped = fraction[precision];
  if (dropped >= '5' && dropped <= '9') carry = IncrementDigits(kept);
  return kept;
}

// Integer digits with a blank between groups of three counted from the right, never right after
// the sign; leading zeros dropped and an all-zero part written "0" (or "-0" when `keepSign`).
std::string GroupIntegerPart(const std::string& integer, bool keepSign) {
  const bool negative = !integer.empty() && integer[0] == '-';
  std::string digits = integer.substr(negative ? 1 : 0);
  if (digits.find_first_not_of('0') == std::string::npos) {
    return negative && keepSign ? "-0" : "0";
  }
  digits.erase(0, digits.find_first_not_of('0'));
  std::string grouped;
  grouped.reserve(digits.size() + digits.size() / 3 + 1);
  if (negative) grouped.push_back('-');
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i && (digits.size() - i) % 3 == 0) grouped.push_back(StringHelp::kNumberThousandSep);
    grouped.push_back(digits[i]);
  }
  return grouped;
}

}  // namespace

namespace StringHelp {

CStdStr IntToString(int value) {
  CStdStr text;
  text.Fmt("%d", value);
  return text;
}

CStdStr UIntToString(unsigned int value, bool pad) {
  CStdStr text;
  if (pad && value <= 9) {
    text.Fmt("0%u", value);
  } else {
    text.Fmt("%u", value);
  }
  return text;
}

CStdStr UInt32ToString(unsigned int value) {
  CStdStr text;
  text.Fmt("%lu", static_cast<unsigned long>(value));
  return text;
}

CStdStr Int64ToString(long long value) {
  CStdStr text;
  text.Fmt("%lld", value);
  return text;
}

CStdStr UInt64ToString(unsigned long long value) { return CStdStr(std::to_string(value)); }

CStdStr Bool2String(bool value) { return CStdStr(value ? "true" : "false"); }
CStdStr Bool2String(int value) { return Bool2String(value != 0); }

bool String2Bool(const CStdStr& text) { return text.CompareNoCase("true") == 0 || text == "1"; }

CStdStr QoVariantType2String(int code) {
  if (code < 1 || code >= k_variantTypeCount) return CStdStr();
  return CStdStr(sa_variantTypeNames[code]);
}

int String2QoVariantType(const CStdStr& text) {
  for (int code = 1; code < k_variantTypeCount; ++code) {
    if (text.CompareNoCase(sa_variantTypeNames[code]) == 0) return code;
  }
  return 0;
}

bool StringToInt32(const CStdStr& text, int& value) { return ScanOne(text, "%d", value); }
bool StringToUInt32(const CStdStr& text, unsigned int& value) { return ScanOne(text, "%u", value); }
bool HexStringToUInt32(const CStdStr& text, unsigned int& value) {
  return ScanOne(text, "%x", value);
}

unsigned int HexStringToUInt32(const CStdStr& text) {
  unsigned int value = 0xFFFFFFFFu;
  HexStringToUInt32(text, value);
  return value;
}

bool StringToInt64(const CStdStr& text, long long& value) { return ScanOne(text, "%lld", value); }

long long StringToInt64(const CStdStr& text) {
  long long value = 0;
  StringToInt64(text, value);
  return value;
}

bool StringToUInt64(const CStdStr& text, unsigned long long& value) {
  return ScanOne(text, "%llu", value);
}

unsigned long long StringToUInt64(const CStdStr& text) {
  unsigned long long value = 0;
  StringToUInt64(text, value);
  return value;
}

bool IsAllDigit(const CStdStr& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!IsDigit(c)) return false;
  }
  return true;
}

void CompactNumberString(CStdStr& text) {
  if (text.find('.') != CStdStr::npos && text.size() >= 2) {
    const size_t last = text.find_last_not_of('0');
    text.erase(last == CStdStr::npos ? 0 : last + 1);
    if (!text.empty() && text.back() == '.') text.pop_back();
  }
  if (text == "-0") text = "0";
}

CStdStr FormatNumberString(const CStdStr& text, unsigned int precision) {
  if (text.empty()) {
    return precision == 0 ? CStdStr("0") : CStdStr("." + std::string(precision, '0'));
  }

  std::vector<CStdStr> pieces;
  SplitString(text, kNumberDecimalSep, pieces);
  if (pieces.size() > 2) return CStdStr();
  bool hasInteger = false;
  bool hasFraction = false;
  std::string integer;
  std::string fraction;
  if (pieces.size() == 2) {
    hasInteger = hasFraction = true;
    integer = pieces[0];
    fraction = pieces[1];
  } else if (pieces.size() == 1) {
    if (text[0] == kNumberDecimalSep) {
      hasFraction = true;
      fraction = pieces[0];
    } else {
      hasInteger = true;
      integer = pieces[0];
    }
  }

  bool carry = false;
  std::string fractionText;
  if (precision > 0) {
    if (!hasFraction) {
      fractionText = kNumberDecimalSep + std::string(precision, '0');
    } else if (!fraction.empty()) {
      fractionText = kNumberDecimalSep + RoundFraction(fraction, precision, carry);
    }
  } else if (!fraction.empty()) {
    carry = fraction[0] >= '5' && fraction[0] <= '9';
  }

  if (!hasInteger || integer.empty()) return CStdStr(fractionText);
  if (integer == "-") return CStdStr("-" + fractionText);

  const bool negative = integer[0] == '-';
  if (carry) {
    const long long value = std::strtoll(integer.c_str(), nullptr, 10);
    if (value == (negative ? LLONG_MIN : LLONG_MAX)) {
      // Beyond the 64-bit range: carry through the digits themselves instead of overflowing.
      std::string digits = integer.substr(negative ? 1 : 0);
      if (IncrementDigits(digits)) digits.insert(0, 1, '1');
      integer = (negative ? "-" : "") + digits;
    } else {
      integer = std::to_string(negative ? value - 1 : value + 1);
    }
  }
  // A negative number between -1 and 0 keeps its sign, even when rounding leaves only zeros
  // ("-0.04" to 1 place is "-0.0", as printf writes it); "-0.000" is no negative number.
  const bool keepSign = fraction.find_first_of("123456789") != std::string::npos;
  return CStdStr(GroupIntegerPart(integer, keepSign) + fractionText);
}

CStdStr GetSizeString(long long bytes, bool perSecond, int precision) {
  CStdStr format;
  // A negative precision would make the format malformed; it counts as none.
  format.Fmt("%%.%df %%s", precision < 0 ? 0 : precision);
  const char* unit = "Bytes";
  float divisor = 1.0f;
  if (bytes <= 999) {
    format = "%.0f %s";
  } else if (bytes < 1024000LL) {
    unit = "KB";
    divisor = 1024.0f;
  } else if (bytes <= 1048575999LL) {
    unit = "MB";
    divisor = 1048576.0f;
  } else if (bytes <= 1073741823999LL) {
    unit = "GB";
    divisor = 1073741824.0f;
  } else {
    unit = "TB";
    divisor = 1099511627776.0f;
  }
  CStdStr unitText(unit);
  if (perSecond) unitText = LocalizeFmt("%s/s", unit);

  const float value = static_cast<float>(bytes) / divisor;
  // printf works and allocates in proportion to the precision (gigabytes for INT_MAX) while the
  // result is cut at strlen(format) + 1022 characters. A float of 0.97 or more has no non-zero
  // digit past the 30th decimal, so beyond 1100 places print 1100 and cut where it would be cut.
  if (precision > k_maxPrintedPrecision && bytes > 999) {
    char digits[k_maxPrintedPrecision + 32];
    std::snprintf(digits, sizeof digits, "%.*f", k_maxPrintedPrecision, static_cast<double>(value));
    return CStdStr(std::string(digits).substr(0, format.size() + 1022));
  }
  CStdStr result;
  result.Fmt(format.c_str(), static_cast<double>(value), unitText.c_str());
  return result;
}

CStdStr GetDateTime(DateTime which) {
  const char* format = nullptr;
  switch (which) {
    case Time:
      format = "%r";
      break;
    case Date:
      format = "%F";
      break;
    case DateAndTime:
      format = "%F %r";
      break;
    default:
      return CStdStr();
  }
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (!localtime_r(&now, &local)) return CStdStr();
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::put_time(&local, format);
  return CStdStr(out.str());
}

}  // namespace StringHelp
