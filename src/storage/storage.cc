// Storage: the element's members, and its part in the object tree.
#include "storage/storage.h"

#include "frame/class_table.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "storage/file_time_date.h"
#include "storage/storage_messages.h"
#include "storage/storages.h"
#include "storage/streams.h"

namespace quillbox::storage_tree {
namespace {

const bool g_registered = frame::RegisterClassCreator(CLSID_Storage, &Storage::Create);

}  // namespace

HRESULT Storage::Create(REFIID riid, void** ppv) {
  ComPtr<Storage> object = com::MakeObject<Storage>();
  if (!object) return E_OUTOFMEMORY;
  return object->QueryInterface(riid, ppv);
}

Storage::~Storage() {
  // The parent forgets this child before the reference on it goes.
  if (owner_) owner_->ReleaseChild(key_);
  delete storages_;
  delete streams_;
  storage_.reset();
  parent_.reset();
}

HRESULT Storage::Initialize(LONG key, UINT* message_id, IStorage* storage, bool read_only, ElementOwner* owner,
                            IUnknown* parent) {
  key_ = key;
  owner_ = owner;
  parent_ = ComPtr<IUnknown>(parent);
  read_only_ = read_only;
  storage_ = ComPtr<IStorage>(storage);
  if (!storage) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  // The collections start with no outside reference: they live as long as
  // this storage, which deletes them.
  storages_ = new (std::nothrow) Storages(this);
  if (!storages_) {
    *message_id = kMsgOutOfMemory;
    return E_OUTOFMEMORY;
  }
  HRESULT hr = storages_->Initialize(storage, read_only, message_id);
  if (FAILED(hr)) return hr;
  streams_ = new (std::nothrow) Streams(this);
  if (!streams_) {
    *message_id = kMsgOutOfMemory;
    return E_OUTOFMEMORY;
  }
  return streams_->Initialize(storage, read_only, message_id);
}

HRESULT Storage::EnsureOpen(UINT* message_id) {
  if (!storage_ && owner_) {
    const HRESULT hr = owner_->ReopenChild(key_, message_id);
    if (FAILED(hr)) return hr;
  }
  if (!storage_) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  return S_OK;
}

void Storage::ClosePlatformElement() {
  // Everything opened below this storage goes first: the engine renames no
  // element while anything under it is open.
  if (storages_) storages_->CloseAll();
  if (streams_) streams_->CloseAll();
  storage_.reset();
}

void Storage::TakePlatformElement(IUnknown* element) {
  ComPtr<IStorage> storage;
  if (SUCCEEDED(ComPtr<IUnknown>(element).try_as(storage))) storage_ = storage;
}

HRESULT Storage::StatElement(STATSTG* stat, DWORD flag) {
  UINT message = kMsgUnexpected;
  HRESULT hr = EnsureOpen(&message);
  if (FAILED(hr)) return Report(message, hr);
  hr = storage_->Stat(stat, flag);
  if (FAILED(hr)) return Report(hr == STG_E_ACCESSDENIED ? kMsgAccessDenied : kMsgUnexpected, hr);
  return S_OK;
}

STDMETHODIMP Storage::get_Name(BSTR* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  STATSTG stat{};
  const HRESULT hr = StatElement(&stat, STATFLAG_DEFAULT);
  if (FAILED(hr)) return hr;
  BSTR name = SysAllocString(stat.pwcsName ? stat.pwcsName : u"");
  CoTaskMemFree(stat.pwcsName);
  if (!name) return Report(kMsgOutOfMemory, E_OUTOFMEMORY);
  *result = name;
  return S_OK;
}

HRESULT Storage::ReadTime(DATE* result, bool creation) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  STATSTG stat{};
  HRESULT hr = StatElement(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return hr;
  DATE date = 0;
  hr = FileTimeToDate(creation ? stat.ctime : stat.mtime, &date);
  if (FAILED(hr)) return Report(kMsgUnexpected, hr);
  *result = date;
  return S_OK;
}

STDMETHODIMP Storage::get_LastModified(DATE* result) { return ReadTime(result, false); }
STDMETHODIMP Storage::get_Creation(DATE* result) { return ReadTime(result, true); }

STDMETHODIMP Storage::get_Clsid(BSTR* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  STATSTG stat{};
  HRESULT hr = StatElement(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return hr;
  // No class id reads as the empty string, not as the null GUID's text.
  if (IsEqualGUID(stat.clsid, GUID_NULL)) {
    BSTR empty = SysAllocString(u"");
    if (!empty) return Report(kMsgOutOfMemory, E_OUTOFMEMORY);
    *result = empty;
    return S_OK;
  }
  LPOLESTR text = nullptr;
  hr = StringFromCLSID(stat.clsid, &text);
  if (FAILED(hr)) return Report(kMsgUnexpected, hr);
  BSTR clsid = SysAllocString(text);
  CoTaskMemFree(text);
  if (!clsid) return Report(kMsgOutOfMemory, E_OUTOFMEMORY);
  *result = clsid;
  return S_OK;
}

STDMETHODIMP Storage::get_Storages(_Storages** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  *result = nullptr;
  if (storages_) storages_->QueryInterface(IID__Storages, reinterpret_cast<void**>(result));
  return S_OK;
}

STDMETHODIMP Storage::get_Streams(_Streams** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  *result = nullptr;
  if (streams_) streams_->QueryInterface(IID__Streams, reinterpret_cast<void**>(result));
  return S_OK;
}

// Property sets come with the PropertySets class.
STDMETHODIMP Storage::get_PropertySets(_PropertySets** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Storage::put_Name(BSTR new_name) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  if (!owner_) return Report(kMsgRootStorage, STG_E_ACCESSDENIED);
  UINT message = kMsgUnexpected;
  const HRESULT hr = owner_->RenameChild(key_, new_name ? new_name : u"", &message);
  return FAILED(hr) ? Report(message, hr) : S_OK;
}

HRESULT Storage::SetTime(DATE date, ElementTime which) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  if (!owner_) return Report(kMsgRootStorage, STG_E_ACCESSDENIED);
  UINT message = kMsgUnexpected;
  const HRESULT hr = owner_->SetChildTime(key_, date, which, &message);
  return FAILED(hr) ? Report(message, hr) : S_OK;
}

STDMETHODIMP Storage::put_Creation(DATE date) { return SetTime(date, ElementTime::kCreation); }
STDMETHODIMP Storage::put_LastModified(DATE date) { return SetTime(date, ElementTime::kLastModified); }

// Embedded objects come with the OLE embedding support.
STDMETHODIMP Storage::LoadEmbeddedObject(IUnknown*, IUnknown** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Storage::UpdateEmbeddedObject(IUnknown*) { return Report(kMsgNotSupported, E_NOTIMPL); }

STDMETHODIMP Storage::UpdateEmbeddedObjectFromVBOleControl(IDispatch*) {
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Storage::LoadEmbeddedObjectInVbOleControl(IDispatch*) { return Report(kMsgNotSupported, E_NOTIMPL); }

}  // namespace quillbox::storage_tree
