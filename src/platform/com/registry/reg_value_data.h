// Value data between its stored form and callers: string types are kept as
// UTF-16LE with a terminator; A callers give and get UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quillbox/winreg.h"

namespace quillbox::com::registry {

// REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ: the types an A caller sees as text.
bool IsStringType(DWORD type);

std::vector<BYTE> WideToBytes(std::u16string_view text);
// Little-endian units; an odd last byte is dropped.
std::u16string BytesToWide(const BYTE* bytes, std::size_t size);

// True if the data is one line of text and its single terminator, so the
// .reg text can hold it as a quoted string.
bool IsPlainStringData(const std::vector<BYTE>& data);

// What a W caller's bytes become when stored: REG_SZ and REG_EXPAND_SZ get
// whole UTF-16 units ending in a terminator (a missing one is added).
std::vector<BYTE> StoredFromWide(DWORD type, const BYTE* data, DWORD size);
// The same for an A caller: string types arrive as UTF-8 and are widened.
std::vector<BYTE> StoredFromNarrow(DWORD type, const BYTE* data, DWORD size);
// Stored data as an A caller receives it: string types in UTF-8.
std::vector<BYTE> NarrowFromStored(DWORD type, const std::vector<BYTE>& stored);

}  // namespace quillbox::com::registry
