// The FAT/DIFAT allocator, over sector I/O: the whole FAT is held in memory
// (checked once when loaded), sectors are handed out lowest-free-first and
// freed ones are reused, and every change to an entry goes to sector I/O
// (which writes it before the call that made it returns).
// It owns the header, since most header fields describe the FAT.
// Thread safety: none; the engine's lock guards every layer.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/storage/cfb_format.h"
#include "platform/storage/sector_io.h"

namespace quillbox::storage {

class Fat {
 public:
  explicit Fat(SectorIo& io) : io_(io) {}

  // A new, empty file: header plus one FAT sector (sector 0).
  HRESULT InitNew(uint16_t major_version);
  // Reads the DIFAT and the FAT named by header and checks them.
  HRESULT Load(const CfbHeader& header);

  CfbHeader& header() { return header_; }
  HRESULT WriteHeader() { return io_.WriteHeader(header_); }
  SectorIo& io() { return io_; }

  // The sector after sector in its chain (kEndOfChain at the end); checks
  // both numbers against the FAT and the file.
  HRESULT Next(uint32_t sector, uint32_t* next) const;
  // Sectors in the chain from start, with cycles found (bounded walk).
  HRESULT ChainLength(uint32_t start, uint64_t* length) const;
  // A fresh sector marked end-of-chain, linked after previous unless that
  // is kEndOfChain; the file grows to hold it.
  HRESULT Allocate(uint32_t previous, uint32_t* sector);
  // Frees sector and everything after it in its chain.
  HRESULT FreeChain(uint32_t sector);
  HRESULT SetNext(uint32_t sector, uint32_t next) { return SetEntry(sector, next); }

  uint32_t EntriesPerSector() const { return io_.sector_size() / 4; }
  size_t EntryCount() const { return entries_.size(); }
  uint32_t Entry(size_t index) const { return entries_[index]; }
  // Sectors marked in use (anything but free), for the tests' accounting.
  uint64_t UsedSectorCount() const;

 private:
  HRESULT LoadDifat(std::vector<uint32_t>* fat_sectors);
  HRESULT SetEntry(uint32_t index, uint32_t value);
  HRESULT GrowFat();
  bool FindFree(uint32_t* sector);
  uint32_t RangeLockSector() const;

  SectorIo& io_;
  CfbHeader header_;
  std::vector<uint32_t> entries_;
  std::vector<uint32_t> fat_sectors_;    // where each FAT sector lives
  std::vector<uint32_t> difat_sectors_;  // the DIFAT chain past the header
  size_t free_hint_ = 0;                 // no free entry below this index
};

}  // namespace quillbox::storage
