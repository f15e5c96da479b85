// The string tables that modules register for their instance handles, read
// by LoadStringA/LoadStringW. Texts are ANSI (in the module's code page).
#pragma once

#include <map>
#include <string>

#include "quillbox/wtypes.h"

namespace quillbox::com {

using StringTable = std::map<UINT, std::string>;

// Registers (or replaces) the table of a module; the table must outlive
// every later LoadString call on that instance.
void RegisterStringTable(HINSTANCE instance, const StringTable* table);

// The instance handle of the module this code is linked into: the load
// address of the shared object, so each module has its own.
HINSTANCE ThisModuleInstance();

}  // namespace quillbox::com
