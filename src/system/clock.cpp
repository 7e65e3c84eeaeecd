// The millisecond tick and timestamps.
#include <qobase/system/clock.h>
#include <qobase/system/locale_helpers.h>

#include <sys/time.h>

#include <ctime>
#include <locale>
#include <stdexcept>

namespace zu {
namespace {

// Values from 2^56 + 1 up are 100-nanosecond intervals since 1601-01-01 UTC.
const long long k_firstIntervalCount = 72057594037927937LL;
const long long k_intervalsFrom1601To1970 = 116444736000000000LL;
const long long k_intervalsPerSecond = 10000000LL;

// The user's preferred locale from the environment; the classic locale when the environment
// names one this system does not have.
std::locale UserPreferredLocale() {
  try {
    return std::locale("");
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

}  // namespace

unsigned int GetTickCount() {
  timeval now;
  gettimeofday(&now, nullptr);
  const unsigned long long milliseconds = static_cast<unsigned long long>(now.tv_sec) * 1000u +
                                          static_cast<unsigned long long>(now.tv_usec) / 1000u;
  return static_cast<unsigned int>(milliseconds);
}

long long Timestamp::GetCurrentTimestamp() { return static_cast<long long>(time(nullptr)); }

CStdStr Timestamp::ToUserFormatString(long long timestamp) {
  if (timestamp < 0) return CStdStr();
  long long seconds = timestamp;
  if (timestamp >= k_firstIntervalCount) {
    seconds = (timestamp - k_intervalsFrom1601To1970) / k_intervalsPerSecond;
  }
  const time_t converted = static_cast<time_t>(seconds);
  tm local;
  if (!localtime_r(&converted, &local)) return CStdStr();
  char text[64];
  size_t length = 0;
  {
    LocaleHelpers::AutoLocaleChange userLocale(UserPreferredLocale());
    length = strftime(text, sizeof(text), "%x %X", &local);
  }
  return length == 0 ? CStdStr() : CStdStr(text, length);
}

}  // namespace zu
