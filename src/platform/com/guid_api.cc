// Identifiers: new GUIDs and the text forms of CLSIDs and IIDs.
#include <sys/random.h>

#include <cerrno>
#include <cstring>

#include "platform/com/guid_text.h"
#include "platform/com/utf.h"
#include "quillbox/objbase.h"

using quillbox::com::GuidFromText;
using quillbox::com::GuidToText;
using quillbox::com::kGuidTextLength;

namespace {

bool FillRandom(void* buffer, std::size_t size) {
  auto* p = static_cast<unsigned char*>(buffer);
  while (size > 0) {
    const ssize_t got = getrandom(p, size, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

HRESULT AllocText(REFGUID guid, LPOLESTR* out) {
  if (!out) return E_INVALIDARG;
  auto* text = static_cast<LPOLESTR>(CoTaskMemAlloc(CHARS_IN_GUID * sizeof(OLECHAR)));
  if (!text) return E_OUTOFMEMORY;
  StringFromGUID2(guid, text, CHARS_IN_GUID);
  *out = text;
  return S_OK;
}

}  // namespace

HRESULT CoCreateGuid(GUID* pguid) {
  if (!pguid) return E_INVALIDARG;
  GUID g;
  if (!FillRandom(&g, sizeof g)) return HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY);
  // Random GUIDs carry version 4 and the standard variant (10xx).
  g.Data3 = static_cast<std::uint16_t>((g.Data3 & 0x0FFF) | 0x4000);
  g.Data4[0] = static_cast<std::uint8_t>((g.Data4[0] & 0x3F) | 0x80);
  *pguid = g;
  return S_OK;
}

int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
  if (!lpsz || cchMax < CHARS_IN_GUID) return 0;
  const std::u16string text = GuidToText(rguid);
  std::memcpy(lpsz, text.data(), kGuidTextLength * sizeof(OLECHAR));
  lpsz[kGuidTextLength] = 0;
  return CHARS_IN_GUID;
}

HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz) { return AllocText(rclsid, lplpsz); }
HRESULT StringFromIID(REFIID riid, LPOLESTR* lplpsz) { return AllocText(riid, lplpsz); }

HRESULT IIDFromString(LPCOLESTR lpsz, LPIID lpiid) {
  if (!lpiid) return E_INVALIDARG;
  if (!lpsz) {
    *lpiid = IID_NULL;
    return S_OK;
  }
  const auto guid = GuidFromText(std::u16string_view(lpsz, quillbox::com::WideLength(lpsz)));
  if (!guid) return E_INVALIDARG;
  *lpiid = *guid;
  return S_OK;
}

// Braced text is read as a CLSID; any other text is taken as a ProgID and
// looked up in the registry. Malformed braced text and unknown ProgIDs both
// give CO_E_CLASSSTRING.
HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid) {
  if (!pclsid) return E_INVALIDARG;
  if (!lpsz) {
    *pclsid = CLSID_NULL;
    return S_OK;
  }
  const std::u16string_view text(lpsz, quillbox::com::WideLength(lpsz));
  if (!text.empty() && text.front() == u'{') {
    const auto guid = GuidFromText(text);
    if (!guid) return CO_E_CLASSSTRING;
    *pclsid = *guid;
    return S_OK;
  }
  CLSID found;
  if (FAILED(CLSIDFromProgID(lpsz, &found))) return CO_E_CLASSSTRING;
  *pclsid = found;
  return S_OK;
}
