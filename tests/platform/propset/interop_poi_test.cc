// Interoperability with Apache POI HPSF, both ways: a small Java program
// (compiled here, at test time) writes a Word-like compound file with the
// summary, document summary and user-defined sets in code page 1252 and we
// read every value; we write such a file and the program prints what it
// reads. Skips only where javac or poi.jar is absent.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "interop_values.h"
#include "propset_test_util.h"
#include "support/run_shell.h"
#include "support/test_support.h"

namespace quillbox::testing {
namespace {

constexpr const char* kPoiClassPath =
    "/usr/share/java/poi.jar:/usr/share/java/commons-collections4.jar:/usr/share/java/commons-math3.jar:"
    "/usr/share/java/commons-codec.jar";

// The values both sides write and expect (1252 holds every character).
const std::u16string kTitle = u"Quarterly caf\u00e9 report \u20ac";
const std::u16string kSubject = u"Stra\u00dfenbau";
const std::u16string kAuthor = u"Zo\u00eb M\u00fcller";
const std::u16string kKeywords = u"alpha, beta, \u00e6\u00f8\u00e5";
const std::u16string kComments = u"Line one; line two";
const std::u16string kApplication = u"Interop writer";
const std::u16string kCompany = u"Example Corp \u00c4G";
const std::u16string kCategory = u"Reports";
const std::u16string kClient = u"Fran\u00e7ois Dupr\u00e9";
constexpr long long kCreated = 1614834367;  // 2021-03-04T05:06:07Z
constexpr long long kSaved = 1614920767;
constexpr long long kDue = 1617512767;
constexpr LONG kPages = -42;

// The program: "write FILE" makes the file with POI; "read FILE" prints
// every value POI reads from FILE, one "key=kind:value" line each, non-ASCII
// characters as \uXXXX.
constexpr const char* kJavaSource = R"JAVA(
import java.io.*;
import java.util.*;
import java.util.Date;
import org.apache.poi.hpsf.*;
import org.apache.poi.poifs.filesystem.*;

public class HpsfInterop {
    static String esc(String s) {
        StringBuilder b = new StringBuilder();
        for (char c : s.toCharArray()) {
            if (c >= 0x20 && c < 0x7F) b.append(c); else b.append(String.format("\\u%04x", (int) c));
        }
        return b.toString();
    }
    static String canon(Object v) {
        if (v == null) return "null:";
        if (v instanceof Date) return "date:" + Math.floorDiv(((Date) v).getTime(), 1000L);
        if (v instanceof Boolean) return "bool:" + v;
        if (v instanceof Integer) return "i4:" + v;
        if (v instanceof String) return "text:" + esc((String) v);
        return v.getClass().getSimpleName() + ":" + v;
    }
    static void write(String path) throws Exception {
        try (POIFSFileSystem fs = new POIFSFileSystem()) {
            fs.createDocument(new ByteArrayInputStream(new byte[4096]), "WordDocument");
            SummaryInformation si = PropertySetFactory.newSummaryInformation();
            si.getFirstSection().setCodepage(1252);
            si.setTitle("Quarterly caf\u00e9 report \u20ac");
            si.setSubject("Stra\u00dfenbau");
            si.setAuthor("Zo\u00eb M\u00fcller");
            si.setKeywords("alpha, beta, \u00e6\u00f8\u00e5");
            si.setComments("Line one; line two");
            si.setCreateDateTime(new Date(1614834367000L));
            si.setLastSaveDateTime(new Date(1614920767000L));
            si.setApplicationName("Interop writer");
            si.write(fs.getRoot(), SummaryInformation.DEFAULT_STREAM_NAME);
            DocumentSummaryInformation dsi = PropertySetFactory.newDocumentSummaryInformation();
            dsi.getFirstSection().setCodepage(1252);
            dsi.setCompany("Example Corp \u00c4G");
            dsi.setCategory("Reports");
            CustomProperties cp = new CustomProperties();
            cp.setCodepage(1252);
            cp.put("Client", "Fran\u00e7ois Dupr\u00e9");
            cp.put("Pages", Integer.valueOf(-42));
            cp.put("Due", new Date(1617512767000L));
            cp.put("Approved", Boolean.TRUE);
            cp.put("Rejected", Boolean.FALSE);
            dsi.setCustomProperties(cp);
            dsi.write(fs.getRoot(), DocumentSummaryInformation.DEFAULT_STREAM_NAME);
            try (OutputStream out = new FileOutputStream(path)) { fs.writeFilesystem(out); }
        }
    }
    static void read(String path) throws Exception {
        try (POIFSFileSystem fs = new POIFSFileSystem(new File(path), true)) {
            DirectoryNode root = fs.getRoot();
            SummaryInformation si = (SummaryInformation) PropertySetFactory.create(root, SummaryInformation.DEFAULT_STREAM_NAME);
            DocumentSummaryInformation dsi = (DocumentSummaryInformation) PropertySetFactory.create(root, DocumentSummaryInformation.DEFAULT_STREAM_NAME);
            StringBuilder b = new StringBuilder();
            b.append("Title=").append(canon(si.getTitle())).append('\n');
            b.append("Subject=").append(canon(si.getSubject())).append('\n');
            b.append("Author=").append(canon(si.getAuthor())).append('\n');
            b.append("Keywords=").append(canon(si.getKeywords())).append('\n');
            b.append("Comments=").append(canon(si.getComments())).append('\n');
            b.append("CreateDateTime=").append(canon(si.getCreateDateTime())).append('\n');
            b.append("LastSaveDateTime=").append(canon(si.getLastSaveDateTime())).append('\n');
            b.append("ApplicationName=").append(canon(si.getApplicationName())).append('\n');
            b.append("Company=").append(canon(dsi.getCompany())).append('\n');
            b.append("Category=").append(canon(dsi.getCategory())).append('\n');
            CustomProperties cps = dsi.getCustomProperties();
            if (cps != null) {
                TreeMap<String, String> m = new TreeMap<>();
                for (CustomProperty p : cps.properties()) m.put(p.getName(), canon(p.getValue()));
                for (Map.Entry<String, String> e : m.entrySet()) b.append("user.").append(esc(e.getKey())).append('=').append(e.getValue()).append('\n');
            }
            System.out.print(b);
        }
    }
    public static void main(String[] a) throws Exception {
        if (a[0].equals("write")) write(a[1]); else read(a[1]);
    }
}
)JAVA";

class PoiInterop : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string javac = FindExecutable({"/usr/bin/javac", "/usr/local/bin/javac"});
    if (javac.empty()) GTEST_SKIP() << "javac is not installed (a JDK: default-jdk-headless); these tests run where it is";
    if (!std::filesystem::exists("/usr/share/java/poi.jar")) {
      GTEST_SKIP() << "/usr/share/java/poi.jar is absent (libapache-poi-java); these tests run where it is";
    }
    std::ofstream(scratch_.path() / "HpsfInterop.java") << kJavaSource;
    std::string out;
    ASSERT_EQ(RunShell(javac + " -nowarn -encoding UTF-8 -d " + QuoteForShell(scratch_.path().string()) + " -cp " +
                           kPoiClassPath + " " + QuoteForShell((scratch_.path() / "HpsfInterop.java").string()),
                       &out, 300),
              0)
        << out;
  }

  // Runs the program; gives what it printed.
  std::string Java(const std::string& verb, const std::filesystem::path& file) {
    std::string out;
    EXPECT_EQ(RunShell("java -cp " + QuoteForShell(scratch_.path().string()) + ":" + kPoiClassPath +
                           " HpsfInterop " + verb + " " + QuoteForShell(file.string()),
                       &out, 300),
              0)
        << out;
    return out;
  }

  ScratchDir scratch_;
};

