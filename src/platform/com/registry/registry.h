// The registry for the rest of the library (class and ProgID lookups,
// registration): whole-path reads and writes without handles to manage.
// Thread-safe. Self-contained, so tests can include it as well.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbox/winreg.h"

namespace quillbox::com::registry {

// The REG_SZ or REG_EXPAND_SZ value `value_name` (empty: the default value)
// of the key `path` under `root`, without its terminator and unexpanded;
// nullopt if the key or value is missing, of another type, or unreadable.
std::optional<std::u16string> ReadRegistryString(HKEY root, std::u16string_view path,
                                                 std::u16string_view value_name);

// Creates the key `path` (every missing level) and sets the REG_SZ value.
LSTATUS WriteRegistryString(HKEY root, std::u16string_view path, std::u16string_view value_name,
                            std::u16string_view text);

// Names of the subkeys of `path`, in listing order; empty if it is missing.
std::vector<std::u16string> ListRegistrySubkeys(HKEY root, std::u16string_view path);

// Removes the key `path` and everything below it (ERROR_FILE_NOT_FOUND if it
// is missing). Refuses an empty path, which would empty the whole root.
LSTATUS DeleteRegistryTree(HKEY root, std::u16string_view path);

// Why the registry file is refused with ERROR_BADDB ("<path>: line N: ..."),
// or "" while it is readable. Calls never print it; tools show it.
std::string RegistryDiagnostic();

// The file the registry lives in, as the environment names it now.
std::string RegistryFilePath();

}  // namespace quillbox::com::registry
