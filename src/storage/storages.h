// Storages: the child storages of a Storage, by name.
#pragma once

#include "frame/automation_object.h"
#include "quillbox/quillbox.h"
#include "storage/element_collection.h"

namespace quillbox::storage_tree {

class Storages final : public frame::AutomationObject<Storages, _Storages>, public ElementCollection {
 public:
  static constexpr const CLSID& kClsid = CLSID_Storages;

  // The class-table creator: an empty collection without an owner.
  static HRESULT Create(REFIID riid, void** ppv);

  explicit Storages(Storage* owner) : ElementCollection(owner) {}

  // Outside references; see ElementCollection on the two counts.
  STDMETHODIMP_(ULONG) AddRef() override { return AddOuterReference(); }
  STDMETHODIMP_(ULONG) Release() override { return ReleaseOuterReference(); }

  // _Storages.
  STDMETHODIMP get__NewEnum(IUnknown** result) override;
  STDMETHODIMP get_Count(LONG* result) override;
  STDMETHODIMP get_Item(BSTR name, _Storage** result) override;
  STDMETHODIMP Add(BSTR name, _Storage** result) override;
  STDMETHODIMP Remove(BSTR name) override;
  STDMETHODIMP AddEmbeddedObject(BSTR name, IUnknown* object, _Storage** result) override;
  STDMETHODIMP AddEmbeddedObjectFromVBOleControl(BSTR name, IDispatch* ole_control, _Storage** result) override;

 private:
  DWORD ElementType() const override { return STGTY_STORAGE; }
  UINT NotFoundMessage() const override;
  HRESULT OpenPlatform(IStorage* owner, const OLECHAR* name, DWORD mode, IUnknown** element) override;
  HRESULT CreatePlatform(IStorage* owner, const OLECHAR* name, IUnknown** element) override;
  HRESULT MakeElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id) override;
  const IID& ElementIid() const override { return IID__Storage; }
  IUnknown* Identity() override { return GetUnknown(); }
  HRESULT Fail(UINT message_id, HRESULT result, const IID* iid) override;
  void DeleteSelf() override { delete this; }

  // Hands an element out as _Storage.
  static HRESULT AsStorage(const ComPtr<IDispatch>& element, _Storage** result);
};

}  // namespace quillbox::storage_tree
