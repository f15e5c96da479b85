// Variant type names and values as text and JSON, through the platform's
// own coercions wherever it has one.
#include "variant_text.h"

#include <cstdio>
#include <cstdlib>

#include "date_text.h"
#include "document.h"

namespace quillbox::tool {
namespace {

// The names the automation runtime gives the base types; the unsigned and
// 64-bit ones, which it never names, follow the same pattern.
const char* BaseTypeName(VARTYPE base) {
  switch (base) {
    case VT_EMPTY: return "Empty";
    case VT_NULL: return "Null";
    case VT_I2: return "Integer";
    case VT_I4: return "Long";
    case VT_R4: return "Single";
    case VT_R8: return "Double";
    case VT_CY: return "Currency";
    case VT_DATE: return "Date";
    case VT_BSTR: return "String";
    case VT_DISPATCH: return "Object";
    case VT_ERROR: return "Error";
    case VT_BOOL: return "Boolean";
    case VT_VARIANT: return "Variant";
    case VT_UNKNOWN: return "Unknown";
    case VT_DECIMAL: return "Decimal";
    case VT_I1: return "SByte";
    case VT_UI1: return "Byte";
    case VT_UI2: return "UInteger";
    case VT_UI4: return "ULong";
    case VT_I8: return "LongLong";
    case VT_UI8: return "ULongLong";
    case VT_INT: return "Int";
    case VT_UINT: return "UInt";
    default: return nullptr;
  }
}

// A code as the tool prints result codes.
std::string HexCode(SCODE code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
  return text;
}

// An object's class: the name its type information gives, else its class
// id, else "(object)".
std::string AskClassName(IUnknown* object) {
  const ComPtr<IUnknown> held(object);
  if (ComPtr<IDispatch> dispatch = held.as<IDispatch>()) {
    ComPtr<ITypeInfo> info;
    Bstr name;
    if (SUCCEEDED(dispatch->GetTypeInfo(0, 0, info.put())) && info &&
        SUCCEEDED(info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr)) && name.get()) {
      return ToUtf8(name.text());
    }
  }
  if (ComPtr<IPersist> persist = held.as<IPersist>()) {
    CLSID clsid{};
    OLECHAR text[40];
    if (SUCCEEDED(persist->GetClassID(&clsid)) && StringFromGUID2(clsid, text, 40) > 0) return ToUtf8(text);
  }
  return "(object)";
}

std::string ObjectClassName(IUnknown* object) {
  std::string name = AskClassName(object);
  Check(S_OK);  // what the object left behind must not describe a later failure
  return name;
}

// The value as a BSTR through VariantChangeType, or nothing.
bool CoercedText(const VARIANT& value, std::u16string* text) {
  Variant coerced;
  const HRESULT hr = VariantChangeType(coerced.get(), &value, VARIANT_ALPHABOOL, VT_BSTR);
  if (FAILED(hr) || (*coerced).vt != VT_BSTR) return false;
  const BSTR bstr = (*coerced).bstrVal;
  *text = bstr ? std::u16string(bstr, SysStringLen(bstr)) : u"";
  return true;
}

// Currency and Decimal as the nearest double, through the platform.
nlohmann::ordered_json NearestDouble(const VARIANT& value) {
  Variant number;
  if (FAILED(VariantChangeType(number.get(), &value, 0, VT_R8))) return nullptr;
  return (*number).dblVal;
}

// A Single widened as its shortest text reads (0.1, not 0.100000001490116).
nlohmann::ordered_json SingleAsDouble(const VARIANT& value) {
  std::u16string text;
  if (CoercedText(value, &text)) {
    const std::string digits = ToUtf8(text);
    char* end = nullptr;
    const double widened = std::strtod(digits.c_str(), &end);
    if (end && *end == '\0' && !digits.empty()) return widened;
  }
  return static_cast<double>(value.fltVal);
}

}  // namespace

std::string VariantTypeName(VARTYPE vt) {
  const char* base = BaseTypeName(vt & VT_TYPEMASK);
  if (!base || (vt & VT_RESERVED)) return "VarType " + std::to_string(vt);
  std::string name;
  if (vt & VT_BYREF) name += "Reference to ";
  if (vt & VT_ARRAY) name += "Array of ";
  if (vt & VT_VECTOR) name += "Vector of ";
  return name + base;
}

std::string VariantValueText(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return "";
    case VT_ERROR:
      return HexCode(value.scode);
    case VT_DATE:
      if (auto text = DateValueText(value.date)) return *text;
      break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return value.punkVal ? ObjectClassName(value.punkVal) : "(no object)";
    default:
      break;
  }
  std::u16string text;
  if (!CoercedText(value, &text)) return "(not shown as text)";
  return DisplayName(text);
}

nlohmann::ordered_json VariantValueJson(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return nullptr;
    case VT_I1: return static_cast<signed char>(value.cVal);
    case VT_I2: return value.iVal;
    case VT_I4: return value.lVal;
    case VT_INT: return value.intVal;
    case VT_I8: return value.llVal;
    case VT_UI1: return value.bVal;
    case VT_UI2: return value.uiVal;
    case VT_UI4: return value.ulVal;
    case VT_UINT: return value.uintVal;
    case VT_UI8: return value.ullVal;
    case VT_R4: return SingleAsDouble(value);
    case VT_R8: return value.dblVal;
    case VT_CY:
    case VT_DECIMAL:
      return NearestDouble(value);
    case VT_BOOL: return value.boolVal != VARIANT_FALSE;
    case VT_ERROR: return static_cast<ULONG>(value.scode);
    case VT_BSTR: return ToUtf8(value.bstrVal ? std::u16string_view(value.bstrVal, SysStringLen(value.bstrVal)) : u"");
    case VT_DATE:
      if (auto text = DateValueText(value.date)) return *text;
      break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      if (!value.punkVal) return nullptr;
      return ObjectClassName(value.punkVal);
    default:
      break;
  }
  std::u16string text;
  if (!CoercedText(value, &text)) return nullptr;
  return ToUtf8(text);
}

}  // namespace quillbox::tool