void ExpectText(const PlainValue& value, const std::u16string& expected, const char* what) {
  EXPECT_EQ(value.vt, VT_LPSTR) << what;
  EXPECT_EQ(Escaped(value.text), Escaped(expected)) << what;
}

void ExpectTime(const PlainValue& value, long long expected, const char* what) {
  EXPECT_EQ(value.vt, VT_FILETIME) << what;
  EXPECT_EQ(value.number, expected) << what;
}

TEST_F(PoiInterop, WeReadEveryValueOfTheSetsPoiWrites) {
  const auto doc = scratch_.path() / "poi.doc";
  Java("write", doc);
  PlainSet summary, document, user;
  ASSERT_EQ(ReadPlainSet(doc, FMTID_SummaryInformation, &summary), S_OK);
  ASSERT_EQ(ReadPlainSet(doc, FMTID_DocSummaryInformation, &document), S_OK);
  ASSERT_EQ(ReadPlainSet(doc, FMTID_UserDefinedProperties, &user), S_OK);
  EXPECT_EQ(summary.code_page, 1252u);
  ExpectText(summary.Id(PIDSI_TITLE), kTitle, "title");
  ExpectText(summary.Id(PIDSI_SUBJECT), kSubject, "subject");
  ExpectText(summary.Id(PIDSI_AUTHOR), kAuthor, "author");
  ExpectText(summary.Id(PIDSI_KEYWORDS), kKeywords, "keywords");
  ExpectText(summary.Id(PIDSI_COMMENTS), kComments, "comments");
  ExpectText(summary.Id(PIDSI_APPNAME), kApplication, "application");
  ExpectTime(summary.Id(PIDSI_CREATE_DTM), kCreated, "created");
  ExpectTime(summary.Id(PIDSI_LASTSAVE_DTM), kSaved, "saved");
  EXPECT_EQ(document.code_page, 1252u);
  ExpectText(document.Id(PIDDSI_COMPANY), kCompany, "company");
  ExpectText(document.Id(PIDDSI_CATEGORY), kCategory, "category");
  EXPECT_EQ(user.names.size(), 5u);
  ExpectText(user.Named(u"Client"), kClient, "Client");
  EXPECT_EQ(user.Named(u"Pages").vt, VT_I4);
  EXPECT_EQ(user.Named(u"Pages").number, kPages);
  ExpectTime(user.Named(u"Due"), kDue, "Due");
  EXPECT_EQ(user.Named(u"Approved").vt, VT_BOOL);
  EXPECT_EQ(user.Named(u"Approved").number, 1);
  EXPECT_EQ(user.Named(u"Rejected").vt, VT_BOOL);
  EXPECT_EQ(user.Named(u"Rejected").number, 0);
}

