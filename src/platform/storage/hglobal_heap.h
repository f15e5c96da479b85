// Global-memory handles: the table behind GlobalAlloc and friends, and the
// two calls memory streams and memory lock bytes make on it.
// Thread-safe: one lock guards the table; the bytes of a block are the
// caller's to synchronise.
#pragma once

#include "quillbox/hglobal.h"

namespace quillbox::storage {

// A live block's bytes and size, as they stand now.
struct HGlobalSpan {
  BYTE* data = nullptr;
  SIZE_T size = 0;
};

// Fills *out for a live handle; false for a handle GlobalAlloc never gave
// (or one already freed).
bool LookUpHGlobal(HGLOBAL handle, HGlobalSpan* out);

// Gives a live block the new size for a growing stream: keeps the bytes,
// zero-fills what is added and reserves ahead, so that appending in small
// writes costs amortised constant time. A fixed block may move, and then
// its handle changes: the new handle comes back. Null when memory runs out
// or the handle is unknown; the old block is then untouched.
HGLOBAL ResizeHGlobal(HGLOBAL handle, SIZE_T size);

}  // namespace quillbox::storage
