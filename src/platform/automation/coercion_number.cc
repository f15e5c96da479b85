// Exact decimal arithmetic behind the coercion rules: conversions between
// digit strings, 96-bit DECIMALs, currencies and binary floating point.
#include "platform/automation/coercion_number.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace quillbox::automation {
namespace {

constexpr int kMaxDecimalScale = 28;
constexpr int kMaxDecimalDigits = 29;
const UInt128 kDecimalMax = (UInt128{1} << 96) - 1;

std::string DigitsOf(UInt128 value) {
  std::string text;
  while (value) {
    text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(value % 10)));
    value /= 10;
  }
  return text;
}

// Drops trailing zero digits into the exponent.
void Normalize(ExactNumber* n) {
  std::size_t start = n->digits.find_first_not_of('0');
  if (start == std::string::npos) {
    n->digits.clear();
    n->exponent = 0;
    return;
  }
  n->digits.erase(0, start);
  const std::size_t last = n->digits.find_last_not_of('0');
  n->exponent += static_cast<std::int64_t>(n->digits.size() - 1 - last);
  n->digits.resize(last + 1);
}

// Rounds to keep `keep` leading digits (keep >= 0), half to even.
void RoundToDigits(ExactNumber* n, std::int64_t keep) {
  const std::int64_t size = static_cast<std::int64_t>(n->digits.size());
  if (keep >= size) return;
  const std::int64_t drop = size - keep;
  bool round_up = false;
  if (keep >= 0) {
    const char first = n->digits[static_cast<std::size_t>(keep)];
    const bool rest_nonzero =
        n->digits.find_first_not_of('0', static_cast<std::size_t>(keep) + 1) != std::string::npos;
    const bool odd = keep > 0 && (n->digits[static_cast<std::size_t>(keep) - 1] - '0') % 2 == 1;
    round_up = first > '5' || (first == '5' && (rest_nonzero || odd));
  }
  n->digits.resize(static_cast<std::size_t>(std::max<std::int64_t>(keep, 0)));
  n->exponent += drop;
  if (round_up) {
    std::int64_t i = static_cast<std::int64_t>(n->digits.size()) - 1;
    while (i >= 0 && n->digits[static_cast<std::size_t>(i)] == '9') n->digits[static_cast<std::size_t>(i--)] = '0';
    if (i < 0) {
      n->digits.insert(n->digits.begin(), '1');
    } else {
      ++n->digits[static_cast<std::size_t>(i)];
    }
  }
  Normalize(n);
}

// Digits (already scaled to an integer) as a 128-bit value; false past 120 bits.
bool DigitsToUnsigned(const std::string& digits, std::int64_t zeros, UInt128* out) {
  if (static_cast<std::int64_t>(digits.size()) + zeros > 36) return false;
  UInt128 value = 0;
  for (char c : digits) value = value * 10 + static_cast<unsigned>(c - '0');
  for (std::int64_t i = 0; i < zeros; ++i) value *= 10;
  *out = value;
  return true;
}

}  // namespace

ExactNumber ExactFromInteger(Int128 value) {
  ExactNumber n;
  n.negative = value < 0;
  n.digits = DigitsOf(n.negative ? -static_cast<UInt128>(value) : static_cast<UInt128>(value));
  Normalize(&n);
  return n;
}

ExactNumber ExactFromCurrency(LONGLONG scaled) {
  ExactNumber n = ExactFromInteger(scaled);
  n.exponent -= 4;
  if (n.IsZero()) n.exponent = 0;
  return n;
}

ExactNumber ExactFromDecimal(const DECIMAL& dec) {
  const UInt128 magnitude = (static_cast<UInt128>(dec.Hi32) << 64) | dec.Lo64;
  ExactNumber n;
  n.negative = (dec.sign & DECIMAL_NEG) != 0;
  n.digits = DigitsOf(magnitude);
  n.exponent = -static_cast<std::int64_t>(dec.scale);
  Normalize(&n);
  if (n.IsZero()) n.negative = false;
  return n;
}

bool RoundToInteger(const ExactNumber& number, Int128* out) {
  ExactNumber n = number;
  if (n.exponent < 0) RoundToDigits(&n, static_cast<std::int64_t>(n.digits.size()) + n.exponent);
  UInt128 magnitude = 0;
  if (!n.IsZero() && !DigitsToUnsigned(n.digits, n.exponent, &magnitude)) return false;
  *out = n.negative ? -static_cast<Int128>(magnitude) : static_cast<Int128>(magnitude);
  return true;
}

bool ExactToDouble(const ExactNumber& number, double* out) {
  if (number.IsZero()) {
    *out = number.negative ? -0.0 : 0.0;
    return true;
  }
  // Clamp absurd exponents: the result is 0 or infinity either way.
  const std::int64_t exponent = std::clamp<std::int64_t>(number.exponent, -100000, 100000);
  std::string text = (number.negative ? "-" : "") + number.digits + "e" + std::to_string(exponent);
  errno = 0;
  const double value = std::strtod(text.c_str(), nullptr);
  if (std::isinf(value)) return false;
  *out = value;
  return true;
}

