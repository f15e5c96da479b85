// Sector I/O, the lowest layer of the compound file engine: sector numbers
// become byte offsets in the lock bytes, reads past the end of a short file
// come back as zeros, and a read-only engine can never write.
// Thread safety: none; the engine's lock guards every layer.
#pragma once

#include <cstdint>
#include <vector>

#include "quillbox/com_ptr.h"
#include "quillbox/objidl.h"
#include "platform/storage/cfb_format.h"

namespace quillbox::storage {

class SectorIo {
 public:
  SectorIo(ComPtr<ILockBytes> bytes, bool writable) : bytes_(std::move(bytes)), writable_(writable) {}

  // Reads the size of the lock bytes; call once before anything else.
  HRESULT Init();
  void SetSectorShift(uint16_t shift) { shift_ = shift; }

  uint32_t sector_size() const { return 1u << shift_; }
  uint16_t sector_shift() const { return shift_; }
  bool writable() const { return writable_; }
  uint64_t file_size() const { return file_size_; }
  ILockBytes* lock_bytes() const { return bytes_.get(); }
  // Continues on other lock bytes holding the same bytes (SwitchToFile).
  void Rebind(ComPtr<ILockBytes> bytes) { bytes_ = std::move(bytes); }

  // Sectors the file holds, counting a short last sector ([MS-CFB] 2.2
  // wants whole sectors; writers that trim the tail are read leniently).
  uint64_t SectorCount() const;
  uint64_t SectorOffset(uint32_t sector) const { return (static_cast<uint64_t>(sector) + 1) << shift_; }

  // Reads len bytes at offset within sector (running on into the sectors
  // that follow on disk); bytes past the end of the file read as zeros.
  HRESULT Read(uint32_t sector, uint32_t offset, void* buffer, uint32_t len);
  // Structure writes are journaled while a change is open (see below);
  // stream data passes journal = false.
  HRESULT Write(uint32_t sector, uint32_t offset, const void* buffer, uint32_t len,
                bool journal = true);
  // Raw access at a byte offset (header, whole-file copies).
  HRESULT ReadAt(uint64_t offset, void* buffer, uint32_t len);
  HRESULT WriteAt(uint64_t offset, const void* buffer, uint32_t len, bool journal = true);

  // A change: the bytes each journaled write replaces are kept until
  // EndJournal, so that RollBack can put the file back as it was when the
  // change began (a failing medium must not break what was written before).
  void BeginJournal();
  void EndJournal();
  HRESULT RollBack();

  // Grows the lock bytes so that sector exists in full.
  HRESULT EnsureSector(uint32_t sector);
  // Counts sector as part of the file now and grows the lock bytes once,
  // at CommitReserved (the end of a change), instead of once per sector.
  void Reserve(uint32_t sector);
  HRESULT CommitReserved();
  HRESULT WriteHeader(const CfbHeader& header);
  HRESULT Flush();

 private:
  ComPtr<ILockBytes> bytes_;
  bool writable_;
  uint16_t shift_ = 9;
  uint64_t file_size_ = 0;
  uint64_t reserved_end_ = 0;  // sectors handed out may reach this far
  struct Undo {
    uint64_t offset;
    std::vector<uint8_t> old;
  };
  bool journaling_ = false;
  uint64_t journal_size_ = 0;  // file size when the change began
  std::vector<Undo> journal_;
};

}  // namespace quillbox::storage
