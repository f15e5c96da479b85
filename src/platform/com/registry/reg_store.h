// The registry file and its tree in memory, kept in step: reads reload the
// file when another process replaced it; each change is a read-modify-write
// under the file's advisory lock. Not thread-safe; callers hold the
// registry's mutex.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/com/registry/reg_disk.h"
#include "platform/com/registry/reg_tree.h"
#include "quillbox/winreg.h"

namespace quillbox::com::registry {

class RegistryStore {
 public:
  RegistryStore();

  // Brings the tree up to date with the file named by the environment now.
  // ERROR_SUCCESS (a missing file is an empty registry), ERROR_BADDB if the
  // file cannot be parsed, ERROR_CANTREAD if it cannot be read.
  LSTATUS Refresh();

  // Runs `change` on an up-to-date tree while holding the file lock; if it
  // sets `changed`, writes the whole tree to a new file renamed over the old
  // one. Returns the refresh's failure, else ERROR_CANTWRITE if the file
  // could not be written, else what `change` returned. A file that cannot
  // be parsed is never written.
  LSTATUS Modify(const std::function<LSTATUS(bool& changed)>& change);

  const std::shared_ptr<RegKey>& Root(RootKind kind) const {
    return roots_.keys[static_cast<std::size_t>(kind)];
  }

  // Why the file was refused ("<path>: line N: ..."), empty when it was not.
  const std::string& ParseError() const { return parse_error_; }
  const std::string& path() const { return path_; }
  // Modification time of the version of the file we hold, for enumerations.
  FILETIME LastWriteTime() const;

 private:
  enum class State { kUnknown, kMissing, kLoaded, kCorrupt };

  LSTATUS BecomeMissing();  // a missing file is an empty registry
  LSTATUS Load();

  RegistryRoots roots_;
  std::string path_;
  State state_ = State::kUnknown;
  ScopedFd file_;  // the version we hold, kept open so its inode stays unique
  FileIdentity identity_;
  std::string parse_error_;
};

}  // namespace quillbox::com::registry
