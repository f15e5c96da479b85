// Element names as callers pass them: checked for null, length and the
// characters the format forbids, without reading past 32 code units.
#pragma once

#include <string_view>

#include "quillbox/wtypes.h"

namespace quillbox::storage {

// STG_E_INVALIDPOINTER for null, STG_E_INVALIDNAME for an empty name or one
// longer than 31 units; for_create also refuses / \ : and !.
HRESULT ParseElementName(const OLECHAR* name, bool for_create, std::u16string_view* out);

}  // namespace quillbox::storage
