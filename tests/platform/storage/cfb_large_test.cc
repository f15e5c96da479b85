// Large files: the DIFAT past 109 FAT sectors, and version 4 files with
// 4096-byte sectors.
#include <gtest/gtest.h>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

TEST(CfbLargeTest, StreamNeedingMoreThan109FatSectorsUsesDifat) {
  // 512-byte sectors hold 128 FAT entries each; 109 FAT sectors cover
  // 109 * 128 = 13952 sectors (about 6.8 MiB). An 8 MiB stream takes 16384
  // data sectors, so at least 129 FAT sectors and one DIFAT sector.
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "big.cfb";
  const auto data = Pattern(8 * 1024 * 1024, 11);
  {
    auto root = CreateDocfile(path);
    ComPtr<IStream> stream;
    ASSERT_EQ(root->CreateStream(u"big", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, stream.put()), S_OK);
    for (size_t at = 0; at < data.size(); at += 65536) {
      ASSERT_EQ(stream->Write(data.data() + at, 65536, nullptr), S_OK);
    }
  }
  const RawFile raw = ReadRaw(path);
  EXPECT_GE(Get32(raw.bytes, 0x2C), 129u);
  EXPECT_GE(Get32(raw.bytes, 0x48), 1u);
  const uint32_t difat = Get32(raw.bytes, 0x44);
  ASSERT_LT(difat, raw.fat.size());
  EXPECT_EQ(raw.fat[difat], 0xFFFFFFFCu);  // DIFSECT
  for (uint32_t s : raw.fat_sectors) EXPECT_EQ(raw.fat.at(s), 0xFFFFFFFDu);
  const uint32_t id = raw.Find(0, "big");
  EXPECT_EQ(raw.Chain(raw.entries.at(id).start).size(), 16384u);
  auto again = OpenDocfile(path, STGM_READ | STGM_SHARE_DENY_WRITE);
  ASSERT_TRUE(again);
  EXPECT_TRUE(GetStream(again.get(), "big") == data);
}

TEST(CfbLargeTest, Version4FileHas4096ByteSectors) {
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "v4.cfb";
  const std::u16string name = W(path.string());
  {
    STGOPTIONS options{};
    options.usVersion = 1;
    options.ulSectorSize = 4096;
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateStorageEx(name.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                                 STGFMT_DOCFILE, 0, &options, nullptr, IID_IStorage, root.put_void()),
              S_OK);
    PutStream(root.get(), "small", Pattern(300, 1));
    PutStream(root.get(), "large", Pattern(50000, 2));
  }
  const RawFile raw = ReadRaw(path);
  EXPECT_EQ(Get16(raw.bytes, 0x1A), 4);
  EXPECT_EQ(Get16(raw.bytes, 0x1E), 12);
  EXPECT_GE(Get32(raw.bytes, 0x28), 1u);  // directory sectors counted in version 4
  EXPECT_EQ(raw.bytes.size() % 4096, 0u);
  for (size_t i = 512; i < 4096; ++i) ASSERT_EQ(raw.bytes[i], 0) << "header padding byte " << i;
  EXPECT_EQ(raw.Chain(raw.entries.at(raw.Find(0, "large")).start).size(), 13u);
  auto again = OpenDocfile(path, STGM_READ | STGM_SHARE_DENY_WRITE);
  ASSERT_TRUE(again);
  EXPECT_EQ(GetStream(again.get(), "small"), Pattern(300, 1));
  EXPECT_EQ(GetStream(again.get(), "large"), Pattern(50000, 2));
}

TEST(CfbLargeTest, ManyElementsGrowTheDirectory) {
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "many.cfb";
  {
    auto root = CreateDocfile(path);
    for (int i = 0; i < 200; ++i) PutStream(root.get(), "s" + std::to_string(i), Pattern(10 + i, i));
  }
  auto again = OpenDocfile(path, STGM_READ | STGM_SHARE_DENY_WRITE);
  ASSERT_TRUE(again);
  for (int i = 0; i < 200; i += 37) EXPECT_EQ(GetStream(again.get(), "s" + std::to_string(i)), Pattern(10 + i, i));
  EXPECT_EQ(CheckRedBlack(ReadRaw(path)), "");
}

}  // namespace
}  // namespace quillbox::storage::testing
