// ILockBytes over growable global memory: what a compound file in memory
// sits on (CreateILockBytesOnHGlobal).
// Thread-safe: every call goes through the buffer's lock.
#pragma once

#include <memory>

#include "platform/com/com_object.h"
#include "platform/storage/hglobal_buffer.h"

namespace quillbox::storage {

class MemoryLockBytes final : public com::ComObject<MemoryLockBytes, ILockBytes> {
 public:
  explicit MemoryLockBytes(std::shared_ptr<HGlobalBuffer> buffer) : buffer_(std::move(buffer)) {}

  STDMETHODIMP ReadAt(ULARGE_INTEGER ulOffset, void* pv, ULONG cb, ULONG* pcbRead) override;
  STDMETHODIMP WriteAt(ULARGE_INTEGER ulOffset, const void* pv, ULONG cb, ULONG* pcbWritten) override;
  STDMETHODIMP Flush() override;
  STDMETHODIMP SetSize(ULARGE_INTEGER cb) override;
  STDMETHODIMP LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  STDMETHODIMP Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;

  HGlobalBuffer& buffer() { return *buffer_; }

 private:
  std::shared_ptr<HGlobalBuffer> buffer_;
};

}  // namespace quillbox::storage
