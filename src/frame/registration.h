// Registration of the library: each class's registry script, then the
// type library's entries.
#pragma once

#include "quillbox/winerror.h"

namespace quillbox::frame {

// Runs every row's script in registering mode, in table order, then
// registers the type library; the first failure is returned.
HRESULT RegisterServer();
// Runs every row's script in removing mode, then unregisters the type library.
HRESULT UnregisterServer();

}  // namespace quillbox::frame
