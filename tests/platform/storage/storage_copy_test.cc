// CopyTo with exclusions, MoveElementTo, and SwitchToFile.
#include <gtest/gtest.h>

#include <fstream>

#include "cfb_test_util.h"
#include "quillbox/objbase.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kRW = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr CLSID kClass = {0xCAFE, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

class StorageCopyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    source_ = CreateDocfile(dir_ / "src.cfb");
    target_ = CreateDocfile(dir_ / "dst.cfb");
    ASSERT_TRUE(source_ && target_);
    ASSERT_EQ(source_->SetClass(kClass), S_OK);
    PutStream(source_.get(), "one", Pattern(100, 1));
    PutStream(source_.get(), "two", Pattern(9000, 2));
    ComPtr<IStorage> sub;
    ASSERT_EQ(source_->CreateStorage(u"sub", kRW, 0, 0, sub.put()), S_OK);
    PutStream(sub.get(), "inner", Pattern(300, 3));
  }
  bool Has(IStorage* storage, const char16_t* name) {
    ComPtr<IStream> stream;
    ComPtr<IStorage> sub;
    return storage->OpenStream(name, nullptr, kRW, 0, stream.put()) == S_OK ||
           storage->OpenStorage(name, nullptr, kRW, nullptr, 0, sub.put()) == S_OK;
  }
  quillbox::testing::ScratchDir dir_;
  ComPtr<IStorage> source_, target_;
};

TEST_F(StorageCopyTest, CopyToCopiesEverythingAndTheClass) {
  ASSERT_EQ(source_->CopyTo(0, nullptr, nullptr, target_.get()), S_OK);
  EXPECT_EQ(GetStream(target_.get(), "one"), Pattern(100, 1));
  EXPECT_EQ(GetStream(target_.get(), "two"), Pattern(9000, 2));
  ComPtr<IStorage> sub;
  ASSERT_EQ(target_->OpenStorage(u"sub", nullptr, kRW, nullptr, 0, sub.put()), S_OK);
  EXPECT_EQ(GetStream(sub.get(), "inner"), Pattern(300, 3));
  CLSID clsid{};
  ASSERT_EQ(ReadClassStg(target_.get(), &clsid), S_OK);
  EXPECT_TRUE(IsEqualGUID(clsid, kClass));
}

TEST_F(StorageCopyTest, CopyToExcludingStreamsCopiesStoragesOnly) {
  const IID exclude[] = {IID_IStream};
  ASSERT_EQ(source_->CopyTo(1, exclude, nullptr, target_.get()), S_OK);
  EXPECT_FALSE(Has(target_.get(), u"one"));
  EXPECT_TRUE(Has(target_.get(), u"sub"));
}

TEST_F(StorageCopyTest, CopyToExcludingStoragesCopiesStreamsOnly) {
  const IID exclude[] = {IID_IStorage};
  ASSERT_EQ(source_->CopyTo(1, exclude, nullptr, target_.get()), S_OK);
  EXPECT_TRUE(Has(target_.get(), u"one"));
  EXPECT_FALSE(Has(target_.get(), u"sub"));
}

TEST_F(StorageCopyTest, CopyToSkipsNamesInTheExclusionBlock) {
  OLECHAR two[] = u"TWO";
  OLECHAR* names[] = {two, nullptr};
  ASSERT_EQ(source_->CopyTo(0, nullptr, names, target_.get()), S_OK);
  EXPECT_TRUE(Has(target_.get(), u"one"));
  EXPECT_FALSE(Has(target_.get(), u"two"));
}

TEST_F(StorageCopyTest, CopyToOwnChildIsRefused) {
  ComPtr<IStorage> sub;
  ASSERT_EQ(source_->OpenStorage(u"sub", nullptr, kRW, nullptr, 0, sub.put()), S_OK);
  EXPECT_EQ(source_->CopyTo(0, nullptr, nullptr, sub.get()), STG_E_ACCESSDENIED);
}

