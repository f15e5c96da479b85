// Stream: self-describing variant records (Write, Read) and raw byte arrays
// (ReadBytes, WriteBytes).
//
// A record is the 2-byte variant type, then the value: 1, 2, 4 or 8 bytes
// for the fixed-width types, an object saved with its class id for objects,
// and for everything else the value changed to text, written as a 4-byte
// byte count (text plus its 2-byte terminator) and the UTF-16 text.
#include <cstring>

#include "quillbox/ole2.h"
#include "quillbox/oleauto.h"
#include "storage/storage_messages.h"
#include "stream/stream.h"

namespace quillbox::stream_object {

using storage_tree::kMsgInvalidParameter;
using storage_tree::kMsgInvalidPointer;
using storage_tree::kMsgOutOfMemory;
using storage_tree::kMsgReadError;
using storage_tree::kMsgReadOnly;

namespace {

constexpr UINT kMsgNotByteArray = 227;  // "The first argument must be a one dimensional bytes array."

constexpr VARTYPE kByteArray = VT_ARRAY | VT_UI1;

// The payload width of the fixed-width types, 0 for the others. A tag with
// flag bits is never fixed.
ULONG FixedWidth(VARTYPE tag) {
  switch (tag) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_BOOL:
    case VT_UI2:
      return 2;
    case VT_I4:
    case VT_R4:
    case VT_ERROR:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
      return 4;
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    default:
      return 0;
  }
}

// The value's bytes: every member of the variant's union starts at the
// same place.
const void* ValueBytes(const VARIANT& value) { return &value.llVal; }
void* ValueBytes(VARIANT& value) { return &value.llVal; }

// The bytes left between the position and the end of the stream.
ULONGLONG BytesLeft(IStream* stream) {
  LARGE_INTEGER zero{};
  ULARGE_INTEGER here{};
  STATSTG stat{};
  if (FAILED(stream->Seek(zero, STREAM_SEEK_CUR, &here)) || FAILED(stream->Stat(&stat, STATFLAG_NONAME))) return 0;
  return stat.cbSize.QuadPart > here.QuadPart ? stat.cbSize.QuadPart - here.QuadPart : 0;
}

// A read that fails or delivers fewer bytes than asked counts as failed:
// the record cannot go on.
HRESULT ReadExactly(IStream* stream, void* buffer, ULONG count) {
  ULONG got = 0;
  const HRESULT hr = stream->Read(buffer, count, &got);
  if (FAILED(hr)) return hr;
  if (hr == S_FALSE || got < count) return E_FAIL;
  return S_OK;
}

HRESULT WriteObjectRecord(IStream* stream, IUnknown* object) {
  if (!object) return WriteClassStm(stream, CLSID_NULL);
  ComPtr<IPersistStream> persist;
  const HRESULT hr = object->QueryInterface(IID_IPersistStream, reinterpret_cast<void**>(persist.put()));
  if (FAILED(hr)) return hr;  // the record stops after its tag
  return OleSaveToStream(persist.get(), stream);
}

HRESULT WriteStringRecord(IStream* stream, const VARIANT& value) {
  VARIANT text;
  VariantInit(&text);
  HRESULT hr = VariantChangeType(&text, &value, VARIANT_NOVALUEPROP, VT_BSTR);
  if (FAILED(hr)) return hr;
  // An absent string is the count 0 alone.
  const ULONG count = text.bstrVal ? SysStringByteLen(text.bstrVal) + 2 : 0;
  hr = stream->Write(&count, 4, nullptr);
  if (SUCCEEDED(hr) && count > 0) hr = stream->Write(text.bstrVal, count, nullptr);
  VariantClear(&text);
  return hr;
}

HRESULT ReadStringRecord(IStream* stream, VARTYPE tag, VARIANT* value) {
  ULONG count = 0;
  HRESULT hr = ReadExactly(stream, &count, 4);
  if (FAILED(hr)) return E_FAIL;
  BSTR text = nullptr;
  if (count > 0) {
    // A count below the terminator's 2 bytes, or beyond the stream's end,
    // cannot be a record: refused before anything is allocated.
    if (count < 2 || count > BytesLeft(stream)) return E_FAIL;
    text = SysAllocStringByteLen(nullptr, count - 2);
    if (!text) return E_OUTOFMEMORY;
    ULONG got = 0;
    hr = stream->Read(text, count, &got);
    if (FAILED(hr)) {
      SysFreeString(text);
      return hr;
    }
    // The record's last two bytes are its terminator; whatever a damaged
    // record holds there, the string ends in zeros.
    reinterpret_cast<BYTE*>(text)[count - 2] = 0;
    reinterpret_cast<BYTE*>(text)[count - 1] = 0;
  }
  value->vt = VT_BSTR;
  value->bstrVal = text;
  if (tag == VT_BSTR) return S_OK;
  return VariantChangeType(value, value, 0, tag);
}

}  // namespace

