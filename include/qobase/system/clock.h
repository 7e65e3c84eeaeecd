// Wall-clock time: a millisecond tick for measuring short spans, and timestamps in seconds with
// their display in the user's locale.
#pragma once

#include <qobase/strings/std_str.h>

namespace zu {

// Milliseconds of the real-time clock, reduced to 32 bits: it wraps about every 49.7 days and
// jumps when the system clock is set, so compare ticks only over short spans.
unsigned int GetTickCount();

class Timestamp {
 public:
  // Seconds since 1970-01-01 UTC.
  static long long GetCurrentTimestamp();
  // The local date and time as the user's locale writes them ("%x %X"). Values of 2^56 + 1 and
  // above are taken as 100-nanosecond intervals since 1601-01-01 UTC. Empty for a negative value
  // or a time the C library cannot convert or format.
  //   ToUserFormatString(0) in UTC, C locale: "01/01/70 00:00:00"
  static CStdStr ToUserFormatString(long long timestamp);
};

}  // namespace zu
