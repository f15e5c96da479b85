// The registry script as a tree: parsed whole before anything is written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frame/registrar.h"
#include "quillbox/winreg.h"

namespace quillbox::frame {

struct ScriptValue {
  std::u16string name;  // empty for the default value
  bool is_dword = false;
  std::u16string text;
  DWORD number = 0;
};

struct ScriptKey {
  enum class Marker { kNone, kNoRemove, kForceRemove, kDelete };
  Marker marker = Marker::kNone;
  std::u16string name;
  std::optional<ScriptValue> default_value;
  std::vector<ScriptValue> values;  // `val` entries
  std::vector<ScriptKey> children;
};

struct ScriptRoot {
  HKEY root;
  std::vector<ScriptKey> keys;
};

// Parses the script, applying replacements; nothing on a syntax error.
std::optional<std::vector<ScriptRoot>> ParseRegistryScript(const char16_t* script,
                                                           const Replacements& replacements);

}  // namespace quillbox::frame
