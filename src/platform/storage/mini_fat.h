// The mini allocator, over the FAT and the directory: 64-byte mini sectors
// inside the mini stream (the root entry's chain), with the mini FAT held in
// memory and every change written through sector I/O. Streams under 4,096 bytes live
// here ([MS-CFB] 2.4, 2.5).
// Thread safety: none; the engine's lock guards every layer.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/storage/directory.h"
#include "platform/storage/fat.h"

namespace quillbox::storage {

class MiniFat {
 public:
  MiniFat(Fat& fat, Directory& directory) : fat_(fat), directory_(directory) {}

  // Reads the mini FAT chain and the mini stream's chain and checks both.
  HRESULT Load();

  HRESULT Next(uint32_t mini, uint32_t* next) const;
  HRESULT ChainLength(uint32_t start, uint64_t* length) const;
  // A fresh mini sector marked end-of-chain, linked after previous unless
  // that is kEndOfChain; the mini FAT and the mini stream grow as needed.
  HRESULT Allocate(uint32_t previous, uint32_t* mini);
  HRESULT FreeChain(uint32_t mini);
  HRESULT SetNext(uint32_t mini, uint32_t next) { return SetEntry(mini, next); }

  // Where mini sector mini starts in the file.
  HRESULT FileOffset(uint32_t mini, uint64_t* offset) const;

 private:
  HRESULT SetEntry(uint32_t index, uint32_t value);
  HRESULT GrowMiniFat();
  HRESULT GrowMiniStream(uint32_t mini);
  uint64_t Capacity() const;  // mini sectors the mini stream's chain can hold

  Fat& fat_;
  Directory& directory_;
  std::vector<uint32_t> entries_;
  std::vector<uint32_t> fat_sectors_;     // the mini FAT chain
  std::vector<uint32_t> stream_sectors_;  // the mini stream's chain
  size_t free_hint_ = 0;
};

}  // namespace quillbox::storage
