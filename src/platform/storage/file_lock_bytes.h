// ILockBytes over a file descriptor: pread/pwrite(v) at offsets (never the
// whole file in memory), ftruncate for size, and the share modes of STGM
// kept between opens (in one process or several) by OFD byte-range locks.
// Thread safety: calls may come from any thread; pread/pwrite need no lock.
#pragma once

#include <string>

#include "platform/com/com_object.h"
#include "platform/storage/gather_lock_bytes.h"
#include "quillbox/objidl.h"

namespace quillbox::storage {

enum class FileOpen {
  kOpenExisting,  // STG_E_FILENOTFOUND when missing
  kCreateNew,     // STG_E_FILEALREADYEXISTS when present
  kCreateAlways,  // emptied once the share locks are held
};

class FileLockBytes final : public com::ComObject<FileLockBytes, ILockBytes, IGatherLockBytes> {
 public:
  // Opens path (UTF-8) for mode's access and takes mode's share locks.
  // Errors: STG_E_FILENOTFOUND, STG_E_PATHNOTFOUND, STG_E_ACCESSDENIED,
  // STG_E_FILEALREADYEXISTS, STG_E_SHAREVIOLATION, STG_E_LOCKVIOLATION.
  static HRESULT Open(const std::string& path, FileOpen how, DWORD mode, ComPtr<FileLockBytes>* out);
  // A new file with a unique name in the temporary folder.
  static HRESULT CreateTemporary(DWORD mode, ComPtr<FileLockBytes>* out);

  explicit FileLockBytes(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
  ~FileLockBytes();

  const std::string& path() const { return path_; }
  void SetDeleteOnRelease(bool on) { delete_on_release_ = on; }

  STDMETHODIMP ReadAt(ULARGE_INTEGER ulOffset, void* pv, ULONG cb, ULONG* pcbRead) override;
  STDMETHODIMP WriteAt(ULARGE_INTEGER ulOffset, const void* pv, ULONG cb, ULONG* pcbWritten) override;
  STDMETHODIMP Flush() override;
  STDMETHODIMP SetSize(ULARGE_INTEGER cb) override;
  STDMETHODIMP LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  STDMETHODIMP Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
  // pwritev: one call for a run of pieces.
  STDMETHODIMP WriteGather(ULARGE_INTEGER offset, const iovec* pieces, ULONG count) override;

 private:
  HRESULT TakeShareLocks(DWORD mode);

  int fd_;
  std::string path_;
  bool delete_on_release_ = false;
};

// errno as a storage result code (ENOSPC -> STG_E_MEDIUMFULL, ...).
HRESULT ErrnoToStorageError(int error, HRESULT fallback);

}  // namespace quillbox::storage
