// The registry's operations in UTF-16 on handles, shared by the W and A entry
// points and the library's own lookups. Thread-safe: each takes the
// registry's one mutex. Out-parameters are written only on success.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/com/registry/reg_tree.h"
#include "quillbox/winreg.h"

namespace quillbox::com::registry {

// An empty `sub_key` gives a new handle to `parent` itself (the predefined
// handle itself when `parent` is predefined).
LSTATUS CreateKey(HKEY parent, std::u16string_view sub_key, REGSAM access, HKEY* result,
                  DWORD* disposition);
LSTATUS OpenKey(HKEY parent, std::u16string_view sub_key, REGSAM access, HKEY* result);
LSTATUS CloseKey(HKEY key);

// `data` is in stored form (reg_value_data.h). An empty name is the default value.
LSTATUS SetValue(HKEY key, std::u16string_view name, DWORD type, std::vector<BYTE> data);
LSTATUS QueryValue(HKEY key, std::u16string_view name, DWORD* type, std::vector<BYTE>* data);
LSTATUS DeleteValue(HKEY key, std::u16string_view name);

// An empty `sub_key` deletes the key `key` itself (if opened with DELETE access).
LSTATUS DeleteKey(HKEY key, std::u16string_view sub_key);
// An empty `sub_key` empties `key` of its values and subkeys and keeps it.
LSTATUS DeleteTree(HKEY key, std::u16string_view sub_key);

LSTATUS EnumKey(HKEY key, DWORD index, std::u16string* name, FILETIME* last_write);
LSTATUS EnumValue(HKEY key, DWORD index, RegValue* value);

// Why the registry file is refused, "" while it is readable.
std::string RegistryParseError();
// The file the registry lives in now.
std::string RegistryPathNow();

}  // namespace quillbox::com::registry
