// The object tree's lifetimes: a child keeps its parents alive, a parent
// forgets a child when it goes, the last object closes the file, and a
// renamed or re-timed element keeps working.
#include <gtest/gtest.h>

#include "tree_support.h"

namespace quillbox::testing {
namespace {

ComPtr<_Storage> ItemOf(const ComPtr<_Storage>& parent, const std::u16string& name) {
  ComPtr<_Storage> child;
  EXPECT_EQ(StoragesOf(parent)->get_Item(Bstr(name).get(), child.put()), S_OK);
  return child;
}

TEST(ObjectTree, TreeFourLevelsDeepIsBuiltClosedReopenedAndWalked) {
  ScratchDir dir;
  {
    ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
    ComPtr<_Storage> level1 = AddStorage(root, u"level1");
    ComPtr<_Storage> level2 = AddStorage(level1, u"level2");
    ComPtr<_Storage> level3 = AddStorage(level2, u"level3");
    ComPtr<_Storage> level4 = AddStorage(level3, u"level4");
    ASSERT_TRUE(AddStorage(level1, u"sibling"));
    ComPtr<_Stream> stream;
    ASSERT_EQ(StreamsOf(level4)->Add(Bstr(u"data").get(), stream.put()), S_OK);
    ASSERT_EQ(stream->WriteLong(0x0A0B0C0D), S_OK);
  }
  ASSERT_TRUE(FileIsClosed(dir / "a.doc"));
  ComPtr<_Storage> root = RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE));
  EXPECT_EQ(CountOf(StoragesOf(root)), 1);
  ComPtr<_Storage> level1 = ItemOf(root, u"level1");
  EXPECT_EQ(CountOf(StoragesOf(level1)), 2);
  ComPtr<_Storage> level4 = ItemOf(ItemOf(ItemOf(level1, u"level2"), u"level3"), u"level4");
  EXPECT_EQ(NameOf(level4), u"level4");
  EXPECT_EQ(CountOf(StoragesOf(level4)), 0);
  LONG streams = 0;
  ASSERT_EQ(StreamsOf(level4)->get_Count(&streams), S_OK);
  EXPECT_EQ(streams, 1);
  ComPtr<_Stream> data;
  ASSERT_EQ(StreamsOf(level4)->get_Item(Bstr(u"data").get(), data.put()), S_OK);
  LONG value = 0;
  ASSERT_EQ(data->ReadLong(&value), S_OK);
  EXPECT_EQ(value, 0x0A0B0C0D);
}

TEST(ObjectTree, DocumentReleasedWhileRootStorageIsHeldStaysOpenUntilTheLastObjectGoes) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document = CreateDocument(dir / "a.doc");
  ComPtr<_Storage> root = RootOf(document);
  document.reset();
  EXPECT_FALSE(FileIsClosed(dir / "a.doc"));
  EXPECT_TRUE(AddStorage(root, u"still working"));
  root.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  EXPECT_TRUE(FileIsClosed(dir / "a.doc"));
}

TEST(ObjectTree, ACollectionAloneKeepsItsStorageAndDocumentAlive) {
  ScratchDir dir;
  ComPtr<_Storages> storages = StoragesOf(AddStorage(RootOf(CreateDocument(dir / "a.doc")), u"child"));
  EXPECT_FALSE(FileIsClosed(dir / "a.doc"));
  ComPtr<_Storage> added;
  ASSERT_EQ(storages->Add(Bstr(u"grandchild").get(), added.put()), S_OK);
  added.reset();
  storages.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  EXPECT_TRUE(FileIsClosed(dir / "a.doc"));
}

TEST(ObjectTree, AnEnumeratorAloneKeepsTheTreeAliveAndHoldsTheModule) {
  ScratchDir dir;
  ComPtr<IEnumVARIANT> items;
  {
    ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
    ASSERT_TRUE(AddStorage(root, u"one"));
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(StoragesOf(root)->get__NewEnum(unknown.put()), S_OK);
    items = unknown.as<IEnumVARIANT>();
  }
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  EXPECT_FALSE(FileIsClosed(dir / "a.doc"));
  VARIANT item;
  VariantInit(&item);
  ASSERT_EQ(items->Next(1, &item, nullptr), S_OK);
  ComPtr<_Storage> one;
  ASSERT_EQ(item.pdispVal->QueryInterface(IID__Storage, one.put_void()), S_OK);
  VariantClear(&item);
  EXPECT_EQ(NameOf(one), u"one");
  one.reset();
  items.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  EXPECT_TRUE(FileIsClosed(dir / "a.doc"));
}

