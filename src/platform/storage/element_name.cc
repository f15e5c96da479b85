// Checking caller-supplied element names.
#include "platform/storage/element_name.h"

#include "platform/storage/cfb_format.h"

namespace quillbox::storage {

HRESULT ParseElementName(const OLECHAR* name, bool for_create, std::u16string_view* out) {
  if (!name) return STG_E_INVALIDPOINTER;
  size_t length = 0;
  while (length <= kMaxNameUnits && name[length] != 0) ++length;
  if (length == 0 || length > kMaxNameUnits) return STG_E_INVALIDNAME;
  const std::u16string_view view(name, length);
  if (for_create && !IsValidElementName(view)) return STG_E_INVALIDNAME;
  *out = view;
  return S_OK;
}

}  // namespace quillbox::storage
