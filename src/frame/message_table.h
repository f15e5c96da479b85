// The library's string table: its messages (1, 200-261, no 211) and the
// descriptions 11, 100, 108, 117 and 119. Texts are exactly as clients see
// them, trailing blanks and line feeds included.
#pragma once

#include "platform/com/string_resources.h"

namespace quillbox::frame {

const com::StringTable& MessageTable();

}  // namespace quillbox::frame
