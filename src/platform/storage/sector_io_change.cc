// Changes at the sector level: structure writes into the write-back cache
// (keeping each block's bytes of before), stream data queued, and Commit
// writing it all in contiguous runs, one call per run; RollBack puts the
// structures back when a write fails.
#include <algorithm>
#include <cstring>

#include "platform/storage/sector_io.h"

namespace quillbox::storage {
namespace {

constexpr size_t kMaxQueuedPieces = 1024;                 // IOV_MAX on Linux
constexpr uint64_t kMaxCopiedBytes = 4ull << 20;          // data copies held before going out
constexpr uint64_t kMaxCleanCacheBytes = 32ull << 20;     // clean structure sectors kept
constexpr uint64_t kMaxConcatenatedBytes = 1ull << 20;    // runs joined for lock bytes that cannot gather
constexpr size_t kMaxZeroTail = 64 * 1024;                // file growth written as zeros, not SetSize

}  // namespace

void SectorIo::ForgetCachedRange(uint64_t offset, uint64_t len) {
  if (cache_.empty() || len == 0) return;
  const uint64_t last = BlockOf(offset + len - 1);
  for (uint64_t block = BlockOf(offset); block <= last; ++block) {
    if (!changed_.count(block)) cache_.erase(block);
  }
}

HRESULT SectorIo::CachedBlock(uint64_t block, bool whole, std::vector<uint8_t>** out) {
  auto cached = cache_.find(block);
  if (changed_.count(block)) {
    *out = &cached->second;
    return S_OK;
  }
  const uint64_t start = block << shift_;
  Changed changed;
  changed.had_original = start < change_size_;
  if (cached == cache_.end()) {
    std::vector<uint8_t> bytes(sector_size());
    // A block written whole past the old end needs nothing from the file.
    if (!whole || changed.had_original) {
      HRESULT hr = ReadAt(start, bytes.data(), sector_size());
      if (FAILED(hr)) return hr;
    }
    cached = cache_.emplace(block, std::move(bytes)).first;
  }
  if (changed.had_original) changed.original = cached->second;
  changed_.emplace(block, std::move(changed));
  *out = &cached->second;
  return S_OK;
}

HRESULT SectorIo::WriteAt(uint64_t offset, const void* buffer, uint32_t len) {
  if (!writable_) return STG_E_ACCESSDENIED;
  const auto* in = static_cast<const uint8_t*>(buffer);
  const uint64_t size = sector_size();
  if (!in_change_) {
    // A new file being laid out: straight to the file, the cache following.
    HRESULT hr = WriteNow(offset, buffer, len);
    if (FAILED(hr)) {
      cache_.clear();
      return hr;
    }
  }
  for (uint32_t done = 0; done < len;) {
    const uint64_t at = offset + done;
    const uint64_t block = BlockOf(at);
    const uint32_t within = static_cast<uint32_t>(at - (block << shift_));
    const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(size - within, len - done));
    std::vector<uint8_t>* bytes = nullptr;
    if (in_change_) {
      HRESULT hr = CachedBlock(block, within == 0 && n == size, &bytes);
      if (FAILED(hr)) return hr;
    } else if (auto cached = cache_.find(block); cached != cache_.end()) {
      bytes = &cached->second;
    }
    if (bytes) std::memcpy(bytes->data() + within, in + done, n);
    done += n;
  }
  return S_OK;
}

HRESULT SectorIo::WriteData(uint64_t offset, const void* buffer, uint32_t len, DataLife life) {
  if (!writable_) return STG_E_ACCESSDENIED;
  if (len == 0) return S_OK;
  ForgetCachedRange(offset, len);
  if (!in_change_) return WriteNow(offset, buffer, len);
  const auto* data = static_cast<const uint8_t*>(buffer);
  if (life == DataLife::kCallOnly) {
    copies_.emplace_back(data, data + len);
    data = copies_.back().data();
    copied_bytes_ += len;
  }
  data_.push_back({offset, data, len});
  data_low_ = std::min(data_low_, offset);
  data_high_ = std::max(data_high_, offset + len);
  if (data_.size() >= kMaxQueuedPieces || copied_bytes_ >= kMaxCopiedBytes) return FlushData();
  return S_OK;
}

HRESULT SectorIo::FlushData() {
  std::vector<Piece> pieces = std::move(data_);
  data_.clear();
  data_low_ = UINT64_MAX;
  data_high_ = 0;
  HRESULT hr = WritePieces(pieces);
  copies_.clear();
  copied_bytes_ = 0;
  return hr;
}

