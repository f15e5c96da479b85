// The type-library service over a small description: how a dual interface,
// a dispinterface, an enumeration and a coclass are served, Invoke through
// a type info, loading by module path and registration.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "platform/automation/typelib/module_type_libs.h"
#include "platform/automation/typelib/type_lib.h"
#include "platform/com/com_object.h"
#include "platform/com/utf.h"
#include "quillbox/platform.h"
#include "support/test_support.h"

using quillbox::ComPtr;
using namespace quillbox::automation;

namespace {

struct ICounter : public IDispatch {
  STDMETHOD(Add)(LONG amount, LONG* total) = 0;     // 1
  STDMETHOD(get_Total)(LONG* total) = 0;             // 2
  STDMETHOD(put_Total)(LONG total) = 0;              // 2
};
constexpr IID IID_ICounter = {0xC0C00001, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr IID IID_ICounterEvents = {0xC0C00002, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr CLSID CLSID_Counter = {0xC0C00003, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr GUID kLibId = {0xC0C00004, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};

}  // namespace
QUILLBOX_DECLARE_INTERFACE(ICounter, IDispatch, IID_ICounter);

namespace {

constexpr ParamDesc kAddParams[] = {
    {u"amount", {VT_I4}, Direction::kIn, true, {.kind = DefaultValue::Kind::kInteger, .integer = 1}}};
constexpr ParamDesc kPutTotalParams[] = {{u"newVal", {VT_I4}}};
constexpr MemberDesc kCounterMembers[] = {
    {u"Add", 1, MemberKind::kMethod, kAddParams, {VT_I4}, u"adds"},
    {u"Total", 2, MemberKind::kPropertyGet, {}, {VT_I4}},
    {u"Total", 2, MemberKind::kPropertyPut, kPutTotalParams},
};
constexpr InterfaceDesc kInterfaces[] = {
    {u"ICounter", IID_ICounter, kCounterMembers, u"ICounter Interface"},
    {u"ICounterEvents", IID_ICounterEvents, {}, nullptr, false},
};
constexpr EnumConstant kStepConstants[] = {{u"stepOne", 1}, {u"stepTen", 10}};
constexpr EnumDesc kEnums[] = {{u"StepEnum", kStepConstants}};
constexpr CoclassDesc kCoclasses[] = {
    {u"Counter", CLSID_Counter, u"ICounter", u"ICounterEvents", kTypeFlagCanCreate, u"Counter Class"}};
constexpr LibraryDesc kLibrary = {u"CounterLib", kLibId, 1, 2, u"Counter 1.2 Type Library",
                                  kInterfaces, kEnums, kCoclasses};

class Counter final : public quillbox::com::ComObject<Counter, ICounter> {
 public:
  STDMETHODIMP GetTypeInfoCount(UINT* n) override {
    *n = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP Add(LONG amount, LONG* total) override {
    *total = total_ += amount;
    return S_OK;
  }
  STDMETHODIMP get_Total(LONG* total) override {
    *total = total_;
    return S_OK;
  }
  STDMETHODIMP put_Total(LONG total) override {
    total_ = total;
    return S_OK;
  }

 private:
  LONG total_ = 0;
};

std::u16string Take(BSTR b) {
  std::u16string s = b ? std::u16string(b, SysStringLen(b)) : std::u16string();
  SysFreeString(b);
  return s;
}

ComPtr<ITypeLib> MakeLibrary() {
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(CreateTypeLibFromDescription(kLibrary, lib.put()), S_OK);
  return lib;
}

ComPtr<ITypeInfo> CounterInfo(ITypeLib* lib) {
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(lib->GetTypeInfoOfGuid(IID_ICounter, info.put()), S_OK);
  return info;
}

TYPEKIND KindOf(ITypeInfo* info) {
  TYPEATTR* attr = nullptr;
  EXPECT_EQ(info->GetTypeAttr(&attr), S_OK);
  const TYPEKIND kind = attr->typekind;
  info->ReleaseTypeAttr(attr);
  return kind;
}

TEST(TypeLibService, TypesAreListedInterfacesEnumerationsCoclasses) {
  ComPtr<ITypeLib> lib = MakeLibrary();
  ASSERT_EQ(lib->GetTypeInfoCount(), 4u);
  const TYPEKIND expected[] = {TKIND_DISPATCH, TKIND_DISPATCH, TKIND_ENUM, TKIND_COCLASS};
  for (UINT k = 0; k < 4; ++k) {
    TYPEKIND kind;
    ASSERT_EQ(lib->GetTypeInfoType(k, &kind), S_OK);
    EXPECT_EQ(kind, expected[k]);
  }
  TYPEKIND kind;
  EXPECT_EQ(lib->GetTypeInfoType(4, &kind), TYPE_E_ELEMENTNOTFOUND);
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(lib->GetTypeInfo(4, info.put()), TYPE_E_ELEMENTNOTFOUND);
  EXPECT_EQ(lib->GetTypeInfoOfGuid(GUID_NULL, info.put()), TYPE_E_ELEMENTNOTFOUND);
}

TEST(TypeLibService, DualInterfaceReachesItsVtableViewAndBack) {
  ComPtr<ITypeLib> lib = MakeLibrary();
  ComPtr<ITypeInfo> dispatch = CounterInfo(lib.get());
  HREFTYPE href;
  ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &href), S_OK);
  ComPtr<ITypeInfo> vtable;
  ASSERT_EQ(dispatch->GetRefTypeInfo(href, vtable.put()), S_OK);
  EXPECT_EQ(KindOf(vtable.get()), TKIND_INTERFACE);
  ASSERT_EQ(vtable->GetRefTypeOfImplType(static_cast<UINT>(-1), &href), S_OK);
  ComPtr<ITypeInfo> back;
  ASSERT_EQ(vtable->GetRefTypeInfo(href, back.put()), S_OK);
  EXPECT_EQ(back.get(), dispatch.get());
  UINT index = 99;
  ASSERT_EQ(vtable->GetContainingTypeLib(nullptr, &index), S_OK);
  EXPECT_EQ(index, 0u);
}

TEST(TypeLibService, DispatchViewTurnsTheRetvalIntoTheReturnType) {
  ComPtr<ITypeInfo> info = CounterInfo(MakeLibrary().get());
  FUNCDESC* f = nullptr;
  ASSERT_EQ(info->GetFuncDesc(7, &f), S_OK);  // after IUnknown's and IDispatch's seven
  EXPECT_EQ(f->memid, 1);
  EXPECT_EQ(f->invkind, INVOKE_FUNC);
  EXPECT_EQ(f->elemdescFunc.tdesc.vt, VT_I4);
  ASSERT_EQ(f->cParams, 1);
  EXPECT_EQ(f->lprgelemdescParam[0].paramdesc.wParamFlags, PARAMFLAG_FIN | PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT);
  const VARIANT& d = f->lprgelemdescParam[0].paramdesc.pparamdescex->varDefaultValue;
  EXPECT_EQ(d.vt, VT_I4);
  EXPECT_EQ(d.lVal, 1);
  info->ReleaseFuncDesc(f);
  EXPECT_EQ(info->GetFuncDesc(10, &f), TYPE_E_ELEMENTNOTFOUND);
}

TEST(TypeLibService, VtableViewNamesTheRetvalParameter) {
  ComPtr<ITypeInfo> dispatch = CounterInfo(MakeLibrary().get());
  HREFTYPE href;
  ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &href), S_OK);
  ComPtr<ITypeInfo> vtable;
  ASSERT_EQ(dispatch->GetRefTypeInfo(href, vtable.put()), S_OK);
  BSTR names[4] = {};
  UINT count = 0;
  ASSERT_EQ(vtable->GetNames(1, names, 4, &count), S_OK);
  ASSERT_EQ(count, 3u);
  EXPECT_EQ(Take(names[0]), u"Add");
  EXPECT_EQ(Take(names[1]), u"amount");
  EXPECT_EQ(Take(names[2]), kDefaultResultName);
  EXPECT_EQ(vtable->GetNames(77, names, 4, &count), TYPE_E_ELEMENTNOTFOUND);
}

TEST(TypeLibService, MemberHelpComesFromTheDescription) {
  ComPtr<ITypeInfo> info = CounterInfo(MakeLibrary().get());
  BSTR name = nullptr, doc = nullptr;
  ASSERT_EQ(info->GetDocumentation(1, &name, &doc, nullptr, nullptr), S_OK);
  EXPECT_EQ(Take(name), u"Add");
  EXPECT_EQ(Take(doc), u"adds");
  ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, &name, &doc, nullptr, nullptr), S_OK);
  EXPECT_EQ(Take(name), u"ICounter");
  EXPECT_EQ(Take(doc), u"ICounter Interface");
}

