// Storages: the collection's members and its kind, storages.
#include "storage/storages.h"

#include "frame/class_table.h"
#include "storage/storage.h"
#include "storage/storage_messages.h"

namespace quillbox::storage_tree {
namespace {

constexpr DWORD kCreateMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;  // 0x12: no create flag

const bool g_registered = frame::RegisterClassCreator(CLSID_Storages, &Storages::Create);

}  // namespace

HRESULT Storages::Create(REFIID riid, void** ppv) {
  ComPtr<Storages> object = com::MakeObject<Storages>(nullptr);
  if (!object) return E_OUTOFMEMORY;
  return object->QueryInterface(riid, ppv);
}

UINT Storages::NotFoundMessage() const { return kMsgStorageNotFound; }

HRESULT Storages::OpenPlatform(IStorage* owner, const OLECHAR* name, DWORD mode, IUnknown** element) {
  return owner->OpenStorage(name, nullptr, mode, nullptr, 0, reinterpret_cast<IStorage**>(element));
}

HRESULT Storages::CreatePlatform(IStorage* owner, const OLECHAR* name, IUnknown** element) {
  return owner->CreateStorage(name, kCreateMode, 0, 0, reinterpret_cast<IStorage**>(element));
}

HRESULT Storages::MakeElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id) {
  ComPtr<Storage> storage = com::MakeObject<Storage>();
  if (!storage) {
    *message_id = kMsgOutOfMemory;
    return E_OUTOFMEMORY;
  }
  ComPtr<IStorage> platform;
  entry.platform.try_as(platform);
  const HRESULT hr = storage->Initialize(entry.key, message_id, platform.get(), read_only(), this, GetUnknown());
  if (FAILED(hr)) return hr;
  entry.object = storage.get();
  *element = ComPtr<IDispatch>(storage->Dispatch());
  return S_OK;
}

HRESULT Storages::Fail(UINT message_id, HRESULT result, const IID* iid) {
  return frame::ReportError(kClsid, message_id, iid ? *iid : IID__Storages, result);
}

HRESULT Storages::AsStorage(const ComPtr<IDispatch>& element, _Storage** result) {
  return element->QueryInterface(IID__Storage, reinterpret_cast<void**>(result));
}

STDMETHODIMP Storages::get__NewEnum(IUnknown** result) { return NewEnumMember(result); }

STDMETHODIMP Storages::get_Count(LONG* result) { return CountMember(result); }

STDMETHODIMP Storages::get_Item(BSTR name, _Storage** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IDispatch> element;
  const HRESULT hr = ItemMember(name, &element);
  return FAILED(hr) ? hr : AsStorage(element, result);
}

STDMETHODIMP Storages::Add(BSTR name, _Storage** result) {
  if (read_only()) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IDispatch> element;
  const HRESULT hr = AddMember(name, &element);
  return FAILED(hr) ? hr : AsStorage(element, result);
}

STDMETHODIMP Storages::Remove(BSTR name) { return RemoveMember(name); }

// Embedded objects come with the OLE embedding support.
STDMETHODIMP Storages::AddEmbeddedObject(BSTR, IUnknown*, _Storage** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Storages::AddEmbeddedObjectFromVBOleControl(BSTR, IDispatch*, _Storage** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

}  // namespace quillbox::storage_tree
