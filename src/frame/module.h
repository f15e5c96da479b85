// The module object: the library's instance handle, by which its messages
// are loaded. The type library's identity lives with its data (typelib/).
#pragma once

#include "quillbox/guiddef.h"

namespace quillbox::frame {

// The library's instance handle; its string table is registered on first use.
HINSTANCE ModuleInstance();

}  // namespace quillbox::frame
