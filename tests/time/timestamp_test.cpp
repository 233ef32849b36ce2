#include "vesk/time/timestamp"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <utility>

#include "vesk/mscrt_mac/Include/mscrt_stdio"

namespace {

using Vesk::TimeStamp;

struct Fields {
  int year, month, day, hour, minute, second;
  unsigned int fraction;
};

Fields FieldsOf(const TimeStamp& stamp) {
  Fields f{};
  EXPECT_TRUE(stamp.ToYMDHMSF(f.year, f.month, f.day, f.hour, f.minute, f.second, f.fraction));
  return f;
}

TimeStamp Stamp(const Fields& f) {
  return TimeStamp(f.year, f.month, f.day, f.hour, f.minute, f.second, f.fraction);
}

constexpr int64_t kDay = TimeStamp::kTicksPerDay;

TEST(TimeStamp, KnownDates) {
  const std::pair<Fields, int64_t> rows[] = {
      {{1601, 1, 1, 0, 0, 0, 0}, 0},
      {{1601, 1, 2, 0, 0, 0, 0}, kDay},
      {{1970, 1, 1, 0, 0, 0, 0}, 116444736000000000},
      {{1970, 1, 1, 0, 0, 0, 0}, 134774 * kDay},
      {{2000, 2, 29, 0, 0, 0, 0}, 145790 * kDay},
      {{2000, 3, 1, 0, 0, 0, 0}, 145791 * kDay},
      // 1900 is no leap year: February has 28 days.
      {{1900, 3, 1, 0, 0, 0, 0}, TimeStamp(1900, 2, 28, 0, 0, 0, 0).ticks + kDay},
      {{1601, 1, 1, 1, 2, 3, 0}, 36000000000 + 2 * 600000000 + 3 * 10000000},
      // Fields are not checked: month 13 is January of the next year.
      {{2000, 13, 1, 0, 0, 0, 0}, TimeStamp(2001, 1, 1, 0, 0, 0, 0).ticks},
      {{2001, 1, 32, 0, 0, 0, 0}, TimeStamp(2001, 2, 1, 0, 0, 0, 0).ticks},
      {{2001, 1, 1, 25, 0, 0, 0}, TimeStamp(2001, 1, 2, 1, 0, 0, 0).ticks},
  };
  for (const auto& [f, ticks] : rows)
    EXPECT_EQ(Stamp(f).ticks, ticks) << f.year << "-" << f.month << "-" << f.day;
}

// The fraction is the digits behind the decimal point.
TEST(TimeStamp, FractionDigitsRule) {
  // 99999995 rounds up to a whole second; 4294967295: 429496729 -> 42949673 -> 4294967.
  const std::pair<unsigned int, int64_t> rows[] = {
      {0, 0},         {5, 5000000},         {50, 5000000},        {123, 1230000},         {999999, 9999990},
      {5000000, 5000000},  {1234567, 1234567},   {12345678, 1234568},  {12345674, 1234567},
      {99999995, 10000000}, {99999994, 9999999}, {1234567890, 1234568}, {4294967295u, 4294967}};
  for (const auto& [fraction, ticks] : rows)
    EXPECT_EQ(TimeStamp(1601, 1, 1, 0, 0, 0, fraction).ticks, ticks) << fraction;
  const Fields carried = FieldsOf(TimeStamp(2001, 2, 3, 4, 5, 6, 99999995));
  EXPECT_TRUE(carried.second == 7 && carried.fraction == 0u);
  EXPECT_EQ(FieldsOf(TimeStamp(2001, 2, 3, 4, 5, 6, 5)).fraction, 5000000u);
  EXPECT_EQ(FieldsOf(TimeStamp(2001, 2, 3, 4, 5, 6, 5000000)).fraction, 5000000u);
  // A count handed back with fewer than seven digits does not survive a trip.
  const TimeStamp small = TimeStamp::FromTicks(TimeStamp(2001, 2, 3, 4, 5, 6, 0).ticks + 123);
  const Fields back = FieldsOf(small);
  EXPECT_EQ(back.fraction, 123u);
  EXPECT_EQ(Stamp(back).ticks - small.ticks, 1230000 - 123);
}

TEST(TimeStamp, EveryDayFrom1601Through9999RoundTrips) {
  const int64_t last = TimeStamp(9999, 12, 31, 0, 0, 0, 0).ticks / kDay;
  int year = 1601, month = 1, day = 1;
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int64_t n = 0; n <= last; ++n) {
    // A time of day that varies with the day, to exercise every field.
    const int hour = static_cast<int>(n % 24), minute = static_cast<int>(n % 60),
              second = static_cast<int>((n * 7) % 60);
    const unsigned int fraction = static_cast<unsigned int>((n * 7919) % 10000000);
    const int64_t ticks = n * kDay + hour * TimeStamp::kTicksPerHour + minute * TimeStamp::kTicksPerMinute +
                          second * TimeStamp::kTicksPerSecond + fraction;
    const Fields f = FieldsOf(TimeStamp::FromTicks(ticks));
    ASSERT_TRUE(f.year == year && f.month == month && f.day == day && f.hour == hour && f.minute == minute &&
                f.second == second && f.fraction == fraction)
        << "day " << n << ": expected " << year << "-" << month << "-" << day << " got " << f.year << "-"
        << f.month << "-" << f.day;
    ASSERT_EQ(TimeStamp(year, month, day, 0, 0, 0, 0).ticks, n * kDay) << year << "-" << month << "-" << day;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int length = month == 2 && leap ? 29 : kDays[month - 1];
    if (++day > length) {
      day = 1;
      if (++month > 12) {
        month = 1;
        ++year;
      }
    }
  }
  EXPECT_EQ(year, 10000);
}

