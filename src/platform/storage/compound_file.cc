// The engine's front: creating and opening files, and the element
// operations (create, destroy with subtree, rename) on the directory.
#include "platform/storage/compound_file.h"

#include <time.h>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {

uint64_t FileTimeNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  constexpr uint64_t kEpochDifference = 116444736000000000ull;  // 1601 to 1970 in 100 ns
  return kEpochDifference + static_cast<uint64_t>(now.tv_sec) * 10000000ull +
         static_cast<uint64_t>(now.tv_nsec) / 100;
}

CompoundFile::CompoundFile(ComPtr<ILockBytes> bytes, bool writable)
    : bytes_(bytes), io_(bytes, writable), fat_(io_), directory_(fat_), mini_(fat_, directory_) {}

HRESULT CompoundFile::Create(ComPtr<ILockBytes> bytes, uint16_t major_version,
                             std::shared_ptr<CompoundFile>* out) {
  auto file = std::make_shared<CompoundFile>(bytes, true);
  ULARGE_INTEGER zero;
  zero.QuadPart = 0;
  HRESULT hr = bytes->SetSize(zero);
  if (FAILED(hr)) return hr;
  if (FAILED(hr = file->io_.Init())) return hr;
  if (FAILED(hr = file->fat_.InitNew(major_version))) return hr;
  if (FAILED(hr = file->directory_.InitNew())) return hr;
  if (FAILED(hr = file->io_.CommitReserved())) return hr;
  *out = std::move(file);
  return S_OK;
}

HRESULT CompoundFile::Open(ComPtr<ILockBytes> bytes, bool writable,
                           std::shared_ptr<CompoundFile>* out) {
  auto file = std::make_shared<CompoundFile>(bytes, writable);
  HRESULT hr = file->io_.Init();
  if (FAILED(hr)) return hr;
  if (file->io_.file_size() < kHeaderSize) {
    return Fail(STG_E_INVALIDHEADER, "file of %llu bytes is shorter than a header",
                static_cast<unsigned long long>(file->io_.file_size()));
  }
  uint8_t bytes_of_header[kHeaderSize];
  if (FAILED(hr = file->io_.ReadAt(0, bytes_of_header, kHeaderSize))) return hr;
  CfbHeader header;
  if (FAILED(hr = header.Read(bytes_of_header))) return hr;
  if (FAILED(hr = file->fat_.Load(header))) return hr;
  if (FAILED(hr = file->directory_.Load())) return hr;
  if (FAILED(hr = file->mini_.Load())) return hr;
  *out = std::move(file);
  return S_OK;
}

void CompoundFile::Close() {
  closed_ = true;
  bytes_ = nullptr;
  io_.Rebind(nullptr);  // the file closes (and its share locks go) now
}

void CompoundFile::MarkClosed(uint32_t id) {
  auto it = open_.find(id);
  if (it != open_.end() && --it->second <= 0) open_.erase(it);
}

HRESULT CompoundFile::CreateElement(uint32_t parent, std::u16string_view name, ObjectType type,
                                    uint32_t* id) {
  if (broken_) return STG_E_WRITEFAULT;
  ChangeScope change(*this);
  return change.Finish(CreateElementNow(parent, name, type, id));
}

HRESULT CompoundFile::CreateElementNow(uint32_t parent, std::u16string_view name, ObjectType type,
                                    uint32_t* id) {
  uint32_t existing = 0;
  HRESULT hr = directory_.Find(parent, name, &existing);
  if (SUCCEEDED(hr)) return STG_E_FILEALREADYEXISTS;
  if (hr != STG_E_FILENOTFOUND) return hr;
  uint32_t fresh = 0;
  if (FAILED(hr = directory_.AllocateEntry(&fresh))) return hr;
  DirEntry& e = directory_.entry(fresh);
  e.name = std::u16string(name);
  e.type = type;
  e.child = kNoStream;
  e.size = 0;
  if (type == ObjectType::kStorage) {
    // Storages carry times; streams keep zeros ([MS-CFB] 2.6.3).
    e.start = 0;
    e.created = e.modified = FileTimeNow();
  } else {
    e.start = kEndOfChain;
  }
  if (FAILED(hr = directory_.Insert(parent, fresh))) return hr;
  *id = fresh;
  return S_OK;
}

bool CompoundFile::IsOpenBelow(uint32_t id) {
  std::vector<uint32_t> pending = {id};
  std::vector<uint32_t> children;
  for (size_t steps = 0; !pending.empty() && steps <= directory_.size(); ++steps) {
    const uint32_t at = pending.back();
    pending.pop_back();
    if (IsOpen(at)) return true;
    if (!directory_.entry(at).IsStorageLike()) continue;
    if (FAILED(directory_.Children(at, &children))) continue;
    pending.insert(pending.end(), children.begin(), children.end());
  }
  return false;
}

HRESULT CompoundFile::FreeStreamChain(const DirEntry& e) {
  if (e.size == 0 || e.start == kEndOfChain) return S_OK;
  return e.size < kMiniStreamCutoff ? mini_.FreeChain(e.start) : fat_.FreeChain(e.start);
}

HRESULT CompoundFile::DestroyElement(uint32_t parent, uint32_t id) {
  if (broken_) return STG_E_WRITEFAULT;
  ChangeScope change(*this);
  return change.Finish(DestroyElementNow(parent, id));
}

HRESULT CompoundFile::DestroyElementNow(uint32_t parent, uint32_t id) {
  // Gather the subtree first (bounded by the directory's size), then free
  // data, unlink, and blank the entries.
  std::vector<uint32_t> doomed = {id};
  std::vector<uint32_t> children;
  HRESULT hr;
  for (size_t i = 0; i < doomed.size(); ++i) {
    if (doomed.size() > directory_.size()) return CFB_CORRUPT("loop below directory entry %u", id);
    const DirEntry& e = directory_.entry(doomed[i]);
    if (e.type != ObjectType::kStorage) continue;
    if (FAILED(hr = directory_.Children(doomed[i], &children))) return hr;
    doomed.insert(doomed.end(), children.begin(), children.end());
  }
  if (FAILED(hr = directory_.Remove(parent, id))) return hr;
  for (uint32_t d : doomed) {
    const DirEntry& e = directory_.entry(d);
    if (e.type == ObjectType::kStream && FAILED(hr = FreeStreamChain(e))) return hr;
    if (FAILED(hr = directory_.FreeEntry(d))) return hr;
  }
  return S_OK;
}

HRESULT CompoundFile::RenameElement(uint32_t parent, uint32_t id, std::u16string_view name) {
  if (broken_) return STG_E_WRITEFAULT;
  ChangeScope change(*this);
  return change.Finish(RenameElementNow(parent, id, name));
}

HRESULT CompoundFile::RenameElementNow(uint32_t parent, uint32_t id, std::u16string_view name) {
  uint32_t existing = 0;
  HRESULT hr = directory_.Find(parent, name, &existing);
  if (SUCCEEDED(hr)) return STG_E_FILEALREADYEXISTS;
  if (hr != STG_E_FILENOTFOUND) return hr;
  if (FAILED(hr = directory_.Remove(parent, id))) return hr;
  directory_.entry(id).name = std::u16string(name);
  return directory_.Insert(parent, id);
}

}  // namespace quillbox::storage
