// Changes that complete or roll back: a failed write midway through an
// operation puts back the structures the operation had already written, so
// what earlier calls wrote stays readable.
#include <cstring>

#include "platform/storage/cfb_diagnostic.h"
#include "platform/storage/compound_file.h"

namespace quillbox::storage {

void CompoundFile::BeginChange() {
  if (change_depth_++ == 0) io_.BeginChange();
}

HRESULT CompoundFile::EndChange(HRESULT result) {
  if (--change_depth_ > 0) return result;
  if (SUCCEEDED(result)) {
    // What the change gathered reaches the file now, before the call returns.
    const HRESULT written = io_.Commit();
    if (SUCCEEDED(written)) return result;
    result = written;
  }
  HRESULT hr = io_.RollBack();
  if (SUCCEEDED(hr)) hr = Reload();
  if (FAILED(hr)) broken_ = true;  // memory and file may disagree now
  return result;
}

HRESULT CompoundFile::Reload() {
  uint8_t bytes[kHeaderSize];
  HRESULT hr = io_.ReadAt(0, bytes, kHeaderSize);
  if (FAILED(hr)) return hr;
  CfbHeader header;
  if (FAILED(hr = header.Read(bytes))) return hr;
  if (FAILED(hr = fat_.Load(header))) return hr;
  if (FAILED(hr = directory_.Load())) return hr;
  if (FAILED(hr = mini_.Load())) return hr;
  // Open streams pick their chains up again from their entries.
  std::vector<std::weak_ptr<StreamData>> open = std::move(streams_);
  streams_.clear();
  for (auto& weak : open) {
    auto data = weak.lock();
    if (!data) continue;
    std::shared_ptr<StreamData> fresh;  // registers itself in streams_
    if (FAILED(hr = OpenStreamData(data->id, &fresh))) return hr;
    data->mini = fresh->mini;
    data->chain_length = fresh->chain_length;
    data->cursor = fresh->cursor;
    streams_.back() = data;  // keep the one the stream objects share
  }
  return S_OK;
}

}  // namespace quillbox::storage
