// Automation dates: SYSTEMTIME and UDATE to DATE and back, and MS-DOS date
// and time words. The calendar arithmetic lives in datetime_math.h.
#include <cstdint>

#include "platform/automation/datetime_math.h"
#include "quillbox/timeapi.h"
#include "quillbox/winerror.h"

namespace {

using quillbox::automation::CivilFromDayNumber;
using quillbox::automation::DateFromSeconds;
using quillbox::automation::DayNumber;
using quillbox::automation::DayOfWeek;
using quillbox::automation::DayOfYear;
using quillbox::automation::FloorDiv;
using quillbox::automation::kSecondsPerDay;
using quillbox::automation::SecondsFromDate;

// Two-digit years: 0-49 are 2000-2049, 50-99 are 1950-1999. The year is read
// as a signed 16-bit value, so 65535 is -1 and becomes 1999.
std::int64_t ExpandYear(WORD raw_year) {
  std::int64_t year = static_cast<SHORT>(raw_year);
  if (year < 50) {
    year += 2000;
  } else if (year < 100) {
    year += 1900;
  }
  return year;
}

// Seconds since 1899-12-30 of a SYSTEMTIME whose fields may run over (month
// 13, day 0, hour 25 ...): each rolls into the next larger unit.
// Milliseconds and the day of the week are not read.
std::int64_t RolledSeconds(std::int64_t year, const SYSTEMTIME& st) {
  const std::int64_t day = DayNumber(year, st.wMonth, st.wDay);
  return day * kSecondsPerDay + st.wHour * std::int64_t{3600} + st.wMinute * std::int64_t{60} + st.wSecond;
}

void FillSystemTime(std::int64_t seconds, SYSTEMTIME* st) {
  const std::int64_t day = FloorDiv(seconds, kSecondsPerDay);
  const std::int64_t time = seconds - day * kSecondsPerDay;
  const auto date = CivilFromDayNumber(day);
  st->wYear = static_cast<WORD>(date.year);
  st->wMonth = static_cast<WORD>(date.month);
  st->wDayOfWeek = static_cast<WORD>(DayOfWeek(day));
  st->wDay = static_cast<WORD>(date.day);
  st->wHour = static_cast<WORD>(time / 3600);
  st->wMinute = static_cast<WORD>(time / 60 % 60);
  st->wSecond = static_cast<WORD>(time % 60);
  st->wMilliseconds = 0;
}

bool InDateRange(std::int64_t seconds) {
  return seconds >= quillbox::automation::kFirstDateDay * kSecondsPerDay &&
         seconds < (quillbox::automation::kLastDateDay + 1) * kSecondsPerDay;
}

}  // namespace

INT SystemTimeToVariantTime(LPSYSTEMTIME lpSystemTime, DOUBLE* pvtime) {
  if (!lpSystemTime || !pvtime) return FALSE;
  const SYSTEMTIME& st = *lpSystemTime;
  // Unlike VarDateFromUdate, a month past 12 or a day past 31 is refused
  // rather than rolled over.
  if (st.wYear > 9999 || st.wMonth > 12 || st.wDay > 31) return FALSE;
  const std::int64_t seconds = RolledSeconds(ExpandYear(st.wYear), st);
  if (!InDateRange(seconds)) return FALSE;
  *pvtime = DateFromSeconds(seconds);
  return TRUE;
}

INT VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime) {
  if (!lpSystemTime) return FALSE;
  std::int64_t seconds = 0;
  if (!SecondsFromDate(vtime, &seconds)) return FALSE;
  FillSystemTime(seconds, lpSystemTime);
  return TRUE;
}

HRESULT VarDateFromUdate(UDATE* pudateIn, ULONG dwFlags, DATE* pdateOut) {
  if (!pudateIn || !pdateOut) return E_INVALIDARG;
  const SYSTEMTIME& st = pudateIn->st;
  // The year is a signed 16-bit value here: beyond +-9999 it is refused.
  const SHORT signed_year = static_cast<SHORT>(st.wYear);
  if (signed_year > 9999 || signed_year < -9999) return E_INVALIDARG;
  // After the two-digit rule the year is used as an unsigned 16-bit value
  // again, so a "negative" year such as 60056 lands far in the future.
  const auto year = static_cast<WORD>(ExpandYear(st.wYear));
  std::int64_t seconds = RolledSeconds(year, st);
  if (dwFlags & VAR_TIMEVALUEONLY) {
    seconds -= FloorDiv(seconds, kSecondsPerDay) * kSecondsPerDay;
  } else if (dwFlags & VAR_DATEVALUEONLY) {
    seconds = FloorDiv(seconds, kSecondsPerDay) * kSecondsPerDay;
  }
  *pdateOut = DateFromSeconds(seconds);
  return S_OK;
}

HRESULT VarUdateFromDate(DATE dateIn, ULONG dwFlags, UDATE* pudateOut) {
  if (!pudateOut) return E_INVALIDARG;
  std::int64_t seconds = 0;
  if (!SecondsFromDate(dateIn, &seconds)) return E_INVALIDARG;
  if (dwFlags & VAR_TIMEVALUEONLY) {
    seconds -= FloorDiv(seconds, kSecondsPerDay) * kSecondsPerDay;
  }
  FillSystemTime(seconds, &pudateOut->st);
  pudateOut->wDayOfYear = static_cast<USHORT>(DayOfYear(FloorDiv(seconds, kSecondsPerDay)));
  return S_OK;
}

INT DosDateTimeToVariantTime(USHORT wDosDate, USHORT wDosTime, DOUBLE* pvtime) {
  if (!pvtime) return FALSE;
  SYSTEMTIME st{};
  st.wYear = static_cast<WORD>(1980 + (wDosDate >> 9));
  st.wMonth = static_cast<WORD>((wDosDate >> 5) & 0x0F);
  st.wDay = static_cast<WORD>(wDosDate & 0x1F);
  st.wHour = static_cast<WORD>(wDosTime >> 11);
  st.wMinute = static_cast<WORD>((wDosTime >> 5) & 0x3F);
  st.wSecond = static_cast<WORD>((wDosTime & 0x1F) * 2);
  // FAT fields that cannot name a real moment are refused.
  if (st.wMonth < 1 || st.wMonth > 12 || st.wDay < 1 || st.wHour > 23 || st.wMinute > 59 || st.wSecond > 59) {
    return FALSE;
  }
  return SystemTimeToVariantTime(&st, pvtime);
}

INT VariantTimeToDosDateTime(DOUBLE vtime, USHORT* pwDosDate, USHORT* pwDosTime) {
  if (!pwDosDate || !pwDosTime) return FALSE;
  SYSTEMTIME st{};
  if (!VariantTimeToSystemTime(vtime, &st)) return FALSE;
  // FAT counts years from 1980 in seven bits.
  if (st.wYear < 1980 || st.wYear > 2107) return FALSE;
  *pwDosDate = static_cast<USHORT>(((st.wYear - 1980) << 9) | (st.wMonth << 5) | st.wDay);
  *pwDosTime = static_cast<USHORT>((st.wHour << 11) | (st.wMinute << 5) | (st.wSecond / 2));
  return TRUE;
}
