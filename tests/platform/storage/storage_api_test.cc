// The Stg* functions: creating and opening files, result codes for missing
// files and folders, conversion, deletion on release, temporary files,
// the Ex functions and the class-id helpers.
#include <gtest/gtest.h>

#include "cfb_test_util.h"
#include "quillbox/hglobal.h"
#include "quillbox/objbase.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kCreateRW = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRW = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_DENY_WRITE;

class StorageApiTest : public ::testing::Test {
 protected:
  std::u16string Name(const std::string& leaf) { return W((dir_ / leaf).string()); }
  quillbox::testing::ScratchDir dir_;
};

TEST_F(StorageApiTest, CreateOverExistingFileWithoutCreateFails) {
  WriteBytes(dir_ / "x", {1, 2, 3});
  ComPtr<IStorage> storage;
  EXPECT_EQ(StgCreateDocfile(Name("x").c_str(), kRW, 0, storage.put()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(ReadBytes(dir_ / "x"), (std::vector<uint8_t>{1, 2, 3}));
  EXPECT_EQ(StgCreateDocfile(Name("x").c_str(), kCreateRW, 0, storage.put()), S_OK);
}

TEST_F(StorageApiTest, OpenOfNonCompoundFileGivesFileAlreadyExists) {
  WriteBytes(dir_ / "plain.txt", std::vector<uint8_t>(2000, 'a'));
  WriteBytes(dir_ / "empty", {});
  ComPtr<IStorage> storage;
  EXPECT_EQ(StgOpenStorage(Name("plain.txt").c_str(), nullptr, kRead, nullptr, 0, storage.put()),
            STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(StgOpenStorage(Name("empty").c_str(), nullptr, kRead, nullptr, 0, storage.put()),
            STG_E_FILEALREADYEXISTS);
}

TEST_F(StorageApiTest, MissingFileAndMissingFolder) {
  ComPtr<IStorage> storage;
  EXPECT_EQ(StgOpenStorage(Name("none.cfb").c_str(), nullptr, kRead, nullptr, 0, storage.put()),
            STG_E_FILENOTFOUND);
  EXPECT_EQ(StgOpenStorage(Name("nodir/none.cfb").c_str(), nullptr, kRead, nullptr, 0, storage.put()),
            STG_E_PATHNOTFOUND);
  EXPECT_EQ(StgCreateDocfile(Name("nodir/new.cfb").c_str(), kCreateRW, 0, storage.put()), STG_E_PATHNOTFOUND);
  EXPECT_EQ(StgIsStorageFile(Name("none.cfb").c_str()), STG_E_FILENOTFOUND);
}

TEST_F(StorageApiTest, NullArgumentsAreRefused) {
  ComPtr<IStorage> storage;
  EXPECT_EQ(StgCreateDocfile(Name("a").c_str(), kCreateRW, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(StgOpenStorage(Name("a").c_str(), nullptr, kRead, nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(StgOpenStorage(nullptr, nullptr, kRead, nullptr, 0, storage.put()), STG_E_INVALIDNAME);
  EXPECT_EQ(StgCreateDocfileOnILockBytes(nullptr, kCreateRW, 0, storage.put()), STG_E_INVALIDPOINTER);
  EXPECT_EQ(StgOpenStorageOnILockBytes(nullptr, nullptr, kRead, nullptr, 0, storage.put()), STG_E_INVALIDPOINTER);
  EXPECT_EQ(StgIsStorageILockBytes(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(WriteClassStg(nullptr, IID_IStorage), STG_E_INVALIDPOINTER);
  EXPECT_EQ(ReadClassStm(nullptr, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(StgCreateDocfile(Name("a").c_str(), kCreateRW, 1, storage.put()), STG_E_INVALIDPARAMETER);
}

TEST_F(StorageApiTest, IsStorageFileTellsCompoundFilesApart) {
  { ASSERT_TRUE(CreateDocfile(dir_ / "c.cfb")); }
  WriteBytes(dir_ / "p.txt", std::vector<uint8_t>(600, 'x'));
  EXPECT_EQ(StgIsStorageFile(Name("c.cfb").c_str()), S_OK);
  EXPECT_EQ(StgIsStorageFile(Name("p.txt").c_str()), S_FALSE);
}

TEST_F(StorageApiTest, ConvertKeepsOldBytesAsContents) {
  const auto old = Pattern(10000, 3);
  WriteBytes(dir_ / "old.bin", old);
  ComPtr<IStorage> storage;
  ASSERT_EQ(StgCreateDocfile(Name("old.bin").c_str(), STGM_CONVERT | kRW, 0, storage.put()), STG_S_CONVERTED);
  EXPECT_EQ(GetStream(storage.get(), "CONTENTS"), old);
  storage = nullptr;
  EXPECT_EQ(StgIsStorageFile(Name("old.bin").c_str()), S_OK);
  ASSERT_EQ(StgCreateDocfile(Name("fresh.cfb").c_str(), STGM_CONVERT | kRW, 0, storage.put()), S_OK);
}

TEST_F(StorageApiTest, DeleteOnReleaseRemovesTheFile) {
  {
    ComPtr<IStorage> storage;
    ASSERT_EQ(StgCreateDocfile(Name("gone.cfb").c_str(), kCreateRW | STGM_DELETEONRELEASE, 0, storage.put()), S_OK);
    EXPECT_TRUE(std::filesystem::exists(dir_ / "gone.cfb"));
  }
  EXPECT_FALSE(std::filesystem::exists(dir_ / "gone.cfb"));
}

TEST_F(StorageApiTest, NullNameMakesATemporaryFileNamedInStat) {
  std::u16string name;
  {
    ComPtr<IStorage> storage;
    ASSERT_EQ(StgCreateDocfile(nullptr, kCreateRW | STGM_DELETEONRELEASE, 0, storage.put()), S_OK);
    PutStream(storage.get(), "s", {1, 2});
    STATSTG stat{};
    ASSERT_EQ(storage->Stat(&stat, STATFLAG_DEFAULT), S_OK);
    ASSERT_NE(stat.pwcsName, nullptr);
    name = stat.pwcsName;
    CoTaskMemFree(stat.pwcsName);
    EXPECT_TRUE(std::filesystem::exists(std::string(name.begin(), name.end())));
  }
  EXPECT_FALSE(std::filesystem::exists(std::string(name.begin(), name.end())));
}

TEST_F(StorageApiTest, CreateStorageExChecksFormatAndOptions) {
  ComPtr<IStorage> storage;
  STGOPTIONS options{};
  options.usVersion = 1;
  options.ulSectorSize = 1024;
  EXPECT_EQ(StgCreateStorageEx(Name("a").c_str(), kCreateRW, STGFMT_DOCFILE, 0, &options, nullptr, IID_IStorage,
                               storage.put_void()),
            STG_E_INVALIDPARAMETER);
  EXPECT_EQ(StgCreateStorageEx(Name("a").c_str(), kCreateRW, STGFMT_FILE, 0, nullptr, nullptr, IID_IStorage,
                               storage.put_void()),
            STG_E_INVALIDPARAMETER);
  EXPECT_EQ(StgCreateStorageEx(Name("a").c_str(), kCreateRW, STGFMT_ANY, 0, nullptr, nullptr, IID_IStorage,
                               storage.put_void()),
            STG_E_INVALIDPARAMETER);
  EXPECT_EQ(StgCreateStorageEx(Name("a").c_str(), kCreateRW, STGFMT_STORAGE, 0, nullptr, nullptr, IID_IStorage,
                               nullptr),
            STG_E_INVALIDPOINTER);
  ASSERT_EQ(StgCreateStorageEx(Name("a").c_str(), kCreateRW, STGFMT_STORAGE, 0, nullptr, nullptr, IID_IStorage,
                               storage.put_void()),
            S_OK);
  storage = nullptr;
  EXPECT_EQ(Get16(ReadBytes(dir_ / "a"), 0x1E), 9);
}

TEST_F(StorageApiTest, OpenStorageExOpensAnyDocfile) {
  { ASSERT_TRUE(CreateDocfile(dir_ / "c.cfb")); }
  for (DWORD format : {STGFMT_STORAGE, STGFMT_DOCFILE, STGFMT_ANY}) {
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgOpenStorageEx(Name("c.cfb").c_str(), kRead, format, 0, nullptr, nullptr, IID_IStorage,
                               storage.put_void()),
              S_OK);
  }
  ComPtr<IRootStorage> root;
  EXPECT_EQ(StgOpenStorageEx(Name("c.cfb").c_str(), kRead, STGFMT_DOCFILE, 0, nullptr, nullptr, IID_IRootStorage,
                             root.put_void()),
            S_OK);
  ComPtr<IStorage> storage;
  EXPECT_EQ(StgOpenStorageEx(Name("c.cfb").c_str(), kRead, STGFMT_FILE, 0, nullptr, nullptr, IID_IStorage,
                             storage.put_void()),
            STG_E_INVALIDPARAMETER);
}

TEST_F(StorageApiTest, ClassIdOfStorageRoundTrips) {
  const CLSID clsid = {0xAABBCCDD, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
  {
    auto root = CreateDocfile(dir_ / "c.cfb");
    ASSERT_EQ(WriteClassStg(root.get(), clsid), S_OK);
  }
  auto root = OpenDocfile(dir_ / "c.cfb", kRead);
  CLSID back{};
  ASSERT_EQ(ReadClassStg(root.get(), &back), S_OK);
  EXPECT_TRUE(IsEqualGUID(back, clsid));
  // The root entry's class id field holds it, little-endian.
  const RawFile raw = ReadRaw(dir_ / "c.cfb");
  const size_t root_entry = raw.SectorOffset(Get32(raw.bytes, 0x30));
  EXPECT_EQ(Get32(raw.bytes, root_entry + 0x50), 0xAABBCCDDu);
}

TEST_F(StorageApiTest, WorksOverMemoryLockBytes) {
  ComPtr<ILockBytes> memory;
  ASSERT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put()), S_OK);
  EXPECT_EQ(StgIsStorageILockBytes(memory.get()), S_FALSE);
  {
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateDocfileOnILockBytes(memory.get(), kCreateRW, 0, root.put()), S_OK);
    PutStream(root.get(), "m", Pattern(7000, 1));
  }
  EXPECT_EQ(StgIsStorageILockBytes(memory.get()), S_OK);
  ComPtr<IStorage> root;
  ASSERT_EQ(StgOpenStorageOnILockBytes(memory.get(), nullptr, kRead, nullptr, 0, root.put()), S_OK);
  EXPECT_EQ(GetStream(root.get(), "m"), Pattern(7000, 1));
  ComPtr<IStorage> again;
  EXPECT_EQ(StgCreateDocfileOnILockBytes(memory.get(), kRW, 0, again.put()), STG_E_FILEALREADYEXISTS);
}

}  // namespace
}  // namespace quillbox::storage::testing
