// Sector I/O over any ILockBytes: offsets, short-file leniency and the
// read-only guard.
#include "platform/storage/sector_io.h"

#include <cstring>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {

HRESULT SectorIo::Init() {
  STATSTG stat{};
  HRESULT hr = bytes_->Stat(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return hr;
  file_size_ = stat.cbSize.QuadPart;
  return S_OK;
}

uint64_t SectorIo::SectorCount() const {
  const uint64_t size = sector_size();
  const uint64_t end = file_size_ > reserved_end_ ? file_size_ : reserved_end_;
  if (end <= size) return 0;
  return (end - size + size - 1) >> shift_;
}

void SectorIo::Reserve(uint32_t sector) {
  const uint64_t end = SectorOffset(sector) + sector_size();
  if (end > reserved_end_) reserved_end_ = end;
}

HRESULT SectorIo::CommitReserved() {
  if (reserved_end_ <= file_size_) return S_OK;
  ULARGE_INTEGER size;
  size.QuadPart = reserved_end_;
  HRESULT hr = bytes_->SetSize(size);
  if (FAILED(hr)) return hr;
  file_size_ = reserved_end_;
  return S_OK;
}

HRESULT SectorIo::ReadAt(uint64_t offset, void* buffer, uint32_t len) {
  auto* out = static_cast<uint8_t*>(buffer);
  uint32_t available = 0;
  if (offset < file_size_) {
    const uint64_t left = file_size_ - offset;
    available = left < len ? static_cast<uint32_t>(left) : len;
  }
  ULONG got = 0;
  if (available > 0) {
    ULARGE_INTEGER at;
    at.QuadPart = offset;
    HRESULT hr = bytes_->ReadAt(at, out, available, &got);
    if (FAILED(hr)) return hr;
  }
  if (got < len) std::memset(out + got, 0, len - got);
  return S_OK;
}

HRESULT SectorIo::WriteAt(uint64_t offset, const void* buffer, uint32_t len, bool journal) {
  if (!writable_) return STG_E_ACCESSDENIED;
  if (journaling_ && journal && offset < journal_size_) {
    // Bytes past the size the change began with go with a truncation instead.
    const uint64_t kept = journal_size_ - offset;
    Undo undo{offset, std::vector<uint8_t>(kept < len ? kept : len)};
    HRESULT hr = ReadAt(offset, undo.old.data(), static_cast<uint32_t>(undo.old.size()));
    if (FAILED(hr)) return hr;
    journal_.push_back(std::move(undo));
  }
  ULARGE_INTEGER at;
  at.QuadPart = offset;
  ULONG written = 0;
  HRESULT hr = bytes_->WriteAt(at, buffer, len, &written);
  if (FAILED(hr)) return hr;
  if (written != len) return STG_E_MEDIUMFULL;
  if (offset + len > file_size_) file_size_ = offset + len;
  return S_OK;
}

HRESULT SectorIo::Read(uint32_t sector, uint32_t offset, void* buffer, uint32_t len) {
  return ReadAt(SectorOffset(sector) + offset, buffer, len);
}

HRESULT SectorIo::Write(uint32_t sector, uint32_t offset, const void* buffer, uint32_t len,
                        bool journal) {
  return WriteAt(SectorOffset(sector) + offset, buffer, len, journal);
}

void SectorIo::BeginJournal() {
  journaling_ = true;
  journal_size_ = file_size_;
  journal_.clear();
}

void SectorIo::EndJournal() {
  journaling_ = false;
  journal_.clear();
  journal_.shrink_to_fit();
}

HRESULT SectorIo::RollBack() {
  journaling_ = false;
  HRESULT result = S_OK;
  for (auto undo = journal_.rbegin(); undo != journal_.rend(); ++undo) {
    HRESULT hr = WriteAt(undo->offset, undo->old.data(), static_cast<uint32_t>(undo->old.size()), false);
    if (FAILED(hr)) result = hr;
  }
  reserved_end_ = 0;
  if (file_size_ > journal_size_) {
    ULARGE_INTEGER size;
    size.QuadPart = journal_size_;
    HRESULT hr = bytes_->SetSize(size);
    if (FAILED(hr)) {
      result = hr;
    } else {
      file_size_ = journal_size_;
    }
  }
  EndJournal();
  return result;
}

HRESULT SectorIo::EnsureSector(uint32_t sector) {
  if (!writable_) return STG_E_ACCESSDENIED;
  const uint64_t end = SectorOffset(sector) + sector_size();
  if (end <= file_size_) return S_OK;
  ULARGE_INTEGER size;
  size.QuadPart = end;
  HRESULT hr = bytes_->SetSize(size);
  if (FAILED(hr)) return hr;
  file_size_ = end;
  return S_OK;
}

HRESULT SectorIo::WriteHeader(const CfbHeader& header) {
  uint8_t bytes[kHeaderSize];
  header.Write(bytes);
  return WriteAt(0, bytes, kHeaderSize);
}

HRESULT SectorIo::Flush() { return writable_ ? bytes_->Flush() : S_OK; }

}  // namespace quillbox::storage
