// File lock bytes: positional I/O, errno mapping, and share modes through
// OFD locks on bytes at 0x7FFFFF10.. (advisory, so they never block data
// I/O even in files that reach that far).
#include "platform/storage/file_lock_bytes.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <vector>

#include "platform/com/utf.h"
#include "platform/storage/stg_modes.h"
#include "quillbox/objbase.h"

namespace quillbox::storage {
namespace {

// Lock bytes: one gate serialising the check-and-take, then one byte per
// access held and per access denied. Holders take shared locks; a
// conflicting opener finds them with F_OFD_GETLK.
constexpr off_t kLockBase = 0x7FFFFF10;
constexpr off_t kGate = kLockBase + 0;
constexpr off_t kAccessRead = kLockBase + 1;
constexpr off_t kAccessWrite = kLockBase + 2;
constexpr off_t kDenyRead = kLockBase + 3;
constexpr off_t kDenyWrite = kLockBase + 4;

int LockByte(int fd, int command, short type, off_t at) {
  struct flock lock{};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = at;
  lock.l_len = 1;
  lock.l_pid = 0;
  return fcntl(fd, command, &lock);
}

// Does another open file description hold a lock on the byte?
bool HeldByOthers(int fd, off_t at) {
  struct flock lock{};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = at;
  lock.l_len = 1;
  lock.l_pid = 0;
  if (fcntl(fd, F_OFD_GETLK, &lock) != 0) return false;
  return lock.l_type != F_UNLCK;
}

uint64_t ToFileTime(const timespec& t) {
  return 116444736000000000ull + static_cast<uint64_t>(t.tv_sec) * 10000000ull +
         static_cast<uint64_t>(t.tv_nsec) / 100;
}

FILETIME SplitFileTime(uint64_t v) {
  FILETIME f;
  f.dwLowDateTime = static_cast<DWORD>(v);
  f.dwHighDateTime = static_cast<DWORD>(v >> 32);
  return f;
}

}  // namespace

HRESULT ErrnoToStorageError(int error, HRESULT fallback) {
  switch (error) {
    case ENOENT: return STG_E_FILENOTFOUND;
    case ENOTDIR: return STG_E_PATHNOTFOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR: return STG_E_ACCESSDENIED;
    case EEXIST: return STG_E_FILEALREADYEXISTS;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return STG_E_MEDIUMFULL;
    case EMFILE:
    case ENFILE: return STG_E_TOOMANYOPENFILES;
    case ENAMETOOLONG: return STG_E_PATHNOTFOUND;
    case ENOMEM: return STG_E_INSUFFICIENTMEMORY;
    default: return fallback;
  }
}

HRESULT FileLockBytes::Open(const std::string& path, FileOpen how, DWORD mode,
                            ComPtr<FileLockBytes>* out) {
  int flags = O_CLOEXEC | (CanWrite(mode) ? O_RDWR : O_RDONLY);
  if (how == FileOpen::kCreateNew) flags |= O_CREAT | O_EXCL;
  if (how == FileOpen::kCreateAlways) flags |= O_CREAT;
  const int fd = ::open(path.c_str(), flags, 0666);
  if (fd < 0) {
    const int error = errno;
    if (error == ENOENT) {
      // A missing folder is not a missing file.
      const std::filesystem::path parent = std::filesystem::path(path).parent_path();
      std::error_code ec;
      if (!parent.empty() && !std::filesystem::is_directory(parent, ec)) return STG_E_PATHNOTFOUND;
    }
    return ErrnoToStorageError(error, STG_E_ACCESSDENIED);
  }
  struct stat info{};
  if (fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
    ::close(fd);
    return STG_E_ACCESSDENIED;
  }
  std::error_code ec;
  std::string full = std::filesystem::absolute(path, ec).lexically_normal().string();
  ComPtr<FileLockBytes> bytes(new (std::nothrow) FileLockBytes(fd, ec ? path : full));
  if (!bytes) {
    ::close(fd);
    return E_OUTOFMEMORY;
  }
  HRESULT hr = bytes->TakeShareLocks(mode);
  if (FAILED(hr)) {
    if (how == FileOpen::kCreateNew) ::unlink(path.c_str());
    return hr;
  }
  if (how == FileOpen::kCreateAlways && ftruncate(fd, 0) != 0) {
    return ErrnoToStorageError(errno, STG_E_WRITEFAULT);
  }
  *out = std::move(bytes);
  return S_OK;
}

HRESULT FileLockBytes::CreateTemporary(DWORD mode, ComPtr<FileLockBytes>* out) {
  const char* folder = getenv("TMPDIR");
  std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/~qbstg_XXXXXX";
  const int fd = mkostemp(pattern.data(), O_CLOEXEC);
  if (fd < 0) return ErrnoToStorageError(errno, STG_E_ACCESSDENIED);
  ComPtr<FileLockBytes> bytes(new (std::nothrow) FileLockBytes(fd, pattern));
  if (!bytes) {
    ::close(fd);
    ::unlink(pattern.c_str());
    return E_OUTOFMEMORY;
  }
  bytes->SetDeleteOnRelease(true);
  HRESULT hr = bytes->TakeShareLocks(mode);
  if (FAILED(hr)) return hr;
  *out = std::move(bytes);
  return S_OK;
}

HRESULT FileLockBytes::TakeShareLocks(DWORD mode) {
  // Direct mode has no snapshots, so every open denies writers, and a
  // writer denies readers too (see docs/platform/storage.md).
  const DWORD share = ShareOf(mode);
  const bool read = CanRead(mode);
  const bool write = CanWrite(mode);
  const bool deny_read = write || share == STGM_SHARE_DENY_READ || share == STGM_SHARE_EXCLUSIVE;
  const bool deny_write = true;
  const bool gated = write;  // an exclusive gate needs a descriptor open for writing
  if (gated) {
    int tries = 0;
    while (LockByte(fd_, F_OFD_SETLK, F_WRLCK, kGate) != 0) {
      if ((errno != EAGAIN && errno != EACCES) || ++tries > 200) return STG_E_LOCKVIOLATION;
      usleep(5000);
    }
  }
  HRESULT hr = S_OK;
  if ((read && HeldByOthers(fd_, kDenyRead)) || (write && HeldByOthers(fd_, kDenyWrite)) ||
      (deny_read && HeldByOthers(fd_, kAccessRead)) ||
      (deny_write && HeldByOthers(fd_, kAccessWrite))) {
    hr = STG_E_SHAREVIOLATION;
  } else {
    for (auto [wanted, at] : {std::pair{read, kAccessRead}, std::pair{write, kAccessWrite},
                              std::pair{deny_read, kDenyRead}, std::pair{deny_write, kDenyWrite}}) {
      if (wanted && LockByte(fd_, F_OFD_SETLK, F_RDLCK, at) != 0) {
        hr = STG_E_LOCKVIOLATION;
        break;
      }
    }
  }
  if (gated) LockByte(fd_, F_OFD_SETLK, F_UNLCK, kGate);
  return hr;
}

FileLockBytes::~FileLockBytes() {
  if (delete_on_release_) ::unlink(path_.c_str());
  ::close(fd_);  // drops every OFD lock this description holds
}

STDMETHODIMP FileLockBytes::ReadAt(ULARGE_INTEGER ulOffset, void* pv, ULONG cb, ULONG* pcbRead) {
  if (!pv) return STG_E_INVALIDPOINTER;
  ULONG done = 0;
  while (done < cb) {
    const ssize_t n = pread(fd_, static_cast<char*>(pv) + done, cb - done,
                            static_cast<off_t>(ulOffset.QuadPart + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      if (pcbRead) *pcbRead = done;
      return ErrnoToStorageError(errno, STG_E_READFAULT);
    }
    if (n == 0) break;
    done += static_cast<ULONG>(n);
  }
  if (pcbRead) *pcbRead = done;
  return S_OK;
}

STDMETHODIMP FileLockBytes::WriteAt(ULARGE_INTEGER ulOffset, const void* pv, ULONG cb,
                                    ULONG* pcbWritten) {
  if (!pv) return STG_E_INVALIDPOINTER;
  ULONG done = 0;
  while (done < cb) {
    const ssize_t n = pwrite(fd_, static_cast<const char*>(pv) + done, cb - done,
                             static_cast<off_t>(ulOffset.QuadPart + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      if (pcbWritten) *pcbWritten = done;
      return ErrnoToStorageError(errno, STG_E_WRITEFAULT);
    }
    done += static_cast<ULONG>(n);
  }
  if (pcbWritten) *pcbWritten = done;
  return S_OK;
}

STDMETHODIMP FileLockBytes::WriteGather(ULARGE_INTEGER offset, const iovec* pieces, ULONG count) {
  if (!pieces && count > 0) return STG_E_INVALIDPOINTER;
  std::vector<iovec> left(pieces, pieces + count);
  size_t first = 0;
  uint64_t at = offset.QuadPart;
  while (first < left.size()) {
    const int n = static_cast<int>(std::min<size_t>(left.size() - first, IOV_MAX));
    const ssize_t wrote = pwritev(fd_, &left[first], n, static_cast<off_t>(at));
    if (wrote < 0) {
      if (errno == EINTR) continue;
      return ErrnoToStorageError(errno, STG_E_WRITEFAULT);
    }
    if (wrote == 0) return STG_E_MEDIUMFULL;
    at += static_cast<uint64_t>(wrote);
    // Step past what went out; a short write resumes mid-piece.
    for (size_t done = static_cast<size_t>(wrote); done > 0 && first < left.size();) {
      if (done >= left[first].iov_len) {
        done -= left[first].iov_len;
        ++first;
      } else {
        left[first].iov_base = static_cast<char*>(left[first].iov_base) + done;
        left[first].iov_len -= done;
        done = 0;
      }
    }
    while (first < left.size() && left[first].iov_len == 0) ++first;
  }
  return S_OK;
}

STDMETHODIMP FileLockBytes::Flush() {
  if (fdatasync(fd_) != 0 && errno != EINVAL && errno != EBADF) {
    return ErrnoToStorageError(errno, STG_E_WRITEFAULT);
  }
  return S_OK;
}

STDMETHODIMP FileLockBytes::SetSize(ULARGE_INTEGER cb) {
  if (ftruncate(fd_, static_cast<off_t>(cb.QuadPart)) != 0) {
    return ErrnoToStorageError(errno, STG_E_WRITEFAULT);
  }
  return S_OK;
}

STDMETHODIMP FileLockBytes::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP FileLockBytes::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP FileLockBytes::Stat(STATSTG* pstatstg, DWORD grfStatFlag) {
  if (!pstatstg) return STG_E_INVALIDPOINTER;
  struct stat info{};
  if (fstat(fd_, &info) != 0) return ErrnoToStorageError(errno, STG_E_READFAULT);
  STATSTG s{};
  s.type = STGTY_LOCKBYTES;
  s.cbSize.QuadPart = static_cast<uint64_t>(info.st_size);
  s.mtime = SplitFileTime(ToFileTime(info.st_mtim));
  s.atime = SplitFileTime(ToFileTime(info.st_atim));
  s.ctime = SplitFileTime(ToFileTime(info.st_ctim));
  s.grfLocksSupported = 0;
  if (!(grfStatFlag & STATFLAG_NONAME)) {
    const std::u16string name = com::Utf8ToUtf16(path_);
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(OLECHAR)));
    if (!copy) return STG_E_INSUFFICIENTMEMORY;
    std::memcpy(copy, name.c_str(), (name.size() + 1) * sizeof(OLECHAR));
    s.pwcsName = copy;
  }
  *pstatstg = s;
  return S_OK;
}

}  // namespace quillbox::storage
