// Stream: numbers, dates, Booleans and bytes as their bare little-endian
// memory image, no tag and no length. Members of one width share one
// routine and differ only in the declared type of the value.
#include <cstring>

#include "storage/storage_messages.h"
#include "stream/stream.h"

namespace quillbox::stream_object {

using storage_tree::kMsgInvalidPointer;
using storage_tree::kMsgReadOnly;

using storage_tree::kMsgReadError;
using storage_tree::kMsgWriteFault;

HRESULT Stream::ReadScalar(void* value, ULONG width) {
  if (!value) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  unsigned char bytes[16] = {};
  ULONG got = 0;
  hr = stream_->Read(bytes, width, &got);
  if (FAILED(hr)) return MapReadFailure(hr);
  // A short read is how the end of the stream shows.
  if (hr == S_FALSE || (hr == S_OK && got < width)) return Report(kMsgReadError, STG_E_INSUFFICIENTMEMORY);
  std::memcpy(value, bytes, width);
  return S_OK;
}

HRESULT Stream::WriteScalar(const void* value, ULONG width) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  ULONG written = 0;
  hr = stream_->Write(value, width, &written);
  if (FAILED(hr)) return MapWriteResult(hr);
  if (hr == S_OK && written < width) return Report(kMsgWriteFault, STG_E_WRITEFAULT);
  return S_OK;
}

STDMETHODIMP Stream::ReadByte(BYTE* result) { return ReadScalar(result, 1); }
STDMETHODIMP Stream::WriteByte(BYTE value) { return WriteScalar(&value, 1); }

STDMETHODIMP Stream::ReadInteger(SHORT* result) { return ReadScalar(result, 2); }
STDMETHODIMP Stream::ReadBoolean(VARIANT_BOOL* result) { return ReadScalar(result, 2); }
STDMETHODIMP Stream::WriteInteger(SHORT value) { return WriteScalar(&value, 2); }
STDMETHODIMP Stream::WriteBoolean(VARIANT_BOOL value) { return WriteScalar(&value, 2); }

STDMETHODIMP Stream::ReadLong(LONG* result) { return ReadScalar(result, 4); }
STDMETHODIMP Stream::ReadSingle(FLOAT* result) { return ReadScalar(result, 4); }
STDMETHODIMP Stream::WriteLong(LONG value) { return WriteScalar(&value, 4); }
STDMETHODIMP Stream::WriteSingle(FLOAT value) { return WriteScalar(&value, 4); }

STDMETHODIMP Stream::ReadDouble(DOUBLE* result) { return ReadScalar(result, 8); }
STDMETHODIMP Stream::ReadCurrency(CY* result) { return ReadScalar(result, 8); }
STDMETHODIMP Stream::ReadDate(DATE* result) { return ReadScalar(result, 8); }
STDMETHODIMP Stream::WriteDouble(DOUBLE value) { return WriteScalar(&value, 8); }
STDMETHODIMP Stream::WriteCurrency(CY value) { return WriteScalar(&value, 8); }
STDMETHODIMP Stream::WriteDate(DATE value) { return WriteScalar(&value, 8); }

// The whole 16-byte structure: reserved, scale, sign, high 32, low 64 bits,
// nothing checked or normalised.
STDMETHODIMP Stream::ReadDecimal(DECIMAL* result) {
  static_assert(sizeof(DECIMAL) == 16);
  return ReadScalar(result, 16);
}
STDMETHODIMP Stream::WriteDecimal(DECIMAL value) { return WriteScalar(&value, 16); }

}  // namespace quillbox::stream_object
