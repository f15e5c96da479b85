// The FAT/DIFAT allocator: loading with checks, allocation and freeing.
#include "platform/storage/fat.h"

#include <algorithm>
#include <cstring>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {

uint32_t Fat::RangeLockSector() const {
  return static_cast<uint32_t>(kRangeLockOffset / io_.sector_size() - 1);
}

HRESULT Fat::InitNew(uint16_t major_version) {
  header_ = CfbHeader();
  header_.major_version = major_version;
  header_.sector_shift = major_version == 4 ? 12 : 9;
  io_.SetSectorShift(header_.sector_shift);
  header_.fat_sector_count = 1;
  header_.difat[0] = 0;
  entries_.assign(EntriesPerSector(), kFreeSector);
  entries_[0] = kFatSector;
  fat_sectors_ = {0};
  difat_sectors_.clear();
  free_hint_ = 1;
  io_.Reserve(0);
  std::vector<uint8_t> bytes(io_.sector_size());
  for (uint32_t i = 0; i < EntriesPerSector(); ++i) StoreU32(&bytes[4 * i], entries_[i]);
  HRESULT hr = io_.Write(0, 0, bytes.data(), io_.sector_size());
  if (FAILED(hr)) return hr;
  return WriteHeader();
}

HRESULT Fat::LoadDifat(std::vector<uint32_t>* fat_sectors) {
  const uint64_t sectors = io_.SectorCount();
  const uint32_t count = header_.fat_sector_count;
  if (count == 0) return CFB_CORRUPT("header: no FAT sectors");
  if (count > sectors) {
    return CFB_CORRUPT("header claims %u FAT sectors but the file holds %llu sectors", count,
                       static_cast<unsigned long long>(sectors));
  }
  if (header_.difat_sector_count > sectors) {
    return CFB_CORRUPT("header claims %u DIFAT sectors but the file holds %llu sectors",
                       header_.difat_sector_count, static_cast<unsigned long long>(sectors));
  }
  difat_sectors_.clear();
  fat_sectors->reserve(count);
  for (size_t i = 0; i < kHeaderDifatEntries && fat_sectors->size() < count; ++i) {
    fat_sectors->push_back(header_.difat[i]);
  }
  const uint32_t per = EntriesPerSector() - 1;
  std::vector<uint8_t> bytes(io_.sector_size());
  std::vector<bool> seen(sectors, false);
  uint32_t difat = header_.first_difat_sector;
  while (fat_sectors->size() < count) {
    if (difat >= sectors) {
      return CFB_CORRUPT("DIFAT chain ends at %u with %zu of %u FAT sectors found", difat,
                         fat_sectors->size(), count);
    }
    if (seen[difat]) return CFB_CORRUPT("DIFAT sector %u appears twice in its chain", difat);
    seen[difat] = true;
    difat_sectors_.push_back(difat);
    HRESULT hr = io_.Read(difat, 0, bytes.data(), io_.sector_size());
    if (FAILED(hr)) return hr;
    for (uint32_t i = 0; i < per && fat_sectors->size() < count; ++i) {
      fat_sectors->push_back(LoadU32(&bytes[4 * i]));
    }
    difat = LoadU32(&bytes[4 * per]);
  }
  return S_OK;
}

