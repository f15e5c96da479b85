// GetIDsOfNames over the type library.
#include "platform/automation/typelib/type_dispatch.h"

#include <string_view>

namespace quillbox::automation {
namespace {

char16_t Upper(char16_t c) { return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c; }

}  // namespace

bool SameNameNoCase(const char16_t* a, const char16_t* b) {
  if (!a || !b) return false;
  for (; *a && *b; ++a, ++b) {
    if (Upper(*a) != Upper(*b)) return false;
  }
  return *a == *b;
}

HRESULT GetIDsOfNamesFromTypeLib(const InterfaceDesc& desc, LPOLESTR* names, UINT count,
                                 DISPID* ids) {
  if (!ids || (count > 0 && !names)) return E_INVALIDARG;
  if (count == 0) return S_OK;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  // Parameters are named after the member's first slot that has them.
  const MemberDesc* member = nullptr;
  for (const auto& m : desc.members) {
    if (SameNameNoCase(m.name, names[0])) {
      if (!member || (member->params.empty() && !m.params.empty())) member = &m;
    }
  }
  if (!member) return DISP_E_UNKNOWNNAME;
  ids[0] = member->id;
  HRESULT hr = S_OK;
  for (UINT i = 1; i < count; ++i) {
    for (std::size_t p = 0; p < member->params.size(); ++p) {
      if (SameNameNoCase(member->params[p].name, names[i])) ids[i] = static_cast<DISPID>(p);
    }
    if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
  }
  return hr;
}

}  // namespace quillbox::automation
