#include "vesk/time/timestamp"

#include <ctime>

#include "vesk/mscrt_mac/Include/mscrt_stdio"

namespace Vesk {
namespace {

// The fraction as seven digits behind the decimal point, in ticks; may reach
// a whole second when eight digits round up.
int64_t FractionTicks(unsigned int fraction) {
  unsigned int digits = getNumDecimalDigits(fraction);
  if (digits == 0) return 0;
  uint64_t value = fraction;
  while (digits < 7) {
    value *= 10;
    ++digits;
  }
  while (digits > 8) {
    value /= 10;
    --digits;
  }
  if (digits == 8) value = (value + 5) / 10;
  return static_cast<int64_t>(value);
}

}  // namespace

unsigned int getNumDecimalDigits(unsigned int value) {
  unsigned int digits = 0;
  while (value != 0) {
    value /= 10;
    ++digits;
  }
  return digits;
}

TimeStamp::TimeStamp(int year, int month, int day, int hour, int minute, int second,
                     unsigned int fraction) {
  // Day number after Fliegel and Van Flandern, shifted so that 1601-01-01 is
  // day 0. All divisions truncate toward zero.
  const int64_t a = (static_cast<int64_t>(month) - 14) / 12;
  const int64_t y = year + a;
  const int64_t m = 367 * static_cast<int64_t>(month) - 734 - 4404 * a;
  const int64_t days =
      ((y + 4800) * 1461) / 4 + day + m / 12 - 2337889 - (((y + 4900) / 100) * 3) / 4;
  ticks = days * kTicksPerDay;
  if (hour != 0) ticks += hour * kTicksPerHour;
  if (minute != 0) ticks += minute * kTicksPerMinute;
  if (second != 0) ticks += second * kTicksPerSecond;
  ticks += FractionTicks(fraction);
}

void TimeStamp::SetToCurrentTime() {
  const std::time_t now = std::time(nullptr);
  ticks = static_cast<int64_t>(now) * kTicksPerSecond + kTicksFrom1601To1970;
}

bool TimeStamp::ToYMDHMSF(int& year, int& month, int& day, int& hour, int& minute, int& second,
                          unsigned int& fraction) const {
  year = month = day = hour = minute = second = 0;
  fraction = 0;
  // Julian day number plus 68569, then the inverse of the day formula.
  int64_t l = ticks / kTicksPerDay + 2374383;
  const int64_t n = 4 * l / 146097;
  l = l - (146097 * n + 3) / 4;
  const int64_t i = 4000 * (l + 1) / 1461001;
  l = l - 1461 * i / 4 + 31;
  const int64_t j = 80 * l / 2447;
  day = static_cast<int>(l - 2447 * j / 80);
  l = j / 11;
  month = static_cast<int>(j + 2 - 12 * l);
  year = static_cast<int>(100 * (n - 49) + i + l);
  const int64_t rest = ticks - TimeStamp(year, month, day, 0, 0, 0, 0).ticks;
  hour = static_cast<int>(rest / kTicksPerHour);
  minute = static_cast<int>(rest / kTicksPerMinute - hour * 60);
  second = static_cast<int>(rest / kTicksPerSecond - hour * 3600 - minute * 60);
  fraction = static_cast<unsigned int>(rest - hour * kTicksPerHour - minute * kTicksPerMinute -
                                       second * kTicksPerSecond);
  return true;
}

std::string TimeStamp::ToW3DTF() const {
  int year, month, day, hour, minute, second;
  unsigned int fraction;
  ToYMDHMSF(year, month, day, hour, minute, second, fraction);
  char text[256];
  sprintf_s(text, "%d-%02d-%02dT%02d:%02d:%02dZ", year, month, day, hour, minute, second);
  return text;
}

}  // namespace Vesk
