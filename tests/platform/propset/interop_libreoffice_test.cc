// Interoperability with LibreOffice: a flat ODF text file carrying document
// properties (title, subject, initial creator, keywords, description,
// creation date, user-defined text, number, date and yes/no values) is
// converted to a Word file by soffice, and we read the summary, document
// summary and user-defined sets it wrote. Skips where soffice is absent.
#include <gtest/gtest.h>

#include <fstream>

#include "interop_values.h"
#include "support/run_shell.h"
#include "support/test_support.h"

namespace quillbox::testing {
namespace {

constexpr const char* kFlatOdt = R"XML(<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
    xmlns:meta="urn:oasis:names:tc:opendocument:xmlns:meta:1.0" xmlns:dc="http://purl.org/dc/elements/1.1/"
    xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2"
    office:mimetype="application/vnd.oasis.opendocument.text">
 <office:meta>
  <dc:title>Quarterly café report</dc:title>
  <dc:subject>Straßenbau</dc:subject>
  <meta:initial-creator>Zoë Müller</meta:initial-creator>
  <meta:keyword>alpha</meta:keyword>
  <meta:keyword>beta</meta:keyword>
  <dc:description>Line one; line two</dc:description>
  <meta:creation-date>2021-03-04T05:06:07</meta:creation-date>
  <meta:user-defined meta:name="Client">François Dupré</meta:user-defined>
  <meta:user-defined meta:name="Pages" meta:value-type="float">42</meta:user-defined>
  <meta:user-defined meta:name="Due" meta:value-type="date">2021-04-04T05:06:07</meta:user-defined>
  <meta:user-defined meta:name="Approved" meta:value-type="boolean">true</meta:user-defined>
  <meta:user-defined meta:name="Rejected" meta:value-type="boolean">false</meta:user-defined>
 </office:meta>
 <office:body><office:text><text:p>Property interop check</text:p></office:text></office:body>
</office:document>
)XML";

constexpr long long kCreated = 1614834367;  // 2021-03-04T05:06:07Z (soffice runs with TZ=UTC)
constexpr long long kDue = 1617512767;      // 2021-04-04T05:06:07Z

class LibreOfficeSets : public ::testing::Test {
 protected:
  void SetUp() override {
    soffice_ = FindExecutable({"/usr/bin/soffice", "/usr/local/bin/soffice", "/opt/libreoffice/program/soffice"});
    if (soffice_.empty()) GTEST_SKIP() << "LibreOffice (soffice) is not installed; these tests run where it is";
  }

  // The .doc soffice makes of the flat ODF text.
  std::filesystem::path ConvertedDoc() {
    const auto input = scratch_.path() / "props.fodt";
    std::ofstream(input) << kFlatOdt;
    const auto out_dir = scratch_.path() / "out";
    // A private profile: parallel runs of soffice must not share one.
    const std::string profile = "file://" + (scratch_.path() / "profile").string();
    std::string out;
    EXPECT_EQ(RunShell("TZ=UTC HOME=" + QuoteForShell(scratch_.path().string()) + " " + soffice_ +
                           " -env:UserInstallation=" + QuoteForShell(profile) + " --headless --convert-to doc --outdir " +
                           QuoteForShell(out_dir.string()) + " " + QuoteForShell(input.string()),
                       &out, 240),
              0)
        << out;
    return out_dir / "props.doc";
  }

  std::string soffice_;
  ScratchDir scratch_;
};

void ExpectText(const PlainValue& value, const std::u16string& expected, const char* what) {
  EXPECT_TRUE(value.vt == VT_LPSTR || value.vt == VT_LPWSTR) << what << ": type " << value.vt;
  EXPECT_EQ(Escaped(value.text), Escaped(expected)) << what;
}

TEST_F(LibreOfficeSets, WeReadTheSummaryItWritesToAWordFile) {
  const auto doc = ConvertedDoc();
  ASSERT_TRUE(std::filesystem::exists(doc));
  PlainSet summary;
  ASSERT_EQ(ReadPlainSet(doc, FMTID_SummaryInformation, &summary), S_OK);
  ExpectText(summary.Id(PIDSI_TITLE), u"Quarterly caf\u00e9 report", "title");
  ExpectText(summary.Id(PIDSI_SUBJECT), u"Stra\u00dfenbau", "subject");
  ExpectText(summary.Id(PIDSI_AUTHOR), u"Zo\u00eb M\u00fcller", "author");
  ExpectText(summary.Id(PIDSI_KEYWORDS), u"alpha, beta", "keywords");
  ExpectText(summary.Id(PIDSI_COMMENTS), u"Line one; line two", "comments");
  EXPECT_EQ(summary.Id(PIDSI_CREATE_DTM).vt, VT_FILETIME);
  EXPECT_EQ(summary.Id(PIDSI_CREATE_DTM).number, kCreated);
}

TEST_F(LibreOfficeSets, WeReadTheUserDefinedValuesItWritesToAWordFile) {
  const auto doc = ConvertedDoc();
  ASSERT_TRUE(std::filesystem::exists(doc));
  PlainSet document, user;
  ASSERT_EQ(ReadPlainSet(doc, FMTID_DocSummaryInformation, &document), S_OK);
  ASSERT_EQ(ReadPlainSet(doc, FMTID_UserDefinedProperties, &user), S_OK);
  EXPECT_EQ(user.names.size(), 5u);
  ExpectText(user.Named(u"Client"), u"Fran\u00e7ois Dupr\u00e9", "Client");
  // A number of the document is a double in ODF; it may arrive as VT_R8 or
  // as an integer type.
  const PlainValue pages = user.Named(u"Pages");
  if (pages.vt == VT_R8 || pages.vt == VT_R4) {
    EXPECT_EQ(pages.real, 42.0);
  } else {
    EXPECT_TRUE(pages.vt == VT_I4 || pages.vt == VT_I2 || pages.vt == VT_I8) << "type " << pages.vt;
    EXPECT_EQ(pages.number, 42);
  }
  EXPECT_EQ(user.Named(u"Due").vt, VT_FILETIME);
  EXPECT_EQ(user.Named(u"Due").number, kDue);
  EXPECT_EQ(user.Named(u"Approved").vt, VT_BOOL);
  EXPECT_EQ(user.Named(u"Approved").number, 1);
  EXPECT_EQ(user.Named(u"Rejected").vt, VT_BOOL);
  EXPECT_EQ(user.Named(u"Rejected").number, 0);
}

}  // namespace
}  // namespace quillbox::testing
