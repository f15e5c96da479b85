// Registered type libraries: LoadRegTypeLib and QueryPathOfRegTypeLib read
// HKCR\TypeLib\{libid}\<major.minor>\0\win64; RegisterTypeLib and
// UnRegisterTypeLib write and remove those entries (and each interface's
// HKCR\Interface key) through com's typelib registration.
#include <charconv>
#include <string_view>

#include "platform/com/exception_guard.h"
#include "platform/com/guid_text.h"
#include "platform/com/registry/registry.h"
#include "platform/com/typelib_registration.h"
#include "platform/com/utf.h"
#include "quillbox/com_ptr.h"
#include "quillbox/oleauto.h"
#include "quillbox/winreg.h"

namespace quillbox::automation {
namespace {

// "major.minor" as the registration writes it.
bool ParseVersion(std::u16string_view text, WORD* major, WORD* minor) {
  const std::string narrow = com::Utf16ToUtf8(text);
  const char* end = narrow.data() + narrow.size();
  auto [dot, e1] = std::from_chars(narrow.data(), end, *major);
  if (e1 != std::errc() || dot == end || *dot != '.') return false;
  auto [rest, e2] = std::from_chars(dot + 1, end, *minor);
  return e2 == std::errc() && rest == end;
}

// The path of libid at major.minor, or else at the highest minor version
// above it with the same major version, as LoadRegTypeLib accepts.
std::u16string FindRegisteredPath(const GUID& libid, WORD major, WORD minor) {
  std::u16string path = com::RegisteredTypeLibPath(libid, major, minor);
  if (!path.empty()) return path;
  const auto versions = com::registry::ListRegistrySubkeys(HKEY_CLASSES_ROOT, u"TypeLib\\" + com::GuidToText(libid));
  int best = -1;
  for (const std::u16string& v : versions) {
    WORD ma = 0, mi = 0;
    if (!ParseVersion(v, &ma, &mi) || ma != major || mi < minor || mi <= best) continue;
    std::u16string candidate = com::RegisteredTypeLibPath(libid, ma, mi);
    if (candidate.empty()) continue;
    best = mi;
    path = std::move(candidate);
  }
  return path;
}

std::u16string Folder(const std::u16string& path) {
  const std::size_t slash = path.rfind(u'/');
  return slash == std::u16string::npos ? std::u16string() : path.substr(0, slash);
}

std::u16string TakeString(BSTR text) {
  std::u16string s = text ? std::u16string(text, SysStringLen(text)) : std::u16string();
  SysFreeString(text);
  return s;
}

// Every interface of the library, once per GUID (a dual's two views share one).
HRESULT ListInterfaces(ITypeLib* lib, std::vector<com::TypeLibInterfaceEntry>* out) {
  const UINT count = lib->GetTypeInfoCount();
  for (UINT k = 0; k < count; ++k) {
    TYPEKIND kind;
    if (FAILED(lib->GetTypeInfoType(k, &kind)) || (kind != TKIND_DISPATCH && kind != TKIND_INTERFACE)) continue;
    ComPtr<ITypeInfo> info;
    HRESULT hr = lib->GetTypeInfo(k, info.put());
    if (FAILED(hr)) return hr;
    TYPEATTR* attr = nullptr;
    if (FAILED(hr = info->GetTypeAttr(&attr))) return hr;
    const IID iid = attr->guid;
    info->ReleaseTypeAttr(attr);
    bool seen = false;
    for (const auto& e : *out) seen = seen || IsEqualIID(e.iid, iid);
    if (seen) continue;
    BSTR name = nullptr;
    if (FAILED(hr = info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr))) return hr;
    out->push_back({iid, TakeString(name)});
  }
  return S_OK;
}

}  // namespace
}  // namespace quillbox::automation

namespace qa = quillbox::automation;

STDAPI QueryPathOfRegTypeLib(REFGUID guid, USHORT wMaj, USHORT wMin, LCID, LPBSTR lpbstrPathName) {
  if (!lpbstrPathName) return E_INVALIDARG;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    const std::u16string path = qa::FindRegisteredPath(guid, wMaj, wMin);
    if (path.empty()) return TYPE_E_LIBNOTREGISTERED;
    *lpbstrPathName = SysAllocStringLen(path.data(), static_cast<UINT>(path.size()));
    return *lpbstrPathName ? S_OK : E_OUTOFMEMORY;
  });
}

STDAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID, ITypeLib** pptlib) {
  if (!pptlib) return E_INVALIDARG;
  *pptlib = nullptr;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    const std::u16string path = qa::FindRegisteredPath(rguid, wVerMajor, wVerMinor);
    if (path.empty()) return TYPE_E_LIBNOTREGISTERED;
    return LoadTypeLib(path.c_str(), pptlib);
  });
}

STDAPI RegisterTypeLib(ITypeLib* ptlib, LPCOLESTR szFullPath, LPCOLESTR szHelpDir) {
  if (!ptlib || !szFullPath) return E_INVALIDARG;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    TLIBATTR* attr = nullptr;
    HRESULT hr = ptlib->GetLibAttr(&attr);
    if (FAILED(hr)) return hr;
    quillbox::com::TypeLibRegistration r;
    r.libid = attr->guid;
    r.major = attr->wMajorVerNum;
    r.minor = attr->wMinorVerNum;
    ptlib->ReleaseTLibAttr(attr);
    BSTR name = nullptr;
    BSTR doc = nullptr;
    if (FAILED(hr = ptlib->GetDocumentation(-1, &name, &doc, nullptr, nullptr))) return hr;
    const std::u16string library_name = qa::TakeString(name);
    r.help = qa::TakeString(doc);
    if (r.help.empty()) r.help = library_name;  // the library's name stands in for a missing help string
    r.path = szFullPath;
    r.help_dir = szHelpDir ? std::u16string(szHelpDir) : qa::Folder(r.path);
    if (FAILED(hr = qa::ListInterfaces(ptlib, &r.interfaces))) return hr;
    return quillbox::com::WriteTypeLibRegistration(r);
  });
}

STDAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID, SYSKIND syskind) {
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    // Only 64-bit entries are ever written.
    if (syskind != SYS_WIN64) return TYPE_E_REGISTRYACCESS;
    const std::u16string path = quillbox::com::RegisteredTypeLibPath(libID, wVerMajor, wVerMinor);
    if (path.empty()) return TYPE_E_REGISTRYACCESS;
    quillbox::com::TypeLibRegistration r;
    r.libid = libID;
    r.major = wVerMajor;
    r.minor = wVerMinor;
    // The interfaces' keys go too when the library can still be loaded.
    quillbox::ComPtr<ITypeLib> lib;
    if (SUCCEEDED(LoadTypeLib(path.c_str(), lib.put()))) {
      const HRESULT hr = qa::ListInterfaces(lib.get(), &r.interfaces);
      if (FAILED(hr)) return hr;
    }
    return quillbox::com::RemoveTypeLibRegistration(r);
  });
}
