// Memory lock bytes: offsets straight onto the shared global-memory buffer;
// there is nothing to flush and nothing to lock.
#include "platform/storage/memory_lock_bytes.h"

#include <cstring>

#include "platform/com/exception_guard.h"

namespace quillbox::storage {

STDMETHODIMP MemoryLockBytes::ReadAt(ULARGE_INTEGER ulOffset, void* pv, ULONG cb, ULONG* pcbRead) {
  if (pcbRead) *pcbRead = 0;
  if (!pv && cb) return STG_E_INVALIDPOINTER;
  return buffer_->ReadAt(ulOffset.QuadPart, pv, cb, pcbRead);
}

STDMETHODIMP MemoryLockBytes::WriteAt(ULARGE_INTEGER ulOffset, const void* pv, ULONG cb,
                                      ULONG* pcbWritten) {
  if (pcbWritten) *pcbWritten = 0;
  if (!pv && cb) return STG_E_INVALIDPOINTER;
  return buffer_->WriteAt(ulOffset.QuadPart, pv, cb, pcbWritten);
}

STDMETHODIMP MemoryLockBytes::Flush() { return S_OK; }

STDMETHODIMP MemoryLockBytes::SetSize(ULARGE_INTEGER cb) { return buffer_->SetSize(cb.QuadPart); }

// Memory is never shared with another process, so it offers no locks.
STDMETHODIMP MemoryLockBytes::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP MemoryLockBytes::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

STDMETHODIMP MemoryLockBytes::Stat(STATSTG* pstatstg, DWORD) {
  if (!pstatstg) return STG_E_INVALIDPOINTER;
  std::memset(pstatstg, 0, sizeof *pstatstg);
  pstatstg->type = STGTY_LOCKBYTES;
  pstatstg->cbSize.QuadPart = buffer_->Size();
  return S_OK;
}

}  // namespace quillbox::storage

using quillbox::storage::HGlobalBuffer;
using quillbox::storage::MemoryLockBytes;

HRESULT CreateILockBytesOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPLOCKBYTES* pplkbyt) {
  if (!pplkbyt) return E_INVALIDARG;
  *pplkbyt = nullptr;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    std::shared_ptr<HGlobalBuffer> buffer;
    if (HRESULT hr = HGlobalBuffer::Make(hGlobal, fDeleteOnRelease != FALSE, &buffer); FAILED(hr)) return hr;
    auto lock_bytes = quillbox::com::MakeObject<MemoryLockBytes>(std::move(buffer));
    if (!lock_bytes) return E_OUTOFMEMORY;
    *pplkbyt = lock_bytes.detach();
    return S_OK;
  });
}

HRESULT GetHGlobalFromILockBytes(LPLOCKBYTES plkbyt, HGLOBAL* phglobal) {
  if (!phglobal) return E_INVALIDARG;
  *phglobal = nullptr;
  auto* ours = dynamic_cast<MemoryLockBytes*>(plkbyt);
  if (!ours) return E_INVALIDARG;
  *phglobal = ours->buffer().Handle();
  return S_OK;
}
