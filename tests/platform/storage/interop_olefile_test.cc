// Interoperability with olefile (Python): files we write are listed and
// read back byte-exact by it, and streams it changes in place read back
// with ours.
#include <gtest/gtest.h>

#include <sstream>

#include "interop_support.h"
#include "support/test_support.h"

namespace qt = quillbox::testing;

namespace {

constexpr const char* kPython = "/usr/bin/python3";

// Lists every element as "<hex path>\t<S|D>\t<hex data>", paths joined by '/'.
constexpr const char* kListScript = R"PY(
import sys, olefile
ole = olefile.OleFileIO(sys.argv[1])
for entry in ole.listdir(streams=True, storages=True):
    path = "/".join(entry)
    kind = ole.get_type(entry)
    if kind == olefile.STGTY_STORAGE:
        print(path.encode("utf-8").hex() + "\tD\t")
    else:
        print(path.encode("utf-8").hex() + "\tS\t" + ole.openstream(entry).read().hex())
)PY";

// Overwrites streams in place: arguments are pairs of name and hex bytes.
constexpr const char* kWriteScript = R"PY(
import sys, olefile
ole = olefile.OleFileIO(sys.argv[1], write_mode=True)
args = sys.argv[2:]
for i in range(0, len(args), 2):
    ole.write_stream(bytes.fromhex(args[i]).decode("utf-8"), bytes.fromhex(args[i + 1]))
ole.close()
)PY";

class OlefileInterop : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string out;
    if (!qt::HaveProgram(kPython) || qt::RunCommand(std::string(kPython) + " -c 'import olefile'", &out) != 0) {
      GTEST_SKIP() << "olefile is not installed (Debian package python3-olefile; make test installs it)";
    }
  }

  qt::Tree ListWithOlefile(const std::filesystem::path& file) {
    std::string out;
    EXPECT_EQ(qt::RunCommand(std::string(kPython) + " -c " + qt::ShellQuote(kListScript) + " " +
                                 qt::ShellQuote(file.string()),
                             &out),
              0)
        << out;
    qt::Tree tree;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line)) {
      const size_t tab1 = line.find('\t'), tab2 = line.find('\t', tab1 + 1);
      if (tab1 == std::string::npos || tab2 == std::string::npos) continue;
      const std::string path = qt::Unhex(line.substr(0, tab1));
      if (line[tab1 + 1] == 'D') {
        tree[path] = std::nullopt;
      } else {
        tree[path] = qt::Unhex(line.substr(tab2 + 1));
      }
    }
    return tree;
  }

  qt::ScratchDir scratch_;
};

TEST_F(OlefileInterop, OlefileReadsOurVersion3FileByteExact) {
  const auto file = scratch_ / "ours-v3.cfb";
  const qt::Tree written = qt::WriteSample(file, 512);
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(qt::Differences(written, ListWithOlefile(file)), "");
}

TEST_F(OlefileInterop, OlefileReadsOurVersion4FileByteExact) {
  const auto file = scratch_ / "ours-v4.cfb";
  const qt::Tree written = qt::WriteSample(file, 4096);
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(qt::Differences(written, ListWithOlefile(file)), "");
}

TEST_F(OlefileInterop, StreamsOlefileOverwroteInPlaceReadBackWithOurs) {
  const auto file = scratch_ / "changed.cfb";
  qt::Tree expected = qt::WriteSample(file, 512);
  ASSERT_FALSE(expected.empty());
  // One mini stream and one regular stream, same sizes (olefile cannot resize).
  std::string mini(300, '\0'), regular(5000, '\0');
  for (size_t i = 0; i < mini.size(); ++i) mini[i] = static_cast<char>(255 - i % 256);
  for (size_t i = 0; i < regular.size(); ++i) regular[i] = static_cast<char>((i * 7) % 251);
  std::string out;
  ASSERT_EQ(qt::RunCommand(std::string(kPython) + " -c " + qt::ShellQuote(kWriteScript) + " " +
                               qt::ShellQuote(file.string()) + " " + qt::Hex("Mini") + " " + qt::Hex(mini) + " " +
                               qt::Hex("Regular") + " " + qt::Hex(regular),
                           &out),
            0)
      << out;
  expected["Mini"] = mini;
  expected["Regular"] = regular;
  qt::Tree read;
  ASSERT_EQ(qt::ReadTree(file, &read), S_OK);
  EXPECT_EQ(qt::Differences(expected, read), "");
}

TEST_F(OlefileInterop, OurReadOfAnOlefileChangedV4FileIsByteExact) {
  const auto file = scratch_ / "changed-v4.cfb";
  qt::Tree expected = qt::WriteSample(file, 4096);
  ASSERT_FALSE(expected.empty());
  std::string leaf(40, 'L');
  std::string out;
  ASSERT_EQ(qt::RunCommand(std::string(kPython) + " -c " + qt::ShellQuote(kWriteScript) + " " +
                               qt::ShellQuote(file.string()) + " " + qt::Hex("Storage A/Nested/Leaf") + " " +
                               qt::Hex(leaf),
                           &out),
            0)
      << out;
  expected["Storage A/Nested/Leaf"] = leaf;
  qt::Tree read;
  ASSERT_EQ(qt::ReadTree(file, &read), S_OK);
  EXPECT_EQ(qt::Differences(expected, read), "");
}

}  // namespace
