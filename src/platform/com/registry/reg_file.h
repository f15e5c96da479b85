// The registry file's text: the .reg format of "Windows Registry Editor
// Version 5.00", read and written. docs/platform/registry.md describes it.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/registry/reg_tree.h"

namespace quillbox::com::registry {

// First line of every file we write and accept.
constexpr std::string_view kRegFileHeader = "Windows Registry Editor Version 5.00";

// Reads a whole file: UTF-8 with or without BOM, or UTF-16LE with BOM; CRLF
// or LF; hex data continued over lines ending in '\'; [-KEY] and "name"=-
// deletions honoured. On failure returns false and sets `error` to
// "line N: what is wrong", and `roots` holds nothing useful.
bool ParseRegFile(std::string_view bytes, RegistryRoots* roots, std::string* error);

// The file's text, UTF-8 without BOM, LF line ends: every key gets a section,
// parents before children, subkeys in listing order.
std::string FormatRegFile(const RegistryRoots& roots);

}  // namespace quillbox::com::registry
