// GUIDs as braced text, "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper-case
// when written, either case when read. Used by the public functions and by
// the rest of the library.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quillbox/guiddef.h"

namespace quillbox::com {

// Characters in the braced text, without a terminator.
inline constexpr std::size_t kGuidTextLength = 38;

std::u16string GuidToText(const GUID& guid);
std::string GuidToNarrowText(const GUID& guid);
// Reads exactly the braced form; anything else gives nothing.
std::optional<GUID> GuidFromText(std::u16string_view text);
std::optional<GUID> GuidFromNarrowText(std::string_view text);

}  // namespace quillbox::com
