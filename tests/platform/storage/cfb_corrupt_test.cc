// Damaged files: every one gives STG_E_DOCFILECORRUPT, STG_E_INVALIDHEADER
// or STG_E_FILEALREADYEXISTS at open or at first use, quickly, and never
// crashes; the leniencies for files real writers make still open.
#include <gtest/gtest.h>

#include <chrono>

#include "cfb_test_util.h"
#include "platform/storage/cfb_diagnostic.h"
#include "quillbox/objbase.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kRead = STGM_READ | STGM_SHARE_DENY_WRITE;
constexpr DWORD kChildRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

// Opens every storage and reads every stream; the first failure.
HRESULT ReadEverything(IStorage* storage, int depth = 0) {
  if (depth > 40) return S_OK;
  ComPtr<IEnumSTATSTG> items;
  HRESULT hr = storage->EnumElements(0, nullptr, 0, items.put());
  if (FAILED(hr)) return hr;
  STATSTG stat;
  while (items->Next(1, &stat, nullptr) == S_OK) {
    std::u16string name(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    if (stat.type == STGTY_STREAM) {
      ComPtr<IStream> stream;
      if (FAILED(hr = storage->OpenStream(name.c_str(), nullptr, kChildRead, 0, stream.put()))) return hr;
      std::vector<uint8_t> buffer(4096);
      for (ULONG got = 1; got > 0;) {
        if (FAILED(hr = stream->Read(buffer.data(), 4096, &got))) return hr;
      }
    } else {
      ComPtr<IStorage> sub;
      if (FAILED(hr = storage->OpenStorage(name.c_str(), nullptr, kChildRead, nullptr, 0, sub.put()))) return hr;
      if (FAILED(hr = ReadEverything(sub.get(), depth + 1))) return hr;
    }
  }
  return S_OK;
}

class CfbCorruptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto root = CreateDocfile(good_);
    PutStream(root.get(), "mini", Pattern(200, 1));     // 4 mini sectors
    PutStream(root.get(), "big", Pattern(5000, 2));     // 10 sectors
    ComPtr<IStorage> sub;
    ASSERT_EQ(root->CreateStorage(u"sub", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, sub.put()), S_OK);
    PutStream(sub.get(), "inner", Pattern(100, 3));
    root = nullptr;
    raw_ = ReadRaw(good_);
    started_ = std::chrono::steady_clock::now();
  }
  void TearDown() override {
    const auto took = std::chrono::steady_clock::now() - started_;
    // Generous for loaded or sanitized builds; a loop in the engine would
    // run far past it.
    EXPECT_LT(took, std::chrono::seconds(10)) << "damaged input must be refused quickly";
  }
  // Opens the bytes; S_OK only if opening and reading everything work.
  HRESULT OpenAndRead(const std::vector<uint8_t>& bytes) {
    WriteBytes(bad_, bytes);
    HRESULT hr = S_OK;
    auto root = OpenDocfile(bad_, kRead, &hr);
    if (FAILED(hr)) return hr;
    return ReadEverything(root.get());
  }
  uint32_t EntryOffset(uint32_t id) const {
    const auto chain = raw_.Chain(Get32(raw_.bytes, 0x30));
    const uint32_t per = raw_.sector_size / 128;
    return static_cast<uint32_t>(raw_.SectorOffset(chain.at(id / per)) + 128 * (id % per));
  }
  size_t FatEntryOffset(uint32_t sector) const {
    return raw_.SectorOffset(raw_.fat_sectors.at(sector / 128)) + 4 * (sector % 128);
  }

  quillbox::testing::ScratchDir dir_;
  std::filesystem::path good_ = dir_ / "good.cfb";
  std::filesystem::path bad_ = dir_ / "bad.cfb";
  RawFile raw_;
  std::chrono::steady_clock::time_point started_;
};

TEST_F(CfbCorruptTest, IntactFileReadsFully) { EXPECT_EQ(OpenAndRead(raw_.bytes), S_OK); }

TEST_F(CfbCorruptTest, WrongSignatureIsNotACompoundFile) {
  auto bytes = raw_.bytes;
  bytes[0] = 'P';
  EXPECT_EQ(OpenAndRead(bytes), STG_E_FILEALREADYEXISTS);
}

TEST_F(CfbCorruptTest, FileShorterThanHeaderIsNotACompoundFile) {
  EXPECT_EQ(OpenAndRead(std::vector<uint8_t>(raw_.bytes.begin(), raw_.bytes.begin() + 300)),
            STG_E_FILEALREADYEXISTS);
}

