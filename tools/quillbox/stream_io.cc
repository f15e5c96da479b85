// ReadStream and WriteStream over the byte-array members of _Stream, and
// StreamPosition.
#include "stream_io.h"

#include <algorithm>
#include <cstring>

namespace quillbox::tool {
namespace {

// A byte array's data, held accessed while the object lives.
class ArrayData {
 public:
  explicit ArrayData(SAFEARRAY* array) : array_(array) {
    if (FAILED(SafeArrayAccessData(array_, &data_))) data_ = nullptr;
  }
  ~ArrayData() {
    if (data_) SafeArrayUnaccessData(array_);
  }
  ArrayData(const ArrayData&) = delete;
  ArrayData& operator=(const ArrayData&) = delete;
  BYTE* get() const { return static_cast<BYTE*>(data_); }

 private:
  SAFEARRAY* array_;
  void* data_ = nullptr;
};

// One WriteBytes call. The member takes the array over and destroys it when
// it succeeds; when it fails on a one-dimensional array whose data it
// could reach (as ours always is) the array is still ours to destroy.
Status WriteChunk(_Stream* stream, const BYTE* data, ULONG count) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, count);
  if (!array) return Status::Tool("out of memory");
  {
    ArrayData target(array);
    if (!target.get()) {
      SafeArrayDestroy(array);
      return Status::Tool("out of memory");
    }
    std::memcpy(target.get(), data, count);
  }
  VARIANT bytes;
  VariantInit(&bytes);
  bytes.vt = VT_ARRAY | VT_UI1;
  bytes.parray = array;
  LONG written = 0;
  const HRESULT hr = stream->WriteBytes(bytes, &written);
  Status s = Check(hr);
  if (!s.ok()) {
    SafeArrayDestroy(array);
    return s;
  }
  if (static_cast<ULONG>(written) != count) {
    return Status::Tool("the stream took " + std::to_string(written) + " of " + std::to_string(count) + " bytes");
  }
  return Status::Ok();
}

}  // namespace

Status ReadStream(_Stream* stream, std::uint64_t offset, std::optional<std::uint64_t> length, const ChunkSink& sink) {
  LONG size_value = 0;
  if (Status s = Check(stream->get_Size(&size_value)); !s.ok()) return s;
  const std::uint64_t size = static_cast<ULONG>(size_value);
  if (offset >= size) return Status::Ok();
  std::uint64_t remaining = size - offset;
  if (length) remaining = std::min(remaining, *length);
  if (remaining == 0) return Status::Ok();

  // Seek takes the offset's 32 bits as they are (no sign extension), which
  // covers every offset below the 32-bit size.
  LONG position = 0;
  if (Status s = Check(stream->Seek(static_cast<LONG>(static_cast<ULONG>(offset)), ssSeekBegin, &position));
      !s.ok()) {
    return s;
  }
  std::uint64_t at = offset;
  while (remaining > 0) {
    LONG count = static_cast<LONG>(std::min<std::uint64_t>(remaining, kChunkBytes));
    Variant bytes;
    if (Status s = Check(stream->ReadBytes(&count, bytes.get())); !s.ok()) return s;
    if ((*bytes).vt != (VT_ARRAY | VT_UI1) || !(*bytes).parray) {
      return Status::Tool("ReadBytes gave no byte array");
    }
    const size_t got = static_cast<size_t>(std::min<std::uint64_t>(remaining, kChunkBytes));
    LONG lower = 0;
    LONG upper = -1;
    SafeArrayGetLBound((*bytes).parray, 1, &lower);
    SafeArrayGetUBound((*bytes).parray, 1, &upper);
    if (static_cast<std::int64_t>(upper) - lower + 1 < static_cast<std::int64_t>(got)) {
      return Status::Tool("ReadBytes gave fewer bytes than asked for");
    }
    ArrayData data((*bytes).parray);
    if (!data.get()) return Status::Tool("cannot reach the bytes ReadBytes gave");
    if (Status s = sink(data.get(), got, at); !s.ok()) return s;
    remaining -= got;
    at += got;
  }
  return Status::Ok();
}

Status StreamPosition(_Stream* stream, ULONG* position) {
  LONG at = 0;
  if (Status s = Check(stream->Seek(0, ssSeekCurrent, &at)); !s.ok()) return s;
  *position = static_cast<ULONG>(at);
  return Status::Ok();
}

Status WriteStream(_Stream* stream, const BYTE* data, size_t count) {
  while (count > 0) {
    const ULONG chunk = static_cast<ULONG>(std::min<size_t>(count, kChunkBytes));
    if (Status s = WriteChunk(stream, data, chunk); !s.ok()) return s;
    data += chunk;
    count -= chunk;
  }
  return Status::Ok();
}

}  // namespace quillbox::tool