HRESULT Fat::Load(const CfbHeader& header) {
  header_ = header;
  io_.SetSectorShift(header_.sector_shift);
  const uint64_t sectors = io_.SectorCount();
  std::vector<uint32_t> fat_sectors;
  HRESULT hr = LoadDifat(&fat_sectors);
  if (FAILED(hr)) return hr;
  std::vector<bool> seen(sectors, false);
  const uint32_t per = EntriesPerSector();
  entries_.assign(static_cast<size_t>(fat_sectors.size()) * per, kFreeSector);
  for (size_t n = 0; n < fat_sectors.size(); ++n) {
    const uint32_t s = fat_sectors[n];
    if (s >= sectors) {
      return CFB_CORRUPT("FAT sector %zu is at sector %u, beyond the file (%llu sectors)", n, s,
                         static_cast<unsigned long long>(sectors));
    }
    if (seen[s]) return CFB_CORRUPT("sector %u listed twice as a FAT sector", s);
    seen[s] = true;
  }
  hr = io_.ReadEach(fat_sectors, [&](size_t n, const uint8_t* bytes) {
    for (uint32_t i = 0; i < per; ++i) entries_[n * per + i] = LoadU32(&bytes[4 * i]);
    return S_OK;
  });
  if (FAILED(hr)) return hr;
  fat_sectors_ = std::move(fat_sectors);
  // Each sector may follow at most one other: two chains merging would let
  // one element's writes land in another's data.
  std::vector<bool> pointed(entries_.size(), false);
  for (size_t i = 0; i < entries_.size(); ++i) {
    const uint32_t next = entries_[i];
    if (next > kMaxRegularSector || next >= entries_.size()) continue;
    if (pointed[next]) return CFB_CORRUPT("FAT sector %u pointed to twice", next);
    pointed[next] = true;
  }
  free_hint_ = 0;
  return S_OK;
}

HRESULT Fat::Next(uint32_t sector, uint32_t* next) const {
  if (sector >= entries_.size()) {
    return CFB_CORRUPT("sector %u has no FAT entry (%zu entries)", sector, entries_.size());
  }
  if (sector >= io_.SectorCount()) {
    return CFB_CORRUPT("sector %u lies beyond the end of the file (%llu sectors)", sector,
                       static_cast<unsigned long long>(io_.SectorCount()));
  }
  const uint32_t value = entries_[sector];
  if (value == kEndOfChain) {
    *next = value;
    return S_OK;
  }
  if (value > kMaxRegularSector || value >= entries_.size() || value >= io_.SectorCount()) {
    return CFB_CORRUPT("FAT entry of sector %u holds %u, not a sector of the file", sector, value);
  }
  *next = value;
  return S_OK;
}

HRESULT Fat::ChainLength(uint32_t start, uint64_t* length) const {
  uint64_t count = 0;
  uint32_t sector = start;
  while (sector != kEndOfChain) {
    if (++count > entries_.size()) return CFB_CORRUPT("cycle in the sector chain from %u", start);
    uint32_t next = kEndOfChain;
    HRESULT hr = Next(sector, &next);
    if (FAILED(hr)) return hr;
    sector = next;
  }
  *length = count;
  return S_OK;
}

HRESULT Fat::SetEntry(uint32_t index, uint32_t value) {
  entries_[index] = value;
  const uint32_t per = EntriesPerSector();
  uint8_t bytes[4];
  StoreU32(bytes, value);
  return io_.Write(fat_sectors_[index / per], (index % per) * 4, bytes, 4);
}

bool Fat::FindFree(uint32_t* sector) {
  const uint32_t range_lock = RangeLockSector();
  for (size_t i = free_hint_; i < entries_.size(); ++i) {
    if (entries_[i] != kFreeSector || i == range_lock) continue;
    free_hint_ = i + 1;
    *sector = static_cast<uint32_t>(i);
    return true;
  }
  free_hint_ = entries_.size();
  return false;
}

