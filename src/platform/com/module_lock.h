// The module lock count: every object of the library raises it while it
// lives, and DllCanUnloadNow answers by it. Changed only atomically.
#pragma once

#include "quillbox/wtypes.h"

namespace quillbox::com {

void LockModule();
void UnlockModule();
LONG ModuleLockCount();

// Holds one module lock for its lifetime; a member of every library object.
class ModuleLockHolder {
 public:
  ModuleLockHolder() { LockModule(); }
  ModuleLockHolder(const ModuleLockHolder&) { LockModule(); }
  ModuleLockHolder& operator=(const ModuleLockHolder&) { return *this; }
  ~ModuleLockHolder() { UnlockModule(); }
};

}  // namespace quillbox::com