HRESULT ExactToDecimal(const ExactNumber& number, bool significant_digit_limit, DECIMAL* out) {
  ExactNumber n = number;
  Normalize(&n);
  if (significant_digit_limit && static_cast<int>(n.digits.size()) > kMaxDecimalDigits) return DISP_E_OVERFLOW;
  if (n.exponent < -kMaxDecimalScale) {
    RoundToDigits(&n, static_cast<std::int64_t>(n.digits.size()) + n.exponent + kMaxDecimalScale);
  }
  // Too many digits for 96 bits: give up decimals, rounding, while there are any.
  UInt128 magnitude = 0;
  while (true) {
    const std::int64_t zeros = n.exponent > 0 ? n.exponent : 0;
    if (n.IsZero()) {
      magnitude = 0;
      break;
    }
    if (DigitsToUnsigned(n.digits, zeros, &magnitude) && magnitude <= kDecimalMax) break;
    if (n.exponent >= 0) return DISP_E_OVERFLOW;
    RoundToDigits(&n, static_cast<std::int64_t>(n.digits.size()) - 1);
  }
  DECIMAL dec{};
  dec.scale = static_cast<BYTE>(n.exponent < 0 ? -n.exponent : 0);
  dec.sign = n.negative && magnitude ? DECIMAL_NEG : 0;
  dec.Hi32 = static_cast<ULONG>(magnitude >> 64);
  dec.Lo64 = static_cast<ULONGLONG>(magnitude);
  *out = dec;
  return S_OK;
}

std::u16string ExactToText(const ExactNumber& number) {
  std::string text;
  if (number.IsZero()) return u"0";
  if (number.negative) text += '-';
  const std::int64_t size = static_cast<std::int64_t>(number.digits.size());
  if (number.exponent >= 0) {
    text += number.digits;
    text.append(static_cast<std::size_t>(number.exponent), '0');
  } else if (-number.exponent < size) {
    const std::size_t point = static_cast<std::size_t>(size + number.exponent);
    text += number.digits.substr(0, point) + "." + number.digits.substr(point);
  } else {
    text += "0.";
    text.append(static_cast<std::size_t>(-number.exponent - size), '0');
    text += number.digits;
  }
  return std::u16string(text.begin(), text.end());
}

HRESULT CurrencyFromDouble(double value, LONGLONG* out) {
  if (!std::isfinite(value) || std::fabs(value) >= 1e15) return DISP_E_OVERFLOW;
  // value = mantissa x 2^exponent exactly; scale by 10,000 in 128 bits and
  // round once, half to even.
  int exponent = 0;
  const double fraction = std::frexp(std::fabs(value), &exponent);
  const auto mantissa = static_cast<std::int64_t>(std::ldexp(fraction, 53));
  exponent -= 53;
  UInt128 scaled = static_cast<UInt128>(mantissa) * 10000u;
  UInt128 result;
  if (exponent >= 0) {
    result = scaled << exponent;
  } else if (exponent <= -120) {
    result = 0;
  } else {
    const int shift = -exponent;
    result = scaled >> shift;
    const UInt128 remainder = scaled - (result << shift);
    const UInt128 half = UInt128{1} << (shift - 1);
    if (remainder > half || (remainder == half && (result & 1))) ++result;
  }
  if (result > static_cast<UInt128>(INT64_MAX) + (value < 0 ? 1 : 0)) return DISP_E_OVERFLOW;
  *out = value < 0 ? static_cast<LONGLONG>(-static_cast<Int128>(result)) : static_cast<LONGLONG>(result);
  return S_OK;
}

HRESULT DecimalFromDouble(double value, bool single, DECIMAL* out) {
  if (!std::isfinite(value)) return DISP_E_OVERFLOW;
  // As many decimals as keep the scaled value below the type's exact
  // integer range (2^53 for R8, 2^24 for R4), found by scaling step by step
  // in the source precision; then the exact binary value is rounded there.
  const double limit = single ? 16777216.0 : 9007199254740992.0;
  double scaled = std::fabs(value);
  int decimals = 0;
  while (decimals < kMaxDecimalScale && scaled * 10 < limit) {
    scaled *= 10;
    if (single) scaled = static_cast<float>(scaled);
    ++decimals;
  }
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, std::fabs(value));  // exact, half to even
  ExactNumber n;
  for (const char* p = buffer; *p; ++p) {
    if (*p >= '0' && *p <= '9') n.digits.push_back(*p);
  }
  n.exponent = -decimals;
  Normalize(&n);
  n.negative = value < 0 && !n.IsZero();
  HRESULT hr = ExactToDecimal(n, false, out);
  if (hr == DISP_E_OVERFLOW && decimals == 0 && n.digits.size() > 1) {
    // A whole number just past 96 bits (2^96 itself) loses its ones digit.
    n.digits.pop_back();
    ++n.exponent;
    hr = ExactToDecimal(n, false, out);
  }
  return hr;
}

}  // namespace quillbox::automation
