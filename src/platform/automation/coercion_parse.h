// Reading numbers from text as automation does for the user locale
// (English, United States): blanks around, signs before or after,
// parentheses for negatives, a currency sign, thousands separators, a
// decimal point, an exponent, and &H / &O hexadecimal and octal integers.
// Thread-safe: pure functions.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/automation/coercion_number.h"

namespace quillbox::automation {

struct ParsedNumber {
  enum class Kind { kDecimal, kRadix } kind = Kind::kDecimal;
  ExactNumber decimal;       // kDecimal
  std::uint64_t radix = 0;   // kRadix: the &H / &O value (its sign is ignored)
  bool radix_overflow = false;  // kRadix: more than 64 bits of digits
};

// Text ends at its first zero code unit, as the string functions read it.
std::u16string_view TextUpToNul(const OLECHAR* text, std::size_t length);

// S_OK, or DISP_E_TYPEMISMATCH when the text is not a number.
HRESULT ParseNumberText(std::u16string_view text, ParsedNumber* out);

// Blanks that may surround a number or a date.
bool IsBlank(char16_t c);

}  // namespace quillbox::automation
