// STATSTG for elements of a compound file, and the names callers free with
// CoTaskMemFree.
#pragma once

#include <string_view>

#include "platform/storage/compound_file.h"
#include "quillbox/objidl.h"

namespace quillbox::storage {

// Fills everything but the name.
void FillElementStat(CompoundFile& file, uint32_t id, DWORD mode, STATSTG* out);
// A CoTaskMemAlloc copy of name; null when memory runs out.
LPOLESTR CopyTaskName(std::u16string_view name);
FILETIME ToFileTime(uint64_t value);
uint64_t FromFileTime(const FILETIME& value);

}  // namespace quillbox::storage
