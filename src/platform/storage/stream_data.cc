// Stream contents: reads and writes through a cached chain cursor in runs
// that are contiguous in the file, size
// changes, and moves between the mini stream and regular sectors when a
// stream's size crosses 4,096 bytes.
#include <algorithm>
#include <vector>

#include "platform/storage/cfb_diagnostic.h"
#include "platform/storage/compound_file.h"

namespace quillbox::storage {

HRESULT CompoundFile::OpenStreamData(uint32_t id, std::shared_ptr<StreamData>* out) {
  std::erase_if(streams_, [](const std::weak_ptr<StreamData>& s) { return s.expired(); });
  DirEntry& e = directory_.entry(id);
  auto data = std::make_shared<StreamData>();
  data->id = id;
  data->mini = e.size < kMiniStreamCutoff;
  if (e.size == 0) {
    data->cursor.Reset(kEndOfChain);
    streams_.push_back(data);
    *out = std::move(data);
    return S_OK;
  }
  uint64_t length = 0;
  HRESULT hr = data->mini ? mini_.ChainLength(e.start, &length) : fat_.ChainLength(e.start, &length);
  if (FAILED(hr)) return hr;
  const uint64_t unit = data->mini ? kMiniSectorSize : io_.sector_size();
  // Leniency ([MS-CFB] 2.6.3, Stream Size): a size beyond the chain is cut
  // to what the chain holds.
  if (e.size > length * unit) e.size = length * unit;
  data->chain_length = length;
  data->cursor.Reset(length == 0 ? kEndOfChain : e.start);
  streams_.push_back(data);
  *out = std::move(data);
  return S_OK;
}

HRESULT CompoundFile::Transfer(StreamData& data, uint64_t position, uint8_t* read_into,
                               const uint8_t* write_from, uint32_t len, DataLife life) {
  const uint32_t unit = data.mini ? kMiniSectorSize : io_.sector_size();
  // Pieces that follow one another in the file (sectors on disk, or mini
  // sectors within the mini stream) go in one call, straight between the
  // file and the caller's buffer.
  uint64_t run_at = 0;
  uint32_t run_from = 0, run_len = 0;
  auto finish_run = [&]() -> HRESULT {
    if (run_len == 0) return S_OK;
    const HRESULT hr = read_into ? io_.ReadAt(run_at, read_into + run_from, run_len)
                                 : io_.WriteData(run_at, write_from + run_from, run_len, life);
    run_len = 0;
    return hr;
  };
  for (uint32_t done = 0; done < len;) {
    const uint64_t at = position + done;
    const uint32_t offset = static_cast<uint32_t>(at % unit);
    const uint32_t n = std::min<uint32_t>(unit - offset, len - done);
    HRESULT hr = data.mini ? SeekChain(mini_, data.cursor, at / unit)
                           : SeekChain(fat_, data.cursor, at / unit);
    if (FAILED(hr)) return hr;
    uint64_t where = io_.SectorOffset(data.cursor.sector);
    if (data.mini && FAILED(hr = mini_.FileOffset(data.cursor.sector, &where))) return hr;
    where += offset;
    if (run_len > 0 && run_at + run_len == where) {
      run_len += n;
    } else {
      if (FAILED(hr = finish_run())) return hr;
      run_at = where;
      run_from = done;
      run_len = n;
    }
    done += n;
  }
  return finish_run();
}

HRESULT CompoundFile::ReadStream(StreamData& data, uint64_t position, void* buffer, uint32_t len,
                                 uint32_t* read) {
  *read = 0;
  const uint64_t size = entry(data.id).size;
  if (position >= size) return S_OK;
  const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(len, size - position));
  HRESULT hr = Transfer(data, position, static_cast<uint8_t*>(buffer), nullptr, n, DataLife::kCallOnly);
  if (FAILED(hr)) return hr;
  *read = n;
  return S_OK;
}

HRESULT CompoundFile::WriteStream(StreamData& data, uint64_t position, const void* buffer,
                                  uint32_t len) {
  if (len == 0) return S_OK;
  if (broken_) return STG_E_WRITEFAULT;
  // The caller's bytes can be written straight from its buffer when this
  // call's change is the outermost one (it ends before the call returns).
  const DataLife life = change_depth_ == 0 ? DataLife::kUntilCommit : DataLife::kCallOnly;
  ChangeScope change(*this);
  return change.Finish(WriteStreamBytes(data, position, buffer, len, life));
}

HRESULT CompoundFile::SetStreamSize(StreamData& data, uint64_t size) {
  if (broken_) return STG_E_WRITEFAULT;
  ChangeScope change(*this);
  return change.Finish(Resize(data, size, size));
}

