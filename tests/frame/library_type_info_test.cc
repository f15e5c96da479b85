// The Quillbox library served as ITypeLib/ITypeInfo: every interface,
// member, parameter, enumeration and coclass read back through the
// interfaces and checked against the library's data; LoadRegTypeLib after
// registration; IDispatch of a class answered through its type info.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "platform/com/module_path.h"
#include "platform/com/utf.h"
#include "quillbox/platform.h"
#include "quillbox/quillbox.h"
#include "support/test_support.h"
#include "typelib/type_library.h"

using quillbox::ComPtr;
using namespace quillbox::typelib;

namespace {

std::u16string Take(BSTR b) {
  std::u16string s = b ? std::u16string(b, SysStringLen(b)) : std::u16string();
  SysFreeString(b);
  return s;
}

std::u16string ModulePath16() { return quillbox::com::Utf8ToUtf16(quillbox::com::ModulePath()); }

ComPtr<ITypeLib> Library() {
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadTypeLib(ModulePath16().c_str(), lib.put()), S_OK);
  return lib;
}

ComPtr<ITypeInfo> InfoOf(ITypeLib* lib, REFGUID guid) {
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(lib->GetTypeInfoOfGuid(guid, info.put()), S_OK);
  return info;
}

// The type info of the vtable view of a dual interface.
ComPtr<ITypeInfo> VtableView(ITypeInfo* dispatch) {
  HREFTYPE href = 0;
  EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &href), S_OK);
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(dispatch->GetRefTypeInfo(href, info.put()), S_OK);
  return info;
}

std::u16string NameOf(ITypeInfo* info, MEMBERID memid = MEMBERID_NIL) {
  BSTR name = nullptr;
  EXPECT_EQ(info->GetDocumentation(memid, &name, nullptr, nullptr, nullptr), S_OK);
  return Take(name);
}

std::vector<std::u16string> NamesOf(ITypeInfo* info, MEMBERID memid) {
  BSTR names[32] = {};
  UINT count = 0;
  EXPECT_EQ(info->GetNames(memid, names, 32, &count), S_OK);
  std::vector<std::u16string> out;
  for (UINT i = 0; i < count; ++i) out.push_back(Take(names[i]));
  return out;
}

INVOKEKIND InvokeKindOf(MemberKind kind) {
  switch (kind) {
    case MemberKind::kMethod: return INVOKE_FUNC;
    case MemberKind::kPropertyGet: return INVOKE_PROPERTYGET;
    case MemberKind::kPropertyPut: return INVOKE_PROPERTYPUT;
    case MemberKind::kPropertyPutRef: return INVOKE_PROPERTYPUTREF;
  }
  return INVOKE_FUNC;
}

// The declared type's VARTYPE as a TYPEDESC shows it, one level deep.
VARTYPE ShownType(const TypeRef& t) {
  if (t.vt == VT_DISPATCH && t.name && FindInterface(t.name)) return VT_PTR;
  if (t.vt == VT_USERDEFINED) return VT_USERDEFINED;
  return t.vt;
}

constexpr UINT kInherited = 7;  // IUnknown's and IDispatch's members in a dual's dispatch view

TEST(QuillboxTypeLib, LibraryAttributesAndDocumentationMatchTheData) {
  const LibraryDesc& data = QuillboxLibrary();
  ComPtr<ITypeLib> lib = Library();
  ASSERT_TRUE(lib);
  TLIBATTR* attr = nullptr;
  ASSERT_EQ(lib->GetLibAttr(&attr), S_OK);
  EXPECT_TRUE(IsEqualGUID(attr->guid, data.libid));
  EXPECT_EQ(attr->wMajorVerNum, data.major_version);
  EXPECT_EQ(attr->wMinorVerNum, data.minor_version);
  EXPECT_EQ(attr->syskind, SYS_WIN64);
  lib->ReleaseTLibAttr(attr);
  BSTR name = nullptr, doc = nullptr;
  ASSERT_EQ(lib->GetDocumentation(-1, &name, &doc, nullptr, nullptr), S_OK);
  EXPECT_EQ(Take(name), data.name);
  EXPECT_EQ(Take(doc), data.help);
  EXPECT_EQ(lib->GetTypeInfoCount(), data.interfaces.size() + data.enums.size() + data.coclasses.size());
}

