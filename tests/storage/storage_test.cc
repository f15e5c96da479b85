// Storage: name, times and class id of an element, its collections, and the
// checks made before its parent is asked.
#include <gtest/gtest.h>

#include "tree_support.h"

namespace quillbox::testing {
namespace {

ComPtr<_Storage> MemoryStorage() {
  ComPtr<_Storage> storage;
  EXPECT_EQ(MakeStructuredStorage()->CreateMemoryStorage(storage.put()), S_OK);
  return storage;
}

TEST(Storage, ClsidOfAStorageWithoutClassIdIsTheEmptyString) {
  ScratchDir dir;
  ComPtr<_Storage> child = AddStorage(RootOf(CreateDocument(dir / "a.doc")), u"child");
  Bstr clsid;
  ASSERT_EQ(child->get_Clsid(clsid.put()), S_OK);
  EXPECT_EQ(clsid.text(), u"");
}

TEST(Storage, ClsidOfAStorageWithClassIdIsItsRegistryForm) {
  ScratchDir dir;
  const CLSID kClass = {0x12345678, 0x9ABC, 0xDEF0, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
  {
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateDocfile(Wide((dir / "a.doc").string()).c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                               root.put()),
              S_OK);
    ASSERT_EQ(root->SetClass(kClass), S_OK);
  }
  Bstr clsid;
  ASSERT_EQ(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE))->get_Clsid(clsid.put()), S_OK);
  LPOLESTR expected = nullptr;
  ASSERT_EQ(StringFromCLSID(kClass, &expected), S_OK);
  EXPECT_EQ(clsid.text(), std::u16string(expected));
  CoTaskMemFree(expected);
}

TEST(Storage, RenamingAMemoryStorageIsRefusedAsARootStorage) {
  ComPtr<_Storage> storage = MemoryStorage();
  EXPECT_EQ(storage->put_Name(Bstr(u"other").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action in the root storage.");
}

TEST(Storage, NamePutOnReadOnlyDocumentFailsBeforeTheParentIsAsked) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"child"});
  ComPtr<_Storage> root = RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE));
  // The document would answer 256: the read-only check comes first.
  EXPECT_EQ(root->put_Name(Bstr(u"other").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
  ComPtr<_Storage> child;
  ASSERT_EQ(StoragesOf(root)->get_Item(Bstr(u"child").get(), child.put()), S_OK);
  EXPECT_EQ(child->put_Name(Bstr(u"other").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
  EXPECT_EQ(child->put_LastModified(40000.0), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
}

TEST(Storage, StreamsReadTwiceIsTheSameCollection) {
  ScratchDir dir;
  ComPtr<_Storage> root = RootOf(CreateDocument(dir / "a.doc"));
  EXPECT_EQ(StreamsOf(root).get(), StreamsOf(root).get());
  EXPECT_EQ(StoragesOf(root).get(), StoragesOf(root).get());
}

TEST(Storage, NameOfAChildIsItsElementName) {
  ScratchDir dir;
  ComPtr<_Storage> child = AddStorage(RootOf(CreateDocument(dir / "a.doc")), u"Child One");
  EXPECT_EQ(NameOf(child), u"Child One");
}

TEST(Storage, LastModifiedSetIsReadBackInLocalTime) {
  ScratchDir dir;
  ComPtr<_Storage> child = AddStorage(RootOf(CreateDocument(dir / "a.doc")), u"child");
  const DATE set = 40000.5;  // 2009-07-06 12:00
  ASSERT_EQ(child->put_LastModified(set), S_OK);
  // The date is stored as given; reading turns the file time into local time.
  SYSTEMTIME fields{};
  FILETIME stored{}, local{};
  ASSERT_TRUE(VariantTimeToSystemTime(set, &fields));
  ASSERT_TRUE(SystemTimeToFileTime(&fields, &stored));
  ASSERT_TRUE(FileTimeToLocalFileTime(&stored, &local));
  ASSERT_TRUE(FileTimeToSystemTime(&local, &fields));
  DATE expected = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&fields, &expected));
  DATE read = 0;
  ASSERT_EQ(child->get_LastModified(&read), S_OK);
  EXPECT_NEAR(read, expected, 1e-9);
}

TEST(Storage, CreationSetIsReadBackInLocalTime) {
  ScratchDir dir;
  ComPtr<_Storage> child = AddStorage(RootOf(CreateDocument(dir / "a.doc")), u"child");
  const DATE set = 36526.25;  // 2000-01-01 06:00
  ASSERT_EQ(child->put_Creation(set), S_OK);
  SYSTEMTIME fields{};
  FILETIME stored{}, local{};
  ASSERT_TRUE(VariantTimeToSystemTime(set, &fields));
  ASSERT_TRUE(SystemTimeToFileTime(&fields, &stored));
  ASSERT_TRUE(FileTimeToLocalFileTime(&stored, &local));
  ASSERT_TRUE(FileTimeToSystemTime(&local, &fields));
  DATE expected = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(&fields, &expected));
  DATE read = 0;
  ASSERT_EQ(child->get_Creation(&read), S_OK);
  EXPECT_NEAR(read, expected, 1e-9);
}

TEST(Storage, ZeroFileTimeReadsAsDateZero) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"child"});
  {
    ComPtr<IStorage> root;
    ASSERT_EQ(StgOpenStorage(Wide((dir / "a.doc").string()).c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                             nullptr, 0, root.put()),
              S_OK);
    const FILETIME zero{0, 0};
    ASSERT_EQ(root->SetElementTimes(u"child", &zero, nullptr, &zero), S_OK);
  }
  ComPtr<_Storage> child;
  ASSERT_EQ(StoragesOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)))->get_Item(Bstr(u"child").get(),
                                                                                      child.put()),
            S_OK);
  DATE date = -1;
  ASSERT_EQ(child->get_Creation(&date), S_OK);
  EXPECT_EQ(date, 0.0);
  ASSERT_EQ(child->get_LastModified(&date), S_OK);
  EXPECT_EQ(date, 0.0);
}

