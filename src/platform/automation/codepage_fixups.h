// Where Windows' code page tables differ from iconv's: bytes that Windows
// maps and iconv leaves undefined (or maps elsewhere), and Windows'
// best-fit approximations used when converting UTF-16 to bytes.
#pragma once

#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "quillbox/wtypes.h"

namespace quillbox::automation {

struct ByteOverride {
  UINT code_page;
  WORD bytes;  // one byte, or lead << 8 | trail
  WCHAR unit;
};

// A best-fit approximation: the unit becomes the first of the candidate
// units that the page maps exactly.
struct BestFitRule {
  WCHAR unit;
  std::u16string_view candidates;
};

std::span<const ByteOverride> ByteOverrides();

// A user-defined (end-user character) area of a double-byte page: rows of
// lead bytes, each with up to two trail ranges, numbered in order into the
// private-use block from first_unit.
struct UserDefinedArea {
  UINT code_page;
  BYTE first_lead, last_lead;
  std::pair<BYTE, BYTE> trails[2];
  WCHAR first_unit;
};

std::span<const UserDefinedArea> UserDefinedAreas();

// Best-fit rules of one code page, applied only to units the page has no
// exact mapping for. Empty for pages without best fit.
std::vector<BestFitRule> BestFitRulesFor(UINT code_page);

// The last unit up to which the page folds Latin letters with diacritics to
// their base letter when it has no exact mapping (0: no folding). Windows'
// best fit folds U+00C0-U+024F on the Western single-byte pages and only
// Latin-1 on the East Asian ones.
WCHAR DiacriticFoldingLimit(UINT code_page);
// For Johab (1361): the conjoining jamo that Windows gives a code iconv
// reads as the compatibility jamo `unit`; 0 for other pages and units.
WCHAR ConjoiningJamo(UINT code_page, WCHAR unit);
// The base letter of a Latin letter with a diacritic, or 0.
WCHAR BaseLetter(WCHAR unit);

}  // namespace quillbox::automation
