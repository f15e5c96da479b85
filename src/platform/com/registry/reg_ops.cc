// Registry operations: handle resolution, refresh from the file, access
// checks, and the changes, each under the registry's mutex.
#include "platform/com/registry/reg_ops.h"

#include <cstdint>
#include <mutex>
#include <utility>

#include "platform/com/registry/reg_disk.h"
#include "platform/com/registry/reg_handles.h"
#include "platform/com/registry/reg_names.h"
#include "platform/com/registry/reg_store.h"
#include "quillbox/winerror.h"

namespace quillbox::com::registry {
namespace {

constexpr REGSAM kDeleteAccess = 0x00010000;  // DELETE, which KEY_ALL_ACCESS holds
constexpr std::uint32_t kPredefinedBase = 0x80000000u;
constexpr std::intptr_t kPredefinedCount = 7;

struct Registry {
  std::mutex mutex;
  RegistryStore store;
  HandleTable handles;
  // HKEY_USERS: an empty key that cannot be written.
  std::shared_ptr<RegKey> users = std::make_shared<RegKey>(u"HKEY_USERS");
};

// Never destroyed, so handles may be closed from other objects' destructors.
Registry& TheRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

// HKEY_CLASSES_ROOT .. HKEY_DYN_DATA: 32-bit negative numbers widened with
// their sign.
bool IsPredefined(HKEY key) {
  const auto value = reinterpret_cast<std::intptr_t>(key);
  return value >= static_cast<std::int32_t>(kPredefinedBase) &&
         value < static_cast<std::int32_t>(kPredefinedBase) + kPredefinedCount;
}

// The key a handle names, not yet checked for deletion.
LSTATUS LookupHandle(Registry& r, HKEY handle, KeyHandle* out) {
  if (handle == HKEY_CLASSES_ROOT) {
    *out = {r.store.Root(RootKind::kClassesRoot), KEY_ALL_ACCESS | kDeleteAccess};
  } else if (handle == HKEY_CURRENT_USER) {
    *out = {r.store.Root(RootKind::kCurrentUser), KEY_ALL_ACCESS | kDeleteAccess};
  } else if (handle == HKEY_LOCAL_MACHINE) {
    *out = {r.store.Root(RootKind::kLocalMachine), KEY_ALL_ACCESS | kDeleteAccess};
  } else if (handle == HKEY_USERS) {
    *out = {r.users, KEY_READ};
  } else if (const KeyHandle* found = r.handles.Find(handle)) {
    *out = *found;
  } else {
    return ERROR_INVALID_HANDLE;
  }
  return ERROR_SUCCESS;
}

// Handle lookup and refresh, for operations that only read.
LSTATUS BeginRead(Registry& r, HKEY handle, KeyHandle* out) {
  LSTATUS status = LookupHandle(r, handle, out);
  if (status == ERROR_SUCCESS) status = r.store.Refresh();
  if (status == ERROR_SUCCESS && out->key->deleted()) status = ERROR_KEY_DELETED;
  return status;
}

std::shared_ptr<RegKey> Walk(std::shared_ptr<RegKey> key,
                             const std::vector<std::u16string_view>& names) {
  for (const auto name : names) {
    if (!key) break;
    key = key->FindChild(name);
  }
  return key;
}

bool SameValue(const RegValue* value, DWORD type, const std::vector<BYTE>& data) {
  return value != nullptr && value->type == type && value->data == data;
}

}  // namespace

LSTATUS CreateKey(HKEY parent, std::u16string_view sub_key, REGSAM access, HKEY* result,
                  DWORD* disposition) {
  std::vector<std::u16string_view> names;
  LSTATUS status = SplitKeyPath(sub_key, &names);
  if (status != ERROR_SUCCESS) return status;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle base;
  status = LookupHandle(r, parent, &base);
  if (status != ERROR_SUCCESS) return status;
  // Straight to the file lock: a check without it would read the file once
  // more whenever another process is writing.
  std::shared_ptr<RegKey> key;
  DWORD outcome = REG_OPENED_EXISTING_KEY;
  status = r.store.Modify([&](bool& changed) -> LSTATUS {
    if (base.key->deleted()) return ERROR_KEY_DELETED;
    std::shared_ptr<RegKey> at = base.key;
    std::size_t i = 0;
    for (; i < names.size(); ++i) {
      auto child = at->FindChild(names[i]);
      if (!child) break;
      at = std::move(child);
    }
    if (i < names.size()) {
      if ((base.access & KEY_CREATE_SUB_KEY) == 0) return ERROR_ACCESS_DENIED;
      if (at->Depth() + (names.size() - i) > kMaxKeyDepth) return ERROR_INVALID_PARAMETER;
      for (; i < names.size(); ++i) at = at->AddChild(std::u16string(names[i]));
      changed = true;
      outcome = REG_CREATED_NEW_KEY;
    }
    key = std::move(at);
    return ERROR_SUCCESS;
  });
  if (status == ERROR_CANTWRITE) {
    // A registry we may read but not write still opens the keys it has.
    const LSTATUS read = BeginRead(r, parent, &base);
    if (read != ERROR_SUCCESS) return read;
    key = Walk(base.key, names);
    outcome = REG_OPENED_EXISTING_KEY;
    if (key) status = ERROR_SUCCESS;
  }
  if (status != ERROR_SUCCESS) return status;
  *result = names.empty() && IsPredefined(parent) ? parent : r.handles.Insert(key, access);
  if (disposition != nullptr) *disposition = outcome;
  return ERROR_SUCCESS;
}

LSTATUS OpenKey(HKEY parent, std::u16string_view sub_key, REGSAM access, HKEY* result) {
  std::vector<std::u16string_view> names;
  LSTATUS status = SplitKeyPath(sub_key, &names);
  if (status != ERROR_SUCCESS) return status;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle base;
  status = BeginRead(r, parent, &base);
  if (status != ERROR_SUCCESS) return status;
  if (names.empty() && IsPredefined(parent)) {
    *result = parent;
    return ERROR_SUCCESS;
  }
  std::shared_ptr<RegKey> key = Walk(base.key, names);
  if (!key) return ERROR_FILE_NOT_FOUND;
  *result = r.handles.Insert(std::move(key), access);
  return ERROR_SUCCESS;
}

LSTATUS CloseKey(HKEY key) {
  if (IsPredefined(key)) return ERROR_SUCCESS;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  return r.handles.Erase(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS SetValue(HKEY key, std::u16string_view name, DWORD type, std::vector<BYTE> data) {
  if (name.size() > kMaxValueNameLength || !IsStorableName(name)) return ERROR_INVALID_PARAMETER;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle target;
  LSTATUS status = LookupHandle(r, key, &target);
  if (status != ERROR_SUCCESS) return status;
  if ((target.access & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  return r.store.Modify([&](bool& changed) -> LSTATUS {
    if (target.key->deleted()) return ERROR_KEY_DELETED;
    if (SameValue(target.key->FindValue(name), type, data)) return ERROR_SUCCESS;
    target.key->SetValue(name, type, std::move(data));
    changed = true;
    return ERROR_SUCCESS;
  });
}

LSTATUS QueryValue(HKEY key, std::u16string_view name, DWORD* type, std::vector<BYTE>* data) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle target;
  const LSTATUS status = BeginRead(r, key, &target);
  if (status != ERROR_SUCCESS) return status;
  const RegValue* value = target.key->FindValue(name);
  if (value == nullptr) return ERROR_FILE_NOT_FOUND;
  *type = value->type;
  *data = value->data;
  return ERROR_SUCCESS;
}

LSTATUS DeleteValue(HKEY key, std::u16string_view name) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle target;
  LSTATUS status = BeginRead(r, key, &target);
  if (status != ERROR_SUCCESS) return status;
  if ((target.access & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  if (target.key->FindValue(name) == nullptr) return ERROR_FILE_NOT_FOUND;
  return r.store.Modify([&](bool& changed) -> LSTATUS {
    if (target.key->deleted()) return ERROR_KEY_DELETED;
    if (!target.key->DeleteValue(name)) return ERROR_FILE_NOT_FOUND;
    changed = true;
    return ERROR_SUCCESS;
  });
}

LSTATUS DeleteKey(HKEY key, std::u16string_view sub_key) {
  std::vector<std::u16string_view> names;
  LSTATUS status = SplitKeyPath(sub_key, &names);
  if (status != ERROR_SUCCESS) return status;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle base;
  status = BeginRead(r, key, &base);
  if (status != ERROR_SUCCESS) return status;
  if (names.empty() && (base.access & kDeleteAccess) == 0) return ERROR_ACCESS_DENIED;
  if (!Walk(base.key, names)) return ERROR_FILE_NOT_FOUND;
  return r.store.Modify([&](bool& changed) -> LSTATUS {
    if (base.key->deleted()) return ERROR_KEY_DELETED;
    const std::shared_ptr<RegKey> victim = Walk(base.key, names);
    if (!victim) return ERROR_FILE_NOT_FOUND;
    // Roots cannot go, and as on Windows a key with subkeys is refused.
    if (victim->parent() == nullptr || !victim->children().empty()) return ERROR_ACCESS_DENIED;
    victim->parent()->RemoveChild(victim.get());
    changed = true;
    return ERROR_SUCCESS;
  });
}

LSTATUS DeleteTree(HKEY key, std::u16string_view sub_key) {
  std::vector<std::u16string_view> names;
  LSTATUS status = SplitKeyPath(sub_key, &names);
  if (status != ERROR_SUCCESS) return status;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle base;
  status = BeginRead(r, key, &base);
  if (status != ERROR_SUCCESS) return status;
  const std::shared_ptr<RegKey> found = Walk(base.key, names);
  if (!found) return ERROR_FILE_NOT_FOUND;
  if (names.empty()) {
    if (found->values().empty() && found->children().empty()) return ERROR_SUCCESS;
    if (!found->values().empty() && (base.access & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  }
  return r.store.Modify([&](bool& changed) -> LSTATUS {
    if (base.key->deleted()) return ERROR_KEY_DELETED;
    const std::shared_ptr<RegKey> victim = Walk(base.key, names);
    if (!victim) return ERROR_FILE_NOT_FOUND;
    if (names.empty()) {
      // The key itself stays; only what it holds goes.
      changed = !victim->values().empty() || !victim->children().empty();
      victim->RemoveAllChildren();
      victim->RemoveAllValues();
    } else {
      victim->parent()->RemoveChild(victim.get());
      changed = true;
    }
    return ERROR_SUCCESS;
  });
}

LSTATUS EnumKey(HKEY key, DWORD index, std::u16string* name, FILETIME* last_write) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle target;
  const LSTATUS status = BeginRead(r, key, &target);
  if (status != ERROR_SUCCESS) return status;
  const auto& children = target.key->children();
  if (index >= children.size()) return ERROR_NO_MORE_ITEMS;
  *name = children[index]->name();
  *last_write = r.store.LastWriteTime();
  return ERROR_SUCCESS;
}

LSTATUS EnumValue(HKEY key, DWORD index, RegValue* value) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  KeyHandle target;
  const LSTATUS status = BeginRead(r, key, &target);
  if (status != ERROR_SUCCESS) return status;
  const auto& values = target.key->values();
  if (index >= values.size()) return ERROR_NO_MORE_ITEMS;
  *value = values[index];
  return ERROR_SUCCESS;
}

std::string RegistryParseError() {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  r.store.Refresh();
  return r.store.ParseError();
}

std::string RegistryPathNow() { return ResolveRegistryPath(); }

}  // namespace quillbox::com::registry
