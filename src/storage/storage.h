// Storage: one storage element, the root of a document, a child reached
// through a Storages collection, or a memory storage. It reads the element's
// name, times and class id, renames it and sets its times through its
// parent, and owns its Storages and Streams collections.
#pragma once

#include "frame/automation_object.h"
#include "quillbox/quillbox.h"
#include "storage/element_owner.h"

namespace quillbox::storage_tree {

class Storages;
class Streams;

class Storage final : public frame::AutomationObject<Storage, _Storage>, public OwnedElement {
 public:
  static constexpr const CLSID& kClsid = CLSID_Storage;

  // The class-table creator: a storage with no element (every member that
  // needs one fails with message 1).
  static HRESULT Create(REFIID riid, void** ppv);

  Storage() = default;
  ~Storage();

  // key: the number the owner knows this child by; owner and parent are
  // null for a memory storage. parent is held counted, owner beside it.
  // On failure *message_id is set and the storage must be released.
  HRESULT Initialize(LONG key, UINT* message_id, IStorage* storage, bool read_only, ElementOwner* owner,
                     IUnknown* parent);

  // Opens the platform storage again through the parent when it was closed.
  HRESULT EnsureOpen(UINT* message_id);
  // REQUIRES: EnsureOpen succeeded.
  IStorage* platform_storage() const { return storage_.get(); }
  bool read_only() const { return read_only_; }

  // OwnedElement.
  void ClosePlatformElement() override;
  void TakePlatformElement(IUnknown* element) override;
  IDispatch* Dispatch() override { return static_cast<_Storage*>(this); }

  // _Storage.
  STDMETHODIMP get_Name(BSTR* result) override;
  STDMETHODIMP put_Name(BSTR new_name) override;
  STDMETHODIMP get_LastModified(DATE* result) override;
  STDMETHODIMP get_Creation(DATE* result) override;
  STDMETHODIMP get_Storages(_Storages** result) override;
  STDMETHODIMP get_Streams(_Streams** result) override;
  STDMETHODIMP get_PropertySets(_PropertySets** result) override;
  STDMETHODIMP get_Clsid(BSTR* result) override;
  STDMETHODIMP LoadEmbeddedObject(IUnknown* container, IUnknown** result) override;
  STDMETHODIMP UpdateEmbeddedObject(IUnknown* object) override;
  STDMETHODIMP UpdateEmbeddedObjectFromVBOleControl(IDispatch* control) override;
  STDMETHODIMP LoadEmbeddedObjectInVbOleControl(IDispatch* ole_control) override;
  STDMETHODIMP put_Creation(DATE date) override;
  STDMETHODIMP put_LastModified(DATE date) override;

 private:
  // Stat of the open element, reported as this class on failure.
  HRESULT StatElement(STATSTG* stat, DWORD flag);
  HRESULT ReadTime(DATE* result, bool creation);
  HRESULT SetTime(DATE date, ElementTime which);

  ComPtr<IStorage> storage_;
  ElementOwner* owner_ = nullptr;
  LONG key_ = 0;
  ComPtr<IUnknown> parent_;
  bool read_only_ = false;
  // Owned: deleted with this storage (see ElementCollection on lifetimes).
  Storages* storages_ = nullptr;
  Streams* streams_ = nullptr;
};

}  // namespace quillbox::storage_tree
