// The registry scripts of the classes, by resource id (101-120).
#pragma once

namespace quillbox::typelib {

// The text of script `id`, or null when there is none.
const char16_t* RegistryScript(unsigned id);

}  // namespace quillbox::typelib
