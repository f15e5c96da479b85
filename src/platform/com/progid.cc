// CLSIDFromProgID and ProgIDFromCLSID over the emulated registry:
// HKEY_CLASSES_ROOT\<ProgID>\CLSID and HKEY_CLASSES_ROOT\CLSID\{clsid}\ProgID.
#include <cstring>

#include "platform/com/guid_text.h"
#include "platform/com/registry/registry.h"
#include "platform/com/utf.h"
#include "quillbox/objbase.h"

using quillbox::com::registry::ReadRegistryString;

HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid) {
  if (!lpszProgID || !lpclsid) return E_INVALIDARG;
  const std::u16string progid(lpszProgID, quillbox::com::WideLength(lpszProgID));
  if (progid.empty()) return CO_E_CLASSSTRING;
  const auto text = ReadRegistryString(HKEY_CLASSES_ROOT, progid + u"\\CLSID", u"");
  if (!text) return CO_E_CLASSSTRING;
  const auto guid = quillbox::com::GuidFromText(*text);
  if (!guid) return CO_E_CLASSSTRING;
  *lpclsid = *guid;
  return S_OK;
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID) {
  if (!lplpszProgID) return E_INVALIDARG;
  const auto progid = ReadRegistryString(
      HKEY_CLASSES_ROOT, u"CLSID\\" + quillbox::com::GuidToText(clsid) + u"\\ProgID", u"");
  if (!progid || progid->empty()) return REGDB_E_CLASSNOTREG;
  const std::size_t bytes = (progid->size() + 1) * sizeof(OLECHAR);
  auto* out = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
  if (!out) return E_OUTOFMEMORY;
  std::memcpy(out, progid->c_str(), bytes);
  *lplpszProgID = out;
  return S_OK;
}
