// TypeLib: the library's types listed, looked up by index, GUID and name.
#include "platform/automation/typelib/type_lib.h"

#include "platform/automation/typelib/type_dispatch.h"
#include "platform/com/exception_guard.h"
#include "quillbox/oleauto.h"

namespace quillbox::automation {

HRESULT CreateTypeLibFromDescription(const LibraryDesc& desc, ITypeLib** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  return com::GuardedCall([&]() -> HRESULT {
    ComPtr<TypeLib> lib = com::MakeObject<TypeLib>(desc);
    if (!lib) return E_OUTOFMEMORY;
    *out = lib.detach();
    return S_OK;
  });
}

TypeLib::TypeLib(const LibraryDesc& desc) : desc_(desc) {
  // The listed types first, so that every name resolves to its index
  // before any function is described.
  for (const InterfaceDesc& i : desc.interfaces) {
    subjects_.push_back({.kind = TKIND_DISPATCH, .index = static_cast<UINT>(subjects_.size()), .interface_desc = &i});
  }
  for (const EnumDesc& e : desc.enums) {
    subjects_.push_back({.kind = TKIND_ENUM, .index = static_cast<UINT>(subjects_.size()), .enum_desc = &e});
  }
  for (const CoclassDesc& c : desc.coclasses) {
    subjects_.push_back({.kind = TKIND_COCLASS, .index = static_cast<UINT>(subjects_.size()), .coclass_desc = &c});
  }
  listed_ = static_cast<UINT>(subjects_.size());
  for (UINT k = 0; k < listed_; ++k) {
    TypeSubject& s = subjects_[k];
    if (s.interface_desc && s.interface_desc->dual) {
      s.partner = static_cast<HREFTYPE>(subjects_.size());
      subjects_.push_back({.kind = TKIND_INTERFACE, .index = k, .interface_desc = s.interface_desc, .partner = k});
    }
  }
  infos_.reserve(subjects_.size());
  for (const TypeSubject& s : subjects_) {
    infos_.push_back(std::make_unique<TypeInfo>(*this, s, static_cast<const HrefResolver&>(*this)));
  }
  attr_.guid = desc.libid;
  attr_.lcid = 0;
  attr_.syskind = SYS_WIN64;
  attr_.wMajorVerNum = desc.major_version;
  attr_.wMinorVerNum = desc.minor_version;
  attr_.wLibFlags = 0;
}

TypeInfo* TypeLib::InfoAt(HREFTYPE href) const {
  return href < infos_.size() ? infos_[href].get() : nullptr;
}

HREFTYPE TypeLib::HrefOfName(const char16_t* name) const {
  if (!name) return kNoHref;
  const std::u16string_view wanted(name);
  for (UINT k = 0; k < listed_; ++k) {
    const TypeSubject& s = subjects_[k];
    const char16_t* own = s.interface_desc ? s.interface_desc->name
                          : s.enum_desc    ? s.enum_desc->name
                                           : nullptr;  // coclasses are not parameter types
    if (own && wanted == own) return k;
  }
  return kNoHref;
}

STDMETHODIMP_(UINT) TypeLib::GetTypeInfoCount() { return listed_; }

STDMETHODIMP TypeLib::GetTypeInfo(UINT index, ITypeInfo** ppTInfo) {
  if (!ppTInfo) return E_INVALIDARG;
  *ppTInfo = nullptr;
  if (index >= listed_) return TYPE_E_ELEMENTNOTFOUND;
  infos_[index]->AddRef();
  *ppTInfo = infos_[index].get();
  return S_OK;
}

STDMETHODIMP TypeLib::GetTypeInfoType(UINT index, TYPEKIND* pTKind) {
  if (!pTKind) return E_INVALIDARG;
  if (index >= listed_) return TYPE_E_ELEMENTNOTFOUND;
  *pTKind = subjects_[index].kind;
  return S_OK;
}

STDMETHODIMP TypeLib::GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) {
  if (!ppTinfo) return E_INVALIDARG;
  *ppTinfo = nullptr;
  for (UINT k = 0; k < listed_; ++k) {
    const TypeSubject& s = subjects_[k];
    const bool match = (s.interface_desc && IsEqualGUID(s.interface_desc->iid, guid)) ||
                       (s.coclass_desc && IsEqualGUID(s.coclass_desc->clsid, guid));
    if (match) return GetTypeInfo(k, ppTinfo);
  }
  return TYPE_E_ELEMENTNOTFOUND;
}

