// A read-only open refuses every write with STG_E_ACCESSDENIED and leaves
// the file byte for byte as it was.
#include <gtest/gtest.h>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

TEST(ModesReadOnlyTest, EveryWriteIsRefusedAndFileIsUnchanged) {
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "ro.cfb";
  {
    auto root = CreateDocfile(path);
    PutStream(root.get(), "s", Pattern(5000, 1));
    ComPtr<IStorage> sub;
    ASSERT_EQ(root->CreateStorage(u"sub", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, sub.put()), S_OK);
    PutStream(sub.get(), "t", Pattern(10, 2));
  }
  const auto before = ReadBytes(path);
  {
    auto root = OpenDocfile(path, STGM_READ | STGM_SHARE_DENY_WRITE);
    ASSERT_TRUE(root);
    constexpr DWORD kChildRead = STGM_READ | STGM_SHARE_EXCLUSIVE;
    constexpr DWORD kChildWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
    ComPtr<IStream> stream;
    ComPtr<IStorage> storage;
    EXPECT_EQ(root->CreateStream(u"new", kChildWrite, 0, 0, stream.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->CreateStream(u"s", kChildWrite | STGM_CREATE, 0, 0, stream.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->CreateStorage(u"new", kChildWrite, 0, 0, storage.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->OpenStream(u"s", nullptr, kChildWrite, 0, stream.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->OpenStorage(u"sub", nullptr, kChildWrite, nullptr, 0, storage.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->DestroyElement(u"s"), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->RenameElement(u"s", u"x"), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->SetClass(IID_IStorage), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->SetStateBits(1, 1), STG_E_ACCESSDENIED);
    const FILETIME t = {1, 1};
    EXPECT_EQ(root->SetElementTimes(u"sub", &t, &t, &t), STG_E_ACCESSDENIED);
    EXPECT_EQ(WriteClassStg(root.get(), IID_IStorage), STG_E_ACCESSDENIED);
    ComPtr<IStorage> other = CreateDocfile(dir / "other.cfb");
    EXPECT_EQ(root->MoveElementTo(u"s", other.get(), u"s", STGMOVE_MOVE), STG_E_ACCESSDENIED);
    ASSERT_EQ(root->OpenStream(u"s", nullptr, kChildRead, 0, stream.put()), S_OK);
    EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
    ULARGE_INTEGER size{};
    EXPECT_EQ(stream->SetSize(size), STG_E_ACCESSDENIED);
    uint8_t buffer[100];
    ULONG got = 0;
    EXPECT_EQ(stream->Read(buffer, 100, &got), S_OK);
    EXPECT_EQ(got, 100u);
    ASSERT_EQ(root->OpenStorage(u"sub", nullptr, kChildRead, nullptr, 0, storage.put()), S_OK);
    EXPECT_EQ(storage->CreateStream(u"n", kChildWrite, 0, 0, stream.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    // Copying out of a read-only file is fine.
    EXPECT_EQ(root->CopyTo(0, nullptr, nullptr, other.get()), S_OK);
  }
  EXPECT_EQ(ReadBytes(path), before);
}

}  // namespace
}  // namespace quillbox::storage::testing
