// Interoperability with libgsf's gsf tool: it lists and reads back byte-exact
// the files we write, and we read the files it writes (made at test time with
// gsf createole from a folder tree).
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "interop_support.h"
#include "support/test_support.h"

namespace qt = quillbox::testing;

namespace {

constexpr const char* kGsf = "/usr/bin/gsf";

class GsfInterop : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!qt::HaveProgram(kGsf)) {
      GTEST_SKIP() << "gsf is not installed (Debian package libgsf-bin; make test installs it)";
    }
  }

  // gsf list, then gsf cat for every stream.
  qt::Tree ReadWithGsf(const std::filesystem::path& file) {
    std::string out;
    EXPECT_EQ(qt::RunCommand(std::string(kGsf) + " list " + qt::ShellQuote(file.string()), &out), 0) << out;
    // "d   <size> <name>" or "f  <date> <time>   <size> <name>"
    static const std::regex kLine(R"(^([df])\s+(?:\S+ \S+\s+)?(\d+) (.*)$)");
    qt::Tree tree;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line)) {
      std::smatch m;
      if (!std::regex_match(line, m, kLine)) continue;
      const std::string name = m[3];
      if (name == "*root*") continue;
      if (m[1] == "d") {
        tree[name] = std::nullopt;
        continue;
      }
      std::string data;
      EXPECT_EQ(qt::RunCommand(std::string(kGsf) + " cat " + qt::ShellQuote(file.string()) + " " +
                                   qt::ShellQuote(name) + " 2>/dev/null",
                               &data),
                0);
      EXPECT_EQ(data.size(), std::stoull(m[2])) << name;
      tree[name] = data;
    }
    return tree;
  }

  // gsf's listing cannot tell an empty storage from an empty stream (it
  // prints both as a file of 0 bytes, its own files included), so that is
  // what we expect of it for our empty storages.
  static qt::Tree AsGsfListsIt(qt::Tree tree) {
    for (auto& [path, element] : tree) {
      if (element) continue;
      const std::string below = path + "/";
      auto next = tree.upper_bound(path);
      if (next == tree.end() || next->first.compare(0, below.size(), below) != 0) element = std::string();
    }
    return tree;
  }

  static void WriteFile(const std::filesystem::path& path, const std::string& data) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(data.data(), static_cast<std::streamsize>(data.size()));
  }

  qt::ScratchDir scratch_;
};

TEST_F(GsfInterop, GsfReadsOurVersion3FileByteExact) {
  const auto file = scratch_ / "ours-v3.cfb";
  const qt::Tree written = qt::WriteSample(file, 512);
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(qt::Differences(AsGsfListsIt(written), ReadWithGsf(file)), "");
}

TEST_F(GsfInterop, GsfReadsOurVersion4FileByteExact) {
  const auto file = scratch_ / "ours-v4.cfb";
  const qt::Tree written = qt::WriteSample(file, 4096);
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(qt::Differences(AsGsfListsIt(written), ReadWithGsf(file)), "");
}

TEST_F(GsfInterop, WeReadWhatGsfCreateoleWrites) {
  // A folder tree becomes storages and streams: empty, mini, regular, nested.
  const auto tree_dir = scratch_ / "tree";
  qt::Tree expected;
  auto add = [&](const std::string& rel, size_t size, int seed) {
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i) data[i] = static_cast<char>((i * 13 + seed) & 0xFF);
    WriteFile(tree_dir / rel, data);
    expected["tree/" + rel] = data;
  };
  add("empty", 0, 1);
  add("mini", 700, 2);
  add("regular", 70000, 3);
  add("sub/deep/leaf", 4096, 4);
  add("sub/other", 4095, 5);
  expected["tree"] = std::nullopt;
  expected["tree/sub"] = std::nullopt;
  expected["tree/sub/deep"] = std::nullopt;
  std::string out;
  ASSERT_EQ(qt::RunCommand("cd " + qt::ShellQuote(scratch_.path().string()) + " && " + kGsf +
                               " createole gsf.ole tree",
                           &out),
            0)
      << out;
  qt::Tree read;
  ASSERT_EQ(qt::ReadTree(scratch_ / "gsf.ole", &read), S_OK);
  EXPECT_EQ(qt::Differences(expected, read), "");
}

TEST_F(GsfInterop, WeReadAGsfFileOfManyStreams) {
  const auto tree_dir = scratch_ / "many";
  qt::Tree expected;
  expected["many"] = std::nullopt;
  for (int i = 0; i < 300; ++i) {
    const std::string name = "s" + std::to_string(i);
    const std::string data(static_cast<size_t>(i * 37 % 6000), static_cast<char>('a' + i % 26));
    WriteFile(tree_dir / name, data);
    expected["many/" + name] = data;
  }
  std::string out;
  ASSERT_EQ(qt::RunCommand("cd " + qt::ShellQuote(scratch_.path().string()) + " && " + kGsf +
                               " createole many.ole many",
                           &out),
            0)
      << out;
  qt::Tree read;
  ASSERT_EQ(qt::ReadTree(scratch_ / "many.ole", &read), S_OK);
  EXPECT_EQ(qt::Differences(expected, read), "");
}

}  // namespace