TEST(ObjectTree, ADeepElementAloneKeepsTheWholeChainAndTheFileOpen) {
  ScratchDir dir;
  ComPtr<_Storage> deep =
      AddStorage(AddStorage(AddStorage(RootOf(CreateDocument(dir / "a.doc")), u"one"), u"two"), u"three");
  EXPECT_FALSE(FileIsClosed(dir / "a.doc"));
  EXPECT_EQ(NameOf(deep), u"three");
  EXPECT_TRUE(AddStorage(deep, u"four"));
  deep.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  EXPECT_TRUE(FileIsClosed(dir / "a.doc"));
}

TEST(ObjectTree, RenameOfAHeldElementKeepsItAndWhatItOpenedWorking) {
  ScratchDir dir;
  ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
  ComPtr<_Storage> child = AddStorage(root, u"child");
  ComPtr<_Storage> grandchild = AddStorage(child, u"grandchild");
  ASSERT_TRUE(AddStorage(child, u"released"));  // its entry keeps the element open
  ComPtr<_Storages> below = StoragesOf(child);
  ASSERT_EQ(child->put_Name(Bstr(u"renamed").get()), S_OK);
  EXPECT_EQ(NameOf(child), u"renamed");
  EXPECT_EQ(NameOf(grandchild), u"grandchild");
  EXPECT_TRUE(AddStorage(grandchild, u"great-grandchild"));
  EXPECT_EQ(CountOf(below), 2);
  EXPECT_EQ(ItemOf(child, u"released") != nullptr, true);
  ASSERT_EQ(grandchild->put_Name(Bstr(u"grand renamed").get()), S_OK);
  EXPECT_EQ(NameOf(grandchild), u"grand renamed");
  root.reset();
  child.reset();
  grandchild.reset();
  below.reset();
  ComPtr<_Storage> reopened = RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE));
  EXPECT_EQ(NameOf(ItemOf(ItemOf(ItemOf(reopened, u"renamed"), u"grand renamed"), u"great-grandchild")),
            u"great-grandchild");
}

TEST(ObjectTree, TimeChangeOfAHeldElementKeepsItWorking) {
  ScratchDir dir;
  ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
  ComPtr<_Storage> child = AddStorage(root, u"child");
  ComPtr<_Storage> grandchild = AddStorage(child, u"grandchild");
  ASSERT_EQ(child->put_Creation(36526.0), S_OK);
  ASSERT_EQ(child->put_LastModified(40000.0), S_OK);
  DATE modified = 0;
  ASSERT_EQ(child->get_LastModified(&modified), S_OK);
  EXPECT_NE(modified, 0.0);
  EXPECT_EQ(NameOf(grandchild), u"grandchild");
  EXPECT_TRUE(AddStorage(child, u"after"));
  EXPECT_EQ(CountOf(StoragesOf(child)), 2);
}

TEST(ObjectTree, ReleasingAChildLetsItsParentMakeANewOneOnTheNextItem) {
  ScratchDir dir;
  ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
  ASSERT_TRUE(AddStorage(root, u"child"));
  ComPtr<_Storage> again = ItemOf(root, u"child");
  ASSERT_TRUE(again);
  EXPECT_EQ(NameOf(again), u"child");
}

TEST(ObjectTree, MemoryStorageAndItsChildrenFreeEverythingWhenReleased) {
  ComPtr<_Storage> memory;
  ASSERT_EQ(MakeStructuredStorage()->CreateMemoryStorage(memory.put()), S_OK);
  ComPtr<_Storage> child = AddStorage(memory, u"child");
  memory.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  EXPECT_TRUE(AddStorage(child, u"grandchild"));
  child.reset();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

}  // namespace
}  // namespace quillbox::testing