TEST(QuillboxTypeLib, LoadingTheModulePathTwiceGivesTheSameLibrary) {
  ComPtr<ITypeLib> a = Library();
  ComPtr<ITypeLib> b = Library();
  EXPECT_EQ(a.get(), b.get());
}

TEST(QuillboxTypeLib, EveryInterfaceIsADispatchTypeWithItsVtableView) {
  ComPtr<ITypeLib> lib = Library();
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    SCOPED_TRACE(quillbox::com::Utf16ToUtf8(i.name));
    ComPtr<ITypeInfo> info = InfoOf(lib.get(), i.iid);
    ASSERT_TRUE(info);
    EXPECT_EQ(NameOf(info.get()), i.name);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
    EXPECT_EQ(attr->typekind, TKIND_DISPATCH);
    EXPECT_EQ((attr->wTypeFlags & TYPEFLAG_FDUAL) != 0, i.dual);
    EXPECT_EQ(attr->cFuncs, i.members.size() + (i.dual ? kInherited : 0));
    info->ReleaseTypeAttr(attr);
    if (!i.dual) {
      HREFTYPE href;
      EXPECT_EQ(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &href), TYPE_E_ELEMENTNOTFOUND);
      continue;
    }
    ComPtr<ITypeInfo> vtable = VtableView(info.get());
    ASSERT_TRUE(vtable);
    ASSERT_EQ(vtable->GetTypeAttr(&attr), S_OK);
    EXPECT_EQ(attr->typekind, TKIND_INTERFACE);
    EXPECT_TRUE(IsEqualGUID(attr->guid, i.iid));
    EXPECT_EQ(attr->cFuncs, i.members.size());
    vtable->ReleaseTypeAttr(attr);
  }
}

TEST(QuillboxTypeLib, DispatchViewListsTheInheritedMembersRestrictedFirst) {
  ComPtr<ITypeLib> lib = Library();
  ComPtr<ITypeInfo> info = InfoOf(lib.get(), IID__Storage);
  const char16_t* expected[] = {u"QueryInterface", u"AddRef", u"Release", u"GetTypeInfoCount",
                                u"GetTypeInfo", u"GetIDsOfNames", u"Invoke"};
  for (UINT k = 0; k < kInherited; ++k) {
    FUNCDESC* f = nullptr;
    ASSERT_EQ(info->GetFuncDesc(k, &f), S_OK);
    EXPECT_TRUE(f->wFuncFlags & FUNCFLAG_FRESTRICTED);
    EXPECT_EQ(NameOf(info.get(), f->memid), expected[k]);
    info->ReleaseFuncDesc(f);
  }
}

// Checks one parameter's flags and default against the data.
void CheckParam(const ParamDesc& p, const ELEMDESC& e) {
  SCOPED_TRACE(quillbox::com::Utf16ToUtf8(p.name));
  const USHORT flags = e.paramdesc.wParamFlags;
  EXPECT_EQ((flags & PARAMFLAG_FIN) != 0, p.direction != Direction::kOut);
  EXPECT_EQ((flags & PARAMFLAG_FOUT) != 0, p.direction != Direction::kIn);
  EXPECT_EQ((flags & PARAMFLAG_FOPT) != 0, p.optional);
  const bool has_default = p.optional && p.default_value.kind != DefaultValue::Kind::kNone;
  ASSERT_EQ((flags & PARAMFLAG_FHASDEFAULT) != 0, has_default);
  if (p.direction == Direction::kIn) {
    EXPECT_EQ(e.tdesc.vt, ShownType(p.type));
  } else {
    EXPECT_EQ(e.tdesc.vt, VT_PTR);
  }
  if (!has_default) return;
  ASSERT_NE(e.paramdesc.pparamdescex, nullptr);
  const VARIANT& value = e.paramdesc.pparamdescex->varDefaultValue;
  VARIANT as;
  VariantInit(&as);
  if (p.default_value.kind == DefaultValue::Kind::kText) {
    ASSERT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(std::u16string(value.bstrVal, SysStringLen(value.bstrVal)), p.default_value.text);
  } else {
    ASSERT_EQ(VariantChangeType(&as, &value, 0, VT_I8), S_OK);
    EXPECT_EQ(as.llVal, p.default_value.integer);
  }
}

