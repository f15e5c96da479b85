// The Stg* functions and the class-id helpers, as declared in
// quillbox/coml2api.h.
#include "platform/propset/property_set_storage.h"
#include "quillbox/propidl.h"
#include "quillbox/coml2api.h"  // before fcntl.h, whose LOCK_WRITE macro would shadow LOCKTYPE

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "platform/com/exception_guard.h"
#include "platform/com/utf.h"
#include "platform/storage/cfb_format.h"
#include "platform/storage/docfile_open.h"
#include "platform/storage/file_lock_bytes.h"
#include "platform/storage/stg_modes.h"

using quillbox::ComPtr;
using namespace quillbox::storage;

namespace {

template <class T>
HRESULT HandOut(HRESULT hr, ComPtr<Storage>& root, T** out) {
  if (FAILED(hr)) return hr;
  *out = root.detach();
  return hr;
}

// Sector size from STGOPTIONS as a major version (3 or 4).
HRESULT VersionFromOptions(const STGOPTIONS* options, bool creating, uint16_t* major) {
  *major = 3;
  if (!options) return S_OK;
  if (options->usVersion < 1 || options->usVersion > STGOPTIONS_VERSION) return STG_E_INVALIDPARAMETER;
  if (options->usVersion >= 2 && options->pwcsTemplateFile != nullptr) return STG_E_INVALIDPARAMETER;
  if (!creating) return S_OK;  // an existing file's header decides
  if (options->ulSectorSize == 512) return S_OK;
  if (options->ulSectorSize == 4096) {
    *major = 4;
    return S_OK;
  }
  return STG_E_INVALIDPARAMETER;
}

HRESULT CheckExArguments(DWORD stgfmt, DWORD grfAttrs, void** ppObjectOpen, bool creating) {
  if (!ppObjectOpen) return STG_E_INVALIDPOINTER;
  *ppObjectOpen = nullptr;
  if (stgfmt == STGFMT_FILE) return S_OK;  // property sets of a plain file
  if (stgfmt != STGFMT_STORAGE && stgfmt != STGFMT_DOCFILE && (creating || stgfmt != STGFMT_ANY)) {
    return STG_E_INVALIDPARAMETER;
  }
  constexpr DWORD kNoBuffering = 0x20000000;  // FILE_FLAG_NO_BUFFERING: accepted, no effect
  if (grfAttrs & ~kNoBuffering) return STG_E_INVALIDPARAMETER;
  return S_OK;
}

}  // namespace

WINOLEAPI StgCreateDocfile(const WCHAR* pwcsName, DWORD grfMode, DWORD reserved,
                           IStorage** ppstgOpen) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    if (!ppstgOpen) return STG_E_INVALIDPOINTER;
    *ppstgOpen = nullptr;
    if (reserved != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kCreateDocfile);
    if (FAILED(hr)) return hr;
    ComPtr<Storage> root;
    return HandOut(CreateDocfileAt(pwcsName, grfMode, 3, &root), root, ppstgOpen);
  });
}

WINOLEAPI StgCreateDocfileOnILockBytes(ILockBytes* plkbyt, DWORD grfMode, DWORD reserved,
                                       IStorage** ppstgOpen) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    if (!ppstgOpen || !plkbyt) return STG_E_INVALIDPOINTER;
    *ppstgOpen = nullptr;
    if (reserved != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kCreateDocfile);
    if (FAILED(hr)) return hr;
    ComPtr<Storage> root;
    return HandOut(CreateDocfileOn(plkbyt, grfMode, 3, &root), root, ppstgOpen);
  });
}

WINOLEAPI StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                         SNB snbExclude, DWORD reserved, IStorage** ppstgOpen) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    (void)pstgPriority;  // priority opens are not kept apart from ordinary ones
    if (!ppstgOpen) return STG_E_INVALIDPOINTER;
    *ppstgOpen = nullptr;
    if (!pwcsName) return STG_E_INVALIDNAME;
    if (reserved != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kOpenDocfile);
    if (FAILED(hr)) return hr;
    if (snbExclude) return STG_E_INVALIDFUNCTION;  // emptying elements cannot be undone in direct mode
    ComPtr<Storage> root;
    return HandOut(OpenDocfileAt(pwcsName, grfMode, &root), root, ppstgOpen);
  });
}

WINOLEAPI StgOpenStorageOnILockBytes(ILockBytes* plkbyt, IStorage* pstgPriority, DWORD grfMode,
                                     SNB snbExclude, DWORD reserved, IStorage** ppstgOpen) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    (void)pstgPriority;
    if (!ppstgOpen || !plkbyt) return STG_E_INVALIDPOINTER;
    *ppstgOpen = nullptr;
    if (reserved != 0) return STG_E_INVALIDPARAMETER;
    HRESULT hr = CheckMode(grfMode, ModeCall::kOpenDocfile);
    if (FAILED(hr)) return hr;
    if (snbExclude) return STG_E_INVALIDFUNCTION;
    ComPtr<Storage> root;
    return HandOut(OpenDocfileOn(plkbyt, grfMode, &root), root, ppstgOpen);
  });
}

