// Writing TypedPropertyValue: the mirror of value_decode.cc. Nothing is
// appended to the output unless the whole value encodes.
#include <cstring>

#include "platform/propset/set_text.h"
#include "platform/propset/value_codec.h"
#include "platform/propset/value_types.h"
#include "quillbox/oleauto.h"

namespace quillbox::propset {

namespace {

constexpr HRESULT kInvalid = STG_E_INVALIDPARAMETER;

std::u16string_view WideView(const char16_t* text, size_t length) {
  return text ? std::u16string_view(text, length) : std::u16string_view();
}

size_t WideLen(const char16_t* text) {
  size_t n = 0;
  while (text && text[n]) ++n;
  return n;
}

// CodePageString: Size (bytes with the terminator), characters, padding.
// A null string is Size 0 and no characters.
HRESULT WriteCodePageText(ByteWriter& w, const char16_t* text, size_t length, bool null, uint32_t code_page) {
  if (null) {
    w.U32(0);
    return S_OK;
  }
  std::string bytes;
  HRESULT hr = EncodeSetText(WideView(text, length), code_page, &bytes);
  if (FAILED(hr)) return hr;
  bytes.append(code_page == kCodePageUnicode ? 2 : 1, '\0');
  if (bytes.size() > 0xffffffffu) return kInvalid;
  w.U32(static_cast<uint32_t>(bytes.size()));
  w.Bytes(bytes.data(), bytes.size());
  w.Pad4();
  return S_OK;
}

HRESULT WriteAnsi(ByteWriter& w, LPCSTR text, uint32_t code_page) {
  if (!text) return WriteCodePageText(w, nullptr, 0, true, code_page);
  std::u16string wide;
  HRESULT hr = AnsiToWide(text, &wide);
  if (FAILED(hr)) return hr;
  return WriteCodePageText(w, wide.data(), wide.size(), false, code_page);
}

HRESULT WriteUnicodeText(ByteWriter& w, const char16_t* text) {
  if (!text) {
    w.U32(0);
    return S_OK;
  }
  const size_t length = WideLen(text) + 1;
  if (length > 0x7fffffff) return kInvalid;
  w.U32(static_cast<uint32_t>(length));
  for (size_t i = 0; i < length; ++i) w.U16(text[i]);
  w.Pad4();
  return S_OK;
}

HRESULT WriteBlob(ByteWriter& w, ULONG size, const BYTE* data) {
  if (size && !data) return kInvalid;
  w.U32(size);
  w.Bytes(data, size);
  w.Pad4();
  return S_OK;
}

HRESULT WriteClipData(ByteWriter& w, const CLIPDATA* clip) {
  if (!clip || clip->cbSize < 4 || (clip->cbSize > 4 && !clip->pClipData)) return kInvalid;
  w.U32(clip->cbSize);
  w.U32(static_cast<uint32_t>(clip->ulClipFmt));
  w.Bytes(clip->pClipData, clip->cbSize - 4);
  w.Pad4();
  return S_OK;
}

HRESULT EncodeAt(ByteWriter& w, const PROPVARIANT& v, uint32_t code_page, const IndirectRef* indirect,
                 bool* needs_v1, int depth);

// One element of a vector or array that is not fixed-size.
HRESULT EncodeElement(ByteWriter& w, VARTYPE vt, const void* slot, uint32_t code_page, bool* needs_v1,
                      int depth, bool array_variant) {
  switch (vt) {
    case VT_BSTR: {
      const BSTR text = *static_cast<const BSTR*>(slot);
      return WriteCodePageText(w, text, text ? SysStringLen(text) : 0, text == nullptr, code_page);
    }
    case VT_LPSTR:
      return WriteAnsi(w, *static_cast<const LPSTR*>(slot), code_page);
    case VT_LPWSTR:
      return WriteUnicodeText(w, *static_cast<const LPWSTR*>(slot));
    case VT_CF:
      return WriteClipData(w, static_cast<const CLIPDATA*>(slot));
    case VT_VARIANT: {
      const auto& element = *static_cast<const PROPVARIANT*>(slot);
      if (array_variant && (!ArrayElement(element.vt) || element.vt == VT_VARIANT)) return kInvalid;
      if (element.vt == VT_VARIANT || IsIndirectType(element.vt & VT_TYPEMASK)) return kInvalid;
      return EncodeAt(w, element, code_page, nullptr, needs_v1, depth + 1);
    }
    default:
      return kInvalid;
  }
}

HRESULT EncodeVector(ByteWriter& w, const PROPVARIANT& v, VARTYPE element, uint32_t code_page, bool* needs_v1,
                     int depth) {
  const ElementInfo* info = VectorElement(element);
  if (!info) return kInvalid;
  const auto& array = v.caub;  // every CAxx is {ULONG, T*}
  if (array.cElems && !array.pElems) return kInvalid;
  w.U32(array.cElems);
  if (info->fixed_size) {
    w.Bytes(array.pElems, size_t{array.cElems} * info->fixed_size);
    w.Pad4();
    return S_OK;
  }
  for (ULONG i = 0; i < array.cElems; ++i) {
    HRESULT hr = EncodeElement(w, element, array.pElems + size_t{i} * info->memory_size, code_page, needs_v1,
                               depth, false);
    if (FAILED(hr)) return hr;
  }
  return S_OK;
}

// ArrayHeader: element type, dimension count, then (size, lower bound) per
// dimension, leftmost first; elements follow in the safe array's order.
HRESULT EncodeArray(ByteWriter& w, const PROPVARIANT& v, VARTYPE element, uint32_t code_page, bool* needs_v1,
                    int depth) {
  const ElementInfo* info = ArrayElement(element);
  const SAFEARRAY* array = v.parray;
  if (!info || !array || array->cDims < 1 || array->cDims > 31) return kInvalid;
  VARTYPE stored = VT_EMPTY;
  if (FAILED(SafeArrayGetVartype(const_cast<SAFEARRAY*>(array), &stored)) || stored != element) return kInvalid;
  w.U32(element);
  w.U32(array->cDims);
  uint64_t total = 1;
  for (int d = array->cDims - 1; d >= 0; --d) {
    w.U32(array->rgsabound[d].cElements);
    w.U32(static_cast<uint32_t>(array->rgsabound[d].lLbound));
    total *= array->rgsabound[d].cElements;
  }
  const auto* data = static_cast<const uint8_t*>(array->pvData);
  if (total && !data) return kInvalid;
  if (info->fixed_size) {
    w.Bytes(data, total * info->fixed_size);
    w.Pad4();
    return S_OK;
  }
  for (uint64_t i = 0; i < total; ++i) {
    HRESULT hr = EncodeElement(w, element, data + i * array->cbElements, code_page, needs_v1, depth, true);
    if (FAILED(hr)) return hr;
  }
  return S_OK;
}

HRESULT EncodeAt(ByteWriter& w, const PROPVARIANT& v, uint32_t code_page, const IndirectRef* indirect,
                 bool* needs_v1, int depth) {
  const VARTYPE vt = v.vt;
  const VARTYPE base = vt & VT_TYPEMASK;
  if (depth > 3) return kInvalid;
  if (NeedsVersion1(vt)) *needs_v1 = true;
  w.U16(vt);
  w.U16(0);
  if ((vt & VT_VECTOR) && !(vt & ~(VT_VECTOR | VT_TYPEMASK))) {
    return EncodeVector(w, v, base, code_page, needs_v1, depth);
  }
  if ((vt & VT_ARRAY) && !(vt & ~(VT_ARRAY | VT_TYPEMASK))) {
    return EncodeArray(w, v, base, code_page, needs_v1, depth);
  }
  if (vt != base) return kInvalid;  // VT_BYREF and the like
  if (const ElementInfo* info = ScalarInfo(vt)) {
    w.Bytes(&v.bVal, info->fixed_size);
    w.Pad4();
    return S_OK;
  }
  if (IsIndirectType(vt)) {
    if (!indirect || depth > 0) return STG_E_PROPSETMISMATCHED;
    if (vt == VT_VERSIONED_STREAM) w.Guid(indirect->version);
    return WriteCodePageText(w, indirect->name.data(), indirect->name.size(), false, code_page);
  }
  switch (vt) {
    case VT_EMPTY:
    case VT_NULL:
      return S_OK;
    case VT_DECIMAL: {
      DECIMAL value = v.decVal;
      value.wReserved = 0;
      w.Bytes(&value, sizeof value);
      return S_OK;
    }
    case VT_BSTR:
    case VT_LPSTR:
    case VT_LPWSTR:
      return EncodeElement(w, vt, &v.bstrVal, code_page, needs_v1, depth, false);
    case VT_BLOB:
    case VT_BLOB_OBJECT:
      return WriteBlob(w, v.blob.cbSize, v.blob.pBlobData);
    case VT_CF:
      return WriteClipData(w, v.pclipdata);
    case VT_CLSID:
      if (!v.puuid) return kInvalid;
      w.Guid(*v.puuid);
      return S_OK;
    default:
      return kInvalid;
  }
}

}  // namespace

HRESULT EncodeValue(const PROPVARIANT& value, uint32_t code_page, const IndirectRef* indirect,
                    std::vector<uint8_t>* out, bool* needs_v1) {
  std::vector<uint8_t> bytes;
  ByteWriter w(&bytes);
  bool v1 = false;
  HRESULT hr = EncodeAt(w, value, code_page, indirect, &v1, 0);
  if (FAILED(hr)) return hr;
  w.Pad4();
  *out = std::move(bytes);
  if (v1) *needs_v1 = true;
  return S_OK;
}

}  // namespace quillbox::propset
