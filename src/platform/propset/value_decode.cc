// Reading TypedPropertyValue: scalars, strings, blobs, clipboard data,
// vectors and (version 1) safe arrays. Every count read from the set is
// checked against the bytes left before anything is allocated.
#include <cstring>
#include <memory>

#include "platform/propset/set_text.h"
#include "platform/propset/value_codec.h"
#include "platform/propset/value_types.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "quillbox/winnls.h"

namespace quillbox::propset {

namespace {

constexpr HRESULT kBad = STG_E_INVALIDHEADER;
constexpr int kMaxNesting = 3;  // a variant vector inside a variant vector, no deeper

// Frees a value being built if decoding stops half way.
struct ValueGuard {
  PROPVARIANT* value;
  ~ValueGuard() {
    if (value) PropVariantClear(value);
  }
};

void* TaskAlloc(size_t bytes) {
  void* p = CoTaskMemAlloc(bytes ? bytes : 1);
  if (!p) throw std::bad_alloc();
  return p;
}

// A CodePageString's bytes (Size, then the characters, padded to 4).
HRESULT ReadCodePageBytes(ByteReader& in, std::span<const uint8_t>* bytes, bool* present) {
  uint32_t size = 0;
  if (!in.U32(&size) || !in.Take(size, bytes)) return kBad;
  *present = size != 0;
  in.Align4();
  return S_OK;
}

HRESULT ReadCodePageText(ByteReader& in, uint32_t code_page, std::u16string* text, bool* present) {
  std::span<const uint8_t> bytes;
  HRESULT hr = ReadCodePageBytes(in, &bytes, present);
  if (FAILED(hr)) return hr;
  // Lenient: text that does not convert reads as far as it converts, as
  // nothing at worst; the value is still there to overwrite.
  if (FAILED(DecodeSetText(bytes, code_page, text))) text->clear();
  return S_OK;
}

HRESULT ReadUnicodeText(ByteReader& in, std::u16string* text, bool* present) {
  uint32_t length = 0;
  std::span<const uint8_t> bytes;
  if (!in.U32(&length) || length > in.remaining() / 2 || !in.Take(size_t{length} * 2, &bytes)) return kBad;
  *present = length != 0;
  in.Align4();
  return DecodeSetText(bytes, kCodePageUnicode, text);
}

HRESULT MakeBstr(const std::u16string& text, bool present, BSTR* out) {
  *out = nullptr;
  if (!present) return S_OK;
  *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!*out) throw std::bad_alloc();
  return S_OK;
}

// VT_LPSTR in memory is in the ANSI code page: convert unless the set's
// code page is that already. Reading never fails on a character the ANSI
// code page lacks; it becomes the code page's default character.
HRESULT MakeAnsi(ByteReader& in, uint32_t code_page, LPSTR* out) {
  *out = nullptr;
  std::span<const uint8_t> bytes;
  bool present = false;
  HRESULT hr = ReadCodePageBytes(in, &bytes, &present);
  if (FAILED(hr) || !present) return hr;
  std::string narrow;
  if (code_page == GetACP()) {
    size_t n = 0;
    while (n < bytes.size() && bytes[n]) ++n;
    narrow.assign(reinterpret_cast<const char*>(bytes.data()), n);
  } else {
    std::u16string text;
    if (FAILED(DecodeSetText(bytes, code_page, &text))) text.clear();
    if (!text.empty()) {
      const int n = static_cast<int>(text.size());
      const int need = WideCharToMultiByte(CP_ACP, 0, text.data(), n, nullptr, 0, nullptr, nullptr);
      if (need > 0) {
        narrow.resize(static_cast<size_t>(need));
        WideCharToMultiByte(CP_ACP, 0, text.data(), n, narrow.data(), need, nullptr, nullptr);
      }
    }
  }
  *out = static_cast<LPSTR>(TaskAlloc(narrow.size() + 1));
  std::memcpy(*out, narrow.c_str(), narrow.size() + 1);
  return S_OK;
}

HRESULT MakeWide(ByteReader& in, LPWSTR* out) {
  *out = nullptr;
  std::u16string text;
  bool present = false;
  HRESULT hr = ReadUnicodeText(in, &text, &present);
  if (FAILED(hr) || !present) return hr;
  *out = static_cast<LPWSTR>(TaskAlloc((text.size() + 1) * sizeof(char16_t)));
  std::memcpy(*out, text.c_str(), (text.size() + 1) * sizeof(char16_t));
  return S_OK;
}

HRESULT ReadBlob(ByteReader& in, ULONG* size, BYTE** data) {
  uint32_t n = 0;
  std::span<const uint8_t> bytes;
  if (!in.U32(&n) || !in.Take(n, &bytes)) return kBad;
  in.Align4();
  *data = static_cast<BYTE*>(TaskAlloc(n));
  if (n) std::memcpy(*data, bytes.data(), n);
  *size = n;
  return S_OK;
}

HRESULT ReadClipData(ByteReader& in, CLIPDATA* clip) {
  uint32_t size = 0;
  uint32_t format = 0;
  std::span<const uint8_t> bytes;
  if (!in.U32(&size) || size < 4 || !in.U32(&format) || !in.Take(size - 4, &bytes)) return kBad;
  in.Align4();
  clip->cbSize = size;
  clip->ulClipFmt = static_cast<LONG>(format);
  clip->pClipData = static_cast<BYTE*>(TaskAlloc(size - 4));
  if (size > 4) std::memcpy(clip->pClipData, bytes.data(), size - 4);
  return S_OK;
}

HRESULT ReadGuid(ByteReader& in, CLSID* out) { return in.Guid(out) ? S_OK : kBad; }

HRESULT DecodeAt(ByteReader& in, uint32_t code_page, PROPVARIANT* out, IndirectRef* ref, int depth);

// One element of a vector or array of vt (not fixed-size) into slot.
HRESULT DecodeElement(ByteReader& in, uint32_t code_page, VARTYPE vt, void* slot, int depth) {
  switch (vt) {
    case VT_BSTR: {
      std::u16string text;
      bool present = false;
      HRESULT hr = ReadCodePageText(in, code_page, &text, &present);
      return FAILED(hr) ? hr : MakeBstr(text, present, static_cast<BSTR*>(slot));
    }
    case VT_LPSTR:
      return MakeAnsi(in, code_page, static_cast<LPSTR*>(slot));
    case VT_LPWSTR:
      return MakeWide(in, static_cast<LPWSTR*>(slot));
    case VT_CF:
      return ReadClipData(in, static_cast<CLIPDATA*>(slot));
    case VT_VARIANT: {
      auto* element = static_cast<PROPVARIANT*>(slot);
      return DecodeAt(in, code_page, element, nullptr, depth + 1);
    }
    default:
      return kBad;
  }
}

HRESULT DecodeVector(ByteReader& in, uint32_t code_page, VARTYPE element, PROPVARIANT* out, int depth) {
  const ElementInfo* info = VectorElement(element);
  uint32_t count = 0;
  if (!info || !in.U32(&count)) return kBad;
  if (count > in.remaining() / info->min_serialized) return kBad;  // bounded allocation
  auto* array = reinterpret_cast<CAUB*>(&out->caub);  // every CAxx is {ULONG, T*}
  array->pElems = static_cast<UCHAR*>(TaskAlloc(size_t{count} * info->memory_size));
  std::memset(array->pElems, 0, size_t{count} * info->memory_size);
  out->vt = static_cast<VARTYPE>(VT_VECTOR | element);
  if (info->fixed_size) {
    // Scalars are packed; the vector as a whole is padded to 4.
    if (!in.Read(array->pElems, size_t{count} * info->fixed_size)) return kBad;
    array->cElems = count;
    in.Align4();
    return S_OK;
  }
  for (uint32_t i = 0; i < count; ++i) {
    // Counted as they fill, so a failure frees exactly what was made.
    array->cElems = i + 1;
    HRESULT hr = DecodeElement(in, code_page, element, array->pElems + size_t{i} * info->memory_size, depth);
    if (FAILED(hr)) return hr;
  }
  return S_OK;
}

HRESULT DecodeArray(ByteReader& in, uint32_t code_page, VARTYPE element, PROPVARIANT* out, int depth) {
  uint32_t type = 0;
  uint32_t dims = 0;
  if (!in.U32(&type) || static_cast<VARTYPE>(type) != element || !in.U32(&dims) || dims < 1 || dims > 31) {
    return kBad;
  }
  const ElementInfo* info = ArrayElement(element);
  if (!info) return kBad;
  SAFEARRAYBOUND bounds[31];
  uint64_t total = 1;
  for (uint32_t d = 0; d < dims; ++d) {
    uint32_t size = 0;
    uint32_t lower = 0;
    if (!in.U32(&size) || !in.U32(&lower)) return kBad;
    bounds[d].cElements = size;
    bounds[d].lLbound = static_cast<LONG>(lower);
    total *= size;
    if (total > in.remaining()) return kBad;  // every element takes at least one byte
  }
  if (total > in.remaining() / info->min_serialized) return kBad;
  SAFEARRAY* array = SafeArrayCreate(element, dims, bounds);
  if (!array) throw std::bad_alloc();
  out->vt = static_cast<VARTYPE>(VT_ARRAY | element);
  out->parray = array;
  auto* data = static_cast<uint8_t*>(array->pvData);
  if (info->fixed_size) {
    if (!in.Read(data, total * info->fixed_size)) return kBad;
    in.Align4();
    return S_OK;
  }
  for (uint64_t i = 0; i < total; ++i) {
    HRESULT hr = DecodeElement(in, code_page, element, data + i * array->cbElements, depth);
    if (FAILED(hr)) return hr;
    if (element == VT_VARIANT) {
      auto* v = reinterpret_cast<PROPVARIANT*>(data + i * array->cbElements);
      if (!ArrayElement(v->vt) || v->vt == VT_VARIANT) return kBad;  // automation types only
    }
  }
  return S_OK;
}

HRESULT DecodeIndirect(ByteReader& in, uint32_t code_page, VARTYPE vt, IndirectRef* ref) {
  IndirectRef found;
  found.vt = vt;
  if (vt == VT_VERSIONED_STREAM && !in.Guid(&found.version)) return kBad;
  bool present = false;
  HRESULT hr = ReadCodePageText(in, code_page, &found.name, &present);
  if (FAILED(hr)) return hr;
  if (ref) *ref = std::move(found);
  return S_OK;
}

HRESULT DecodeAt(ByteReader& in, uint32_t code_page, PROPVARIANT* out, IndirectRef* ref, int depth) {
  PropVariantInit(out);
  uint16_t type = 0;
  uint16_t padding = 0;
  if (!in.U16(&type) || !in.U16(&padding)) return kBad;
  const VARTYPE vt = type;
  const VARTYPE base = vt & VT_TYPEMASK;
  ValueGuard guard{out};
  HRESULT hr = S_OK;
  if (vt & VT_VECTOR) {
    if ((vt & ~(VT_VECTOR | VT_TYPEMASK)) != 0 || depth > kMaxNesting) return kBad;
    hr = DecodeVector(in, code_page, base, out, depth);
  } else if (vt & VT_ARRAY) {
    if ((vt & ~(VT_ARRAY | VT_TYPEMASK)) != 0 || depth > kMaxNesting) return kBad;
    hr = DecodeArray(in, code_page, base, out, depth);
  } else if (IsIndirectType(vt)) {
    if (depth > 0) return kBad;
    hr = DecodeIndirect(in, code_page, vt, ref);
  } else if (vt == VT_DECIMAL) {
    DECIMAL value;
    if (!in.Read(&value, sizeof value)) return kBad;
    out->decVal = value;
    out->vt = VT_DECIMAL;
  } else if (const ElementInfo* info = ScalarInfo(vt); info && info->fixed_size) {
    // Scalars sit at the union's start, little-endian as in the file.
    if (!in.Read(&out->bVal, info->fixed_size)) return kBad;
    out->vt = vt;
    in.Align4();
  } else {
    switch (vt) {
      case VT_EMPTY:
      case VT_NULL:
        out->vt = vt;
        break;
      case VT_BSTR:
      case VT_LPSTR:
      case VT_LPWSTR:
        out->vt = vt;
        hr = DecodeElement(in, code_page, vt, &out->bstrVal, depth);
        break;
      case VT_BLOB:
      case VT_BLOB_OBJECT:
        out->vt = vt;
        hr = ReadBlob(in, &out->blob.cbSize, &out->blob.pBlobData);
        break;
      case VT_CF: {
        auto* clip = static_cast<CLIPDATA*>(TaskAlloc(sizeof(CLIPDATA)));
        *clip = CLIPDATA{};
        out->pclipdata = clip;
        out->vt = VT_CF;
        hr = ReadClipData(in, clip);
        break;
      }
      case VT_CLSID: {
        out->puuid = static_cast<CLSID*>(TaskAlloc(sizeof(CLSID)));
        out->vt = VT_CLSID;
        hr = ReadGuid(in, out->puuid);
        break;
      }
      default:
        return kBad;
    }
  }
  if (FAILED(hr)) return hr;
  guard.value = nullptr;
  return S_OK;
}

}  // namespace

HRESULT DecodeValue(ByteReader& in, uint32_t code_page, PROPVARIANT* out, IndirectRef* ref) {
  return DecodeAt(in, code_page, out, ref, 0);
}

HRESULT MeasureValue(std::span<const uint8_t> bytes, uint32_t code_page, size_t* length) {
  ByteReader in(bytes);
  PROPVARIANT value;
  HRESULT hr = DecodeValue(in, code_page, &value, nullptr);
  if (FAILED(hr)) return hr;
  PropVariantClear(&value);
  *length = in.position();
  return S_OK;
}

}  // namespace quillbox::propset
