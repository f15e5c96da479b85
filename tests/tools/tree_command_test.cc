// tree and ls: every element listed, as text and as JSON.
#include <gtest/gtest.h>

#include <sstream>

#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

class TreeCommand : public qt::ToolTest {
 protected:
  // A/ (times set), A/B/, A/B/deep (3 bytes), A/s (5000 bytes), top (0 bytes).
  std::string Build() {
    const std::string file = NewDocument("tree.qbx");
    const std::string three = Path("three.bin");
    const std::string big = Path("big.bin");
    const std::string empty = Path("empty.bin");
    qt::WriteFileBytes(three, "abc");
    qt::WriteFileBytes(big, qt::PatternBytes(5000, 9));
    qt::WriteFileBytes(empty, "");
    Ok({"put", file, "A/B/deep", three});
    Ok({"put", file, "A/s", big});
    Ok({"put", file, "top", empty});
    Ok({"touch", file, "A", "--created", "2023-02-03T04:05:06", "--modified", "2024-05-06T07:08:09"});
    return file;
  }

  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
};

TEST_F(TreeCommand, JsonHasOneNestedObjectPerElement) {
  const nlohmann::json tree = Tree(Build());
  EXPECT_EQ(tree["type"], "storage");
  EXPECT_EQ(tree["children"].size(), 2u);
  nlohmann::json a = At(tree, "A");
  EXPECT_EQ(a["type"], "storage");
  EXPECT_EQ(a["created"], "2023-02-03T04:05:06");
  EXPECT_EQ(a["modified"], "2024-05-06T07:08:09");
  EXPECT_TRUE(a["size"].is_null());
  EXPECT_TRUE(a["clsid"].is_null());
  EXPECT_EQ(a["children"].size(), 2u);
  nlohmann::json deep = At(tree, "A/B/deep");
  EXPECT_EQ(deep["type"], "stream");
  EXPECT_EQ(deep["size"], 3);
  EXPECT_TRUE(deep["created"].is_null());
  EXPECT_TRUE(deep["modified"].is_null());
  EXPECT_TRUE(deep["clsid"].is_null());
  EXPECT_FALSE(deep.contains("children"));
  EXPECT_EQ(At(tree, "A/s")["size"], 5000);
  EXPECT_EQ(At(tree, "top")["size"], 0);
}

TEST_F(TreeCommand, JsonElementsHaveEveryField) {
  const nlohmann::json tree = Tree(Build());
  std::vector<const nlohmann::json*> pending = {&tree};
  size_t seen = 0;
  while (!pending.empty()) {
    const nlohmann::json* e = pending.back();
    pending.pop_back();
    ++seen;
    for (const char* key : {"name", "type", "size", "created", "modified", "clsid"}) {
      EXPECT_TRUE(e->contains(key)) << key << " in " << e->dump();
    }
    EXPECT_TRUE((*e)["name"].is_string());
    if ((*e)["type"] == "storage") {
      for (const auto& child : (*e)["children"]) pending.push_back(&child);
    }
  }
  EXPECT_EQ(seen, 6u);
}

TEST_F(TreeCommand, TimesNeverSetAreNull) {
  const nlohmann::json tree = Tree(NewDocument("empty.qbx"));
  EXPECT_TRUE(tree["created"].is_null());
  EXPECT_TRUE(tree["modified"].is_null());
}

TEST_F(TreeCommand, TextIndentsEachLevelAndShowsSizesAndTimes) {
  const std::vector<std::string> lines = Lines(Ok({"tree", Build()}).out);
  ASSERT_EQ(lines.size(), 6u);
  auto line_of = [&](const std::string& start) -> std::string {
    for (const auto& line : lines) {
      if (line.rfind(start + " ", 0) == 0) return line;
    }
    return "";
  };
  EXPECT_NE(line_of("  A").find("storage"), std::string::npos);
  EXPECT_NE(line_of("  A").find("created 2023-02-03T04:05:06"), std::string::npos) << line_of("  A");
  EXPECT_NE(line_of("  A").find("modified 2024-05-06T07:08:09"), std::string::npos);
  EXPECT_NE(line_of("    B").find("storage"), std::string::npos);
  const std::string deep = line_of("      deep");
  EXPECT_NE(deep.find("stream"), std::string::npos) << deep;
  EXPECT_EQ(deep.substr(deep.size() - 2), " 3");
  EXPECT_EQ(line_of("    s").substr(line_of("    s").size() - 5), " 5000");
  EXPECT_NE(line_of("  top").find("stream"), std::string::npos);
}

TEST_F(TreeCommand, StartsFromAStorageWhenGivenAPath) {
  const nlohmann::json sub = nlohmann::json::parse(Ok({"tree", "--json", Build(), "A/B"}).out);
  EXPECT_EQ(sub["name"], "B");
  ASSERT_EQ(sub["children"].size(), 1u);
  EXPECT_EQ(sub["children"][0]["name"], "deep");
}

TEST_F(TreeCommand, LsListsOneLevel) {
  const std::string file = Build();
  const nlohmann::json list = nlohmann::json::parse(Ok({"ls", "--json", file, "A"}).out);
  ASSERT_TRUE(list.is_array());
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["name"], "B");
  EXPECT_EQ(list[0]["type"], "storage");
  EXPECT_FALSE(list[0].contains("children"));
  EXPECT_EQ(list[1]["name"], "s");
  EXPECT_EQ(list[1]["size"], 5000);
  const std::vector<std::string> lines = Lines(Ok({"ls", file, "A"}).out);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].rfind("B ", 0), 0u);
  EXPECT_EQ(lines[1].rfind("s ", 0), 0u);
}

TEST_F(TreeCommand, LsOfTheRootByDefault) {
  const nlohmann::json list = nlohmann::json::parse(Ok({"ls", "--json", Build()}).out);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0]["name"], "A");
  EXPECT_EQ(list[1]["name"], "top");
}

TEST_F(TreeCommand, ControlCharactersInNamesAreEscapedAndTypedBack) {
  const std::string file = NewDocument("names.qbx");
  const std::string source = Path("s.bin");
  qt::WriteFileBytes(source, "props");
  Ok({"put", file, "\\x05Summary", source});
  const nlohmann::json tree = Tree(file);
  ASSERT_EQ(tree["children"].size(), 1u);
  EXPECT_EQ(tree["children"][0]["name"], "\x05Summary");
  EXPECT_NE(Ok({"tree", file}).out.find("\n  \\x05Summary "), std::string::npos);
  EXPECT_EQ(Ok({"cat", file, "\\x05Summary"}).out, "props");
  EXPECT_NE(Fails({"cat", file, "\\q"}).err.find("bad escape"), std::string::npos);
}

TEST_F(TreeCommand, NonAsciiNamesComeOutAsUtf8) {
  const std::string file = NewDocument("names.qbx");
  Ok({"mkdir", file, "Grüße"});
  EXPECT_EQ(Tree(file)["children"][0]["name"], "Grüße");
}

TEST_F(TreeCommand, NestingPastTheLimitIsRefusedNotFollowed) {
  const std::string file = NewDocument("deep.qbx");
  std::string path;
  for (int i = 0; i < 300; ++i) path += "d/";
  Ok({"mkdir", "-p", file, path});
  const qt::ToolRun run = Fails({"tree", file});
  EXPECT_EQ(run.err, "quillbox: storages are nested more than 256 levels deep\n");
  const nlohmann::json list = nlohmann::json::parse(Ok({"ls", "--json", file}).out);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0]["name"], "d");
}

}  // namespace
