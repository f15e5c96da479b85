// Reading dates and times from text for English (United States): month
// first ("12/31/1999", "Dec 31, 1999", "31-Dec-1999"), a year first when it
// has more than two digits or passes 31 ("1999-12-31"), day and month
// swapped when the month cannot be one ("31/12/1999"); times with ':' or,
// in a text without ':', with '.' ("11:59:59 PM", "0.5" is 0:05), or an
// hour with AM/PM ("9AM"). Two-digit years 00-49 are 2000-2049, 50-99 are
// 1950-1999.
#include <ctime>
#include <vector>

#include "platform/automation/coercion_parse.h"
#include "platform/automation/coercion_text.h"
#include "platform/automation/datetime_math.h"

namespace quillbox::automation {
namespace {

constexpr std::int64_t kNumberCap = 1000000000;  // larger numbers are invalid anyway

struct Token {
  enum class Kind { kNumber, kMonth, kMeridiem, kDayName } kind;
  std::int64_t value = 0;  // number, month 1-12, or 1 for PM
  int digit_count = 0;
  char16_t separator = 0;  // ':' or '.' joining it to the previous number, else ' '
};

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }

bool IsLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

// Month, day name or AM/PM; false for any other word.
bool ClassifyWord(std::u16string_view word, Token* token) {
  std::u16string lower;
  for (char16_t c : word) lower.push_back(Lower(c));
  static constexpr const char16_t* kMonths[] = {u"january", u"february", u"march",     u"april",
                                                u"may",     u"june",     u"july",      u"august",
                                                u"september", u"october", u"november", u"december"};
  static constexpr const char16_t* kDays[] = {u"sunday",   u"monday", u"tuesday", u"wednesday",
                                              u"thursday", u"friday", u"saturday"};
  for (int i = 0; i < 12; ++i) {
    const std::u16string_view name = kMonths[i];
    if (lower == name || (lower.size() == 3 && name.substr(0, 3) == lower)) {
      *token = {Token::Kind::kMonth, i + 1};
      return true;
    }
  }
  for (const char16_t* day : kDays) {
    const std::u16string_view name = day;
    if (lower == name || (lower.size() == 3 && name.substr(0, 3) == lower)) {
      *token = {Token::Kind::kDayName, 0};
      return true;
    }
  }
  if (lower == u"am" || lower == u"a" || lower == u"pm" || lower == u"p") {
    *token = {Token::Kind::kMeridiem, lower[0] == u'p' ? 1 : 0};
    return true;
  }
  return false;
}

bool IsDateSeparator(char16_t c) {
  return IsBlank(c) || c == u'/' || c == u'-' || c == u',' || c == u'.' || c == u':';
}

bool Tokenize(std::u16string_view text, std::vector<Token>* tokens, bool* has_colon) {
  std::size_t pos = 0;
  while (pos < text.size() && IsBlank(text[pos])) ++pos;
  char16_t pending = u' ';
  bool after_separator = false;
  while (pos < text.size()) {
    const char16_t c = text[pos];
    if (c >= u'0' && c <= u'9') {
      Token token{Token::Kind::kNumber};
      for (; pos < text.size() && text[pos] >= u'0' && text[pos] <= u'9'; ++pos) {
        token.value = std::min(token.value * 10 + (text[pos] - u'0'), kNumberCap);
        ++token.digit_count;
      }
      token.separator = pending;
      tokens->push_back(token);
    } else if (IsLetter(c)) {
      const std::size_t start = pos;
      while (pos < text.size() && IsLetter(text[pos])) ++pos;
      Token token{Token::Kind::kNumber};
      if (!ClassifyWord(text.substr(start, pos - start), &token)) return false;
      tokens->push_back(token);
    } else if (IsDateSeparator(c)) {
      if (tokens->empty()) return false;  // no sign or separator before the first part
      pending = after_separator && pending != u' ' ? u'?' : (IsBlank(c) ? u' ' : c);
      if (c == u':') *has_colon = true;
      after_separator = true;
      ++pos;
      continue;
    } else {
      return false;
    }
    pending = u' ';
    after_separator = false;
  }
  return !tokens->empty();
}

int ExpandYear(std::int64_t year) {
  if (year < 100) return static_cast<int>(year < 50 ? 2000 + year : 1900 + year);
  return static_cast<int>(year);
}

int CurrentYear() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  return parts.tm_year + 1900;
}

}  // namespace

