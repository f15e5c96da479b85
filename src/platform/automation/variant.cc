// VARIANT life cycle: VariantInit, VariantClear, VariantCopy and
// VariantCopyInd. A variant owns its BSTR, its safe array and one reference
// on its object; by-reference variants own nothing.
#include <cstring>

#include "platform/automation/variant_util.h"
#include "quillbox/oleauto.h"

namespace quillbox::automation {

bool IsVariantBaseType(VARTYPE base) {
  switch (base) {
    case VT_EMPTY: case VT_NULL: case VT_I2: case VT_I4: case VT_R4: case VT_R8:
    case VT_CY: case VT_DATE: case VT_BSTR: case VT_DISPATCH: case VT_ERROR:
    case VT_BOOL: case VT_VARIANT: case VT_UNKNOWN: case VT_DECIMAL: case VT_I1:
    case VT_UI1: case VT_UI2: case VT_UI4: case VT_I8: case VT_UI8: case VT_INT:
    case VT_UINT:
      return true;
    default:
      return false;
  }
}

bool IsValidVariantType(VARTYPE vt) {
  if (vt & (VT_VECTOR | VT_RESERVED)) return false;
  const VARTYPE base = vt & VT_TYPEMASK;
  if (!IsVariantBaseType(base)) return false;
  if (vt & VT_ARRAY) return base != VT_EMPTY && base != VT_NULL;
  if (vt & VT_BYREF) return base != VT_EMPTY && base != VT_NULL;
  return base != VT_VARIANT;  // a VARIANT holds a VARIANT only by reference
}

}  // namespace quillbox::automation

namespace qa = quillbox::automation;

namespace {

// Frees what v owns, without checking its type first.
HRESULT ReleaseOwned(VARIANT* v) {
  if (v->vt & VT_BYREF) return S_OK;
  if (v->vt & VT_ARRAY) {
    if (v->parray) return SafeArrayDestroy(v->parray);
    return S_OK;
  }
  switch (v->vt) {
    case VT_BSTR:
      SysFreeString(v->bstrVal);
      break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      if (v->punkVal) v->punkVal->Release();
      break;
    default:
      break;
  }
  return S_OK;
}

}  // namespace

void VariantInit(VARIANTARG* pvarg) {
  if (!pvarg) return;
  pvarg->vt = VT_EMPTY;
  pvarg->wReserved1 = pvarg->wReserved2 = pvarg->wReserved3 = 0;
}

HRESULT VariantClear(VARIANTARG* pvarg) {
  if (!pvarg) return E_INVALIDARG;
  if (!qa::IsValidVariantType(pvarg->vt)) return DISP_E_BADVARTYPE;
  const HRESULT hr = ReleaseOwned(pvarg);
  if (FAILED(hr)) return hr;  // a locked array stays where it is
  pvarg->vt = VT_EMPTY;
  return S_OK;
}

namespace {

// Copies the value that src_data points at (of type vt, no VT_BYREF) into
// dest, deeply: strings duplicated, objects referenced again, arrays copied.
HRESULT CopyDereferenced(VARIANT* dest, VARTYPE vt, const void* src_data) {
  VARIANT out;
  VariantInit(&out);
  out.vt = vt;
  if (vt & VT_ARRAY) {
    SAFEARRAY* source = *static_cast<SAFEARRAY* const*>(src_data);
    out.parray = nullptr;
    if (source) {
      const HRESULT hr = SafeArrayCopy(source, &out.parray);
      if (FAILED(hr)) return hr;
    }
    *dest = out;
    return S_OK;
  }
  switch (vt) {
    case VT_BSTR: {
      BSTR s = *static_cast<const BSTR*>(src_data);
      out.bstrVal = nullptr;
      if (s) {
        // Byte length, not character length: odd-length strings survive.
        out.bstrVal = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(s), SysStringByteLen(s));
        if (!out.bstrVal) return E_OUTOFMEMORY;
      }
      break;
    }
    case VT_DISPATCH:
    case VT_UNKNOWN:
      out.punkVal = *static_cast<IUnknown* const*>(src_data);
      if (out.punkVal) out.punkVal->AddRef();
      break;
    case VT_DECIMAL: {
      DECIMAL d;
      std::memcpy(&d, src_data, sizeof d);
      out.decVal = d;
      out.vt = VT_DECIMAL;  // DECIMAL's first field overlays vt
      break;
    }
    case VT_I1: case VT_UI1: out.bVal = *static_cast<const BYTE*>(src_data); break;
    case VT_I2: case VT_UI2: case VT_BOOL:
      std::memcpy(&out.iVal, src_data, 2);
      break;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_R4: case VT_ERROR:
      std::memcpy(&out.lVal, src_data, 4);
      break;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE:
      std::memcpy(&out.llVal, src_data, 8);
      break;
    default:
      break;  // EMPTY and NULL carry no data
  }
  *dest = out;
  return S_OK;
}

}  // namespace

HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc) {
  if (!pvargDest || !pvargSrc) return E_INVALIDARG;
  if (!qa::IsValidVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
  if (pvargDest == pvargSrc) return S_OK;
  HRESULT hr = VariantClear(pvargDest);
  if (FAILED(hr)) return hr;
  if (pvargSrc->vt & VT_BYREF) {
    *pvargDest = *pvargSrc;  // references are copied as they stand
    return S_OK;
  }
  VARIANT copy;
  if (pvargSrc->vt == VT_DECIMAL) {
    copy = *pvargSrc;
  } else {
    hr = CopyDereferenced(&copy, pvargSrc->vt, &pvargSrc->llVal);
    if (FAILED(hr)) return hr;
  }
  *pvargDest = copy;
  return S_OK;
}

HRESULT VariantCopyInd(VARIANT* pvarDest, const VARIANTARG* pvargSrc) {
  if (!pvarDest || !pvargSrc) return E_INVALIDARG;
  if (!qa::IsValidVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
  if (!(pvargSrc->vt & VT_BYREF)) return VariantCopy(pvarDest, pvargSrc);
  if (!pvargSrc->byref) return E_INVALIDARG;
  const VARTYPE vt = pvargSrc->vt & ~VT_BYREF;
  VARIANT copy;
  HRESULT hr;
  if (vt == VT_VARIANT) {
    const VARIANT* inner = pvargSrc->pvarVal;
    // One level of indirection only: a reference to a reference is refused.
    if (inner->vt == (VT_VARIANT | VT_BYREF)) return E_INVALIDARG;
    VariantInit(&copy);
    hr = VariantCopy(&copy, inner);
  } else {
    hr = CopyDereferenced(&copy, vt, pvargSrc->byref);
  }
  if (FAILED(hr)) return hr;
  if (pvarDest == pvargSrc) {
    // The source is the destination: it owns nothing (by reference), so
    // overwrite it.
    *pvarDest = copy;
    return S_OK;
  }
  hr = VariantClear(pvarDest);
  if (FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *pvarDest = copy;
  return S_OK;
}
