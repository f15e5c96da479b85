// Safe arrays: descriptors, data, bounds, locks and element access. The
// descriptor and its data are separate allocations; the data is zeroed when
// allocated, so every element starts empty (null strings, VT_EMPTY variants).
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/automation/safearray_descriptor.h"

namespace qa = quillbox::automation;

namespace {

// One allocation may hold at most this many bytes of element data.
constexpr std::uint64_t kMaxDataBytes = std::numeric_limits<LONG>::max();
constexpr UINT kMaxDims = 0xFFFF;
// FADF_AUTO, FADF_STATIC and FADF_EMBEDDED: the caller owns the data.
constexpr USHORT kCallerOwnedData = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED;

std::byte* PrefixOf(SAFEARRAY* psa) { return reinterpret_cast<std::byte*>(psa) - qa::kDescriptorPrefix; }

void SetStoredVartype(SAFEARRAY* psa, VARTYPE vt) {
  const DWORD value = vt;
  std::memcpy(PrefixOf(psa) + qa::kDescriptorPrefix - sizeof value, &value, sizeof value);
}

void SetStoredIid(SAFEARRAY* psa, const IID& iid) { std::memcpy(PrefixOf(psa), &iid, sizeof iid); }

std::size_t DescriptorBytes(UINT cDims) {
  return qa::kDescriptorPrefix + sizeof(SAFEARRAY) + (cDims - 1) * sizeof(SAFEARRAYBOUND);
}

// The features SafeArrayCreate gives each element type.
USHORT FeaturesFor(VARTYPE vt) {
  switch (vt) {
    case VT_BSTR: return FADF_BSTR | FADF_HAVEVARTYPE;
    case VT_VARIANT: return FADF_VARIANT | FADF_HAVEVARTYPE;
    case VT_UNKNOWN: return FADF_UNKNOWN | FADF_HAVEIID;
    case VT_DISPATCH: return FADF_DISPATCH | FADF_HAVEIID;
    default: return FADF_HAVEVARTYPE;
  }
}

// Element offset of rgIndices (leftmost dimension first), or DISP_E_BADINDEX.
HRESULT ElementOffset(const SAFEARRAY* psa, const LONG* rgIndices, std::size_t* offset) {
  if (!psa->pvData) return E_INVALIDARG;  // a descriptor without data has no elements
  std::uint64_t index = 0;
  std::uint64_t stride = 1;
  for (UINT i = 0; i < psa->cDims; ++i) {
    const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - 1 - i];
    const std::int64_t relative = static_cast<std::int64_t>(rgIndices[i]) - bound.lLbound;
    if (relative < 0 || relative >= static_cast<std::int64_t>(bound.cElements)) return DISP_E_BADINDEX;
    index += static_cast<std::uint64_t>(relative) * stride;
    stride *= bound.cElements;
  }
  *offset = static_cast<std::size_t>(index * psa->cbElements);
  return S_OK;
}

}  // namespace

ULONG qa::SafeArrayElementSize(VARTYPE vt) {
  switch (vt) {
    case VT_I1: case VT_UI1: return 1;
    case VT_I2: case VT_UI2: case VT_BOOL: return 2;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_R4: case VT_ERROR: return 4;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE: return 8;
    case VT_BSTR: case VT_DISPATCH: case VT_UNKNOWN: return sizeof(void*);
    case VT_DECIMAL: return sizeof(DECIMAL);
    case VT_VARIANT: return sizeof(VARIANT);
    default: return 0;
  }
}

std::int64_t qa::SafeArrayElementCount(const SAFEARRAY* psa) {
  std::uint64_t count = 1;
  for (UINT i = 0; i < psa->cDims; ++i) {
    count *= psa->rgsabound[i].cElements;
    if (count * std::max<ULONG>(psa->cbElements, 1) > kMaxDataBytes) return -1;
  }
  return static_cast<std::int64_t>(count);
}

HRESULT SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut) {
  if (!ppsaOut) return E_POINTER;
  *ppsaOut = nullptr;
  if (cDims == 0 || cDims > kMaxDims) return E_INVALIDARG;
  auto* block = static_cast<std::byte*>(std::calloc(1, DescriptorBytes(cDims)));
  if (!block) return E_OUTOFMEMORY;
  auto* psa = reinterpret_cast<SAFEARRAY*>(block + qa::kDescriptorPrefix);
  psa->cDims = static_cast<USHORT>(cDims);
  *ppsaOut = psa;
  return S_OK;
}

