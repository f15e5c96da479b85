// Memory streams: reading, writing, seeking and sizing as on Windows, clones
// that share bytes, and who frees the memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "quillbox/platform.h"

using quillbox::ComPtr;

namespace {

ComPtr<IStream> NewStream() {
  ComPtr<IStream> stream;
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, stream.put()), S_OK);
  return stream;
}

LARGE_INTEGER Move(LONGLONG n) {
  LARGE_INTEGER li;
  li.QuadPart = n;
  return li;
}

ULARGE_INTEGER Size(ULONGLONG n) {
  ULARGE_INTEGER li;
  li.QuadPart = n;
  return li;
}

std::string ReadAll(IStream* stream) {
  EXPECT_EQ(stream->Seek(Move(0), STREAM_SEEK_SET, nullptr), S_OK);
  std::string out;
  char buf[100];
  ULONG got = 0;
  do {
    EXPECT_EQ(stream->Read(buf, sizeof buf, &got), S_OK);
    out.append(buf, got);
  } while (got > 0);
  return out;
}

TEST(HGlobalStream, WriteThenReadBackGivesTheBytes) {
  auto stream = NewStream();
  ULONG done = 0;
  ASSERT_EQ(stream->Write("hello", 5, &done), S_OK);
  EXPECT_EQ(done, 5u);
  EXPECT_EQ(ReadAll(stream.get()), "hello");
}

TEST(HGlobalStream, ReadAtEndReadsNothingAndSucceeds) {
  auto stream = NewStream();
  stream->Write("ab", 2, nullptr);
  char buf[4];
  ULONG got = 99;
  EXPECT_EQ(stream->Read(buf, sizeof buf, &got), S_OK);
  EXPECT_EQ(got, 0u);
}

TEST(HGlobalStream, ShortReadStopsAtEnd) {
  auto stream = NewStream();
  stream->Write("abc", 3, nullptr);
  stream->Seek(Move(1), STREAM_SEEK_SET, nullptr);
  char buf[10];
  ULONG got = 0;
  EXPECT_EQ(stream->Read(buf, sizeof buf, &got), S_OK);
  EXPECT_EQ(std::string(buf, got), "bc");
}

TEST(HGlobalStream, WritePastEndGrowsWithZeros) {
  auto stream = NewStream();
  ULARGE_INTEGER pos;
  ASSERT_EQ(stream->Seek(Move(10), STREAM_SEEK_SET, &pos), S_OK);
  EXPECT_EQ(pos.QuadPart, 10u);
  STATSTG stat;
  stream->Stat(&stat, STATFLAG_NONAME);
  EXPECT_EQ(stat.cbSize.QuadPart, 0u);  // seeking alone does not grow
  stream->Write("x", 1, nullptr);
  EXPECT_EQ(ReadAll(stream.get()), std::string(10, '\0') + "x");
}

TEST(HGlobalStream, SeekFromEndAndCurrent) {
  auto stream = NewStream();
  stream->Write("0123456789", 10, nullptr);
  ULARGE_INTEGER pos;
  ASSERT_EQ(stream->Seek(Move(-3), STREAM_SEEK_END, &pos), S_OK);
  EXPECT_EQ(pos.QuadPart, 7u);
  ASSERT_EQ(stream->Seek(Move(-2), STREAM_SEEK_CUR, &pos), S_OK);
  EXPECT_EQ(pos.QuadPart, 5u);
}

TEST(HGlobalStream, SeekBeforeStartIsRefusedAndKeepsPosition) {
  auto stream = NewStream();
  stream->Write("abc", 3, nullptr);
  EXPECT_EQ(stream->Seek(Move(-4), STREAM_SEEK_END, nullptr), STG_E_INVALIDFUNCTION);
  ULARGE_INTEGER pos;
  stream->Seek(Move(0), STREAM_SEEK_CUR, &pos);
  EXPECT_EQ(pos.QuadPart, 3u);
}

TEST(HGlobalStream, SeekWithUnknownOriginIsRefused) {
  auto stream = NewStream();
  EXPECT_EQ(stream->Seek(Move(0), 7, nullptr), STG_E_INVALIDFUNCTION);
}

TEST(HGlobalStream, SetSizeGrowsWithZerosAndShrinks) {
  auto stream = NewStream();
  stream->Write("abcdef", 6, nullptr);
  ASSERT_EQ(stream->SetSize(Size(3)), S_OK);
  EXPECT_EQ(ReadAll(stream.get()), "abc");
  ASSERT_EQ(stream->SetSize(Size(5)), S_OK);
  EXPECT_EQ(ReadAll(stream.get()), std::string("abc\0\0", 5));
}

