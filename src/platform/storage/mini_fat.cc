// The mini allocator: loading with checks, allocation, freeing, and where
// mini sectors lie in the file.
#include "platform/storage/mini_fat.h"

#include <algorithm>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {
namespace {

// Collects a FAT chain into a vector; its length is checked first.
HRESULT CollectChain(const Fat& fat, uint32_t start, std::vector<uint32_t>* out) {
  uint64_t length = 0;
  HRESULT hr = fat.ChainLength(start, &length);
  if (FAILED(hr)) return hr;
  out->clear();
  out->reserve(length);
  for (uint32_t s = start; s != kEndOfChain;) {
    out->push_back(s);
    if (FAILED(hr = fat.Next(s, &s))) return hr;
  }
  return S_OK;
}

}  // namespace

uint64_t MiniFat::Capacity() const {
  return static_cast<uint64_t>(stream_sectors_.size()) * (fat_.io().sector_size() / kMiniSectorSize);
}

HRESULT MiniFat::Load() {
  // Leniency ([MS-CFB] 2.2, Number of Mini FAT Sectors): the chain's own
  // length counts, not the header's number.
  HRESULT hr = CollectChain(fat_, fat_.header().first_mini_fat_sector, &fat_sectors_);
  if (FAILED(hr)) return hr;
  const uint32_t per = fat_.EntriesPerSector();
  entries_.assign(fat_sectors_.size() * per, kFreeSector);
  hr = fat_.io().ReadEach(fat_sectors_, [&](size_t n, const uint8_t* bytes) {
    for (uint32_t i = 0; i < per; ++i) entries_[n * per + i] = LoadU32(&bytes[4 * i]);
    return S_OK;
  });
  if (FAILED(hr)) return hr;
  free_hint_ = 0;
  stream_sectors_.clear();
  const DirEntry& root = directory_.entry(0);
  if (root.size == 0 && root.start == 0) return S_OK;  // some writers leave 0 for "none"
  if (FAILED(hr = CollectChain(fat_, root.start, &stream_sectors_))) return hr;
  std::vector<bool> pointed(entries_.size(), false);
  for (size_t i = 0; i < entries_.size(); ++i) {
    const uint32_t next = entries_[i];
    if (next > kMaxRegularSector || next >= entries_.size()) continue;
    if (pointed[next]) return CFB_CORRUPT("mini FAT sector %u pointed to twice", next);
    pointed[next] = true;
  }
  return S_OK;
}

HRESULT MiniFat::Next(uint32_t mini, uint32_t* next) const {
  if (mini >= entries_.size()) {
    return CFB_CORRUPT("mini sector %u has no mini FAT entry (%zu entries)", mini, entries_.size());
  }
  const uint32_t value = entries_[mini];
  if (value != kEndOfChain && (value > kMaxRegularSector || value >= entries_.size() ||
                               value >= Capacity())) {
    return CFB_CORRUPT("mini FAT entry of mini sector %u holds %u, not in the mini stream", mini,
                       value);
  }
  *next = value;
  return S_OK;
}

HRESULT MiniFat::ChainLength(uint32_t start, uint64_t* length) const {
  uint64_t count = 0;
  for (uint32_t s = start; s != kEndOfChain;) {
    if (++count > entries_.size()) return CFB_CORRUPT("cycle in the mini chain from %u", start);
    HRESULT hr = Next(s, &s);
    if (FAILED(hr)) return hr;
  }
  *length = count;
  return S_OK;
}

HRESULT MiniFat::SetEntry(uint32_t index, uint32_t value) {
  entries_[index] = value;
  const uint32_t per = fat_.EntriesPerSector();
  uint8_t bytes[4];
  StoreU32(bytes, value);
  return fat_.io().Write(fat_sectors_[index / per], (index % per) * 4, bytes, 4);
}

HRESULT MiniFat::GrowMiniFat() {
  const uint32_t previous = fat_sectors_.empty() ? kEndOfChain : fat_sectors_.back();
  uint32_t sector = 0;
  HRESULT hr = fat_.Allocate(previous, &sector);
  if (FAILED(hr)) return hr;
  const uint32_t per = fat_.EntriesPerSector();
  std::vector<uint8_t> bytes(fat_.io().sector_size(), 0xFF);  // all FREESECT
  if (FAILED(hr = fat_.io().Write(sector, 0, bytes.data(), fat_.io().sector_size()))) return hr;
  fat_sectors_.push_back(sector);
  entries_.resize(entries_.size() + per, kFreeSector);
  CfbHeader& header = fat_.header();
  if (previous == kEndOfChain) header.first_mini_fat_sector = sector;
  header.mini_fat_sector_count = static_cast<uint32_t>(fat_sectors_.size());
  return fat_.WriteHeader();
}

HRESULT MiniFat::GrowMiniStream(uint32_t mini) {
  DirEntry& root = directory_.entry(0);
  HRESULT hr;
  while (mini >= Capacity()) {
    const uint32_t previous = stream_sectors_.empty() ? kEndOfChain : stream_sectors_.back();
    uint32_t sector = 0;
    if (FAILED(hr = fat_.Allocate(previous, &sector))) return hr;
    if (previous == kEndOfChain) root.start = sector;
    stream_sectors_.push_back(sector);
  }
  const uint64_t used = (static_cast<uint64_t>(mini) + 1) * kMiniSectorSize;
  if (root.size < used) root.size = used;
  return directory_.WriteEntry(0);
}

HRESULT MiniFat::Allocate(uint32_t previous, uint32_t* mini) {
  size_t found = free_hint_;
  while (found < entries_.size() && entries_[found] != kFreeSector) ++found;
  if (found >= entries_.size()) {
    if (entries_.size() + fat_.EntriesPerSector() > kMaxRegularSector) return STG_E_DOCFILETOOLARGE;
    HRESULT hr = GrowMiniFat();
    if (FAILED(hr)) return hr;
  }
  free_hint_ = found + 1;
  const uint32_t id = static_cast<uint32_t>(found);
  HRESULT hr = GrowMiniStream(id);
  if (FAILED(hr)) return hr;
  if (FAILED(hr = SetEntry(id, kEndOfChain))) return hr;
  if (previous != kEndOfChain && FAILED(hr = SetEntry(previous, id))) return hr;
  *mini = id;
  return S_OK;
}

HRESULT MiniFat::FreeChain(uint32_t mini) {
  uint64_t steps = 0;
  while (mini != kEndOfChain) {
    if (++steps > entries_.size()) return CFB_CORRUPT("cycle in a mini chain being freed at %u", mini);
    uint32_t next = kEndOfChain;
    HRESULT hr = Next(mini, &next);
    if (FAILED(hr)) return hr;
    if (FAILED(hr = SetEntry(mini, kFreeSector))) return hr;
    free_hint_ = std::min<size_t>(free_hint_, mini);
    mini = next;
  }
  return S_OK;
}

HRESULT MiniFat::FileOffset(uint32_t mini, uint64_t* offset) const {
  if (mini >= Capacity()) {
    return CFB_CORRUPT("mini sector %u lies beyond the mini stream (%llu mini sectors)", mini,
                       static_cast<unsigned long long>(Capacity()));
  }
  const uint64_t at = static_cast<uint64_t>(mini) * kMiniSectorSize;
  const uint32_t size = fat_.io().sector_size();
  *offset = fat_.io().SectorOffset(stream_sectors_[at / size]) + at % size;
  return S_OK;
}

}  // namespace quillbox::storage
