// StringHelp conversions between numbers, booleans, variant type codes, byte counts, the current
// date and text. They fix the library's textual conventions: "." as decimal point, a blank as
// thousands separator, "true"/"false", size units in powers of 1024 with thresholds at 1000.
#pragma once

#include <qobase/strings/std_str.h>

namespace StringHelp {

constexpr char kNumberDecimalSep = '.';
constexpr char kNumberThousandSep = ' ';

// What GetDateTime writes.
enum DateTime : unsigned int { Time = 0, Date = 1, DateAndTime = 2 };

// "%d".
CStdStr IntToString(int value);
// "%u"; with `pad`, values up to 9 get a leading zero ("07").
CStdStr UIntToString(unsigned int value, bool pad);
// "%lu" of the value widened to 64 bits.
CStdStr UInt32ToString(unsigned int value);
// "%lld".
CStdStr Int64ToString(long long value);
// Plain decimal digits.
CStdStr UInt64ToString(unsigned long long value);

// "true" for true or non-zero, else "false".
CStdStr Bool2String(bool value);
CStdStr Bool2String(int value);
// True for "true" in any case or exactly "1"; false for everything else ("yes" included).
bool String2Bool(const CStdStr& text);

// The name of a variant type code: 1 "Uint8" ... 14 "guid"; empty outside 1 to 14.
CStdStr QoVariantType2String(int code);
// The code whose name equals the text ignoring case ("REAL32" gives 9); 0 if none.
int String2QoVariantType(const CStdStr& text);

// sscanf-style parsing: leading white space is skipped and trailing characters ignored; "%x"
// takes an optional "0x"; the unsigned forms take a minus sign and wrap. The bool forms return
// true when a value was read and leave `value` alone otherwise.
bool StringToInt32(const CStdStr& text, int& value);
bool StringToUInt32(const CStdStr& text, unsigned int& value);
bool HexStringToUInt32(const CStdStr& text, unsigned int& value);
// The hexadecimal value, or 0xFFFFFFFF when nothing could be read ("zz").
unsigned int HexStringToUInt32(const CStdStr& text);
bool StringToInt64(const CStdStr& text, long long& value);
// The value, or 0 when nothing could be read.
long long StringToInt64(const CStdStr& text);
bool StringToUInt64(const CStdStr& text, unsigned long long& value);
unsigned long long StringToUInt64(const CStdStr& text);

// False for the empty text; true when every byte is an ASCII digit.
bool IsAllDigit(const CStdStr& text);

// In place: a text holding "." loses its trailing zeros and then a trailing "."; "-0" becomes
// "0". "1.500" gives "1.5", "2.000" gives "2", "-0.000" gives "0".
void CompactNumberString(CStdStr& text);

// The decimal number `text` rounded (half away from zero) or padded to `precision` decimals,
// its integer digits grouped by three with blanks: "1234567.891" to 2 gives "1 234 567.89", to 0
// "1 234 568". A text with more than one "." gives "". A negative number whose integer part is
// zero keeps its sign, even when rounding leaves only zeros ("-0.25" to 1 gives "-0.3", "-0.04"
// to 1 gives "-0.0"); an all-zero text such as "-0.00" gives no sign. A carry beyond the 64-bit
// range is carried through the digits.
CStdStr FormatNumberString(const CStdStr& text, unsigned int precision);

// A byte count with its unit: "Bytes" up to 999 (no decimals), then "KB", "MB", "GB", "TB" in
// powers of 1024 switching at 1000 of the previous unit, with `precision` decimals: 1536 to 1
// gives "1.5 KB"; with `perSecond` the unit ends in "/s" ("1.5 KB/s"). Computed in single
// precision; a negative precision counts as 0.
CStdStr GetSizeString(long long bytes, bool perSecond, int precision);

// The current local time: Time "%r" (e.g. "03:04:05 PM"), Date "%F", DateAndTime "%F %r";
// the empty string for any other value.
CStdStr GetDateTime(DateTime which);

}  // namespace StringHelp
