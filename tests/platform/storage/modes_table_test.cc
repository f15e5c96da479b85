// Mode flags, table by table: each call with valid and invalid
// combinations and the code each gives.
#include <gtest/gtest.h>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

struct ModeCase {
  DWORD mode;
  HRESULT expected;
};

constexpr DWORD kRW = STGM_READWRITE;
constexpr DWORD kEx = STGM_SHARE_EXCLUSIVE;

TEST(ModesTableTest, StgCreateDocfile) {
  const ModeCase cases[] = {
      {kRW | kEx | STGM_CREATE, S_OK},
      {STGM_WRITE | kEx | STGM_CREATE, S_OK},
      {kRW | kEx | STGM_CREATE | STGM_TRANSACTED, S_OK},
      {kRW | STGM_SHARE_DENY_WRITE | STGM_CREATE | STGM_TRANSACTED, S_OK},
      {kRW | kEx | STGM_CREATE | STGM_SIMPLE, S_OK},
      {STGM_READ | kEx | STGM_CREATE, STG_E_INVALIDFLAG},
      {kRW | STGM_SHARE_DENY_WRITE | STGM_CREATE, STG_E_INVALIDFLAG},
      {kRW | STGM_SHARE_DENY_NONE | STGM_CREATE, STG_E_INVALIDFLAG},
      {3 | kEx | STGM_CREATE, STG_E_INVALIDFLAG},
      {kRW | 0x50 | STGM_CREATE, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CREATE | STGM_CONVERT, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CREATE | STGM_PRIORITY, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CREATE | STGM_NOSCRATCH, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CREATE | 0x100, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CREATE | STGM_SIMPLE | STGM_TRANSACTED, STG_E_INVALIDFLAG},
  };
  quillbox::testing::ScratchDir dir;
  int n = 0;
  for (const ModeCase& c : cases) {
    const std::u16string name = W((dir / ("f" + std::to_string(n++))).string());
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgCreateDocfile(name.c_str(), c.mode, 0, storage.put()), c.expected)
        << std::hex << "mode 0x" << c.mode;
    EXPECT_EQ(storage != nullptr, c.expected == S_OK);
  }
}

TEST(ModesTableTest, StgOpenStorage) {
  const ModeCase cases[] = {
      {STGM_READ | STGM_SHARE_DENY_WRITE, S_OK},
      {STGM_READ | kEx, S_OK},
      {kRW | kEx, S_OK},
      {STGM_WRITE | kEx, S_OK},
      {STGM_READ | STGM_SHARE_DENY_NONE | STGM_TRANSACTED, S_OK},
      {kRW | STGM_SHARE_DENY_WRITE | STGM_TRANSACTED, S_OK},
      {STGM_READ | STGM_PRIORITY, S_OK},
      {STGM_READ | STGM_SHARE_DENY_NONE, STG_E_INVALIDFLAG},
      {STGM_READ, STG_E_INVALIDFLAG},
      {kRW | STGM_SHARE_DENY_WRITE, STG_E_INVALIDFLAG},
      {kRW | STGM_SHARE_DENY_NONE, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CREATE, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_CONVERT, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_DELETEONRELEASE, STG_E_INVALIDFUNCTION},
      {kRW | STGM_PRIORITY, STG_E_INVALIDFLAG},
      {3 | kEx, STG_E_INVALIDFLAG},
      {kRW | 0x70, STG_E_INVALIDFLAG},
      {kRW | kEx | STGM_DIRECT_SWMR, STG_E_INVALIDFLAG},
  };
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "f.cfb";
  { ASSERT_TRUE(CreateDocfile(path)); }
  const std::u16string name = W(path.string());
  for (const ModeCase& c : cases) {
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgOpenStorage(name.c_str(), nullptr, c.mode, nullptr, 0, storage.put()), c.expected)
        << std::hex << "mode 0x" << c.mode;
  }
}

class ChildModesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = CreateDocfile(dir_ / "c.cfb");
    ASSERT_TRUE(root_);
    PutStream(root_.get(), "stream", {1});
    ComPtr<IStorage> sub;
    ASSERT_EQ(root_->CreateStorage(u"storage", kRW | kEx, 0, 0, sub.put()), S_OK);
  }
  quillbox::testing::ScratchDir dir_;
  ComPtr<IStorage> root_;
};

