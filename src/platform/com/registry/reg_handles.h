// Open key handles: HKEY values given out by create and open, each naming a
// key and the access it was opened with. Not thread-safe; callers hold the
// registry's mutex.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "platform/com/registry/reg_tree.h"
#include "quillbox/winreg.h"

namespace quillbox::com::registry {

struct KeyHandle {
  std::shared_ptr<RegKey> key;
  REGSAM access = 0;
};

class HandleTable {
 public:
  HKEY Insert(std::shared_ptr<RegKey> key, REGSAM access);
  const KeyHandle* Find(HKEY handle) const;
  bool Erase(HKEY handle);

 private:
  // Values count up and are never reused, so a stale handle stays invalid;
  // they stay far below the predefined keys' 0x80000000 range.
  static constexpr std::uintptr_t kFirstHandle = 0x1000;
  static constexpr std::uintptr_t kHandleStep = 4;

  std::unordered_map<std::uintptr_t, KeyHandle> entries_;
  std::uintptr_t next_ = kFirstHandle;
};

}  // namespace quillbox::com::registry