TEST(QuillboxTypeLib, EveryMemberAndParameterMatchesTheData) {
  ComPtr<ITypeLib> lib = Library();
  std::size_t checked = 0;
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    ComPtr<ITypeInfo> info = InfoOf(lib.get(), i.iid);
    const UINT first = i.dual ? kInherited : 0;
    for (std::size_t k = 0; k < i.members.size(); ++k) {
      const MemberDesc& m = i.members[k];
      SCOPED_TRACE(quillbox::com::Utf16ToUtf8(i.name) + "." + quillbox::com::Utf16ToUtf8(m.name));
      FUNCDESC* f = nullptr;
      ASSERT_EQ(info->GetFuncDesc(first + static_cast<UINT>(k), &f), S_OK);
      EXPECT_EQ(f->memid, m.id);
      EXPECT_EQ(f->invkind, InvokeKindOf(m.kind));
      EXPECT_EQ(f->funckind, FUNC_DISPATCH);
      ASSERT_EQ(static_cast<std::size_t>(f->cParams), m.params.size()) << "the retval is the function's type";
      EXPECT_EQ(f->elemdescFunc.tdesc.vt, ShownType(m.result));
      EXPECT_EQ((f->wFuncFlags & FUNCFLAG_FHIDDEN) != 0, m.hidden);
      for (std::size_t p = 0; p < m.params.size(); ++p) CheckParam(m.params[p], f->lprgelemdescParam[p]);
      // A property's get and put share a DISPID; GetNames and
      // GetDocumentation answer for the first of them.
      const MemberDesc* named = &m;
      for (const MemberDesc& other : i.members) {
        if (other.id == m.id) {
          named = &other;
          break;
        }
      }
      std::vector<std::u16string> expected{named->name};
      for (const ParamDesc& p : named->params) expected.push_back(p.name);
      EXPECT_EQ(NamesOf(info.get(), m.id), expected);
      BSTR doc = nullptr;
      ASSERT_EQ(info->GetDocumentation(m.id, nullptr, &doc, nullptr, nullptr), S_OK);
      EXPECT_EQ(Take(doc), MemberHelp(*named));
      info->ReleaseFuncDesc(f);
      ++checked;
    }
  }
  EXPECT_EQ(checked, 196u);
}

TEST(QuillboxTypeLib, VtableViewReturnsHresultWithTheRetvalLast) {
  ComPtr<ITypeLib> lib = Library();
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    if (!i.dual) continue;
    ComPtr<ITypeInfo> vtable = VtableView(InfoOf(lib.get(), i.iid).get());
    for (std::size_t k = 0; k < i.members.size(); ++k) {
      const MemberDesc& m = i.members[k];
      SCOPED_TRACE(quillbox::com::Utf16ToUtf8(i.name) + "." + quillbox::com::Utf16ToUtf8(m.name));
      FUNCDESC* f = nullptr;
      ASSERT_EQ(vtable->GetFuncDesc(static_cast<UINT>(k), &f), S_OK);
      EXPECT_EQ(f->funckind, FUNC_PUREVIRTUAL);
      EXPECT_EQ(f->elemdescFunc.tdesc.vt, VT_HRESULT);
      EXPECT_EQ(f->oVft, static_cast<SHORT>((kInherited + k) * sizeof(void*)));
      const bool has_result = m.result.vt != VT_VOID;
      ASSERT_EQ(static_cast<std::size_t>(f->cParams), m.params.size() + (has_result ? 1 : 0));
      if (has_result) {
        const ELEMDESC& last = f->lprgelemdescParam[f->cParams - 1];
        EXPECT_EQ(last.paramdesc.wParamFlags, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL);
        EXPECT_EQ(last.tdesc.vt, VT_PTR);
      }
      vtable->ReleaseFuncDesc(f);
    }
  }
}

