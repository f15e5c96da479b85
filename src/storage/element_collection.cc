// ElementCollection: the table, the members Storages and Streams share, and
// the parent's side of the object tree.
#include "storage/element_collection.h"

#include "platform/com/utf.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "storage/enum_storage.h"
#include "storage/file_time_date.h"
#include "storage/storage.h"
#include "storage/storage_messages.h"

namespace quillbox::storage_tree {
namespace {

// Elements are opened share-exclusive, read-only below a read-only document.
constexpr DWORD kOpenReadOnly = STGM_READ | STGM_SHARE_EXCLUSIVE;            // 0x10
constexpr DWORD kOpenReadWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;      // 0x12

// A null BSTR is the empty string.
std::u16string_view NameOf(const OLECHAR* name) {
  return name ? std::u16string_view(name, com::WideLength(name)) : std::u16string_view();
}

}  // namespace

ElementCollection::ElementCollection(Storage* owner) : owner_(owner) {}

ULONG ElementCollection::AddOuterReference() {
  const ULONG count = outside_references_.fetch_add(1, std::memory_order_relaxed) + 1;
  if (count == 1 && owner_) owner_->AddRef();
  return count;
}

ULONG ElementCollection::ReleaseOuterReference() {
  const ULONG count = outside_references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (count == 0) {
    // The owner's release may delete the owner and this collection with it:
    // nothing of this object is touched afterwards.
    if (Storage* owner = owner_) {
      owner->Release();
    } else {
      DeleteSelf();
    }
  }
  return count;
}

HRESULT ElementCollection::Initialize(IStorage* storage, bool read_only, UINT* message_id) {
  read_only_ = read_only;
  ComPtr<IEnumSTATSTG> elements;
  HRESULT hr = storage ? storage->EnumElements(0, nullptr, 0, elements.put()) : E_UNEXPECTED;
  if (FAILED(hr)) {
    *message_id = hr == E_OUTOFMEMORY || hr == STG_E_INSUFFICIENTMEMORY ? kMsgOutOfMemory : kMsgInvalidParameter;
    return hr;
  }
  STATSTG stat{};
  while ((hr = elements->Next(1, &stat, nullptr)) == S_OK) {
    const std::u16string_view name = NameOf(stat.pwcsName);
    const bool wanted = stat.type == ElementType() && !table_.FindAny(name);
    ElementEntry* entry = wanted ? table_.Add(name, nullptr) : nullptr;
    CoTaskMemFree(stat.pwcsName);
    if (wanted && !entry) {
      *message_id = kMsgOutOfMemory;
      return E_OUTOFMEMORY;
    }
  }
  if (FAILED(hr)) {
    *message_id = MessageFor(hr, kElementMessages);
    return hr;
  }
  return S_OK;
}

void ElementCollection::CloseEntry(ElementEntry& entry) {
  entry.platform.reset();
  if (entry.object) entry.object->ClosePlatformElement();
}

void ElementCollection::CloseAll() {
  table_.ForEach([](ElementEntry& entry) { CloseEntry(entry); });
}

HRESULT ElementCollection::OwnerStorage(IStorage** storage, UINT* message_id) {
  if (!owner_) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  const HRESULT hr = owner_->EnsureOpen(message_id);
  if (FAILED(hr)) return hr;
  *storage = owner_->platform_storage();
  return S_OK;
}

HRESULT ElementCollection::OpenEntry(ElementEntry& entry, UINT* message_id) {
  if (entry.platform) return S_OK;
  IStorage* storage = nullptr;
  HRESULT hr = OwnerStorage(&storage, message_id);
  if (FAILED(hr)) return hr;
  ComPtr<IUnknown> element;
  hr = OpenPlatform(storage, entry.name.c_str(), read_only_ ? kOpenReadOnly : kOpenReadWrite, element.put());
  if (FAILED(hr)) {
    *message_id = MessageFor(hr, kElementMessages);
    return hr;
  }
  entry.platform = element;
  if (entry.object) entry.object->TakePlatformElement(element.get());
  return S_OK;
}

HRESULT ElementCollection::LiveElement(ElementEntry& entry, ComPtr<IDispatch>* element, UINT* message_id) {
  if (entry.open && entry.object) {
    *element = ComPtr<IDispatch>(entry.object->Dispatch());
    return S_OK;
  }
  const HRESULT hr = MakeElement(entry, element, message_id);
  if (FAILED(hr)) return hr;
  entry.open = true;
  return S_OK;
}

// ---- The members.

HRESULT ElementCollection::CountMember(LONG* count) {
  if (!count) return Fail(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  *count = table_.count();
  return S_OK;
}

HRESULT ElementCollection::ItemMember(BSTR name, ComPtr<IDispatch>* element) {
  UINT message = kMsgUnexpected;
  IStorage* storage = nullptr;
  HRESULT hr = OwnerStorage(&storage, &message);
  if (FAILED(hr)) return Fail(message, hr);
  ElementEntry* entry = table_.Find(NameOf(name));
  if (!entry) return Fail(NotFoundMessage(), STG_E_FILENOTFOUND);
  hr = OpenEntry(*entry, &message);
  if (FAILED(hr)) return Fail(message, hr);
  hr = LiveElement(*entry, element, &message);
  if (FAILED(hr)) return Fail(message, hr, &ElementIid());
  return S_OK;
}

HRESULT ElementCollection::AddMember(BSTR name, ComPtr<IDispatch>* element) {
  UINT message = kMsgUnexpected;
  IStorage* storage = nullptr;
  HRESULT hr = OwnerStorage(&storage, &message);
  if (FAILED(hr)) return Fail(message, hr);
  // No create flag: the platform refuses a name that exists.
  ComPtr<IUnknown> created;
  hr = CreatePlatform(storage, name ? name : u"", created.put());
  if (FAILED(hr)) return Fail(MessageFor(hr, kNewNameMessages), hr);
  ElementEntry* entry = table_.Add(NameOf(name), created);
  if (!entry) return Fail(kMsgOutOfMemory, E_OUTOFMEMORY, &ElementIid());
  hr = LiveElement(*entry, element, &message);
  if (FAILED(hr)) return Fail(message, hr, &ElementIid());
  return S_OK;
}

HRESULT ElementCollection::RemoveMember(BSTR name) {
  if (read_only_) return Fail(kMsgReadOnly, STG_E_ACCESSDENIED);
  UINT message = kMsgUnexpected;
  IStorage* storage = nullptr;
  HRESULT hr = OwnerStorage(&storage, &message);
  if (FAILED(hr)) return Fail(message, hr);
  ElementEntry* entry = table_.Find(NameOf(name));
  if (!entry) return Fail(NotFoundMessage(), STG_E_FILENOTFOUND);
  if (entry->open) return Fail(kMsgRemoveOpenObject, STG_E_ACCESSDENIED);
  entry->removing = true;
  // The engine destroys no element that is open, so the entry lets go of
  // its interface first; Item opens it again if the destruction fails.
  entry->platform.reset();
  hr = storage->DestroyElement(entry->name.c_str());
  if (FAILED(hr)) {
    entry->removing = false;
    return Fail(MessageFor(hr, kElementMessages), hr);
  }
  table_.Erase(entry);
  return S_OK;
}

HRESULT ElementCollection::NewEnumMember(IUnknown** enumerator) {
  if (!enumerator) return Fail(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  std::vector<LONG> keys;
  try {
    keys = table_.Keys();
  } catch (const std::bad_alloc&) {
    return Fail(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY, &IID_IEnumVARIANT);
  }
  ComPtr<EnumStorage> made = EnumStorage::Make(std::move(keys), ComPtr<IUnknown>(Identity()), this, false);
  if (!made) return Fail(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY, &IID_IEnumVARIANT);
  *enumerator = static_cast<IEnumVARIANT*>(made.detach());
  return S_OK;
}

// ---- ElementSource.

bool ElementCollection::IsPresent(LONG key) {
  const ElementEntry* entry = table_.FindKey(key);
  return entry && !entry->removing;
}

HRESULT ElementCollection::GetElementObject(LONG key, IDispatch** object, UINT* message_id) {
  ElementEntry* entry = table_.FindKey(key);
  if (!entry || entry->removing) {
    *message_id = NotFoundMessage();
    return STG_E_FILENOTFOUND;
  }
  HRESULT hr = OpenEntry(*entry, message_id);
  if (FAILED(hr)) return hr;
  ComPtr<IDispatch> element;
  hr = LiveElement(*entry, &element, message_id);
  if (FAILED(hr)) return hr;
  *object = element.detach();
  return S_OK;
}

HRESULT ElementCollection::GetElementName(LONG key, BSTR* name, UINT* message_id) {
  const ElementEntry* entry = table_.FindKey(key);
  if (!entry || entry->removing) {
    *message_id = NotFoundMessage();
    return STG_E_FILENOTFOUND;
  }
  BSTR copy = SysAllocStringLen(entry->name.data(), static_cast<UINT>(entry->name.size()));
  if (!copy) {
    *message_id = kMsgOutOfMemory;
    return E_OUTOFMEMORY;
  }
  *name = copy;
  return S_OK;
}

// ---- ElementOwner: the parent's side of the tree.

void ElementCollection::ReleaseChild(LONG key) {
  if (ElementEntry* entry = table_.FindKey(key)) {
    entry->open = false;
    entry->object = nullptr;
  }
}

HRESULT ElementCollection::RenameChild(LONG key, const OLECHAR* new_name, UINT* message_id) {
  ElementEntry* entry = table_.FindKey(key);
  if (!entry) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  const std::u16string_view wanted = NameOf(new_name);
  if (wanted == entry->name) return S_OK;
  const ElementEntry* other = table_.FindAny(wanted);
  if (other && other != entry) {
    *message_id = kMsgNameExists;
    return STG_E_FILENOTFOUND;  // this pairing of message and code is kept as it is
  }
  // The engine renames no element that is open: close it (and all below it).
  CloseEntry(*entry);
  IStorage* storage = nullptr;
  HRESULT hr = OwnerStorage(&storage, message_id);
  if (FAILED(hr)) return hr;
  hr = storage->RenameElement(entry->name.c_str(), new_name ? new_name : u"");
  if (FAILED(hr)) {
    UINT ignored = 0;
    OpenEntry(*entry, &ignored);  // back under the old name
    *message_id = MessageFor(hr, kNewNameMessages);
    return hr;
  }
  if (!table_.Rename(entry, wanted)) {
    *message_id = kMsgOutOfMemory;
    return STG_E_INSUFFICIENTMEMORY;
  }
  return OpenEntry(*entry, message_id);
}

HRESULT ElementCollection::SetChildTime(LONG key, DATE date, ElementTime which, UINT* message_id) {
  ElementEntry* entry = table_.FindKey(key);
  if (!entry) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  FILETIME time{};
  if (!DateToFileTime(date, &time)) {
    *message_id = kMsgInvalidParameter;
    return STG_E_INVALIDPARAMETER;
  }
  CloseEntry(*entry);
  IStorage* storage = nullptr;
  HRESULT hr = OwnerStorage(&storage, message_id);
  if (FAILED(hr)) return hr;
  const FILETIME* creation = which == ElementTime::kCreation ? &time : nullptr;
  const FILETIME* modified = which == ElementTime::kLastModified ? &time : nullptr;
  hr = storage->SetElementTimes(entry->name.c_str(), creation, nullptr, modified);
  UINT reopen_message = kMsgUnexpected;
  const HRESULT reopened = OpenEntry(*entry, &reopen_message);
  if (FAILED(hr)) {
    *message_id = MessageFor(hr, kNewNameMessages);
    return hr;
  }
  if (FAILED(reopened)) *message_id = reopen_message;
  return reopened;
}

HRESULT ElementCollection::ReopenChild(LONG key, UINT* message_id) {
  ElementEntry* entry = table_.FindKey(key);
  if (!entry) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  // The entry may still hold the interface while the object let its own go.
  if (entry->platform) {
    if (entry->object) entry->object->TakePlatformElement(entry->platform.get());
    return S_OK;
  }
  return OpenEntry(*entry, message_id);
}

}  // namespace quillbox::storage_tree
