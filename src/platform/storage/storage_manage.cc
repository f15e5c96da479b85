// IStorage: enumerating, destroying, renaming, times, class, state bits,
// Stat, Commit and Revert.
#include <memory>
#include <vector>

#include "platform/com/exception_guard.h"
#include "platform/storage/element_name.h"
#include "platform/storage/element_stat.h"
#include "platform/storage/enum_statstg.h"
#include "platform/storage/stg_modes.h"
#include "platform/storage/storage.h"

namespace quillbox::storage {

using Lock = std::lock_guard<std::recursive_mutex>;

// Writes an entry changed in memory; on failure the entry is read back.
HRESULT Storage::WriteEntryChange(uint32_t id) {
  if (file_->broken()) return STG_E_WRITEFAULT;
  ChangeScope change(*file_);
  return change.Finish(file_->directory().WriteEntry(id));
}

STDMETHODIMP Storage::Commit(DWORD grfCommitFlags) {
  if (grfCommitFlags & ~0xFu) return STG_E_INVALIDFLAG;
  Lock lock(file_->mutex());
  if (file_->closed()) return STG_E_REVERTED;
  // Direct mode: the data is in the file already; Commit asks it to disk.
  return file_->writable() ? file_->Flush() : S_OK;
}

STDMETHODIMP Storage::Revert() {
  Lock lock(file_->mutex());
  if (file_->closed()) return STG_E_REVERTED;
  // STGM_TRANSACTED is run as direct mode: changes are in the file and
  // cannot be taken back, which a caller asking to revert must learn.
  return (mode_ & STGM_TRANSACTED) ? STG_E_UNIMPLEMENTEDFUNCTION : S_OK;
}

STDMETHODIMP Storage::EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                                   IEnumSTATSTG** ppenum) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    if (reserved1 != 0 || reserved2 != nullptr || reserved3 != 0) return STG_E_INVALIDPARAMETER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    std::vector<uint32_t> ids;
    HRESULT hr = file_->directory().Children(id_, &ids);
    if (FAILED(hr)) return hr;
    auto items = std::make_shared<std::vector<ElementSnapshot>>();
    items->reserve(ids.size());
    for (uint32_t id : ids) {
      ElementSnapshot item;
      item.name = file_->entry(id).name;
      FillElementStat(*file_, id, 0, &item.stat);
      items->push_back(std::move(item));
    }
    auto enumerator = com::MakeObject<EnumStatStg>(std::move(items));
    if (!enumerator) return E_OUTOFMEMORY;
    *ppenum = enumerator.detach();
    return S_OK;
  });
}

STDMETHODIMP Storage::DestroyElement(const OLECHAR* pwcsName) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pwcsName) return STG_E_INVALIDPOINTER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    HRESULT hr = CheckWritable();
    if (FAILED(hr)) return hr;
    uint32_t id = 0;
    if (FAILED(hr = FindChild(pwcsName, &id))) return hr;
    if (file_->IsOpenBelow(id)) return STG_E_ACCESSDENIED;
    return file_->DestroyElement(id_, id);
  });
}

STDMETHODIMP Storage::RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pwcsOldName || !pwcsNewName) return STG_E_INVALIDPOINTER;
    std::u16string_view new_name;
    HRESULT hr = ParseElementName(pwcsNewName, true, &new_name);
    if (FAILED(hr)) return hr;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    if (FAILED(hr = CheckWritable())) return hr;
    uint32_t id = 0;
    if (FAILED(hr = FindChild(pwcsOldName, &id))) return hr;
    uint32_t clash = 0;
    if (SUCCEEDED(file_->directory().Find(id_, new_name, &clash))) return STG_E_FILEALREADYEXISTS;
    if (file_->IsOpenBelow(id)) return STG_E_ACCESSDENIED;
    return file_->RenameElement(id_, id, new_name);
  });
}

STDMETHODIMP Storage::SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime,
                                      const FILETIME* patime, const FILETIME* pmtime) {
  return com::GuardedCall([&]() -> HRESULT {
    (void)patime;  // a directory entry holds no access time
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    HRESULT hr = CheckWritable();
    if (FAILED(hr)) return hr;
    uint32_t id = id_;
    if (pwcsName && FAILED(hr = FindChild(pwcsName, &id))) return hr;
    DirEntry& e = file_->entry(id);
    // Stream entries keep zero times ([MS-CFB] 2.6.3); the call succeeds.
    if (e.type == ObjectType::kStream) return S_OK;
    if (pctime) e.created = FromFileTime(*pctime);
    if (pmtime) e.modified = FromFileTime(*pmtime);
    return WriteEntryChange(id);
  });
}

STDMETHODIMP Storage::SetClass(REFCLSID clsid) {
  return com::GuardedCall([&]() -> HRESULT {
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    HRESULT hr = CheckWritable();
    if (FAILED(hr)) return hr;
    file_->entry(id_).clsid = clsid;
    return WriteEntryChange(id_);
  });
}

STDMETHODIMP Storage::SetStateBits(DWORD grfStateBits, DWORD grfMask) {
  return com::GuardedCall([&]() -> HRESULT {
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    HRESULT hr = CheckWritable();
    if (FAILED(hr)) return hr;
    DirEntry& e = file_->entry(id_);
    e.state_bits = (e.state_bits & ~grfMask) | (grfStateBits & grfMask);
    return WriteEntryChange(id_);
  });
}

STDMETHODIMP Storage::Stat(STATSTG* pstatstg, DWORD grfStatFlag) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pstatstg) return STG_E_INVALIDPOINTER;
    if (grfStatFlag > (STATFLAG_NONAME | STATFLAG_NOOPEN)) return STG_E_INVALIDFLAG;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    STATSTG s;
    FillElementStat(*file_, id_, mode_, &s);
    if (!(grfStatFlag & STATFLAG_NONAME)) {
      if (is_root_) {
        // The root is named by what holds it: a file gives its full path.
        STATSTG outer{};
        HRESULT hr = file_->lock_bytes()->Stat(&outer, STATFLAG_DEFAULT);
        if (FAILED(hr)) return hr;
        s.pwcsName = outer.pwcsName;
      } else {
        s.pwcsName = CopyTaskName(file_->entry(id_).name);
        if (!s.pwcsName) return STG_E_INSUFFICIENTMEMORY;
      }
    }
    *pstatstg = s;
    return S_OK;
  });
}

}  // namespace quillbox::storage