TEST(QuillboxTypeLib, EveryEnumerationAndConstantMatchesTheData) {
  const LibraryDesc& data = QuillboxLibrary();
  ComPtr<ITypeLib> lib = Library();
  std::size_t enums = 0;
  for (UINT k = 0; k < lib->GetTypeInfoCount(); ++k) {
    TYPEKIND kind;
    ASSERT_EQ(lib->GetTypeInfoType(k, &kind), S_OK);
    if (kind != TKIND_ENUM) continue;
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(lib->GetTypeInfo(k, info.put()), S_OK);
    const std::u16string name = NameOf(info.get());
    const EnumDesc* e = FindEnum(name.c_str());
    ASSERT_NE(e, nullptr) << quillbox::com::Utf16ToUtf8(name);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
    ASSERT_EQ(attr->cVars, e->constants.size());
    info->ReleaseTypeAttr(attr);
    for (std::size_t c = 0; c < e->constants.size(); ++c) {
      VARDESC* v = nullptr;
      ASSERT_EQ(info->GetVarDesc(static_cast<UINT>(c), &v), S_OK);
      EXPECT_EQ(v->varkind, VAR_CONST);
      ASSERT_EQ(v->lpvarValue->vt, VT_I4);
      EXPECT_EQ(v->lpvarValue->lVal, e->constants[c].value);
      EXPECT_EQ(NameOf(info.get(), v->memid), e->constants[c].name);
      info->ReleaseVarDesc(v);
    }
    ++enums;
  }
  EXPECT_EQ(enums, data.enums.size());
}

TEST(QuillboxTypeLib, CoclassesNameTheirInterfacesWithDefaultAndSourceFlags) {
  ComPtr<ITypeLib> lib = Library();
  for (const CoclassDesc& c : QuillboxLibrary().coclasses) {
    SCOPED_TRACE(quillbox::com::Utf16ToUtf8(c.name));
    ComPtr<ITypeInfo> info = InfoOf(lib.get(), c.clsid);
    ASSERT_TRUE(info);
    EXPECT_EQ(NameOf(info.get()), c.name);
    TYPEATTR* attr = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
    EXPECT_EQ(attr->typekind, TKIND_COCLASS);
    EXPECT_EQ(attr->wTypeFlags, c.flags);
    ASSERT_EQ(attr->cImplTypes, c.source_interface ? 2 : 1);
    info->ReleaseTypeAttr(attr);
    const char16_t* expected[] = {c.default_interface, c.source_interface};
    for (UINT k = 0; k < (c.source_interface ? 2u : 1u); ++k) {
      INT flags = 0;
      ASSERT_EQ(info->GetImplTypeFlags(k, &flags), S_OK);
      EXPECT_EQ(flags, k == 0 ? IMPLTYPEFLAG_FDEFAULT : IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
      HREFTYPE href;
      ASSERT_EQ(info->GetRefTypeOfImplType(k, &href), S_OK);
      ComPtr<ITypeInfo> implemented;
      ASSERT_EQ(info->GetRefTypeInfo(href, implemented.put()), S_OK);
      EXPECT_EQ(NameOf(implemented.get()), expected[k]);
    }
  }
}

TEST(QuillboxTypeLib, StructuredStorageIsAnApplicationObject) {
  ComPtr<ITypeInfo> info = InfoOf(Library().get(), CLSID_StructuredStorage);
  TYPEATTR* attr = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
  EXPECT_EQ(attr->wTypeFlags, TYPEFLAG_FAPPOBJECT | TYPEFLAG_FCANCREATE | TYPEFLAG_FPREDECLID);
  info->ReleaseTypeAttr(attr);
}

class RegisteredLibraryTest : public ::testing::Test {
 protected:
  void SetUp() override { DllUnregisterServer(); }
  void TearDown() override { DllUnregisterServer(); }
};

TEST_F(RegisteredLibraryTest, LoadRegTypeLibFindsTheLibraryOnceRegistered) {
  const LibraryDesc& data = QuillboxLibrary();
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadRegTypeLib(data.libid, 1, 0, 0, lib.put()), TYPE_E_LIBNOTREGISTERED);
  ASSERT_EQ(DllRegisterServer(), S_OK);
  ASSERT_EQ(LoadRegTypeLib(data.libid, 1, 0, 0, lib.put()), S_OK);
  EXPECT_EQ(lib.get(), Library().get());
  BSTR path = nullptr;
  ASSERT_EQ(QueryPathOfRegTypeLib(data.libid, 1, 0, 0, &path), S_OK);
  EXPECT_EQ(Take(path), ModulePath16());
}

TEST_F(RegisteredLibraryTest, LoadRegTypeLibFailsAfterUnregistering) {
  const LibraryDesc& data = QuillboxLibrary();
  ASSERT_EQ(DllRegisterServer(), S_OK);
  ASSERT_EQ(DllUnregisterServer(), S_OK);
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadRegTypeLib(data.libid, 1, 0, 0, lib.put()), TYPE_E_LIBNOTREGISTERED);
  EXPECT_EQ(lib.get(), nullptr);
}

