// What the compound-file fuzzer does with one input, shared with the test
// that replays the corpus: open the bytes on memory lock bytes and walk
// everything (enumerate, open every storage and stream, read all), copy the
// tree into a new file and walk that, then try a pass of changes on a copy
// of the bytes and walk the result again. Every loop has a
// bound, so a hostile file costs bounded time here whatever the engine does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "quillbox/platform.h"

namespace quillbox::fuzz {

inline constexpr int kMaxDepth = 40;
inline constexpr int kMaxElementsPerStorage = 4096;
inline constexpr std::uint64_t kReadBudget = 64ull << 20;  // bytes read per walk

struct WalkBudget {
  std::uint64_t bytes_left = kReadBudget;
  int elements_left = 100000;
};

inline void ReadStream(IStream* stream, WalkBudget& budget) {
  STATSTG stat{};
  stream->Stat(&stat, STATFLAG_NONAME);
  std::vector<unsigned char> buf(65536);
  while (budget.bytes_left > 0) {
    ULONG got = 0;
    if (FAILED(stream->Read(buf.data(), static_cast<ULONG>(buf.size()), &got)) || got == 0) break;
    budget.bytes_left -= std::min<std::uint64_t>(got, budget.bytes_left);
  }
  LARGE_INTEGER back{};
  stream->Seek(back, STREAM_SEEK_SET, nullptr);
}

inline void Walk(IStorage* storage, int depth, WalkBudget& budget) {
  if (depth > kMaxDepth) return;
  STATSTG self{};
  if (SUCCEEDED(storage->Stat(&self, STATFLAG_DEFAULT))) CoTaskMemFree(self.pwcsName);
  ComPtr<IEnumSTATSTG> elements;
  if (FAILED(storage->EnumElements(0, nullptr, 0, elements.put()))) return;
  for (int i = 0; i < kMaxElementsPerStorage && budget.elements_left > 0; ++i, --budget.elements_left) {
    STATSTG stat{};
    ULONG fetched = 0;
    if (elements->Next(1, &stat, &fetched) != S_OK || fetched != 1) break;
    if (stat.pwcsName) {
      if (stat.type == STGTY_STREAM) {
        ComPtr<IStream> stream;
        if (SUCCEEDED(storage->OpenStream(stat.pwcsName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0,
                                          stream.put()))) {
          ReadStream(stream.get(), budget);
        }
      } else if (stat.type == STGTY_STORAGE) {
        ComPtr<IStorage> child;
        if (SUCCEEDED(storage->OpenStorage(stat.pwcsName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                           child.put()))) {
          Walk(child.get(), depth + 1, budget);
        }
      }
    }
    CoTaskMemFree(stat.pwcsName);
  }
}

// Memory lock bytes holding a copy of data (their own memory, freed with them).
inline ComPtr<ILockBytes> LockBytesOf(const std::uint8_t* data, std::size_t size) {
  ComPtr<ILockBytes> lock_bytes;
  HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
  if (!memory) return lock_bytes;
  if (size) {
    std::memcpy(GlobalLock(memory), data, size);
    GlobalUnlock(memory);
  }
  if (FAILED(CreateILockBytesOnHGlobal(memory, TRUE, lock_bytes.put()))) GlobalFree(memory);
  return lock_bytes;
}

inline void ReadPass(ILockBytes* lock_bytes) {
  ComPtr<IStorage> root;
  if (FAILED(StgOpenStorageOnILockBytes(lock_bytes, nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0,
                                        root.put()))) {
    return;
  }
  WalkBudget budget;
  Walk(root.get(), 0, budget);
}

// Changes of every kind on the root: a new mini stream and a new regular
// stream, a grown and a cut existing stream, a rename, a removal, a new
// storage; then commit, release, and walk what is left.
inline void WritePass(ILockBytes* lock_bytes) {
  constexpr DWORD kRw = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  {
    ComPtr<IStorage> root;
    if (FAILED(StgOpenStorageOnILockBytes(lock_bytes, nullptr, kRw, nullptr, 0, root.put()))) return;
    std::vector<std::u16string> names;
    ComPtr<IEnumSTATSTG> elements;
    if (SUCCEEDED(root->EnumElements(0, nullptr, 0, elements.put()))) {
      for (int i = 0; i < 8; ++i) {
        STATSTG stat{};
        ULONG fetched = 0;
        if (elements->Next(1, &stat, &fetched) != S_OK || fetched != 1) break;
        if (stat.pwcsName) {
          if (stat.type == STGTY_STREAM) names.emplace_back(stat.pwcsName);
          CoTaskMemFree(stat.pwcsName);
        }
      }
    }
    std::vector<unsigned char> bytes(9000, 0x5A);
    ComPtr<IStream> added;
    if (SUCCEEDED(root->CreateStream(u"FuzzMini", kRw | STGM_CREATE, 0, 0, added.put()))) {
      added->Write(bytes.data(), 100, nullptr);
    }
    added = nullptr;
    if (SUCCEEDED(root->CreateStream(u"FuzzBig", kRw | STGM_CREATE, 0, 0, added.put()))) {
      added->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    }
    added = nullptr;
    for (std::size_t i = 0; i < names.size() && i < 2; ++i) {
      ComPtr<IStream> stream;
      if (FAILED(root->OpenStream(names[i].c_str(), nullptr, kRw, 0, stream.put()))) continue;
      LARGE_INTEGER end{};
      stream->Seek(end, STREAM_SEEK_END, nullptr);
      stream->Write(bytes.data(), 5000, nullptr);
      ULARGE_INTEGER size{};
      size.QuadPart = i == 0 ? 10 : 4100;
      stream->SetSize(size);
    }
    if (!names.empty()) {
      FILETIME when{0x12345678, 0x01D00000};
      root->SetElementTimes(names[0].c_str(), &when, &when, &when);
      root->RenameElement(names[0].c_str(), u"FuzzRenamed");
    }
    if (names.size() > 1) root->DestroyElement(names[1].c_str());
    const CLSID some_class = {0x12345678, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};
    root->SetClass(some_class);
    root->SetStateBits(0xA5A5A5A5, 0xFFFFFFFF);
    ComPtr<IStorage> storage;
    if (SUCCEEDED(root->CreateStorage(u"FuzzStorage", kRw | STGM_CREATE, 0, 0, storage.put()))) {
      ComPtr<IStream> inner;
      if (SUCCEEDED(storage->CreateStream(u"Inner", kRw | STGM_CREATE, 0, 0, inner.put()))) {
        inner->Write(bytes.data(), 64, nullptr);
      }
      inner = nullptr;
      if (names.size() > 2) root->MoveElementTo(names[2].c_str(), storage.get(), u"Moved", STGMOVE_MOVE);
    }
    storage = nullptr;
    root->Commit(STGC_DEFAULT);
  }
  ReadPass(lock_bytes);
}

// Copies the whole tree into a new compound file in memory, then walks the copy.
inline void CopyPass(ILockBytes* lock_bytes) {
  ComPtr<IStorage> source;
  if (FAILED(StgOpenStorageOnILockBytes(lock_bytes, nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0,
                                        source.put()))) {
    return;
  }
  ComPtr<ILockBytes> memory;
  if (FAILED(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put()))) return;
  {
    ComPtr<IStorage> target;
    if (FAILED(StgCreateDocfileOnILockBytes(memory.get(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                                            target.put()))) {
      return;
    }
    source->CopyTo(0, nullptr, nullptr, target.get());
  }
  ReadPass(memory.get());
}

inline void RunOneInput(const std::uint8_t* data, std::size_t size) {
  if (auto lock_bytes = LockBytesOf(data, size)) {
    ReadPass(lock_bytes.get());
    CopyPass(lock_bytes.get());
  }
  if (auto copy = LockBytesOf(data, size)) WritePass(copy.get());
}

}  // namespace quillbox::fuzz
