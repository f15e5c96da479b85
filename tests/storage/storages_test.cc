// Storages: the child storages of a storage, by name: count, Item, Add,
// Remove, and renaming and timing a child as its parent.
#include <gtest/gtest.h>

#include "storage/storage.h"
#include "tree_support.h"

namespace quillbox::testing {
namespace {

class StoragesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    document_ = CreateDocument(dir_ / "a.doc");
    root_ = RootOf(document_);
    storages_ = StoragesOf(root_);
  }

  ScratchDir dir_;
  ComPtr<_CompoundDocument> document_;
  ComPtr<_Storage> root_;
  ComPtr<_Storages> storages_;
};

TEST_F(StoragesTest, CountIsZeroThenTwoAfterTwoAddsThenOneAfterRemove) {
  EXPECT_EQ(CountOf(storages_), 0);
  ComPtr<_Storage> one, two;
  ASSERT_EQ(storages_->Add(Bstr(u"one").get(), one.put()), S_OK);
  ASSERT_EQ(storages_->Add(Bstr(u"two").get(), two.put()), S_OK);
  EXPECT_EQ(CountOf(storages_), 2);
  one.reset();
  ASSERT_EQ(storages_->Remove(Bstr(u"one").get()), S_OK);
  EXPECT_EQ(CountOf(storages_), 1);
}

