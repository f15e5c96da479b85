// The range-lock sector (the one holding offset 0x7FFFFF00) stays out of
// every chain once a file grows past 2 GiB. Run at the allocator level over
// lock bytes that keep only their size, so no 2 GiB file is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "platform/com/com_object.h"
#include "platform/storage/fat.h"
#include "platform/storage/sector_io.h"

namespace quillbox::storage {
namespace {

class SizeOnlyLockBytes final : public com::ComObject<SizeOnlyLockBytes, ILockBytes> {
 public:
  STDMETHODIMP ReadAt(ULARGE_INTEGER, void* pv, ULONG cb, ULONG* read) override {
    std::memset(pv, 0, cb);
    if (read) *read = cb;
    return S_OK;
  }
  STDMETHODIMP WriteAt(ULARGE_INTEGER at, const void*, ULONG cb, ULONG* written) override {
    size_ = std::max<uint64_t>(size_, at.QuadPart + cb);
    if (written) *written = cb;
    return S_OK;
  }
  STDMETHODIMP Flush() override { return S_OK; }
  STDMETHODIMP SetSize(ULARGE_INTEGER cb) override {
    size_ = cb.QuadPart;
    return S_OK;
  }
  STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP Stat(STATSTG* stat, DWORD) override {
    *stat = STATSTG{};
    stat->cbSize.QuadPart = size_;
    return S_OK;
  }

 private:
  uint64_t size_ = 0;
};

TEST(CfbRangeLockTest, SectorAtTwoGibibytesIsNeverAllocated) {
  auto bytes = com::MakeObject<SizeOnlyLockBytes>();
  SectorIo io(ComPtr<ILockBytes>(bytes.get()), true);
  ASSERT_EQ(io.Init(), S_OK);
  Fat fat(io);
  ASSERT_EQ(fat.InitNew(4), S_OK);  // 4096-byte sectors: the lock sector is number 0x7FFFE
  constexpr uint32_t kRangeLock = 0x7FFFF000 / 4096 - 1;
  uint32_t previous = kEndOfChain;
  uint32_t sector = 0;
  for (uint32_t n = 0; n < kRangeLock + 10; ++n) {
    ASSERT_EQ(fat.Allocate(previous, &sector), S_OK);
    ASSERT_NE(sector, kRangeLock);
    previous = sector;
  }
  EXPECT_GT(sector, kRangeLock);
  EXPECT_EQ(fat.Entry(kRangeLock), kEndOfChain);
  EXPECT_GT(fat.header().difat_sector_count, 0u);  // 512 FAT sectors need the DIFAT
  ASSERT_EQ(io.CommitReserved(), S_OK);
  EXPECT_GT(io.file_size(), 0x80000000ull);
}

}  // namespace
}  // namespace quillbox::storage
