// PropVariantChangeType: the automation coercions of VariantChangeType,
// with VT_LPSTR (ANSI code page) and VT_LPWSTR converted through BSTR.
#include <cstring>

#include "platform/com/exception_guard.h"
#include "platform/propset/set_text.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "quillbox/propidl.h"

namespace quillbox::propset {

namespace {

// Types a VARIANT can hold by value, so VariantChangeType can take them.
bool IsAutomationScalar(VARTYPE vt) {
  switch (vt) {
    case VT_EMPTY: case VT_NULL: case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_I4: case VT_UI4:
    case VT_INT: case VT_UINT: case VT_I8: case VT_UI8: case VT_R4: case VT_R8: case VT_CY: case VT_DATE:
    case VT_BSTR: case VT_BOOL: case VT_ERROR: case VT_DECIMAL:
      return true;
    default:
      return false;
  }
}

// The source as a VARIANT (strings become BSTR); owned by *out.
HRESULT ToVariant(const PROPVARIANT& source, VARIANT* out) {
  VariantInit(out);
  if (source.vt == VT_LPWSTR || source.vt == VT_LPSTR) {
    std::u16string text;
    if (source.vt == VT_LPSTR) {
      HRESULT hr = AnsiToWide(source.pszVal, &text);
      if (FAILED(hr)) return hr;
    } else if (source.pwszVal) {
      text = source.pwszVal;
    }
    out->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!out->bstrVal) return E_OUTOFMEMORY;
    out->vt = VT_BSTR;
    return S_OK;
  }
  if (!IsAutomationScalar(source.vt)) return DISP_E_TYPEMISMATCH;
  return VariantCopy(out, reinterpret_cast<const VARIANT*>(&source));
}

}  // namespace

}  // namespace quillbox::propset

WINOLEAPI PropVariantChangeType(PROPVARIANT* ppropvarDest, REFPROPVARIANT propvarSrc, PROPVAR_CHANGE_FLAGS flags,
                                VARTYPE vt) {
  if (!ppropvarDest) return E_INVALIDARG;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    using namespace quillbox::propset;
    const bool to_string = vt == VT_LPWSTR || vt == VT_LPSTR;
    if (!to_string && !IsAutomationScalar(vt)) return DISP_E_BADVARTYPE;
    VARIANT source;
    HRESULT hr = ToVariant(propvarSrc, &source);
    if (FAILED(hr)) return hr;
    VARIANT converted;
    VariantInit(&converted);
    const USHORT variant_flags = static_cast<USHORT>(
        ((flags & PVCHF_NOVALUEPROP) ? VARIANT_NOVALUEPROP : 0) | ((flags & PVCHF_ALPHABOOL) ? VARIANT_ALPHABOOL : 0) |
        ((flags & PVCHF_LOCALBOOL) ? VARIANT_LOCALBOOL : 0));
    hr = VariantChangeType(&converted, &source, variant_flags, to_string ? static_cast<VARTYPE>(VT_BSTR) : vt);
    VariantClear(&source);
    if (FAILED(hr)) return hr;
    PROPVARIANT result;
    PropVariantInit(&result);
    if (to_string) {
      const std::u16string text(converted.bstrVal ? converted.bstrVal : u"",
                                converted.bstrVal ? SysStringLen(converted.bstrVal) : 0);
      VariantClear(&converted);
      if (vt == VT_LPWSTR) {
        result.pwszVal = static_cast<LPWSTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(char16_t)));
        if (!result.pwszVal) return E_OUTOFMEMORY;
        std::memcpy(result.pwszVal, text.c_str(), (text.size() + 1) * sizeof(char16_t));
      } else {
        std::string narrow;
        if (FAILED(hr = WideToAnsi(text, &narrow))) return hr;
        result.pszVal = static_cast<LPSTR>(CoTaskMemAlloc(narrow.size() + 1));
        if (!result.pszVal) return E_OUTOFMEMORY;
        std::memcpy(result.pszVal, narrow.c_str(), narrow.size() + 1);
      }
      result.vt = vt;
    } else {
      std::memcpy(&result, &converted, sizeof result);  // same layout; ownership moves
    }
    // The destination may be the source: clear it only now.
    PropVariantClear(ppropvarDest);
    *ppropvarDest = result;
    return S_OK;
  });
}
