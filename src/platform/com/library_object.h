// LibraryObject: a ComObject that holds the module lock while it lives, as
// every object made by the library does, so DllCanUnloadNow answers S_FALSE
// while any of them is alive.
#pragma once

#include "platform/com/com_object.h"
#include "platform/com/module_lock.h"

namespace quillbox::com {

template <class Derived, class... Interfaces>
class LibraryObject : public ComObject<Derived, Interfaces...> {
 protected:
  ~LibraryObject() = default;

 private:
  ModuleLockHolder module_lock_;
};

}  // namespace quillbox::com