TEST(HGlobalStream, SetSizeDoesNotMoveThePosition) {
  auto stream = NewStream();
  stream->Write("abcdef", 6, nullptr);
  stream->SetSize(Size(2));
  ULARGE_INTEGER pos;
  stream->Seek(Move(0), STREAM_SEEK_CUR, &pos);
  EXPECT_EQ(pos.QuadPart, 6u);
}

TEST(HGlobalStream, SetSizePastFourGigabytesIsRefused) {
  auto stream = NewStream();
  EXPECT_EQ(stream->SetSize(Size(1ull << 33)), STG_E_INVALIDFUNCTION);
}

TEST(HGlobalStream, StatGivesTypeAndSizeAndNoName) {
  auto stream = NewStream();
  stream->Write("abcd", 4, nullptr);
  STATSTG stat;
  std::memset(&stat, 0xCC, sizeof stat);
  ASSERT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
  EXPECT_EQ(stat.cbSize.QuadPart, 4u);
  EXPECT_EQ(stat.pwcsName, nullptr);
}

TEST(HGlobalStream, CommitAndRevertSucceed) {
  auto stream = NewStream();
  EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(stream->Revert(), S_OK);
}

TEST(HGlobalStream, LockRegionIsNotOffered) {
  auto stream = NewStream();
  EXPECT_EQ(stream->LockRegion(Size(0), Size(1), LOCK_WRITE), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->UnlockRegion(Size(0), Size(1), LOCK_WRITE), STG_E_INVALIDFUNCTION);
}

TEST(HGlobalStream, CloneSharesBytesButHasItsOwnPosition) {
  auto stream = NewStream();
  stream->Write("abcdef", 6, nullptr);
  stream->Seek(Move(2), STREAM_SEEK_SET, nullptr);
  ComPtr<IStream> clone;
  ASSERT_EQ(stream->Clone(clone.put()), S_OK);
  ULARGE_INTEGER pos;
  clone->Seek(Move(0), STREAM_SEEK_CUR, &pos);
  EXPECT_EQ(pos.QuadPart, 2u);  // starts where the original stood
  clone->Seek(Move(0), STREAM_SEEK_END, nullptr);
  clone->Write("gh", 2, nullptr);
  stream->Seek(Move(0), STREAM_SEEK_CUR, &pos);
  EXPECT_EQ(pos.QuadPart, 2u);
  EXPECT_EQ(ReadAll(stream.get()), "abcdefgh");
}

TEST(HGlobalStream, CopyToCopiesFromThePositionAndAdvances) {
  auto source = NewStream();
  auto target = NewStream();
  source->Write("0123456789", 10, nullptr);
  source->Seek(Move(4), STREAM_SEEK_SET, nullptr);
  ULARGE_INTEGER read, written;
  ASSERT_EQ(source->CopyTo(target.get(), Size(100), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 6u);
  EXPECT_EQ(written.QuadPart, 6u);
  EXPECT_EQ(ReadAll(target.get()), "456789");
  ULARGE_INTEGER pos;
  source->Seek(Move(0), STREAM_SEEK_CUR, &pos);
  EXPECT_EQ(pos.QuadPart, 10u);
}

TEST(HGlobalStream, CopyToOwnCloneAppendsACopy) {
  auto stream = NewStream();
  std::string data(200000, 'q');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>('a' + i % 26);
  stream->Write(data.data(), static_cast<ULONG>(data.size()), nullptr);
  ComPtr<IStream> clone;
  stream->Clone(clone.put());  // at the end
  stream->Seek(Move(0), STREAM_SEEK_SET, nullptr);
  ASSERT_EQ(stream->CopyTo(clone.get(), Size(data.size()), nullptr, nullptr), S_OK);
  EXPECT_EQ(ReadAll(stream.get()), data + data);
}

TEST(HGlobalStream, GetHGlobalGivesTheMemoryOfTheStream) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 3);
  std::memcpy(GlobalLock(h), "xyz", 3);
  GlobalUnlock(h);
  ComPtr<IStream> stream;
  ASSERT_EQ(CreateStreamOnHGlobal(h, FALSE, stream.put()), S_OK);
  EXPECT_EQ(ReadAll(stream.get()), "xyz");  // the handle's bytes are the contents
  stream->Write("!", 1, nullptr);
  HGLOBAL got = nullptr;
  ASSERT_EQ(GetHGlobalFromStream(stream.get(), &got), S_OK);
  EXPECT_EQ(got, h);
  EXPECT_EQ(GlobalSize(h), 4u);
  stream = nullptr;
  EXPECT_EQ(GlobalFree(h), nullptr);  // still ours to free
}

