// Streams: the streams of a Storage, by name, handed out as Stream objects.
#pragma once

#include "frame/automation_object.h"
#include "quillbox/quillbox.h"
#include "storage/element_collection.h"

namespace quillbox::storage_tree {

class Streams final : public frame::AutomationObject<Streams, _Streams>, public ElementCollection {
 public:
  static constexpr const CLSID& kClsid = CLSID_Streams;

  // The class-table creator: an empty collection without an owner.
  static HRESULT Create(REFIID riid, void** ppv);

  explicit Streams(Storage* owner) : ElementCollection(owner) {}

  // Outside references; see ElementCollection on the two counts.
  STDMETHODIMP_(ULONG) AddRef() override { return AddOuterReference(); }
  STDMETHODIMP_(ULONG) Release() override { return ReleaseOuterReference(); }

  // _Streams.
  STDMETHODIMP get__NewEnum(IUnknown** result) override;
  STDMETHODIMP get_Count(LONG* result) override;
  STDMETHODIMP get_Item(BSTR name, _Stream** result) override;
  STDMETHODIMP Add(BSTR name, _Stream** result) override;
  STDMETHODIMP Remove(BSTR name) override;

 private:
  DWORD ElementType() const override { return STGTY_STREAM; }
  UINT NotFoundMessage() const override;
  HRESULT OpenPlatform(IStorage* owner, const OLECHAR* name, DWORD mode, IUnknown** element) override;
  HRESULT CreatePlatform(IStorage* owner, const OLECHAR* name, IUnknown** element) override;
  HRESULT MakeElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id) override;
  const IID& ElementIid() const override { return IID__Stream; }
  IUnknown* Identity() override { return GetUnknown(); }
  HRESULT Fail(UINT message_id, HRESULT result, const IID* iid) override;
  void DeleteSelf() override { delete this; }
};

}  // namespace quillbox::storage_tree