ComPtr<IDispatch> NewStructuredStorage() {
  ComPtr<IDispatch> object;
  EXPECT_EQ(CoCreateInstance(CLSID_StructuredStorage, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(object.put())),
            S_OK);
  return object;
}

TEST(ClassTypeInfo, ObjectServesItsInterfacesTypeInfoFromTheLibrary) {
  ComPtr<IDispatch> object = NewStructuredStorage();
  ASSERT_TRUE(object);
  UINT count = 0;
  ASSERT_EQ(object->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(object->GetTypeInfo(1, 0, info.put()), DISP_E_BADINDEX);
  ASSERT_EQ(object->GetTypeInfo(0, 0, info.put()), S_OK);
  EXPECT_EQ(info.get(), InfoOf(Library().get(), IID__StructuredStorage).get());
}

// Calls IsCompoundDocument(filename) through ITypeInfo::Invoke.
HRESULT IsCompoundDocumentThroughTypeInfo(IDispatch* object, const std::string& file, VARIANT* result) {
  ComPtr<ITypeInfo> info;
  HRESULT hr = object->GetTypeInfo(0, 0, info.put());
  if (FAILED(hr)) return hr;
  LPOLESTR name = const_cast<LPOLESTR>(u"IsCompoundDocument");
  MEMBERID memid = 0;
  if (FAILED(hr = info->GetIDsOfNames(&name, 1, &memid))) return hr;
  VARIANT arg;
  VariantInit(&arg);
  arg.vt = VT_BSTR;
  arg.bstrVal = SysAllocString(quillbox::com::Utf8ToUtf16(file).c_str());
  DISPPARAMS params{&arg, nullptr, 1, 0};
  hr = info->Invoke(object, memid, DISPATCH_METHOD, &params, result, nullptr, nullptr);
  VariantClear(&arg);
  return hr;
}

TEST(ClassTypeInfo, TypeInfoInvokeCallsTheMember) {
  quillbox::testing::ScratchDir dir;
  const std::string docfile = (dir / "doc.qbx").string();
  ComPtr<IStorage> storage;
  ASSERT_EQ(StgCreateDocfile(quillbox::com::Utf8ToUtf16(docfile).c_str(),
                             STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, storage.put()),
            S_OK);
  storage = nullptr;
  const std::string text = (dir / "plain.txt").string();
  std::ofstream(text) << "not a compound file";

  ComPtr<IDispatch> object = NewStructuredStorage();
  VARIANT result;
  ASSERT_EQ(IsCompoundDocumentThroughTypeInfo(object.get(), docfile, &result), S_OK);
  EXPECT_EQ(result.vt, VT_BOOL);
  EXPECT_EQ(result.boolVal, VARIANT_TRUE);
  ASSERT_EQ(IsCompoundDocumentThroughTypeInfo(object.get(), text, &result), S_OK);
  EXPECT_EQ(result.boolVal, VARIANT_FALSE);
}

TEST(ClassTypeInfo, IDispatchOfTheObjectGoesThroughTheTypeInfo) {
  ComPtr<IDispatch> object = NewStructuredStorage();
  LPOLESTR name = const_cast<LPOLESTR>(u"iscompounddocument");
  DISPID id = 0;
  ASSERT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
  EXPECT_EQ(id, FindInterface(u"_StructuredStorage")->members[6].id);
  ComPtr<ITypeInfo> info;
  ASSERT_EQ(object->GetTypeInfo(0, 0, info.put()), S_OK);
  MEMBERID through_info = 0;
  ASSERT_EQ(DispGetIDsOfNames(info.get(), &name, 1, &through_info), S_OK);
  EXPECT_EQ(through_info, id);
}

TEST(ClassTypeInfo, HeldTypeInfoDoesNotKeepTheModuleLoaded) {
  ComPtr<ITypeInfo> info;
  {
    ComPtr<IDispatch> object = NewStructuredStorage();
    ASSERT_EQ(object->GetTypeInfo(0, 0, info.put()), S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  }
  ComPtr<ITypeLib> lib;
  UINT index = 0;
  ASSERT_EQ(info->GetContainingTypeLib(lib.put(), &index), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

}  // namespace