TEST(TypeLibService, EnumerationConstantsAreConstVariables) {
  ComPtr<ITypeLib> lib = MakeLibrary();
  ComPtr<ITypeInfo> info;
  ASSERT_EQ(lib->GetTypeInfo(2, info.put()), S_OK);
  VARDESC* v = nullptr;
  ASSERT_EQ(info->GetVarDesc(1, &v), S_OK);
  EXPECT_EQ(v->varkind, VAR_CONST);
  EXPECT_EQ(v->lpvarValue->vt, VT_I4);
  EXPECT_EQ(v->lpvarValue->lVal, 10);
  BSTR name = nullptr;
  ASSERT_EQ(info->GetDocumentation(v->memid, &name, nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(Take(name), u"stepTen");
  info->ReleaseVarDesc(v);
  EXPECT_EQ(info->GetVarDesc(2, &v), TYPE_E_ELEMENTNOTFOUND);
}

TEST(TypeLibService, CoclassMarksDefaultAndSourceInterfaces) {
  ComPtr<ITypeLib> lib = MakeLibrary();
  ComPtr<ITypeInfo> info;
  ASSERT_EQ(lib->GetTypeInfoOfGuid(CLSID_Counter, info.put()), S_OK);
  INT flags = 0;
  ASSERT_EQ(info->GetImplTypeFlags(1, &flags), S_OK);
  EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
  HREFTYPE href;
  ASSERT_EQ(info->GetRefTypeOfImplType(1, &href), S_OK);
  ComPtr<ITypeInfo> events;
  ASSERT_EQ(info->GetRefTypeInfo(href, events.put()), S_OK);
  TYPEATTR* attr = nullptr;
  ASSERT_EQ(events->GetTypeAttr(&attr), S_OK);
  EXPECT_TRUE(IsEqualGUID(attr->guid, IID_ICounterEvents));
  EXPECT_EQ(attr->wTypeFlags & TYPEFLAG_FDUAL, 0);
  events->ReleaseTypeAttr(attr);
  EXPECT_EQ(info->GetImplTypeFlags(2, &flags), TYPE_E_ELEMENTNOTFOUND);
}

TEST(TypeLibService, TypeInfoKeepsItsLibraryAlive) {
  ComPtr<ITypeInfo> info = CounterInfo(MakeLibrary().get());
  ComPtr<ITypeLib> lib;
  UINT index = 0;
  ASSERT_EQ(info->GetContainingTypeLib(lib.put(), &index), S_OK);
  EXPECT_EQ(lib->GetTypeInfoCount(), 4u);
}

TEST(TypeLibService, IsNameAndFindNameGiveTheLibrarySpelling) {
  ComPtr<ITypeLib> lib = MakeLibrary();
  char16_t buffer[] = u"STEPTEN";
  BOOL found = FALSE;
  ASSERT_EQ(lib->IsName(buffer, 0, &found), S_OK);
  EXPECT_TRUE(found);
  EXPECT_EQ(std::u16string(buffer), u"stepTen");
  char16_t missing[] = u"nothing";
  ASSERT_EQ(lib->IsName(missing, 0, &found), S_OK);
  EXPECT_FALSE(found);

  char16_t total[] = u"total";
  ITypeInfo* infos[2] = {};
  MEMBERID ids[2] = {};
  USHORT count = 2;
  ASSERT_EQ(lib->FindName(total, 0, infos, ids, &count), S_OK);
  ASSERT_EQ(count, 1);
  EXPECT_EQ(ids[0], 2);
  EXPECT_EQ(std::u16string(total), u"Total");
  infos[0]->Release();
}

TEST(TypeLibService, InvokeThroughTheTypeInfoCallsTheVtable) {
  ComPtr<ITypeInfo> info = CounterInfo(MakeLibrary().get());
  ComPtr<Counter> counter = quillbox::com::MakeObject<Counter>();
  ICounter* instance = counter.get();
  VARIANT arg;
  VariantInit(&arg);
  arg.vt = VT_BSTR;
  arg.bstrVal = SysAllocString(u"5");
  DISPPARAMS params{&arg, nullptr, 1, 0};
  VARIANT result;
  ASSERT_EQ(info->Invoke(instance, 1, DISPATCH_METHOD, &params, &result, nullptr, nullptr), S_OK);
  EXPECT_EQ(result.vt, VT_I4);
  EXPECT_EQ(result.lVal, 5);
  VariantClear(&arg);
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  ASSERT_EQ(DispInvoke(instance, info.get(), 1, DISPATCH_METHOD, &none, &result, nullptr, nullptr), S_OK);
  EXPECT_EQ(result.lVal, 6) << "the default of 1 is used";
  LPOLESTR name = const_cast<LPOLESTR>(u"TOTAL");
  DISPID id = 0;
  ASSERT_EQ(DispGetIDsOfNames(info.get(), &name, 1, &id), S_OK);
  EXPECT_EQ(id, 2);
}

TEST(TypeLibService, WhatIsNotServedSaysSo) {
  ComPtr<ITypeLib> lib = MakeLibrary();
  ComPtr<ITypeInfo> info = CounterInfo(lib.get());
  ComPtr<ITypeComp> comp;
  EXPECT_EQ(info->GetTypeComp(comp.put()), E_NOTIMPL);
  EXPECT_EQ(lib->GetTypeComp(comp.put()), E_NOTIMPL);
  PVOID address = reinterpret_cast<PVOID>(1);
  EXPECT_EQ(info->AddressOfMember(1, INVOKE_FUNC, &address), TYPE_E_BADMODULEKIND);
  EXPECT_EQ(address, nullptr);
  BSTR mops = reinterpret_cast<BSTR>(1);
  EXPECT_EQ(info->GetMops(1, &mops), S_OK);
  EXPECT_EQ(mops, nullptr);
  HREFTYPE base;
  ASSERT_EQ(info->GetRefTypeOfImplType(0, &base), S_OK);
  ComPtr<ITypeInfo> dispatch_base;
  EXPECT_EQ(info->GetRefTypeInfo(base, dispatch_base.put()), TYPE_E_ELEMENTNOTFOUND);
  ComPtr<ITypeInfo> enumeration;
  ASSERT_EQ(lib->GetTypeInfo(2, enumeration.put()), S_OK);
  Counter* no_object = nullptr;
  EXPECT_EQ(enumeration->Invoke(no_object, 1, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
            TYPE_E_WRONGTYPEKIND);
}

// Loading by path and registration.

std::u16string Wide(const std::string& s) { return quillbox::com::Utf8ToUtf16(s); }

TEST(LoadTypeLibrary, RegisteredModulePathGivesItsLibrary) {
  quillbox::testing::ScratchDir dir;
  const std::string module = (dir / "counter.so").string();
  std::ofstream(module) << "stand-in";
  RegisterModuleTypeLib(module, &kLibrary);
  ComPtr<ITypeLib> a, b;
  ASSERT_EQ(LoadTypeLib(Wide(module).c_str(), a.put()), S_OK);
  ASSERT_EQ(LoadTypeLibEx(Wide(module).c_str(), REGKIND_NONE, b.put()), S_OK);
  EXPECT_EQ(a.get(), b.get());
  TLIBATTR* attr = nullptr;
  ASSERT_EQ(a->GetLibAttr(&attr), S_OK);
  EXPECT_TRUE(IsEqualGUID(attr->guid, kLibId));
  a->ReleaseTLibAttr(attr);
}

TEST(LoadTypeLibrary, MissingFileCannotBeLoaded) {
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadTypeLib(u"/nonexistent/folder/lib.so", lib.put()), TYPE_E_CANTLOADLIBRARY);
  EXPECT_EQ(LoadTypeLib(nullptr, lib.put()), E_INVALIDARG);
}

TEST(LoadTypeLibrary, FileThatIsNoModuleCannotBeLoaded) {
  quillbox::testing::ScratchDir dir;
  const std::string text = (dir / "notes.txt").string();
  std::ofstream(text) << "plain text";
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadTypeLib(Wide(text).c_str(), lib.put()), TYPE_E_CANTLOADLIBRARY);
}

TEST(LoadTypeLibrary, ModuleWithoutALibraryCannotBeLoaded) {
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadTypeLib(Wide(QUILLBOX_TEST_INPROC_SERVER).c_str(), lib.put()), TYPE_E_CANTLOADLIBRARY);
}