TEST(TimeStamp, WholeDaysFromTheYearOneRoundTrip) {
  const int64_t first = TimeStamp(1, 1, 1, 0, 0, 0, 0).ticks;
  ASSERT_LT(first, 0);
  int previous_day_ticks_year = 0;
  for (int64_t ticks = first; ticks < 0; ticks += kDay) {
    const Fields f = FieldsOf(TimeStamp::FromTicks(ticks));
    ASSERT_EQ(TimeStamp(f.year, f.month, f.day, 0, 0, 0, 0).ticks, ticks) << ticks / kDay;
    ASSERT_TRUE(f.hour == 0 && f.minute == 0 && f.second == 0 && f.fraction == 0u) << ticks / kDay;
    ASSERT_GE(f.year, previous_day_ticks_year);
    previous_day_ticks_year = f.year;
  }
  EXPECT_EQ(previous_day_ticks_year, 1600);
  const Fields start = FieldsOf(TimeStamp::FromTicks(first));
  EXPECT_TRUE(start.year == 1 && start.month == 1 && start.day == 1);
}

TEST(ToW3DTF, Forms) {
  // No trace of the fraction; the year is not padded.
  const std::pair<Fields, const char*> rows[] = {
      {{2001, 2, 3, 4, 5, 6, 1234567}, "2001-02-03T04:05:06Z"},
      {{9999, 12, 31, 23, 59, 59, 9999999}, "9999-12-31T23:59:59Z"},
      {{999, 1, 1, 0, 0, 0, 0}, "999-01-01T00:00:00Z"},
      {{12, 6, 15, 0, 0, 0, 0}, "12-06-15T00:00:00Z"}};
  for (const auto& [f, text] : rows) EXPECT_EQ(Stamp(f).ToW3DTF(), text);
}

TEST(TimeStamp, SetToCurrentTimeHasWholeSeconds) {
  const int64_t before = static_cast<int64_t>(std::time(nullptr));
  TimeStamp now;
  now.SetToCurrentTime();
  const int64_t after = static_cast<int64_t>(std::time(nullptr));
  EXPECT_EQ(now.ticks % TimeStamp::kTicksPerSecond, 0);
  const int64_t seconds = (now.ticks - TimeStamp::kTicksFrom1601To1970) / TimeStamp::kTicksPerSecond;
  EXPECT_GE(seconds, before);
  EXPECT_LE(seconds, after);
  EXPECT_EQ(FieldsOf(now).fraction, 0u);
}

TEST(getNumDecimalDigits, Values) {
  // Every power of ten and the number below it.
  EXPECT_EQ(Vesk::getNumDecimalDigits(0), 0u);
  EXPECT_EQ(Vesk::getNumDecimalDigits(1000000000u), 10u);
  EXPECT_EQ(Vesk::getNumDecimalDigits(4294967295u), 10u);
  for (unsigned int digits = 1, power = 1; digits <= 9; ++digits, power *= 10) {
    EXPECT_EQ(Vesk::getNumDecimalDigits(power), digits) << power;
    EXPECT_EQ(Vesk::getNumDecimalDigits(power * 10 - 1), digits) << power;
  }
}

TEST(sprintf_s, FormatsCountsAndAssertsTheSize) {
  char text[256];
  EXPECT_EQ(Vesk::sprintf_s(text, "%d-%02d", 7, 3), 4);
  EXPECT_STREQ(text, "7-03");
  char small[8];
  EXPECT_EQ(Vesk::sprintf_s(small, "%s", "1234567"), 7);
  EXPECT_STREQ(small, "1234567");
  // Eight characters pass the check (at most the array's size), cut to fit.
  EXPECT_EQ(Vesk::sprintf_s(small, "%s", "12345678"), 8);
  EXPECT_STREQ(small, "1234567");
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(Vesk::sprintf_s(small, "%s", "123456789"),
               "mscrt_stdio:44: failed assertion `result <= \\(int\\)_DstSize'");
}

}  // namespace
