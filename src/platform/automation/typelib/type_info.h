// TypeInfo: one ITypeInfo of a TypeLib, built from the library's
// description. It is part of its library: it shares the library's
// reference count, so a client holding either keeps both alive, and its
// descriptions (TYPEATTR, FUNCDESC, VARDESC) are made once and live as long
// as it does; the Release* methods have nothing to free.
//
// Thread safety: everything is built in the constructor and never changes.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/automation/typelib/type_description.h"
#include "quillbox/oaidl.h"

namespace quillbox::automation {

class TypeLib;

// The HREFTYPE of no type of the library.
inline constexpr HREFTYPE kNoHref = 0xFFFFFFFF;
// The base every dispatch and dual interface names: stdole's IDispatch,
// which this service does not serve (GetRefTypeInfo answers
// TYPE_E_ELEMENTNOTFOUND for it).
inline constexpr HREFTYPE kDispatchBaseHref = 0xFFFFFFFE;

// What one ITypeInfo describes. A dual interface has two: its dispatch view
// (TKIND_DISPATCH, the one the library lists) and its vtable view
// (TKIND_INTERFACE, reached by GetRefTypeOfImplType(-1)).
struct TypeSubject {
  TYPEKIND kind = TKIND_ENUM;
  UINT index = 0;  // the library's index of the type (both views of a dual share it)
  const InterfaceDesc* interface_desc = nullptr;
  const EnumDesc* enum_desc = nullptr;
  const CoclassDesc* coclass_desc = nullptr;
  HREFTYPE partner = kNoHref;  // the other view of a dual interface
};

// One function as FUNCDESC, with the storage its pointers point into.
struct FuncEntry {
  FUNCDESC desc{};
  std::vector<ELEMDESC> params;
  std::deque<TYPEDESC> nodes;         // pointed-at types
  std::deque<PARAMDESCEX> defaults;   // default values
  std::vector<std::u16string> names;  // the function, then its parameters
  const MemberDesc* member = nullptr;
  FuncEntry() = default;
  FuncEntry(const FuncEntry&) = delete;
  FuncEntry& operator=(const FuncEntry&) = delete;
  ~FuncEntry();
};

// One constant of an enumeration as VARDESC.
struct VarEntry {
  VARDESC desc{};
  VARIANT value{};
  std::u16string name;
};

// Finds the HREFTYPE of the library's interface or enumeration by name.
class HrefResolver {
 public:
  virtual HREFTYPE HrefOfName(const char16_t* name) const = 0;

 protected:
  ~HrefResolver() = default;
};

// How a function is shown: through the vtable (HRESULT, the retval as a
// last [out, retval] parameter) or through IDispatch (the retval is the
// function's type).
enum class FunctionShape { kVtable, kDispatch };

// Builders, in type_info_describe.cc.
std::unique_ptr<FuncEntry> DescribeFunction(const MemberDesc& member, FunctionShape shape, SHORT vtable_offset,
                                            WORD func_flags, const HrefResolver& resolver);
void DescribeConstant(const EnumConstant& constant, MEMBERID memid, VarEntry* out);
// IUnknown's and IDispatch's seven members, as a dual interface's dispatch
// view lists them first (restricted), in dispatch_members.cc.
std::span<const MemberDesc> InheritedDispatchMembers();

class TypeInfo final : public ITypeInfo {
 public:
  TypeInfo(TypeLib& owner, const TypeSubject& subject, const HrefResolver& resolver);
  TypeInfo(const TypeInfo&) = delete;
  TypeInfo& operator=(const TypeInfo&) = delete;
  ~TypeInfo() = default;

  const TypeSubject& subject() const { return subject_; }
  const std::u16string& name() const { return name_; }
  std::span<const std::unique_ptr<FuncEntry>> funcs() const { return funcs_; }
  std::span<const VarEntry> vars() const { return vars_; }

  // IUnknown: the library's reference count.
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;

  // ITypeInfo
  STDMETHODIMP GetTypeAttr(TYPEATTR** ppTypeAttr) override;
  STDMETHODIMP GetTypeComp(ITypeComp** ppTComp) override;
  STDMETHODIMP GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) override;
  STDMETHODIMP GetVarDesc(UINT index, VARDESC** ppVarDesc) override;
  STDMETHODIMP GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames) override;
  STDMETHODIMP GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) override;
  STDMETHODIMP GetImplTypeFlags(UINT index, INT* pImplTypeFlags) override;
  STDMETHODIMP GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) override;
  STDMETHODIMP Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                      VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) override;
  STDMETHODIMP GetDocumentation(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                                BSTR* pBstrHelpFile) override;
  STDMETHODIMP GetDllEntry(MEMBERID memid, INVOKEKIND invKind, BSTR* pBstrDllName, BSTR* pBstrName,
                           WORD* pwOrdinal) override;
  STDMETHODIMP GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) override;
  STDMETHODIMP AddressOfMember(MEMBERID memid, INVOKEKIND invKind, PVOID* ppv) override;
  STDMETHODIMP CreateInstance(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) override;
  STDMETHODIMP GetMops(MEMBERID memid, BSTR* pBstrMops) override;
  STDMETHODIMP GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) override;
  STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR* pTypeAttr) override;
  STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC* pFuncDesc) override;
  STDMETHODIMP_(void) ReleaseVarDesc(VARDESC* pVarDesc) override;

 private:
  void DescribeType(const HrefResolver& resolver);
  const FuncEntry* FindFunc(MEMBERID memid) const;
  const VarEntry* FindVar(MEMBERID memid) const;
  std::u16string HelpOf(const FuncEntry& f) const;

  TypeLib& owner_;
  TypeSubject subject_;
  std::u16string name_;
  std::u16string help_;
  TYPEATTR attr_{};
  std::vector<std::unique_ptr<FuncEntry>> funcs_;
  std::vector<VarEntry> vars_;
};

}  // namespace quillbox::automation