STDMETHODIMP TypeLib::GetLibAttr(TLIBATTR** ppTLibAttr) {
  if (!ppTLibAttr) return E_INVALIDARG;
  *ppTLibAttr = &attr_;
  return S_OK;
}

STDMETHODIMP TypeLib::GetTypeComp(ITypeComp** ppTComp) {
  if (ppTComp) *ppTComp = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP TypeLib::GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                                       BSTR* pBstrHelpFile) {
  if (index >= 0) {
    if (static_cast<UINT>(index) >= listed_) return TYPE_E_ELEMENTNOTFOUND;
    return infos_[static_cast<UINT>(index)]->GetDocumentation(MEMBERID_NIL, pBstrName, pBstrDocString,
                                                              pdwHelpContext, pBstrHelpFile);
  }
  if (index != -1) return TYPE_E_ELEMENTNOTFOUND;
  BSTR name = nullptr;
  BSTR help = nullptr;
  if (pBstrName && !(name = SysAllocString(desc_.name))) return E_OUTOFMEMORY;
  if (pBstrDocString && desc_.help && !(help = SysAllocString(desc_.help))) {
    SysFreeString(name);
    return E_OUTOFMEMORY;
  }
  if (pBstrName) *pBstrName = name;
  if (pBstrDocString) *pBstrDocString = help;
  if (pdwHelpContext) *pdwHelpContext = 0;
  if (pBstrHelpFile) *pBstrHelpFile = nullptr;
  return S_OK;
}

namespace {

// Gives the name back in the library's spelling, as IsName and FindName do.
void CopySpelling(LPOLESTR buffer, const char16_t* spelling) {
  for (; *buffer && *spelling; ++buffer, ++spelling) *buffer = *spelling;
}

// The member of `info` called `name`, as (memid, spelling); MEMBERID_NIL
// and the type's own name when the type itself is called so.
bool FindInType(const TypeInfo& info, const char16_t* name, MEMBERID* memid, const char16_t** spelling) {
  if (SameNameNoCase(info.name().c_str(), name)) {
    *memid = MEMBERID_NIL;
    *spelling = info.name().c_str();
    return true;
  }
  for (const auto& f : info.funcs()) {
    if (SameNameNoCase(f->names.front().c_str(), name)) {
      *memid = f->desc.memid;
      *spelling = f->names.front().c_str();
      return true;
    }
  }
  for (const VarEntry& v : info.vars()) {
    if (SameNameNoCase(v.name.c_str(), name)) {
      *memid = v.desc.memid;
      *spelling = v.name.c_str();
      return true;
    }
  }
  return false;
}

}  // namespace

STDMETHODIMP TypeLib::IsName(LPOLESTR szNameBuf, ULONG, BOOL* pfName) {
  if (!szNameBuf || !pfName) return E_INVALIDARG;
  *pfName = FALSE;
  for (UINT k = 0; k < listed_; ++k) {
    MEMBERID memid;
    const char16_t* spelling;
    if (FindInType(*infos_[k], szNameBuf, &memid, &spelling)) {
      CopySpelling(szNameBuf, spelling);
      *pfName = TRUE;
      return S_OK;
    }
  }
  return S_OK;
}

STDMETHODIMP TypeLib::FindName(LPOLESTR szNameBuf, ULONG, ITypeInfo** ppTInfo, MEMBERID* rgMemId,
                               USHORT* pcFound) {
  if (!szNameBuf || !ppTInfo || !rgMemId || !pcFound) return E_INVALIDARG;
  USHORT found = 0;
  for (UINT k = 0; k < listed_ && found < *pcFound; ++k) {
    MEMBERID memid;
    const char16_t* spelling;
    if (!FindInType(*infos_[k], szNameBuf, &memid, &spelling)) continue;
    if (found == 0) CopySpelling(szNameBuf, spelling);
    infos_[k]->AddRef();
    ppTInfo[found] = infos_[k].get();
    rgMemId[found] = memid;
    ++found;
  }
  *pcFound = found;
  return S_OK;
}

// The attributes belong to the library: nothing to free.
STDMETHODIMP_(void) TypeLib::ReleaseTLibAttr(TLIBATTR*) {}

}  // namespace quillbox::automation
