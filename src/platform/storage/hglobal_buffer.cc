// Offset-based access to a shared global-memory block.
#include "platform/storage/hglobal_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "platform/storage/hglobal_heap.h"

namespace quillbox::storage {

HRESULT HGlobalBuffer::Make(HGLOBAL handle, bool delete_on_release,
                            std::shared_ptr<HGlobalBuffer>* out) {
  HGlobalSpan span;
  if (handle && !LookUpHGlobal(handle, &span)) return E_INVALIDARG;
  HGLOBAL own = handle ? handle : GlobalAlloc(GMEM_MOVEABLE | GMEM_NODISCARD, 0);
  if (!own) return E_OUTOFMEMORY;
  auto* raw = new (std::nothrow) HGlobalBuffer(own, delete_on_release);
  if (!raw) {
    if (!handle) GlobalFree(own);
    return E_OUTOFMEMORY;
  }
  try {
    out->reset(raw);
  } catch (const std::bad_alloc&) {
    // shared_ptr could not make its control block; reset already deleted raw.
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

HGlobalBuffer::~HGlobalBuffer() {
  if (delete_on_release_) GlobalFree(handle_);
}

HRESULT HGlobalBuffer::ReadAt(std::uint64_t offset, void* data, ULONG count, ULONG* done) {
  std::lock_guard lock(mutex_);
  HGlobalSpan span;
  if (!LookUpHGlobal(handle_, &span)) return E_HANDLE;
  ULONG n = 0;
  if (offset < span.size) {
    n = static_cast<ULONG>(std::min<std::uint64_t>(count, span.size - offset));
    if (n) std::memcpy(data, span.data + offset, n);
  }
  if (done) *done = n;
  return S_OK;
}

HRESULT HGlobalBuffer::WriteAt(std::uint64_t offset, const void* data, ULONG count, ULONG* done) {
  std::lock_guard lock(mutex_);
  if (done) *done = 0;
  if (count == 0) return S_OK;
  if (offset > kMaxSize || count > kMaxSize - offset) return STG_E_MEDIUMFULL;
  const std::uint64_t end = offset + count;
  HGlobalSpan span;
  if (!LookUpHGlobal(handle_, &span)) return E_HANDLE;
  std::vector<BYTE> own_bytes;  // a source inside this very block would move with it
  if (end > span.size) {
    const auto* source = static_cast<const BYTE*>(data);
    if (span.data && source >= span.data && source < span.data + span.size) {
      try {
        own_bytes.assign(source, source + count);
      } catch (const std::bad_alloc&) {
        return STG_E_MEDIUMFULL;
      }
      data = own_bytes.data();
    }
    if (HRESULT hr = GrowLocked(end); FAILED(hr)) return hr;
    LookUpHGlobal(handle_, &span);
  }
  std::memmove(span.data + offset, data, count);  // may overlap when the source is this block
  if (done) *done = count;
  return S_OK;
}

HRESULT HGlobalBuffer::SetSize(std::uint64_t size) {
  std::lock_guard lock(mutex_);
  if (size > kMaxSize) return STG_E_INVALIDFUNCTION;
  HGlobalSpan span;
  if (!LookUpHGlobal(handle_, &span)) return E_HANDLE;
  if (size == span.size) return S_OK;
  return GrowLocked(size);
}

HRESULT HGlobalBuffer::GrowLocked(std::uint64_t size) {
  HGLOBAL resized = ResizeHGlobal(handle_, static_cast<SIZE_T>(size));
  if (!resized) return STG_E_MEDIUMFULL;
  handle_ = resized;
  return S_OK;
}

std::uint64_t HGlobalBuffer::Size() {
  std::lock_guard lock(mutex_);
  return GlobalSize(handle_);
}

HGLOBAL HGlobalBuffer::Handle() {
  std::lock_guard lock(mutex_);
  return handle_;
}

}  // namespace quillbox::storage
