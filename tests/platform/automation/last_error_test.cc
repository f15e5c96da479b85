// The thread's last error: read back as set, and kept per thread.
#include <gtest/gtest.h>

#include <thread>

#include "quillbox/errhandlingapi.h"
#include "quillbox/winerror.h"

namespace {

TEST(LastError, SetValueIsReadBack) {
  SetLastError(ERROR_INVALID_FLAGS);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_FLAGS));
  SetLastError(0);
  EXPECT_EQ(GetLastError(), 0u);
}

TEST(LastError, NewThreadStartsAtZero) {
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  DWORD seen = 1;
  std::thread([&seen] { seen = GetLastError(); }).join();
  EXPECT_EQ(seen, 0u);
}

TEST(LastError, EachThreadKeepsItsOwnValue) {
  SetLastError(ERROR_INVALID_PARAMETER);
  DWORD other = 0;
  std::thread([&other] {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    other = GetLastError();
  }).join();
  EXPECT_EQ(other, static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
