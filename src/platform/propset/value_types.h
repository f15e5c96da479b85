// What the format allows for each VARTYPE: scalar sizes, the element types
// of vectors and of (version 1) safe arrays, and their sizes in memory.
#pragma once

#include <cstddef>

#include "quillbox/propidl.h"

namespace quillbox::propset {

struct ElementInfo {
  size_t fixed_size;      // bytes in the set, packed (0: variable, e.g. strings)
  size_t memory_size;     // bytes of one element in a PROPVARIANT's counted array
  size_t min_serialized;  // fewest bytes one element can take in the set
};

// Fixed-size scalars stored at the start of the value union (not DECIMAL,
// whose 16 bytes cover the whole PROPVARIANT, nor CLSID, held by pointer).
const ElementInfo* ScalarInfo(VARTYPE vt);
// Element types of VT_VECTOR and of VT_ARRAY; null when not allowed.
const ElementInfo* VectorElement(VARTYPE element);
const ElementInfo* ArrayElement(VARTYPE element);

}  // namespace quillbox::propset
