// Number text to ParsedNumber. The grammar, in order: blanks; any of one
// '+', one '-', one '(', one '$' with blanks between; digits with ','
// separators, '.', more digits (',' there is skipped too); an exponent
// 'e'/'E' with an optional sign; then blanks, one trailing sign, '$' and
// the ')' that closes a '('. "&H"/"&O" start a hexadecimal or octal integer.
#include "platform/automation/coercion_parse.h"

#include <limits>

namespace quillbox::automation {
namespace {

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int RadixDigit(char16_t c, int radix) {
  int value = -1;
  if (c >= u'0' && c <= u'9') value = c - u'0';
  else if (c >= u'a' && c <= u'f') value = c - u'a' + 10;
  else if (c >= u'A' && c <= u'F') value = c - u'A' + 10;
  return value >= 0 && value < radix ? value : -1;
}

HRESULT ParseRadix(std::u16string_view text, std::size_t pos, int radix, ParsedNumber* out) {
  out->kind = ParsedNumber::Kind::kRadix;
  std::size_t count = 0;
  std::uint64_t value = 0;
  for (; pos < text.size(); ++pos, ++count) {
    const int digit = RadixDigit(text[pos], radix);
    if (digit < 0) break;
    if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / radix) out->radix_overflow = true;
    value = value * radix + digit;
  }
  while (pos < text.size() && IsBlank(text[pos])) ++pos;
  if (count == 0 || pos != text.size()) return DISP_E_TYPEMISMATCH;
  out->radix = value;
  return S_OK;
}

}  // namespace

bool IsBlank(char16_t c) {
  return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f' || c == 0x00A0;
}

std::u16string_view TextUpToNul(const OLECHAR* text, std::size_t length) {
  if (!text) return {};
  std::u16string_view view(text, length);
  const std::size_t nul = view.find(u'\0');
  return nul == std::u16string_view::npos ? view : view.substr(0, nul);
}

HRESULT ParseNumberText(std::u16string_view text, ParsedNumber* out) {
  std::size_t pos = 0;
  const std::size_t end = text.size();
  bool plus = false, minus = false, paren = false, currency = false;
  // Leading signs, parenthesis, currency and blanks.
  for (; pos < end; ++pos) {
    const char16_t c = text[pos];
    if (IsBlank(c)) continue;
    if (c == u'+' && !plus) plus = true;
    else if (c == u'-' && !minus) minus = true;
    else if (c == u'(' && !paren) paren = true;
    else if (c == u'$' && !currency) currency = true;
    else break;
  }
  if (pos + 1 < end && text[pos] == u'&') {
    const char16_t kind = text[pos + 1];
    if (kind == u'H' || kind == u'h') return ParseRadix(text, pos + 2, 16, out);
    if (kind == u'O' || kind == u'o') return ParseRadix(text, pos + 2, 8, out);
    return DISP_E_TYPEMISMATCH;
  }
  ExactNumber& n = out->decimal;
  out->kind = ParsedNumber::Kind::kDecimal;
  std::int64_t decimals = 0;
  bool any_digit = false, point = false;
  for (; pos < end; ++pos) {
    const char16_t c = text[pos];
    if (IsDigit(c)) {
      any_digit = true;
      if (!(n.digits.empty() && c == u'0')) n.digits.push_back(static_cast<char>(c));
      if (point) ++decimals;  // zeros after the point count as decimals too
    } else if (c == u',' && (any_digit || point)) {
      continue;  // thousands separators are skipped, even after the point
    } else if (c == u'.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (!any_digit) return DISP_E_TYPEMISMATCH;
  std::int64_t exponent = 0;
  if (pos < end && (text[pos] == u'e' || text[pos] == u'E')) {
    ++pos;
    bool negative_exponent = false;
    if (pos < end && (text[pos] == u'+' || text[pos] == u'-')) negative_exponent = text[pos++] == u'-';
    if (pos >= end || !IsDigit(text[pos])) return DISP_E_TYPEMISMATCH;
    for (; pos < end && IsDigit(text[pos]); ++pos) {
      if (exponent < 1000000) exponent = exponent * 10 + (text[pos] - u'0');
    }
    if (negative_exponent) exponent = -exponent;
  }
  // Trailing blanks, sign, currency and the closing parenthesis.
  bool closed = false, trailing_sign = false;
  for (; pos < end; ++pos) {
    const char16_t c = text[pos];
    if (IsBlank(c)) continue;
    if ((c == u'+' || c == u'-') && !trailing_sign && !closed) {
      trailing_sign = true;
      if (c == u'-') minus = true;
    } else if (c == u'$' && !currency) {
      currency = true;
    } else if (c == u')' && paren && !closed) {
      closed = true;
    } else {
      return DISP_E_TYPEMISMATCH;
    }
  }
  if (paren && !closed) return DISP_E_TYPEMISMATCH;
  n.negative = minus || paren;
  n.exponent = exponent - decimals;
  // Trailing zeros go into the exponent; zero has no sign.
  while (!n.digits.empty() && n.digits.back() == '0') {
    n.digits.pop_back();
    ++n.exponent;
  }
  if (n.digits.empty()) n.exponent = 0;
  return S_OK;
}

}  // namespace quillbox::automation
