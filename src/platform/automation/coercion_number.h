// Exact decimal numbers for coercion: the value of a string, a currency, a
// DECIMAL or an integer held without loss as digits and a power of ten, so
// that rounding to a narrower type happens once and half to even.
// Thread-safe: values and pure functions.
#pragma once

#include <cstdint>
#include <string>

#include "quillbox/oleauto.h"

namespace quillbox::automation {

__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

struct ExactNumber {
  bool negative = false;
  std::string digits;  // significant decimal digits, no leading zeros; empty is zero
  std::int64_t exponent = 0;  // value = digits x 10^exponent

  bool IsZero() const { return digits.empty(); }
};

ExactNumber ExactFromInteger(Int128 value);
ExactNumber ExactFromCurrency(LONGLONG scaled);  // value x 10,000
// REQUIRES: dec.scale <= 28.
ExactNumber ExactFromDecimal(const DECIMAL& dec);

// Rounds half to even to an integer; false when it needs more than 120 bits.
bool RoundToInteger(const ExactNumber& number, Int128* out);

// Nearest double (correctly rounded); false when it overflows.
bool ExactToDouble(const ExactNumber& number, double* out);

// The value as a DECIMAL: more than 28 decimals are rounded half to even;
// DISP_E_OVERFLOW when the integer part needs more than 96 bits, or, when
// significant_digit_limit is set, when there are more significant digits
// than a DECIMAL can hold (29).
HRESULT ExactToDecimal(const ExactNumber& number, bool significant_digit_limit, DECIMAL* out);

// The value written out in plain positional notation ("-12.5", "0.0005").
std::u16string ExactToText(const ExactNumber& number);

// Rounds a double half to even at its fourth decimal into a currency.
// DISP_E_OVERFLOW out of range or not finite.
HRESULT CurrencyFromDouble(double value, LONGLONG* out);

// A double (or, with single, a float's value) as a DECIMAL, with as many
// decimals as the source type carries exactly, rounded half to even.
HRESULT DecimalFromDouble(double value, bool single, DECIMAL* out);

}  // namespace quillbox::automation
