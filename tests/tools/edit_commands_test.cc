// new, mkdir, rm, mv and touch: what they change in the document, and how
// they refuse.
#include <gtest/gtest.h>

#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

class EditCommands : public qt::ToolTest {
 protected:
  // The times olefile reads for a storage: "ctime mtime", UTC, ISO text.
  std::string OlefileTimes(const std::string& file, const std::string& path) {
    std::string out;
    qt::RunPython(
        "import sys, olefile\n"
        "ole = olefile.OleFileIO(sys.argv[1])\n"
        "path = sys.argv[2].split('/')\n"
        "print(ole.getctime(path).isoformat(), ole.getmtime(path).isoformat())\n",
        {file, path}, &out);
    return out;
  }
};

TEST_F(EditCommands, NewWritesACompoundFile) {
  const std::string file = NewDocument("new.qbx");
  const std::string bytes = qt::ReadFileBytes(file);
  ASSERT_GE(bytes.size(), 512u);
  EXPECT_EQ(bytes.substr(0, 8), std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8));
  const nlohmann::json tree = Tree(file);
  EXPECT_EQ(tree["type"], "storage");
  EXPECT_TRUE(tree["children"].empty());
}

TEST_F(EditCommands, NewNeverOverwritesAFile) {
  const std::string file = Path("taken.qbx");
  qt::WriteFileBytes(file, "keep me");
  const qt::ToolRun run = Fails({"new", file});
  EXPECT_EQ(run.err, "quillbox: File already exist. (0x80030050)\n");
  EXPECT_EQ(qt::ReadFileBytes(file), "keep me");
}

TEST_F(EditCommands, MkdirCreatesAStorage) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "Data"});
  const nlohmann::json tree = Tree(file);
  const nlohmann::json* data = Find(tree, "Data");
  ASSERT_NE(data, nullptr);
  EXPECT_EQ((*data)["type"], "storage");
}

TEST_F(EditCommands, MkdirNeedsTheParentWithoutParentsFlag) {
  const std::string file = NewDocument("d.qbx");
  const qt::ToolRun run = Fails({"mkdir", file, "A/B"});
  EXPECT_EQ(run.err, "quillbox: Storage not found (0x80030002)\n");
  EXPECT_EQ(Find(Tree(file), "A"), nullptr);
}

TEST_F(EditCommands, MkdirParentsCreatesTheWayAndAcceptsWhatExists) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", "-p", file, "A/B/C"});
  Ok({"mkdir", "-p", file, "/A/B/C/"});
  const nlohmann::json tree = Tree(file);
  ASSERT_NE(Find(tree, "A/B/C"), nullptr);
  EXPECT_EQ(At(tree, "A/B")["children"].size(), 1u);
}

TEST_F(EditCommands, MkdirOfATakenNameFails) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  const qt::ToolRun run = Fails({"mkdir", file, "A"});
  EXPECT_EQ(run.err, "quillbox: This name already exist. (0x80030050)\n");
}

TEST_F(EditCommands, RmRemovesAStream) {
  const std::string file = NewDocument("d.qbx");
  const std::string source = Path("src.bin");
  qt::WriteFileBytes(source, "abc");
  Ok({"put", file, "A/s", source});
  Ok({"rm", file, "A/s"});
  const nlohmann::json tree = Tree(file);
  ASSERT_NE(Find(tree, "A"), nullptr);
  EXPECT_EQ(Find(tree, "A/s"), nullptr);
}

TEST_F(EditCommands, RmRemovesAStorageWithEverythingInIt) {
  const std::string file = NewDocument("d.qbx");
  const std::string source = Path("src.bin");
  qt::WriteFileBytes(source, "abc");
  Ok({"put", file, "A/B/s", source});
  Ok({"rm", file, "A"});
  EXPECT_TRUE(Tree(file)["children"].empty());
}

TEST_F(EditCommands, RmOfAMissingElementFails) {
  const std::string file = NewDocument("d.qbx");
  const qt::ToolRun run = Fails({"rm", file, "nothing"});
  EXPECT_NE(run.err.find("not found (0x80030002)"), std::string::npos) << run.err;
}

TEST_F(EditCommands, RmOfTheRootIsRefused) {
  const std::string file = NewDocument("d.qbx");
  Fails({"rm", file, "/"});
}

TEST_F(EditCommands, MvRenamesAStreamAndKeepsItsBytes) {
  const std::string file = NewDocument("d.qbx");
  const std::string source = Path("src.bin");
  qt::WriteFileBytes(source, qt::PatternBytes(5000, 1));
  Ok({"put", file, "A/old", source});
  Ok({"mv", file, "A/old", "new"});
  const nlohmann::json tree = Tree(file);
  EXPECT_EQ(Find(tree, "A/old"), nullptr);
  ASSERT_NE(Find(tree, "A/new"), nullptr);
  EXPECT_EQ(Ok({"cat", file, "A/new"}).out, qt::PatternBytes(5000, 1));
}

