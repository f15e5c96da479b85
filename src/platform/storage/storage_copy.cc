// IStorage::CopyTo and MoveElementTo: contents copied element by element
// into any destination IStorage (this file or another), and
// IRootStorage::SwitchToFile.
#include <algorithm>
#include <vector>

#include "platform/com/exception_guard.h"
#include "platform/com/utf.h"
#include "platform/storage/element_name.h"
#include "platform/storage/file_lock_bytes.h"
#include "platform/storage/stg_modes.h"
#include "platform/storage/storage.h"

namespace quillbox::storage {
namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

// Storages nest no deeper than this in a copy; real files stay far below.
constexpr int kMaxCopyDepth = 256;
constexpr DWORD kChildWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

struct Exclusions {
  bool storages = false;
  bool streams = false;
  SNB names = nullptr;

  bool Names(const std::u16string& name) const {
    if (!names) return false;
    for (OLECHAR** n = names; *n; ++n) {
      if (CompareNames(name, std::u16string_view(*n, com::WideLength(*n))) == 0) return true;
    }
    return false;
  }
};

HRESULT CopyStreamData(CompoundFile& file, uint32_t id, IStream* to) {
  std::shared_ptr<StreamData> data;
  HRESULT hr = file.OpenStreamData(id, &data);  // a private cursor, read only
  if (FAILED(hr)) return hr;
  std::vector<uint8_t> buffer(64 * 1024);
  for (uint64_t at = 0;;) {
    uint32_t got = 0;
    if (FAILED(hr = file.ReadStream(*data, at, buffer.data(), static_cast<uint32_t>(buffer.size()), &got))) {
      return hr;
    }
    if (got == 0) return S_OK;
    if (FAILED(hr = to->Write(buffer.data(), got, nullptr))) return hr;
    at += got;
  }
}

HRESULT CopyElement(CompoundFile& file, uint32_t id, IStorage* dest, const std::u16string& name,
                    bool replace, int depth);

HRESULT CopyContents(CompoundFile& file, uint32_t from, IStorage* dest, const Exclusions& skip,
                     int depth) {
  if (depth > kMaxCopyDepth) return STG_E_DOCFILECORRUPT;
  const DirEntry& self = file.entry(from);
  HRESULT hr = dest->SetClass(self.clsid);
  if (FAILED(hr)) return hr;
  if (FAILED(hr = dest->SetStateBits(self.state_bits, 0xFFFFFFFFu))) return hr;
  std::vector<uint32_t> ids;
  if (FAILED(hr = file.directory().Children(from, &ids))) return hr;
  for (uint32_t id : ids) {
    const DirEntry& e = file.entry(id);
    if (skip.Names(e.name)) continue;
    if (e.type == ObjectType::kStream && skip.streams) continue;
    if (e.type == ObjectType::kStorage && skip.storages) continue;
    if (FAILED(hr = CopyElement(file, id, dest, e.name, true, depth))) return hr;
  }
  return S_OK;
}

// Copies one element under dest as name: streams replace what is there;
// storages merge into an existing storage of that name (when replace).
HRESULT CopyElement(CompoundFile& file, uint32_t id, IStorage* dest, const std::u16string& name,
                    bool replace, int depth) {
  const DirEntry& e = file.entry(id);
  HRESULT hr;
  if (e.type == ObjectType::kStream) {
    ComPtr<IStream> out;
    if (FAILED(hr = dest->CreateStream(name.c_str(), kChildWrite | (replace ? STGM_CREATE : 0), 0, 0,
                                       out.put()))) {
      return hr;
    }
    return CopyStreamData(file, id, out.get());
  }
  ComPtr<IStorage> out;
  hr = replace ? dest->OpenStorage(name.c_str(), nullptr, kChildWrite, nullptr, 0, out.put())
               : STG_E_FILENOTFOUND;
  if (hr == STG_E_FILENOTFOUND) hr = dest->CreateStorage(name.c_str(), kChildWrite, 0, 0, out.put());
  if (FAILED(hr)) return hr;
  return CopyContents(file, id, out.get(), Exclusions{}, depth + 1);
}

}  // namespace

