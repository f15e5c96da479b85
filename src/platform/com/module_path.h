// The full path of the shared object (or program) this code was linked
// into: the "%MODULE%" of registration and the InprocServer32 value.
#pragma once

#include <string>

namespace quillbox::com {

std::string ModulePath();

}  // namespace quillbox::com
