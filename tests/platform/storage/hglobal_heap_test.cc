// Global-memory handles: allocation flags, lock counts, resizing and freeing.
#include <gtest/gtest.h>

#include <cstring>

#include "quillbox/platform.h"

namespace {

TEST(HGlobalHeap, FixedHandleIsTheAddressOfItsBytes) {
  HGLOBAL h = GlobalAlloc(GMEM_FIXED, 16);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(GlobalLock(h), h);
  EXPECT_EQ(GlobalFree(h), nullptr);
}

TEST(HGlobalHeap, ZeroInitGivesZeroBytes) {
  HGLOBAL h = GlobalAlloc(GHND, 64);
  auto* p = static_cast<BYTE*>(GlobalLock(h));
  ASSERT_NE(p, nullptr);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(p[i], 0) << i;
  GlobalUnlock(h);
  GlobalFree(h);
}

TEST(HGlobalHeap, SizeIsWhatWasAskedFor) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 1000);
  EXPECT_EQ(GlobalSize(h), 1000u);
  GlobalFree(h);
}

TEST(HGlobalHeap, MoveableLockCountsUpAndDown) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 8);
  void* first = GlobalLock(h);
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, h);
  EXPECT_EQ(GlobalLock(h), first);
  EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 2u);
  EXPECT_EQ(GlobalUnlock(h), TRUE);   // still locked once
  EXPECT_EQ(GlobalUnlock(h), FALSE);  // now unlocked
  EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 0u);
  EXPECT_EQ(GlobalUnlock(h), FALSE);  // was not locked
  GlobalFree(h);
}

TEST(HGlobalHeap, FixedBlockNeverCountsLocks) {
  HGLOBAL h = GlobalAlloc(GMEM_FIXED, 8);
  GlobalLock(h);
  EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 0u);
  EXPECT_EQ(GlobalUnlock(h), FALSE);
  GlobalFree(h);
}

TEST(HGlobalHeap, ZeroByteMoveableBlockIsDiscardedAndLocksToNull) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 0);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(GlobalSize(h), 0u);
  EXPECT_EQ(GlobalLock(h), nullptr);
  EXPECT_TRUE(GlobalFlags(h) & GMEM_DISCARDED);
  GlobalFree(h);
}

TEST(HGlobalHeap, ReAllocKeepsBytesAndTheMoveableHandle) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 4);
  std::memcpy(GlobalLock(h), "abcd", 4);
  GlobalUnlock(h);
  EXPECT_EQ(GlobalReAlloc(h, 100000, GMEM_ZEROINIT), h);
  EXPECT_EQ(GlobalSize(h), 100000u);
  auto* p = static_cast<BYTE*>(GlobalLock(h));
  EXPECT_EQ(std::memcmp(p, "abcd", 4), 0);
  EXPECT_EQ(p[99999], 0);
  GlobalUnlock(h);
  GlobalFree(h);
}

TEST(HGlobalHeap, FixedBlockGrowsOnlyWhenAllowedToMove) {
  HGLOBAL h = GlobalAlloc(GMEM_FIXED, 4);
  std::memcpy(h, "wxyz", 4);
  EXPECT_EQ(GlobalReAlloc(h, 1 << 20, 0), nullptr);
  EXPECT_EQ(GlobalSize(h), 4u);
  HGLOBAL moved = GlobalReAlloc(h, 1 << 20, GMEM_MOVEABLE);
  ASSERT_NE(moved, nullptr);
  EXPECT_EQ(std::memcmp(moved, "wxyz", 4), 0);
  EXPECT_EQ(GlobalSize(moved), 1u << 20);
  GlobalFree(moved);
}

TEST(HGlobalHeap, LockedMoveableBlockGrowsOnlyWhenAllowedToMove) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 4);
  GlobalLock(h);
  EXPECT_EQ(GlobalReAlloc(h, 1 << 20, 0), nullptr);
  EXPECT_EQ(GlobalReAlloc(h, 1 << 20, GMEM_MOVEABLE), h);
  GlobalUnlock(h);
  GlobalFree(h);
}

TEST(HGlobalHeap, ShrinkingKeepsTheFront) {
  HGLOBAL h = GlobalAlloc(GMEM_FIXED, 8);
  std::memcpy(h, "12345678", 8);
  EXPECT_EQ(GlobalReAlloc(h, 3, 0), h);
  EXPECT_EQ(GlobalSize(h), 3u);
  EXPECT_EQ(std::memcmp(h, "123", 3), 0);
  GlobalFree(h);
}

TEST(HGlobalHeap, FreeGivesNullAndASecondFreeGivesTheHandleBack) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 8);
  EXPECT_EQ(GlobalFree(h), nullptr);
  EXPECT_EQ(GlobalFree(h), h);
}

TEST(HGlobalHeap, UnknownHandleIsRefusedEverywhere) {
  int local = 0;
  HGLOBAL bogus = &local;
  EXPECT_EQ(GlobalSize(bogus), 0u);
  EXPECT_EQ(GlobalLock(bogus), nullptr);
  EXPECT_EQ(GlobalUnlock(bogus), FALSE);
  EXPECT_EQ(GlobalReAlloc(bogus, 10, GMEM_MOVEABLE), nullptr);
  EXPECT_EQ(GlobalFlags(bogus), static_cast<UINT>(GMEM_INVALID_HANDLE));
  EXPECT_EQ(GlobalFree(bogus), bogus);
}

}  // namespace
