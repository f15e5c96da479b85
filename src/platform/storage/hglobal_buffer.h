// The memory under a memory stream or memory lock bytes: one global-memory
// handle shared by every object made on it (a stream and its clones), with
// offset-based read, write and resize. Delete-on-release frees the handle
// when the last object holding the buffer lets it go.
// Thread-safe: each call holds the buffer's own lock.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "quillbox/hglobal.h"

namespace quillbox::storage {

class HGlobalBuffer {
 public:
  // Memory objects stop short of 4 GiB, as 32-bit global memory does; a
  // size past that is refused rather than attempted.
  static constexpr std::uint64_t kMaxSize = 0xFFFFFFFFu;

  // Takes handle (or, when it is null, a new empty moveable block, which
  // then counts as the buffer's own). Fails with E_INVALIDARG for a handle
  // that is not a live global-memory handle, E_OUTOFMEMORY when memory runs
  // out.
  static HRESULT Make(HGLOBAL handle, bool delete_on_release, std::shared_ptr<HGlobalBuffer>* out);

  ~HGlobalBuffer();
  HGlobalBuffer(const HGlobalBuffer&) = delete;
  HGlobalBuffer& operator=(const HGlobalBuffer&) = delete;

  // Reading at or past the end reads nothing and succeeds.
  HRESULT ReadAt(std::uint64_t offset, void* data, ULONG count, ULONG* done);
  // Writing past the end grows the memory; the gap reads as zeros.
  HRESULT WriteAt(std::uint64_t offset, const void* data, ULONG count, ULONG* done);
  HRESULT SetSize(std::uint64_t size);
  std::uint64_t Size();
  // The handle now (a fixed block gets a new one when it grows).
  HGLOBAL Handle();

 private:
  HGlobalBuffer(HGLOBAL handle, bool delete_on_release)
      : handle_(handle), delete_on_release_(delete_on_release) {}
  HRESULT GrowLocked(std::uint64_t size);

  std::mutex mutex_;
  HGLOBAL handle_;
  const bool delete_on_release_;
};

}  // namespace quillbox::storage