HRESULT Stream::WriteRecord(const VARIANT& value) {
  const VARTYPE tag = value.vt;
  HRESULT hr = stream_->Write(&tag, 2, nullptr);
  if (FAILED(hr)) return hr;
  if (const ULONG width = FixedWidth(tag)) return stream_->Write(ValueBytes(value), width, nullptr);
  if (tag == VT_DISPATCH || tag == VT_UNKNOWN) return WriteObjectRecord(stream_.get(), value.punkVal);
  return WriteStringRecord(stream_.get(), value);
}

HRESULT Stream::ReadRecord(VARIANT* value) {
  VariantClear(value);
  VARTYPE tag = 0;
  HRESULT hr = ReadExactly(stream_.get(), &tag, 2);
  if (FAILED(hr)) return hr;
  if (tag == VT_NULL) {
    value->vt = VT_NULL;
    return S_OK;
  }
  if (const ULONG width = FixedWidth(tag)) {
    VARIANT read;
    VariantInit(&read);
    hr = ReadExactly(stream_.get(), ValueBytes(read), width);
    if (FAILED(hr)) return hr;
    read.vt = tag;
    *value = read;
    return S_OK;
  }
  if (tag == VT_DISPATCH || tag == VT_UNKNOWN) {
    // The load's result is not looked at: the value holds whatever object,
    // or none, it produced.
    void* object = nullptr;
    OleLoadFromStream(stream_.get(), tag == VT_DISPATCH ? IID_IDispatch : IID_IUnknown, &object);
    value->vt = tag;
    value->punkVal = static_cast<IUnknown*>(object);
    return S_OK;
  }
  return ReadStringRecord(stream_.get(), tag, value);
}

STDMETHODIMP Stream::Write(VARIANT data, LONG* written) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  VARIANT local;
  VariantInit(&local);
  const HRESULT copied = VariantCopy(&local, &data);
  if (FAILED(copied)) {
    local.vt = VT_ERROR;
    local.scode = copied;
  }
  LONG start = 0;
  HRESULT hr = Seek(0, ssSeekCurrent, &start);
  if (SUCCEEDED(hr)) hr = EnsureOpen();
  if (SUCCEEDED(hr)) {
    // The record's own result is not looked at: the count tells how far it
    // got.
    WriteRecord(local);
    LONG end = 0;
    hr = Seek(0, ssSeekCurrent, &end);
    if (SUCCEEDED(hr) && written) *written = end - start;
  }
  VariantClear(&local);
  return hr;
}

STDMETHODIMP Stream::Read(VARIANT* data) {
  if (!data) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  VARIANT local;
  VariantInit(&local);
  hr = ReadRecord(&local);
  if (SUCCEEDED(hr)) {
    VariantInit(data);
    hr = VariantCopy(data, &local);
  }
  VariantClear(&local);
  return hr;
}

STDMETHODIMP Stream::ReadBytes(LONG* count, VARIANT* bytes) {
  if (!count || !bytes) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  if (*count < 1) return Report(kMsgInvalidParameter, STG_E_INVALIDPARAMETER);
  const ULONG wanted = static_cast<ULONG>(*count);
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 1, wanted);
  void* data = nullptr;
  if (!array || FAILED(SafeArrayAccessData(array, &data))) {
    SafeArrayDestroy(array);
    return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  }
  HRESULT hr = EnsureOpen();
  if (SUCCEEDED(hr)) {
    // The count read is not returned: bytes past the end stay zero.
    ULONG got = 0;
    hr = stream_->Read(data, wanted, &got);
    if (FAILED(hr)) {
      hr = MapReadFailure(hr);
    } else if (hr == S_FALSE) {
      hr = Report(kMsgReadError, STG_E_INSUFFICIENTMEMORY);
    }
  }
  SafeArrayUnaccessData(array);
  if (FAILED(hr)) {
    SafeArrayDestroy(array);
    return hr;
  }
  VariantInit(bytes);
  bytes->vt = kByteArray;
  bytes->parray = array;
  return S_OK;
}

// Takes the caller's array over: it is destroyed after a successful write,
// and when it is not one-dimensional or its data cannot be reached.
STDMETHODIMP Stream::WriteBytes(VARIANT bytes, LONG* count) {
  if (!count) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  if (bytes.vt != kByteArray) return Report(kMsgNotByteArray, STG_E_INSUFFICIENTMEMORY);
  SAFEARRAY* array = bytes.parray;
  if (SafeArrayGetDim(array) != 1) {
    SafeArrayDestroy(array);
    return Report(kMsgNotByteArray, STG_E_INSUFFICIENTMEMORY);
  }
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  const ULONG length = static_cast<ULONG>(upper - lower + 1);
  void* data = nullptr;
  if (FAILED(SafeArrayAccessData(array, &data))) {
    SafeArrayDestroy(array);
    return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  }
  HRESULT hr = EnsureOpen();
  ULONG written = 0;
  if (SUCCEEDED(hr)) {
    hr = MapWriteResult(stream_->Write(data, length, &written));
  }
  SafeArrayUnaccessData(array);
  if (FAILED(hr)) return hr;
  *count = static_cast<LONG>(written);
  SafeArrayDestroy(array);
  return S_OK;
}

}  // namespace quillbox::stream_object
