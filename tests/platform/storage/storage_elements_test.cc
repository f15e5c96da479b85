// IStorage element operations and their result codes.
#include <gtest/gtest.h>

#include <algorithm>

#include "cfb_test_util.h"
#include "quillbox/objbase.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kRW = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr CLSID kClass = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

class StorageElementsTest : public ::testing::Test {
 protected:
  void SetUp() override { root_ = CreateDocfile(path_); ASSERT_TRUE(root_); }
  std::vector<std::u16string> Names(IStorage* storage) {
    ComPtr<IEnumSTATSTG> items;
    EXPECT_EQ(storage->EnumElements(0, nullptr, 0, items.put()), S_OK);
    std::vector<std::u16string> out;
    STATSTG stat;
    while (items && items->Next(1, &stat, nullptr) == S_OK) {
      out.push_back(stat.pwcsName);
      CoTaskMemFree(stat.pwcsName);
    }
    return out;
  }
  quillbox::testing::ScratchDir dir_;
  std::filesystem::path path_ = dir_ / "e.cfb";
  ComPtr<IStorage> root_;
};

TEST_F(StorageElementsTest, CreateStreamOverExistingNameWithoutCreateFails) {
  PutStream(root_.get(), "s", {1});
  ComPtr<IStream> stream;
  EXPECT_EQ(root_->CreateStream(u"s", kRW, 0, 0, stream.put()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(root_->CreateStream(u"S", kRW, 0, 0, stream.put()), STG_E_FILEALREADYEXISTS);
  EXPECT_FALSE(stream);
}

TEST_F(StorageElementsTest, CreateStreamWithCreateReplacesStreamOrStorage) {
  PutStream(root_.get(), "s", {1, 2, 3});
  ComPtr<IStorage> sub;
  ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
  sub = nullptr;
  ComPtr<IStream> stream;
  ASSERT_EQ(root_->CreateStream(u"s", kRW | STGM_CREATE, 0, 0, stream.put()), S_OK);
  STATSTG stat{};
  ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.cbSize.QuadPart, 0u);
  stream = nullptr;
  ASSERT_EQ(root_->CreateStream(u"t", kRW | STGM_CREATE, 0, 0, stream.put()), S_OK);
  ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
}

TEST_F(StorageElementsTest, OpenOfMissingElementGivesFileNotFound) {
  ComPtr<IStream> stream;
  ComPtr<IStorage> sub;
  EXPECT_EQ(root_->OpenStream(u"nope", nullptr, kRW, 0, stream.put()), STG_E_FILENOTFOUND);
  EXPECT_EQ(root_->OpenStorage(u"nope", nullptr, kRW, nullptr, 0, sub.put()), STG_E_FILENOTFOUND);
  EXPECT_EQ(root_->DestroyElement(u"nope"), STG_E_FILENOTFOUND);
  EXPECT_EQ(root_->RenameElement(u"nope", u"x"), STG_E_FILENOTFOUND);
}

TEST_F(StorageElementsTest, OpenStreamOfAStorageGivesFileNotFound) {
  ComPtr<IStorage> sub;
  ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
  sub = nullptr;
  ComPtr<IStream> stream;
  EXPECT_EQ(root_->OpenStream(u"t", nullptr, kRW, 0, stream.put()), STG_E_FILENOTFOUND);
}

TEST_F(StorageElementsTest, BadNamesGiveInvalidName) {
  ComPtr<IStream> stream;
  for (const char16_t* name : {u"a/b", u"a\\b", u"a:b", u"a!b", u"", u"0123456789012345678901234567890123"}) {
    EXPECT_EQ(root_->CreateStream(name, kRW, 0, 0, stream.put()), STG_E_INVALIDNAME)
        << static_cast<int>(name[0]);
  }
  EXPECT_EQ(root_->CreateStream(u"0123456789012345678901234567890", kRW, 0, 0, stream.put()), S_OK);
}

TEST_F(StorageElementsTest, NullPointersGiveInvalidPointer) {
  ComPtr<IStream> stream;
  EXPECT_EQ(root_->CreateStream(nullptr, kRW, 0, 0, stream.put()), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->CreateStream(u"s", kRW, 0, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->OpenStream(nullptr, nullptr, kRW, 0, stream.put()), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->Stat(nullptr, STATFLAG_DEFAULT), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->EnumElements(0, nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->DestroyElement(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->CopyTo(0, nullptr, nullptr, nullptr), STG_E_INVALIDPOINTER);
}

TEST_F(StorageElementsTest, ElementOpenTwiceIsRefused) {
  PutStream(root_.get(), "s", {1});
  ComPtr<IStream> first, second;
  ASSERT_EQ(root_->OpenStream(u"s", nullptr, kRW, 0, first.put()), S_OK);
  EXPECT_EQ(root_->OpenStream(u"s", nullptr, kRW, 0, second.put()), STG_E_ACCESSDENIED);
  first = nullptr;
  EXPECT_EQ(root_->OpenStream(u"s", nullptr, kRW, 0, second.put()), S_OK);
  ComPtr<IStorage> sub, again;
  ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
  EXPECT_EQ(root_->OpenStorage(u"t", nullptr, kRW, nullptr, 0, again.put()), STG_E_ACCESSDENIED);
}

TEST_F(StorageElementsTest, DestroyRemovesSubtreeAndFreesSectors) {
  {
    ComPtr<IStorage> sub, deeper;
    ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
    PutStream(sub.get(), "big", Pattern(30000, 1));
    ASSERT_EQ(sub->CreateStorage(u"d", kRW, 0, 0, deeper.put()), S_OK);
    PutStream(deeper.get(), "small", Pattern(100, 2));
  }
  const auto used = [](const RawFile& raw) {
    return std::count_if(raw.fat.begin(), raw.fat.end(), [](uint32_t e) { return e != 0xFFFFFFFFu; });
  };
  const long before = used(ReadRaw(path_));
  ASSERT_EQ(root_->DestroyElement(u"t"), S_OK);
  const RawFile raw = ReadRaw(path_);
  EXPECT_LE(used(raw), before - 59);  // 30000 bytes took 59 sectors
  for (const auto& e : raw.entries) {
    if (e.type != 5) {
      EXPECT_EQ(e.type, 0);
    }
  }
  EXPECT_TRUE(Names(root_.get()).empty());
  PutStream(root_.get(), "reuse", Pattern(30000, 3));
  EXPECT_EQ(ReadRaw(path_).bytes.size(), raw.bytes.size());  // freed sectors taken again
}

TEST_F(StorageElementsTest, DestroyOfOpenElementIsRefused) {
  PutStream(root_.get(), "s", {1});
  ComPtr<IStream> stream;
  ASSERT_EQ(root_->OpenStream(u"s", nullptr, kRW, 0, stream.put()), S_OK);
  EXPECT_EQ(root_->DestroyElement(u"s"), STG_E_ACCESSDENIED);
}

TEST_F(StorageElementsTest, RenameKeepsContentsAndRefusesClash) {
  PutStream(root_.get(), "old", Pattern(500, 4));
  PutStream(root_.get(), "other", {1});
  EXPECT_EQ(root_->RenameElement(u"old", u"OTHER"), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(root_->RenameElement(u"old", u"bad/name"), STG_E_INVALIDNAME);
  ASSERT_EQ(root_->RenameElement(u"old", u"New"), S_OK);
  EXPECT_EQ(GetStream(root_.get(), "New"), Pattern(500, 4));
  EXPECT_EQ(Names(root_.get()), (std::vector<std::u16string>{u"New", u"other"}));
  EXPECT_EQ(CheckRedBlack(ReadRaw(path_)), "");
}

TEST_F(StorageElementsTest, StorageTimesClassAndStateBitsAreKept) {
  ComPtr<IStorage> sub;
  ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
  ASSERT_EQ(sub->SetClass(kClass), S_OK);
  ASSERT_EQ(sub->SetStateBits(0xF0F0, 0xFF00), S_OK);
  sub = nullptr;
  const FILETIME created = {0x11111111, 0x01D00000};
  const FILETIME modified = {0x22222222, 0x01D10000};
  ASSERT_EQ(root_->SetElementTimes(u"t", &created, nullptr, &modified), S_OK);
  ASSERT_EQ(root_->OpenStorage(u"t", nullptr, kRW, nullptr, 0, sub.put()), S_OK);
  STATSTG stat{};
  ASSERT_EQ(sub->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(std::u16string(stat.pwcsName), u"t");
  CoTaskMemFree(stat.pwcsName);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STORAGE));
  EXPECT_TRUE(IsEqualGUID(stat.clsid, kClass));
  EXPECT_EQ(stat.grfStateBits, 0xF000u);
  EXPECT_EQ(stat.ctime.dwLowDateTime, created.dwLowDateTime);
  EXPECT_EQ(stat.mtime.dwHighDateTime, modified.dwHighDateTime);
  EXPECT_EQ(stat.grfMode, kRW);
}

TEST_F(StorageElementsTest, NewStorageGetsCurrentTimes) {
  ComPtr<IStorage> sub;
  ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
  STATSTG stat{};
  ASSERT_EQ(sub->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.pwcsName, nullptr);
  EXPECT_GT(stat.ctime.dwHighDateTime, 0x01D00000u);  // after 2015
}

TEST_F(StorageElementsTest, RootStatNamesTheFileByFullPath) {
  STATSTG stat{};
  ASSERT_EQ(root_->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  ASSERT_NE(stat.pwcsName, nullptr);
  EXPECT_EQ(std::u16string(stat.pwcsName), W(std::filesystem::absolute(path_).string()));
  CoTaskMemFree(stat.pwcsName);
  EXPECT_EQ(root_->Stat(&stat, 7), STG_E_INVALIDFLAG);
}

TEST_F(StorageElementsTest, EnumeratorNextSkipResetClone) {
  for (const char* name : {"a", "b", "c", "d"}) PutStream(root_.get(), name, {1});
  ComPtr<IEnumSTATSTG> items;
  ASSERT_EQ(root_->EnumElements(0, nullptr, 0, items.put()), S_OK);
  STATSTG stats[3];
  ULONG fetched = 0;
  ASSERT_EQ(items->Next(2, stats, &fetched), S_OK);
  EXPECT_EQ(fetched, 2u);
  EXPECT_EQ(std::u16string(stats[1].pwcsName), u"b");
  EXPECT_EQ(stats[1].type, static_cast<DWORD>(STGTY_STREAM));
  EXPECT_EQ(stats[1].cbSize.QuadPart, 1u);
  for (ULONG i = 0; i < fetched; ++i) CoTaskMemFree(stats[i].pwcsName);
  ComPtr<IEnumSTATSTG> copy;
  ASSERT_EQ(items->Clone(copy.put()), S_OK);
  EXPECT_EQ(items->Skip(1), S_OK);
  ASSERT_EQ(items->Next(3, stats, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 1u);
  EXPECT_EQ(std::u16string(stats[0].pwcsName), u"d");
  CoTaskMemFree(stats[0].pwcsName);
  ASSERT_EQ(copy->Next(1, stats, nullptr), S_OK);  // the clone kept its place
  EXPECT_EQ(std::u16string(stats[0].pwcsName), u"c");
  CoTaskMemFree(stats[0].pwcsName);
  EXPECT_EQ(items->Skip(5), S_FALSE);
  ASSERT_EQ(items->Reset(), S_OK);
  ASSERT_EQ(items->Next(1, stats, nullptr), S_OK);
  EXPECT_EQ(std::u16string(stats[0].pwcsName), u"a");
  CoTaskMemFree(stats[0].pwcsName);
  EXPECT_EQ(items->Next(2, stats, nullptr), STG_E_INVALIDPARAMETER);
}

TEST_F(StorageElementsTest, CommitAndRevertSucceedInDirectMode) {
  EXPECT_EQ(root_->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(root_->Revert(), S_OK);
}

TEST_F(StorageElementsTest, RootAnswersIRootStorageAndChildDoesNot) {
  ComPtr<IRootStorage> as_root;
  EXPECT_EQ(root_.try_as(as_root), S_OK);
  ComPtr<IStorage> sub;
  ASSERT_EQ(root_->CreateStorage(u"t", kRW, 0, 0, sub.put()), S_OK);
  EXPECT_EQ(sub.try_as(as_root), E_NOINTERFACE);
}

TEST_F(StorageElementsTest, ChildOutlivingRootAnswersReverted) {
  ComPtr<IStream> stream;
  ASSERT_EQ(root_->CreateStream(u"s", kRW, 0, 0, stream.put()), S_OK);
  root_ = nullptr;
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_REVERTED);
  STATSTG stat;
  EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), STG_E_REVERTED);
}

}  // namespace
}  // namespace quillbox::storage::testing
