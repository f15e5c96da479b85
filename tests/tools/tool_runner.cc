// RunTool and RunProgram over the shared RunShell: the command's standard
// output and error go to files of a scratch folder, so binary output stays
// whole and the two stay apart.
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "support/run_shell.h"

namespace quillbox::testing {
namespace {

struct Captured {
  int status;
  std::string out;
  std::string err;
};

Captured Capture(const std::string& command) {
  ScratchDir capture;
  const std::string out_file = (capture / "out").string();
  const std::string err_file = (capture / "err").string();
  std::string joined;
  const int status = RunShell(command + " >" + QuoteForShell(out_file) + " 2>" + QuoteForShell(err_file), &joined);
  return {status, ReadFileBytes(out_file), ReadFileBytes(err_file) + joined};
}

}  // namespace

std::string ToolPath() {
#ifdef QUILLBOX_TOOL
  return QUILLBOX_TOOL;
#else
  return std::string(QUILLBOX_BINARY_DIR) + "/tools/quillbox/quillbox";
#endif
}

ToolRun RunTool(const std::vector<std::string>& args, const std::string& stdin_file, const std::string& env) {
  std::string command = "TZ=UTC " + env + " " + QuoteForShell(ToolPath());
  for (const auto& arg : args) command += " " + QuoteForShell(arg);
  if (!stdin_file.empty()) command += " <" + QuoteForShell(stdin_file);
  Captured c = Capture(command);
  return {c.status, std::move(c.out), std::move(c.err)};
}

int RunProgram(const std::string& command, std::string* out) {
  Captured c = Capture(command);
  EXPECT_EQ(c.status, 0) << command << "\n" << c.err;
  *out = std::move(c.out);
  return c.status;
}

int RunPython(const std::string& script, const std::vector<std::string>& args, std::string* out) {
  ScratchDir dir;
  WriteFileBytes(dir / "script.py", script);
  std::string command = "/usr/bin/python3 " + QuoteForShell((dir / "script.py").string());
  for (const auto& arg : args) command += " " + QuoteForShell(arg);
  return RunProgram(command, out);
}

std::string ReadFileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes) {
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string PatternBytes(size_t count, unsigned seed) {
  std::string bytes(count, '\0');
  unsigned state = seed * 2654435761u + 1;
  for (size_t i = 0; i < count; ++i) {
    state = state * 1103515245u + 12345u;
    bytes[i] = static_cast<char>(i % 7 == 0 ? 0x00 : i % 7 == 1 ? 0xFF : (state >> 16) & 0xFF);
  }
  return bytes;
}

ToolRun ToolTest::Ok(const std::vector<std::string>& args, const std::string& stdin_file) {
  ToolRun run = RunTool(args, stdin_file);
  std::string line;
  for (const auto& arg : args) line += " " + arg;
  EXPECT_EQ(run.status, 0) << "quillbox" << line << "\n" << run.err;
  EXPECT_EQ(run.err, "") << "quillbox" << line;
  return run;
}

ToolRun ToolTest::Fails(const std::vector<std::string>& args) {
  ToolRun run = RunTool(args);
  std::string line;
  for (const auto& arg : args) line += " " + arg;
  EXPECT_EQ(run.status, 1) << "quillbox" << line << "\n" << run.out;
  EXPECT_EQ(run.err.rfind("quillbox: ", 0), 0u) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  return run;
}

std::string ToolTest::NewDocument(const std::string& name) {
  const std::string file = Path(name);
  Ok({"new", file});
  return file;
}

nlohmann::json ToolTest::Tree(const std::string& file) {
  const ToolRun run = Ok({"tree", "--json", file});
  return nlohmann::json::parse(run.out, nullptr, false);
}

const nlohmann::json* ToolTest::Find(const nlohmann::json& tree, const std::string& path) {
  const nlohmann::json* at = &tree;
  size_t start = 0;
  while (start < path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    const std::string name = path.substr(start, end - start);
    const nlohmann::json* next = nullptr;
    if (at->contains("children")) {
      for (const auto& child : (*at)["children"]) {
        if (child["name"] == name) next = &child;
      }
    }
    if (!next) return nullptr;
    at = next;
    start = end + 1;
  }
  return at;
}

}  // namespace quillbox::testing
