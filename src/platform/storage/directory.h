// The directory, over the FAT allocator: 128-byte entries held in memory and
// written back one at a time (through sector I/O's cache), each storage's children kept as a red-black
// tree ordered by the format's name rule ([MS-CFB] 2.6.4).
// Thread safety: none; the engine's lock guards every layer.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "platform/storage/cfb_format.h"
#include "platform/storage/fat.h"

namespace quillbox::storage {

class Directory {
 public:
  explicit Directory(Fat& fat) : fat_(fat) {}

  // A fresh directory holding only the root entry.
  HRESULT InitNew();
  // Reads the directory chain and walks the tree from the root, refusing
  // loops and links outside the directory.
  HRESULT Load();

  DirEntry& entry(uint32_t id) { return entries_[id]; }
  size_t size() const { return entries_.size(); }
  HRESULT WriteEntry(uint32_t id);

  // Child of storage parent with this name: S_OK or STG_E_FILENOTFOUND.
  HRESULT Find(uint32_t parent, std::u16string_view name, uint32_t* id);
  // Children of parent in tree order (bounded walk).
  HRESULT Children(uint32_t parent, std::vector<uint32_t>* out) const;

  // A blank entry, growing the directory by a sector when none is free.
  HRESULT AllocateEntry(uint32_t* id);
  HRESULT FreeEntry(uint32_t id);
  // Links entry id into parent's tree (red-black insertion).
  HRESULT Insert(uint32_t parent, uint32_t id);
  // Unlinks entry id from parent's tree and rebalances what is left.
  HRESULT Remove(uint32_t parent, uint32_t id);

 private:
  HRESULT CheckTree();
  bool IsOrdered(uint32_t parent) const;
  bool IsOrderedRedBlack(uint32_t parent) const;
  HRESULT EnsureBalanced(uint32_t parent);
  HRESULT Rebuild(uint32_t parent, std::vector<uint32_t> ids);

  Fat& fat_;
  std::vector<DirEntry> entries_;
  std::vector<uint32_t> sectors_;   // the directory chain
  std::set<uint32_t> trusted_;      // storages whose tree is checked ordered and balanced
  std::map<uint32_t, bool> ordered_;  // storages whose tree was checked: searchable by name?
  size_t free_hint_ = 1;
};

}  // namespace quillbox::storage