TEST_F(CfbCorruptTest, TruncatedAfterHeaderIsCorrupt) {
  EXPECT_EQ(OpenAndRead(std::vector<uint8_t>(raw_.bytes.begin(), raw_.bytes.begin() + 700)),
            STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, TruncatedInTheMiddleFailsWithoutCrashing) {
  for (size_t keep = 512; keep < raw_.bytes.size(); keep += 256) {
    const HRESULT hr = OpenAndRead(std::vector<uint8_t>(raw_.bytes.begin(), raw_.bytes.begin() + keep));
    EXPECT_TRUE(hr == STG_E_DOCFILECORRUPT || hr == S_OK) << keep << " " << std::hex << hr;
  }
}

TEST_F(CfbCorruptTest, BadSectorShiftIsInvalidHeader) {
  auto bytes = raw_.bytes;
  bytes[0x1E] = 10;
  EXPECT_EQ(OpenAndRead(bytes), STG_E_INVALIDHEADER);
}

TEST_F(CfbCorruptTest, BadMajorVersionIsInvalidHeader) {
  auto bytes = raw_.bytes;
  bytes[0x1A] = 7;
  EXPECT_EQ(OpenAndRead(bytes), STG_E_INVALIDHEADER);
}

TEST_F(CfbCorruptTest, HugeFatSectorCountIsRefusedNotAllocated) {
  auto bytes = raw_.bytes;
  Put32(bytes, 0x2C, 0x80000000u);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, HugeDifatCountIsRefused) {
  auto bytes = raw_.bytes;
  Put32(bytes, 0x48, 0xFFFFFF00u);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, DirectoryStartBeyondFileIsCorrupt) {
  auto bytes = raw_.bytes;
  Put32(bytes, 0x30, 100000);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, StreamStartBeyondFileIsCorrupt) {
  auto bytes = raw_.bytes;
  Put32(bytes, EntryOffset(raw_.Find(0, "big")) + 0x74, 5000000);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, CyclicFatChainIsCorrupt) {
  auto bytes = raw_.bytes;
  const auto chain = raw_.Chain(raw_.entries[raw_.Find(0, "big")].start);
  Put32(bytes, FatEntryOffset(chain.back()), chain.front());
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, SectorPointedToTwiceIsCorrupt) {
  auto bytes = raw_.bytes;
  const auto chain = raw_.Chain(raw_.entries[raw_.Find(0, "big")].start);
  Put32(bytes, FatEntryOffset(chain[5]), chain[2]);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
  EXPECT_EQ(LastDiagnostic(), "FAT sector " + std::to_string(chain[2]) + " pointed to twice");
}

TEST_F(CfbCorruptTest, CyclicMiniChainIsCorrupt) {
  auto bytes = raw_.bytes;
  const uint32_t first = raw_.entries[raw_.Find(0, "mini")].start;
  const uint32_t mini_fat = Get32(raw_.bytes, 0x3C);
  // "mini" was written first: mini sectors first..first+3, in order.
  Put32(bytes, raw_.SectorOffset(mini_fat) + 4 * (first + 3), first);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, CyclicDirectoryTreeIsCorrupt) {
  auto bytes = raw_.bytes;
  const uint32_t top = raw_.entries[0].child;
  Put32(bytes, EntryOffset(top) + 0x44, top);  // left sibling is itself
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, StorageContainingItsParentIsCorrupt) {
  auto bytes = raw_.bytes;
  Put32(bytes, EntryOffset(raw_.Find(0, "sub")) + 0x4C, raw_.entries[0].child);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, DirectoryLinkOutOfRangeIsCorrupt) {
  auto bytes = raw_.bytes;
  Put32(bytes, EntryOffset(raw_.entries[0].child) + 0x48, 77777);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, RootOfWrongTypeIsCorrupt) {
  auto bytes = raw_.bytes;
  bytes[EntryOffset(0) + 0x42] = 2;
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, CyclicDifatIsCorrupt) {
  // Enough sectors for the counts to pass the size check, then a DIFAT
  // sector that names itself as the next one.
  {
    auto root = OpenDocfile(good_, STGM_READWRITE | STGM_SHARE_EXCLUSIVE);
    PutStream(root.get(), "filler", Pattern(200000, 4));
  }
  raw_ = ReadRaw(good_);
  auto bytes = raw_.bytes;
  const uint32_t difat = raw_.Chain(raw_.entries[raw_.Find(0, "filler")].start).at(3);
  Put32(bytes, 0x2C, 109 + 127 + 5);
  Put32(bytes, 0x44, difat);
  Put32(bytes, 0x48, 2);
  Put32(bytes, raw_.SectorOffset(difat) + 4 * 127, difat);
  EXPECT_EQ(OpenAndRead(bytes), STG_E_DOCFILECORRUPT);
}

TEST_F(CfbCorruptTest, EveryFlippedHeaderOrDirectoryByteIsHandled) {
  // One byte at a time over the header and the first directory sector.
  const uint32_t dir_offset = EntryOffset(0);
  std::vector<size_t> offsets;
  for (size_t i = 0; i < 0x4C + 8; ++i) offsets.push_back(i);
  for (size_t i = 0; i < 512; i += 5) offsets.push_back(dir_offset + i);
  for (size_t at : offsets) {
    auto bytes = raw_.bytes;
    bytes[at] ^= 0xA5;
    const HRESULT hr = OpenAndRead(bytes);
    EXPECT_TRUE(hr == S_OK || hr == STG_E_DOCFILECORRUPT || hr == STG_E_INVALIDHEADER ||
                hr == STG_E_FILEALREADYEXISTS || hr == STG_E_FILENOTFOUND)
        << "byte " << at << " gave " << std::hex << hr;
  }
}

// Leniencies: files real writers make.

TEST_F(CfbCorruptTest, AllRedTreeIsReadAndRebuiltOnChange) {
  auto bytes = raw_.bytes;
  for (const char* name : {"mini", "big", "sub"}) bytes[EntryOffset(raw_.Find(0, name)) + 0x43] = 0;
  WriteBytes(bad_, bytes);
  {
    auto root = OpenDocfile(bad_, STGM_READWRITE | STGM_SHARE_EXCLUSIVE);
    ASSERT_TRUE(root);
    EXPECT_EQ(ReadEverything(root.get()), S_OK);
    PutStream(root.get(), "added", {1, 2, 3});
  }
  EXPECT_EQ(CheckRedBlack(ReadRaw(bad_)), "");
}

TEST_F(CfbCorruptTest, SizeBeyondChainReadsWhatTheChainHolds) {
  auto bytes = raw_.bytes;
  Put32(bytes, EntryOffset(raw_.Find(0, "big")) + 0x78, 9000);  // chain holds 5120
  WriteBytes(bad_, bytes);
  auto root = OpenDocfile(bad_, kRead);
  ASSERT_TRUE(root);
  const auto data = GetStream(root.get(), "big");
  EXPECT_EQ(data.size(), 5120u);
  EXPECT_TRUE(std::equal(data.begin(), data.begin() + 5000, Pattern(5000, 2).begin()));
}

TEST_F(CfbCorruptTest, ShortLastSectorIsReadLeniently) {
  // A file whose last sector is the tail of its only stream, then trimmed.
  const auto tail = dir_ / "tail.cfb";
  { PutStream(CreateDocfile(tail).get(), "tail", Pattern(5000, 6)); }
  const RawFile raw = ReadRaw(tail);
  const auto chain = raw.Chain(raw.entries[raw.Find(0, "tail")].start);
  ASSERT_EQ(raw.SectorOffset(chain.back()) + 512, raw.bytes.size());
  auto bytes = raw.bytes;
  bytes.resize(bytes.size() - 100);  // 5000 bytes end 120 bytes into the last sector
  WriteBytes(bad_, bytes);
  auto root = OpenDocfile(bad_, kRead);
  ASSERT_TRUE(root);
  EXPECT_EQ(GetStream(root.get(), "tail"), Pattern(5000, 6));
}

TEST_F(CfbCorruptTest, Version3HeaderWith4096ByteSectorsIsRead) {
  const auto v4 = dir_ / "v4.cfb";
  {
    STGOPTIONS options{};
    options.usVersion = 1;
    options.ulSectorSize = 4096;
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateStorageEx(W(v4.string()).c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                                 STGFMT_DOCFILE, 0, &options, nullptr, IID_IStorage, root.put_void()),
              S_OK);
    PutStream(root.get(), "x", Pattern(6000, 5));
  }
  auto bytes = ReadBytes(v4);
  bytes[0x1A] = 3;
  EXPECT_EQ(OpenAndRead(bytes), S_OK);
}

}  // namespace
}  // namespace quillbox::storage::testing
