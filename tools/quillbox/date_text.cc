// Element times to ISO 8601 text and back, through the platform's date
// functions.
#include "date_text.h"

#include <cstdio>

namespace quillbox::tool {
namespace {

// Reads exactly width digits at text[*at].
bool Digits(const std::string& text, size_t* at, int width, WORD* value) {
  if (*at + static_cast<size_t>(width) > text.size()) return false;
  int v = 0;
  for (int i = 0; i < width; ++i) {
    const char c = text[*at + static_cast<size_t>(i)];
    if (c < '0' || c > '9') return false;
    v = v * 10 + (c - '0');
  }
  *at += static_cast<size_t>(width);
  *value = static_cast<WORD>(v);
  return true;
}

bool Expect(const std::string& text, size_t* at, char c) {
  if (*at >= text.size() || text[*at] != c) return false;
  ++*at;
  return true;
}

// The fields of text, and whether they are UTC.
bool ParseFields(const std::string& text, SYSTEMTIME* fields, bool* utc) {
  SYSTEMTIME t{};
  size_t at = 0;
  if (!Digits(text, &at, 4, &t.wYear) || !Expect(text, &at, '-') || !Digits(text, &at, 2, &t.wMonth) ||
      !Expect(text, &at, '-') || !Digits(text, &at, 2, &t.wDay)) {
    return false;
  }
  if (at < text.size() && (text[at] == 'T' || text[at] == ' ')) {
    ++at;
    if (!Digits(text, &at, 2, &t.wHour) || !Expect(text, &at, ':') || !Digits(text, &at, 2, &t.wMinute)) {
      return false;
    }
    if (at < text.size() && text[at] == ':' && !(++at, Digits(text, &at, 2, &t.wSecond))) return false;
  }
  *utc = at < text.size() && text[at] == 'Z';
  if (*utc) ++at;
  *fields = t;
  return at == text.size();
}

}  // namespace

std::optional<std::string> DateText(DATE date) {
  if (date == 0.0) return std::nullopt;
  return DateValueText(date);
}

std::optional<std::string> DateValueText(DATE date) {
  SYSTEMTIME t{};
  if (!VariantTimeToSystemTime(date, &t)) return std::nullopt;
  char text[48];
  std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute,
                t.wSecond);
  return std::string(text);
}

Status ParseDate(const std::string& text, DATE* date) {
  const auto bad = [&] {
    return Status::Tool("invalid date \"" + text +
                        "\": expected YYYY-MM-DD, YYYY-MM-DDTHH:MM or YYYY-MM-DDTHH:MM:SS (then Z for UTC)");
  };
  SYSTEMTIME fields{};
  bool utc = false;
  if (!ParseFields(text, &fields, &utc) || fields.wYear < 1601) return bad();
  // SystemTimeToFileTime refuses impossible fields (February 30, 25:00).
  FILETIME as_given{};
  FILETIME universal{};
  if (!SystemTimeToFileTime(&fields, &as_given)) return bad();
  if (utc) {
    universal = as_given;
  } else if (!LocalFileTimeToFileTime(&as_given, &universal)) {
    return bad();
  }
  SYSTEMTIME stored{};
  DOUBLE value = 0;
  if (!FileTimeToSystemTime(&universal, &stored) || !SystemTimeToVariantTime(&stored, &value)) return bad();
  *date = value;
  return Status::Ok();
}

DATE Now() {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  now.wMilliseconds = 0;
  DOUBLE value = 0;
  SystemTimeToVariantTime(&now, &value);
  return value;
}

}  // namespace quillbox::tool
