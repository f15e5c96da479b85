// Gathered writes: a call writes what it changed in a few contiguous runs
// at its end (still before it returns), and what it wrote reads back.
#include <gtest/gtest.h>

#include <string>

#include "fault_lock_bytes.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using quillbox::testing::FaultLockBytes;

namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::string Pattern(size_t size, int seed) {
  std::string out(size, '\0');
  for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>((i * 13 + seed * 101 + i / 509) & 0xFF);
  return out;
}

// A compound file on memory whose writes are counted (never failed).
struct CountedFile {
  CountedFile() {
    EXPECT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put()), S_OK);
    counter = quillbox::com::MakeObject<FaultLockBytes>(memory.get(), 0, S_OK, true);
    EXPECT_EQ(StgCreateDocfileOnILockBytes(counter.get(), kCreate, 0, root.put()), S_OK);
  }
  ComPtr<ILockBytes> memory;
  ComPtr<FaultLockBytes> counter;
  ComPtr<IStorage> root;
};

std::string ReadBack(ILockBytes* memory, const char16_t* name) {
  ComPtr<IStorage> root;
  EXPECT_EQ(StgOpenStorageOnILockBytes(memory, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, root.put()),
            S_OK);
  ComPtr<IStream> stream;
  EXPECT_EQ(root->OpenStream(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()), S_OK);
  std::string out;
  char buf[8192];
  for (ULONG got = 1; got > 0;) {
    EXPECT_EQ(stream->Read(buf, sizeof buf, &got), S_OK);
    out.append(buf, got);
  }
  return out;
}

TEST(WriteBatching, AppendingLargeChunksTakesAFewWritesPerCall) {
  CountedFile file;
  ComPtr<IStream> stream;
  ASSERT_EQ(file.root->CreateStream(u"Big", kCreate, 0, 0, stream.put()), S_OK);
  std::string all;
  constexpr int kCalls = 64;
  const unsigned before = file.counter->count();
  for (int c = 0; c < kCalls; ++c) {
    const std::string chunk = Pattern(65536, c);
    ULONG done = 0;
    ASSERT_EQ(stream->Write(chunk.data(), static_cast<ULONG>(chunk.size()), &done), S_OK);
    all += chunk;
  }
  // Each 64 KiB call changes 128 sectors of data, their FAT entries and the
  // stream's directory entry: a handful of runs, not one write per sector.
  EXPECT_LE(file.counter->count() - before, 6u * kCalls);
  stream = nullptr;
  file.root = nullptr;
  EXPECT_EQ(ReadBack(file.memory.get(), u"Big"), all);
}

TEST(WriteBatching, SmallStreamInTheMiniStreamIsWrittenInOneRun) {
  CountedFile file;
  ComPtr<IStream> stream;
  ASSERT_EQ(file.root->CreateStream(u"Small", kCreate, 0, 0, stream.put()), S_OK);
  const std::string data = Pattern(4000, 7);
  const unsigned before = file.counter->count();
  ASSERT_EQ(stream->Write(data.data(), static_cast<ULONG>(data.size()), nullptr), S_OK);
  // 63 mini sectors of data, the mini FAT, the FAT, the root entry and the
  // stream's entry: far fewer writes than mini sectors.
  EXPECT_LE(file.counter->count() - before, 8u);
  stream = nullptr;
  file.root = nullptr;
  EXPECT_EQ(ReadBack(file.memory.get(), u"Small"), data);
}

TEST(WriteBatching, EveryCallIsInTheMediumWhenItReturns) {
  CountedFile file;
  ComPtr<IStream> stream;
  ASSERT_EQ(file.root->CreateStream(u"Direct", kCreate, 0, 0, stream.put()), S_OK);
  std::string all;
  for (size_t size : {100u, 5000u, 70000u, 3u}) {
    const std::string chunk = Pattern(size, static_cast<int>(size));
    ASSERT_EQ(stream->Write(chunk.data(), static_cast<ULONG>(size), nullptr), S_OK);
    all += chunk;
    // The stream is still open; another look at the medium must see it all.
    EXPECT_EQ(ReadBack(file.memory.get(), u"Direct"), all) << "after a write of " << size;
  }
}

}  // namespace
