// Automation dates: the epoch, negative dates, rounding to the second, the
// DATE range, two-digit years, UDATE and MS-DOS dates.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quillbox/timeapi.h"
#include "quillbox/winerror.h"

namespace {

SYSTEMTIME Make(WORD year, WORD month, WORD day, WORD hour = 0, WORD minute = 0, WORD second = 0, WORD ms = 0) {
  SYSTEMTIME st{};
  st.wYear = year;
  st.wMonth = month;
  st.wDay = day;
  st.wHour = hour;
  st.wMinute = minute;
  st.wSecond = second;
  st.wMilliseconds = ms;
  return st;
}

void ExpectFields(const SYSTEMTIME& st, WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second) {
  EXPECT_EQ(st.wYear, year);
  EXPECT_EQ(st.wMonth, month);
  EXPECT_EQ(st.wDay, day);
  EXPECT_EQ(st.wHour, hour);
  EXPECT_EQ(st.wMinute, minute);
  EXPECT_EQ(st.wSecond, second);
  EXPECT_EQ(st.wMilliseconds, 0);
}

TEST(Datetime, EpochIsDayZero) {
  SYSTEMTIME st = Make(1899, 12, 30);
  double date = -1;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_EQ(date, 0.0);
}

TEST(Datetime, NegativeDateFractionCountsAwayFromZero) {
  SYSTEMTIME st = Make(1899, 12, 29, 6);
  double date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_EQ(date, -1.25);
  SYSTEMTIME back{};
  ASSERT_TRUE(VariantTimeToSystemTime(-1.25, &back));
  ExpectFields(back, 1899, 12, 29, 6, 0, 0);
  EXPECT_EQ(back.wDayOfWeek, 5);  // a Friday
}

TEST(Datetime, DateBefore1899RoundTrips) {
  SYSTEMTIME st = Make(1800, 1, 1, 18, 30, 15);
  double date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  EXPECT_LT(date, -36522.0);
  SYSTEMTIME back{};
  ASSERT_TRUE(VariantTimeToSystemTime(date, &back));
  ExpectFields(back, 1800, 1, 1, 18, 30, 15);
}

TEST(Datetime, MillisecondsAreIgnoredOnTheWayIn) {
  SYSTEMTIME whole = Make(2000, 1, 1, 12, 0, 0, 0);
  SYSTEMTIME late = Make(2000, 1, 1, 12, 0, 0, 999);
  double a = 0, b = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&whole, &a));
  ASSERT_TRUE(SystemTimeToVariantTime(&late, &b));
  EXPECT_EQ(a, b);
}

TEST(Datetime, TimeRoundsToTheNearestSecond) {
  const double half_second = 0.5 / 86400;
  SYSTEMTIME st{};
  ASSERT_TRUE(VariantTimeToSystemTime(36526.0 + half_second * 1.01, &st));
  ExpectFields(st, 2000, 1, 1, 0, 0, 1);
  ASSERT_TRUE(VariantTimeToSystemTime(36526.0 + half_second * 0.98, &st));
  ExpectFields(st, 2000, 1, 1, 0, 0, 0);
  ASSERT_TRUE(VariantTimeToSystemTime(-2.0 - half_second * 1.01, &st));
  ExpectFields(st, 1899, 12, 28, 0, 0, 1);
}

TEST(Datetime, RoundingAcrossMidnightGivesTheNextDaysWeekday) {
  SYSTEMTIME st{};
  ASSERT_TRUE(VariantTimeToSystemTime(36525.9999999, &st));  // 1999-12-31 23:59:59.99
  ExpectFields(st, 2000, 1, 1, 0, 0, 0);
  EXPECT_EQ(st.wDayOfWeek, 6);  // 2000-01-01 was a Saturday
}

