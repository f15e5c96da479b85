// The library as C++: what include/quillbox/quillbox.h holds.
#pragma once

#include <string>

#include "typelib/type_library.h"

namespace quillbox::typelib {

// Throws std::invalid_argument for a type that has no C++ spelling here.
std::string WriteHeader(const LibraryDesc& library);

}  // namespace quillbox::typelib
