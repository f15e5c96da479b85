// Dates and times: SYSTEMTIME, FILETIME and automation dates, and the
// conversions between them.
//
// An automation DATE counts days since 1899-12-30 with the time of day as
// the fraction; for negative dates the fraction counts away from zero
// (-1.25 is 1899-12-29 06:00). DATE to SYSTEMTIME rounds to the nearest
// second. Local file times use the process's time zone (TZ) with the offset
// in force now, as Windows does. Failures set the thread's last error.
#pragma once

#include "quillbox/wtypes.h"

// An automation date split into fields, with the day of the year (1-366).
struct UDATE {
  SYSTEMTIME st;
  USHORT wDayOfYear;
};
using LPUDATE = UDATE*;

// Flags of VarDateFromUdate / VarUdateFromDate.
#ifndef VAR_TIMEVALUEONLY
#define VAR_TIMEVALUEONLY ((DWORD)0x00000001)
#endif
#ifndef VAR_DATEVALUEONLY
#define VAR_DATEVALUEONLY ((DWORD)0x00000002)
#endif

// SYSTEMTIME <-> DATE. Milliseconds and wDayOfWeek are ignored on the way
// in; years 0-49 read as 2000-2049 and 50-99 as 1950-1999.
WINOLEAUTAPI_(INT) SystemTimeToVariantTime(LPSYSTEMTIME lpSystemTime, DOUBLE* pvtime);
WINOLEAUTAPI_(INT) VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime);
WINOLEAUTAPI VarDateFromUdate(UDATE* pudateIn, ULONG dwFlags, DATE* pdateOut);
WINOLEAUTAPI VarUdateFromDate(DATE dateIn, ULONG dwFlags, UDATE* pudateOut);

// MS-DOS date and time words (FAT format: 2-second resolution, 1980-2107).
WINOLEAUTAPI_(INT) DosDateTimeToVariantTime(USHORT wDosDate, USHORT wDosTime, DOUBLE* pvtime);
WINOLEAUTAPI_(INT) VariantTimeToDosDateTime(DOUBLE vtime, USHORT* pwDosDate, USHORT* pwDosTime);

// SYSTEMTIME <-> FILETIME (UTC, years 1601-30827).
WINBASEAPI BOOL WINAPI SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, LPFILETIME lpFileTime);
WINBASEAPI BOOL WINAPI FileTimeToSystemTime(const FILETIME* lpFileTime, LPSYSTEMTIME lpSystemTime);
WINBASEAPI BOOL WINAPI FileTimeToLocalFileTime(const FILETIME* lpFileTime, LPFILETIME lpLocalFileTime);
WINBASEAPI BOOL WINAPI LocalFileTimeToFileTime(const FILETIME* lpLocalFileTime, LPFILETIME lpFileTime);
WINBASEAPI LONG WINAPI CompareFileTime(const FILETIME* lpFileTime1, const FILETIME* lpFileTime2);

// The clock.
WINBASEAPI void WINAPI GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime);
WINBASEAPI void WINAPI GetSystemTime(LPSYSTEMTIME lpSystemTime);
WINBASEAPI void WINAPI GetLocalTime(LPSYSTEMTIME lpSystemTime);
