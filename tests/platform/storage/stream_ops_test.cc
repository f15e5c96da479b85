// IStream over compound file streams: reading, writing, seeking, sizes,
// copies, clones and the calls docfile streams refuse.
#include <gtest/gtest.h>

#include "cfb_test_util.h"
#include "quillbox/objbase.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kRW = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

class StreamOpsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = CreateDocfile(dir_ / "s.cfb");
    ASSERT_TRUE(root_);
    ASSERT_EQ(root_->CreateStream(u"s", kRW, 0, 0, stream_.put()), S_OK);
  }
  uint64_t Seek(IStream* s, int64_t move, DWORD origin, HRESULT expected = S_OK) {
    LARGE_INTEGER m;
    m.QuadPart = move;
    ULARGE_INTEGER at{};
    EXPECT_EQ(s->Seek(m, origin, &at), expected);
    return at.QuadPart;
  }
  quillbox::testing::ScratchDir dir_;
  ComPtr<IStorage> root_;
  ComPtr<IStream> stream_;
};

TEST_F(StreamOpsTest, WriteThenReadBack) {
  const auto data = Pattern(12345, 1);
  ULONG written = 0;
  ASSERT_EQ(stream_->Write(data.data(), 12345, &written), S_OK);
  EXPECT_EQ(written, 12345u);
  EXPECT_EQ(Seek(stream_.get(), 0, STREAM_SEEK_SET), 0u);
  std::vector<uint8_t> back(20000);
  ULONG got = 0;
  ASSERT_EQ(stream_->Read(back.data(), 20000, &got), S_OK);
  EXPECT_EQ(got, 12345u);
  back.resize(got);
  EXPECT_EQ(back, data);
  ASSERT_EQ(stream_->Read(back.data(), 10, &got), S_OK);
  EXPECT_EQ(got, 0u);
}

TEST_F(StreamOpsTest, SeekOrigins) {
  const auto data = Pattern(1000, 2);
  ASSERT_EQ(stream_->Write(data.data(), 1000, nullptr), S_OK);
  EXPECT_EQ(Seek(stream_.get(), -100, STREAM_SEEK_END), 900u);
  EXPECT_EQ(Seek(stream_.get(), 50, STREAM_SEEK_CUR), 950u);
  EXPECT_EQ(Seek(stream_.get(), 5, STREAM_SEEK_SET), 5u);
  Seek(stream_.get(), -10, STREAM_SEEK_SET, STG_E_INVALIDFUNCTION);
  Seek(stream_.get(), 0, 3, STG_E_INVALIDFUNCTION);
  uint8_t byte = 0;
  ASSERT_EQ(stream_->Read(&byte, 1, nullptr), S_OK);
  EXPECT_EQ(byte, data[5]);
}

TEST_F(StreamOpsTest, WritePastEndFillsGapWithZeros) {
  ASSERT_EQ(stream_->Write("ab", 2, nullptr), S_OK);
  Seek(stream_.get(), 6000, STREAM_SEEK_SET);
  ASSERT_EQ(stream_->Write("z", 1, nullptr), S_OK);
  Seek(stream_.get(), 0, STREAM_SEEK_SET);
  std::vector<uint8_t> back(6001);
  ULONG got = 0;
  ASSERT_EQ(stream_->Read(back.data(), 6001, &got), S_OK);
  ASSERT_EQ(got, 6001u);
  EXPECT_EQ(back[0], 'a');
  EXPECT_EQ(back[6000], 'z');
  for (size_t i = 2; i < 6000; ++i) ASSERT_EQ(back[i], 0) << i;
}

TEST_F(StreamOpsTest, SetSizeShrinksAndGrows) {
  const auto data = Pattern(3000, 3);
  ASSERT_EQ(stream_->Write(data.data(), 3000, nullptr), S_OK);
  ULARGE_INTEGER size;
  size.QuadPart = 10;
  ASSERT_EQ(stream_->SetSize(size), S_OK);
  size.QuadPart = 20;
  ASSERT_EQ(stream_->SetSize(size), S_OK);
  STATSTG stat{};
  ASSERT_EQ(stream_->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.cbSize.QuadPart, 20u);
  auto expected = std::vector<uint8_t>(data.begin(), data.begin() + 10);
  expected.resize(20, 0);
  stream_ = nullptr;
  EXPECT_EQ(GetStream(root_.get(), "s"), expected);
}