HRESULT SafeArrayAllocDescriptorEx(VARTYPE vt, UINT cDims, SAFEARRAY** ppsaOut) {
  const HRESULT hr = SafeArrayAllocDescriptor(cDims, ppsaOut);
  if (FAILED(hr)) return hr;
  SAFEARRAY* psa = *ppsaOut;
  psa->cbElements = qa::SafeArrayElementSize(vt);
  if (vt == VT_RECORD) {
    psa->fFeatures = FADF_RECORD;  // the record's size comes with its IRecordInfo
  } else if (vt == VT_UNKNOWN || vt == VT_DISPATCH) {
    psa->fFeatures = FADF_HAVEIID;
    SetStoredIid(psa, vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown);
  } else {
    psa->fFeatures = FADF_HAVEVARTYPE;
    SetStoredVartype(psa, vt);
  }
  return S_OK;
}

HRESULT SafeArrayAllocData(SAFEARRAY* psa) {
  if (!psa || psa->cDims == 0) return E_INVALIDARG;
  const std::int64_t count = qa::SafeArrayElementCount(psa);
  if (count < 0) return E_OUTOFMEMORY;
  const std::size_t bytes = static_cast<std::size_t>(count) * psa->cbElements;
  psa->pvData = std::calloc(bytes ? bytes : 1, 1);
  return psa->pvData ? S_OK : E_OUTOFMEMORY;
}

HRESULT SafeArrayDestroyData(SAFEARRAY* psa) {
  if (!psa) return E_INVALIDARG;
  if (psa->cLocks) return DISP_E_ARRAYISLOCKED;
  if (!psa->pvData) return S_OK;
  const std::int64_t count = qa::SafeArrayElementCount(psa);
  if (count > 0) qa::ReleaseElements(psa, 0, static_cast<std::size_t>(count));
  if (!(psa->fFeatures & kCallerOwnedData)) {
    std::free(psa->pvData);
    psa->pvData = nullptr;
  }
  return S_OK;
}

HRESULT SafeArrayDestroyDescriptor(SAFEARRAY* psa) {
  if (!psa) return E_INVALIDARG;
  if (psa->cLocks) return DISP_E_ARRAYISLOCKED;
  std::free(PrefixOf(psa));
  return S_OK;
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
  if (!psa) return S_OK;
  if (psa->cLocks) return DISP_E_ARRAYISLOCKED;
  const HRESULT hr = SafeArrayDestroyData(psa);
  if (FAILED(hr)) return hr;
  return SafeArrayDestroyDescriptor(psa);
}

SAFEARRAY* SafeArrayCreateEx(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound, PVOID pvExtra) {
  if (!rgsabound || cDims == 0 || cDims > kMaxDims) return nullptr;
  if (vt == VT_RECORD) return nullptr;  // records need IRecordInfo, not offered here
  const ULONG size = qa::SafeArrayElementSize(vt);
  if (size == 0) return nullptr;
  SAFEARRAY* psa = nullptr;
  if (FAILED(SafeArrayAllocDescriptorEx(vt, cDims, &psa))) return nullptr;
  psa->fFeatures = FeaturesFor(vt);
  if ((vt == VT_UNKNOWN || vt == VT_DISPATCH) && pvExtra) SetStoredIid(psa, *static_cast<const IID*>(pvExtra));
  // The caller lists dimensions leftmost first; the descriptor keeps them reversed.
  for (UINT i = 0; i < cDims; ++i) psa->rgsabound[cDims - 1 - i] = rgsabound[i];
  if (FAILED(SafeArrayAllocData(psa))) {
    SafeArrayDestroyDescriptor(psa);
    return nullptr;
  }
  return psa;
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
  return SafeArrayCreateEx(vt, cDims, rgsabound, nullptr);
}

SAFEARRAY* SafeArrayCreateVectorEx(VARTYPE vt, LONG lLbound, ULONG cElements, PVOID pvExtra) {
  SAFEARRAYBOUND bound{cElements, lLbound};
  SAFEARRAY* psa = SafeArrayCreateEx(vt, 1, &bound, pvExtra);
  if (psa) psa->fFeatures |= FADF_CREATEVECTOR;
  return psa;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
  return SafeArrayCreateVectorEx(vt, lLbound, cElements, nullptr);
}

UINT SafeArrayGetDim(SAFEARRAY* psa) { return psa ? psa->cDims : 0; }

