// The table of open key handles.
#include "platform/com/registry/reg_handles.h"

#include <utility>

namespace quillbox::com::registry {

HKEY HandleTable::Insert(std::shared_ptr<RegKey> key, REGSAM access) {
  const std::uintptr_t value = next_;
  next_ += kHandleStep;
  entries_.emplace(value, KeyHandle{std::move(key), access});
  return reinterpret_cast<HKEY>(value);
}

const KeyHandle* HandleTable::Find(HKEY handle) const {
  const auto it = entries_.find(reinterpret_cast<std::uintptr_t>(handle));
  return it == entries_.end() ? nullptr : &it->second;
}

bool HandleTable::Erase(HKEY handle) {
  return entries_.erase(reinterpret_cast<std::uintptr_t>(handle)) != 0;
}

}  // namespace quillbox::com::registry
