// A chain of sectors (regular or mini) seen through a cursor: the cursor
// remembers where it last stood, so sequential reads, writes and appends
// move forward a step at a time instead of walking from the start.
#pragma once

#include <cstdint>

#include "platform/storage/cfb_diagnostic.h"
#include "platform/storage/cfb_format.h"

namespace quillbox::storage {

struct ChainCursor {
  uint32_t start = kEndOfChain;
  uint64_t index = 0;            // position of sector within the chain
  uint32_t sector = kEndOfChain;

  void Reset(uint32_t first) {
    start = first;
    index = 0;
    sector = first;
  }
};

// Moves the cursor to the index-th sector of its chain. Alloc is Fat or
// MiniFat (anything with Next(sector, &next)). Callers never ask past the
// chain's checked length, so the walk is bounded.
template <class Alloc>
HRESULT SeekChain(const Alloc& alloc, ChainCursor& cursor, uint64_t index) {
  if (index < cursor.index) cursor.Reset(cursor.start);
  while (cursor.index < index) {
    if (cursor.sector == kEndOfChain) {
      return CFB_CORRUPT("chain from sector %u ends after %llu sectors", cursor.start,
                         static_cast<unsigned long long>(cursor.index));
    }
    uint32_t next;
    HRESULT hr = alloc.Next(cursor.sector, &next);
    if (FAILED(hr)) return hr;
    cursor.sector = next;
    ++cursor.index;
  }
  if (cursor.sector == kEndOfChain) {
    return CFB_CORRUPT("chain from sector %u ends after %llu sectors", cursor.start,
                       static_cast<unsigned long long>(cursor.index));
  }
  return S_OK;
}

}  // namespace quillbox::storage
