// Streams move out of the mini stream when they grow to 4,096 bytes and
// back when they shrink below it, keeping their bytes.
#include <gtest/gtest.h>

#include <algorithm>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

class CfbMiniStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = CreateDocfile(path_);
    ASSERT_TRUE(root_);
    ASSERT_EQ(root_->CreateStream(u"s", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, stream_.put()), S_OK);
  }
  void Resize(uint64_t size) {
    ULARGE_INTEGER n;
    n.QuadPart = size;
    ASSERT_EQ(stream_->SetSize(n), S_OK);
  }
  std::vector<uint8_t> ReadAll() {
    LARGE_INTEGER zero{};
    EXPECT_EQ(stream_->Seek(zero, STREAM_SEEK_SET, nullptr), S_OK);
    STATSTG stat{};
    EXPECT_EQ(stream_->Stat(&stat, STATFLAG_NONAME), S_OK);
    std::vector<uint8_t> data(stat.cbSize.QuadPart);
    ULONG got = 0;
    EXPECT_EQ(stream_->Read(data.data(), static_cast<ULONG>(data.size()), &got), S_OK);
    EXPECT_EQ(got, data.size());
    return data;
  }
  RawEntry Entry() {
    const RawFile raw = ReadRaw(path_);
    return raw.entries.at(raw.Find(0, "s"));
  }
  quillbox::testing::ScratchDir dir_;
  std::filesystem::path path_ = dir_ / "m.cfb";
  ComPtr<IStorage> root_;
  ComPtr<IStream> stream_;
};

TEST_F(CfbMiniStreamTest, GrowingPastCutoffMovesToRegularSectors) {
  const auto first = Pattern(4000, 1);
  ASSERT_EQ(stream_->Write(first.data(), 4000, nullptr), S_OK);
  const RawEntry before = Entry();
  EXPECT_EQ(before.size, 4000u);
  const auto more = Pattern(200, 2);
  ASSERT_EQ(stream_->Write(more.data(), 200, nullptr), S_OK);
  const RawFile raw = ReadRaw(path_);
  const RawEntry& after = raw.entries.at(raw.Find(0, "s"));
  EXPECT_EQ(after.size, 4200u);
  // Regular chain: 9 sectors of 512 bytes holding the data in place.
  const auto chain = raw.Chain(after.start);
  ASSERT_EQ(chain.size(), 9u);
  EXPECT_TRUE(std::equal(first.begin(), first.begin() + 512, raw.bytes.begin() + raw.SectorOffset(chain[0])));
  auto expected = first;
  expected.insert(expected.end(), more.begin(), more.end());
  EXPECT_EQ(ReadAll(), expected);
}

TEST_F(CfbMiniStreamTest, ShrinkingBelowCutoffMovesBackToMiniStream) {
  const auto data = Pattern(10000, 3);
  ASSERT_EQ(stream_->Write(data.data(), 10000, nullptr), S_OK);
  auto used = [](const RawFile& raw) {
    return std::count_if(raw.fat.begin(), raw.fat.end(), [](uint32_t e) { return e != 0xFFFFFFFFu; });
  };
  const long used_big = used(ReadRaw(path_));
  Resize(1000);
  const RawFile raw = ReadRaw(path_);
  const RawEntry& small = raw.entries.at(raw.Find(0, "s"));
  EXPECT_EQ(small.size, 1000u);
  // The 20-sector regular chain is freed; the mini stream takes a few.
  EXPECT_LE(used(raw), used_big - 16);
  EXPECT_EQ(ReadAll(), std::vector<uint8_t>(data.begin(), data.begin() + 1000));
}

TEST_F(CfbMiniStreamTest, SetSizeAcrossCutoffZeroFillsTheGrowth) {
  const auto data = Pattern(100, 4);
  ASSERT_EQ(stream_->Write(data.data(), 100, nullptr), S_OK);
  Resize(5000);
  auto expected = data;
  expected.resize(5000, 0);
  EXPECT_EQ(ReadAll(), expected);
}

TEST_F(CfbMiniStreamTest, FreedSectorsAreReusedAndGrowthReadsZero) {
  const auto data = Pattern(20000, 5);
  ASSERT_EQ(stream_->Write(data.data(), 20000, nullptr), S_OK);
  const auto size_before = ReadBytes(path_).size();
  Resize(5000);
  Resize(20000);
  EXPECT_EQ(ReadBytes(path_).size(), size_before);  // same sectors again
  auto expected = std::vector<uint8_t>(data.begin(), data.begin() + 5000);
  expected.resize(20000, 0);
  EXPECT_EQ(ReadAll(), expected);
}

TEST_F(CfbMiniStreamTest, ReopenedFileReadsBothKinds) {
  stream_ = nullptr;
  PutStream(root_.get(), "mini", Pattern(3000, 6));
  PutStream(root_.get(), "regular", Pattern(9000, 7));
  root_ = nullptr;
  auto again = OpenDocfile(path_, STGM_READ | STGM_SHARE_DENY_WRITE);
  ASSERT_TRUE(again);
  EXPECT_EQ(GetStream(again.get(), "mini"), Pattern(3000, 6));
  EXPECT_EQ(GetStream(again.get(), "regular"), Pattern(9000, 7));
}

}  // namespace
}  // namespace quillbox::storage::testing