TEST(HGlobalStream, FixedHandleThatMovesIsReportedAnew) {
  HGLOBAL h = GlobalAlloc(GMEM_FIXED, 1);
  ComPtr<IStream> stream;
  ASSERT_EQ(CreateStreamOnHGlobal(h, TRUE, stream.put()), S_OK);
  std::vector<char> big(1 << 20, 'm');
  ASSERT_EQ(stream->Write(big.data(), static_cast<ULONG>(big.size()), nullptr), S_OK);
  HGLOBAL now = nullptr;
  ASSERT_EQ(GetHGlobalFromStream(stream.get(), &now), S_OK);
  EXPECT_EQ(GlobalSize(now), big.size());
}

TEST(HGlobalStream, NullHandleWithoutDeleteOnReleaseLeavesMemoryToTheCaller) {
  ComPtr<IStream> stream;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, FALSE, stream.put()), S_OK);
  stream->Write("kept", 4, nullptr);
  HGLOBAL h = nullptr;
  GetHGlobalFromStream(stream.get(), &h);
  stream = nullptr;
  ASSERT_EQ(GlobalSize(h), 4u);
  EXPECT_EQ(std::memcmp(GlobalLock(h), "kept", 4), 0);
  GlobalUnlock(h);
  EXPECT_EQ(GlobalFree(h), nullptr);
}

TEST(HGlobalStream, DeleteOnReleaseFreesWhenTheLastCloneGoes) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 0);
  ComPtr<IStream> stream;
  ASSERT_EQ(CreateStreamOnHGlobal(h, TRUE, stream.put()), S_OK);
  ComPtr<IStream> clone;
  stream->Clone(clone.put());
  stream = nullptr;
  EXPECT_NE(GlobalFlags(h), static_cast<UINT>(GMEM_INVALID_HANDLE));  // the clone holds it
  clone = nullptr;
  EXPECT_EQ(GlobalFlags(h), static_cast<UINT>(GMEM_INVALID_HANDLE));
}

TEST(HGlobalStream, UnknownHandleIsRefused) {
  int local = 0;
  ComPtr<IStream> stream;
  EXPECT_EQ(CreateStreamOnHGlobal(&local, FALSE, stream.put()), E_INVALIDARG);
  EXPECT_EQ(stream.get(), nullptr);
}

TEST(HGlobalStream, NullPointersAreRefused) {
  auto stream = NewStream();
  EXPECT_EQ(stream->Read(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Write(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Stat(nullptr, 0), STG_E_INVALIDPOINTER);
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, nullptr), E_INVALIDARG);
}

TEST(HGlobalStream, GetHGlobalOfNoStreamIsRefused) {
  HGLOBAL h = reinterpret_cast<HGLOBAL>(1);
  EXPECT_EQ(GetHGlobalFromStream(nullptr, &h), E_INVALIDARG);
  EXPECT_EQ(h, nullptr);
}

TEST(HGlobalStream, WriteFromItsOwnMemoryWhileGrowingCopiesTheOldBytes) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 4096);
  auto* bytes = static_cast<char*>(GlobalLock(h));
  for (int i = 0; i < 4096; ++i) bytes[i] = static_cast<char>('a' + i % 26);
  const std::string original(bytes, 4096);
  ComPtr<IStream> stream;
  ASSERT_EQ(CreateStreamOnHGlobal(h, TRUE, stream.put()), S_OK);
  stream->Seek(Move(0), STREAM_SEEK_END, nullptr);
  ASSERT_EQ(stream->Write(bytes, 4096, nullptr), S_OK);  // the block moves as it grows
  GlobalUnlock(h);
  EXPECT_EQ(ReadAll(stream.get()), original + original);
}

TEST(HGlobalStream, ManySmallWritesAppendInOrder) {
  auto stream = NewStream();
  std::string expected;
  for (int i = 0; i < 20000; ++i) {
    char c = static_cast<char>('0' + i % 10);
    stream->Write(&c, 1, nullptr);
    expected += c;
  }
  EXPECT_EQ(ReadAll(stream.get()), expected);
}

}  // namespace
