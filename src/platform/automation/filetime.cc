// File times: SYSTEMTIME <-> FILETIME, local file times in the process's
// time zone, and the clock. A FILETIME counts 100-ns ticks since 1601-01-01
// UTC; only values below 2^63 are times (years 1601-30827).
#include <cstdint>
#include <ctime>

#include "platform/automation/datetime_math.h"
#include "quillbox/errhandlingapi.h"
#include "quillbox/timeapi.h"
#include "quillbox/winerror.h"

namespace {

using quillbox::automation::CivilFromDayNumber;
using quillbox::automation::DayNumber;
using quillbox::automation::DayOfWeek;
using quillbox::automation::DaysInMonth;
using quillbox::automation::FloorDiv;
using quillbox::automation::kFileTimeEpochDay;
using quillbox::automation::kSecondsPerDay;

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr std::uint64_t kMaxFileTime = 0x7FFF'FFFF'FFFF'FFFFull;
// 1970-01-01 in FILETIME seconds.
constexpr std::int64_t kUnixEpochSeconds = 11'644'473'600;

std::uint64_t Ticks(const FILETIME& ft) {
  return (std::uint64_t{ft.dwHighDateTime} << 32) | ft.dwLowDateTime;
}

void SetTicks(std::uint64_t ticks, FILETIME* ft) {
  ft->dwLowDateTime = static_cast<DWORD>(ticks);
  ft->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// The offset of local time from UTC in seconds, as in force now. Windows
// converts file times with the current bias whatever the date converted, so
// that the two directions are exact inverses.
std::int64_t CurrentLocalOffset() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  tzset();
  if (!localtime_r(&now, &local)) return 0;
  return local.tm_gmtoff;
}

void FillSystemTime(std::uint64_t ticks, SYSTEMTIME* st) {
  const auto seconds = static_cast<std::int64_t>(ticks / kTicksPerSecond);
  const std::int64_t day = FloorDiv(seconds, kSecondsPerDay) + kFileTimeEpochDay;
  const std::int64_t time = seconds % kSecondsPerDay;
  const auto date = CivilFromDayNumber(day);
  st->wYear = static_cast<WORD>(date.year);
  st->wMonth = static_cast<WORD>(date.month);
  st->wDayOfWeek = static_cast<WORD>(DayOfWeek(day));
  st->wDay = static_cast<WORD>(date.day);
  st->wHour = static_cast<WORD>(time / 3600);
  st->wMinute = static_cast<WORD>(time / 60 % 60);
  st->wSecond = static_cast<WORD>(time % 60);
  st->wMilliseconds = static_cast<WORD>(ticks % kTicksPerSecond / kTicksPerMillisecond);
}

std::uint64_t NowTicks() {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::uint64_t>(now.tv_sec + kUnixEpochSeconds) * kTicksPerSecond +
         static_cast<std::uint64_t>(now.tv_nsec) / 100;
}

}  // namespace

BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime) {
  if (!lpSystemTime || !lpFileTime) return Fail(ERROR_INVALID_PARAMETER);
  const SYSTEMTIME& st = *lpSystemTime;
  // Every field but the day of the week must be in range; 30827 is the last
  // year below 2^63 ticks.
  if (st.wYear < 1601 || st.wYear > 30827 || st.wMonth < 1 || st.wMonth > 12 || st.wDay < 1 ||
      st.wDay > DaysInMonth(st.wYear, st.wMonth) || st.wHour > 23 || st.wMinute > 59 || st.wSecond > 59 ||
      st.wMilliseconds > 999) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const std::int64_t day = DayNumber(st.wYear, st.wMonth, st.wDay) - kFileTimeEpochDay;
  const std::int64_t seconds = day * kSecondsPerDay + st.wHour * 3600 + st.wMinute * 60 + st.wSecond;
  const std::uint64_t ticks =
      static_cast<std::uint64_t>(seconds) * kTicksPerSecond + st.wMilliseconds * kTicksPerMillisecond;
  if (ticks > kMaxFileTime) return Fail(ERROR_INVALID_PARAMETER);
  SetTicks(ticks, lpFileTime);
  return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime) {
  if (!lpFileTime || !lpSystemTime) return Fail(ERROR_INVALID_PARAMETER);
  const std::uint64_t ticks = Ticks(*lpFileTime);
  if (ticks > kMaxFileTime) return Fail(ERROR_INVALID_PARAMETER);
  FillSystemTime(ticks, lpSystemTime);
  return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* lpFileTime, LPFILETIME lpLocalFileTime) {
  if (!lpFileTime || !lpLocalFileTime) return Fail(ERROR_INVALID_PARAMETER);
  const auto offset = CurrentLocalOffset() * static_cast<std::int64_t>(kTicksPerSecond);
  // Wraps like Windows' unsigned arithmetic near the ends of the range.
  SetTicks(Ticks(*lpFileTime) + static_cast<std::uint64_t>(offset), lpLocalFileTime);
  return TRUE;
}

BOOL LocalFileTimeToFileTime(const FILETIME* lpLocalFileTime, LPFILETIME lpFileTime) {
  if (!lpLocalFileTime || !lpFileTime) return Fail(ERROR_INVALID_PARAMETER);
  const auto offset = CurrentLocalOffset() * static_cast<std::int64_t>(kTicksPerSecond);
  SetTicks(Ticks(*lpLocalFileTime) - static_cast<std::uint64_t>(offset), lpFileTime);
  return TRUE;
}

LONG CompareFileTime(const FILETIME* lpFileTime1, const FILETIME* lpFileTime2) {
  if (!lpFileTime1 || !lpFileTime2) return 0;
  const std::uint64_t a = Ticks(*lpFileTime1);
  const std::uint64_t b = Ticks(*lpFileTime2);
  return a < b ? -1 : (a > b ? 1 : 0);
}

void GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime) {
  if (lpSystemTimeAsFileTime) SetTicks(NowTicks(), lpSystemTimeAsFileTime);
}

void GetSystemTime(LPSYSTEMTIME lpSystemTime) {
  if (lpSystemTime) FillSystemTime(NowTicks(), lpSystemTime);
}

void GetLocalTime(LPSYSTEMTIME lpSystemTime) {
  if (!lpSystemTime) return;
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::tm local{};
  tzset();
  localtime_r(&now.tv_sec, &local);
  const std::uint64_t ticks =
      static_cast<std::uint64_t>(now.tv_sec + local.tm_gmtoff + kUnixEpochSeconds) * kTicksPerSecond +
      static_cast<std::uint64_t>(now.tv_nsec) / 100;
  FillSystemTime(ticks, lpSystemTime);
}
