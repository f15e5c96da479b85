// TypeInfo: the type attributes, functions and constants of one type, and
// ITypeInfo's questions answered from them.
#include "platform/automation/typelib/type_info.h"

#include <algorithm>

#include "platform/automation/typelib/type_dispatch.h"
#include "platform/automation/typelib/type_lib.h"
#include "platform/com/exception_guard.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"

namespace quillbox::automation {
namespace {

// Interfaces are pointers: 8 bytes, 8-byte aligned.
constexpr WORD kPointerSize = sizeof(void*);
// IUnknown's three and IDispatch's four slots come before a dual's members.
constexpr unsigned kDispatchSlots = 7;
// Enumeration constants are numbered from here, as type libraries number
// the variables of a type.
constexpr MEMBERID kFirstConstantId = 0x40000000;

constexpr WORD kDualFlags = TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE;

// Hands out a string as a BSTR when the caller asked for it.
HRESULT PutString(BSTR* out, const std::u16string& text, bool none = false) {
  if (!out) return S_OK;
  if (none) {
    *out = nullptr;
    return S_OK;
  }
  *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

TypeInfo::TypeInfo(TypeLib& owner, const TypeSubject& subject, const HrefResolver& resolver)
    : owner_(owner), subject_(subject) {
  DescribeType(resolver);
}

void TypeInfo::DescribeType(const HrefResolver& resolver) {
  attr_.lcid = 0;
  attr_.memidConstructor = MEMBERID_NIL;
  attr_.memidDestructor = MEMBERID_NIL;
  attr_.typekind = subject_.kind;
  attr_.cbSizeInstance = kPointerSize;
  attr_.cbAlignment = kPointerSize;
  attr_.tdescAlias.vt = VT_EMPTY;
  if (const InterfaceDesc* i = subject_.interface_desc) {
    name_ = i->name;
    help_ = i->help ? i->help : u"";
    attr_.guid = i->iid;
    attr_.cImplTypes = 1;  // IDispatch
    attr_.wTypeFlags = i->dual ? kDualFlags : static_cast<WORD>(TYPEFLAG_FDISPATCHABLE);
    const bool vtable = subject_.kind == TKIND_INTERFACE;
    if (!vtable && i->dual) {
      // The dispatch view of a dual interface lists IUnknown's and
      // IDispatch's members first, restricted.
      SHORT offset = 0;
      for (const MemberDesc& m : InheritedDispatchMembers()) {
        funcs_.push_back(DescribeFunction(m, FunctionShape::kDispatch, offset, FUNCFLAG_FRESTRICTED, resolver));
        offset = static_cast<SHORT>(offset + kPointerSize);
      }
    }
    for (std::size_t k = 0; k < i->members.size(); ++k) {
      // A pure dispinterface has no vtable: its functions have no offset.
      const SHORT offset = i->dual ? static_cast<SHORT>((kDispatchSlots + k) * kPointerSize) : 0;
      funcs_.push_back(DescribeFunction(i->members[k], vtable ? FunctionShape::kVtable : FunctionShape::kDispatch,
                                        offset, 0, resolver));
    }
    attr_.cbSizeVft = static_cast<WORD>((kDispatchSlots + (vtable ? i->members.size() : 0)) * kPointerSize);
  } else if (const EnumDesc* e = subject_.enum_desc) {
    name_ = e->name;
    attr_.cbSizeInstance = sizeof(LONG);
    attr_.cbAlignment = sizeof(LONG);
    vars_.resize(e->constants.size());
    for (std::size_t k = 0; k < e->constants.size(); ++k) {
      DescribeConstant(e->constants[k], kFirstConstantId + static_cast<MEMBERID>(k), &vars_[k]);
    }
  } else if (const CoclassDesc* c = subject_.coclass_desc) {
    name_ = c->name;
    help_ = c->help ? c->help : u"";
    attr_.guid = c->clsid;
    attr_.cImplTypes = c->source_interface ? 2 : 1;
    attr_.wTypeFlags = static_cast<WORD>(c->flags);
  }
  attr_.cFuncs = static_cast<WORD>(funcs_.size());
  attr_.cVars = static_cast<WORD>(vars_.size());
}

const FuncEntry* TypeInfo::FindFunc(MEMBERID memid) const {
  for (const auto& f : funcs_) {
    if (f->desc.memid == memid) return f.get();
  }
  return nullptr;
}

const VarEntry* TypeInfo::FindVar(MEMBERID memid) const {
  for (const VarEntry& v : vars_) {
    if (v.desc.memid == memid) return &v;
  }
  return nullptr;
}

std::u16string TypeInfo::HelpOf(const FuncEntry& f) const {
  // Only the inherited IUnknown and IDispatch members are restricted; they
  // carry no help string.
  if (f.desc.wFuncFlags & FUNCFLAG_FRESTRICTED) return {};
  const LibraryDesc& lib = owner_.desc();
  if (lib.member_help) return lib.member_help(*f.member);
  return f.member->help ? f.member->help : u"";
}

STDMETHODIMP TypeInfo::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_ITypeInfo)) return E_NOINTERFACE;
  *ppv = static_cast<ITypeInfo*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) TypeInfo::AddRef() { return owner_.AddRef(); }

