// The coercion table. Each source is first read as one of a few kinds
// (integer, boolean, binary real, date, currency, decimal, string), then
// written as the target: integers round half to even, overflow is
// DISP_E_OVERFLOW, text that is not a value of the target type is
// DISP_E_TYPEMISMATCH. The rules per pair are listed in docs/platform/variants.md.
#include "platform/automation/coercion.h"

#include <cmath>
#include <limits>
#include <string>

#include "platform/automation/coercion_number.h"
#include "platform/automation/coercion_parse.h"
#include "platform/automation/coercion_text.h"

namespace quillbox::automation {
namespace {

constexpr double kDateLow = -657435.0;  // exclusive: 1 January 100 is -657434
constexpr double kDateHigh = 2958466.0;  // exclusive: 1 January 10000
constexpr int kMaxDecimalScale = 28;
constexpr double kPowersOfTen[kMaxDecimalScale + 1] = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14,
    1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22, 1e23, 1e24, 1e25, 1e26, 1e27, 1e28};

enum class Kind { kEmpty, kInteger, kBool, kReal, kDate, kCurrency, kDecimal, kString };

struct Source {
  Kind kind = Kind::kEmpty;
  VARTYPE vt = VT_EMPTY;
  Int128 integer = 0;  // kInteger
  SHORT boolean = 0;   // kBool
  double real = 0;     // kReal, kDate
  bool single = false; // kReal: the source was an R4
  LONGLONG currency = 0;
  DECIMAL decimal{};
  std::u16string_view text;  // kString, up to its first zero code unit
  bool null_string = false;
};

Source ReadSource(const VARIANT* v) {
  Source s;
  s.vt = v->vt;
  switch (v->vt) {
    case VT_I1: s.kind = Kind::kInteger; s.integer = v->cVal; break;
    case VT_UI1: s.kind = Kind::kInteger; s.integer = v->bVal; break;
    case VT_I2: s.kind = Kind::kInteger; s.integer = v->iVal; break;
    case VT_UI2: s.kind = Kind::kInteger; s.integer = v->uiVal; break;
    case VT_I4: s.kind = Kind::kInteger; s.integer = v->lVal; break;
    case VT_UI4: s.kind = Kind::kInteger; s.integer = v->ulVal; break;
    case VT_INT: s.kind = Kind::kInteger; s.integer = v->intVal; break;
    case VT_UINT: s.kind = Kind::kInteger; s.integer = v->uintVal; break;
    case VT_I8: s.kind = Kind::kInteger; s.integer = v->llVal; break;
    case VT_UI8: s.kind = Kind::kInteger; s.integer = v->ullVal; break;
    case VT_BOOL: s.kind = Kind::kBool; s.boolean = v->boolVal; break;
    case VT_R4: s.kind = Kind::kReal; s.real = v->fltVal; s.single = true; break;
    case VT_R8: s.kind = Kind::kReal; s.real = v->dblVal; break;
    case VT_DATE: s.kind = Kind::kDate; s.real = v->date; break;
    case VT_CY: s.kind = Kind::kCurrency; s.currency = v->cyVal.int64; break;
    case VT_DECIMAL: s.kind = Kind::kDecimal; s.decimal = v->decVal; break;
    case VT_BSTR:
      s.kind = Kind::kString;
      s.null_string = v->bstrVal == nullptr;
      s.text = TextUpToNul(v->bstrVal, SysStringLen(v->bstrVal));
      break;
    default: s.kind = Kind::kEmpty; break;
  }
  return s;
}

struct IntegerRange {
  Int128 min;
  Int128 max;
  int bits;  // width, for &H / &O text read as two's complement
  bool is_signed;
};

IntegerRange RangeOf(VARTYPE vt) {
  switch (vt) {
    case VT_I1: return {-128, 127, 8, true};
    case VT_UI1: return {0, 255, 8, false};
    case VT_I2: return {-32768, 32767, 16, true};
    case VT_UI2: return {0, 65535, 16, false};
    case VT_I4: case VT_INT: return {INT32_MIN, INT32_MAX, 32, true};
    case VT_UI4: case VT_UINT: return {0, UINT32_MAX, 32, false};
    case VT_I8: return {INT64_MIN, INT64_MAX, 64, true};
    default: return {0, UINT64_MAX, 64, false};  // VT_UI8
  }
}

// &H / &O text as the real-valued and boolean targets read it: a 32-bit
// signed value, where &H80000000 is the lowest and larger values overflow.
HRESULT RadixAsLong(const ParsedNumber& p, double* out) {
  if (p.radix_overflow || p.radix > 0x80000000u) return DISP_E_OVERFLOW;
  *out = p.radix == 0x80000000u ? -2147483648.0 : static_cast<double>(p.radix);
  return S_OK;
}

// The source as an exact number (every kind but binary reals and dates).
HRESULT SourceAsExact(const Source& s, ExactNumber* out) {
  switch (s.kind) {
    case Kind::kEmpty: *out = ExactNumber{}; return S_OK;
    case Kind::kInteger: *out = ExactFromInteger(s.integer); return S_OK;
    case Kind::kBool: *out = ExactFromInteger(s.boolean); return S_OK;
    case Kind::kCurrency: *out = ExactFromCurrency(s.currency); return S_OK;
    case Kind::kDecimal:
      if (s.decimal.scale > kMaxDecimalScale) return E_INVALIDARG;
      *out = ExactFromDecimal(s.decimal);
      return S_OK;
    default: return E_UNEXPECTED;
  }
}

// The source as a double, for targets computed in binary floating point.
HRESULT SourceAsDouble(const Source& s, double* out) {
  switch (s.kind) {
    case Kind::kReal: case Kind::kDate: *out = s.real; return S_OK;
    case Kind::kCurrency: *out = static_cast<double>(s.currency) / 10000.0; return S_OK;
    case Kind::kDecimal: {
      // In binary floating point, as Windows computes it (one rounding for
      // the 96-bit integer, one for the division), not correctly rounded.
      if (s.decimal.scale > kMaxDecimalScale) return E_INVALIDARG;
      const double magnitude = static_cast<double>(s.decimal.Hi32) * 18446744073709551616.0 +
                               static_cast<double>(s.decimal.Lo64);
      const double value = magnitude / kPowersOfTen[s.decimal.scale];
      *out = (s.decimal.sign & DECIMAL_NEG) && value != 0 ? -value : value;  // no negative zero
      return S_OK;
    }
    case Kind::kString: {
      ParsedNumber p;
      HRESULT hr = ParseNumberText(s.text, &p);
      if (FAILED(hr)) return hr;
      if (p.kind == ParsedNumber::Kind::kRadix) return RadixAsLong(p, out);
      return ExactToDouble(p.decimal, out) ? S_OK : DISP_E_OVERFLOW;
    }
    default: {
      ExactNumber n;
      const HRESULT hr = SourceAsExact(s, &n);
      if (FAILED(hr)) return hr;
      return ExactToDouble(n, out) ? S_OK : DISP_E_OVERFLOW;
    }
  }
}

// Integer to integer, as Windows does it: between the signed and unsigned
// types of one width the bits are kept (-1 as a UI1 is 255), and 64-bit
// values become a UI2 when they fit 32 unsigned bits, cut to 16.
HRESULT IntegerToInteger(VARTYPE from, Int128 value, const IntegerRange& range, Int128* out) {
  const IntegerRange source = RangeOf(from);
  const bool same_width = source.bits == range.bits;
  Int128 result = value;
  if (same_width && source.is_signed != range.is_signed) {
    const Int128 modulus = static_cast<Int128>(1) << range.bits;
    if (result < range.min) result += modulus;
    if (result > range.max) result -= modulus;
  } else if (source.bits == 64 && range.bits == 16 && !range.is_signed) {
    if (value < 0 || value > static_cast<Int128>(UINT32_MAX)) return DISP_E_OVERFLOW;
    result = value & 0xFFFF;
  }
  if (result < range.min || result > range.max) return DISP_E_OVERFLOW;
  *out = result;
  return S_OK;
}

HRESULT ToInteger(const Source& s, VARTYPE vt, Int128* out) {
  const IntegerRange range = RangeOf(vt);
  Int128 value = 0;
  switch (s.kind) {
    case Kind::kInteger:
      return IntegerToInteger(s.vt, s.integer, range, out);
    case Kind::kCurrency:
      if (vt == VT_I8 && s.currency < 0) {
        // Negative currencies become I8 rounded down (-0.5 is -1, -1.25 is -2).
        *out = s.currency / 10000 - (s.currency % 10000 != 0 ? 1 : 0);
        return S_OK;
      }
      break;
    case Kind::kBool: {
      // A boolean is its 16-bit value, cut or sign-extended to the target.
      const auto wide = static_cast<std::int64_t>(s.boolean);
      const std::uint64_t mask = range.bits == 64 ? ~0ull : (1ull << range.bits) - 1;
      std::uint64_t bits = static_cast<std::uint64_t>(wide) & mask;
      if (range.is_signed && range.bits < 64 && (bits >> (range.bits - 1)) & 1) {
        *out = static_cast<Int128>(bits) - (static_cast<Int128>(1) << range.bits);
      } else {
        *out = range.is_signed && range.bits == 64 ? static_cast<Int128>(wide) : static_cast<Int128>(bits);
      }
      return S_OK;
    }
    case Kind::kReal:
    case Kind::kDate: {
      if (std::isnan(s.real)) return DISP_E_OVERFLOW;
      const double rounded = std::nearbyint(s.real);  // half to even
      if (rounded < static_cast<double>(range.min) || rounded > static_cast<double>(range.max)) {
        return DISP_E_OVERFLOW;
      }
      // -2^63 itself is refused as an I8, as Windows does.
      if (std::fabs(rounded) >= 1.8446744073709552e19 || (vt == VT_I8 && rounded <= -9223372036854775808.0)) {
        return DISP_E_OVERFLOW;
      }
      value = rounded < 0 ? static_cast<Int128>(static_cast<std::int64_t>(rounded))
                          : static_cast<Int128>(static_cast<std::uint64_t>(rounded));
      break;
    }
    case Kind::kString: {
      ParsedNumber p;
      const HRESULT hr = ParseNumberText(s.text, &p);
      if (FAILED(hr)) return hr;
      if (p.kind == ParsedNumber::Kind::kRadix) {
        // &H / &O fill the target's bits: &HFFFF is -1 as an I2.
        if (p.radix_overflow) return DISP_E_OVERFLOW;
        if (range.bits < 64 && p.radix >> range.bits) return DISP_E_OVERFLOW;
        const bool top_bit = (p.radix >> (range.bits - 1)) & 1;
        *out = range.is_signed && top_bit ? static_cast<Int128>(p.radix) - (static_cast<Int128>(1) << range.bits)
                                          : static_cast<Int128>(p.radix);
        return S_OK;
      }
      if (!RoundToInteger(p.decimal, &value)) return DISP_E_OVERFLOW;
      break;
    }
    default:
      break;
  }
  if (s.kind != Kind::kReal && s.kind != Kind::kDate && s.kind != Kind::kString) {
    ExactNumber n;
    const HRESULT hr = SourceAsExact(s, &n);
    if (FAILED(hr)) return hr;
    if (!RoundToInteger(n, &value)) return DISP_E_OVERFLOW;
  }
  if (value < range.min || value > range.max) return DISP_E_OVERFLOW;
  *out = value;
  return S_OK;
}

void StoreInteger(VARTYPE vt, Int128 value, VARIANT* dest) {
  dest->vt = vt;
  switch (vt) {
    case VT_I1: dest->cVal = static_cast<CHAR>(value); break;
    case VT_UI1: dest->bVal = static_cast<BYTE>(value); break;
    case VT_I2: dest->iVal = static_cast<SHORT>(value); break;
    case VT_UI2: dest->uiVal = static_cast<USHORT>(value); break;
    case VT_I4: dest->lVal = static_cast<LONG>(value); break;
    case VT_UI4: dest->ulVal = static_cast<ULONG>(value); break;
    case VT_INT: dest->intVal = static_cast<INT>(value); break;
    case VT_UINT: dest->uintVal = static_cast<UINT>(value); break;
    case VT_I8: dest->llVal = static_cast<LONGLONG>(value); break;
    default: dest->ullVal = static_cast<ULONGLONG>(value); break;
  }
}

HRESULT ToDouble(const Source& s, double* out) {
  if (s.kind == Kind::kInteger) {
    *out = s.integer < 0 ? static_cast<double>(static_cast<std::int64_t>(s.integer))
                         : static_cast<double>(static_cast<std::uint64_t>(s.integer));
    return S_OK;
  }
  if (s.kind == Kind::kBool) {
    *out = s.boolean;
    return S_OK;
  }
  return SourceAsDouble(s, out);
}

HRESULT ToSingle(const Source& s, float* out) {
  if (s.kind == Kind::kInteger) {
    // Straight from the integer: one rounding, not two.
    *out = s.integer < 0 ? static_cast<float>(static_cast<std::int64_t>(s.integer))
                         : static_cast<float>(static_cast<std::uint64_t>(s.integer));
    return S_OK;
  }
  double value = 0;
  const HRESULT hr = ToDouble(s, &value);
  if (FAILED(hr)) return hr;
  const float single = static_cast<float>(value);
  if (std::isinf(single)) return DISP_E_OVERFLOW;  // infinities too: an R4 holds no overflow
  *out = single;
  return S_OK;
}

HRESULT ToCurrency(const Source& s, LONGLONG* out) {
  switch (s.kind) {
    case Kind::kInteger: {
      // 64-bit sources are held to +-922337203685476 (Windows' check), the
      // others to the currency range.
      constexpr Int128 kSignedLimit = 922337203685477;
      if (s.vt == VT_I8 && (s.integer >= kSignedLimit || s.integer <= -kSignedLimit)) return DISP_E_OVERFLOW;
      if (s.integer > kSignedLimit) return DISP_E_OVERFLOW;
      *out = static_cast<LONGLONG>(s.integer * 10000);
      return S_OK;
    }
    case Kind::kReal: case Kind::kDate: case Kind::kString: case Kind::kDecimal: {
      // Text and decimals go through a double, as Windows converts them.
      double value = 0;
      const HRESULT hr = SourceAsDouble(s, &value);
      if (FAILED(hr)) return hr;
      return CurrencyFromDouble(value, out);
    }
    default: {
      ExactNumber n;
      const HRESULT hr = SourceAsExact(s, &n);
      if (FAILED(hr)) return hr;
      if (!n.IsZero()) n.exponent += 4;
      Int128 scaled = 0;
      if (!RoundToInteger(n, &scaled) || scaled < INT64_MIN || scaled > INT64_MAX) return DISP_E_OVERFLOW;
      *out = static_cast<LONGLONG>(scaled);
      return S_OK;
    }
  }
}

HRESULT ToDate(const Source& s, DATE* out) {
  if (s.kind == Kind::kString) return ParseDateText(s.text, out);
  double value = 0;
  const HRESULT hr = ToDouble(s, &value);
  if (FAILED(hr)) return hr;
  // Integers and doubles are checked against the calendar; singles,
  // currencies and decimals are taken as they are.
  const bool checked = s.kind == Kind::kInteger || (s.kind == Kind::kReal && !s.single);
  if (checked && !(value > kDateLow && value < kDateHigh)) return DISP_E_OVERFLOW;
  *out = value;
  return S_OK;
}

HRESULT ToBool(const Source& s, VARIANT_BOOL* out) {
  switch (s.kind) {
    case Kind::kBool: *out = s.boolean; return S_OK;
    case Kind::kString: {
      double value = 0;
      HRESULT hr = SourceAsDouble(s, &value);
      if (hr == DISP_E_TYPEMISMATCH) {
        bool word = false;
        if (!ParseBoolWord(s.text, &word)) return DISP_E_TYPEMISMATCH;
        *out = word ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
      }
      if (FAILED(hr)) return hr;
      *out = value != 0 ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    }
    case Kind::kReal: case Kind::kDate:
      *out = s.real != 0 ? VARIANT_TRUE : VARIANT_FALSE;  // NaN is not zero
      return S_OK;
    default: {
      ExactNumber n;
      const HRESULT hr = SourceAsExact(s, &n);
      if (FAILED(hr)) return hr;
      *out = n.IsZero() ? VARIANT_FALSE : VARIANT_TRUE;
      return S_OK;
    }
  }
}

HRESULT ToDecimal(const Source& s, DECIMAL* out) {
  switch (s.kind) {
    case Kind::kReal: case Kind::kDate:
      return DecimalFromDouble(s.real, s.single, out);
    case Kind::kBool:
      // True is -1 (VARIANT_TRUE) or 1 (any other non-zero value).
      *out = DECIMAL{};
      out->Lo64 = s.boolean ? 1 : 0;
      out->sign = s.boolean == VARIANT_TRUE ? DECIMAL_NEG : 0;
      return S_OK;
    case Kind::kDecimal:
      *out = s.decimal;  // copied as it stands, even with an invalid scale
      return S_OK;
    case Kind::kCurrency: {
      // Four decimals kept, trailing zeros and all: 1.5 is 15000 at scale 4.
      *out = DECIMAL{};
      out->scale = 4;
      out->sign = s.currency < 0 ? DECIMAL_NEG : 0;
      out->Lo64 = s.currency < 0 ? 0 - static_cast<ULONGLONG>(s.currency) : static_cast<ULONGLONG>(s.currency);
      return S_OK;
    }
    case Kind::kString: {
      ParsedNumber p;
      const HRESULT hr = ParseNumberText(s.text, &p);
      if (FAILED(hr)) return hr;
      if (p.kind == ParsedNumber::Kind::kRadix) {
        if (p.radix_overflow || p.radix > 0xFFFFFFFFu) return DISP_E_OVERFLOW;
        *out = DECIMAL{};
        out->Lo64 = p.radix;
        return S_OK;
      }
      return ExactToDecimal(p.decimal, true, out);
    }
    default: {
      ExactNumber n;
      const HRESULT hr = SourceAsExact(s, &n);
      if (FAILED(hr)) return hr;
      return ExactToDecimal(n, false, out);
    }
  }
}

HRESULT ToText(const Source& s, USHORT flags, std::u16string* out) {
  switch (s.kind) {
    case Kind::kEmpty: out->clear(); return S_OK;
    case Kind::kString: *out = std::u16string(s.text); return S_OK;
    case Kind::kBool:
      if (flags & (VARIANT_ALPHABOOL | VARIANT_LOCALBOOL)) {
        *out = s.boolean ? u"True" : u"False";
      } else {
        *out = ExactToText(ExactFromInteger(s.boolean));
      }
      return S_OK;
    case Kind::kReal: *out = FormatReal(s.real, s.single ? 7 : 15); return S_OK;
    case Kind::kDate: return FormatDate(s.real, out);
    case Kind::kDecimal:
      // Written exactly, even with a scale beyond 28.
      *out = ExactToText(ExactFromDecimal(s.decimal));
      return S_OK;
    default: {
      ExactNumber n;
      const HRESULT hr = SourceAsExact(s, &n);
      if (FAILED(hr)) return hr;
      *out = ExactToText(n);
      return S_OK;
    }
  }
}

}  // namespace

