// Sector I/O over any ILockBytes: offsets, short-file leniency, the
// read-only guard, and the structure cache that reads see.
#include "platform/storage/sector_io.h"

#include <cstring>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {

SectorIo::SectorIo(ComPtr<ILockBytes> bytes, bool writable)
    : bytes_(std::move(bytes)), writable_(writable) {
  if (bytes_) bytes_.try_as(gather_);
}

HRESULT SectorIo::Init() {
  STATSTG stat{};
  HRESULT hr = bytes_->Stat(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return hr;
  file_size_ = stat.cbSize.QuadPart;
  return S_OK;
}

void SectorIo::SetSectorShift(uint16_t shift) {
  if (shift != shift_) cache_.clear();  // blocks are sectors
  shift_ = shift;
}

void SectorIo::Rebind(ComPtr<ILockBytes> bytes) {
  bytes_ = std::move(bytes);
  gather_ = nullptr;
  if (bytes_) bytes_.try_as(gather_);
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

HRESULT SectorIo::ReadNow(uint64_t offset, void* buffer, uint32_t len) {
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

HRESULT SectorIo::ReadAt(uint64_t offset, void* buffer, uint32_t len) {
  // Queued data that the read covers goes out first; structure changes
  // are laid over what the file holds.
  if (!data_.empty() && offset < data_high_ && offset + len > data_low_) {
    HRESULT hr = FlushData();
    if (FAILED(hr)) return hr;
  }
  HRESULT hr = ReadNow(offset, buffer, len);
  if (FAILED(hr) || changed_.empty() || len == 0) return hr;
  auto* out = static_cast<uint8_t*>(buffer);
  const uint64_t size = sector_size();
  for (auto it = changed_.lower_bound(BlockOf(offset)); it != changed_.end(); ++it) {
    const uint64_t start = it->first << shift_;
    if (start >= offset + len) break;
    const std::vector<uint8_t>& block = cache_[it->first];
    const uint64_t from = start > offset ? start : offset;
    const uint64_t to = start + size < offset + len ? start + size : offset + len;
    std::memcpy(out + (from - offset), block.data() + (from - start), to - from);
  }
  return S_OK;
}

HRESULT SectorIo::Read(uint32_t sector, uint32_t offset, void* buffer, uint32_t len) {
  return ReadAt(SectorOffset(sector) + offset, buffer, len);
}

HRESULT SectorIo::WriteNow(uint64_t offset, const void* buffer, uint32_t len) {
  if (len == 0) return S_OK;
  ULARGE_INTEGER at;
  at.QuadPart = offset;
  ULONG written = 0;
  HRESULT hr = bytes_->WriteAt(at, buffer, len, &written);
  if (SUCCEEDED(hr) && written != len) hr = STG_E_MEDIUMFULL;
  if (FAILED(hr)) {
    NoteFailedWrite(offset + len);
    return hr;
  }
  if (offset + len > file_size_) file_size_ = offset + len;
  return S_OK;
}

HRESULT SectorIo::Write(uint32_t sector, uint32_t offset, const void* buffer, uint32_t len) {
  return WriteAt(SectorOffset(sector) + offset, buffer, len);
}

HRESULT SectorIo::WriteHeader(const CfbHeader& header) {
  uint8_t bytes[kHeaderSize];
  header.Write(bytes);
  return WriteAt(0, bytes, kHeaderSize);
}

HRESULT SectorIo::Flush() { return writable_ ? bytes_->Flush() : S_OK; }

}  // namespace quillbox::storage