bool Storage::Contains(uint32_t ancestor, uint32_t id) {
  std::vector<uint32_t> pending = {ancestor};
  std::vector<uint32_t> children;
  for (size_t steps = 0; !pending.empty() && steps <= file_->directory().size(); ++steps) {
    const uint32_t at = pending.back();
    pending.pop_back();
    if (at == id) return true;
    if (file_->entry(at).IsStorageLike() && SUCCEEDED(file_->directory().Children(at, &children))) {
      pending.insert(pending.end(), children.begin(), children.end());
    }
  }
  return false;
}

STDMETHODIMP Storage::CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                             IStorage* pstgDest) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pstgDest) return STG_E_INVALIDPOINTER;
    if (ciidExclude > 0 && !rgiidExclude) return STG_E_INVALIDPOINTER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    if (!CanRead(mode_)) return STG_E_ACCESSDENIED;
    auto* same = dynamic_cast<Storage*>(pstgDest);
    if (same && same->file_ == file_ && Contains(id_, same->id_)) return STG_E_ACCESSDENIED;
    Exclusions skip;
    for (DWORD i = 0; i < ciidExclude; ++i) {
      if (IsEqualGUID(rgiidExclude[i], IID_IStorage)) skip.storages = true;
      if (IsEqualGUID(rgiidExclude[i], IID_IStream)) skip.streams = true;
    }
    skip.names = snbExclude;
    return CopyContents(*file_, id_, pstgDest, skip, 0);
  });
}

STDMETHODIMP Storage::MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest,
                                    const OLECHAR* pwcsNewName, DWORD grfFlags) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pwcsName || !pstgDest || !pwcsNewName) return STG_E_INVALIDPOINTER;
    if (grfFlags != STGMOVE_MOVE && grfFlags != STGMOVE_COPY) return STG_E_INVALIDFLAG;
    std::u16string_view new_name;
    HRESULT hr = ParseElementName(pwcsNewName, true, &new_name);
    if (FAILED(hr)) return hr;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    uint32_t id = 0;
    if (FAILED(hr = FindChild(pwcsName, &id))) return hr;
    if (grfFlags == STGMOVE_MOVE) {
      if (FAILED(hr = CheckWritable())) return hr;
      if (file_->IsOpenBelow(id)) return STG_E_ACCESSDENIED;
    }
    auto* same = dynamic_cast<Storage*>(pstgDest);
    // A storage cannot move into itself or below itself.
    if (same && same->file_ == file_ && Contains(id, same->id_)) return STG_E_ACCESSDENIED;
    if (FAILED(hr = CopyElement(*file_, id, pstgDest, std::u16string(new_name), false, 0))) return hr;
    if (grfFlags == STGMOVE_MOVE) return file_->DestroyElement(id_, id);
    return S_OK;
  });
}

STDMETHODIMP Storage::SwitchToFile(LPOLESTR pszFile) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pszFile) return STG_E_INVALIDPOINTER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    const std::string path = com::Utf16ToUtf8(std::u16string_view(pszFile, com::WideLength(pszFile)));
    ComPtr<FileLockBytes> target;
    // The new file must not exist yet: an existing one is never overwritten.
    HRESULT hr = FileLockBytes::Open(path, FileOpen::kCreateNew,
                                     (mode_ & ~0x70u) | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, &target);
    if (FAILED(hr)) return hr;
    ILockBytes* source = file_->lock_bytes();
    STATSTG stat{};
    if (FAILED(hr = source->Stat(&stat, STATFLAG_NONAME))) return hr;
    std::vector<uint8_t> buffer(64 * 1024);
    for (uint64_t at = 0; at < stat.cbSize.QuadPart;) {
      const ULONG want = static_cast<ULONG>(std::min<uint64_t>(buffer.size(), stat.cbSize.QuadPart - at));
      ULARGE_INTEGER offset;
      offset.QuadPart = at;
      ULONG got = 0;
      if (FAILED(hr = source->ReadAt(offset, buffer.data(), want, &got))) return hr;
      if (got == 0) break;
      ULONG wrote = 0;
      if (FAILED(hr = target->WriteAt(offset, buffer.data(), got, &wrote))) return hr;
      at += got;
    }
    if (FAILED(hr = target->Flush())) return hr;
    file_->Rebind(ComPtr<ILockBytes>(target.get()));
    return S_OK;
  });
}

}  // namespace quillbox::storage
