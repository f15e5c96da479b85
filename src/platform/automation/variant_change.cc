// VariantChangeType(Ex): references are followed, objects give their
// default value (DISPID_VALUE, read with DISPATCH_PROPERTYGET) unless
// VARIANT_NOVALUEPROP is set, arrays convert only to their own type, and
// scalars go through the coercion table.
#include "platform/automation/coercion.h"
#include "platform/automation/variant_util.h"

namespace qa = quillbox::automation;

namespace {

// Nesting bound for default values that are themselves objects.
constexpr int kMaxValueDepth = 8;

HRESULT ChangeValue(const VARIANT* src, LCID lcid, USHORT flags, VARTYPE vt, VARIANT* out, int depth);

HRESULT FromObject(const VARIANT* src, LCID lcid, USHORT flags, VARTYPE vt, VARIANT* out, int depth) {
  if (vt == VT_NULL) {
    out->vt = VT_NULL;
    return S_OK;
  }
  if (vt == src->vt) return VariantCopy(out, src);
  if (src->vt == VT_UNKNOWN) {
    if (vt == VT_EMPTY && !src->punkVal) {
      out->vt = VT_EMPTY;
      return S_OK;
    }
    if (vt == VT_DISPATCH && src->punkVal) {
      IDispatch* dispatch = nullptr;
      if (FAILED(src->punkVal->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)))) {
        return DISP_E_TYPEMISMATCH;
      }
      out->vt = VT_DISPATCH;
      out->pdispVal = dispatch;
      return S_OK;
    }
    // An IUnknown has no default value to read.
    return DISP_E_TYPEMISMATCH;
  }
  // VT_DISPATCH.
  if (vt == VT_UNKNOWN) {
    out->vt = VT_UNKNOWN;
    out->punkVal = src->pdispVal;
    if (out->punkVal) out->punkVal->AddRef();
    return S_OK;
  }
  if (vt == VT_ERROR || (flags & VARIANT_NOVALUEPROP)) return DISP_E_TYPEMISMATCH;
  if (!src->pdispVal) return DISP_E_BADVARTYPE;
  if (depth >= kMaxValueDepth) return DISP_E_TYPEMISMATCH;
  DISPPARAMS no_arguments{nullptr, nullptr, 0, 0};
  qa::UniqueVariant value;
  const HRESULT hr = src->pdispVal->Invoke(DISPID_VALUE, IID_NULL, lcid, DISPATCH_PROPERTYGET, &no_arguments,
                                           value.get(), nullptr, nullptr);
  if (FAILED(hr)) return DISP_E_TYPEMISMATCH;
  return ChangeValue(value.get(), lcid, flags, vt, out, depth + 1);
}

HRESULT ChangeValue(const VARIANT* src, LCID lcid, USHORT flags, VARTYPE vt, VARIANT* out, int depth) {
  if (src->vt & VT_BYREF) {
    qa::UniqueVariant direct;
    HRESULT hr = VariantCopyInd(direct.get(), src);
    if (FAILED(hr)) return hr;
    return ChangeValue(direct.get(), lcid, flags, vt, out, depth);
  }
  if ((src->vt & VT_ARRAY) || (vt & VT_ARRAY)) {
    if (src->vt == vt) return VariantCopy(out, src);
    return DISP_E_TYPEMISMATCH;
  }
  if (src->vt == VT_DISPATCH || src->vt == VT_UNKNOWN) return FromObject(src, lcid, flags, vt, out, depth);
  if (vt == VT_DISPATCH || vt == VT_UNKNOWN) {
    return DISP_E_TYPEMISMATCH;
  }
  if (!qa::IsCoercibleScalar(src->vt) || !qa::IsCoercibleScalar(vt)) return DISP_E_TYPEMISMATCH;
  return qa::ChangeScalarType(src, vt, flags, out);
}

}  // namespace

HRESULT VariantChangeTypeEx(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, LCID lcid, USHORT wFlags,
                            VARTYPE vt) {
  if (!pvargDest || !pvarSrc) return E_INVALIDARG;
  if ((vt & VT_BYREF) || !qa::IsValidVariantType(vt)) return DISP_E_BADVARTYPE;
  if (!qa::IsValidVariantType(pvarSrc->vt)) return DISP_E_BADVARTYPE;
  VARIANT result;
  VariantInit(&result);
  const HRESULT hr = ChangeValue(pvarSrc, lcid, wFlags, vt, &result, 0);
  if (FAILED(hr)) {
    VariantClear(&result);
    return hr;
  }
  // Only now is the destination (which may be the source) released.
  const HRESULT cleared = VariantClear(pvargDest);
  if (FAILED(cleared)) {
    VariantClear(&result);
    return cleared;
  }
  *pvargDest = result;
  return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) {
  constexpr LCID kUserDefaultLcid = 0x0409;  // English (United States) on Linux
  return VariantChangeTypeEx(pvargDest, pvarSrc, kUserDefaultLcid, wFlags, vt);
}