const ModeCase kChildCommon[] = {
    {kRW | kEx, S_OK},
    {STGM_READ | kEx, S_OK},
    {STGM_WRITE | kEx, S_OK},
    {kRW | STGM_SHARE_DENY_WRITE, STG_E_INVALIDFUNCTION},
    {kRW | STGM_SHARE_DENY_NONE, STG_E_INVALIDFUNCTION},
    {kRW, STG_E_INVALIDFUNCTION},
    {kRW | kEx | STGM_DELETEONRELEASE, STG_E_INVALIDFUNCTION},
    {kRW | kEx | STGM_PRIORITY, STG_E_INVALIDFUNCTION},
    {kRW | kEx | STGM_CONVERT, STG_E_INVALIDFLAG},
    {3 | kEx, STG_E_INVALIDFLAG},
    {kRW | 0x60, STG_E_INVALIDFLAG},
    {kRW | kEx | 0x80000000u, STG_E_INVALIDFLAG},
};

TEST_F(ChildModesTest, CreateStream) {
  int n = 0;
  for (const ModeCase& c : kChildCommon) {
    ComPtr<IStream> stream;
    const std::u16string name = u"new" + W(std::to_string(n++));
    EXPECT_EQ(root_->CreateStream(name.c_str(), c.mode, 0, 0, stream.put()), c.expected) << std::hex << c.mode;
  }
  ComPtr<IStream> stream;
  EXPECT_EQ(root_->CreateStream(u"t1", kRW | kEx | STGM_TRANSACTED, 0, 0, stream.put()), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(root_->CreateStream(u"stream", kRW | kEx | STGM_CREATE, 0, 0, stream.put()), S_OK);
}

TEST_F(ChildModesTest, OpenStream) {
  for (const ModeCase& c : kChildCommon) {
    ComPtr<IStream> stream;
    EXPECT_EQ(root_->OpenStream(u"stream", nullptr, c.mode, 0, stream.put()), c.expected) << std::hex << c.mode;
  }
  ComPtr<IStream> stream;
  EXPECT_EQ(root_->OpenStream(u"stream", nullptr, kRW | kEx | STGM_TRANSACTED, 0, stream.put()),
            STG_E_INVALIDFUNCTION);
  EXPECT_EQ(root_->OpenStream(u"stream", nullptr, kRW | kEx | STGM_CREATE, 0, stream.put()), STG_E_INVALIDFLAG);
}

TEST_F(ChildModesTest, CreateStorage) {
  int n = 0;
  for (const ModeCase& c : kChildCommon) {
    ComPtr<IStorage> storage;
    const std::u16string name = u"new" + W(std::to_string(n++));
    EXPECT_EQ(root_->CreateStorage(name.c_str(), c.mode, 0, 0, storage.put()), c.expected) << std::hex << c.mode;
  }
  ComPtr<IStorage> storage;
  EXPECT_EQ(root_->CreateStorage(u"t1", kRW | kEx | STGM_TRANSACTED, 0, 0, storage.put()), S_OK);
}

TEST_F(ChildModesTest, OpenStorage) {
  for (const ModeCase& c : kChildCommon) {
    ComPtr<IStorage> storage;
    EXPECT_EQ(root_->OpenStorage(u"storage", nullptr, c.mode, nullptr, 0, storage.put()), c.expected)
        << std::hex << c.mode;
  }
  ComPtr<IStorage> storage;
  EXPECT_EQ(root_->OpenStorage(u"storage", nullptr, kRW | kEx | STGM_CREATE, nullptr, 0, storage.put()),
            STG_E_INVALIDFLAG);
}

TEST_F(ChildModesTest, ChildOfReadOnlyParentCannotWrite) {
  ComPtr<IStorage> reader;
  ASSERT_EQ(root_->OpenStorage(u"storage", nullptr, STGM_READ | kEx, nullptr, 0, reader.put()), S_OK);
  ComPtr<IStream> stream;
  EXPECT_EQ(reader->CreateStream(u"x", STGM_READ | kEx, 0, 0, stream.put()), STG_E_ACCESSDENIED);
  ComPtr<IStorage> sub;
  EXPECT_EQ(reader->CreateStorage(u"x", kRW | kEx, 0, 0, sub.put()), STG_E_ACCESSDENIED);
}

TEST_F(ChildModesTest, ReservedArgumentsMustBeZero) {
  ComPtr<IStream> stream;
  EXPECT_EQ(root_->CreateStream(u"x", kRW | kEx, 1, 0, stream.put()), STG_E_INVALIDPARAMETER);
  EXPECT_EQ(root_->OpenStream(u"stream", nullptr, kRW | kEx, 1, stream.put()), STG_E_INVALIDPARAMETER);
  ComPtr<IEnumSTATSTG> items;
  EXPECT_EQ(root_->EnumElements(1, nullptr, 0, items.put()), STG_E_INVALIDPARAMETER);
}

}  // namespace
}  // namespace quillbox::storage::testing