TEST(Storage, MemoryStorageHoldsChildren) {
  ComPtr<_Storage> storage = MemoryStorage();
  ASSERT_TRUE(AddStorage(storage, u"one"));
  ASSERT_TRUE(AddStorage(storage, u"two"));
  EXPECT_EQ(CountOf(StoragesOf(storage)), 2);
}

TEST(Storage, PropertySetsAreNotSupportedYet) {
  ComPtr<_PropertySets> sets;
  EXPECT_EQ(MemoryStorage()->get_PropertySets(sets.put()), E_NOTIMPL);
  EXPECT_EQ(TakeDescription(), u"Not supported.");
}

TEST(Storage, EmbeddedObjectMembersAreNotSupportedYet) {
  ComPtr<_Storage> storage = MemoryStorage();
  ComPtr<IUnknown> object;
  EXPECT_EQ(storage->LoadEmbeddedObject(nullptr, object.put()), E_NOTIMPL);
  EXPECT_EQ(TakeDescription(), u"Not supported.");
  EXPECT_EQ(storage->UpdateEmbeddedObject(nullptr), E_NOTIMPL);
  EXPECT_EQ(storage->UpdateEmbeddedObjectFromVBOleControl(nullptr), E_NOTIMPL);
  EXPECT_EQ(storage->LoadEmbeddedObjectInVbOleControl(nullptr), E_NOTIMPL);
}

TEST(Storage, MissingOutputPlaceGivesInvalidPointer) {
  ComPtr<_Storage> storage = MemoryStorage();
  EXPECT_EQ(storage->get_Name(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
  EXPECT_EQ(storage->get_Creation(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storage->get_LastModified(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storage->get_Clsid(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storage->get_Storages(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(storage->get_Streams(nullptr), STG_E_INVALIDPOINTER);
}

TEST(Storage, MadeThroughItsClassFactoryItHasNoElementAndNoCollections) {
  ComPtr<_Storage> storage;
  ASSERT_EQ(CoCreateInstance(CLSID_Storage, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(storage.put())), S_OK);
  Bstr name;
  EXPECT_EQ(storage->get_Name(name.put()), E_UNEXPECTED);
  EXPECT_EQ(TakeDescription(), u"Unexpected Error.");
  ComPtr<_Storages> storages;
  EXPECT_EQ(storage->get_Storages(storages.put()), S_OK);
  EXPECT_FALSE(storages);
}

}  // namespace
}  // namespace quillbox::testing
