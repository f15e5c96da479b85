// The task allocator and CoInitialize bookkeeping.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "quillbox/platform.h"

namespace {

TEST(TaskAllocator, AllocatesReallocatesAndFrees) {
  auto* p = static_cast<char*>(CoTaskMemAlloc(16));
  ASSERT_NE(p, nullptr);
  std::memcpy(p, "0123456789abcdef", 16);
  p = static_cast<char*>(CoTaskMemRealloc(p, 64));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(std::memcmp(p, "0123456789abcdef", 16), 0);
  CoTaskMemFree(p);
  CoTaskMemFree(nullptr);
}

TEST(TaskAllocator, ZeroBytesGiveAValidPointer) {
  void* p = CoTaskMemAlloc(0);
  EXPECT_NE(p, nullptr);
  CoTaskMemFree(p);
}

TEST(CoInitialize, FirstCallOnAThreadIsOkLaterOnesFalse) {
  std::thread([] {
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoUninitialize();
  }).join();
}

TEST(CoInitialize, ChangingTheModelOnAThreadIsRefused) {
  std::thread([] {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
  }).join();
}

TEST(HResult, MacrosAgreeWithTheSdk) {
  EXPECT_TRUE(SUCCEEDED(S_FALSE));
  EXPECT_TRUE(FAILED(E_FAIL));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION), static_cast<HRESULT>(0x80070459));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED), static_cast<HRESULT>(0x80070032));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SUCCESS), S_OK);
  EXPECT_EQ(HRESULT_CODE(STG_E_ACCESSDENIED), 5);
  EXPECT_EQ(HRESULT_FACILITY(STG_E_ACCESSDENIED), FACILITY_STORAGE);
  EXPECT_EQ(MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 221), static_cast<HRESULT>(0x800400DD));
  EXPECT_EQ(STG_E_INVALIDPOINTER, static_cast<HRESULT>(0x80030009));
  EXPECT_EQ(STG_E_INCOMPLETE, -2147286527);
}

}  // namespace