WINOLEAPI StgCreateStorageEx(const WCHAR* pwcsName, DWORD grfMode, DWORD stgfmt, DWORD grfAttrs,
                             STGOPTIONS* pStgOptions, PSECURITY_DESCRIPTOR pSecurityDescriptor,
                             REFIID riid, void** ppObjectOpen) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    (void)pSecurityDescriptor;  // file permissions follow the umask
    HRESULT hr = CheckExArguments(stgfmt, grfAttrs, ppObjectOpen, true);
    if (FAILED(hr)) return hr;
    if (stgfmt == STGFMT_FILE) return STG_E_INVALIDPARAMETER;  // sets of plain files are opened, not created
    uint16_t major = 3;
    if (FAILED(hr = VersionFromOptions(pStgOptions, true, &major))) return hr;
    if (FAILED(hr = CheckMode(grfMode, ModeCall::kCreateDocfile))) return hr;
    ComPtr<Storage> root;
    const HRESULT made = CreateDocfileAt(pwcsName, grfMode, major, &root);
    if (FAILED(made)) return made;
    if (FAILED(hr = root->QueryInterface(riid, ppObjectOpen))) return hr;
    return made;
  });
}

WINOLEAPI StgOpenStorageEx(const WCHAR* pwcsName, DWORD grfMode, DWORD stgfmt, DWORD grfAttrs,
                           STGOPTIONS* pStgOptions, PSECURITY_DESCRIPTOR pSecurityDescriptor,
                           REFIID riid, void** ppObjectOpen) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    (void)pSecurityDescriptor;
    HRESULT hr = CheckExArguments(stgfmt, grfAttrs, ppObjectOpen, false);
    if (FAILED(hr)) return hr;
    uint16_t major = 3;
    if (FAILED(hr = VersionFromOptions(pStgOptions, false, &major))) return hr;
    if (!pwcsName) return STG_E_INVALIDNAME;
    // A plain file (or any file, asked for as one) offers only its property sets.
    const bool wants_sets = IsEqualGUID(riid, IID_IPropertySetStorage);
    if (stgfmt == STGFMT_FILE || (stgfmt == STGFMT_ANY && wants_sets && StgIsStorageFile(pwcsName) == S_FALSE)) {
      if (!wants_sets) return STG_E_INVALIDPARAMETER;
      return quillbox::propset::OpenFilePropertySetStorage(
          pwcsName, grfMode, reinterpret_cast<IPropertySetStorage**>(ppObjectOpen));
    }
    if (FAILED(hr = CheckMode(grfMode, ModeCall::kOpenDocfile))) return hr;
    ComPtr<Storage> root;
    if (FAILED(hr = OpenDocfileAt(pwcsName, grfMode, &root))) return hr;
    return root->QueryInterface(riid, ppObjectOpen);
  });
}

WINOLEAPI StgIsStorageFile(const WCHAR* pwcsName) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    if (!pwcsName) return STG_E_INVALIDNAME;
    const std::string path =
        quillbox::com::Utf16ToUtf8(std::u16string_view(pwcsName, quillbox::com::WideLength(pwcsName)));
    // A plain read: asking whether a file is a compound file takes no share locks.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
      const int error = errno;
      std::error_code ec;
      const auto parent = std::filesystem::path(path).parent_path();
      if (error == ENOENT && !parent.empty() && !std::filesystem::is_directory(parent, ec)) {
        return STG_E_PATHNOTFOUND;
      }
      return ErrnoToStorageError(error, STG_E_ACCESSDENIED);
    }
    uint8_t header[kHeaderSize];
    const ssize_t got = pread(fd, header, sizeof header, 0);
    ::close(fd);
    if (got < static_cast<ssize_t>(kHeaderSize)) return S_FALSE;
    return std::memcmp(header, kSignature, sizeof kSignature) == 0 ? S_OK : S_FALSE;
  });
}

WINOLEAPI StgIsStorageILockBytes(ILockBytes* plkbyt) {
  if (!plkbyt) return STG_E_INVALIDPOINTER;
  return quillbox::com::GuardedCall([&]() -> HRESULT { return HasCompoundHeader(plkbyt); });
}

WINOLEAPI WriteClassStg(IStorage* pStg, REFCLSID rclsid) {
  if (!pStg) return STG_E_INVALIDPOINTER;
  return pStg->SetClass(rclsid);
}

WINOLEAPI ReadClassStg(IStorage* pStg, CLSID* pclsid) {
  if (!pStg || !pclsid) return STG_E_INVALIDPOINTER;
  STATSTG stat{};
  HRESULT hr = pStg->Stat(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return hr;
  *pclsid = stat.clsid;
  return S_OK;
}

WINOLEAPI WriteClassStm(IStream* pStm, REFCLSID rclsid) {
  if (!pStm) return STG_E_INVALIDPOINTER;
  uint8_t bytes[16];
  StoreGuid(bytes, rclsid);  // the GUID's little-endian layout
  return pStm->Write(bytes, sizeof bytes, nullptr);
}

WINOLEAPI ReadClassStm(IStream* pStm, CLSID* pclsid) {
  if (!pStm || !pclsid) return STG_E_INVALIDPOINTER;
  uint8_t bytes[16];
  ULONG got = 0;
  HRESULT hr = pStm->Read(bytes, sizeof bytes, &got);
  if (FAILED(hr)) return hr;
  if (got != sizeof bytes) return STG_E_READFAULT;
  *pclsid = LoadGuid(bytes);
  return S_OK;
}