TEST_F(EditCommands, MvRenamesAStorageWithItsContents) {
  const std::string file = NewDocument("d.qbx");
  const std::string source = Path("src.bin");
  qt::WriteFileBytes(source, "abc");
  Ok({"put", file, "A/B/s", source});
  Ok({"mv", file, "A/B", "C"});
  EXPECT_EQ(Ok({"cat", file, "A/C/s"}).out, "abc");
  EXPECT_EQ(Find(Tree(file), "A/B"), nullptr);
}

TEST_F(EditCommands, MvToATakenNameFails) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  Ok({"mkdir", file, "B"});
  const qt::ToolRun run = Fails({"mv", file, "A", "B"});
  EXPECT_NE(run.err.find("This name already exist."), std::string::npos) << run.err;
}

TEST_F(EditCommands, MvOfTheRootIsRefusedByTheLibrary) {
  const std::string file = NewDocument("d.qbx");
  const qt::ToolRun run = Fails({"mv", file, "/", "Other"});
  EXPECT_EQ(run.err, "quillbox: Impossible to rename this object by this way. (0x80030005)\n");
}

TEST_F(EditCommands, MvTakesANameNotAPath) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  Fails({"mv", file, "A", "B/C"});
  EXPECT_NE(Find(Tree(file), "A"), nullptr);
}

TEST_F(EditCommands, TouchSetsBothTimesOfAStorage) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  Ok({"touch", file, "A", "--created", "2024-05-01T12:30:00", "--modified", "2024-06-02"});
  const nlohmann::json tree = Tree(file);
  const nlohmann::json* a = Find(tree, "A");
  ASSERT_NE(a, nullptr);
  EXPECT_EQ((*a)["created"], "2024-05-01T12:30:00");
  EXPECT_EQ((*a)["modified"], "2024-06-02T00:00:00");
  EXPECT_EQ(OlefileTimes(file, "A"), "2024-05-01T12:30:00 2024-06-02T00:00:00\n");
}

TEST_F(EditCommands, TouchTakesLocalTimeAndStoresUtc) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  // Tokyo keeps UTC+9 all year.
  const qt::ToolRun run =
      qt::RunTool({"touch", file, "A", "--created", "2024-05-01T12:30:00"}, "", "TZ=Asia/Tokyo");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(OlefileTimes(file, "A").substr(0, 19), "2024-05-01T03:30:00");
  const qt::ToolRun tree = qt::RunTool({"tree", "--json", file}, "", "TZ=Asia/Tokyo");
  EXPECT_EQ(At(nlohmann::json::parse(tree.out), "A")["created"], "2024-05-01T12:30:00");
}

TEST_F(EditCommands, TouchWithZTakesUtc) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  const qt::ToolRun run =
      qt::RunTool({"touch", file, "A", "--created", "2024-05-01T12:30Z"}, "", "TZ=Asia/Tokyo");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(OlefileTimes(file, "A").substr(0, 19), "2024-05-01T12:30:00");
}

TEST_F(EditCommands, TouchWithoutDatesSetsTheModificationTimeToNow) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  Ok({"touch", file, "A", "--modified", "2001-01-01"});
  Ok({"touch", file, "A"});
  const std::string modified = At(Tree(file), "A")["modified"];
  EXPECT_GT(modified, std::string("2020"));
}

TEST_F(EditCommands, TouchOfAStreamSaysStreamsHaveNoTimes) {
  const std::string file = NewDocument("d.qbx");
  const std::string source = Path("src.bin");
  qt::WriteFileBytes(source, "abc");
  Ok({"put", file, "A/s", source});
  const qt::ToolRun run = Fails({"touch", file, "A/s", "--created", "2024-05-01"});
  EXPECT_EQ(run.err, "quillbox: /A/s is a stream: only storages have times\n");
}

TEST_F(EditCommands, TouchOfTheRootIsRefusedByTheLibrary) {
  const std::string file = NewDocument("d.qbx");
  const qt::ToolRun run = Fails({"touch", file, "/", "--created", "2024-05-01"});
  EXPECT_EQ(run.err, "quillbox: Impossible action in the root storage. (0x80030005)\n");
}

TEST_F(EditCommands, TouchRefusesDatesThatDoNotExist) {
  const std::string file = NewDocument("d.qbx");
  Ok({"mkdir", file, "A"});
  for (const char* date : {"2024-02-30", "2024-13-01", "2024-05-01T24:00", "1600-12-31", "May 1", "2024-05-01T12"}) {
    const qt::ToolRun run = Fails({"touch", file, "A", "--created", date});
    EXPECT_NE(run.err.find("invalid date"), std::string::npos) << date << ": " << run.err;
  }
}

TEST_F(EditCommands, ChangingCommandsOnAMissingFileGiveTheLibrarysMessage) {
  const std::string file = Path("missing.qbx");
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"mkdir", file, "A"}, {"rm", file, "A"}, {"mv", file, "A", "B"},
                                             {"touch", file, "A"}}) {
    const qt::ToolRun run = Fails(args);
    EXPECT_EQ(run.err, "quillbox: File not found. (0x80030002)\n") << args[0];
  }
  EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace
