// CompoundDocument: the document's members and its part as parent.
#include "storage/compound_document.h"

#include "frame/class_table.h"
#include "platform/com/utf.h"
#include "quillbox/oleauto.h"
#include "storage/storage.h"
#include "storage/storage_messages.h"

namespace quillbox::storage_tree {
namespace {

const bool g_registered = frame::RegisterClassCreator(CLSID_CompoundDocument, &CompoundDocument::Create);

}  // namespace

HRESULT CompoundDocument::Create(REFIID riid, void** ppv) {
  ComPtr<CompoundDocument> object = com::MakeObject<CompoundDocument>();
  if (!object) return E_OUTOFMEMORY;
  return object->QueryInterface(riid, ppv);
}

void CompoundDocument::Initialize(IStorage* root, const OLECHAR* file_name, bool read_only) {
  root_ = ComPtr<IStorage>(root);
  file_name_.assign(file_name ? file_name : u"", com::WideLength(file_name));
  read_only_ = read_only;
  root_storage_ = nullptr;
  standard_sets_.fill(nullptr);
  created_.fill(false);
}

HRESULT CompoundDocument::RootStorageObject(ComPtr<Storage>* storage) {
  if (!created_[kRootSlot]) {
    if (!root_) return Report(kMsgUnexpected, E_UNEXPECTED);
    ComPtr<Storage> made = com::MakeObject<Storage>();
    if (!made) return Report(kMsgOutOfMemory, E_OUTOFMEMORY);
    UINT message = kMsgUnexpected;
    const HRESULT hr = made->Initialize(kRootSlot, &message, root_.get(), read_only_, this, GetUnknown());
    if (FAILED(hr)) return Report(message, hr);
    root_storage_ = made.get();
    created_[kRootSlot] = true;
    *storage = std::move(made);
    return S_OK;
  }
  *storage = ComPtr<Storage>(root_storage_);
  return S_OK;
}

STDMETHODIMP CompoundDocument::get_RootStorage(_Storage** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<Storage> storage;
  const HRESULT hr = RootStorageObject(&storage);
  if (FAILED(hr)) return hr;
  *result = static_cast<_Storage*>(storage.detach());
  return S_OK;
}

// The name comes from the root storage, which the platform names by the
// file's path: after SaveAs it is the new file's.
STDMETHODIMP CompoundDocument::get_filename(BSTR* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<Storage> storage;
  const HRESULT hr = RootStorageObject(&storage);
  if (FAILED(hr)) return hr;
  return storage->get_Name(result);
}

STDMETHODIMP CompoundDocument::SaveAs(BSTR file_name) {
  ComPtr<IRootStorage> root;
  if (!root_ || FAILED(root_.try_as(root))) return E_UNEXPECTED;
  const HRESULT hr = root->SwitchToFile(file_name ? file_name : const_cast<OLECHAR*>(u""));
  if (FAILED(hr)) return Report(MessageFor(hr, kSwitchFileMessages), hr);
  return S_OK;
}

// The standard property sets come with their wrapper classes.
STDMETHODIMP CompoundDocument::get_SummaryInformation(_SummaryInformation** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP CompoundDocument::get_DocumentSummaryInformation(_DocumentSummary** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP CompoundDocument::get_UserDefined(_UserDefined** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

void CompoundDocument::ReleaseChild(LONG key) {
  if (key < 0 || key >= static_cast<LONG>(kSlots)) return;
  if (key == kRootSlot) {
    root_storage_ = nullptr;
  } else {
    standard_sets_[static_cast<std::size_t>(key) - 1] = nullptr;
  }
  created_[static_cast<std::size_t>(key)] = false;
}

HRESULT CompoundDocument::RenameChild(LONG, const OLECHAR*, UINT* message_id) {
  *message_id = kMsgCannotRename;
  return STG_E_ACCESSDENIED;
}

HRESULT CompoundDocument::SetChildTime(LONG, DATE, ElementTime, UINT* message_id) {
  *message_id = kMsgRootStorage;
  return STG_E_ACCESSDENIED;
}

// The document never closes its root storage, so nothing is ever reopened.
HRESULT CompoundDocument::ReopenChild(LONG, UINT* message_id) {
  *message_id = kMsgUnexpected;
  return E_UNEXPECTED;
}

}  // namespace quillbox::storage_tree
