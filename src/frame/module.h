// The module object: the library's instance handle (by which its messages
// are loaded) and its type-library identity.
#pragma once

#include "quillbox/guiddef.h"

namespace quillbox::frame {

// LIBID of the type library Quillbox 1.0.
inline constexpr GUID kLibId = {0x8A7D0641, 0x6242, 0x11D4, {0x9F, 0x08, 0x40, 0x00, 0x04, 0x05, 0x30, 0x24}};

// The library's instance handle; its string table is registered on first use.
HINSTANCE ModuleInstance();

}  // namespace quillbox::frame