HRESULT ParseDateText(std::u16string_view text, DATE* out) {
  std::vector<Token> tokens;
  bool has_colon = false;
  if (!Tokenize(text, &tokens, &has_colon)) return DISP_E_TYPEMISMATCH;
  const char16_t time_link = has_colon ? u':' : u'.';

  // The time: numbers joined by the time separator, or one number before AM/PM.
  std::vector<std::int64_t> time_parts;
  std::vector<const Token*> date_numbers;
  const Token* month_name = nullptr;
  int meridiem = -1;
  bool time_done = false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const Token& t = tokens[i];
    if (t.kind == Token::Kind::kMonth) {
      if (month_name) return DISP_E_TYPEMISMATCH;
      month_name = &t;
      continue;
    }
    if (t.kind == Token::Kind::kDayName) continue;
    if (t.kind == Token::Kind::kMeridiem) {
      if (meridiem >= 0) return DISP_E_TYPEMISMATCH;
      meridiem = static_cast<int>(t.value);
      if (time_parts.empty()) {
        // "9AM": the number just before is the hour.
        if (i == 0 || tokens[i - 1].kind != Token::Kind::kNumber || date_numbers.empty()) return DISP_E_TYPEMISMATCH;
        time_parts.push_back(date_numbers.back()->value);
        date_numbers.pop_back();
      }
      time_done = true;
      continue;
    }
    const bool joins_next = i + 1 < tokens.size() && tokens[i + 1].kind == Token::Kind::kNumber &&
                            tokens[i + 1].separator == time_link;
    const bool joined = t.separator == time_link && !time_parts.empty() && !time_done;
    if (joined) {
      time_parts.push_back(t.value);
      if (!joins_next) time_done = true;
    } else if (joins_next && !time_done && time_parts.empty()) {
      time_parts.push_back(t.value);
    } else {
      date_numbers.push_back(&t);
    }
  }
  if (time_parts.size() > 3) return DISP_E_TYPEMISMATCH;

  std::int64_t seconds_of_day = 0;
  if (!time_parts.empty()) {
    std::int64_t hour = time_parts[0];
    const std::int64_t minute = time_parts.size() > 1 ? time_parts[1] : 0;
    const std::int64_t second = time_parts.size() > 2 ? time_parts[2] : 0;
    if (meridiem >= 0) {
      if (hour < 1 || hour > 12) return DISP_E_TYPEMISMATCH;
      hour = hour % 12 + (meridiem == 1 ? 12 : 0);
    }
    if (hour > 23 || minute > 59 || second > 59) return DISP_E_TYPEMISMATCH;
    seconds_of_day = hour * 3600 + minute * 60 + second;
  }

  // The date: month first, unless a name gives the month or the first
  // number can only be a year.
  std::int64_t day_number = 0;
  if (!date_numbers.empty() || month_name) {
    std::int64_t year = 0, month = 0, day = 0;
    auto is_year = [](const Token* t) { return t->digit_count > 2 || t->value > 31; };
    const std::size_t n = date_numbers.size();
    if (month_name) {
      month = month_name->value;
      if (n == 2) {
        const bool first_is_year = is_year(date_numbers[0]);
        const Token* y = first_is_year ? date_numbers[0] : date_numbers[1];
        const Token* d = first_is_year ? date_numbers[1] : date_numbers[0];
        year = y->value, day = d->value;
      } else if (n == 1 && is_year(date_numbers[0])) {
        year = date_numbers[0]->value, day = 1;
      } else if (n == 1) {
        day = date_numbers[0]->value, year = CurrentYear();
      } else {
        return DISP_E_TYPEMISMATCH;
      }
    } else if (n == 3) {
      if (is_year(date_numbers[0])) {
        year = date_numbers[0]->value;
        month = date_numbers[1]->value, day = date_numbers[2]->value;
      } else {
        month = date_numbers[0]->value, day = date_numbers[1]->value;
        year = date_numbers[2]->value;
        if (month > 12 && day <= 12) std::swap(month, day);
      }
    } else if (n == 2) {
      if (is_year(date_numbers[1])) {
        month = date_numbers[0]->value, day = 1;
        year = date_numbers[1]->value;
      } else {
        month = date_numbers[0]->value, day = date_numbers[1]->value;
        year = CurrentYear();
        if (month > 12 && day <= 12) std::swap(month, day);
      }
    } else {
      return DISP_E_TYPEMISMATCH;
    }
    year = ExpandYear(year);
    if (year < 100 || year > 9999 || month < 1 || month > 12) return DISP_E_TYPEMISMATCH;
    if (day < 1 || day > DaysInMonth(year, static_cast<int>(month))) return DISP_E_TYPEMISMATCH;
    day_number = DayNumber(year, month, day);
  } else if (time_parts.empty()) {
    return DISP_E_TYPEMISMATCH;
  }
  *out = DateFromSeconds(day_number * kSecondsPerDay + seconds_of_day);
  return S_OK;
}

}  // namespace quillbox::automation
