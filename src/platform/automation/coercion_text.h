// Text forms of numbers, booleans and dates as automation writes and reads
// them for the user locale. On Linux that is English (United States):
// "1.5", "1E+20", "True", "12/31/1999 11:59:00 PM". Thread-safe.
#pragma once

#include <string>
#include <string_view>

#include "quillbox/oleauto.h"

namespace quillbox::automation {

// A double with `precision` significant digits (15 for R8, 7 for R4):
// positional up to that many digits, else d.dddE+xx; no trailing zeros.
std::u16string FormatReal(double value, int precision);

// "M/D/YYYY h:mm:ss AM": the date part left out when the day is 0
// (30 December 1899), the time part when the time is exactly midnight.
// E_INVALIDARG outside 1 January 100 .. 31 December 9999.
HRESULT FormatDate(DATE value, std::u16string* out);

// Reads a date, a time or both. DISP_E_TYPEMISMATCH when the text is not one.
HRESULT ParseDateText(std::u16string_view text, DATE* out);

// "True"/"False" in either case, or "#TRUE#"/"#FALSE#".
bool ParseBoolWord(std::u16string_view text, bool* value);

}  // namespace quillbox::automation
