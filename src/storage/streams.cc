// Streams: the collection's members and its kind, streams.
#include "storage/streams.h"

#include "frame/class_table.h"
#include "storage/storage_messages.h"
#include "stream/stream.h"

namespace quillbox::storage_tree {
namespace {

constexpr DWORD kCreateMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;  // 0x12: no create flag

const bool g_registered = frame::RegisterClassCreator(CLSID_Streams, &Streams::Create);

}  // namespace

HRESULT Streams::Create(REFIID riid, void** ppv) {
  ComPtr<Streams> object = com::MakeObject<Streams>(nullptr);
  if (!object) return E_OUTOFMEMORY;
  return object->QueryInterface(riid, ppv);
}

UINT Streams::NotFoundMessage() const { return kMsgStreamNotFound; }

HRESULT Streams::OpenPlatform(IStorage* owner, const OLECHAR* name, DWORD mode, IUnknown** element) {
  return owner->OpenStream(name, nullptr, mode, 0, reinterpret_cast<IStream**>(element));
}

HRESULT Streams::CreatePlatform(IStorage* owner, const OLECHAR* name, IUnknown** element) {
  return owner->CreateStream(name, kCreateMode, 0, 0, reinterpret_cast<IStream**>(element));
}

HRESULT Streams::MakeElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id) {
  ComPtr<stream_object::Stream> stream = com::MakeObject<stream_object::Stream>();
  if (!stream) {
    *message_id = kMsgOutOfMemory;
    return E_OUTOFMEMORY;
  }
  ComPtr<IStream> platform;
  entry.platform.try_as(platform);
  const HRESULT hr = stream->Initialize(entry.key, platform.get(), read_only(), this, GetUnknown(), message_id);
  if (FAILED(hr)) return hr;
  entry.object = stream.get();
  *element = ComPtr<IDispatch>(stream->Dispatch());
  return S_OK;
}

HRESULT Streams::Fail(UINT message_id, HRESULT result, const IID* iid) {
  return frame::ReportError(kClsid, message_id, iid ? *iid : IID__Streams, result);
}

STDMETHODIMP Streams::get__NewEnum(IUnknown** result) { return NewEnumMember(result); }

STDMETHODIMP Streams::get_Count(LONG* result) { return CountMember(result); }

STDMETHODIMP Streams::get_Item(BSTR name, _Stream** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IDispatch> element;
  const HRESULT hr = ItemMember(name, &element);
  if (FAILED(hr)) return hr;
  return element->QueryInterface(IID__Stream, reinterpret_cast<void**>(result));
}

STDMETHODIMP Streams::Add(BSTR name, _Stream** result) {
  if (read_only()) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IDispatch> element;
  const HRESULT hr = AddMember(name, &element);
  if (FAILED(hr)) return hr;
  return element->QueryInterface(IID__Stream, reinterpret_cast<void**>(result));
}

STDMETHODIMP Streams::Remove(BSTR name) { return RemoveMember(name); }

}  // namespace quillbox::storage_tree
