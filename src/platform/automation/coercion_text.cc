// Writing numbers and dates as text, and reading boolean words.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "platform/automation/coercion_text.h"
#include "platform/automation/datetime_math.h"

namespace quillbox::automation {

std::u16string FormatReal(double value, int precision) {
  if (value == 0) return u"0";  // negative zero too
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*G", precision, value);
  std::string text(buffer);
  return std::u16string(text.begin(), text.end());
}

HRESULT FormatDate(DATE value, std::u16string* out) {
  std::int64_t seconds = 0;
  if (!SecondsFromDate(value, &seconds)) return E_INVALIDARG;
  const bool show_date = std::trunc(value) != 0;
  const bool show_time = value != std::trunc(value);
  const std::int64_t day = FloorDiv(seconds, kSecondsPerDay);
  const std::int64_t time = seconds - day * kSecondsPerDay;
  std::string text;
  char buffer[64];
  if (show_date) {
    const CivilDate civil = CivilFromDayNumber(day);
    std::snprintf(buffer, sizeof buffer, "%d/%d/%lld", civil.month, civil.day, static_cast<long long>(civil.year));
    text += buffer;
  }
  if (show_time || !show_date) {  // midnight of day 0 still shows its time
    const int hour = static_cast<int>(time / 3600);
    const int hour12 = hour % 12 == 0 ? 12 : hour % 12;
    std::snprintf(buffer, sizeof buffer, "%d:%02d:%02d %s", hour12, static_cast<int>(time / 60 % 60),
                  static_cast<int>(time % 60), hour < 12 ? "AM" : "PM");
    if (!text.empty()) text += ' ';
    text += buffer;
  }
  *out = std::u16string(text.begin(), text.end());
  return S_OK;
}

bool ParseBoolWord(std::u16string_view text, bool* value) {
  auto equals_ignoring_case = [](std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
      char16_t c = a[i];
      if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
      if (c != b[i]) return false;
    }
    return true;
  };
  if (equals_ignoring_case(text, u"true") || text == u"#TRUE#") {
    *value = true;
    return true;
  }
  if (equals_ignoring_case(text, u"false") || text == u"#FALSE#") {
    *value = false;
    return true;
  }
  return false;
}

}  // namespace quillbox::automation
