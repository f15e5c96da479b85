// The operating-system side of the registry file: where it lives, how to tell
// that it changed, whole-file reads, the advisory lock and atomic replacement.
// Functions return 0 or an errno value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillbox::com::registry {

// Owns one file descriptor.
class ScopedFd {
 public:
  ScopedFd() = default;
  explicit ScopedFd(int fd) : fd_(fd) {}
  ScopedFd(ScopedFd&& other) noexcept : fd_(other.Release()) {}
  ScopedFd& operator=(ScopedFd&& other) noexcept;
  ScopedFd(const ScopedFd&) = delete;
  ScopedFd& operator=(const ScopedFd&) = delete;
  ~ScopedFd() { Reset(); }

  int get() const { return fd_; }
  int Release();
  void Reset();

 private:
  int fd_ = -1;
};

// What tells one version of the file from another. We always replace the
// file by renaming a new one over it and keep the last one we read open, so
// its inode number cannot be reused: device and inode alone name a version;
// size and modification time catch editors that rewrite in place.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t mtime_seconds = 0;
  std::int64_t mtime_nanoseconds = 0;

  bool operator==(const FileIdentity&) const = default;
};

// $QUILLBOX_REGISTRY, else $XDG_DATA_HOME/quillbox/registry.reg, else
// ~/.local/share/quillbox/registry.reg; empty if no home folder is known.
std::string ResolveRegistryPath();

int StatFile(const std::string& path, FileIdentity* identity);

// Reads the whole file; `fd` keeps it open afterwards and `identity`
// describes exactly the bytes read.
int ReadWholeFile(const std::string& path, ScopedFd* fd, std::string* bytes,
                  FileIdentity* identity);

// Creates the folders above `path` that are missing.
int MakeParentFolders(const std::string& path);

// Blocks until this process holds the exclusive lock on `lock_path`
// (created if missing); closing `lock` releases it. Each call opens the file
// afresh, so a forked child never shares its parent's lock.
int LockExclusive(const std::string& lock_path, ScopedFd* lock);

// Writes `bytes` to a new file beside `path` and renames it over `path`,
// keeping the old file's permissions. `kept` holds the new file open.
int ReplaceFile(const std::string& path, std::string_view bytes, ScopedFd* kept,
                FileIdentity* identity);

}  // namespace quillbox::com::registry
