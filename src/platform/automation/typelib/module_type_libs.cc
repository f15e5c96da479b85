// The table of module type libraries, and LoadTypeLib/LoadTypeLibEx over it.
#include "platform/automation/typelib/module_type_libs.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

#include <map>
#include <mutex>

#include "platform/automation/typelib/type_lib.h"
#include "platform/com/exception_guard.h"
#include "platform/com/utf.h"
#include "quillbox/oleauto.h"

namespace quillbox::automation {
namespace {

struct Entry {
  const LibraryDesc* desc = nullptr;
  ComPtr<ITypeLib> lib;  // made on first request
};

struct Table {
  std::mutex mutex;
  std::map<std::string, Entry> by_path;
};

// Never destroyed: libraries handed out stay valid while the process ends.
Table& ModuleTable() {
  static Table* table = new Table;
  return *table;
}

// Paths compare after links are resolved, so a library is found however
// the module's file is named.
std::string Canonical(const std::string& path) {
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved)) return resolved;
  return path;
}

}  // namespace

void RegisterModuleTypeLib(const std::string& path, const LibraryDesc* desc) {
  Table& t = ModuleTable();
  std::lock_guard lock(t.mutex);
  Entry& e = t.by_path[Canonical(path)];
  if (e.desc != desc) e.lib = nullptr;
  e.desc = desc;
}

HRESULT FindModuleTypeLib(const std::string& path, ITypeLib** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  return com::GuardedCall([&]() -> HRESULT {
    Table& t = ModuleTable();
    std::lock_guard lock(t.mutex);
    auto found = t.by_path.find(Canonical(path));
    if (found == t.by_path.end() || !found->second.desc) return TYPE_E_CANTLOADLIBRARY;
    Entry& e = found->second;
    if (!e.lib) {
      const HRESULT hr = CreateTypeLibFromDescription(*e.desc, e.lib.put());
      if (FAILED(hr)) return hr;
    }
    e.lib.copy_to(out);
    return S_OK;
  });
}

}  // namespace quillbox::automation

using quillbox::automation::FindModuleTypeLib;

STDAPI LoadTypeLib(LPCOLESTR szFile, ITypeLib** pptlib) {
  if (!szFile || !pptlib) return E_INVALIDARG;
  *pptlib = nullptr;
  return quillbox::com::GuardedCall([&]() -> HRESULT {
    const std::string path = quillbox::com::Utf16ToUtf8(szFile);
    if (SUCCEEDED(FindModuleTypeLib(path, pptlib))) return S_OK;
    // Not loaded yet: loading the module runs its start-up, which registers
    // its library.
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) return TYPE_E_CANTLOADLIBRARY;
    if (SUCCEEDED(FindModuleTypeLib(path, pptlib))) return S_OK;
    // A module with its own copy of this service registered the library in
    // that copy's table: ask the module's own LoadTypeLib. (The module stays
    // loaded: the library it hands out lives in it.)
    using LoadFunction = HRESULT (*)(LPCOLESTR, ITypeLib**);
    auto own = reinterpret_cast<LoadFunction>(dlsym(module, "LoadTypeLib"));
    if (own && own != &LoadTypeLib) return own(szFile, pptlib);
    return TYPE_E_CANTLOADLIBRARY;
  });
}

STDAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib) {
  if (!pptlib) return E_INVALIDARG;
  *pptlib = nullptr;
  if (regkind != REGKIND_DEFAULT && regkind != REGKIND_REGISTER && regkind != REGKIND_NONE) return E_INVALIDARG;
  quillbox::ComPtr<ITypeLib> lib;
  HRESULT hr = LoadTypeLib(szFile, lib.put());
  if (FAILED(hr)) return hr;
  if (regkind == REGKIND_REGISTER) {
    hr = RegisterTypeLib(lib.get(), szFile, nullptr);
    if (FAILED(hr)) return hr;
  }
  *pptlib = lib.detach();
  return S_OK;
}
