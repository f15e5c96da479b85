// Reload and write-back of the registry file.
#include "platform/com/registry/reg_store.h"

#include <cerrno>
#include <utility>

#include "platform/com/registry/reg_file.h"
#include "quillbox/winerror.h"

namespace quillbox::com::registry {
namespace {

constexpr char kLockSuffix[] = ".lock";
// Seconds from 1601-01-01 (FILETIME's epoch) to 1970-01-01.
constexpr std::int64_t kFiletimeEpochOffset = 11644473600;

}  // namespace

RegistryStore::RegistryStore() : roots_(RegistryRoots::MakeEmpty()) {}

LSTATUS RegistryStore::BecomeMissing() {
  if (state_ != State::kMissing) {
    RegistryRoots empty = RegistryRoots::MakeEmpty();
    for (std::size_t i = 0; i < kRootCount; ++i) roots_.keys[i]->Reconcile(*empty.keys[i]);
    file_.Reset();
    parse_error_.clear();
    state_ = State::kMissing;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryStore::Refresh() {
  std::string path = ResolveRegistryPath();
  if (path.empty()) return ERROR_CANTREAD;
  if (path != path_) {
    path_ = std::move(path);
    state_ = State::kUnknown;
    file_.Reset();
  }
  FileIdentity now;
  const int error = StatFile(path_, &now);
  if (error == ENOENT) return BecomeMissing();
  if (error != 0) return ERROR_CANTREAD;
  if (now == identity_ && state_ == State::kLoaded) return ERROR_SUCCESS;
  if (now == identity_ && state_ == State::kCorrupt) return ERROR_BADDB;
  return Load();
}

LSTATUS RegistryStore::Load() {
  ScopedFd file;
  std::string bytes;
  FileIdentity identity;
  const int error = ReadWholeFile(path_, &file, &bytes, &identity);
  if (error == ENOENT) return BecomeMissing();  // removed since we looked
  if (error != 0) return ERROR_CANTREAD;
  file_ = std::move(file);
  identity_ = identity;
  RegistryRoots parsed;
  std::string message;
  if (!ParseRegFile(bytes, &parsed, &message)) {
    // The tree keeps its last good state; it is unreachable until the file
    // is repaired, because every call refreshes first.
    parse_error_ = path_ + ": " + message;
    state_ = State::kCorrupt;
    return ERROR_BADDB;
  }
  for (std::size_t i = 0; i < kRootCount; ++i) roots_.keys[i]->Reconcile(*parsed.keys[i]);
  parse_error_.clear();
  state_ = State::kLoaded;
  return ERROR_SUCCESS;
}

LSTATUS RegistryStore::Modify(const std::function<LSTATUS(bool& changed)>& change) {
  const std::string path = ResolveRegistryPath();
  if (path.empty()) return ERROR_CANTWRITE;
  ScopedFd lock;
  int error = LockExclusive(path + kLockSuffix, &lock);
  if (error == ENOENT) {  // the first write: make the folders
    error = MakeParentFolders(path);
    if (error == 0) error = LockExclusive(path + kLockSuffix, &lock);
  }
  if (error != 0) return ERROR_CANTWRITE;
  const LSTATUS refreshed = Refresh();
  if (refreshed != ERROR_SUCCESS) return refreshed;
  bool changed = false;
  const LSTATUS result = change(changed);
  if (!changed) return result;
  ScopedFd written;
  FileIdentity identity;
  if (ReplaceFile(path_, FormatRegFile(roots_), &written, &identity) != 0) {
    // Memory now holds a change the file lacks: reread at the next call.
    state_ = State::kUnknown;
    return ERROR_CANTWRITE;
  }
  file_ = std::move(written);
  identity_ = identity;
  state_ = State::kLoaded;
  return result;
}

FILETIME RegistryStore::LastWriteTime() const {
  FILETIME time{0, 0};
  if (state_ != State::kLoaded) return time;
  const std::uint64_t ticks =
      static_cast<std::uint64_t>(identity_.mtime_seconds + kFiletimeEpochOffset) * 10000000u +
      static_cast<std::uint64_t>(identity_.mtime_nanoseconds / 100);
  time.dwLowDateTime = static_cast<DWORD>(ticks);
  time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  return time;
}

}  // namespace quillbox::com::registry
