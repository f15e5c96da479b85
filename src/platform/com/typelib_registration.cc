// Writing and removing the registry entries of a type library.
#include "platform/com/typelib_registration.h"

#include "platform/com/guid_text.h"
#include "platform/com/registry/registry.h"
#include "quillbox/winreg.h"

namespace quillbox::com {
namespace {

// The automation marshaler, which dual interfaces name as their proxy.
constexpr char16_t kAutomationProxy[] = u"{00020424-0000-0000-C000-000000000046}";

std::u16string VersionText(WORD major, WORD minor) {
  std::string v = std::to_string(major) + "." + std::to_string(minor);
  return std::u16string(v.begin(), v.end());
}

std::u16string VersionKey(const TypeLibRegistration& r) {
  return u"TypeLib\\" + GuidToText(r.libid) + u"\\" + VersionText(r.major, r.minor);
}

HRESULT Check(LSTATUS s) { return s == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(static_cast<unsigned long>(s)); }

}  // namespace

HRESULT WriteTypeLibRegistration(const TypeLibRegistration& r) {
  using registry::WriteRegistryString;
  const std::u16string base = VersionKey(r);
  HRESULT hr;
  if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, base, u"", r.help)))) return hr;
  if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, base + u"\\FLAGS", u"", u"0")))) return hr;
  if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, base + u"\\HELPDIR", u"", r.help_dir)))) return hr;
  if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, base + u"\\0\\win64", u"", r.path)))) return hr;
  for (const auto& i : r.interfaces) {
    const std::u16string key = u"Interface\\" + GuidToText(i.iid);
    if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, key, u"", i.name)))) return hr;
    if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, key + u"\\ProxyStubClsid", u"", kAutomationProxy)))) return hr;
    if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, key + u"\\ProxyStubClsid32", u"", kAutomationProxy)))) return hr;
    if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, key + u"\\TypeLib", u"", GuidToText(r.libid))))) return hr;
    if (FAILED(hr = Check(WriteRegistryString(HKEY_CLASSES_ROOT, key + u"\\TypeLib", u"Version",
                                              VersionText(r.major, r.minor))))) {
      return hr;
    }
  }
  return S_OK;
}

HRESULT RemoveTypeLibRegistration(const TypeLibRegistration& r) {
  using registry::DeleteRegistryTree;
  LSTATUS s = DeleteRegistryTree(HKEY_CLASSES_ROOT, VersionKey(r));
  if (s != ERROR_SUCCESS && s != ERROR_FILE_NOT_FOUND) return Check(s);
  // The library's key goes too once no version is left under it.
  const std::u16string lib_key = u"TypeLib\\" + GuidToText(r.libid);
  if (registry::ListRegistrySubkeys(HKEY_CLASSES_ROOT, lib_key).empty()) {
    s = DeleteRegistryTree(HKEY_CLASSES_ROOT, lib_key);
    if (s != ERROR_SUCCESS && s != ERROR_FILE_NOT_FOUND) return Check(s);
  }
  for (const auto& i : r.interfaces) {
    s = DeleteRegistryTree(HKEY_CLASSES_ROOT, u"Interface\\" + GuidToText(i.iid));
    if (s != ERROR_SUCCESS && s != ERROR_FILE_NOT_FOUND) return Check(s);
  }
  return S_OK;
}

std::u16string RegisteredTypeLibPath(const GUID& libid, WORD major, WORD minor) {
  TypeLibRegistration r{libid, major, minor};
  return registry::ReadRegistryString(HKEY_CLASSES_ROOT, VersionKey(r) + u"\\0\\win64", u"").value_or(u"");
}

}  // namespace quillbox::com
