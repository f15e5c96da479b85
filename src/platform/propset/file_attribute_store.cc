// The extended attributes of a file on disk, and OpenFilePropertySetStorage
// over them. An open holds the file's share locks (the compound-file
// engine's, through its file lock bytes) for as long as any of its sets is
// open, so conflicting opens fail as they do for compound files.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

#include "platform/com/exception_guard.h"
#include "platform/com/utf.h"
#include "platform/propset/attribute_store.h"
#include "platform/propset/property_set_storage.h"
#include "platform/storage/file_lock_bytes.h"

namespace quillbox::propset {

namespace {

FILETIME ToFileTime(const struct timespec& t) {
  constexpr uint64_t kEpochDelta = 11644473600ull;  // 1601-01-01 to 1970-01-01, seconds
  const uint64_t ticks = (static_cast<uint64_t>(t.tv_sec) + kEpochDelta) * 10000000ull +
                         static_cast<uint64_t>(t.tv_nsec) / 100;
  return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

class FileAttributeStore final : public AttributeStore {
 public:
  explicit FileAttributeStore(std::string path, ComPtr<ILockBytes> share_locks = nullptr)
      : path_(std::move(path)), share_locks_(std::move(share_locks)) {}

  int Get(const std::string& name, std::vector<uint8_t>* value) override {
    // Sized then read; a value that grows in between is asked for again.
    for (int attempt = 0; attempt < 4; ++attempt) {
      const ssize_t size = getxattr(path_.c_str(), name.c_str(), nullptr, 0);
      if (size < 0) return errno;
      value->resize(static_cast<size_t>(size));
      const ssize_t got = getxattr(path_.c_str(), name.c_str(), value->data(), value->size());
      if (got >= 0) {
        value->resize(static_cast<size_t>(got));
        return 0;
      }
      if (errno != ERANGE) return errno;
    }
    return ERANGE;
  }

  int Set(const std::string& name, std::span<const uint8_t> value) override {
    return setxattr(path_.c_str(), name.c_str(), value.data(), value.size(), 0) == 0 ? 0 : errno;
  }

  int Remove(const std::string& name) override {
    return removexattr(path_.c_str(), name.c_str()) == 0 ? 0 : errno;
  }

  int List(std::vector<std::string>* names) override {
    std::vector<char> buffer;
    for (int attempt = 0; attempt < 4; ++attempt) {
      const ssize_t size = listxattr(path_.c_str(), nullptr, 0);
      if (size < 0) return errno;
      buffer.resize(static_cast<size_t>(size));
      const ssize_t got = listxattr(path_.c_str(), buffer.data(), buffer.size());
      if (got < 0 && errno == ERANGE) continue;
      if (got < 0) return errno;
      for (size_t at = 0; at < static_cast<size_t>(got);) {
        const std::string name(&buffer[at]);
        at += name.size() + 1;
        names->push_back(name);
      }
      return 0;
    }
    return ERANGE;
  }

  void Times(FILETIME* mtime, FILETIME* ctime, FILETIME* atime) override {
    struct stat info {};
    if (::stat(path_.c_str(), &info) != 0) return;
    *mtime = ToFileTime(info.st_mtim);
    *ctime = ToFileTime(info.st_ctim);
    *atime = ToFileTime(info.st_atim);
  }

 private:
  std::string path_;
  ComPtr<ILockBytes> share_locks_;  // released with the last set: the file is free again
};

}  // namespace

std::shared_ptr<AttributeStore> MakeFileAttributeStore(std::string path) {
  return std::make_shared<FileAttributeStore>(std::move(path));
}

HRESULT OpenFilePropertySetStorage(const char16_t* path, DWORD mode, IPropertySetStorage** out) {
  if (!out) return STG_E_INVALIDPOINTER;
  *out = nullptr;
  if (!path || !path[0]) return STG_E_INVALIDNAME;
  return com::GuardedCall([&]() -> HRESULT {
    const DWORD access = mode & 3;
    if (access == 3) return STG_E_INVALIDFLAG;
    const std::string narrow = com::Utf16ToUtf8(std::u16string_view(path, com::WideLength(path)));
    struct stat info {};
    if (::stat(narrow.c_str(), &info) != 0) return AttributeError(errno, STG_E_FILENOTFOUND);
    const bool writable = access != STGM_READ;
    if (writable && ::access(narrow.c_str(), W_OK) != 0) return STG_E_ACCESSDENIED;
    // The share modes: the same lock bytes a compound file on this path
    // takes, so a conflicting open of either kind (this process or another)
    // gives STG_E_SHAREVIOLATION or STG_E_LOCKVIOLATION.
    ComPtr<storage::FileLockBytes> locks;
    if (!S_ISDIR(info.st_mode)) {
      if (const HRESULT hr = storage::FileLockBytes::Open(narrow, storage::FileOpen::kOpenExisting, mode, &locks);
          FAILED(hr)) {
        return hr;
      }
    }
    auto store = std::make_shared<FileAttributeStore>(narrow, ComPtr<ILockBytes>(locks));
    // Ask once for an attribute that is never there: a file system without
    // user attributes says so now rather than at the first write.
    std::vector<uint8_t> probe;
    const int error = store->Get(std::string(kAttributePrefix) + "probe.", &probe);
    if (error != 0 && error != ENODATA) return AttributeError(error, STG_E_INVALIDFUNCTION);
    ComPtr<PropertySetStorage> sets = com::MakeObject<PropertySetStorage>(MakeAttributeHost(store, writable));
    if (!sets) return E_OUTOFMEMORY;
    *out = sets.detach();
    return S_OK;
  });
}

}  // namespace quillbox::propset
