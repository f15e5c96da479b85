// PropVariantClear, PropVariantCopy and FreePropVariantArray: what a
// PROPVARIANT owns, by type, freed and copied deeply.
#include <cstring>
#include <new>

#include "platform/com/exception_guard.h"
#include "platform/propset/value_codec.h"
#include "platform/propset/value_types.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "quillbox/propidl.h"

namespace quillbox::propset {

namespace {

void ClearElement(VARTYPE element, void* slot) {
  switch (element) {
    case VT_BSTR:
      SysFreeString(*static_cast<BSTR*>(slot));
      break;
    case VT_LPSTR:
    case VT_LPWSTR:
      CoTaskMemFree(*static_cast<void**>(slot));
      break;
    case VT_CF:
      CoTaskMemFree(static_cast<CLIPDATA*>(slot)->pClipData);
      break;
    case VT_VARIANT:
      PropVariantClear(static_cast<PROPVARIANT*>(slot));
      break;
    default:
      break;
  }
}

bool IsKnownScalar(VARTYPE vt) {
  switch (vt) {
    case VT_EMPTY: case VT_NULL: case VT_DECIMAL: case VT_BSTR: case VT_LPSTR: case VT_LPWSTR:
    case VT_BLOB: case VT_BLOB_OBJECT: case VT_CF: case VT_CLSID: case VT_UNKNOWN: case VT_DISPATCH:
      return true;
    default:
      return ScalarInfo(vt) != nullptr || IsIndirectType(vt);
  }
}

void* TaskDup(const void* source, size_t bytes) {
  void* copy = CoTaskMemAlloc(bytes ? bytes : 1);
  if (!copy) throw std::bad_alloc();
  if (bytes) std::memcpy(copy, source, bytes);
  return copy;
}

void CopyElement(VARTYPE element, const void* from, void* to) {
  switch (element) {
    case VT_BSTR: {
      const BSTR text = *static_cast<const BSTR*>(from);
      if (!text) break;
      BSTR copy = SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
      if (!copy) throw std::bad_alloc();
      *static_cast<BSTR*>(to) = copy;
      break;
    }
    case VT_LPSTR: {
      const char* text = *static_cast<const LPSTR*>(from);
      if (text) *static_cast<LPSTR*>(to) = static_cast<LPSTR>(TaskDup(text, std::strlen(text) + 1));
      break;
    }
    case VT_LPWSTR: {
      const char16_t* text = *static_cast<const LPWSTR*>(from);
      if (!text) break;
      size_t n = 0;
      while (text[n]) ++n;
      *static_cast<LPWSTR*>(to) = static_cast<LPWSTR>(TaskDup(text, (n + 1) * sizeof(char16_t)));
      break;
    }
    case VT_CF: {
      const auto* clip = static_cast<const CLIPDATA*>(from);
      auto* copy = static_cast<CLIPDATA*>(to);
      copy->cbSize = clip->cbSize;
      copy->ulClipFmt = clip->ulClipFmt;
      copy->pClipData = static_cast<BYTE*>(TaskDup(clip->pClipData, clip->cbSize >= 4 ? clip->cbSize - 4 : 0));
      break;
    }
    case VT_VARIANT: {
      const HRESULT hr = PropVariantCopy(static_cast<PROPVARIANT*>(to), static_cast<const PROPVARIANT*>(from));
      if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
      break;
    }
    default:
      break;
  }
}

HRESULT CopyInto(PROPVARIANT* dest, const PROPVARIANT& src) {
  const VARTYPE vt = src.vt;
  *dest = src;  // scalars and the shape; owned parts are replaced below
  if (vt & VT_BYREF) return S_OK;
  if (vt & VT_ARRAY) {
    if (!src.parray) return S_OK;
    dest->parray = nullptr;
    HRESULT hr = SafeArrayCopy(src.parray, &dest->parray);
    if (FAILED(hr)) {
      dest->vt = VT_EMPTY;
      return hr;
    }
    return S_OK;
  }
  if (vt & VT_VECTOR) {
    const ElementInfo* info = VectorElement(vt & VT_TYPEMASK);
    if (!info || (vt & ~(VT_VECTOR | VT_TYPEMASK))) return STG_E_INVALIDPARAMETER;
    const auto& from = src.caub;
    auto& to = dest->caub;
    to.cElems = 0;
    const size_t bytes = size_t{from.cElems} * info->memory_size;
    to.pElems = static_cast<UCHAR*>(CoTaskMemAlloc(bytes ? bytes : 1));
    if (!to.pElems) {
      dest->vt = VT_EMPTY;
      return E_OUTOFMEMORY;
    }
    if (info->fixed_size) {
      if (bytes) std::memcpy(to.pElems, from.pElems, bytes);
      to.cElems = from.cElems;
      return S_OK;
    }
    std::memset(to.pElems, 0, bytes);
    try {
      for (ULONG i = 0; i < from.cElems; ++i) {
        to.cElems = i + 1;
        CopyElement(vt & VT_TYPEMASK, from.pElems + i * info->memory_size, to.pElems + i * info->memory_size);
      }
    } catch (const std::bad_alloc&) {
      PropVariantClear(dest);
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }
  if (!IsKnownScalar(vt)) {
    dest->vt = VT_EMPTY;
    return STG_E_INVALIDPARAMETER;
  }
  try {
    switch (vt) {
      case VT_BSTR:
      case VT_LPSTR:
      case VT_LPWSTR:
        dest->pszVal = nullptr;
        CopyElement(vt, &src.pszVal, &dest->pszVal);
        break;
      case VT_BLOB:
      case VT_BLOB_OBJECT:
        dest->blob.pBlobData = nullptr;
        if (src.blob.pBlobData) dest->blob.pBlobData = static_cast<BYTE*>(TaskDup(src.blob.pBlobData, src.blob.cbSize));
        break;
      case VT_CLSID:
        dest->puuid = src.puuid ? static_cast<CLSID*>(TaskDup(src.puuid, sizeof(CLSID))) : nullptr;
        break;
      case VT_CF:
        dest->pclipdata = nullptr;
        if (src.pclipdata) {
          auto* clip = static_cast<CLIPDATA*>(TaskDup(src.pclipdata, sizeof(CLIPDATA)));
          clip->pClipData = nullptr;
          dest->pclipdata = clip;
          CopyElement(VT_CF, src.pclipdata, clip);
        }
        break;
      case VT_VERSIONED_STREAM:
        dest->pVersionedStream = nullptr;
        if (src.pVersionedStream) {
          auto* copy = static_cast<VERSIONEDSTREAM*>(TaskDup(src.pVersionedStream, sizeof(VERSIONEDSTREAM)));
          if (copy->pStream) copy->pStream->AddRef();
          dest->pVersionedStream = copy;
        }
        break;
      case VT_UNKNOWN:
      case VT_DISPATCH:
      case VT_STREAM:
      case VT_STREAMED_OBJECT:
      case VT_STORAGE:
      case VT_STORED_OBJECT:
        if (src.punkVal) src.punkVal->AddRef();
        break;
      default:
        break;
    }
  } catch (const std::bad_alloc&) {
    PropVariantClear(dest);
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

}  // namespace

}  // namespace quillbox::propset

using quillbox::propset::ClearElement;
using quillbox::propset::VectorElement;

WINOLEAPI PropVariantClear(PROPVARIANT* pvar) {
  if (!pvar) return S_OK;
  const VARTYPE vt = pvar->vt;
  if (vt & VT_BYREF) {
    PropVariantInit(pvar);
    return S_OK;
  }
  if (vt & VT_ARRAY) {
    if (vt & VT_VECTOR) return STG_E_INVALIDPARAMETER;
    HRESULT hr = pvar->parray ? SafeArrayDestroy(pvar->parray) : S_OK;
    if (FAILED(hr)) return hr;
  } else if (vt & VT_VECTOR) {
    const quillbox::propset::ElementInfo* info = VectorElement(vt & VT_TYPEMASK);
    if (!info || (vt & ~(VT_VECTOR | VT_TYPEMASK))) return STG_E_INVALIDPARAMETER;
    auto& array = pvar->caub;
    if (array.pElems && !info->fixed_size) {
      for (ULONG i = 0; i < array.cElems; ++i) ClearElement(vt & VT_TYPEMASK, array.pElems + i * info->memory_size);
    }
    CoTaskMemFree(array.pElems);
  } else {
    switch (vt) {
      case VT_BSTR:
        SysFreeString(pvar->bstrVal);
        break;
      case VT_LPSTR:
      case VT_LPWSTR:
        CoTaskMemFree(pvar->pszVal);
        break;
      case VT_BLOB:
      case VT_BLOB_OBJECT:
        CoTaskMemFree(pvar->blob.pBlobData);
        break;
      case VT_CLSID:
        CoTaskMemFree(pvar->puuid);
        break;
      case VT_CF:
        if (pvar->pclipdata) CoTaskMemFree(pvar->pclipdata->pClipData);
        CoTaskMemFree(pvar->pclipdata);
        break;
      case VT_VERSIONED_STREAM:
        if (pvar->pVersionedStream && pvar->pVersionedStream->pStream) pvar->pVersionedStream->pStream->Release();
        CoTaskMemFree(pvar->pVersionedStream);
        break;
      case VT_UNKNOWN:
      case VT_DISPATCH:
      case VT_STREAM:
      case VT_STREAMED_OBJECT:
      case VT_STORAGE:
      case VT_STORED_OBJECT:
        if (pvar->punkVal) pvar->punkVal->Release();
        break;
      default:
        if (!quillbox::propset::IsKnownScalar(vt)) return STG_E_INVALIDPARAMETER;
        break;
    }
  }
  PropVariantInit(pvar);
  return S_OK;
}

WINOLEAPI PropVariantCopy(PROPVARIANT* pvarDest, const PROPVARIANT* pvarSrc) {
  if (!pvarDest || !pvarSrc) return E_INVALIDARG;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    PROPVARIANT copy;
    PropVariantInit(&copy);
    HRESULT hr = quillbox::propset::CopyInto(&copy, *pvarSrc);
    if (FAILED(hr)) {
      PropVariantInit(pvarDest);
      return hr;
    }
    *pvarDest = copy;
    return S_OK;
  });
}

WINOLEAPI FreePropVariantArray(ULONG cVariants, PROPVARIANT* rgvars) {
  if (!rgvars) return E_INVALIDARG;
  HRESULT result = S_OK;
  for (ULONG i = 0; i < cVariants; ++i) {
    const HRESULT hr = PropVariantClear(&rgvars[i]);
    if (FAILED(hr)) result = hr;
  }
  return result;
}
