// Memory lock bytes: offset reads and writes, growth, size and who frees
// the memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "fault_lock_bytes.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;

namespace {

ULARGE_INTEGER At(ULONGLONG n) {
  ULARGE_INTEGER li;
  li.QuadPart = n;
  return li;
}

ComPtr<ILockBytes> NewLockBytes() {
  ComPtr<ILockBytes> lock_bytes;
  EXPECT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, lock_bytes.put()), S_OK);
  return lock_bytes;
}

ULONGLONG SizeOf(ILockBytes* lock_bytes) {
  STATSTG stat;
  EXPECT_EQ(lock_bytes->Stat(&stat, STATFLAG_NONAME), S_OK);
  return stat.cbSize.QuadPart;
}

TEST(MemoryLockBytes, WriteAtThenReadAtGivesTheBytes) {
  auto lb = NewLockBytes();
  ULONG done = 0;
  ASSERT_EQ(lb->WriteAt(At(0), "abcdef", 6, &done), S_OK);
  EXPECT_EQ(done, 6u);
  char buf[3];
  ASSERT_EQ(lb->ReadAt(At(2), buf, 3, &done), S_OK);
  EXPECT_EQ(done, 3u);
  EXPECT_EQ(std::string(buf, 3), "cde");
}

TEST(MemoryLockBytes, WriteAtPastEndGrowsWithZeros) {
  auto lb = NewLockBytes();
  ASSERT_EQ(lb->WriteAt(At(4096), "z", 1, nullptr), S_OK);
  EXPECT_EQ(SizeOf(lb.get()), 4097u);
  char buf[4097];
  ULONG done = 0;
  lb->ReadAt(At(0), buf, sizeof buf, &done);
  ASSERT_EQ(done, 4097u);
  EXPECT_EQ(std::string(buf, 4097), std::string(4096, '\0') + "z");
}

TEST(MemoryLockBytes, ReadAtPastEndReadsNothingAndSucceeds) {
  auto lb = NewLockBytes();
  lb->WriteAt(At(0), "ab", 2, nullptr);
  char buf[8];
  ULONG done = 9;
  EXPECT_EQ(lb->ReadAt(At(100), buf, sizeof buf, &done), S_OK);
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(lb->ReadAt(At(1), buf, sizeof buf, &done), S_OK);
  EXPECT_EQ(done, 1u);
}

TEST(MemoryLockBytes, SetSizeChangesTheSize) {
  auto lb = NewLockBytes();
  ASSERT_EQ(lb->SetSize(At(1000)), S_OK);
  EXPECT_EQ(SizeOf(lb.get()), 1000u);
  ASSERT_EQ(lb->SetSize(At(10)), S_OK);
  EXPECT_EQ(SizeOf(lb.get()), 10u);
}

TEST(MemoryLockBytes, WritePastFourGigabytesIsRefused) {
  auto lb = NewLockBytes();
  EXPECT_EQ(lb->WriteAt(At(0xFFFFFFFFull), "ab", 2, nullptr), STG_E_MEDIUMFULL);
  EXPECT_EQ(lb->WriteAt(At(~0ull), "a", 1, nullptr), STG_E_MEDIUMFULL);
  EXPECT_EQ(SizeOf(lb.get()), 0u);
}

TEST(MemoryLockBytes, StatGivesTypeAndNoName) {
  auto lb = NewLockBytes();
  STATSTG stat;
  std::memset(&stat, 0xCC, sizeof stat);
  ASSERT_EQ(lb->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_LOCKBYTES));
  EXPECT_EQ(stat.pwcsName, nullptr);
}

TEST(MemoryLockBytes, FlushSucceedsAndLocksAreNotOffered) {
  auto lb = NewLockBytes();
  EXPECT_EQ(lb->Flush(), S_OK);
  EXPECT_EQ(lb->LockRegion(At(0), At(1), LOCK_ONLYONCE), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(lb->UnlockRegion(At(0), At(1), LOCK_ONLYONCE), STG_E_INVALIDFUNCTION);
}

TEST(MemoryLockBytes, ExistingHandleGivesItsBytesAndStaysTheCallers) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 4);
  std::memcpy(GlobalLock(h), "data", 4);
  GlobalUnlock(h);
  ComPtr<ILockBytes> lb;
  ASSERT_EQ(CreateILockBytesOnHGlobal(h, FALSE, lb.put()), S_OK);
  char buf[4];
  ULONG done = 0;
  lb->ReadAt(At(0), buf, 4, &done);
  EXPECT_EQ(std::string(buf, done), "data");
  HGLOBAL got = nullptr;
  ASSERT_EQ(GetHGlobalFromILockBytes(lb.get(), &got), S_OK);
  EXPECT_EQ(got, h);
  lb = nullptr;
  EXPECT_EQ(GlobalFree(h), nullptr);
}

TEST(MemoryLockBytes, DeleteOnReleaseFreesTheHandle) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 16);
  ComPtr<ILockBytes> lb;
  ASSERT_EQ(CreateILockBytesOnHGlobal(h, TRUE, lb.put()), S_OK);
  lb = nullptr;
  EXPECT_EQ(GlobalFlags(h), static_cast<UINT>(GMEM_INVALID_HANDLE));
}

TEST(MemoryLockBytes, GetHGlobalOfForeignLockBytesIsRefused) {
  auto inner = NewLockBytes();
  auto wrapper = quillbox::com::MakeObject<quillbox::testing::FaultLockBytes>(inner.get(), 0, S_OK, false);
  HGLOBAL h = reinterpret_cast<HGLOBAL>(1);
  EXPECT_EQ(GetHGlobalFromILockBytes(wrapper.get(), &h), E_INVALIDARG);
  EXPECT_EQ(h, nullptr);
}

TEST(MemoryLockBytes, UnknownHandleIsRefused) {
  int local = 0;
  ComPtr<ILockBytes> lb;
  EXPECT_EQ(CreateILockBytesOnHGlobal(&local, TRUE, lb.put()), E_INVALIDARG);
}

TEST(MemoryLockBytes, QueryInterfaceGivesILockBytesAndNotIStream) {
  auto lb = NewLockBytes();
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(lb->QueryInterface(IID_IUnknown, unknown.put_void()), S_OK);
  ComPtr<IStream> stream;
  EXPECT_EQ(lb->QueryInterface(IID_IStream, stream.put_void()), E_NOINTERFACE);
}

}  // namespace