// The last Release may delete the library and this object with it: nothing
// may touch a member afterwards.
STDMETHODIMP_(ULONG) TypeInfo::Release() { return owner_.Release(); }

STDMETHODIMP TypeInfo::GetTypeAttr(TYPEATTR** ppTypeAttr) {
  if (!ppTypeAttr) return E_INVALIDARG;
  *ppTypeAttr = &attr_;
  return S_OK;
}

STDMETHODIMP TypeInfo::GetTypeComp(ITypeComp** ppTComp) {
  if (ppTComp) *ppTComp = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP TypeInfo::GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) {
  if (!ppFuncDesc) return E_INVALIDARG;
  if (index >= funcs_.size()) return TYPE_E_ELEMENTNOTFOUND;
  *ppFuncDesc = &funcs_[index]->desc;
  return S_OK;
}

STDMETHODIMP TypeInfo::GetVarDesc(UINT index, VARDESC** ppVarDesc) {
  if (!ppVarDesc) return E_INVALIDARG;
  if (index >= vars_.size()) return TYPE_E_ELEMENTNOTFOUND;
  *ppVarDesc = &vars_[index].desc;
  return S_OK;
}

STDMETHODIMP TypeInfo::GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames) {
  if (!rgBstrNames || !pcNames) return E_INVALIDARG;
  return com::GuardedCall([&]() -> HRESULT {
    std::vector<std::u16string> names;
    if (const FuncEntry* f = FindFunc(memid)) {
      names = f->names;
    } else if (const VarEntry* v = FindVar(memid)) {
      names.push_back(v->name);
    } else {
      return TYPE_E_ELEMENTNOTFOUND;
    }
    const UINT count = std::min<UINT>(cMaxNames, static_cast<UINT>(names.size()));
    for (UINT i = 0; i < count; ++i) {
      if (FAILED(PutString(&rgBstrNames[i], names[i]))) {
        for (UINT k = 0; k < i; ++k) SysFreeString(rgBstrNames[k]);
        return E_OUTOFMEMORY;
      }
    }
    *pcNames = count;
    return S_OK;
  });
}

STDMETHODIMP TypeInfo::GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) {
  if (!pRefType) return E_INVALIDARG;
  HREFTYPE href = kNoHref;
  if (subject_.interface_desc) {
    if (index == 0) href = kDispatchBaseHref;
    if (index == static_cast<UINT>(-1)) href = subject_.partner;  // the other view of a dual
  } else if (const CoclassDesc* c = subject_.coclass_desc) {
    if (index == 0) href = owner_.HrefOfName(c->default_interface);
    if (index == 1 && c->source_interface) href = owner_.HrefOfName(c->source_interface);
  }
  if (href == kNoHref) return TYPE_E_ELEMENTNOTFOUND;
  *pRefType = href;
  return S_OK;
}

STDMETHODIMP TypeInfo::GetImplTypeFlags(UINT index, INT* pImplTypeFlags) {
  if (!pImplTypeFlags) return E_INVALIDARG;
  if (index >= attr_.cImplTypes) return TYPE_E_ELEMENTNOTFOUND;
  INT flags = 0;
  if (subject_.coclass_desc) {
    flags = index == 0 ? IMPLTYPEFLAG_FDEFAULT : IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE;
  }
  *pImplTypeFlags = flags;
  return S_OK;
}

STDMETHODIMP TypeInfo::GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) {
  if (!subject_.interface_desc) {
    if (!pMemId || (cNames && !rgszNames)) return E_INVALIDARG;
    for (UINT i = 0; i < cNames; ++i) pMemId[i] = MEMBERID_NIL;
    return cNames ? DISP_E_UNKNOWNNAME : S_OK;
  }
  return GetIDsOfNamesFromTypeLib(*subject_.interface_desc, rgszNames, cNames, pMemId);
}

