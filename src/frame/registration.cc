// DllRegisterServer and DllUnregisterServer.
#include "frame/registration.h"

#include "frame/class_table.h"
#include "frame/library_type_info.h"
#include "frame/module.h"
#include "frame/registrar.h"
#include "platform/com/module_path.h"
#include "platform/com/utf.h"
#include "quillbox/com_ptr.h"
#include "quillbox/oleauto.h"
#include "typelib/registry_scripts.h"
#include "typelib/type_library.h"

namespace quillbox::frame {
namespace {

Replacements ModuleReplacements() {
  return {{u"MODULE", com::Utf8ToUtf16(com::ModulePath())}};
}

// The type library goes through the platform's RegisterTypeLib, as any
// component's would.
HRESULT RegisterLibrary() {
  ComPtr<ITypeLib> lib;
  const HRESULT hr = LibraryTypeLib(lib.put());
  if (FAILED(hr)) return hr;
  const std::u16string path = com::Utf8ToUtf16(com::ModulePath());
  return RegisterTypeLib(lib.get(), path.c_str(), nullptr);
}

HRESULT UnregisterLibrary() {
  const typelib::LibraryDesc& lib = typelib::QuillboxLibrary();
  const HRESULT hr = UnRegisterTypeLib(lib.libid, lib.major_version, lib.minor_version, 0, SYS_WIN64);
  return hr == TYPE_E_REGISTRYACCESS ? S_OK : hr;  // never registered: nothing to remove
}

}  // namespace

HRESULT RegisterServer() {
  const Replacements replacements = ModuleReplacements();
  for (const ClassRow& row : ClassTable()) {
    const HRESULT hr = RunRegistryScript(typelib::RegistryScript(row.script_id), RegistrarMode::kRegister,
                                         replacements);
    if (FAILED(hr)) return hr;
  }
  return RegisterLibrary();
}

HRESULT UnregisterServer() {
  const Replacements replacements = ModuleReplacements();
  HRESULT first = S_OK;
  for (const ClassRow& row : ClassTable()) {
    const HRESULT hr = RunRegistryScript(typelib::RegistryScript(row.script_id), RegistrarMode::kRemove,
                                         replacements);
    if (FAILED(hr) && SUCCEEDED(first)) first = hr;
  }
  const HRESULT hr = UnregisterLibrary();
  return FAILED(first) ? first : hr;
}

}  // namespace quillbox::frame
