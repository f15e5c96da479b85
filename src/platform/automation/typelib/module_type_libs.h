// The type libraries that modules of this process register under their
// paths at start-up, as they register their string tables: LoadTypeLib
// finds a module's library by the module's path.
#pragma once

#include <string>

#include "platform/automation/typelib/type_description.h"

namespace quillbox::automation {

// Registers (or replaces) the library of the module at `path` (UTF-8, as
// com::ModulePath() gives it). `desc` must outlive the process.
void RegisterModuleTypeLib(const std::string& path, const LibraryDesc* desc);

// The library registered for `path`, made on first request and kept: every
// load of one path gives the same object. E_INVALIDARG when `out` is
// null; TYPE_E_CANTLOADLIBRARY when no module registered that path.
HRESULT FindModuleTypeLib(const std::string& path, ITypeLib** out);

}  // namespace quillbox::automation
