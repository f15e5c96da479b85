// The tables behind value_types.h and the version rules of value_codec.h.
#include "platform/propset/value_types.h"

#include "platform/propset/value_codec.h"

namespace quillbox::propset {

namespace {

constexpr ElementInfo k1{1, 1, 1};
constexpr ElementInfo k2{2, 2, 2};
constexpr ElementInfo k4{4, 4, 4};
constexpr ElementInfo k8{8, 8, 8};
constexpr ElementInfo kGuid{16, 16, 16};
constexpr ElementInfo kDecimal{16, 16, 16};
constexpr ElementInfo kPointerText{0, sizeof(void*), 4};
constexpr ElementInfo kClip{0, sizeof(CLIPDATA), 8};
constexpr ElementInfo kVariant{0, sizeof(PROPVARIANT), 4};

const ElementInfo* FixedScalar(VARTYPE vt) {
  switch (vt) {
    case VT_I1:
    case VT_UI1:
      return &k1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return &k2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return &k4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_FILETIME:
      return &k8;
    default:
      return nullptr;
  }
}

}  // namespace

const ElementInfo* ScalarInfo(VARTYPE vt) { return FixedScalar(vt); }

const ElementInfo* VectorElement(VARTYPE element) {
  switch (element) {
    case VT_INT:
    case VT_UINT:
      return nullptr;  // no vectors of these
    case VT_CLSID:
      return &kGuid;
    case VT_BSTR:
    case VT_LPSTR:
    case VT_LPWSTR:
      return &kPointerText;
    case VT_CF:
      return &kClip;
    case VT_VARIANT:
      return &kVariant;
    default:
      return FixedScalar(element);
  }
}

const ElementInfo* ArrayElement(VARTYPE element) {
  switch (element) {
    case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_I4: case VT_UI4: case VT_INT:
    case VT_UINT: case VT_R4: case VT_R8: case VT_CY: case VT_DATE: case VT_BOOL: case VT_ERROR:
      return FixedScalar(element);
    case VT_DECIMAL:
      return &kDecimal;
    case VT_BSTR:
      return &kPointerText;
    case VT_VARIANT:
      return &kVariant;
    default:
      return nullptr;
  }
}

bool IsIndirectType(VARTYPE vt) {
  return vt == VT_STREAM || vt == VT_STORAGE || vt == VT_STREAMED_OBJECT || vt == VT_STORED_OBJECT ||
         vt == VT_VERSIONED_STREAM;
}

bool NeedsVersion1(VARTYPE vt) {
  if (vt & VT_ARRAY) return true;
  const VARTYPE base = vt & VT_TYPEMASK;
  return base == VT_I1 || base == VT_INT || base == VT_UINT || base == VT_DECIMAL || base == VT_VERSIONED_STREAM;
}

}  // namespace quillbox::propset
