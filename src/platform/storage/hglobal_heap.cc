// Global-memory handles on the C heap. A fixed handle is the address of its
// bytes, as on Windows; a moveable handle is the address of a table record,
// whose bytes may move on GlobalReAlloc while the handle stays. Every call
// checks the handle against the table, so a stale or foreign handle gets an
// error instead of a crash.
#include "platform/storage/hglobal_heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

namespace quillbox::storage {
namespace {

struct Block {
  bool moveable = false;
  SIZE_T size = 0;      // what GlobalSize reports
  SIZE_T capacity = 0;  // bytes allocated at data
  BYTE* data = nullptr;
  UINT locks = 0;       // moveable blocks only; fixed blocks never count
};

constexpr UINT kMaxLockCount = GMEM_LOCKCOUNT;

class HandleTable {
 public:
  static HandleTable& Instance() {
    static HandleTable* table = new HandleTable;  // outlives static destructors
    return *table;
  }

  std::mutex mutex;
  std::unordered_map<HGLOBAL, std::unique_ptr<Block>> blocks;

  Block* Find(HGLOBAL handle) {
    auto it = blocks.find(handle);
    return it == blocks.end() ? nullptr : it->second.get();
  }
};

HGLOBAL HandleOf(Block* block) { return block->moveable ? static_cast<HGLOBAL>(block) : block->data; }

// Reallocates block's bytes to hold capacity bytes (at least one, so that a
// fixed block always has an address); zero-fills from old_size when asked.
bool Reallocate(Block* block, SIZE_T capacity, bool zero_fill) {
  const SIZE_T bytes = std::max<SIZE_T>(capacity, 1);
  auto* moved = static_cast<BYTE*>(std::realloc(block->data, bytes));
  if (!moved) return false;
  if (zero_fill && bytes > block->size) std::memset(moved + block->size, 0, bytes - block->size);
  block->data = moved;
  block->capacity = bytes;
  return true;
}

// Changes a block's size under the table lock; rekeys a fixed block that
// moved. Returns the (possibly new) handle, or null.
HGLOBAL ResizeLocked(HandleTable& table, HGLOBAL handle, Block* block, SIZE_T size,
                     SIZE_T capacity, bool zero_fill) {
  if (size <= block->capacity) {
    if (zero_fill && size > block->size) std::memset(block->data + block->size, 0, size - block->size);
    block->size = size;
    return handle;
  }
  auto node = table.blocks.extract(handle);
  if (!Reallocate(block, capacity, zero_fill)) {
    table.blocks.insert(std::move(node));
    return nullptr;
  }
  block->size = size;
  node.key() = HandleOf(block);
  table.blocks.insert(std::move(node));
  return HandleOf(block);
}

}  // namespace

bool LookUpHGlobal(HGLOBAL handle, HGlobalSpan* out) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(handle);
  if (!block) return false;
  out->data = block->data;
  out->size = block->size;
  return true;
}

HGLOBAL ResizeHGlobal(HGLOBAL handle, SIZE_T size) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(handle);
  if (!block) return nullptr;
  // Half again of what is there, so a run of small appends reallocates
  // only a logarithmic number of times.
  const SIZE_T ahead = block->capacity + block->capacity / 2;
  const SIZE_T capacity = size > block->capacity ? std::max({size, ahead, SIZE_T{256}}) : size;
  return ResizeLocked(table, handle, block, size, capacity, true);
}

}  // namespace quillbox::storage

using quillbox::storage::Block;
using quillbox::storage::HandleTable;

HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes) {
  auto block = std::unique_ptr<Block>(new (std::nothrow) Block);
  if (!block) return nullptr;
  block->moveable = (uFlags & GMEM_MOVEABLE) != 0;
  // A zero-byte moveable block is born discarded: a handle without bytes.
  if (!(block->moveable && dwBytes == 0)) {
    block->data = static_cast<BYTE*>((uFlags & GMEM_ZEROINIT) ? std::calloc(std::max<SIZE_T>(dwBytes, 1), 1)
                                                                : std::malloc(std::max<SIZE_T>(dwBytes, 1)));
    if (!block->data) return nullptr;
    block->capacity = std::max<SIZE_T>(dwBytes, 1);
  }
  block->size = dwBytes;
  const HGLOBAL handle = block->moveable ? static_cast<HGLOBAL>(block.get()) : block->data;
  auto& table = HandleTable::Instance();
  try {
    std::lock_guard lock(table.mutex);
    table.blocks.emplace(handle, std::move(block));
  } catch (const std::bad_alloc&) {
    if (block) std::free(block->data);
    return nullptr;
  }
  return handle;
}

HGLOBAL GlobalReAlloc(HGLOBAL hMem, SIZE_T dwBytes, UINT uFlags) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(hMem);
  if (!block) return nullptr;
  // Without GMEM_MOVEABLE, a fixed or locked block may only change in place.
  const bool may_move = (uFlags & GMEM_MOVEABLE) || (block->moveable && block->locks == 0);
  if (dwBytes > block->capacity && !may_move) return nullptr;
  if (block->moveable && dwBytes == 0) {
    // Discarding: the handle stays, the bytes go.
    std::free(block->data);
    block->data = nullptr;
    block->size = block->capacity = 0;
    block->locks = 0;
    return hMem;
  }
  return quillbox::storage::ResizeLocked(table, hMem, block, dwBytes, dwBytes,
                                         (uFlags & GMEM_ZEROINIT) != 0);
}

SIZE_T GlobalSize(HGLOBAL hMem) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(hMem);
  return block ? block->size : 0;
}

LPVOID GlobalLock(HGLOBAL hMem) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(hMem);
  if (!block || !block->data) return nullptr;
  if (block->moveable && block->locks < quillbox::storage::kMaxLockCount) ++block->locks;
  return block->data;
}

BOOL GlobalUnlock(HGLOBAL hMem) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(hMem);
  if (!block || block->locks == 0) return FALSE;
  return --block->locks > 0 ? TRUE : FALSE;
}

UINT GlobalFlags(HGLOBAL hMem) {
  auto& table = HandleTable::Instance();
  std::lock_guard lock(table.mutex);
  Block* block = table.Find(hMem);
  if (!block) return GMEM_INVALID_HANDLE;
  UINT flags = block->locks;
  if (block->moveable && !block->data) flags |= GMEM_DISCARDED;
  return flags;
}

HGLOBAL GlobalFree(HGLOBAL hMem) {
  if (!hMem) return nullptr;
  std::unique_ptr<Block> block;
  {
    auto& table = HandleTable::Instance();
    std::lock_guard lock(table.mutex);
    auto it = table.blocks.find(hMem);
    if (it == table.blocks.end()) return hMem;  // failure gives the handle back
    block = std::move(it->second);
    table.blocks.erase(it);
  }
  std::free(block->data);
  return nullptr;
}
