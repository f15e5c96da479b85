// StructuredStorage: created through the class registry, bound early and
// late, and its members' answers while the classes they hand out are not
// part of the library yet.
#include <gtest/gtest.h>

#include <fstream>

#include "quillbox/platform.h"
#include "quillbox/quillbox.h"
#include "support/test_support.h"

using quillbox::ComPtr;

namespace {

ComPtr<_StructuredStorage> MakeRoot() {
  ComPtr<_StructuredStorage> root;
  EXPECT_EQ(CoCreateInstance(CLSID_StructuredStorage, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(root.put())),
            S_OK);
  return root;
}

std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

std::u16string TakeDescription() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.put()) != S_OK) return u"";
  BSTR b = nullptr;
  info->GetDescription(&b);
  std::u16string s(b ? b : u"");
  SysFreeString(b);
  return s;
}

TEST(StructuredStorage, IsCreatableThroughTheClassRegistry) {
  ComPtr<_StructuredStorage> root = MakeRoot();
  ASSERT_TRUE(root);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  root.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(StructuredStorage, IsCompoundDocumentOnAMissingPathIsFalseAndSucceeds) {
  quillbox::testing::ScratchDir dir;
  BSTR name = SysAllocString(Wide((dir / "missing.doc").string()).c_str());
  VARIANT_BOOL answer = VARIANT_TRUE;
  EXPECT_EQ(MakeRoot()->IsCompoundDocument(name, &answer), S_OK);
  EXPECT_EQ(answer, VARIANT_FALSE);
  SysFreeString(name);
}

TEST(StructuredStorage, IsCompoundDocumentTellsCompoundFilesFromOthers) {
  quillbox::testing::ScratchDir dir;
  const std::u16string doc = Wide((dir / "a.doc").string());
  ComPtr<IStorage> stg;
  ASSERT_EQ(StgCreateDocfile(doc.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, stg.put()), S_OK);
  stg.reset();
  std::ofstream(dir / "b.txt") << "plain text";
  BSTR a = SysAllocString(doc.c_str());
  BSTR b = SysAllocString(Wide((dir / "b.txt").string()).c_str());
  VARIANT_BOOL answer = VARIANT_FALSE;
  ComPtr<_StructuredStorage> root = MakeRoot();
  EXPECT_EQ(root->IsCompoundDocument(a, &answer), S_OK);
  EXPECT_EQ(answer, VARIANT_TRUE) << "True is -1";
  EXPECT_EQ(root->IsCompoundDocument(b, &answer), S_OK);
  EXPECT_EQ(answer, VARIANT_FALSE);
  SysFreeString(a);
  SysFreeString(b);
}

TEST(StructuredStorage, MissingOutputPlaceGivesInvalidPointer) {
  SetErrorInfo(0, nullptr);
  EXPECT_EQ(MakeRoot()->IsCompoundDocument(nullptr, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
  EXPECT_EQ(MakeRoot()->CreateMemoryStream(nullptr), STG_E_INVALIDPOINTER);
}

TEST(StructuredStorage, MembersOfLaterClassesAreNotSupportedYet) {
  ComPtr<_StructuredStorage> root = MakeRoot();
  ComPtr<_Stream> stream;
  EXPECT_EQ(root->CreateMemoryStream(stream.put()), E_NOTIMPL);
  EXPECT_EQ(TakeDescription(), u"Not supported.");
  ComPtr<_Storage> storage;
  EXPECT_EQ(root->CreateMemoryStorage(storage.put()), E_NOTIMPL);
  EXPECT_FALSE(storage);
}

TEST(StructuredStorage, AnswersErrorInfoSupportForItsInterfaceOnly) {
  ComPtr<ISupportErrorInfo> support = MakeRoot().as<ISupportErrorInfo>();
  ASSERT_TRUE(support);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID__StructuredStorage), S_OK);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID__Storage), S_FALSE);
}

TEST(StructuredStorage, LateBoundCallReachesTheMember) {
  ComPtr<IDispatch> disp = MakeRoot().as<IDispatch>();
  ASSERT_TRUE(disp);
  LPOLESTR name = const_cast<LPOLESTR>(u"iscompounddocument");
  DISPID id = 0;
  ASSERT_EQ(disp->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
  EXPECT_EQ(id, 1006);
  VARIANT arg;
  VariantInit(&arg);
  arg.vt = VT_BSTR;
  arg.bstrVal = SysAllocString(u"/nonexistent/file.doc");
  DISPPARAMS params{&arg, nullptr, 1, 0};
  VARIANT result;
  VariantInit(&result);
  ASSERT_EQ(disp->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, &result, nullptr, nullptr), S_OK);
  EXPECT_EQ(result.vt, VT_BOOL);
  EXPECT_EQ(result.boolVal, VARIANT_FALSE);
  VariantClear(&arg);
}

TEST(StructuredStorage, LateBoundFailureCarriesTheMessage) {
  ComPtr<IDispatch> disp = MakeRoot().as<IDispatch>();
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  EXCEPINFO ex{};
  VARIANT result;
  VariantInit(&result);
  EXPECT_EQ(disp->Invoke(1004, IID_NULL, 0, DISPATCH_METHOD, &none, &result, &ex, nullptr), DISP_E_EXCEPTION);
  EXPECT_EQ(ex.scode, E_NOTIMPL);
  EXPECT_EQ(std::u16string(ex.bstrDescription), u"Not supported.");
  SysFreeString(ex.bstrDescription);
  SysFreeString(ex.bstrSource);
  SysFreeString(ex.bstrHelpFile);
}

}  // namespace
