// Sector I/O, the lowest layer of the compound file engine: sector numbers
// become byte offsets in the lock bytes, reads past the end of a short file
// come back as zeros, and a read-only engine can never write.
// Within a change (BeginChange..Commit) writes are gathered: structure
// sectors are changed in a write-back cache, stream data is queued, and
// Commit writes each contiguous run once and grows the file once, so that
// direct mode still has everything in the file before the call returns.
// Thread safety: none; the engine's lock guards every layer.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <unordered_map>
#include <vector>

#include "quillbox/com_ptr.h"
#include "quillbox/objidl.h"
#include "platform/storage/cfb_format.h"
#include "platform/storage/gather_lock_bytes.h"

namespace quillbox::storage {

// How long the bytes handed to WriteData stay valid.
enum class DataLife {
  kCallOnly,       // copied at once (a local buffer of the engine)
  kUntilCommit,    // the caller's buffer, alive until the change ends
};

class SectorIo {
 public:
  SectorIo(ComPtr<ILockBytes> bytes, bool writable);

  // Reads the size of the lock bytes; call once before anything else.
  HRESULT Init();
  void SetSectorShift(uint16_t shift);

  uint32_t sector_size() const { return 1u << shift_; }
  uint16_t sector_shift() const { return shift_; }
  bool writable() const { return writable_; }
  uint64_t file_size() const { return file_size_; }
  ILockBytes* lock_bytes() const { return bytes_.get(); }
  // Continues on other lock bytes holding the same bytes (SwitchToFile).
  void Rebind(ComPtr<ILockBytes> bytes);

  // Sectors the file holds, counting a short last sector ([MS-CFB] 2.2
  // wants whole sectors; writers that trim the tail are read leniently).
  uint64_t SectorCount() const;
  uint64_t SectorOffset(uint32_t sector) const { return (static_cast<uint64_t>(sector) + 1) << shift_; }

  // Reads len bytes at offset within sector (running on into the sectors
  // that follow on disk); bytes past the end of the file read as zeros.
  // Reads see what the open change has written.
  HRESULT Read(uint32_t sector, uint32_t offset, void* buffer, uint32_t len);
  HRESULT ReadAt(uint64_t offset, void* buffer, uint32_t len);
  // Reads the listed sectors, neighbours on disk in one call, and hands
  // each one's bytes to use(index in the list, bytes), in list order.
  template <class Use>
  HRESULT ReadEach(const std::vector<uint32_t>& sectors, Use&& use);
  // Structure bytes (FAT, DIFAT, mini FAT, directory, header): within a
  // change they go to the cache and reach the file at Commit.
  HRESULT Write(uint32_t sector, uint32_t offset, const void* buffer, uint32_t len);
  HRESULT WriteAt(uint64_t offset, const void* buffer, uint32_t len);
  // Stream data: within a change queued for Commit (never journaled: a
  // failed change leaves the sectors it wrote unreferenced).
  HRESULT WriteData(uint64_t offset, const void* buffer, uint32_t len, DataLife life);

  // A change: the structures it writes keep their bytes of before, so that
  // RollBack can put the file back as it was when the change began (a
  // failing medium must not break what was written before).
  void BeginChange();
  // Writes everything the change gathered and grows the file to cover the
  // sectors it handed out; on failure call RollBack.
  HRESULT Commit();
  HRESULT RollBack();

  // Counts sector as part of the file now; the lock bytes grow at Commit
  // (or CommitReserved outside a change), once, instead of once per sector.
  void Reserve(uint32_t sector);
  HRESULT CommitReserved();
  HRESULT WriteHeader(const CfbHeader& header);
  HRESULT Flush();

 private:
  struct Piece {
    uint64_t offset;
    const uint8_t* data;
    uint32_t len;
  };
  struct Changed {
    std::vector<uint8_t> original;  // the block's bytes when the change began
    bool had_original = false;      // false: the block lay past the file's end
  };

  uint64_t BlockOf(uint64_t offset) const { return offset >> shift_; }
  HRESULT WriteNow(uint64_t offset, const void* buffer, uint32_t len);
  // A failed write may still have grown the file: a change cuts it back.
  void NoteFailedWrite(uint64_t end) {
    if (in_change_ && end > file_size_) file_size_ = end;
  }
  HRESULT ReadNow(uint64_t offset, void* buffer, uint32_t len);
  HRESULT WritePieces(std::vector<Piece>& pieces);
  HRESULT WriteRun(const Piece* first, size_t count);
  HRESULT FlushData();
  HRESULT CachedBlock(uint64_t block, bool whole, std::vector<uint8_t>** out);
  void ForgetCachedRange(uint64_t offset, uint64_t len);

  ComPtr<ILockBytes> bytes_;
  ComPtr<IGatherLockBytes> gather_;  // null when the lock bytes cannot gather
  bool writable_;
  uint16_t shift_ = 9;
  uint64_t file_size_ = 0;
  uint64_t reserved_end_ = 0;  // sectors handed out may reach this far

  // Structure sectors as they are in the file plus the open change's
  // changes, by block (offset >> shift; block 0 holds the header).
  std::unordered_map<uint64_t, std::vector<uint8_t>> cache_;
  bool in_change_ = false;
  bool commit_started_ = false;  // some of the change may be in the file
  uint64_t change_size_ = 0;     // file size when the change began
  std::map<uint64_t, Changed> changed_;  // blocks the open change wrote
  std::vector<Piece> data_;              // queued stream data, in order
  std::deque<std::vector<uint8_t>> copies_;  // data queued as kCallOnly
  uint64_t copied_bytes_ = 0;
  uint64_t data_low_ = UINT64_MAX, data_high_ = 0;  // span of the queued data
};

template <class Use>
HRESULT SectorIo::ReadEach(const std::vector<uint32_t>& sectors, Use&& use) {
  constexpr size_t kMaxRun = 256;
  const uint32_t size = sector_size();
  std::vector<uint8_t> buffer;
  for (size_t i = 0; i < sectors.size();) {
    size_t n = 1;
    while (i + n < sectors.size() && n < kMaxRun &&
           static_cast<uint64_t>(sectors[i + n]) == static_cast<uint64_t>(sectors[i]) + n) {
      ++n;
    }
    buffer.resize(n * size);
    HRESULT hr = Read(sectors[i], 0, buffer.data(), static_cast<uint32_t>(n * size));
    if (FAILED(hr)) return hr;
    for (size_t k = 0; k < n; ++k) {
      if (FAILED(hr = use(i + k, buffer.data() + k * size))) return hr;
    }
    i += n;
  }
  return S_OK;
}

}  // namespace quillbox::storage