HRESULT CompoundFile::WriteStreamBytes(StreamData& data, uint64_t position, const void* buffer,
                                       uint32_t len, DataLife life) {
  const uint64_t end = position + len;
  if (end < position) return STG_E_INVALIDFUNCTION;
  HRESULT hr;
  if (end > entry(data.id).size && FAILED(hr = Resize(data, end, position))) return hr;
  return Transfer(data, position, nullptr, static_cast<const uint8_t*>(buffer), len, life);
}

HRESULT CompoundFile::WriteZeros(StreamData& data, uint64_t from, uint64_t to) {
  static const uint8_t kZeros[4096] = {};
  while (from < to) {
    const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(sizeof kZeros, to - from));
    HRESULT hr = Transfer(data, from, nullptr, kZeros, n, DataLife::kUntilCommit);  // static
    if (FAILED(hr)) return hr;
    from += n;
  }
  return S_OK;
}

HRESULT CompoundFile::ResizeChain(StreamData& data, bool mini, uint64_t units) {
  DirEntry& e = entry(data.id);
  uint64_t have = data.chain_length;
  HRESULT hr;
  auto seek = [&](uint64_t index) {
    return mini ? SeekChain(mini_, data.cursor, index) : SeekChain(fat_, data.cursor, index);
  };
  if (units > have) {
    uint32_t previous = kEndOfChain;
    if (have > 0) {
      if (FAILED(hr = seek(have - 1))) return hr;
      previous = data.cursor.sector;
    }
    const uint64_t old_have = have;
    const uint32_t old_tail = previous;
    while (have < units) {
      uint32_t fresh = 0;
      hr = mini ? mini_.Allocate(previous, &fresh) : fat_.Allocate(previous, &fresh);
      if (FAILED(hr)) return hr;
      if (have == 0) e.start = fresh;
      previous = fresh;
      data.chain_length = ++have;
    }
    // The cursor waits at the old tail, where the write that follows
    // begins, so that it moves forward from there instead of from the start.
    if (old_have == 0) {
      data.cursor.Reset(e.start);
    } else {
      data.cursor.index = old_have - 1;
      data.cursor.sector = old_tail;
    }
  } else if (units < have) {
    if (units == 0) {
      hr = mini ? mini_.FreeChain(e.start) : fat_.FreeChain(e.start);
      if (FAILED(hr)) return hr;
      e.start = kEndOfChain;
      data.cursor.Reset(kEndOfChain);
    } else {
      if (FAILED(hr = seek(units - 1))) return hr;
      const uint32_t last = data.cursor.sector;
      uint32_t rest = kEndOfChain;
      if (FAILED(hr = mini ? mini_.Next(last, &rest) : fat_.Next(last, &rest))) return hr;
      if (FAILED(hr = mini ? mini_.SetNext(last, kEndOfChain) : fat_.SetNext(last, kEndOfChain))) {
        return hr;
      }
      if (FAILED(hr = mini ? mini_.FreeChain(rest) : fat_.FreeChain(rest))) return hr;
    }
    data.chain_length = units;
  }
  return S_OK;
}

HRESULT CompoundFile::Resize(StreamData& data, uint64_t size, uint64_t zero_until) {
  DirEntry& e = entry(data.id);
  if (fat_.header().major_version == 3 && size > 0xFFFFFFFFull) return STG_E_DOCFILETOOLARGE;
  const uint64_t old = e.size;
  const bool want_mini = size < kMiniStreamCutoff;
  HRESULT hr;
  if (want_mini == data.mini) {
    const uint64_t unit = want_mini ? kMiniSectorSize : io_.sector_size();
    if (FAILED(hr = ResizeChain(data, want_mini, (size + unit - 1) / unit))) return hr;
    e.size = size;
    if (FAILED(hr = directory_.WriteEntry(data.id))) return hr;
    return size > old ? WriteZeros(data, old, std::min(size, zero_until)) : S_OK;
  }
  // Crossing the cutoff: what is kept is under 4,096 bytes on one side or
  // the other, so it moves through a small buffer.
  const uint64_t keep = std::min(old, size);
  std::vector<uint8_t> kept(keep);
  if (keep > 0 &&
      FAILED(hr = Transfer(data, 0, kept.data(), nullptr, static_cast<uint32_t>(keep), DataLife::kCallOnly))) {
    return hr;
  }
  if (FAILED(hr = ResizeChain(data, data.mini, 0))) return hr;
  data.mini = want_mini;
  const uint64_t unit = want_mini ? kMiniSectorSize : io_.sector_size();
  if (FAILED(hr = ResizeChain(data, want_mini, (size + unit - 1) / unit))) return hr;
  e.size = size;
  if (FAILED(hr = directory_.WriteEntry(data.id))) return hr;
  if (keep > 0 &&
      FAILED(hr = Transfer(data, 0, nullptr, kept.data(), static_cast<uint32_t>(keep), DataLife::kCallOnly))) {
    return hr;
  }
  return WriteZeros(data, keep, std::min(size, zero_until));
}

}  // namespace quillbox::storage