HRESULT Fat::GrowFat() {
  const uint32_t per = EntriesPerSector();
  if (entries_.size() + 2 * per > kMaxRegularSector) return STG_E_DOCFILETOOLARGE;
  uint32_t fat_sector = static_cast<uint32_t>(entries_.size());
  if (fat_sector == RangeLockSector()) ++fat_sector;  // never a structure on the lock range
  entries_.resize(entries_.size() + per, kFreeSector);
  entries_[fat_sector] = kFatSector;
  const size_t n = fat_sectors_.size();
  fat_sectors_.push_back(fat_sector);
  HRESULT hr;
  if (n < kHeaderDifatEntries) {
    header_.difat[n] = fat_sector;
  } else {
    const size_t slot = (n - kHeaderDifatEntries) % (per - 1);
    const size_t which = (n - kHeaderDifatEntries) / (per - 1);
    if (which == difat_sectors_.size()) {
      const uint32_t difat = fat_sector + 1;
      entries_[difat] = kDifatSector;
      std::vector<uint8_t> blank(io_.sector_size());
      for (uint32_t i = 0; i < per; ++i) StoreU32(&blank[4 * i], kFreeSector);
      StoreU32(&blank[4 * (per - 1)], kEndOfChain);
      io_.Reserve(difat);
      if (FAILED(hr = io_.Write(difat, 0, blank.data(), io_.sector_size()))) return hr;
      if (difat_sectors_.empty()) {
        header_.first_difat_sector = difat;
      } else {
        uint8_t link[4];
        StoreU32(link, difat);
        if (FAILED(hr = io_.Write(difat_sectors_.back(), 4 * (per - 1), link, 4))) return hr;
      }
      difat_sectors_.push_back(difat);
      header_.difat_sector_count = static_cast<uint32_t>(difat_sectors_.size());
    }
    uint8_t entry[4];
    StoreU32(entry, fat_sector);
    hr = io_.Write(difat_sectors_[which], static_cast<uint32_t>(4 * slot), entry, 4);
    if (FAILED(hr)) return hr;
  }
  header_.fat_sector_count = static_cast<uint32_t>(fat_sectors_.size());
  // The new FAT sector describes itself (and a new DIFAT sector if any).
  std::vector<uint8_t> bytes(io_.sector_size());
  const size_t base = static_cast<size_t>(n) * per;
  for (uint32_t i = 0; i < per; ++i) StoreU32(&bytes[4 * i], entries_[base + i]);
  io_.Reserve(fat_sector);
  if (FAILED(hr = io_.Write(fat_sector, 0, bytes.data(), io_.sector_size()))) return hr;
  // Earlier entries may describe the new sectors too (coverage runs ahead
  // of position), so rewrite the entries of the sectors just taken.
  for (uint32_t s : {fat_sector, fat_sector + 1}) {
    if (s < entries_.size() && entries_[s] != kFreeSector && s / per != n) {
      if (FAILED(hr = SetEntry(s, entries_[s]))) return hr;
    }
  }
  return WriteHeader();
}

HRESULT Fat::Allocate(uint32_t previous, uint32_t* sector) {
  uint32_t found = 0;
  for (int attempt = 0; !FindFree(&found); ++attempt) {
    if (attempt > 2) return STG_E_DOCFILETOOLARGE;
    HRESULT hr = GrowFat();
    if (FAILED(hr)) return hr;
  }
  HRESULT hr = SetEntry(found, kEndOfChain);
  if (FAILED(hr)) return hr;
  io_.Reserve(found);
  if (previous != kEndOfChain && FAILED(hr = SetEntry(previous, found))) return hr;
  // Past 2 GiB the range-lock sector stays out of every chain.
  const uint32_t range_lock = RangeLockSector();
  if (found > range_lock && range_lock < entries_.size() && entries_[range_lock] == kFreeSector) {
    if (FAILED(hr = SetEntry(range_lock, kEndOfChain))) return hr;
  }
  *sector = found;
  return S_OK;
}

HRESULT Fat::FreeChain(uint32_t sector) {
  uint64_t steps = 0;
  while (sector != kEndOfChain) {
    if (++steps > entries_.size()) return CFB_CORRUPT("cycle in a chain being freed at %u", sector);
    uint32_t next = kEndOfChain;
    HRESULT hr = Next(sector, &next);
    if (FAILED(hr)) return hr;
    if (FAILED(hr = SetEntry(sector, kFreeSector))) return hr;
    free_hint_ = std::min<size_t>(free_hint_, sector);
    sector = next;
  }
  return S_OK;
}

uint64_t Fat::UsedSectorCount() const {
  return static_cast<uint64_t>(std::count_if(entries_.begin(), entries_.end(),
                                             [](uint32_t e) { return e != kFreeSector; }));
}

}  // namespace quillbox::storage
