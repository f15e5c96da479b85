// CLSIDFromProgID and ProgIDFromCLSID over the emulated registry.
#include "platform/com/progid.h"

#include <cstring>
#include <vector>

#include "platform/com/guid_text.h"
#include "platform/com/utf.h"
#include "quillbox/objbase.h"
#include "quillbox/winreg.h"

namespace quillbox::com {

std::optional<std::u16string> ReadClassesRootString(const std::u16string& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, reinterpret_cast<LPCWSTR>(path.c_str()), 0, KEY_READ,
                    &key) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  DWORD type = 0;
  DWORD size = 0;
  std::optional<std::u16string> result;
  if (RegQueryValueExW(key, nullptr, nullptr, &type, nullptr, &size) == ERROR_SUCCESS &&
      (type == REG_SZ || type == REG_EXPAND_SZ)) {
    std::vector<BYTE> data(size + sizeof(WCHAR));
    if (RegQueryValueExW(key, nullptr, nullptr, &type, data.data(), &size) == ERROR_SUCCESS) {
      std::u16string text(size / sizeof(WCHAR), u'\0');
      std::memcpy(text.data(), data.data(), text.size() * sizeof(WCHAR));
      while (!text.empty() && text.back() == u'\0') text.pop_back();
      result = std::move(text);
    }
  }
  RegCloseKey(key);
  return result;
}

}  // namespace quillbox::com

HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid) {
  if (!lpszProgID || !lpclsid) return E_INVALIDARG;
  std::u16string path(lpszProgID, quillbox::com::WideLength(lpszProgID));
  if (path.empty()) return CO_E_CLASSSTRING;
  const auto text = quillbox::com::ReadClassesRootString(path + u"\\CLSID");
  if (!text) return CO_E_CLASSSTRING;
  const auto guid = quillbox::com::GuidFromText(*text);
  if (!guid) return CO_E_CLASSSTRING;
  *lpclsid = *guid;
  return S_OK;
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID) {
  if (!lplpszProgID) return E_INVALIDARG;
  const auto progid = quillbox::com::ReadClassesRootString(
      u"CLSID\\" + quillbox::com::GuidToText(clsid) + u"\\ProgID");
  if (!progid || progid->empty()) return REGDB_E_CLASSNOTREG;
  const std::size_t bytes = (progid->size() + 1) * sizeof(OLECHAR);
  auto* out = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
  if (!out) return E_OUTOFMEMORY;
  std::memcpy(out, progid->c_str(), bytes);
  *lplpszProgID = out;
  return S_OK;
}
