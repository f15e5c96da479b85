// Element names of property sets: the well-known names and the 26
// characters of base 32 ("abcdefghijklmnopqrstuvwxyz012345") that carry the
// FMTID's 128 bits, five at a time from the least significant bit of its
// first byte, after a \005.
#pragma once

#include <string>

#include "quillbox/propidl.h"

namespace quillbox::propset {

inline constexpr char16_t kSummaryName[] = u"\005SummaryInformation";
inline constexpr char16_t kDocSummaryName[] = u"\005DocumentSummaryInformation";

// The element a set lives in (the user-defined set shares the document
// summary's stream).
std::u16string SetElementName(const FMTID& fmtid);
// False for names that are not a property set's.
bool FmtIdFromElementName(std::u16string_view name, FMTID* fmtid);

}  // namespace quillbox::propset
