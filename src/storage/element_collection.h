// ElementCollection: what Storages and Streams share. It keeps the table of
// its owner storage's elements of one kind, opens them on demand, creates and
// destroys them, and as their parent carries out ElementOwner for them; the
// enumerator reads it as an ElementSource. The kind (storage or stream), the
// platform calls and the class that reports are the derived class's.
//
// Lifetime (see docs/object-model.md): the collection belongs to its owner
// storage, which deletes it. It keeps a count of outside references (clients,
// enumerators, its live elements); while that count is above zero it holds
// one counted reference on the owner, so a client holding only a collection
// keeps the tree above it alive, and the owner's own pointer to it makes no
// cycle. A collection without an owner (made through its class factory)
// deletes itself on its last release.
#pragma once

#include <atomic>
#include <string_view>

#include "quillbox/com_ptr.h"
#include "quillbox/objidl.h"
#include "storage/element_owner.h"
#include "storage/element_source.h"
#include "storage/element_table.h"

namespace quillbox::storage_tree {

class Storage;

class ElementCollection : public ElementOwner, public ElementSource {
 public:
  // Enters every element of the collection's kind found in the owner's
  // platform storage. On failure *message_id is set.
  HRESULT Initialize(IStorage* storage, bool read_only, UINT* message_id);

  // Closes every open element below this collection, so the owner may be
  // renamed; each reopens on its next use.
  void CloseAll();

  // ElementOwner.
  void ReleaseChild(LONG key) override;
  HRESULT RenameChild(LONG key, const OLECHAR* new_name, UINT* message_id) override;
  HRESULT SetChildTime(LONG key, DATE date, ElementTime which, UINT* message_id) override;
  HRESULT ReopenChild(LONG key, UINT* message_id) override;

  // ElementSource.
  bool IsPresent(LONG key) override;
  HRESULT GetElementObject(LONG key, IDispatch** object, UINT* message_id) override;
  HRESULT GetElementName(LONG key, BSTR* name, UINT* message_id) override;

 protected:
  // owner is null for a collection made through the class factory.
  explicit ElementCollection(Storage* owner);
  ~ElementCollection() override = default;

  // The kind: STGTY_STORAGE or STGTY_STREAM.
  virtual DWORD ElementType() const = 0;
  // 203 "Storage not found" or 204 "Stream not found".
  virtual UINT NotFoundMessage() const = 0;
  virtual HRESULT OpenPlatform(IStorage* owner, const OLECHAR* name, DWORD mode, IUnknown** element) = 0;
  virtual HRESULT CreatePlatform(IStorage* owner, const OLECHAR* name, IUnknown** element) = 0;
  // Makes the live element object of entry (holding this collection) and
  // hands back a counted reference; on failure *message_id is set.
  virtual HRESULT MakeElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id) = 0;
  // The element class's dual interface, named in reports of a failed element.
  virtual const IID& ElementIid() const = 0;
  // The collection's identity (IUnknown), for the enumerator's reference.
  virtual IUnknown* Identity() = 0;
  // Reports as the derived class, with its CLSID and the given interface.
  virtual HRESULT Fail(UINT message_id, HRESULT result, const IID* iid = nullptr) = 0;
  // Deletes an owner-less collection.
  virtual void DeleteSelf() = 0;

  // The two counts: outside references, and the owner reference they hold.
  ULONG AddOuterReference();
  ULONG ReleaseOuterReference();

  // The members, reporting their failures through Fail.
  HRESULT CountMember(LONG* count);
  HRESULT ItemMember(BSTR name, ComPtr<IDispatch>* element);
  HRESULT AddMember(BSTR name, ComPtr<IDispatch>* element);
  HRESULT RemoveMember(BSTR name);
  HRESULT NewEnumMember(IUnknown** enumerator);

  bool read_only() const { return read_only_; }

 private:
  // The owner's platform storage, reopened when it was closed.
  HRESULT OwnerStorage(IStorage** storage, UINT* message_id);
  // Opens the entry's platform element if it is closed (and hands it to the
  // live element object, if any).
  HRESULT OpenEntry(ElementEntry& entry, UINT* message_id);
  // The live element object of entry, made when there is none.
  HRESULT LiveElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id);
  static void CloseEntry(ElementEntry& entry);

  Storage* owner_;
  bool read_only_ = false;
  ElementTable table_;
  std::atomic<ULONG> outside_references_{0};
};

}  // namespace quillbox::storage_tree
