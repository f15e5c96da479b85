// A platform stream for the Stream tests that passes every call to another
// stream (a memory stream of its own unless given one), except the ones it
// is told to fail: the next Read, Write or SetSize, or the n-th Write,
// answers a chosen result, and a write may be cut short.
#pragma once

#include "platform/com/com_object.h"
#include "quillbox/platform.h"

namespace quillbox::testing {

class FaultyStream final : public com::ComObject<FaultyStream, IStream> {
 public:
  FaultyStream() { CreateStreamOnHGlobal(nullptr, TRUE, inner_.put()); }
  explicit FaultyStream(IStream* inner) : inner_(inner) {}

  // The next call of that kind answers result (and moves nothing).
  void FailNextRead(HRESULT result) { read_result_ = result; }
  void FailNextWrite(HRESULT result) { write_result_ = result; }
  void FailNextSetSize(HRESULT result) { set_size_result_ = result; }
  // The n-th write from now on (counted from 1) answers result.
  void FailWriteNumber(int n, HRESULT result) {
    failing_write_ = writes_ + n;
    failing_write_result_ = result;
  }
  // The next write stores only count bytes and answers S_OK.
  void ShortenNextWrite(ULONG count) { short_write_ = count; }
  // Calls of Read and Write that reached the stream.
  int calls() const { return calls_; }

  STDMETHODIMP Read(void* pv, ULONG cb, ULONG* read) override {
    ++calls_;
    if (read_result_ != S_OK) return Take(read_result_, read);
    return inner_->Read(pv, cb, read);
  }
  STDMETHODIMP Write(const void* pv, ULONG cb, ULONG* written) override {
    ++calls_;
    if (++writes_ == failing_write_) return failing_write_result_;
    if (write_result_ != S_OK) return Take(write_result_, written);
    if (short_write_ != kNoShortWrite) {
      const ULONG count = short_write_;
      short_write_ = kNoShortWrite;
      return inner_->Write(pv, count, written);
    }
    return inner_->Write(pv, cb, written);
  }
  STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* reached) override {
    return inner_->Seek(move, origin, reached);
  }
  STDMETHODIMP SetSize(ULARGE_INTEGER size) override {
    if (set_size_result_ != S_OK) {
      const HRESULT hr = set_size_result_;
      set_size_result_ = S_OK;
      return hr;
    }
    return inner_->SetSize(size);
  }
  STDMETHODIMP CopyTo(IStream* to, ULARGE_INTEGER cb, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override {
    return inner_->CopyTo(to, cb, read, written);
  }
  STDMETHODIMP Commit(DWORD flags) override { return inner_->Commit(flags); }
  STDMETHODIMP Revert() override { return inner_->Revert(); }
  STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP Stat(STATSTG* stat, DWORD flag) override { return inner_->Stat(stat, flag); }
  STDMETHODIMP Clone(IStream** clone) override { return inner_->Clone(clone); }

 private:
  static constexpr ULONG kNoShortWrite = 0xFFFFFFFF;

  HRESULT Take(HRESULT& result, ULONG* count) {
    const HRESULT hr = result;
    result = S_OK;
    if (count) *count = 0;
    return hr;
  }

  ComPtr<IStream> inner_;
  HRESULT read_result_ = S_OK;
  HRESULT write_result_ = S_OK;
  HRESULT set_size_result_ = S_OK;
  ULONG short_write_ = kNoShortWrite;
  int calls_ = 0;
  int writes_ = 0;
  int failing_write_ = 0;
  HRESULT failing_write_result_ = S_OK;
};

}  // namespace quillbox::testing