TEST_F(StreamOpsTest, CopyToCopiesFromCurrentPosition) {
  const auto data = Pattern(100000, 4);
  ASSERT_EQ(stream_->Write(data.data(), 100000, nullptr), S_OK);
  ComPtr<IStream> other;
  ASSERT_EQ(root_->CreateStream(u"t", kRW, 0, 0, other.put()), S_OK);
  Seek(stream_.get(), 1000, STREAM_SEEK_SET);
  ULARGE_INTEGER cb, read{}, written{};
  cb.QuadPart = 70000;
  ASSERT_EQ(stream_->CopyTo(other.get(), cb, &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 70000u);
  EXPECT_EQ(written.QuadPart, 70000u);
  EXPECT_EQ(Seek(stream_.get(), 0, STREAM_SEEK_CUR), 71000u);
  other = nullptr;
  EXPECT_EQ(GetStream(root_.get(), "t"), std::vector<uint8_t>(data.begin() + 1000, data.begin() + 71000));
  EXPECT_EQ(stream_->CopyTo(nullptr, cb, nullptr, nullptr), STG_E_INVALIDPOINTER);
}

TEST_F(StreamOpsTest, CloneSharesDataWithItsOwnPosition) {
  ASSERT_EQ(stream_->Write("hello", 5, nullptr), S_OK);
  ComPtr<IStream> clone;
  ASSERT_EQ(stream_->Clone(clone.put()), S_OK);
  EXPECT_EQ(Seek(clone.get(), 0, STREAM_SEEK_CUR), 5u);
  Seek(clone.get(), 0, STREAM_SEEK_SET);
  char buffer[6] = {};
  ASSERT_EQ(clone->Read(buffer, 5, nullptr), S_OK);
  EXPECT_STREQ(buffer, "hello");
  ASSERT_EQ(stream_->Write("!", 1, nullptr), S_OK);
  ASSERT_EQ(clone->Read(buffer, 1, nullptr), S_OK);
  EXPECT_EQ(buffer[0], '!');
  // The element stays open while a clone lives.
  stream_ = nullptr;
  ComPtr<IStream> again;
  EXPECT_EQ(root_->OpenStream(u"s", nullptr, kRW, 0, again.put()), STG_E_ACCESSDENIED);
  clone = nullptr;
  EXPECT_EQ(root_->OpenStream(u"s", nullptr, kRW, 0, again.put()), S_OK);
}

TEST_F(StreamOpsTest, LockRegionIsNotSupported) {
  ULARGE_INTEGER at{}, cb{};
  cb.QuadPart = 10;
  EXPECT_EQ(stream_->LockRegion(at, cb, LOCK_EXCLUSIVE), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream_->UnlockRegion(at, cb, LOCK_EXCLUSIVE), STG_E_INVALIDFUNCTION);
}

TEST_F(StreamOpsTest, CommitAndRevertSucceed) {
  EXPECT_EQ(stream_->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(stream_->Revert(), S_OK);
}

TEST_F(StreamOpsTest, StatGivesNameSizeAndMode) {
  ASSERT_EQ(stream_->Write("abc", 3, nullptr), S_OK);
  STATSTG stat{};
  ASSERT_EQ(stream_->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(std::u16string(stat.pwcsName), u"s");
  CoTaskMemFree(stat.pwcsName);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
  EXPECT_EQ(stat.cbSize.QuadPart, 3u);
  EXPECT_EQ(stat.grfMode, kRW);
  EXPECT_EQ(stat.mtime.dwLowDateTime, 0u);  // stream entries carry no times
}

TEST_F(StreamOpsTest, ReadOnlyStreamRefusesWrites) {
  stream_ = nullptr;
  ComPtr<IStream> reader;
  ASSERT_EQ(root_->OpenStream(u"s", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, reader.put()), S_OK);
  EXPECT_EQ(reader->Write("x", 1, nullptr), STG_E_ACCESSDENIED);
  ULARGE_INTEGER size{};
  EXPECT_EQ(reader->SetSize(size), STG_E_ACCESSDENIED);
}

TEST_F(StreamOpsTest, WriteOnlyStreamRefusesReads) {
  stream_ = nullptr;
  ComPtr<IStream> writer;
  ASSERT_EQ(root_->OpenStream(u"s", nullptr, STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, writer.put()), S_OK);
  char c;
  EXPECT_EQ(writer->Read(&c, 1, nullptr), STG_E_ACCESSDENIED);
  EXPECT_EQ(writer->Write("x", 1, nullptr), S_OK);
}

TEST_F(StreamOpsTest, ClassIdRoundTripsThroughStream) {
  const CLSID clsid = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};
  ASSERT_EQ(WriteClassStm(stream_.get(), clsid), S_OK);
  Seek(stream_.get(), 0, STREAM_SEEK_SET);
  CLSID back{};
  ASSERT_EQ(ReadClassStm(stream_.get(), &back), S_OK);
  EXPECT_TRUE(IsEqualGUID(back, clsid));
  EXPECT_EQ(ReadClassStm(stream_.get(), &back), STG_E_READFAULT);  // at the end now
  stream_ = nullptr;
  const auto bytes = GetStream(root_.get(), "s");
  ASSERT_EQ(bytes.size(), 16u);
  EXPECT_EQ(bytes[0], 0x04);  // Data1 little-endian
  EXPECT_EQ(bytes[4], 0x06);
  EXPECT_EQ(bytes[8], 9);
}

}  // namespace
}  // namespace quillbox::storage::testing
