// EnumStorage: walking a collection's snapshot of keys with IEnumVARIANT.
#include <gtest/gtest.h>

#include <vector>

#include "storage/enum_storage.h"
#include "storage/storages.h"
#include "tree_support.h"

namespace quillbox::testing {
namespace {

ComPtr<IEnumVARIANT> EnumOf(const ComPtr<_Storages>& storages) {
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(storages->get__NewEnum(unknown.put()), S_OK);
  return unknown.as<IEnumVARIANT>();
}

// The names of what the enumerator yields from here on, one Next at a time.
std::vector<std::u16string> Drain(const ComPtr<IEnumVARIANT>& items) {
  std::vector<std::u16string> names;
  VARIANT item;
  VariantInit(&item);
  ULONG fetched = 0;
  while (items->Next(1, &item, &fetched) == S_OK) {
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(item.vt, VT_DISPATCH);
    ComPtr<_Storage> storage;
    if (item.vt == VT_DISPATCH && item.pdispVal->QueryInterface(IID__Storage, storage.put_void()) == S_OK) {
      names.push_back(NameOf(storage));
    }
    VariantClear(&item);
  }
  return names;
}

class EnumStorageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = RootOf(CreateDocument(dir_ / "a.doc"));
    storages_ = StoragesOf(root_);
  }
  void AddThree() {
    for (const char16_t* name : {u"b", u"a", u"c"}) ASSERT_TRUE(AddStorage(root_, name));
  }

  ScratchDir dir_;
  ComPtr<_Storage> root_;
  ComPtr<_Storages> storages_;
};