// Writes texts (VT_LPSTR in the ANSI code page), times and other values.
void Write(IPropertyStorage* set, const PROPSPEC& spec, PROPVARIANT* value) {
  EXPECT_EQ(set->WriteMultiple(1, &spec, value, PID_FIRST_USABLE), S_OK);
  PropVariantClear(value);
}

void WriteText(IPropertyStorage* set, const PROPSPEC& spec, const std::u16string& text) {
  PROPVARIANT value{};
  value.vt = VT_LPSTR;
  value.pszVal = AnsiCopy(text);
  Write(set, spec, &value);
}

void WriteTime(IPropertyStorage* set, const PROPSPEC& spec, long long unix_seconds) {
  PROPVARIANT value{};
  value.vt = VT_FILETIME;
  value.filetime = FileTimeOfUnix(unix_seconds);
  Write(set, spec, &value);
}

TEST_F(PoiInterop, PoiReadsEveryValueOfTheSetsWeWrite) {
  ASSERT_EQ(GetACP(), 1252u) << "the sets are written in the ANSI code page, which this test expects to be 1252";
  const auto doc = scratch_.path() / "ours.doc";
  {
    const std::string narrow = doc.string();
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateDocfile(std::u16string(narrow.begin(), narrow.end()).c_str(),
                               STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, root.put()),
              S_OK);
    ComPtr<IStream> body;
    ASSERT_EQ(root->CreateStream(u"WordDocument", STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, body.put()),
              S_OK);
    auto sets = SetsOf(root.get());
    constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
    ComPtr<IPropertyStorage> summary, document, user;
    ASSERT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, PROPSETFLAG_ANSI, kCreate, summary.put()), S_OK);
    WriteText(summary.get(), Id(PIDSI_TITLE), kTitle);
    WriteText(summary.get(), Id(PIDSI_SUBJECT), kSubject);
    WriteText(summary.get(), Id(PIDSI_AUTHOR), kAuthor);
    WriteText(summary.get(), Id(PIDSI_KEYWORDS), kKeywords);
    WriteText(summary.get(), Id(PIDSI_COMMENTS), kComments);
    WriteTime(summary.get(), Id(PIDSI_CREATE_DTM), kCreated);
    WriteTime(summary.get(), Id(PIDSI_LASTSAVE_DTM), kSaved);
    WriteText(summary.get(), Id(PIDSI_APPNAME), kApplication);
    ASSERT_EQ(sets->Create(FMTID_DocSummaryInformation, nullptr, PROPSETFLAG_ANSI, kCreate, document.put()), S_OK);
    WriteText(document.get(), Id(PIDDSI_COMPANY), kCompany);
    WriteText(document.get(), Id(PIDDSI_CATEGORY), kCategory);
    document = nullptr;
    ASSERT_EQ(sets->Create(FMTID_UserDefinedProperties, nullptr, PROPSETFLAG_ANSI, kCreate, user.put()), S_OK);
    WriteText(user.get(), Name(u"Client"), kClient);
    PROPVARIANT pages{};
    pages.vt = VT_I4;
    pages.lVal = kPages;
    Write(user.get(), Name(u"Pages"), &pages);
    WriteTime(user.get(), Name(u"Due"), kDue);
    PROPVARIANT yes{};
    yes.vt = VT_BOOL;
    yes.boolVal = VARIANT_TRUE;
    Write(user.get(), Name(u"Approved"), &yes);
    PROPVARIANT no{};
    no.vt = VT_BOOL;
    no.boolVal = VARIANT_FALSE;
    Write(user.get(), Name(u"Rejected"), &no);
  }
  std::ostringstream expected;
  expected << "Title=text:" << Escaped(kTitle) << "\nSubject=text:" << Escaped(kSubject)
           << "\nAuthor=text:" << Escaped(kAuthor) << "\nKeywords=text:" << Escaped(kKeywords)
           << "\nComments=text:" << Escaped(kComments) << "\nCreateDateTime=date:" << kCreated
           << "\nLastSaveDateTime=date:" << kSaved << "\nApplicationName=text:" << Escaped(kApplication)
           << "\nCompany=text:" << Escaped(kCompany) << "\nCategory=text:" << Escaped(kCategory)
           << "\nuser.Approved=bool:true\nuser.Client=text:" << Escaped(kClient) << "\nuser.Due=date:" << kDue
           << "\nuser.Pages=i4:" << kPages << "\nuser.Rejected=bool:false\n";
  EXPECT_EQ(Java("read", doc), expected.str());
}

}  // namespace
}  // namespace quillbox::testing
