// The registrar: runs a registry script (keys in braces, `s` string values,
// `val` named values, NoRemove/ForceRemove/Delete markers, %NAME%
// replacements) against the registry, in registering or removing mode.
#pragma once

#include <map>
#include <string>

#include "quillbox/winerror.h"

namespace quillbox::frame {

enum class RegistrarMode { kRegister, kRemove };

// Replacements for %NAME% in names and values ("MODULE" -> the module path).
using Replacements = std::map<std::u16string, std::u16string>;

// Registering creates keys and values (ForceRemove keys are first removed
// whole); removing deletes what the script names, except NoRemove keys,
// ForceRemove keys whole, other keys only once they have no subkeys left.
// Returns the first failing registry write as an HRESULT; a script that
// cannot be parsed gives DISP_E_EXCEPTION and changes nothing.
HRESULT RunRegistryScript(const char16_t* script, RegistrarMode mode,
                          const Replacements& replacements);

}  // namespace quillbox::frame
