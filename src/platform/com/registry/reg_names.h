// Key and value names as the registry compares them: without regard to case,
// by upper-casing each UTF-16 unit, and the checks a name must pass.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "quillbox/winreg.h"

namespace quillbox::com::registry {

// Limits of the Windows registry that we keep too.
constexpr std::size_t kMaxKeyNameLength = 255;      // UTF-16 units per key name
constexpr std::size_t kMaxValueNameLength = 16383;  // UTF-16 units per value name
constexpr std::size_t kMaxKeyDepth = 512;           // levels below a root key

// Upper-case form of one UTF-16 unit (Latin, Greek and Cyrillic letters).
char16_t FoldUnit(char16_t unit);
std::u16string FoldName(std::u16string_view name);

// Case-insensitive comparison, the order in which subkeys are listed.
int CompareNames(std::u16string_view a, std::u16string_view b);
bool NamesEqual(std::u16string_view a, std::u16string_view b);

// True if the name can be stored in the .reg text: no line breaks (a .reg line
// cannot hold them) and no unpaired surrogates (UTF-8 cannot hold them).
bool IsStorableName(std::u16string_view name);

// Splits "a\b\c" into its key names. A single trailing backslash is
// tolerated; a leading one or an empty name in between gives
// ERROR_BAD_PATHNAME; an over-long or unstorable name ERROR_INVALID_PARAMETER.
LSTATUS SplitKeyPath(std::u16string_view path, std::vector<std::u16string_view>* names);

}  // namespace quillbox::com::registry
