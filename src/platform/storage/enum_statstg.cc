// Enumerating a snapshot of elements.
#include "platform/storage/enum_statstg.h"

#include "platform/storage/element_stat.h"
#include "quillbox/objbase.h"

namespace quillbox::storage {

STDMETHODIMP EnumStatStg::Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) {
  if (pceltFetched) *pceltFetched = 0;
  if (!rgelt) return STG_E_INVALIDPOINTER;
  if (celt > 1 && !pceltFetched) return STG_E_INVALIDPARAMETER;
  ULONG fetched = 0;
  while (fetched < celt && position_ < items_->size()) {
    const ElementSnapshot& item = (*items_)[position_];
    STATSTG s = item.stat;
    s.pwcsName = CopyTaskName(item.name);
    if (!s.pwcsName) {
      for (ULONG i = 0; i < fetched; ++i) CoTaskMemFree(rgelt[i].pwcsName);
      return STG_E_INSUFFICIENTMEMORY;
    }
    rgelt[fetched++] = s;
    ++position_;
  }
  if (pceltFetched) *pceltFetched = fetched;
  return fetched == celt ? S_OK : S_FALSE;
}

STDMETHODIMP EnumStatStg::Skip(ULONG celt) {
  const size_t left = items_->size() - position_;
  if (celt > left) {
    position_ = items_->size();
    return S_FALSE;
  }
  position_ += celt;
  return S_OK;
}

STDMETHODIMP EnumStatStg::Reset() {
  position_ = 0;
  return S_OK;
}

STDMETHODIMP EnumStatStg::Clone(IEnumSTATSTG** ppenum) {
  if (!ppenum) return STG_E_INVALIDPOINTER;
  auto clone = com::MakeObject<EnumStatStg>(items_, position_);
  if (!clone) return E_OUTOFMEMORY;
  *ppenum = clone.detach();
  return S_OK;
}

}  // namespace quillbox::storage