class RegisterTypeLibTest : public ::testing::Test {
 protected:
  void SetUp() override {
    module_ = (dir_ / "counter.so").string();
    std::ofstream(module_) << "stand-in";
    RegisterModuleTypeLib(module_, &kLibrary);
    ASSERT_EQ(LoadTypeLib(Wide(module_).c_str(), lib_.put()), S_OK);
  }
  void TearDown() override { UnRegisterTypeLib(kLibId, 1, 2, 0, SYS_WIN64); }

  quillbox::testing::ScratchDir dir_;
  std::string module_;
  ComPtr<ITypeLib> lib_;
};

TEST_F(RegisterTypeLibTest, RegisteredLibraryIsFoundByLibidAndVersion) {
  ASSERT_EQ(RegisterTypeLib(lib_.get(), Wide(module_).c_str(), nullptr), S_OK);
  ComPtr<ITypeLib> found;
  ASSERT_EQ(LoadRegTypeLib(kLibId, 1, 2, 0, found.put()), S_OK);
  EXPECT_EQ(found.get(), lib_.get());
  ASSERT_EQ(LoadRegTypeLib(kLibId, 1, 0, 0, found.put()), S_OK) << "a higher minor version serves";
  EXPECT_EQ(LoadRegTypeLib(kLibId, 1, 3, 0, found.put()), TYPE_E_LIBNOTREGISTERED);
  EXPECT_EQ(LoadRegTypeLib(kLibId, 2, 0, 0, found.put()), TYPE_E_LIBNOTREGISTERED);
}

TEST_F(RegisterTypeLibTest, UnregisteredLibraryIsNoLongerFound) {
  ASSERT_EQ(RegisterTypeLib(lib_.get(), Wide(module_).c_str(), nullptr), S_OK);
  ASSERT_EQ(UnRegisterTypeLib(kLibId, 1, 2, 0, SYS_WIN64), S_OK);
  ComPtr<ITypeLib> found;
  EXPECT_EQ(LoadRegTypeLib(kLibId, 1, 2, 0, found.put()), TYPE_E_LIBNOTREGISTERED);
  BSTR path = nullptr;
  EXPECT_EQ(QueryPathOfRegTypeLib(kLibId, 1, 2, 0, &path), TYPE_E_LIBNOTREGISTERED);
  EXPECT_EQ(UnRegisterTypeLib(kLibId, 1, 2, 0, SYS_WIN64), TYPE_E_REGISTRYACCESS);
}

TEST_F(RegisterTypeLibTest, RegisteringWithoutALibraryIsRefused) {
  EXPECT_EQ(RegisterTypeLib(nullptr, Wide(module_).c_str(), nullptr), E_INVALIDARG);
  EXPECT_EQ(RegisterTypeLib(lib_.get(), nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
