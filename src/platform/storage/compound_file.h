// The compound file engine: streams and storages over the mini allocator,
// the directory and the FAT, on any ILockBytes. Storage and stream objects
// hold a shared_ptr to it and take its lock around every call.
//
//   std::shared_ptr<CompoundFile> file;
//   HRESULT hr = CompoundFile::Open(lock_bytes, /*writable=*/false, &file);
//
// Direct mode only: every change reaches the lock bytes before a call
// returns (gathered by sector I/O and written when the outermost change
// ends, still within the call). After Close() (the root storage released) every call answers
// STG_E_REVERTED.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "platform/storage/chain.h"
#include "platform/storage/directory.h"
#include "platform/storage/fat.h"
#include "platform/storage/mini_fat.h"
#include "platform/storage/sector_io.h"

namespace quillbox::storage {

// The state of one open stream, shared by its clones: where its chain is
// and a cursor into it.
struct StreamData {
  uint32_t id = 0;
  bool mini = false;          // chain in the mini stream (decided by the chain, not the size)
  uint64_t chain_length = 0;  // sectors (or mini sectors) in the chain
  ChainCursor cursor;
};

class CompoundFile {
 public:
  // A new, empty compound file (version 3: 512-byte sectors; version 4:
  // 4096-byte sectors) written over whatever the lock bytes held.
  static HRESULT Create(ComPtr<ILockBytes> bytes, uint16_t major_version,
                        std::shared_ptr<CompoundFile>* out);
  // An existing one; STG_E_INVALIDHEADER or STG_E_DOCFILECORRUPT when damaged.
  static HRESULT Open(ComPtr<ILockBytes> bytes, bool writable, std::shared_ptr<CompoundFile>* out);

  explicit CompoundFile(ComPtr<ILockBytes> bytes, bool writable);
  CompoundFile(const CompoundFile&) = delete;
  CompoundFile& operator=(const CompoundFile&) = delete;

  std::recursive_mutex& mutex() { return mutex_; }
  bool writable() const { return io_.writable(); }
  bool closed() const { return closed_; }
  // Lets go of the lock bytes; later calls get STG_E_REVERTED.
  void Close();
  ILockBytes* lock_bytes() const { return bytes_.get(); }
  // Continues on other lock bytes that hold a copy of this file.
  void Rebind(ComPtr<ILockBytes> bytes) {
    bytes_ = bytes;
    io_.Rebind(std::move(bytes));
  }
  uint16_t major_version() { return fat_.header().major_version; }

  Directory& directory() { return directory_; }
  DirEntry& entry(uint32_t id) { return directory_.entry(id); }
  Fat& fat() { return fat_; }

  // Elements. parent is a storage's entry id.
  HRESULT CreateElement(uint32_t parent, std::u16string_view name, ObjectType type, uint32_t* id);
  HRESULT DestroyElement(uint32_t parent, uint32_t id);  // with its whole subtree
  HRESULT RenameElement(uint32_t parent, uint32_t id, std::u16string_view name);
  // Is id, or anything below it, open?
  bool IsOpenBelow(uint32_t id);

  // Open elements: an element open once cannot be opened again.
  bool IsOpen(uint32_t id) const { return open_.count(id) != 0; }
  void MarkOpen(uint32_t id) { ++open_[id]; }
  void MarkClosed(uint32_t id);

  // Streams.
  HRESULT OpenStreamData(uint32_t id, std::shared_ptr<StreamData>* out);
  uint64_t StreamSize(const StreamData& data) { return entry(data.id).size; }
  HRESULT ReadStream(StreamData& data, uint64_t position, void* buffer, uint32_t len,
                     uint32_t* read);
  HRESULT WriteStream(StreamData& data, uint64_t position, const void* buffer, uint32_t len);
  HRESULT SetStreamSize(StreamData& data, uint64_t size);

  HRESULT Flush() { return io_.Flush(); }

  // A change that either completes or leaves the file as it was: when the
  // outermost one ends with a failure, the structures it wrote are put back
  // and the engine reloads them. If even that fails the engine refuses
  // further changes (STG_E_WRITEFAULT). Changes nest.
  void BeginChange();
  HRESULT EndChange(HRESULT result);
  bool broken() const { return broken_; }

 private:
  HRESULT Reload();
  HRESULT CreateElementNow(uint32_t parent, std::u16string_view name, ObjectType type, uint32_t* id);
  HRESULT DestroyElementNow(uint32_t parent, uint32_t id);
  HRESULT RenameElementNow(uint32_t parent, uint32_t id, std::u16string_view name);
  HRESULT WriteStreamBytes(StreamData& data, uint64_t position, const void* buffer, uint32_t len,
                           DataLife life);
  HRESULT Resize(StreamData& data, uint64_t size, uint64_t zero_until);
  HRESULT ResizeChain(StreamData& data, bool mini, uint64_t units);
  // Moves len bytes at position between the stream and read_into (or from
  // write_from, whose bytes live as long as life says).
  HRESULT Transfer(StreamData& data, uint64_t position, uint8_t* read_into,
                   const uint8_t* write_from, uint32_t len, DataLife life);
  HRESULT WriteZeros(StreamData& data, uint64_t from, uint64_t to);
  HRESULT FreeStreamChain(const DirEntry& e);

  ComPtr<ILockBytes> bytes_;
  SectorIo io_;
  Fat fat_;
  Directory directory_;
  MiniFat mini_;
  std::recursive_mutex mutex_;
  std::map<uint32_t, int> open_;
  std::vector<std::weak_ptr<StreamData>> streams_;  // refreshed after a rollback
  int change_depth_ = 0;
  bool closed_ = false;
  bool broken_ = false;
};

// Scope of one change; Finish gives the call's result (after any rollback).
class ChangeScope {
 public:
  explicit ChangeScope(CompoundFile& file) : file_(file) { file_.BeginChange(); }
  ~ChangeScope() {
    if (!done_) file_.EndChange(E_UNEXPECTED);  // an exception is on its way out
  }
  ChangeScope(const ChangeScope&) = delete;
  ChangeScope& operator=(const ChangeScope&) = delete;
  HRESULT Finish(HRESULT result) {
    done_ = true;
    return file_.EndChange(result);
  }

 private:
  CompoundFile& file_;
  bool done_ = false;
};

// The current time as a FILETIME number (100 ns since 1601).
uint64_t FileTimeNow();

}  // namespace quillbox::storage
