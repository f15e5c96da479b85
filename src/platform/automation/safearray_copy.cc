// Safe array element ownership and copies: SafeArrayCopy, SafeArrayCopyData
// and SafeArrayRedim, which all have to free, reference or duplicate the
// strings, objects and variants the elements hold.
#include <cstdlib>
#include <cstring>

#include "platform/automation/safearray_descriptor.h"

namespace qa = quillbox::automation;

void qa::ReleaseElements(SAFEARRAY* psa, std::size_t first, std::size_t count) {
  auto* data = static_cast<std::byte*>(psa->pvData);
  if (!data) return;
  // Plain elements own nothing: one clear of the whole run.
  if (!(psa->fFeatures & (FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT))) {
    if (count) std::memset(data + first * psa->cbElements, 0, count * psa->cbElements);
    return;
  }
  for (std::size_t i = first; i < first + count; ++i) {
    std::byte* element = data + i * psa->cbElements;
    if (psa->fFeatures & FADF_BSTR) {
      BSTR s;
      std::memcpy(&s, element, sizeof s);
      SysFreeString(s);
    } else if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
      IUnknown* unknown;
      std::memcpy(&unknown, element, sizeof unknown);
      if (unknown) unknown->Release();
    } else if (psa->fFeatures & FADF_VARIANT) {
      VariantClear(reinterpret_cast<VARIANT*>(element));
    }
    std::memset(element, 0, psa->cbElements);
  }
}

HRESULT qa::CopyElements(const SAFEARRAY* source, void* target_data, std::size_t count) {
  const auto* from = static_cast<const std::byte*>(source->pvData);
  auto* to = static_cast<std::byte*>(target_data);
  const std::size_t size = source->cbElements;
  if (!(source->fFeatures & (FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT))) {
    if (count) std::memcpy(to, from, count * size);
    return S_OK;
  }
  std::memset(to, 0, count * size);
  for (std::size_t i = 0; i < count; ++i) {
    const std::byte* a = from + i * size;
    std::byte* b = to + i * size;
    if (source->fFeatures & FADF_BSTR) {
      BSTR s;
      std::memcpy(&s, a, sizeof s);
      if (!s) continue;
      BSTR copy = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(s), SysStringByteLen(s));
      if (!copy) return E_OUTOFMEMORY;  // the caller releases what was copied
      std::memcpy(b, &copy, sizeof copy);
    } else if (source->fFeatures & FADF_VARIANT) {
      const HRESULT hr = VariantCopy(reinterpret_cast<VARIANT*>(b), reinterpret_cast<const VARIANT*>(a));
      if (FAILED(hr)) return hr;
    } else {
      IUnknown* unknown;
      std::memcpy(&unknown, a, sizeof unknown);
      if (unknown) unknown->AddRef();
      std::memcpy(b, &unknown, sizeof unknown);
    }
  }
  return S_OK;
}

HRESULT SafeArrayCopyData(SAFEARRAY* psaSource, SAFEARRAY* psaTarget) {
  if (!psaSource || !psaTarget) return E_INVALIDARG;
  if (psaSource->cDims != psaTarget->cDims || psaSource->cbElements != psaTarget->cbElements) return E_INVALIDARG;
  for (UINT i = 0; i < psaSource->cDims; ++i) {
    if (psaSource->rgsabound[i].cElements != psaTarget->rgsabound[i].cElements ||
        psaSource->rgsabound[i].lLbound != psaTarget->rgsabound[i].lLbound) {
      return E_INVALIDARG;
    }
  }
  if (psaTarget->cLocks) return DISP_E_ARRAYISLOCKED;
  const std::int64_t count = qa::SafeArrayElementCount(psaSource);
  if (count < 0 || !psaTarget->pvData || !psaSource->pvData) return E_INVALIDARG;
  qa::ReleaseElements(psaTarget, 0, static_cast<std::size_t>(count));
  const HRESULT hr = qa::CopyElements(psaSource, psaTarget->pvData, static_cast<std::size_t>(count));
  if (FAILED(hr)) qa::ReleaseElements(psaTarget, 0, static_cast<std::size_t>(count));
  return hr;
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
  if (!ppsaOut) return E_INVALIDARG;
  *ppsaOut = nullptr;
  if (!psa) return S_OK;  // copying no array gives no array
  if (psa->cDims == 0) return E_INVALIDARG;
  const std::int64_t count = qa::SafeArrayElementCount(psa);
  if (count < 0) return E_OUTOFMEMORY;
  SAFEARRAY* copy = nullptr;
  HRESULT hr = SafeArrayAllocDescriptor(psa->cDims, &copy);
  if (FAILED(hr)) return hr;
  // Same prefix (element type or IID) and shape; the copy owns its data.
  std::memcpy(reinterpret_cast<std::byte*>(copy) - qa::kDescriptorPrefix,
              reinterpret_cast<const std::byte*>(psa) - qa::kDescriptorPrefix, qa::kDescriptorPrefix);
  // A copy is an ordinary array: not static, not fixed, not made as a vector.
  copy->fFeatures = psa->fFeatures & ~(FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | FADF_FIXEDSIZE | FADF_CREATEVECTOR);
  copy->cbElements = psa->cbElements;
  std::memcpy(copy->rgsabound, psa->rgsabound, psa->cDims * sizeof(SAFEARRAYBOUND));
  hr = SafeArrayAllocData(copy);
  if (SUCCEEDED(hr) && psa->pvData) hr = qa::CopyElements(psa, copy->pvData, static_cast<std::size_t>(count));
  if (FAILED(hr)) {
    SafeArrayDestroy(copy);
    return hr;
  }
  *ppsaOut = copy;
  return S_OK;
}

HRESULT SafeArrayRedim(SAFEARRAY* psa, SAFEARRAYBOUND* psaboundNew) {
  if (!psa || !psaboundNew) return E_INVALIDARG;
  if (psa->cLocks || (psa->fFeatures & FADF_FIXEDSIZE)) return DISP_E_ARRAYISLOCKED;
  // Only the last dimension (first in the descriptor) changes: the data of
  // the other dimensions stays in place and is cut or extended at its end.
  std::uint64_t slice = psa->cbElements;
  for (UINT i = 1; i < psa->cDims; ++i) slice *= psa->rgsabound[i].cElements;
  const std::uint64_t old_bytes = slice * psa->rgsabound[0].cElements;
  const std::uint64_t new_bytes = slice * psaboundNew->cElements;
  if (new_bytes > 0x7FFFFFFFull) return E_OUTOFMEMORY;
  const std::size_t per_element = psa->cbElements ? psa->cbElements : 1;
  if (new_bytes < old_bytes) {
    qa::ReleaseElements(psa, new_bytes / per_element, (old_bytes - new_bytes) / per_element);
  }
  if (new_bytes != old_bytes) {
    if (psa->fFeatures & (FADF_AUTO | FADF_STATIC | FADF_EMBEDDED)) return E_INVALIDARG;
    void* data = std::realloc(psa->pvData, new_bytes ? new_bytes : 1);
    if (!data) return E_OUTOFMEMORY;
    if (new_bytes > old_bytes) std::memset(static_cast<std::byte*>(data) + old_bytes, 0, new_bytes - old_bytes);
    psa->pvData = data;
  }
  psa->rgsabound[0] = *psaboundNew;
  return S_OK;
}
