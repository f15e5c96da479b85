// ProgIDs and CLSIDs, looked up in the emulated registry under
// HKEY_CLASSES_ROOT: "<ProgID>\CLSID" and "CLSID\{clsid}\ProgID".
#pragma once

#include <optional>
#include <string>

#include "quillbox/guiddef.h"

namespace quillbox::com {

// The default value of HKEY_CLASSES_ROOT\<path>, if the key and value exist.
std::optional<std::u16string> ReadClassesRootString(const std::u16string& path);

}  // namespace quillbox::com
