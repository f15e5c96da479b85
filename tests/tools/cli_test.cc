// The tool's command line: --version, --help of every command, usage errors.
#include <gtest/gtest.h>

#include <regex>

#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

using CommandLine = qt::ToolTest;

// The version the project declares in its top CMakeLists.txt.
std::string ProjectVersion() {
  const std::string text = qt::ReadFileBytes(std::string(QUILLBOX_SOURCE_DIR) + "/CMakeLists.txt");
  std::smatch m;
  return std::regex_search(text, m, std::regex(R"(project\(Quillbox VERSION (\d+\.\d+\.\d+))")) ? m[1].str() : "";
}

TEST_F(CommandLine, VersionFlagPrintsTheLibrarysVersion) {
  ASSERT_NE(ProjectVersion(), "");
  EXPECT_EQ(Ok({"--version"}).out, "quillbox " + ProjectVersion() + "\n");
}

TEST_F(CommandLine, VersionCommandAgreesWithTheFlag) {
  EXPECT_EQ(Ok({"version"}).out, Ok({"--version"}).out);
}

TEST_F(CommandLine, EveryCommandHasHelp) {
  for (const char* command :
       {"new", "tree", "ls", "cat", "hexdump", "values", "string", "put", "mkdir", "rm", "mv", "touch", "sample",
        "version"}) {
    const qt::ToolRun run = Ok({command, "--help"});
    EXPECT_NE(run.out.find("Usage:"), std::string::npos) << command << "\n" << run.out;
    EXPECT_NE(run.out.find(command), std::string::npos) << command;
  }
}

TEST_F(CommandLine, TopLevelHelpListsTheDocumentCommands) {
  const qt::ToolRun run = Ok({"--help"});
  for (const char* command :
       {"new", "tree", "ls", "cat", "hexdump", "values", "string", "put", "mkdir", "rm", "mv", "touch", "sample"}) {
    EXPECT_NE(run.out.find(std::string("\n  ") + command + " "), std::string::npos) << command << "\n" << run.out;
  }
}

TEST_F(CommandLine, MissingArgumentIsAUsageError) {
  const qt::ToolRun run = qt::RunTool({"cat", Path("x.qbx")});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.err.find("PATH"), std::string::npos) << run.err;
}

TEST_F(CommandLine, NegativeByteCountIsAUsageError) {
  const qt::ToolRun run = qt::RunTool({"cat", Path("x.qbx"), "s", "--offset", "-3"});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.status, 1);
  EXPECT_NE(run.err.find("--offset"), std::string::npos) << run.err;
}

TEST_F(CommandLine, UnknownCommandIsAUsageError) {
  const qt::ToolRun run = qt::RunTool({"frobnicate"});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.err, "");
}

}  // namespace