TEST(Datetime, ValuesOutsideTheDateRangeAreRefused) {
  SYSTEMTIME st{};
  EXPECT_FALSE(VariantTimeToSystemTime(2958466.0, &st));
  EXPECT_FALSE(VariantTimeToSystemTime(-657435.0, &st));
  EXPECT_FALSE(VariantTimeToSystemTime(2958465.99999999, &st));  // rounds into the year 10000
  EXPECT_FALSE(VariantTimeToSystemTime(std::numeric_limits<double>::quiet_NaN(), &st));
  EXPECT_FALSE(VariantTimeToSystemTime(std::numeric_limits<double>::infinity(), &st));
  EXPECT_TRUE(VariantTimeToSystemTime(-657434.0, &st));
  ExpectFields(st, 100, 1, 1, 0, 0, 0);
}

TEST(Datetime, TwoDigitYearsPivotAtFifty) {
  SYSTEMTIME y49 = Make(49, 1, 1);
  SYSTEMTIME y50 = Make(50, 1, 1);
  double a = 0, b = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&y49, &a));
  ASSERT_TRUE(SystemTimeToVariantTime(&y50, &b));
  SYSTEMTIME st{};
  ASSERT_TRUE(VariantTimeToSystemTime(a, &st));
  EXPECT_EQ(st.wYear, 2049);
  ASSERT_TRUE(VariantTimeToSystemTime(b, &st));
  EXPECT_EQ(st.wYear, 1950);
}

TEST(Datetime, SystemTimeRefusesMonthThirteenButUdateRollsItOver) {
  SYSTEMTIME st = Make(2000, 13, 1);
  double date = 0;
  EXPECT_FALSE(SystemTimeToVariantTime(&st, &date));
  UDATE ud{st, 0};
  ASSERT_EQ(VarDateFromUdate(&ud, 0, &date), S_OK);
  SYSTEMTIME back{};
  ASSERT_TRUE(VariantTimeToSystemTime(date, &back));
  ExpectFields(back, 2001, 1, 1, 0, 0, 0);
}

TEST(Datetime, HourPastMidnightRollsIntoTheNextDay) {
  SYSTEMTIME st = Make(2000, 1, 1, 25);
  double date = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&st, &date));
  SYSTEMTIME back{};
  ASSERT_TRUE(VariantTimeToSystemTime(date, &back));
  ExpectFields(back, 2000, 1, 2, 1, 0, 0);
}

TEST(Datetime, UdateCarriesTheDayOfTheYear) {
  UDATE ud{};
  ASSERT_EQ(VarUdateFromDate(36585.5, 0, &ud), S_OK);  // 2000-02-29 12:00
  EXPECT_EQ(ud.wDayOfYear, 60);
  ExpectFields(ud.st, 2000, 2, 29, 12, 0, 0);
  EXPECT_EQ(VarUdateFromDate(3e6, 0, &ud), E_INVALIDARG);
}

TEST(Datetime, UdateYearBeyondTheRangeIsRefused) {
  UDATE ud{Make(32767, 1, 1), 0};
  DATE date = 0;
  EXPECT_EQ(VarDateFromUdate(&ud, 0, &date), E_INVALIDARG);
}

TEST(Datetime, DosDateAndTimeRoundTrip) {
  // 2021-03-25 14:30:58 in FAT words.
  const USHORT dos_date = static_cast<USHORT>(((2021 - 1980) << 9) | (3 << 5) | 25);
  const USHORT dos_time = static_cast<USHORT>((14 << 11) | (30 << 5) | (58 / 2));
  double date = 0;
  ASSERT_TRUE(DosDateTimeToVariantTime(dos_date, dos_time, &date));
  SYSTEMTIME st{};
  ASSERT_TRUE(VariantTimeToSystemTime(date, &st));
  ExpectFields(st, 2021, 3, 25, 14, 30, 58);
  USHORT back_date = 0, back_time = 0;
  ASSERT_TRUE(VariantTimeToDosDateTime(date, &back_date, &back_time));
  EXPECT_EQ(back_date, dos_date);
  EXPECT_EQ(back_time, dos_time);
}

TEST(Datetime, DosDateBefore1980IsRefused) {
  USHORT dos_date = 0, dos_time = 0;
  EXPECT_FALSE(VariantTimeToDosDateTime(0.0, &dos_date, &dos_time));
  double date = 0;
  EXPECT_FALSE(DosDateTimeToVariantTime(0, 0, &date));  // month 0
}

}  // namespace
