// The tool on files other programs wrote (libgsf's gsf createole, a Word
// file from LibreOffice), and those programs on files the tool wrote. The
// programs come with make test's dependencies (scripts/install-deps.sh), so
// a missing one fails these tests rather than skipping them.
#include <gtest/gtest.h>

#include <map>

#include "support/run_shell.h"
#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

constexpr const char* kGsf = "/usr/bin/gsf";
constexpr const char* kSoffice = "/usr/bin/soffice";

// Every stream of a document: path -> bytes, read by olefile.
constexpr const char* kOlefileStreams =
    "import sys, json, olefile\n"
    "ole = olefile.OleFileIO(sys.argv[1])\n"
    "out = {}\n"
    "for path in ole.listdir(streams=True, storages=True):\n"
    "    name = '/'.join(path)\n"
    "    out[name] = ole.openstream(path).read().hex() if ole.get_type(path) == olefile.STGTY_STREAM else None\n"
    "print(json.dumps(out))\n";

// path -> bytes of each stream, nullopt for a storage.
using Elements = std::map<std::string, std::optional<std::string>>;

class ToolInterop : public qt::ToolTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(qt::FindExecutable({kGsf}), kGsf) << "gsf is missing: scripts/install-deps.sh installs libgsf-bin";
  }

  // Every element below the root as the tool's tree and cat see it.
  Elements ReadWithTool(const std::string& file) {
    Elements elements;
    std::vector<std::pair<std::string, nlohmann::json>> pending = {{"", Tree(file)}};
    while (!pending.empty()) {
      auto [prefix, storage] = pending.back();
      pending.pop_back();
      for (const auto& child : storage["children"]) {
        const std::string path = prefix + child["name"].get<std::string>();
        if (child["type"] == "storage") {
          elements[path] = std::nullopt;
          pending.push_back({path + "/", child});
        } else {
          elements[path] = Ok({"cat", file, Escaped(path)}).out;
          EXPECT_EQ(elements[path]->size(), child["size"].get<size_t>()) << path;
        }
      }
    }
    return elements;
  }

  Elements ReadWithOlefile(const std::string& file) {
    std::string out;
    qt::RunPython(kOlefileStreams, {file}, &out);
    Elements elements;
    const nlohmann::json listing = nlohmann::json::parse(out);
    for (const auto& [path, hex] : listing.items()) {
      if (hex.is_null()) {
        elements[path] = std::nullopt;
        continue;
      }
      std::string bytes;
      const std::string text = hex.get<std::string>();
      for (size_t i = 0; i + 1 < text.size(); i += 2) bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
      elements[path] = bytes;
    }
    return elements;
  }

  std::string GsfCat(const std::string& file, const std::string& path) {
    std::string out;
    qt::RunProgram(std::string(kGsf) + " cat " + qt::QuoteForShell(file) + " " + qt::QuoteForShell(path), &out);
    return out;
  }

  // A path as typed on the tool's command line: control characters escaped.
  static std::string Escaped(const std::string& path) {
    std::string out;
    for (unsigned char c : path) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", c);
      out += c < 0x20 ? std::string(escape) : std::string(1, static_cast<char>(c));
    }
    return out;
  }
};

TEST_F(ToolInterop, TreeAndCatReadWhatGsfCreateoleWrote) {
  Elements expected = {{"tree", std::nullopt}, {"tree/sub", std::nullopt}, {"tree/sub/deep", std::nullopt}};
  const std::map<std::string, size_t> files = {
      {"empty", 0}, {"mini", 700}, {"regular", 70000}, {"sub/deep/leaf", 4096}, {"sub/other", 4095}};
  unsigned seed = 0;
  for (const auto& [rel, size] : files) {
    const std::string bytes = qt::PatternBytes(size, ++seed);
    qt::WriteFileBytes(scratch_ / "tree" / rel, bytes);
    expected["tree/" + rel] = bytes;
  }
  std::string out;
  ASSERT_EQ(qt::RunProgram("cd " + qt::QuoteForShell(scratch_.path().string()) + " && " + kGsf +
                               " createole gsf.ole tree",
                           &out),
            0);
  EXPECT_TRUE(ReadWithTool(Path("gsf.ole")) == expected);
}

TEST_F(ToolInterop, GsfReadsWhatPutWrote) {
  const std::string file = NewDocument("ours.qbx");
  const std::map<std::string, std::string> streams = {{"small", qt::PatternBytes(100, 1)},
                                                      {"A/big", qt::PatternBytes(300 * 1024, 2)},
                                                      {"A/B/edge", qt::PatternBytes(4096, 3)}};
  for (const auto& [path, bytes] : streams) {
    qt::WriteFileBytes(Path("src.bin"), bytes);
    Ok({"put", file, path, Path("src.bin")});
  }
  for (const auto& [path, bytes] : streams) EXPECT_TRUE(GsfCat(file, path) == bytes) << path;
}