UINT SafeArrayGetElemsize(SAFEARRAY* psa) { return psa ? psa->cbElements : 0; }

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
  if (!psa || !plLbound) return E_INVALIDARG;
  if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
  *plLbound = psa->rgsabound[psa->cDims - nDim].lLbound;
  return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
  if (!psa || !plUbound) return E_INVALIDARG;
  if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
  const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - nDim];
  // 32-bit arithmetic as on Windows: bounds near the limit wrap around.
  *plUbound = static_cast<LONG>(static_cast<ULONG>(bound.lLbound) + bound.cElements - 1u);
  return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
  if (!psa || !pvt) return E_INVALIDARG;
  const std::byte* prefix = PrefixOf(psa);
  if (psa->fFeatures & FADF_RECORD) {
    *pvt = VT_RECORD;
  } else if (psa->fFeatures & FADF_HAVEIID) {
    IID iid;
    std::memcpy(&iid, prefix, sizeof iid);
    *pvt = iid == IID_IDispatch ? VT_DISPATCH : VT_UNKNOWN;
  } else if (psa->fFeatures & FADF_HAVEVARTYPE) {
    DWORD value;
    std::memcpy(&value, prefix + qa::kDescriptorPrefix - sizeof value, sizeof value);
    *pvt = static_cast<VARTYPE>(value);
  } else if (psa->fFeatures & FADF_BSTR) {
    *pvt = VT_BSTR;
  } else if (psa->fFeatures & FADF_UNKNOWN) {
    *pvt = VT_UNKNOWN;
  } else if (psa->fFeatures & FADF_DISPATCH) {
    *pvt = VT_DISPATCH;
  } else if (psa->fFeatures & FADF_VARIANT) {
    *pvt = VT_VARIANT;
  } else {
    return E_INVALIDARG;
  }
  return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* psa) {
  if (!psa) return E_INVALIDARG;
  if (psa->cLocks >= 0xFFFF) return E_UNEXPECTED;
  ++psa->cLocks;
  return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* psa) {
  if (!psa) return E_INVALIDARG;
  if (psa->cLocks == 0) return E_UNEXPECTED;
  --psa->cLocks;
  return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
  if (!psa || !ppvData) return E_INVALIDARG;
  const HRESULT hr = SafeArrayLock(psa);
  if (FAILED(hr)) return hr;
  *ppvData = psa->pvData;
  return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) { return SafeArrayUnlock(psa); }

HRESULT SafeArrayPtrOfIndex(SAFEARRAY* psa, LONG* rgIndices, void** ppvData) {
  if (!psa || !rgIndices || !ppvData) return E_INVALIDARG;
  std::size_t offset = 0;
  const HRESULT hr = ElementOffset(psa, rgIndices, &offset);
  if (FAILED(hr)) return hr;
  *ppvData = static_cast<std::byte*>(psa->pvData) + offset;
  return S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
  if (!psa || !rgIndices || !pv) return E_INVALIDARG;
  std::size_t offset = 0;
  HRESULT hr = ElementOffset(psa, rgIndices, &offset);
  if (FAILED(hr)) return hr;
  SafeArrayLock(psa);
  const void* element = static_cast<const std::byte*>(psa->pvData) + offset;
  if (psa->fFeatures & FADF_VARIANT) {
    auto* out = static_cast<VARIANT*>(pv);
    VariantInit(out);
    hr = VariantCopy(out, static_cast<const VARIANT*>(element));
  } else {
    // Strings and objects copy deeply; everything else is plain bytes.
    if (psa->fFeatures & FADF_BSTR) {
      BSTR s;
      std::memcpy(&s, element, sizeof s);
      BSTR copy = s ? SysAllocStringByteLen(reinterpret_cast<LPCSTR>(s), SysStringByteLen(s)) : nullptr;
      if (s && !copy) hr = E_OUTOFMEMORY;
      else std::memcpy(pv, &copy, sizeof copy);
    } else if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
      IUnknown* unknown;
      std::memcpy(&unknown, element, sizeof unknown);
      if (unknown) unknown->AddRef();
      std::memcpy(pv, &unknown, sizeof unknown);
    } else {
      std::memcpy(pv, element, psa->cbElements);
    }
  }
  SafeArrayUnlock(psa);
  return hr;
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
  if (!psa || !rgIndices) return E_INVALIDARG;
  std::size_t offset = 0;
  HRESULT hr = ElementOffset(psa, rgIndices, &offset);
  if (FAILED(hr)) return hr;
  void* element = static_cast<std::byte*>(psa->pvData) + offset;
  SafeArrayLock(psa);
  if (psa->fFeatures & FADF_VARIANT) {
    hr = pv ? VariantCopy(static_cast<VARIANT*>(element), static_cast<const VARIANT*>(pv)) : E_INVALIDARG;
  } else if (psa->fFeatures & FADF_BSTR) {
    // pv is the string itself; a null string is stored as null.
    BSTR s = static_cast<BSTR>(pv);
    BSTR copy = s ? SysAllocStringByteLen(reinterpret_cast<LPCSTR>(s), SysStringByteLen(s)) : nullptr;
    if (s && !copy) {
      hr = E_OUTOFMEMORY;
    } else {
      BSTR old;
      std::memcpy(&old, element, sizeof old);
      SysFreeString(old);
      std::memcpy(element, &copy, sizeof copy);
    }
  } else if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
    auto* unknown = static_cast<IUnknown*>(pv);
    if (unknown) unknown->AddRef();
    IUnknown* old;
    std::memcpy(&old, element, sizeof old);
    if (old) old->Release();
    std::memcpy(element, &unknown, sizeof unknown);
  } else if (!pv) {
    hr = E_INVALIDARG;
  } else {
    std::memcpy(element, pv, psa->cbElements);
  }
  SafeArrayUnlock(psa);
  return hr;
}
