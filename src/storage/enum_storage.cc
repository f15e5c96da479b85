// EnumStorage: Next, Skip, Reset and Clone over a snapshot of keys.
#include "storage/enum_storage.h"

#include "frame/report_error.h"
#include "quillbox/oleauto.h"
#include "storage/storage_messages.h"

namespace quillbox::storage_tree {

ComPtr<EnumStorage> EnumStorage::Make(std::vector<LONG> keys, ComPtr<IUnknown> source_object,
                                      ElementSource* source, bool names_mode) {
  return com::MakeObject<EnumStorage>(std::move(keys), std::move(source_object), source, names_mode);
}

EnumStorage::EnumStorage(std::vector<LONG> keys, ComPtr<IUnknown> source_object, ElementSource* source,
                         bool names_mode)
    : keys_(std::move(keys)), names_mode_(names_mode), source_object_(std::move(source_object)), source_(source) {}

HRESULT EnumStorage::Report(UINT message_id, HRESULT result) {
  return frame::ReportError(kEnumStorageClsid, message_id, IID_IEnumVARIANT, result);
}

STDMETHODIMP EnumStorage::InterfaceSupportsErrorInfo(REFIID riid) {
  return IsEqualGUID(riid, IID_IEnumVARIANT) ? S_OK : S_FALSE;
}

bool EnumStorage::Advance(LONG* key) {
  // Keys removed from the collection since the snapshot are passed over.
  while (next_ < keys_.size()) {
    const LONG candidate = keys_[next_++];
    if (source_->IsPresent(candidate)) {
      *key = candidate;
      return true;
    }
  }
  return false;
}

STDMETHODIMP EnumStorage::Next(ULONG count, VARIANT* elements, ULONG* fetched) {
  if (count > 1 && !fetched) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  // A request for nothing is refused rather than answered with S_OK.
  if (count == 0) return Report(kMsgInvalidParameter, STG_E_INVALIDPARAMETER);
  if (!elements) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ULONG stored = 0;
  LONG key = 0;
  while (stored < count && Advance(&key)) {
    VARIANT& out = elements[stored];
    UINT message = kMsgUnexpected;
    HRESULT hr = S_OK;
    if (names_mode_) {
      BSTR name = nullptr;
      hr = source_->GetElementName(key, &name, &message);
      if (SUCCEEDED(hr)) {
        out.vt = VT_BSTR;
        out.bstrVal = name;
      }
    } else {
      IDispatch* object = nullptr;
      hr = source_->GetElementObject(key, &object, &message);
      if (SUCCEEDED(hr)) {
        out.vt = VT_DISPATCH;
        out.pdispVal = object;
      }
    }
    if (FAILED(hr)) {
      // Nothing is handed out on failure: the elements stored so far go.
      for (ULONG i = 0; i < stored; ++i) VariantClear(&elements[i]);
      if (fetched) *fetched = 0;
      return Report(message, hr);
    }
    ++stored;
  }
  if (fetched) *fetched = stored;
  return stored == count ? S_OK : S_FALSE;
}

STDMETHODIMP EnumStorage::Skip(ULONG count) {
  if (next_ >= keys_.size()) return S_FALSE;
  LONG key = 0;
  for (ULONG skipped = 0; skipped < count; ++skipped) {
    if (!Advance(&key)) return S_FALSE;
  }
  return S_OK;
}

STDMETHODIMP EnumStorage::Reset() {
  next_ = 0;
  return S_OK;
}

// The clone starts at the first key and always yields objects, whatever
// this enumerator's position and mode.
STDMETHODIMP EnumStorage::Clone(IEnumVARIANT** clone) {
  if (!clone) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<EnumStorage> copy;
  try {
    copy = Make(keys_, source_object_, source_, false);
  } catch (const std::bad_alloc&) {
  }
  if (!copy) return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  *clone = copy.detach();
  return S_OK;
}

}  // namespace quillbox::storage_tree
