// Calendar arithmetic for automation dates and file times: day numbers of
// the proleptic Gregorian calendar and the DATE encoding of a day and a time
// of day. Pure functions, safe from any thread.
#pragma once

#include <cstdint>

namespace quillbox::automation {

inline constexpr std::int64_t kSecondsPerDay = 86400;
// Day number of 1601-01-01 (the FILETIME epoch) counted from 1899-12-30.
inline constexpr std::int64_t kFileTimeEpochDay = -109205;
// Day numbers of the first and last days an automation DATE can hold.
inline constexpr std::int64_t kFirstDateDay = -657434;  // 0100-01-01
inline constexpr std::int64_t kLastDateDay = 2958465;   // 9999-12-31

// Division rounding toward minus infinity (b > 0).
inline constexpr std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
  return a / b - ((a % b != 0) && (a < 0) ? 1 : 0);
}

struct CivilDate {
  std::int64_t year;
  int month;  // 1-12
  int day;    // 1-31
};

// Days since 1899-12-30 of a date; month may be any value (it rolls over into
// the year) and day may be any value (it counts on from the month's first).
std::int64_t DayNumber(std::int64_t year, std::int64_t month, std::int64_t day);
CivilDate CivilFromDayNumber(std::int64_t day_number);

bool IsLeapYear(std::int64_t year);
int DaysInMonth(std::int64_t year, int month);
// 0 = Sunday, as SYSTEMTIME counts.
int DayOfWeek(std::int64_t day_number);
// 1-366.
int DayOfYear(std::int64_t day_number);

// Seconds since 1899-12-30 00:00 as a DATE: whole days plus the time of day,
// the fraction counting away from zero for days before 1899-12-30.
double DateFromSeconds(std::int64_t seconds);

// A DATE rounded to the nearest second, as seconds since 1899-12-30 00:00.
// False for NaN, infinities and values outside 0100-01-01 .. 9999-12-31
// (including values that round up into the year 10000).
bool SecondsFromDate(double date, std::int64_t* seconds);

}  // namespace quillbox::automation
