// Internals shared by the safe array files: the hidden prefix before each
// descriptor, element sizes, and element ownership (strings, objects and
// variants are owned by the array and copied deeply). Not synchronized: one
// array is used from one thread at a time, as on Windows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quillbox/oleauto.h"

namespace quillbox::automation {

// 16 bytes sit before every descriptor, as on Windows: the element type in
// the last 4 (FADF_HAVEVARTYPE) or the interface IID in all 16
// (FADF_HAVEIID).
inline constexpr std::size_t kDescriptorPrefix = 16;

// Bytes per element for a VARTYPE a safe array may hold, 0 for others.
ULONG SafeArrayElementSize(VARTYPE vt);

// Number of elements (product of the counts), or nullopt-like -1 when the
// total byte size would pass what one allocation may hold.
std::int64_t SafeArrayElementCount(const SAFEARRAY* psa);

// Releases what elements [first, first + count) own and zeroes them.
void ReleaseElements(SAFEARRAY* psa, std::size_t first, std::size_t count);

// Copies count elements from source into target (raw, not yet owning),
// deeply; on failure target's elements copied so far are released.
HRESULT CopyElements(const SAFEARRAY* source, void* target_data, std::size_t count);

}  // namespace quillbox::automation