STDMETHODIMP TypeInfo::Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                              VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) {
  // Only a dual interface has a vtable to call through.
  const InterfaceDesc* i = subject_.interface_desc;
  if (!i || !i->dual) return TYPE_E_WRONGTYPEKIND;
  if (!pvInstance) return E_INVALIDARG;
  return com::GuardedCall([&] {
    return InvokeFromTypeLib(*i, static_cast<IDispatch*>(pvInstance), memid, wFlags, pDispParams, pVarResult,
                             pExcepInfo, puArgErr, &owner_.desc());
  });
}

STDMETHODIMP TypeInfo::GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString,
                                        DWORD* pdwHelpContext, BSTR* pBstrHelpFile) {
  return com::GuardedCall([&]() -> HRESULT {
    std::u16string name;
    std::u16string help;
    if (memid == MEMBERID_NIL) {
      name = name_;
      help = help_;
    } else if (const FuncEntry* f = FindFunc(memid)) {
      name = f->names.front();
      help = HelpOf(*f);
    } else if (const VarEntry* v = FindVar(memid)) {
      name = v->name;
    } else {
      return TYPE_E_ELEMENTNOTFOUND;
    }
    BSTR out_name = nullptr;
    BSTR out_help = nullptr;
    if (FAILED(PutString(pBstrName ? &out_name : nullptr, name)) ||
        FAILED(PutString(pBstrDocString ? &out_help : nullptr, help, help.empty()))) {
      SysFreeString(out_name);
      return E_OUTOFMEMORY;
    }
    if (pBstrName) *pBstrName = out_name;
    if (pBstrDocString) *pBstrDocString = out_help;
    if (pdwHelpContext) *pdwHelpContext = 0;
    if (pBstrHelpFile) *pBstrHelpFile = nullptr;
    return S_OK;
  });
}

STDMETHODIMP TypeInfo::GetDllEntry(MEMBERID, INVOKEKIND, BSTR* pBstrDllName, BSTR* pBstrName, WORD* pwOrdinal) {
  // Only module types have entry points, and a description has none.
  if (pBstrDllName) *pBstrDllName = nullptr;
  if (pBstrName) *pBstrName = nullptr;
  if (pwOrdinal) *pwOrdinal = 0;
  return TYPE_E_BADMODULEKIND;
}

STDMETHODIMP TypeInfo::GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) {
  if (!ppTInfo) return E_INVALIDARG;
  *ppTInfo = nullptr;
  TypeInfo* info = owner_.InfoAt(hRefType);
  if (!info) return TYPE_E_ELEMENTNOTFOUND;
  info->AddRef();
  *ppTInfo = info;
  return S_OK;
}

STDMETHODIMP TypeInfo::AddressOfMember(MEMBERID, INVOKEKIND, PVOID* ppv) {
  if (ppv) *ppv = nullptr;
  return TYPE_E_BADMODULEKIND;
}

STDMETHODIMP TypeInfo::CreateInstance(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) {
  if (!ppvObj) return E_INVALIDARG;
  *ppvObj = nullptr;
  if (!subject_.coclass_desc) return TYPE_E_WRONGTYPEKIND;
  return CoCreateInstance(subject_.coclass_desc->clsid, pUnkOuter, CLSCTX_INPROC_SERVER, riid, ppvObj);
}

STDMETHODIMP TypeInfo::GetMops(MEMBERID, BSTR* pBstrMops) {
  // No marshaling opcodes are kept: the answer is always no string.
  if (!pBstrMops) return E_INVALIDARG;
  *pBstrMops = nullptr;
  return S_OK;
}

STDMETHODIMP TypeInfo::GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) {
  if (ppTLib) {
    owner_.AddRef();
    *ppTLib = &owner_;
  }
  if (pIndex) *pIndex = subject_.index;
  return S_OK;
}

// The descriptions belong to the type info: nothing to free.
STDMETHODIMP_(void) TypeInfo::ReleaseTypeAttr(TYPEATTR*) {}
STDMETHODIMP_(void) TypeInfo::ReleaseFuncDesc(FUNCDESC*) {}
STDMETHODIMP_(void) TypeInfo::ReleaseVarDesc(VARDESC*) {}

}  // namespace quillbox::automation
