// Running the built quillbox tool from a test: its exit status and what it
// wrote to standard output and standard error, kept apart and byte-exact.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/test_support.h"

namespace quillbox::testing {

struct ToolRun {
  int status = -1;
  std::string out;  // standard output, bytes as written
  std::string err;  // standard error
};

// The tool binary of this build.
std::string ToolPath();

// Runs `quillbox args...` with TZ=UTC (element times print in local time)
// unless env sets another; stdin_file, when not empty, is its standard
// input. env: "NAME=value" words put before the command.
ToolRun RunTool(const std::vector<std::string>& args, const std::string& stdin_file = "",
                const std::string& env = "");

// Runs a shell command; gives its exit status, its standard output in *out
// (byte-exact) and fails the test with its standard error when it fails.
int RunProgram(const std::string& command, std::string* out);

// Runs a Python script with Debian's /usr/bin/python3 (where python3-olefile
// is installed) and the given arguments; as RunProgram.
int RunPython(const std::string& script, const std::vector<std::string>& args, std::string* out);

std::string ReadFileBytes(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes);

// count bytes of a fixed pattern that includes 00 and FF.
std::string PatternBytes(size_t count, unsigned seed);

// A scratch folder and the tool's common steps.
class ToolTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (scratch_ / name).string(); }
  // Runs the tool and expects it to succeed with nothing on stderr.
  ToolRun Ok(const std::vector<std::string>& args, const std::string& stdin_file = "");
  // Runs the tool and expects it to fail: status 1 and one line on stderr.
  ToolRun Fails(const std::vector<std::string>& args);
  // A new document at name (in the scratch folder); gives its path.
  std::string NewDocument(const std::string& name);
  // tree --json of file, parsed.
  nlohmann::json Tree(const std::string& file);
  // The element at path ("A/b") in a parsed tree, or null.
  static const nlohmann::json* Find(const nlohmann::json& tree, const std::string& path);
  // A copy of that element, or null (whose fields then read as null).
  static nlohmann::json At(const nlohmann::json& tree, const std::string& path) {
    const nlohmann::json* found = Find(tree, path);
    return found ? *found : nlohmann::json();
  }

  ScratchDir scratch_;
};

}  // namespace quillbox::testing
