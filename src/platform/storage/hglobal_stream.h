// IStream over global memory (CreateStreamOnHGlobal): a seek position of its
// own over a buffer it may share with its clones.
// Not thread-safe per object (as with any stream, one seek position); the
// shared buffer is.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/com/com_object.h"
#include "platform/storage/hglobal_buffer.h"

namespace quillbox::storage {

class HGlobalStream final : public com::ComObject<HGlobalStream, IStream> {
 public:
  HGlobalStream(std::shared_ptr<HGlobalBuffer> buffer, std::uint64_t position)
      : buffer_(std::move(buffer)), position_(position) {}

  STDMETHODIMP Read(void* pv, ULONG cb, ULONG* pcbRead) override;
  STDMETHODIMP Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
  STDMETHODIMP Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
  STDMETHODIMP SetSize(ULARGE_INTEGER libNewSize) override;
  STDMETHODIMP CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                      ULARGE_INTEGER* pcbWritten) override;
  STDMETHODIMP Commit(DWORD grfCommitFlags) override;
  STDMETHODIMP Revert() override;
  STDMETHODIMP LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  STDMETHODIMP Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
  STDMETHODIMP Clone(IStream** ppstm) override;

  HGlobalBuffer& buffer() { return *buffer_; }

 private:
  std::shared_ptr<HGlobalBuffer> buffer_;
  std::uint64_t position_;
};

}  // namespace quillbox::storage
