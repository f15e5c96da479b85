// IStorage: creating and opening streams and storages below this one.
#include "platform/propset/property_set_storage.h"
#include "quillbox/propidl.h"
#include "platform/storage/storage.h"

#include "platform/com/exception_guard.h"
#include "platform/storage/element_name.h"
#include "platform/storage/stg_modes.h"
#include "platform/storage/stream.h"

namespace quillbox::storage {

STDMETHODIMP Storage::QueryInterface(REFIID riid, void** ppv) {
  if (ppv && IsEqualGUID(riid, IID_IPropertySetStorage)) {
    return propset::CreatePropertySetStorageFor(this, reinterpret_cast<IPropertySetStorage**>(ppv));
  }
  return ComObject::QueryInterface(riid, ppv);
}

using Lock = std::lock_guard<std::recursive_mutex>;

ComPtr<Storage> Storage::MakeRoot(std::shared_ptr<CompoundFile> file, DWORD mode) {
  return com::MakeObject<Storage>(std::move(file), 0u, mode, true);
}

Storage::~Storage() {
  Lock lock(file_->mutex());
  if (is_root_) {
    file_->Close();  // children answer STG_E_REVERTED from now on
  } else {
    file_->MarkClosed(id_);
  }
}

bool Storage::QueryExtraInterface(REFIID riid, void** ppv) {
  if (is_root_ && IsEqualGUID(riid, IID_IRootStorage)) {
    *ppv = static_cast<IRootStorage*>(this);
    return true;
  }
  return false;
}

HRESULT Storage::CheckOpen() const { return file_->closed() ? STG_E_REVERTED : S_OK; }

HRESULT Storage::CheckWritable() const {
  return CanWrite(mode_) && file_->writable() ? S_OK : STG_E_ACCESSDENIED;
}

HRESULT Storage::FindChild(const OLECHAR* name, uint32_t* id) {
  std::u16string_view view;
  HRESULT hr = ParseElementName(name, false, &view);
  if (FAILED(hr)) return hr;
  return file_->directory().Find(id_, view, id);
}

HRESULT Storage::CreateChild(const OLECHAR* name, DWORD mode, ObjectType type, uint32_t* id) {
  std::u16string_view view;
  HRESULT hr = ParseElementName(name, true, &view);
  if (FAILED(hr)) return hr;
  if (FAILED(hr = CheckChildAccess(mode_, mode))) return hr;
  if (FAILED(hr = CheckWritable())) return hr;
  uint32_t existing = 0;
  hr = file_->directory().Find(id_, view, &existing);
  if (SUCCEEDED(hr)) {
    if (!(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
    if (file_->IsOpenBelow(existing)) return STG_E_ACCESSDENIED;
    // Replacing is one change: the old element comes back if creating fails.
    ChangeScope change(*file_);
    hr = file_->DestroyElement(id_, existing);
    if (SUCCEEDED(hr)) hr = file_->CreateElement(id_, view, type, id);
    return change.Finish(hr);
  }
  if (hr != STG_E_FILENOTFOUND) return hr;
  return file_->CreateElement(id_, view, type, id);
}

STDMETHODIMP Storage::CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                   DWORD reserved2, IStream** ppstm) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppstm) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    if (!pwcsName) return STG_E_INVALIDPOINTER;
    if (reserved1 != 0 || reserved2 != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kCreateStream);
    if (FAILED(hr)) return hr;
    Lock lock(file_->mutex());
    if (FAILED(hr = CheckOpen())) return hr;
    uint32_t id = 0;
    if (FAILED(hr = CreateChild(pwcsName, grfMode, ObjectType::kStream, &id))) return hr;
    std::shared_ptr<StreamData> data;
    if (FAILED(hr = file_->OpenStreamData(id, &data))) return hr;
    auto stream = com::MakeObject<Stream>(file_, data, grfMode & ~STGM_CREATE);
    if (!stream) return E_OUTOFMEMORY;
    file_->MarkOpen(id);
    *ppstm = stream.detach();
    return S_OK;
  });
}

STDMETHODIMP Storage::OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode,
                                 DWORD reserved2, IStream** ppstm) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppstm) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    if (!pwcsName) return STG_E_INVALIDPOINTER;
    if (reserved1 != nullptr || reserved2 != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kOpenStream);
    if (FAILED(hr)) return hr;
    Lock lock(file_->mutex());
    if (FAILED(hr = CheckOpen())) return hr;
    uint32_t id = 0;
    if (FAILED(hr = FindChild(pwcsName, &id))) return hr;
    if (file_->entry(id).type != ObjectType::kStream) return STG_E_FILENOTFOUND;
    if (FAILED(hr = CheckChildAccess(mode_, grfMode))) return hr;
    if (CanWrite(grfMode) && !file_->writable()) return STG_E_ACCESSDENIED;
    if (file_->IsOpen(id)) return STG_E_ACCESSDENIED;
    std::shared_ptr<StreamData> data;
    if (FAILED(hr = file_->OpenStreamData(id, &data))) return hr;
    auto stream = com::MakeObject<Stream>(file_, data, grfMode);
    if (!stream) return E_OUTOFMEMORY;
    file_->MarkOpen(id);
    *ppstm = stream.detach();
    return S_OK;
  });
}

STDMETHODIMP Storage::CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                    DWORD reserved2, IStorage** ppstg) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppstg) return STG_E_INVALIDPOINTER;
    *ppstg = nullptr;
    if (!pwcsName) return STG_E_INVALIDPOINTER;
    if (reserved1 != 0 || reserved2 != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kCreateStorage);
    if (FAILED(hr)) return hr;
    Lock lock(file_->mutex());
    if (FAILED(hr = CheckOpen())) return hr;
    uint32_t id = 0;
    if (FAILED(hr = CreateChild(pwcsName, grfMode, ObjectType::kStorage, &id))) return hr;
    auto storage = com::MakeObject<Storage>(file_, id, grfMode & ~STGM_CREATE, false);
    if (!storage) return E_OUTOFMEMORY;
    file_->MarkOpen(id);
    *ppstg = storage.detach();
    return S_OK;
  });
}

STDMETHODIMP Storage::OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                                  SNB snbExclude, DWORD reserved, IStorage** ppstg) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppstg) return STG_E_INVALIDPOINTER;
    *ppstg = nullptr;
    if (!pwcsName) return STG_E_INVALIDPOINTER;
    if (pstgPriority != nullptr || reserved != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kOpenStorage);
    if (FAILED(hr)) return hr;
    // Excluding elements empties them on open; direct mode cannot take that back.
    if (snbExclude != nullptr) return STG_E_INVALIDFUNCTION;
    Lock lock(file_->mutex());
    if (FAILED(hr = CheckOpen())) return hr;
    uint32_t id = 0;
    if (FAILED(hr = FindChild(pwcsName, &id))) return hr;
    if (file_->entry(id).type != ObjectType::kStorage) return STG_E_FILENOTFOUND;
    if (FAILED(hr = CheckChildAccess(mode_, grfMode))) return hr;
    if (CanWrite(grfMode) && !file_->writable()) return STG_E_ACCESSDENIED;
    if (file_->IsOpen(id)) return STG_E_ACCESSDENIED;
    auto storage = com::MakeObject<Storage>(file_, id, grfMode, false);
    if (!storage) return E_OUTOFMEMORY;
    file_->MarkOpen(id);
    *ppstg = storage.detach();
    return S_OK;
  });
}

}  // namespace quillbox::storage
