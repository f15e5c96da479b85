// Calendar arithmetic for automation dates (see datetime_math.h).
#include "platform/automation/datetime_math.h"

#include <cmath>

namespace quillbox::automation {
namespace {

// Days from 1970-01-01 of a proleptic Gregorian date (era-based, exact for
// every 64-bit year we can meet).
std::int64_t DaysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2 ? 1 : 0;
  const std::int64_t era = FloorDiv(y, 400);
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

// 1970-01-01 counted from 1899-12-30.
constexpr std::int64_t kUnixEpochDay = 25569;

}  // namespace

std::int64_t DayNumber(std::int64_t year, std::int64_t month, std::int64_t day) {
  year += FloorDiv(month - 1, 12);
  const int m = static_cast<int>(month - 1 - FloorDiv(month - 1, 12) * 12) + 1;
  return DaysFromCivil(year, m, 1) + kUnixEpochDay + (day - 1);
}

CivilDate CivilFromDayNumber(std::int64_t day_number) {
  const std::int64_t z = day_number - kUnixEpochDay + 719468;
  const std::int64_t era = FloorDiv(z, 146097);
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const int d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  const int m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  return CivilDate{yoe + era * 400 + (m <= 2 ? 1 : 0), m, d};
}

bool IsLeapYear(std::int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(std::int64_t year, int month) {
  static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month == 2 && IsLeapYear(year)) return 29;
  return kDays[month - 1];
}

int DayOfWeek(std::int64_t day_number) {
  // 1899-12-30 was a Saturday.
  return static_cast<int>(day_number + 6 - FloorDiv(day_number + 6, 7) * 7);
}

int DayOfYear(std::int64_t day_number) {
  const CivilDate date = CivilFromDayNumber(day_number);
  return static_cast<int>(day_number - DayNumber(date.year, 1, 1)) + 1;
}

double DateFromSeconds(std::int64_t seconds) {
  const std::int64_t day = FloorDiv(seconds, kSecondsPerDay);
  const std::int64_t time = seconds - day * kSecondsPerDay;
  const int hour = static_cast<int>(time / 3600);
  const int minute = static_cast<int>(time / 60 % 60);
  const int second = static_cast<int>(time % 60);
  // Summed unit by unit, left to right: this is the order whose rounding
  // the recorded Windows values show, bit for bit.
  const double magnitude = static_cast<double>(day < 0 ? -day : day) + hour / 24.0 + minute / 1440.0 +
                           second / 86400.0;
  return day < 0 ? -magnitude : magnitude;
}

bool SecondsFromDate(double date, std::int64_t* seconds) {
  if (!std::isfinite(date)) return false;
  if (date >= static_cast<double>(kLastDateDay + 1) || date <= static_cast<double>(kFirstDateDay - 1)) {
    return false;
  }
  // Back to a continuous count of days (negative dates carry the time away
  // from zero), shifted so that every valid date is positive; then round
  // half up in seconds. The shift keeps the rounding the same on both sides
  // of 1899-12-30.
  const double whole = std::trunc(date);
  const double linear = date >= 0 ? date : whole + (whole - date);
  const double shifted = (linear - static_cast<double>(kFirstDateDay)) * static_cast<double>(kSecondsPerDay);
  const std::int64_t rounded = static_cast<std::int64_t>(std::floor(shifted + 0.5));
  const std::int64_t result = rounded + kFirstDateDay * kSecondsPerDay;
  if (result < kFirstDateDay * kSecondsPerDay || result >= (kLastDateDay + 1) * kSecondsPerDay) return false;
  *seconds = result;
  return true;
}

}  // namespace quillbox::automation