bool IsCoercibleScalar(VARTYPE vt) {
  switch (vt) {
    case VT_EMPTY: case VT_NULL: case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_I4:
    case VT_UI4: case VT_I8: case VT_UI8: case VT_INT: case VT_UINT: case VT_R4: case VT_R8:
    case VT_CY: case VT_DATE: case VT_BSTR: case VT_BOOL: case VT_ERROR: case VT_DECIMAL:
      return true;
    default:
      return false;
  }
}

HRESULT ChangeScalarType(const VARIANT* src, VARTYPE vt, USHORT flags, VARIANT* dest) {
  VariantInit(dest);
  // NULL and error values convert to nothing but themselves (and error to
  // nothing else at all); everything else can become EMPTY or NULL.
  if (src->vt == VT_ERROR || vt == VT_ERROR) {
    if (src->vt != vt) return DISP_E_TYPEMISMATCH;
    *dest = *src;
    return S_OK;
  }
  if (vt == VT_EMPTY || vt == VT_NULL) {
    dest->vt = vt;
    return S_OK;
  }
  if (src->vt == VT_NULL) return DISP_E_TYPEMISMATCH;
  if (src->vt == VT_BSTR && vt != VT_BSTR && !src->bstrVal) return DISP_E_TYPEMISMATCH;

  const Source s = ReadSource(src);
  HRESULT hr = S_OK;
  switch (vt) {
    case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_I4: case VT_UI4:
    case VT_I8: case VT_UI8: case VT_INT: case VT_UINT: {
      Int128 value = 0;
      hr = ToInteger(s, vt, &value);
      if (SUCCEEDED(hr)) StoreInteger(vt, value, dest);
      break;
    }
    case VT_R4: {
      float value = 0;
      hr = ToSingle(s, &value);
      if (SUCCEEDED(hr)) dest->vt = VT_R4, dest->fltVal = value;
      break;
    }
    case VT_R8: {
      double value = 0;
      hr = ToDouble(s, &value);
      if (SUCCEEDED(hr)) dest->vt = VT_R8, dest->dblVal = value;
      break;
    }
    case VT_CY: {
      LONGLONG value = 0;
      hr = ToCurrency(s, &value);
      if (SUCCEEDED(hr)) dest->vt = VT_CY, dest->cyVal.int64 = value;
      break;
    }
    case VT_DATE: {
      DATE value = 0;
      hr = ToDate(s, &value);
      if (SUCCEEDED(hr)) dest->vt = VT_DATE, dest->date = value;
      break;
    }
    case VT_BOOL: {
      VARIANT_BOOL value = 0;
      hr = ToBool(s, &value);
      if (SUCCEEDED(hr)) dest->vt = VT_BOOL, dest->boolVal = value;
      break;
    }
    case VT_DECIMAL: {
      DECIMAL value{};
      hr = ToDecimal(s, &value);
      if (SUCCEEDED(hr)) dest->decVal = value, dest->vt = VT_DECIMAL;
      break;
    }
    case VT_BSTR: {
      if (s.kind == Kind::kString) {
        // The string itself, embedded zeros and all; an absent string stays
        // absent, as a copy keeps it.
        BSTR copy = src->bstrVal ? SysAllocStringByteLen(reinterpret_cast<LPCSTR>(src->bstrVal),
                                                         SysStringByteLen(src->bstrVal))
                                 : nullptr;
        if (src->bstrVal && !copy) return E_OUTOFMEMORY;
        dest->vt = VT_BSTR, dest->bstrVal = copy;
        break;
      }
      std::u16string text;
      hr = ToText(s, flags, &text);
      if (FAILED(hr)) break;
      BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
      if (!result) return E_OUTOFMEMORY;
      dest->vt = VT_BSTR, dest->bstrVal = result;
      break;
    }
    default:
      hr = DISP_E_TYPEMISMATCH;
      break;
  }
  return hr;
}

}  // namespace quillbox::automation
