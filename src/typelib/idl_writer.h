// The library as IDL text: what src/typelib/quillbox.idl holds.
#pragma once

#include <string>

#include "typelib/type_library.h"

namespace quillbox::typelib {

// Throws std::invalid_argument for a type that IDL cannot spell (the data's
// own tests keep every type to the spellable ones).
std::string WriteIdl(const LibraryDesc& library);

}  // namespace quillbox::typelib
