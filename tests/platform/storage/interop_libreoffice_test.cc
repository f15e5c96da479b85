// Interoperability with LibreOffice, when it is installed (these tests skip
// otherwise; it is not part of make test's dependencies): we read the Word
// file it writes, and it reads that document again after we copied its
// tree into a compound file of our own.
#include <gtest/gtest.h>

#include <fstream>

#include "interop_support.h"
#include "support/test_support.h"

namespace qt = quillbox::testing;

namespace {

constexpr const char* kText = "Quillbox interop check 4711";

std::string FindSoffice() {
  for (const char* path : {"/usr/bin/soffice", "/usr/local/bin/soffice", "/opt/libreoffice/program/soffice"}) {
    if (qt::HaveProgram(path)) return path;
  }
  return "";
}

class LibreOfficeInterop : public ::testing::Test {
 protected:
  void SetUp() override {
    soffice_ = FindSoffice();
    if (soffice_.empty()) GTEST_SKIP() << "LibreOffice (soffice) is not installed; these tests run where it is";
  }

  // Converts input to the given format into scratch/out; gives the new file.
  std::filesystem::path Convert(const std::filesystem::path& input, const std::string& format) {
    const auto out_dir = scratch_ / "out";
    std::string out;
    const std::string profile = "file://" + (scratch_ / "profile").string();
    EXPECT_EQ(qt::RunCommand("HOME=" + qt::ShellQuote(scratch_.path().string()) + " " + soffice_ +
                                 " -env:UserInstallation=" + qt::ShellQuote(profile) +
                                 " --headless --convert-to " + format + " --outdir " +
                                 qt::ShellQuote(out_dir.string()) + " " + qt::ShellQuote(input.string()),
                             &out),
              0)
        << out;
    return out_dir / (input.stem().string() + "." + format);
  }

  std::filesystem::path MakeDoc() {
    const auto text = scratch_ / "note.txt";
    std::ofstream(text) << kText << "\n";
    return Convert(text, "doc");
  }

  std::string soffice_;
  qt::ScratchDir scratch_;
};

TEST_F(LibreOfficeInterop, WeReadTheWordFileItWrites) {
  const auto doc = MakeDoc();
  qt::Tree tree;
  ASSERT_EQ(qt::ReadTree(doc, &tree), S_OK);
  ASSERT_TRUE(tree.count("WordDocument") && tree["WordDocument"]);
  const std::string& body = *tree["WordDocument"];
  std::string wide;
  for (const char* p = kText; *p; ++p) wide += std::string{*p, '\0'};
  EXPECT_TRUE(body.find(kText) != std::string::npos || body.find(wide) != std::string::npos);
}

TEST_F(LibreOfficeInterop, ItReadsTheDocumentCopiedIntoOurFile) {
  const auto doc = MakeDoc();
  const auto copy = scratch_ / "copy.doc";
  {
    quillbox::ComPtr<IStorage> source, target;
    ASSERT_EQ(StgOpenStorage(qt::ToWide(doc.string()).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr,
                             0, source.put()),
              S_OK);
    ASSERT_EQ(StgCreateDocfile(qt::ToWide(copy.string()).c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                               0, target.put()),
              S_OK);
    ASSERT_EQ(source->CopyTo(0, nullptr, nullptr, target.get()), S_OK);
  }
  const auto text = Convert(copy, "txt");
  std::ifstream in(text);
  std::string line;
  std::getline(in, line);
  if (!line.empty() && line.front() == '\xEF') line.erase(0, 3);  // byte-order mark
  EXPECT_EQ(line, kText);
}

}  // namespace