TEST_F(StoragesTest, AddOfAnExistingNameFailsAndLeavesTheTableUnchanged) {
  ASSERT_TRUE(AddStorage(root_, u"one"));
  ComPtr<_Storage> again;
  EXPECT_EQ(storages_->Add(Bstr(u"one").get(), again.put()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(TakeDescription(), u"This name already exist.");
  EXPECT_FALSE(again);
  EXPECT_EQ(CountOf(storages_), 1);
}

TEST_F(StoragesTest, RemoveOfAHeldStorageIsRefusedUntilItIsReleased) {
  ASSERT_TRUE(AddStorage(root_, u"one"));
  ComPtr<_Storage> held;
  ASSERT_EQ(storages_->get_Item(Bstr(u"one").get(), held.put()), S_OK);
  EXPECT_EQ(storages_->Remove(Bstr(u"one").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible to remove an open object.");
  EXPECT_EQ(CountOf(storages_), 1);
  held.reset();
  EXPECT_EQ(storages_->Remove(Bstr(u"one").get()), S_OK);
  EXPECT_EQ(CountOf(storages_), 0);
}

TEST_F(StoragesTest, ItemOfAMissingNameGivesStorageNotFound) {
  ComPtr<_Storage> missing;
  EXPECT_EQ(storages_->get_Item(Bstr(u"missing").get(), missing.put()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"Storage not found");
  EXPECT_FALSE(missing);
}

TEST_F(StoragesTest, RemoveOfAMissingNameGivesStorageNotFound) {
  EXPECT_EQ(storages_->Remove(Bstr(u"missing").get()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"Storage not found");
}

TEST_F(StoragesTest, ItemReturnsTheSameObjectWhileItLives) {
  ComPtr<_Storage> added = AddStorage(root_, u"one");
  ComPtr<_Storage> item;
  ASSERT_EQ(storages_->get_Item(Bstr(u"one").get(), item.put()), S_OK);
  EXPECT_EQ(item.get(), added.get());
}

TEST_F(StoragesTest, ItemMatchesNamesWithoutRegardToCase) {
  ComPtr<_Storage> added = AddStorage(root_, u"Mixed");
  ComPtr<_Storage> item;
  ASSERT_EQ(storages_->get_Item(Bstr(u"MIXED").get(), item.put()), S_OK);
  EXPECT_EQ(item.get(), added.get());
}

TEST_F(StoragesTest, AddOfAnInvalidNameGivesInvalidName) {
  ComPtr<_Storage> bad;
  EXPECT_EQ(storages_->Add(Bstr(u"a/b").get(), bad.put()), STG_E_INVALIDNAME);
  EXPECT_EQ(TakeDescription(), u"File name is invalid.");
  EXPECT_EQ(CountOf(storages_), 0);
}

TEST_F(StoragesTest, RenamedChildIsFoundUnderItsNewNameOnly) {
  ComPtr<_Storage> child = AddStorage(root_, u"old");
  ASSERT_EQ(child->put_Name(Bstr(u"new").get()), S_OK);
  EXPECT_EQ(NameOf(child), u"new");
  ComPtr<_Storage> item;
  ASSERT_EQ(storages_->get_Item(Bstr(u"new").get(), item.put()), S_OK);
  EXPECT_EQ(item.get(), child.get());
  ComPtr<_Storage> old;
  EXPECT_EQ(storages_->get_Item(Bstr(u"old").get(), old.put()), STG_E_FILENOTFOUND);
}

TEST_F(StoragesTest, RenameToANameInUseGivesNameExistsWithFileNotFound) {
  ComPtr<_Storage> child = AddStorage(root_, u"one");
  ASSERT_TRUE(AddStorage(root_, u"two"));
  EXPECT_EQ(child->put_Name(Bstr(u"two").get()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"This name already exist.");
  EXPECT_EQ(NameOf(child), u"one");
}

TEST_F(StoragesTest, RenameToTheSameNameSucceedsWithoutChange) {
  ComPtr<_Storage> child = AddStorage(root_, u"one");
  EXPECT_EQ(child->put_Name(Bstr(u"one").get()), S_OK);
  EXPECT_EQ(NameOf(child), u"one");
}

TEST_F(StoragesTest, RenameToAnInvalidNameFailsAndTheChildKeepsWorking) {
  ComPtr<_Storage> child = AddStorage(root_, u"one");
  EXPECT_EQ(child->put_Name(Bstr(u"a:b").get()), STG_E_INVALIDNAME);
  EXPECT_EQ(TakeDescription(), u"File name is invalid.");
  EXPECT_EQ(NameOf(child), u"one");
  EXPECT_TRUE(AddStorage(child, u"grandchild"));
}

TEST_F(StoragesTest, EmbeddedObjectMembersAreNotSupportedYet) {
  ComPtr<_Storage> out;
  EXPECT_EQ(storages_->AddEmbeddedObject(Bstr(u"x").get(), nullptr, out.put()), E_NOTIMPL);
  EXPECT_EQ(TakeDescription(), u"Not supported.");
  EXPECT_EQ(storages_->AddEmbeddedObjectFromVBOleControl(Bstr(u"x").get(), nullptr, out.put()), E_NOTIMPL);
}

TEST_F(StoragesTest, MissingOutputPlaceGivesInvalidPointer) {
  EXPECT_EQ(storages_->get_Count(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
  EXPECT_EQ(storages_->get_Item(Bstr(u"x").get(), nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storages_->Add(Bstr(u"x").get(), nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storages_->get__NewEnum(nullptr), STG_E_INVALIDPOINTER);
}

TEST_F(StoragesTest, ErrorsNameTheStoragesInterface) {
  ComPtr<_Storage> missing;
  EXPECT_EQ(storages_->get_Item(Bstr(u"missing").get(), missing.put()), STG_E_FILENOTFOUND);
  ComPtr<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID guid{};
  ASSERT_EQ(info->GetGUID(&guid), S_OK);
  EXPECT_TRUE(IsEqualGUID(guid, IID__Storages));
}

TEST(StoragesReadOnly, ItemOpensReadOnlyAndAddAndRemoveAreRefused) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one", u"two"});
  ComPtr<_Storages> storages = StoragesOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  ComPtr<_Storage> one;
  ASSERT_EQ(storages->get_Item(Bstr(u"one").get(), one.put()), S_OK);
  STATSTG stat{};
  ASSERT_EQ(static_cast<storage_tree::Storage*>(one.get())->platform_storage()->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.grfMode, static_cast<DWORD>(STGM_READ | STGM_SHARE_EXCLUSIVE));
  ComPtr<_Storage> added;
  EXPECT_EQ(storages->Add(Bstr(u"three").get(), added.put()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
  EXPECT_EQ(storages->Remove(Bstr(u"two").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
  EXPECT_EQ(CountOf(storages), 2);
}

TEST(StoragesReadOnly, OpenedWithReadOnlyOneTheWritesFailInThePlatform) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one"});
  // 1 is not True: the file is read-only but the document is not.
  ComPtr<_Storages> storages = StoragesOf(RootOf(OpenDocument(dir / "a.doc", 1)));
  EXPECT_EQ(storages->Remove(Bstr(u"one").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Access is denied.");
}

TEST(StoragesClassFactory, MadeThroughItsClassFactoryItIsEmptyAndHasNoOwner) {
  ComPtr<_Storages> storages;
  ASSERT_EQ(CoCreateInstance(CLSID_Storages, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(storages.put())), S_OK);
  EXPECT_EQ(CountOf(storages), 0);
  ComPtr<_Storage> item;
  EXPECT_EQ(storages->get_Item(Bstr(u"x").get(), item.put()), E_UNEXPECTED);
  EXPECT_EQ(TakeDescription(), u"Unexpected Error.");
}

}  // namespace
}  // namespace quillbox::testing
