// Memory streams: reads stop at the end with success, writes past the end
// grow the memory, and clones share the bytes but not the position.
#include "platform/storage/hglobal_stream.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/com/exception_guard.h"

namespace quillbox::storage {

STDMETHODIMP HGlobalStream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
  if (pcbRead) *pcbRead = 0;
  if (!pv && cb) return STG_E_INVALIDPOINTER;
  ULONG done = 0;
  if (HRESULT hr = buffer_->ReadAt(position_, pv, cb, &done); FAILED(hr)) return hr;
  position_ += done;
  if (pcbRead) *pcbRead = done;
  return S_OK;
}

STDMETHODIMP HGlobalStream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
  if (pcbWritten) *pcbWritten = 0;
  if (!pv && cb) return STG_E_INVALIDPOINTER;
  ULONG done = 0;
  if (HRESULT hr = buffer_->WriteAt(position_, pv, cb, &done); FAILED(hr)) return hr;
  position_ += done;
  if (pcbWritten) *pcbWritten = done;
  return S_OK;
}

STDMETHODIMP HGlobalStream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin,
                                 ULARGE_INTEGER* plibNewPosition) {
  std::int64_t base = 0;
  switch (dwOrigin) {
    case STREAM_SEEK_SET: base = 0; break;
    case STREAM_SEEK_CUR: base = static_cast<std::int64_t>(position_); break;
    case STREAM_SEEK_END: base = static_cast<std::int64_t>(buffer_->Size()); break;
    default: return STG_E_INVALIDFUNCTION;
  }
  // Before the start, or past what a memory stream can hold, is refused and
  // leaves the position where it was.
  const std::int64_t move = dlibMove.QuadPart;
  if ((move < 0 && base < -move) ||
      (move > 0 && static_cast<std::uint64_t>(move) > HGlobalBuffer::kMaxSize - static_cast<std::uint64_t>(base))) {
    return STG_E_INVALIDFUNCTION;
  }
  position_ = static_cast<std::uint64_t>(base + move);
  if (plibNewPosition) plibNewPosition->QuadPart = position_;
  return S_OK;
}

STDMETHODIMP HGlobalStream::SetSize(ULARGE_INTEGER libNewSize) {
  return buffer_->SetSize(libNewSize.QuadPart);
}

STDMETHODIMP HGlobalStream::CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                   ULARGE_INTEGER* pcbWritten) {
  if (pcbRead) pcbRead->QuadPart = 0;
  if (pcbWritten) pcbWritten->QuadPart = 0;
  if (!pstm) return STG_E_INVALIDPOINTER;
  return com::GuardedCall([&]() -> HRESULT {
    // Through a bounce buffer: the destination may be a clone of this very
    // stream, whose writes can move the memory under us.
    constexpr ULONG kChunk = 64 * 1024;
    std::vector<BYTE> chunk(kChunk);
    std::uint64_t left = cb.QuadPart, read_total = 0, written_total = 0;
    HRESULT result = S_OK;
    while (left > 0) {
      ULONG got = 0;
      result = buffer_->ReadAt(position_, chunk.data(),
                               static_cast<ULONG>(std::min<std::uint64_t>(left, kChunk)), &got);
      if (FAILED(result) || got == 0) break;
      position_ += got;
      read_total += got;
      left -= got;
      ULONG put = 0;
      result = pstm->Write(chunk.data(), got, &put);
      written_total += put;
      if (FAILED(result)) break;
      if (put < got) {
        result = STG_E_MEDIUMFULL;
        break;
      }
    }
    if (pcbRead) pcbRead->QuadPart = read_total;
    if (pcbWritten) pcbWritten->QuadPart = written_total;
    return FAILED(result) ? result : S_OK;
  });
}

// Direct memory: there is nothing to commit and nothing to revert to.
STDMETHODIMP HGlobalStream::Commit(DWORD) { return S_OK; }
STDMETHODIMP HGlobalStream::Revert() { return S_OK; }

STDMETHODIMP HGlobalStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP HGlobalStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP HGlobalStream::Stat(STATSTG* pstatstg, DWORD) {
  if (!pstatstg) return STG_E_INVALIDPOINTER;
  std::memset(pstatstg, 0, sizeof *pstatstg);
  pstatstg->type = STGTY_STREAM;
  pstatstg->cbSize.QuadPart = buffer_->Size();
  pstatstg->grfMode = STGM_READWRITE;
  return S_OK;
}

STDMETHODIMP HGlobalStream::Clone(IStream** ppstm) {
  if (!ppstm) return STG_E_INVALIDPOINTER;
  *ppstm = nullptr;
  auto clone = com::MakeObject<HGlobalStream>(buffer_, position_);
  if (!clone) return E_OUTOFMEMORY;
  *ppstm = clone.detach();
  return S_OK;
}

}  // namespace quillbox::storage

using quillbox::storage::HGlobalBuffer;
using quillbox::storage::HGlobalStream;

HRESULT CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPSTREAM* ppstm) {
  if (!ppstm) return E_INVALIDARG;
  *ppstm = nullptr;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    std::shared_ptr<HGlobalBuffer> buffer;
    if (HRESULT hr = HGlobalBuffer::Make(hGlobal, fDeleteOnRelease != FALSE, &buffer); FAILED(hr)) return hr;
    auto stream = quillbox::com::MakeObject<HGlobalStream>(std::move(buffer), 0);
    if (!stream) return E_OUTOFMEMORY;
    *ppstm = stream.detach();
    return S_OK;
  });
}

HRESULT GetHGlobalFromStream(LPSTREAM pstm, HGLOBAL* phglobal) {
  if (!phglobal) return E_INVALIDARG;
  *phglobal = nullptr;
  auto* ours = dynamic_cast<HGlobalStream*>(pstm);
  if (!ours) return E_INVALIDARG;
  *phglobal = ours->buffer().Handle();
  return S_OK;
}
