// File times and automation dates for element times: read times are shown
// in local time, set times are taken as given (no local-to-UTC step), so a
// time set and read back moves by the zone's offset. Property values use the
// same two conversions.
#pragma once

#include "quillbox/winerror.h"
#include "quillbox/wtypes.h"

namespace quillbox::storage_tree {

// A zero file time is the date 0.0. Otherwise local time, then calendar
// fields without milliseconds, then the date; E_UNEXPECTED when any step
// fails.
HRESULT FileTimeToDate(const FILETIME& file_time, DATE* date);

// The date's calendar fields joined into a file time as they are. False
// when the date has no calendar fields or lies before 1601.
bool DateToFileTime(DATE date, FILETIME* file_time);

}  // namespace quillbox::storage_tree
