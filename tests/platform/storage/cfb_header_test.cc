// The header, FAT and directory bytes of files we write, checked against
// the format's layout.
#include <gtest/gtest.h>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

const uint8_t kMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

class CfbHeaderTest : public ::testing::Test {
 protected:
  quillbox::testing::ScratchDir dir_;
};

TEST_F(CfbHeaderTest, NewFileHeaderHasVersion3Fields) {
  const auto path = dir_ / "a.cfb";
  { ASSERT_TRUE(CreateDocfile(path)); }
  const auto b = ReadBytes(path);
  ASSERT_GE(b.size(), 1536u);
  EXPECT_TRUE(std::equal(kMagic, kMagic + 8, b.begin()));
  for (int i = 8; i < 24; ++i) EXPECT_EQ(b[i], 0) << "class id byte " << i;
  EXPECT_EQ(Get16(b, 0x18), 0x003E);  // minor version
  EXPECT_EQ(Get16(b, 0x1A), 3);       // major version
  EXPECT_EQ(Get16(b, 0x1C), 0xFFFE);  // byte order
  EXPECT_EQ(Get16(b, 0x1E), 9);       // sector shift
  EXPECT_EQ(Get16(b, 0x20), 6);       // mini sector shift
  for (int i = 0x22; i < 0x28; ++i) EXPECT_EQ(b[i], 0);
  EXPECT_EQ(Get32(b, 0x28), 0u);      // directory sectors: zero in version 3
  EXPECT_EQ(Get32(b, 0x2C), 1u);      // one FAT sector
  EXPECT_EQ(Get32(b, 0x34), 0u);      // transaction signature
  EXPECT_EQ(Get32(b, 0x38), 4096u);   // mini stream cutoff
  EXPECT_EQ(Get32(b, 0x3C), 0xFFFFFFFEu);  // no mini FAT yet
  EXPECT_EQ(Get32(b, 0x40), 0u);
  EXPECT_EQ(Get32(b, 0x44), 0xFFFFFFFEu);  // no DIFAT sectors
  EXPECT_EQ(Get32(b, 0x48), 0u);
  for (int i = 1; i < 109; ++i) EXPECT_EQ(Get32(b, 0x4C + 4 * i), 0xFFFFFFFFu);
  EXPECT_EQ(b.size() % 512, 0u);
}

TEST_F(CfbHeaderTest, FatMarksItselfAndEndsTheDirectoryChain) {
  const auto path = dir_ / "a.cfb";
  { ASSERT_TRUE(CreateDocfile(path)); }
  const RawFile raw = ReadRaw(path);
  const uint32_t fat_sector = raw.fat_sectors.at(0);
  EXPECT_EQ(raw.fat.at(fat_sector), 0xFFFFFFFDu);  // FATSECT
  const uint32_t dir = Get32(raw.bytes, 0x30);
  EXPECT_EQ(raw.fat.at(dir), 0xFFFFFFFEu);  // ENDOFCHAIN
  EXPECT_EQ(raw.fat.back(), 0xFFFFFFFFu);   // FREESECT
}

TEST_F(CfbHeaderTest, RootEntryLayout) {
  const auto path = dir_ / "a.cfb";
  { ASSERT_TRUE(CreateDocfile(path)); }
  const RawFile raw = ReadRaw(path);
  const RawEntry& root = raw.entries.at(0);
  EXPECT_EQ(root.name, u"Root Entry");
  EXPECT_EQ(root.name_length, 22);  // 10 units and the terminator, in bytes
  EXPECT_EQ(root.type, 5);
  EXPECT_EQ(root.color, 1);
  EXPECT_EQ(root.left, 0xFFFFFFFFu);
  EXPECT_EQ(root.right, 0xFFFFFFFFu);
  EXPECT_EQ(root.child, 0xFFFFFFFFu);
  EXPECT_EQ(root.start, 0xFFFFFFFEu);
  EXPECT_EQ(root.size, 0u);
  // Unused entries: zero name and type, NOSTREAM links.
  const RawEntry& blank = raw.entries.at(1);
  EXPECT_EQ(blank.type, 0);
  EXPECT_EQ(blank.name_length, 0);
  EXPECT_EQ(blank.left, 0xFFFFFFFFu);
  EXPECT_EQ(blank.child, 0xFFFFFFFFu);
}

TEST_F(CfbHeaderTest, StreamEntryLayoutKeepsCaseAndCountsTerminator) {
  const auto path = dir_ / "a.cfb";
  {
    auto root = CreateDocfile(path);
    PutStream(root.get(), "MixedCase", Pattern(100, 1));
    ComPtr<IStorage> sub;
    ASSERT_EQ(root->CreateStorage(u"Sub", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, sub.put()), S_OK);
  }
  const RawFile raw = ReadRaw(path);
  const uint32_t id = raw.Find(0, "MixedCase");
  ASSERT_NE(id, 0xFFFFFFFFu);
  EXPECT_EQ(raw.entries[id].name_length, 20);
  EXPECT_EQ(raw.entries[id].type, 2);
  EXPECT_EQ(raw.entries[id].size, 100u);
  EXPECT_EQ(raw.entries[id].child, 0xFFFFFFFFu);
  const uint32_t sub = raw.Find(0, "Sub");
  ASSERT_NE(sub, 0xFFFFFFFFu);
  EXPECT_EQ(raw.entries[sub].type, 1);
  EXPECT_EQ(raw.entries[sub].size, 0u);
  EXPECT_EQ(CheckRedBlack(raw), "");
}

TEST_F(CfbHeaderTest, SmallStreamLivesInTheMiniStream) {
  const auto path = dir_ / "a.cfb";
  {
    auto root = CreateDocfile(path);
    PutStream(root.get(), "s", Pattern(200, 2));
  }
  const RawFile raw = ReadRaw(path);
  const RawEntry& root = raw.entries[0];
  EXPECT_NE(root.start, 0xFFFFFFFEu);
  EXPECT_EQ(root.size % 64, 0u);
  EXPECT_GE(root.size, 256u);
  EXPECT_NE(Get32(raw.bytes, 0x3C), 0xFFFFFFFEu);  // a mini FAT now
  EXPECT_EQ(Get32(raw.bytes, 0x40), 1u);
  // The stream's bytes are in the mini stream at 64-byte mini sector start.
  const uint32_t id = raw.Find(0, "s");
  const auto chain = raw.Chain(root.start);
  const size_t at = raw.SectorOffset(chain.at(raw.entries[id].start * 64 / 512)) +
                    raw.entries[id].start * 64 % 512;
  const auto expected = Pattern(200, 2);
  EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + 64, raw.bytes.begin() + at));
}

}  // namespace
}  // namespace quillbox::storage::testing
