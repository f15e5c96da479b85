// File-system calls of the registry store.
#include "platform/com/registry/reg_disk.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace quillbox::com::registry {
namespace {

constexpr int kReadAttempts = 3;  // rereads when the file changes under us

FileIdentity IdentityOf(const struct stat& st) {
  FileIdentity id;
  id.device = static_cast<std::uint64_t>(st.st_dev);
  id.inode = static_cast<std::uint64_t>(st.st_ino);
  id.size = static_cast<std::int64_t>(st.st_size);
  id.mtime_seconds = static_cast<std::int64_t>(st.st_mtim.tv_sec);
  id.mtime_nanoseconds = static_cast<std::int64_t>(st.st_mtim.tv_nsec);
  return id;
}

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] != '\0') return home;
  std::vector<char> buffer(16384);
  struct passwd entry;
  struct passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
      found->pw_dir != nullptr) {
    return found->pw_dir;
  }
  return {};
}

int WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {  // each pass writes at least one byte or fails
    const ssize_t n = write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (n == 0) return EIO;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return 0;
}

}  // namespace

ScopedFd& ScopedFd::operator=(ScopedFd&& other) noexcept {
  if (this != &other) {
    Reset();
    fd_ = other.Release();
  }
  return *this;
}

int ScopedFd::Release() {
  const int fd = fd_;
  fd_ = -1;
  return fd;
}

void ScopedFd::Reset() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

std::string ResolveRegistryPath() {
  const char* explicit_path = std::getenv("QUILLBOX_REGISTRY");
  if (explicit_path != nullptr && explicit_path[0] != '\0') return explicit_path;
  // The XDG rules ignore a relative XDG_DATA_HOME.
  const char* data_home = std::getenv("XDG_DATA_HOME");
  if (data_home != nullptr && data_home[0] == '/') {
    return std::string(data_home) + "/quillbox/registry.reg";
  }
  const std::string home = HomeFolder();
  if (home.empty()) return {};
  return home + "/.local/share/quillbox/registry.reg";
}

int StatFile(const std::string& path, FileIdentity* identity) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return errno;
  *identity = IdentityOf(st);
  return 0;
}

int ReadWholeFile(const std::string& path, ScopedFd* fd, std::string* bytes,
                  FileIdentity* identity) {
  ScopedFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return errno;
  struct stat st;
  for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
    bytes->clear();
    if (lseek(file.get(), 0, SEEK_SET) < 0) return errno;
    char chunk[65536];
    for (;;) {  // ends at end of file or on an error
      const ssize_t n = read(file.get(), chunk, sizeof chunk);
      if (n < 0) {
        if (errno == EINTR) continue;
        return errno;
      }
      if (n == 0) break;
      bytes->append(chunk, static_cast<std::size_t>(n));
    }
    if (fstat(file.get(), &st) != 0) return errno;
    // A size that disagrees means someone rewrote the file in place meanwhile.
    if (static_cast<std::size_t>(st.st_size) == bytes->size()) break;
  }
  *identity = IdentityOf(st);
  *fd = std::move(file);
  return 0;
}

int MakeParentFolders(const std::string& path) {
  const std::size_t last = path.rfind('/');
  if (last == std::string::npos || last == 0) return 0;
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos && slash <= last;
       slash = path.find('/', slash + 1)) {
    const std::string folder = path.substr(0, slash);
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return errno;
  }
  return 0;
}

int LockExclusive(const std::string& lock_path, ScopedFd* lock) {
  ScopedFd file(open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  if (file.get() < 0) return errno;
  while (flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return errno;
  }
  *lock = std::move(file);
  return 0;
}

int ReplaceFile(const std::string& path, std::string_view bytes, ScopedFd* kept,
                FileIdentity* identity) {
  static std::atomic<unsigned> counter{0};
  const std::string temp =
      path + ".tmp." + std::to_string(getpid()) + "." + std::to_string(counter++);
  ScopedFd file(open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (file.get() < 0) return errno;
  struct stat st;
  int error = 0;
  if (stat(path.c_str(), &st) == 0 && fchmod(file.get(), st.st_mode & 07777) != 0) error = errno;
  if (error == 0) error = WriteAll(file.get(), bytes);
  if (error == 0 && rename(temp.c_str(), path.c_str()) != 0) error = errno;
  if (error == 0 && fstat(file.get(), &st) != 0) error = errno;
  if (error != 0) {
    unlink(temp.c_str());
    return error;
  }
  *identity = IdentityOf(st);
  *kept = std::move(file);
  return 0;
}

}  // namespace quillbox::com::registry
