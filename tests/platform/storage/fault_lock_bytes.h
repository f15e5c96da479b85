// Test-only lock bytes that pass every call to an inner ILockBytes and fail
// the n-th WriteAt (and, when asked, the n-th SetSize) with a chosen code,
// to check that a failing medium never leaves a broken file behind.
#pragma once

#include "platform/com/com_object.h"
#include "quillbox/objidl.h"

namespace quillbox::testing {

class FaultLockBytes final : public com::ComObject<FaultLockBytes, ILockBytes> {
 public:
  // fail_at counts from 1; 0 never fails. Writes and size changes share the
  // count when count_set_size is true.
  FaultLockBytes(ILockBytes* inner, unsigned fail_at, HRESULT failure, bool count_set_size)
      : inner_(inner), fail_at_(fail_at), failure_(failure), count_set_size_(count_set_size) {}

  STDMETHODIMP ReadAt(ULARGE_INTEGER offset, void* pv, ULONG cb, ULONG* read) override {
    return inner_->ReadAt(offset, pv, cb, read);
  }
  STDMETHODIMP WriteAt(ULARGE_INTEGER offset, const void* pv, ULONG cb, ULONG* written) override {
    if (Fails()) {
      if (written) *written = 0;
      return failure_;
    }
    return inner_->WriteAt(offset, pv, cb, written);
  }
  STDMETHODIMP Flush() override { return inner_->Flush(); }
  STDMETHODIMP SetSize(ULARGE_INTEGER cb) override {
    if (count_set_size_ && Fails()) return failure_;
    return inner_->SetSize(cb);
  }
  STDMETHODIMP LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
    return inner_->LockRegion(offset, cb, type);
  }
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
    return inner_->UnlockRegion(offset, cb, type);
  }
  STDMETHODIMP Stat(STATSTG* stat, DWORD flags) override { return inner_->Stat(stat, flags); }

  // Counted operations so far (failed or not).
  unsigned count() const { return count_; }
  // Has the planned failure happened yet?
  bool failed() const { return fail_at_ != 0 && count_ >= fail_at_; }

 private:
  bool Fails() { return ++count_ == fail_at_; }

  ComPtr<ILockBytes> inner_;
  unsigned count_ = 0;
  const unsigned fail_at_;
  const HRESULT failure_;
  const bool count_set_size_;
};

}  // namespace quillbox::testing
