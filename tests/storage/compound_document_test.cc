// CompoundDocument: its four slots, its file name, SaveAs, and its refusals
// as the parent of a root storage.
#include <gtest/gtest.h>

#include <fstream>

#include "platform/com/module_lock.h"
#include "tree_support.h"

namespace quillbox::testing {
namespace {

TEST(CompoundDocument, RootStorageReadTwiceWhileHeldIsTheSameObject) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  ComPtr<_Storage> first = RootOf(document);
  ComPtr<_Storage> second = RootOf(document);
  EXPECT_EQ(first.get(), second.get());
}

TEST(CompoundDocument, RootStorageAfterEveryReleaseIsANewObject) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  const LONG with_document_only = com::ModuleLockCount();
  ComPtr<_Storage> first = RootOf(document);
  const LONG with_root = com::ModuleLockCount();
  EXPECT_GT(with_root, with_document_only);
  first.reset();
  EXPECT_EQ(com::ModuleLockCount(), with_document_only) << "the released root storage is gone";
  ComPtr<_Storage> second = RootOf(document);
  EXPECT_EQ(com::ModuleLockCount(), with_root);
  EXPECT_EQ(NameOf(second), Wide((dir / "a.doc").string()));
}

TEST(CompoundDocument, RenamingTheRootStorageIsRefused) {
  ScratchDir dir;
  ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
  EXPECT_EQ(root->put_Name(Bstr(u"other").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible to rename this object by this way.");
}

TEST(CompoundDocument, SettingTheRootStorageTimesIsRefused) {
  ScratchDir dir;
  ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
  EXPECT_EQ(root->put_Creation(40000.0), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action in the root storage.");
  EXPECT_EQ(root->put_LastModified(40000.0), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action in the root storage.");
}

TEST(CompoundDocument, SaveAsToAnExistingNameFailsWithFileAlreadyExists) {
  ScratchDir dir;
  std::ofstream(dir / "taken.doc") << "already here";
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  EXPECT_EQ(document->SaveAs(Bstr((dir / "taken.doc").string()).get()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(TakeDescription(), u"File already exist.");
}

TEST(CompoundDocument, FilenameIsThePathOfTheFile) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  Bstr name;
  ASSERT_EQ(document->get_filename(name.put()), S_OK);
  EXPECT_EQ(name.text(), Wide((dir / "a.doc").string()));
}

TEST(CompoundDocument, SaveAsWorksOnTheNewFileAndLeavesTheOldOne) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  ASSERT_TRUE(AddStorage(RootOf(document), u"before"));
  ASSERT_EQ(document->SaveAs(Bstr((dir / "b.doc").string()).get()), S_OK);
  Bstr name;
  ASSERT_EQ(document->get_filename(name.put()), S_OK);
  EXPECT_EQ(name.text(), Wide((dir / "b.doc").string()));
  ASSERT_TRUE(AddStorage(RootOf(document), u"after"));
  document.reset();
  ComPtr<_Storages> in_old = StoragesOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  EXPECT_EQ(CountOf(in_old), 1);
  ComPtr<_Storages> in_new = StoragesOf(RootOf(OpenDocument(dir / "b.doc", VARIANT_TRUE)));
  EXPECT_EQ(CountOf(in_new), 2);
}

TEST(CompoundDocument, StandardSetsAreNotSupportedYet) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  ComPtr<_SummaryInformation> summary;
  EXPECT_EQ(document->get_SummaryInformation(summary.put()), E_NOTIMPL);
  EXPECT_EQ(TakeDescription(), u"Not supported.");
  ComPtr<_DocumentSummary> document_summary;
  EXPECT_EQ(document->get_DocumentSummaryInformation(document_summary.put()), E_NOTIMPL);
  ComPtr<_UserDefined> user_defined;
  EXPECT_EQ(document->get_UserDefined(user_defined.put()), E_NOTIMPL);
}

TEST(CompoundDocument, MissingOutputPlaceGivesInvalidPointer) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  EXPECT_EQ(document->get_RootStorage(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
  EXPECT_EQ(document->get_filename(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(document->get_UserDefined(nullptr), STG_E_INVALIDPOINTER);
}

TEST(CompoundDocument, ErrorsNameTheDocumentInterface) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  EXPECT_EQ(document->get_RootStorage(nullptr), STG_E_INVALIDPOINTER);
  ComPtr<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID guid{};
  ASSERT_EQ(info->GetGUID(&guid), S_OK);
  EXPECT_TRUE(IsEqualGUID(guid, IID__CompoundDocument));
}

TEST(CompoundDocument, MadeThroughItsClassFactoryItHasNoFileAndFails) {
  ComPtr<_CompoundDocument> document;
  ASSERT_EQ(CoCreateInstance(CLSID_CompoundDocument, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(document.put())),
            S_OK);
  ComPtr<_Storage> root;
  EXPECT_EQ(document->get_RootStorage(root.put()), E_UNEXPECTED);
  EXPECT_EQ(TakeDescription(), u"Unexpected Error.");
  EXPECT_EQ(document->SaveAs(Bstr(u"/tmp/x").get()), E_UNEXPECTED);
}

}  // namespace
}  // namespace quillbox::testing
