// DllRegisterServer and DllUnregisterServer.
#include "frame/registration.h"

#include "frame/class_table.h"
#include "frame/module.h"
#include "frame/registrar.h"
#include "platform/com/module_path.h"
#include "platform/com/typelib_registration.h"
#include "platform/com/utf.h"
#include "typelib/registry_scripts.h"
#include "typelib/type_library.h"

namespace quillbox::frame {
namespace {

Replacements ModuleReplacements() {
  return {{u"MODULE", com::Utf8ToUtf16(com::ModulePath())}};
}

com::TypeLibRegistration LibraryRegistration() {
  const typelib::LibraryDesc& lib = typelib::QuillboxLibrary();
  com::TypeLibRegistration r;
  r.libid = lib.libid;
  r.major = lib.major_version;
  r.minor = lib.minor_version;
  r.help = lib.help ? lib.help : u"";
  r.path = com::Utf8ToUtf16(com::ModulePath());
  const std::size_t slash = r.path.rfind(u'/');
  r.help_dir = slash == std::u16string::npos ? u"" : r.path.substr(0, slash);
  for (const typelib::InterfaceDesc& i : lib.interfaces) r.interfaces.push_back({i.iid, i.name});
  return r;
}

}  // namespace

HRESULT RegisterServer() {
  const Replacements replacements = ModuleReplacements();
  for (const ClassRow& row : ClassTable()) {
    const HRESULT hr = RunRegistryScript(typelib::RegistryScript(row.script_id), RegistrarMode::kRegister,
                                         replacements);
    if (FAILED(hr)) return hr;
  }
  return com::WriteTypeLibRegistration(LibraryRegistration());
}

HRESULT UnregisterServer() {
  const Replacements replacements = ModuleReplacements();
  HRESULT first = S_OK;
  for (const ClassRow& row : ClassTable()) {
    const HRESULT hr = RunRegistryScript(typelib::RegistryScript(row.script_id), RegistrarMode::kRemove,
                                         replacements);
    if (FAILED(hr) && SUCCEEDED(first)) first = hr;
  }
  const HRESULT hr = com::RemoveTypeLibRegistration(LibraryRegistration());
  return FAILED(first) ? first : hr;
}

}  // namespace quillbox::frame
