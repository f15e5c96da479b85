// Helpers for the interoperability tests: running another program, a sample
// compound file written by us, and reading a whole tree back with ours.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "quillbox/platform.h"

namespace quillbox::testing {

// Element path (UTF-8, '/' between names) -> contents (nullopt: a storage).
using Tree = std::map<std::string, std::optional<std::string>>;

// Runs a shell command, gives its exit status and what it printed.
int RunCommand(const std::string& command, std::string* output);
std::string ShellQuote(const std::string& text);
bool HaveProgram(const std::string& path);

// Writes the sample tree (nested and empty storages, empty, mini, regular
// and boundary streams, non-ASCII names) to path with the given sector size
// (512: version 3, 4096: version 4); gives what it wrote.
Tree WriteSample(const std::filesystem::path& path, ULONG sector_size);

// Reads every element of the compound file at path with our engine.
HRESULT ReadTree(const std::filesystem::path& path, Tree* tree);
HRESULT ReadTree(IStorage* storage, const std::string& prefix, Tree* tree);

// A short account of how two trees differ ("" when they are equal): missing,
// extra and changed paths with sizes, not the bytes themselves.
std::string Differences(const Tree& expected, const Tree& actual);

std::u16string ToWide(const std::string& utf8);
std::string ToUtf8(const std::u16string& wide);
std::string Hex(const std::string& bytes);
std::string Unhex(const std::string& hex);

}  // namespace quillbox::testing