HRESULT SectorIo::WriteRun(const Piece* first, size_t count) {
  if (count == 1) return WriteNow(first->offset, first->data, first->len);
  uint64_t total = 0;
  for (size_t i = 0; i < count; ++i) total += first[i].len;
  if (gather_) {
    std::vector<iovec> pieces(count);
    for (size_t i = 0; i < count; ++i) {
      pieces[i].iov_base = const_cast<uint8_t*>(first[i].data);
      pieces[i].iov_len = first[i].len;
    }
    ULARGE_INTEGER at;
    at.QuadPart = first->offset;
    HRESULT hr = gather_->WriteGather(at, pieces.data(), static_cast<ULONG>(count));
    if (FAILED(hr)) {
      NoteFailedWrite(first->offset + total);
      return hr;
    }
    if (first->offset + total > file_size_) file_size_ = first->offset + total;
    return S_OK;
  }
  // Other lock bytes: neighbours joined into one buffer, a bounded one.
  std::vector<uint8_t> joined;
  uint64_t at = first->offset;
  for (size_t i = 0; i < count; ++i) {
    if (first[i].len >= kMaxConcatenatedBytes) {
      HRESULT hr = WriteNow(at, joined.data(), static_cast<uint32_t>(joined.size()));
      if (FAILED(hr)) return hr;
      if (FAILED(hr = WriteNow(first[i].offset, first[i].data, first[i].len))) return hr;
      joined.clear();
      at = first[i].offset + first[i].len;
      continue;
    }
    if (joined.size() + first[i].len > kMaxConcatenatedBytes) {
      HRESULT hr = WriteNow(at, joined.data(), static_cast<uint32_t>(joined.size()));
      if (FAILED(hr)) return hr;
      joined.clear();
      at = first[i].offset;
    }
    joined.insert(joined.end(), first[i].data, first[i].data + first[i].len);
  }
  return WriteNow(at, joined.data(), static_cast<uint32_t>(joined.size()));
}

HRESULT SectorIo::WritePieces(std::vector<Piece>& pieces) {
  if (pieces.empty()) return S_OK;
  std::vector<Piece> sorted = pieces;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Piece& a, const Piece& b) { return a.offset < b.offset; });
  for (size_t i = 1; i < sorted.size(); ++i) {
    if (sorted[i].offset < sorted[i - 1].offset + sorted[i - 1].len) {
      // Pieces that overlap go out in the order they were written.
      for (const Piece& p : pieces) {
        HRESULT hr = WriteNow(p.offset, p.data, p.len);
        if (FAILED(hr)) return hr;
      }
      return S_OK;
    }
  }
  for (size_t begin = 0; begin < sorted.size();) {
    size_t end = begin + 1;
    while (end < sorted.size() && end - begin < kMaxQueuedPieces &&
           sorted[end].offset == sorted[end - 1].offset + sorted[end - 1].len) {
      ++end;
    }
    HRESULT hr = WriteRun(&sorted[begin], end - begin);
    if (FAILED(hr)) return hr;
    begin = end;
  }
  return S_OK;
}

void SectorIo::BeginChange() {
  in_change_ = true;
  commit_started_ = false;
  change_size_ = file_size_;
  changed_.clear();
}

HRESULT SectorIo::Commit() {
  commit_started_ = true;
  std::vector<Piece> pieces = std::move(data_);
  data_.clear();
  data_low_ = UINT64_MAX;
  data_high_ = 0;
  for (const auto& [block, changed] : changed_) {
    const std::vector<uint8_t>& bytes = cache_[block];
    if (changed.had_original && changed.original == bytes) continue;  // written back as it was
    pieces.push_back({block << shift_, bytes.data(), sector_size()});
  }
  // The file grows once to cover every sector the change handed out: by
  // zeros written with the last run when the gap is small, else by SetSize.
  uint64_t end = file_size_;
  for (const Piece& p : pieces) end = std::max(end, p.offset + p.len);
  static const uint8_t kZeros[kMaxZeroTail] = {};
  if (reserved_end_ > end && reserved_end_ - end <= kMaxZeroTail) {
    pieces.push_back({end, kZeros, static_cast<uint32_t>(reserved_end_ - end)});
  }
  HRESULT hr = WritePieces(pieces);
  copies_.clear();
  copied_bytes_ = 0;
  if (FAILED(hr)) return hr;
  if (FAILED(hr = CommitReserved())) return hr;
  in_change_ = false;
  commit_started_ = false;
  changed_.clear();
  if ((cache_.size() << shift_) > kMaxCleanCacheBytes) cache_.clear();
  return S_OK;
}

HRESULT SectorIo::RollBack() {
  data_.clear();
  copies_.clear();
  copied_bytes_ = 0;
  data_low_ = UINT64_MAX;
  data_high_ = 0;
  in_change_ = false;
  HRESULT result = S_OK;
  if (commit_started_) {
    for (const auto& [block, changed] : changed_) {
      if (!changed.had_original) continue;  // past the old end: cut off below
      HRESULT hr = WriteNow(block << shift_, changed.original.data(),
                            static_cast<uint32_t>(changed.original.size()));
      if (FAILED(hr)) result = hr;
    }
  }
  commit_started_ = false;
  changed_.clear();
  cache_.clear();  // the engine reloads its structures from the file
  reserved_end_ = 0;
  if (file_size_ > change_size_) {
    ULARGE_INTEGER size;
    size.QuadPart = change_size_;
    HRESULT hr = bytes_->SetSize(size);
    if (FAILED(hr)) {
      result = hr;
    } else {
      file_size_ = change_size_;
    }
  }
  return result;
}

}  // namespace quillbox::storage