TEST_F(ToolInterop, OlefileSeesTheSampleAsTreeAndCatShowIt) {
  const std::string file = Path("sample.qbx");
  Ok({"sample", file});
  const Elements ours = ReadWithTool(file);
  EXPECT_GE(ours.size(), 17u);
  EXPECT_TRUE(ReadWithOlefile(file) == ours);
}

// A Word 97 file made once for the suite by LibreOffice, headless.
class ToolLibreOfficeInterop : public ToolInterop {
 protected:
  static void SetUpTestSuite() {
    if (qt::FindExecutable({kSoffice}).empty()) return;
    dir_ = new qt::ScratchDir;
    qt::WriteFileBytes(*dir_ / "note.txt", "Quillbox tool check 4711\n");
    const std::string profile = "file://" + (*dir_ / "profile").string();
    convert_status_ = qt::RunShell("cd " + qt::QuoteForShell(dir_->path().string()) + " && HOME=" +
                                       qt::QuoteForShell(dir_->path().string()) + " " + kSoffice +
                                       " -env:UserInstallation=" + qt::QuoteForShell(profile) +
                                       " --headless --convert-to doc --outdir out note.txt",
                                   &convert_output_);
  }
  static void TearDownTestSuite() {
    delete dir_;
    dir_ = nullptr;
  }

  void SetUp() override {
    ToolInterop::SetUp();
    ASSERT_TRUE(dir_) << "soffice is missing: scripts/install-deps.sh installs libreoffice-writer-nogui";
    ASSERT_EQ(convert_status_, 0) << convert_output_;
    doc_ = (*dir_ / "out" / "note.doc").string();
    ASSERT_TRUE(std::filesystem::exists(doc_)) << convert_output_;
  }

  static qt::ScratchDir* dir_;
  static int convert_status_;
  static std::string convert_output_;
  std::string doc_;
};

qt::ScratchDir* ToolLibreOfficeInterop::dir_ = nullptr;
int ToolLibreOfficeInterop::convert_status_ = -1;
std::string ToolLibreOfficeInterop::convert_output_;

TEST_F(ToolLibreOfficeInterop, TreeListsTheWordStreams) {
  const nlohmann::json tree = Tree(doc_);
  for (const char* stream : {"WordDocument", "\x01" "CompObj"}) {
    ASSERT_NE(Find(tree, stream), nullptr) << stream;
    EXPECT_EQ(At(tree, stream)["type"], "stream");
  }
  EXPECT_TRUE(Find(tree, "1Table") || Find(tree, "0Table"));
  EXPECT_NE(Ok({"tree", doc_}).out.find("\\x01CompObj"), std::string::npos);
}

TEST_F(ToolLibreOfficeInterop, RootClassIdIsTheOneOlefileReads) {
  std::string out;
  qt::RunPython("import sys, olefile\nprint(olefile.OleFileIO(sys.argv[1]).root.clsid)\n", {doc_}, &out);
  ASSERT_EQ(out.size(), 37u) << out;
  EXPECT_EQ(Tree(doc_)["clsid"], "{" + out.substr(0, 36) + "}");
}

TEST_F(ToolLibreOfficeInterop, CatGivesTheBytesGsfAndOlefileRead) {
  const Elements ours = ReadWithTool(doc_);
  ASSERT_TRUE(ours.count("WordDocument"));
  EXPECT_TRUE(ReadWithOlefile(doc_) == ours);
  for (const auto& [path, bytes] : ours) {
    if (bytes) {
      EXPECT_TRUE(GsfCat(doc_, path) == *bytes) << path;
    }
  }
  const std::string& body = *ours.at("WordDocument");
  std::string wide;
  for (char c : std::string("Quillbox tool check 4711")) wide += std::string{c, '\0'};
  EXPECT_TRUE(body.find("Quillbox tool check 4711") != std::string::npos || body.find(wide) != std::string::npos);
}

TEST_F(ToolLibreOfficeInterop, HexdumpOfTheCompObjStreamMatchesItsBytes) {
  const std::string bytes = Ok({"cat", doc_, "\\x01CompObj"}).out;
  ASSERT_GE(bytes.size(), 16u);
  const std::string dump = Ok({"hexdump", doc_, "\\x01CompObj", "--length", "16"}).out;
  char first[64];
  std::snprintf(first, sizeof first, "00000000  %02x %02x %02x %02x", static_cast<unsigned char>(bytes[0]),
                static_cast<unsigned char>(bytes[1]), static_cast<unsigned char>(bytes[2]),
                static_cast<unsigned char>(bytes[3]));
  EXPECT_EQ(dump.rfind(first, 0), 0u) << dump;
  EXPECT_NE(dump.find("\n00000010\n"), std::string::npos) << dump;
}

}  // namespace