TEST_F(EnumStorageTest, EnumeratingAnEmptyCollectionGivesSFalseWithFetchedZero) {
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  VARIANT item;
  VariantInit(&item);
  ULONG fetched = 99;
  EXPECT_EQ(items->Next(1, &item, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 0u);
  EXPECT_EQ(item.vt, VT_EMPTY);
}

TEST_F(EnumStorageTest, YieldsTheElementObjectsInNameOrder) {
  AddThree();
  EXPECT_EQ(Drain(EnumOf(storages_)), (std::vector<std::u16string>{u"a", u"b", u"c"}));
}

TEST_F(EnumStorageTest, YieldsTheSameObjectsAsItem) {
  ComPtr<_Storage> held = AddStorage(root_, u"a");
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  VARIANT item;
  VariantInit(&item);
  ASSERT_EQ(items->Next(1, &item, nullptr), S_OK);
  ComPtr<_Storage> yielded;
  ASSERT_EQ(item.pdispVal->QueryInterface(IID__Storage, yielded.put_void()), S_OK);
  EXPECT_EQ(yielded.get(), held.get());
  VariantClear(&item);
}

TEST_F(EnumStorageTest, AnElementRemovedAfterNewEnumIsSkippedSilently) {
  AddThree();
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  ASSERT_EQ(storages_->Remove(Bstr(u"b").get()), S_OK);
  EXPECT_EQ(Drain(items), (std::vector<std::u16string>{u"a", u"c"}));
}

TEST_F(EnumStorageTest, AnElementAddedAfterNewEnumIsNotSeen) {
  AddThree();
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  ASSERT_TRUE(AddStorage(root_, u"d"));
  EXPECT_EQ(Drain(items), (std::vector<std::u16string>{u"a", u"b", u"c"}));
}

TEST_F(EnumStorageTest, NextOfZeroIsRefusedAsAnInvalidParameter) {
  AddThree();
  VARIANT item;
  VariantInit(&item);
  ULONG fetched = 0;
  EXPECT_EQ(EnumOf(storages_)->Next(0, &item, &fetched), STG_E_INVALIDPARAMETER);
  EXPECT_EQ(TakeDescription(), u"Invalid parameter.");
}

TEST_F(EnumStorageTest, NextOfTwoWithoutFetchedPlaceGivesInvalidPointer) {
  AddThree();
  VARIANT items[2];
  VariantInit(&items[0]);
  VariantInit(&items[1]);
  EXPECT_EQ(EnumOf(storages_)->Next(2, items, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
}

TEST_F(EnumStorageTest, ErrorsNameTheEnumeratorInterface) {
  EXPECT_EQ(EnumOf(storages_)->Next(0, nullptr, nullptr), STG_E_INVALIDPARAMETER);
  ComPtr<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID guid{};
  ASSERT_EQ(info->GetGUID(&guid), S_OK);
  EXPECT_TRUE(IsEqualGUID(guid, IID_IEnumVARIANT));
}

TEST_F(EnumStorageTest, NextPastTheEndGivesSFalseWithWhatWasFetched) {
  AddThree();
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  VARIANT out[5];
  for (VARIANT& v : out) VariantInit(&v);
  ULONG fetched = 0;
  EXPECT_EQ(items->Next(5, out, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 3u);
  for (VARIANT& v : out) VariantClear(&v);
  EXPECT_EQ(items->Next(1, out, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 0u);
}

TEST_F(EnumStorageTest, SkipPassesOverElementsAndResetStartsAgain) {
  AddThree();
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  EXPECT_EQ(items->Skip(2), S_OK);
  EXPECT_EQ(Drain(items), (std::vector<std::u16string>{u"c"}));
  EXPECT_EQ(items->Skip(1), S_FALSE);
  EXPECT_EQ(items->Reset(), S_OK);
  EXPECT_EQ(items->Skip(5), S_FALSE);
  EXPECT_EQ(items->Reset(), S_OK);
  EXPECT_EQ(Drain(items), (std::vector<std::u16string>{u"a", u"b", u"c"}));
}

TEST_F(EnumStorageTest, CloneStartsAtTheFirstKeyWhateverThePosition) {
  AddThree();
  ComPtr<IEnumVARIANT> items = EnumOf(storages_);
  ASSERT_EQ(items->Skip(2), S_OK);
  ComPtr<IEnumVARIANT> clone;
  ASSERT_EQ(items->Clone(clone.put()), S_OK);
  EXPECT_EQ(Drain(clone), (std::vector<std::u16string>{u"a", u"b", u"c"}));
  EXPECT_EQ(Drain(items), (std::vector<std::u16string>{u"c"}));
}

TEST_F(EnumStorageTest, CloneOfANamesModeEnumeratorYieldsObjects) {
  AddThree();
  auto* collection = static_cast<storage_tree::Storages*>(storages_.get());
  ComPtr<storage_tree::EnumStorage> names = storage_tree::EnumStorage::Make(
      {1, 2, 3}, ComPtr<IUnknown>(collection->GetUnknown()), collection, true);
  ASSERT_TRUE(names);
  VARIANT item;
  VariantInit(&item);
  ASSERT_EQ(names->Next(1, &item, nullptr), S_OK);
  EXPECT_EQ(item.vt, VT_BSTR);
  VariantClear(&item);
  ComPtr<IEnumVARIANT> clone;
  ASSERT_EQ(names->Clone(clone.put()), S_OK);
  ASSERT_EQ(clone->Next(1, &item, nullptr), S_OK);
  EXPECT_EQ(item.vt, VT_DISPATCH);
  VariantClear(&item);
}

TEST_F(EnumStorageTest, CloneWithoutOutputPlaceGivesInvalidPointer) {
  EXPECT_EQ(EnumOf(storages_)->Clone(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
}

TEST_F(EnumStorageTest, AnswersErrorInfoSupportForIEnumVariant) {
  ComPtr<ISupportErrorInfo> support = EnumOf(storages_).as<ISupportErrorInfo>();
  ASSERT_TRUE(support);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IEnumVARIANT), S_OK);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID__Storages), S_FALSE);
}

TEST(EnumStorageStreams, NextOverStreamsGivesStreamObjects) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<IUnknown> unknown;
  ASSERT_EQ(StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)))->get__NewEnum(unknown.put()), S_OK);
  ComPtr<IEnumVARIANT> items = unknown.as<IEnumVARIANT>();
  VARIANT item;
  VariantInit(&item);
  ULONG fetched = 7;
  ASSERT_EQ(items->Next(1, &item, &fetched), S_OK);
  EXPECT_EQ(fetched, 1u);
  ASSERT_EQ(item.vt, VT_DISPATCH);
  ComPtr<_Stream> stream;
  ASSERT_EQ(item.pdispVal->QueryInterface(IID__Stream, reinterpret_cast<void**>(stream.put())), S_OK);
  Bstr name;
  EXPECT_EQ(stream->get_Name(name.put()), S_OK);
  EXPECT_EQ(name.text(), u"one");
  VariantClear(&item);
}

}  // namespace
}  // namespace quillbox::testing
