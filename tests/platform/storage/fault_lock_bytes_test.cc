// The fault-injecting lock bytes used by the storage tests: it fails exactly
// the write it was told to, and passes everything else through.
#include <gtest/gtest.h>

#include "fault_lock_bytes.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using quillbox::testing::FaultLockBytes;

namespace {

ULARGE_INTEGER At(ULONGLONG n) {
  ULARGE_INTEGER li;
  li.QuadPart = n;
  return li;
}

TEST(FaultLockBytes, FailsOnlyTheChosenWrite) {
  ComPtr<ILockBytes> inner;
  ASSERT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, inner.put()), S_OK);
  auto faulty = quillbox::com::MakeObject<FaultLockBytes>(inner.get(), 2, STG_E_WRITEFAULT, false);
  EXPECT_EQ(faulty->WriteAt(At(0), "a", 1, nullptr), S_OK);
  ULONG done = 7;
  EXPECT_EQ(faulty->WriteAt(At(1), "b", 1, &done), STG_E_WRITEFAULT);
  EXPECT_EQ(done, 0u);
  EXPECT_EQ(faulty->WriteAt(At(1), "c", 1, nullptr), S_OK);
  EXPECT_EQ(faulty->count(), 3u);
  char buf[2];
  faulty->ReadAt(At(0), buf, 2, &done);
  EXPECT_EQ(std::string(buf, done), "ac");
}

TEST(FaultLockBytes, CountsSetSizeWhenAsked) {
  ComPtr<ILockBytes> inner;
  ASSERT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, inner.put()), S_OK);
  auto faulty = quillbox::com::MakeObject<FaultLockBytes>(inner.get(), 1, STG_E_MEDIUMFULL, true);
  EXPECT_EQ(faulty->SetSize(At(10)), STG_E_MEDIUMFULL);
  EXPECT_TRUE(faulty->failed());
}

}  // namespace