TEST_F(StorageCopyTest, MoveElementToMovesAndCopyKeeps) {
  ASSERT_EQ(source_->MoveElementTo(u"one", target_.get(), u"uno", STGMOVE_COPY), S_OK);
  EXPECT_TRUE(Has(source_.get(), u"one"));
  EXPECT_EQ(GetStream(target_.get(), "uno"), Pattern(100, 1));
  ASSERT_EQ(source_->MoveElementTo(u"sub", target_.get(), u"moved", STGMOVE_MOVE), S_OK);
  EXPECT_FALSE(Has(source_.get(), u"sub"));
  ComPtr<IStorage> moved;
  ASSERT_EQ(target_->OpenStorage(u"moved", nullptr, kRW, nullptr, 0, moved.put()), S_OK);
  EXPECT_EQ(GetStream(moved.get(), "inner"), Pattern(300, 3));
}

TEST_F(StorageCopyTest, MoveElementToWithinOneFile) {
  ComPtr<IStorage> sub;
  ASSERT_EQ(source_->OpenStorage(u"sub", nullptr, kRW, nullptr, 0, sub.put()), S_OK);
  ASSERT_EQ(source_->MoveElementTo(u"two", sub.get(), u"two", STGMOVE_MOVE), S_OK);
  EXPECT_EQ(GetStream(sub.get(), "two"), Pattern(9000, 2));
  EXPECT_FALSE(Has(source_.get(), u"two"));
  EXPECT_EQ(source_->MoveElementTo(u"sub", sub.get(), u"x", STGMOVE_MOVE), STG_E_ACCESSDENIED);
}

TEST_F(StorageCopyTest, MoveElementToChecksArguments) {
  EXPECT_EQ(source_->MoveElementTo(u"one", target_.get(), u"x", 7), STG_E_INVALIDFLAG);
  EXPECT_EQ(source_->MoveElementTo(u"none", target_.get(), u"x", STGMOVE_COPY), STG_E_FILENOTFOUND);
  EXPECT_EQ(source_->MoveElementTo(u"one", nullptr, u"x", STGMOVE_COPY), STG_E_INVALIDPOINTER);
  PutStream(target_.get(), "taken", {1});
  EXPECT_EQ(source_->MoveElementTo(u"one", target_.get(), u"taken", STGMOVE_COPY), STG_E_FILEALREADYEXISTS);
}

TEST_F(StorageCopyTest, SwitchToFileRefusesAnExistingFileAndLeavesItAlone) {
  ComPtr<IRootStorage> root;
  ASSERT_EQ(source_.try_as(root), S_OK);
  const auto taken = dir_ / "taken.cfb";
  std::ofstream(taken) << "keep";
  std::u16string name = W(taken.string());
  EXPECT_EQ(root->SwitchToFile(name.data()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(ReadBytes(taken), (std::vector<uint8_t>{'k', 'e', 'e', 'p'}));
  PutStream(source_.get(), "still here", {1});
}

TEST_F(StorageCopyTest, SwitchToFileContinuesInTheNewFile) {
  ComPtr<IRootStorage> root;
  ASSERT_EQ(source_.try_as(root), S_OK);
  const auto moved = dir_ / "switched.cfb";
  std::u16string name = W(moved.string());
  ASSERT_EQ(root->SwitchToFile(name.data()), S_OK);
  PutStream(source_.get(), "after", Pattern(50, 9));
  const auto original = ReadBytes(dir_ / "src.cfb");
  source_ = nullptr;
  root = nullptr;
  auto again = OpenDocfile(moved, STGM_READ | STGM_SHARE_DENY_WRITE);
  ASSERT_TRUE(again);
  EXPECT_EQ(GetStream(again.get(), "two"), Pattern(9000, 2));
  EXPECT_EQ(GetStream(again.get(), "after"), Pattern(50, 9));
  auto old = OpenDocfile(dir_ / "src.cfb", STGM_READ | STGM_SHARE_DENY_WRITE);
  ASSERT_TRUE(old);
  ComPtr<IStream> stream;
  EXPECT_EQ(old->OpenStream(u"after", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()),
            STG_E_FILENOTFOUND);
}

}  // namespace
}  // namespace quillbox::storage::testing
