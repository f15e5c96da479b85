// The library's ITypeLib, registered at start-up under the module's path.
#include "frame/library_type_info.h"

#include "platform/automation/typelib/module_type_libs.h"
#include "platform/automation/typelib/type_lib.h"
#include "platform/com/module_path.h"
#include "typelib/type_library.h"

namespace quillbox::frame {
namespace {

// At start-up, as modules register their string tables: a client may ask
// LoadTypeLib for the module's path before anything else of it has run.
[[maybe_unused]] const bool kLibraryRegistered = [] {
  automation::RegisterModuleTypeLib(com::ModulePath(), &typelib::QuillboxLibrary());
  return true;
}();

}  // namespace

HRESULT LibraryTypeLib(ITypeLib** out) {
  if (!out) return E_INVALIDARG;
  const HRESULT hr = automation::FindModuleTypeLib(com::ModulePath(), out);
  if (SUCCEEDED(hr)) return hr;
  // The module's path could not be told: serve the library all the same.
  static ITypeLib* const unlisted = [] {
    ITypeLib* lib = nullptr;
    automation::CreateTypeLibFromDescription(typelib::QuillboxLibrary(), &lib);
    return lib;
  }();
  if (!unlisted) return E_OUTOFMEMORY;
  unlisted->AddRef();
  *out = unlisted;
  return S_OK;
}

HRESULT LibraryTypeInfo(REFIID iid, ITypeInfo** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  ComPtr<ITypeLib> lib;
  const HRESULT hr = LibraryTypeLib(lib.put());
  if (FAILED(hr)) return hr;
  return lib->GetTypeInfoOfGuid(iid, out);
}

}  // namespace quillbox::frame
