// Failures of the reading commands: the library's message and code on
// stderr, exit status 1, and the file left as it was.
#include <gtest/gtest.h>

#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

class ReadFailures : public qt::ToolTest {
 protected:
  static std::vector<std::vector<std::string>> ReadCommands(const std::string& file) {
    return {{"tree", file}, {"tree", "--json", file}, {"ls", file}, {"cat", file, "s"}, {"hexdump", file, "s"}};
  }
};

TEST_F(ReadFailures, MissingFileGivesFileNotFound) {
  for (const auto& args : ReadCommands(Path("missing.qbx"))) {
    const qt::ToolRun run = Fails(args);
    EXPECT_EQ(run.err, "quillbox: File not found. (0x80030002)\n") << args[0];
    EXPECT_EQ(run.out, "") << args[0];
  }
}

TEST_F(ReadFailures, FileThatIsNotACompoundDocumentIsRefused) {
  const std::string file = Path("text.txt");
  qt::WriteFileBytes(file, std::string(2048, 'x'));
  for (const auto& args : ReadCommands(file)) {
    const qt::ToolRun run = Fails(args);
    EXPECT_EQ(run.err,
              "quillbox: The file is not a storage object or is in an old and unsupported format. (0x80030050)\n")
        << args[0];
  }
  EXPECT_EQ(qt::ReadFileBytes(file), std::string(2048, 'x'));
}

TEST_F(ReadFailures, MissingStorageOnThePathGivesStorageNotFound) {
  const std::string file = NewDocument("doc.qbx");
  EXPECT_EQ(Fails({"tree", file, "A"}).err, "quillbox: Storage not found (0x80030002)\n");
  EXPECT_EQ(Fails({"ls", file, "A/B"}).err, "quillbox: Storage not found (0x80030002)\n");
  EXPECT_EQ(Fails({"hexdump", file, "A/s"}).err, "quillbox: Storage not found (0x80030002)\n");
}

TEST_F(ReadFailures, ReadingCommandsLeaveTheFileUnchanged) {
  const std::string file = NewDocument("doc.qbx");
  const std::string source = Path("s.bin");
  qt::WriteFileBytes(source, qt::PatternBytes(3000, 5));
  Ok({"put", file, "A/s", source});
  const std::string before = qt::ReadFileBytes(file);
  const auto time_before = std::filesystem::last_write_time(file);
  Ok({"tree", file});
  Ok({"tree", "--json", file});
  Ok({"ls", file, "A"});
  Ok({"cat", file, "A/s"});
  Ok({"hexdump", file, "A/s"});
  EXPECT_TRUE(qt::ReadFileBytes(file) == before);
  EXPECT_EQ(std::filesystem::last_write_time(file), time_before);
}

TEST_F(ReadFailures, TruncatedDocumentFailsWithoutCrashing) {
  const std::string file = NewDocument("doc.qbx");
  const std::string source = Path("s.bin");
  qt::WriteFileBytes(source, qt::PatternBytes(10000, 6));
  Ok({"put", file, "A/s", source});
  const std::string bytes = qt::ReadFileBytes(file);
  const std::string cut = Path("cut.qbx");
  qt::WriteFileBytes(cut, bytes.substr(0, 700));
  for (const auto& args : ReadCommands(cut)) {
    const qt::ToolRun run = qt::RunTool(args);
    EXPECT_NE(run.status, 0) << args[0];
    EXPECT_EQ(run.err.rfind("quillbox: ", 0), 0u) << args[0] << ": " << run.err;
  }
}

}  // namespace
