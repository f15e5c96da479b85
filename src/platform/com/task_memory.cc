// The task allocator: memory handed across interfaces, freed by the receiver.
#include <cstdlib>

#include "quillbox/objbase.h"

LPVOID CoTaskMemAlloc(SIZE_T cb) {
  // A zero-byte request still gives a valid, distinct pointer.
  return std::malloc(cb == 0 ? 1 : cb);
}

LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb) {
  if (cb == 0 && pv) {
    std::free(pv);
    return nullptr;
  }
  return std::realloc(pv, cb == 0 ? 1 : cb);
}

void CoTaskMemFree(LPVOID pv) { std::free(pv); }
