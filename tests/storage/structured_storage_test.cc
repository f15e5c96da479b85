// StructuredStorage: created through the class registry, bound early and
// late; documents created and opened, memory storages, and the answers of
// members whose classes are not part of the library yet.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

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

// A BSTR freed at the end of the full expression that made it.
class SysAllocStringHolder {
 public:
  explicit SysAllocStringHolder(const std::u16string& text) : value_(SysAllocString(text.c_str())) {}
  ~SysAllocStringHolder() { SysFreeString(value_); }
  SysAllocStringHolder(const SysAllocStringHolder&) = delete;
  SysAllocStringHolder& operator=(const SysAllocStringHolder&) = delete;
  BSTR get() const { return value_; }

 private:
  BSTR value_;
};

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

TEST(StructuredStorage, CreateMemoryStreamGivesAnUnnamedWorkingStream) {
  ComPtr<_Stream> stream;
  ASSERT_EQ(MakeRoot()->CreateMemoryStream(stream.put()), S_OK);
  BSTR name = nullptr;
  EXPECT_EQ(stream->get_Name(&name), S_OK);
  EXPECT_EQ(std::u16string(name), u"");
  SysFreeString(name);
  EXPECT_EQ(stream->WriteLong(7), S_OK);
  LONG size = -1;
  EXPECT_EQ(stream->get_Size(&size), S_OK);
  EXPECT_EQ(size, 4);
}

TEST(StructuredStorage, MembersOfLaterClassesAreNotSupportedYet) {
  ComPtr<_StructuredStorage> root = MakeRoot();
  ComPtr<_NtfsFilePropertySets> sets;
  EXPECT_EQ(root->NtfsFilePropertySets(nullptr, VARIANT_FALSE, sets.put()), E_NOTIMPL);
  EXPECT_FALSE(sets);
}

TEST(StructuredStorage, CreateMemoryStorageGivesAnUnnamedWorkingStorage) {
  ComPtr<_Storage> storage;
  ASSERT_EQ(MakeRoot()->CreateMemoryStorage(storage.put()), S_OK);
  ComPtr<_Storages> storages;
  ASSERT_EQ(storage->get_Storages(storages.put()), S_OK);
  ComPtr<_Storage> child;
  EXPECT_EQ(storages->Add(SysAllocStringHolder(u"child").get(), child.put()), S_OK);
  LONG count = 0;
  ASSERT_EQ(storages->get_Count(&count), S_OK);
  EXPECT_EQ(count, 1);
}

TEST(StructuredStorage, CreateDocumentOnAnExistingFileFailsAndLeavesItUntouched) {
  quillbox::testing::ScratchDir dir;
  std::ofstream(dir / "a.doc") << "keep me";
  ComPtr<_CompoundDocument> document;
  EXPECT_EQ(MakeRoot()->CreateDocument(SysAllocStringHolder(Wide((dir / "a.doc").string())).get(), document.put()),
            STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(TakeDescription(), u"File already exist.");
  EXPECT_FALSE(document);
  std::ifstream in(dir / "a.doc");
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text, "keep me");
}

TEST(StructuredStorage, OpenDocumentOnATextFileIsNotAStorage) {
  quillbox::testing::ScratchDir dir;
  std::ofstream(dir / "a.txt") << "plain text, long enough to be more than nothing";
  ComPtr<_CompoundDocument> document;
  EXPECT_EQ(MakeRoot()->OpenDocument(SysAllocStringHolder(Wide((dir / "a.txt").string())).get(), VARIANT_FALSE,
                                     document.put()),
            STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(TakeDescription(), u"The file is not a storage object or is in an old and unsupported format.");
}

TEST(StructuredStorage, OpenDocumentOfAMissingFileGivesFileNotFound) {
  quillbox::testing::ScratchDir dir;
  ComPtr<_CompoundDocument> document;
  EXPECT_EQ(MakeRoot()->OpenDocument(SysAllocStringHolder(Wide((dir / "none.doc").string())).get(), VARIANT_TRUE,
                                     document.put()),
            STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"File not found.");
}

TEST(StructuredStorage, OpenDocumentReadOnlyOfAFileOpenForWritingIsAShareOrLockViolation) {
  quillbox::testing::ScratchDir dir;
  const std::u16string path = Wide((dir / "a.doc").string());
  ComPtr<_CompoundDocument> writer;
  ASSERT_EQ(MakeRoot()->CreateDocument(SysAllocStringHolder(path).get(), writer.put()), S_OK);
  ComPtr<_CompoundDocument> reader;
  const HRESULT hr = MakeRoot()->OpenDocument(SysAllocStringHolder(path).get(), VARIANT_TRUE, reader.put());
  const std::u16string description = TakeDescription();
  if (hr == STG_E_SHAREVIOLATION) {
    EXPECT_EQ(description, u"Share violation.");
  } else {
    EXPECT_EQ(hr, STG_E_LOCKVIOLATION);
    EXPECT_EQ(description, u"Lock violation.");
  }
  EXPECT_FALSE(reader);
}

TEST(StructuredStorage, CreatedDocumentOpensAgainAfterItsRelease) {
  quillbox::testing::ScratchDir dir;
  const std::u16string path = Wide((dir / "a.doc").string());
  ComPtr<_CompoundDocument> document;
  ASSERT_EQ(MakeRoot()->CreateDocument(SysAllocStringHolder(path).get(), document.put()), S_OK);
  document.reset();
  ASSERT_EQ(MakeRoot()->OpenDocument(SysAllocStringHolder(path).get(), VARIANT_FALSE, document.put()), S_OK);
  BSTR name = nullptr;
  ASSERT_EQ(document->get_filename(&name), S_OK);
  EXPECT_EQ(std::u16string(name), path);
  SysFreeString(name);
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
  EXCEPINFO ex{};
  VARIANT result;
  VariantInit(&result);
  // NtfsFilePropertySets: not supported until plain-file property sets come.
  VARIANT name;
  VariantInit(&name);
  name.vt = VT_BSTR;
  name.bstrVal = SysAllocString(u"x");
  DISPPARAMS one{&name, nullptr, 1, 0};
  EXPECT_EQ(disp->Invoke(1002, IID_NULL, 0, DISPATCH_METHOD, &one, &result, &ex, nullptr), DISP_E_EXCEPTION);
  VariantClear(&name);
  EXPECT_EQ(ex.scode, E_NOTIMPL);
  EXPECT_EQ(std::u16string(ex.bstrDescription), u"Not supported.");
  SysFreeString(ex.bstrDescription);
  SysFreeString(ex.bstrSource);
  SysFreeString(ex.bstrHelpFile);
}

}  // namespace
