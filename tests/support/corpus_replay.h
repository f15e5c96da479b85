// Replaying a fuzzer's corpus in the ordinary test builds: the files of
// some folders, each walked in a child process with a time limit, so that a
// crash or a hang fails only that file's test.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

namespace quillbox::testing {

// What the fuzzer does with one input.
using FuzzWalk = void (*)(const std::uint8_t* data, std::size_t size);

// The regular files (not dot files) of the folders, given relative to the
// source tree, sorted; absent folders are skipped.
std::vector<std::filesystem::path> CorpusFiles(std::initializer_list<const char*> folders);

// Walks the file's bytes in a child process; "" when it exits normally,
// else what went wrong (signal, exit status, or more than `limit`).
std::string ReplayInChild(const std::filesystem::path& file, FuzzWalk walk,
                          std::chrono::seconds limit = std::chrono::seconds(60));

// A test name from the file name and the folder `levels_up` above it.
std::string CorpusTestName(const std::filesystem::path& file, int levels_up);

}  // namespace quillbox::testing
