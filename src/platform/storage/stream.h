// IStream over one stream element of a compound file. Clones share the
// element (and its chain cursor) and keep their own seek position.
#pragma once

#include <memory>

#include "platform/com/com_object.h"
#include "platform/storage/compound_file.h"
#include "quillbox/objidl.h"

namespace quillbox::storage {

class Stream final : public com::ComObject<Stream, IStream> {
 public:
  // REQUIRES: the caller holds the file's lock and has marked the element
  // open; the stream marks it closed when released.
  Stream(std::shared_ptr<CompoundFile> file, std::shared_ptr<StreamData> data, DWORD mode)
      : file_(std::move(file)), data_(std::move(data)), mode_(mode) {}
  ~Stream();

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

 private:
  std::shared_ptr<CompoundFile> file_;
  std::shared_ptr<StreamData> data_;
  DWORD mode_;
  uint64_t position_ = 0;
};

}  // namespace quillbox::storage
