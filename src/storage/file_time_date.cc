// Element times: file time to date and back.
#include "storage/file_time_date.h"

#include "platform/automation/datetime_math.h"
#include "quillbox/timeapi.h"

namespace quillbox::storage_tree {
namespace {

bool FieldsAreADate(const SYSTEMTIME& t) {
  if (t.wYear > 9999 || t.wMonth < 1 || t.wMonth > 12 || t.wDay < 1) return false;
  if (t.wDay > automation::DaysInMonth(t.wYear, t.wMonth)) return false;
  return t.wHour <= 23 && t.wMinute <= 59 && t.wSecond <= 59;
}

}  // namespace

HRESULT FileTimeToDate(const FILETIME& file_time, DATE* date) {
  if (file_time.dwLowDateTime == 0 && file_time.dwHighDateTime == 0) {
    *date = 0.0;
    return S_OK;
  }
  FILETIME local{};
  SYSTEMTIME fields{};
  if (!FileTimeToLocalFileTime(&file_time, &local) || !FileTimeToSystemTime(&local, &fields) ||
      !FieldsAreADate(fields)) {
    return E_UNEXPECTED;
  }
  const std::int64_t day = automation::DayNumber(fields.wYear, fields.wMonth, fields.wDay);
  const std::int64_t time_of_day = fields.wHour * 3600 + fields.wMinute * 60 + fields.wSecond;
  // Before 1899-12-30 the time of day counts away from zero, as dates do.
  *date = automation::DateFromSeconds(day * automation::kSecondsPerDay + time_of_day);
  return S_OK;
}

bool DateToFileTime(DATE date, FILETIME* file_time) {
  SYSTEMTIME fields{};
  return VariantTimeToSystemTime(date, &fields) && SystemTimeToFileTime(&fields, file_time);
}

}  // namespace quillbox::storage_tree
