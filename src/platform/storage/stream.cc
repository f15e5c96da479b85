// IStream methods: argument checks, access checks and the file's lock
// around the engine's stream operations.
#include "platform/storage/stream.h"

#include <vector>

#include "platform/com/exception_guard.h"
#include "platform/storage/element_stat.h"
#include "platform/storage/stg_modes.h"

namespace quillbox::storage {

using Lock = std::lock_guard<std::recursive_mutex>;

Stream::~Stream() {
  Lock lock(file_->mutex());
  file_->MarkClosed(data_->id);
}

STDMETHODIMP Stream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
  return com::GuardedCall([&]() -> HRESULT {
    if (pcbRead) *pcbRead = 0;
    if (!pv) return STG_E_INVALIDPOINTER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    if (!CanRead(mode_)) return STG_E_ACCESSDENIED;
    uint32_t got = 0;
    HRESULT hr = file_->ReadStream(*data_, position_, pv, cb, &got);
    if (FAILED(hr)) return hr;
    position_ += got;
    if (pcbRead) *pcbRead = got;
    return S_OK;
  });
}

STDMETHODIMP Stream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
  return com::GuardedCall([&]() -> HRESULT {
    if (pcbWritten) *pcbWritten = 0;
    if (!pv) return STG_E_INVALIDPOINTER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    if (!CanWrite(mode_) || !file_->writable()) return STG_E_ACCESSDENIED;
    HRESULT hr = file_->WriteStream(*data_, position_, pv, cb);
    if (FAILED(hr)) return hr;
    position_ += cb;
    if (pcbWritten) *pcbWritten = cb;
    return S_OK;
  });
}

STDMETHODIMP Stream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) {
  return com::GuardedCall([&]() -> HRESULT {
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    int64_t base = 0;
    switch (dwOrigin) {
      case STREAM_SEEK_SET: base = 0; break;
      case STREAM_SEEK_CUR: base = static_cast<int64_t>(position_); break;
      case STREAM_SEEK_END: base = static_cast<int64_t>(file_->StreamSize(*data_)); break;
      default: return STG_E_INVALIDFUNCTION;
    }
    const int64_t target = base + dlibMove.QuadPart;
    if (target < 0 || (dlibMove.QuadPart > 0 && target < base)) return STG_E_INVALIDFUNCTION;
    position_ = static_cast<uint64_t>(target);
    if (plibNewPosition) plibNewPosition->QuadPart = position_;
    return S_OK;
  });
}

STDMETHODIMP Stream::SetSize(ULARGE_INTEGER libNewSize) {
  return com::GuardedCall([&]() -> HRESULT {
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    if (!CanWrite(mode_) || !file_->writable()) return STG_E_ACCESSDENIED;
    return file_->SetStreamSize(*data_, libNewSize.QuadPart);
  });
}

STDMETHODIMP Stream::CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                            ULARGE_INTEGER* pcbWritten) {
  return com::GuardedCall([&]() -> HRESULT {
    if (pcbRead) pcbRead->QuadPart = 0;
    if (pcbWritten) pcbWritten->QuadPart = 0;
    if (!pstm) return STG_E_INVALIDPOINTER;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    if (!CanRead(mode_)) return STG_E_ACCESSDENIED;
    std::vector<uint8_t> buffer(64 * 1024);
    uint64_t left = cb.QuadPart;
    uint64_t read_total = 0, written_total = 0;
    while (left > 0) {
      const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(left, buffer.size()));
      uint32_t got = 0;
      HRESULT hr = file_->ReadStream(*data_, position_, buffer.data(), want, &got);
      if (FAILED(hr)) return hr;
      if (got == 0) break;
      position_ += got;
      read_total += got;
      ULONG wrote = 0;
      hr = pstm->Write(buffer.data(), got, &wrote);
      written_total += wrote;
      if (pcbRead) pcbRead->QuadPart = read_total;
      if (pcbWritten) pcbWritten->QuadPart = written_total;
      if (FAILED(hr)) return hr;
      left -= got;
    }
    return S_OK;
  });
}

STDMETHODIMP Stream::Commit(DWORD grfCommitFlags) {
  if (grfCommitFlags & ~0xFu) return STG_E_INVALIDFLAG;
  Lock lock(file_->mutex());
  return file_->closed() ? STG_E_REVERTED : S_OK;  // direct mode: already in the file
}

STDMETHODIMP Stream::Revert() {
  Lock lock(file_->mutex());
  return file_->closed() ? STG_E_REVERTED : S_OK;  // direct mode: nothing held back
}

STDMETHODIMP Stream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;  // as the docfile streams of Windows
}

STDMETHODIMP Stream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP Stream::Stat(STATSTG* pstatstg, DWORD grfStatFlag) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pstatstg) return STG_E_INVALIDPOINTER;
    if (grfStatFlag > (STATFLAG_NONAME | STATFLAG_NOOPEN)) return STG_E_INVALIDFLAG;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    STATSTG s;
    FillElementStat(*file_, data_->id, mode_, &s);
    if (!(grfStatFlag & STATFLAG_NONAME)) {
      s.pwcsName = CopyTaskName(file_->entry(data_->id).name);
      if (!s.pwcsName) return STG_E_INSUFFICIENTMEMORY;
    }
    *pstatstg = s;
    return S_OK;
  });
}

STDMETHODIMP Stream::Clone(IStream** ppstm) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppstm) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    Lock lock(file_->mutex());
    if (file_->closed()) return STG_E_REVERTED;
    auto clone = com::MakeObject<Stream>(file_, data_, mode_);
    if (!clone) return E_OUTOFMEMORY;
    file_->MarkOpen(data_->id);
    clone->position_ = position_;
    *ppstm = clone.detach();
    return S_OK;
  });
}

}  // namespace quillbox::storage
