// python3-olefile reads what we write: get_metadata() for the summary and
// document summary sets, and its property parser for a set of many types.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "propset_test_util.h"
#include "support/test_support.h"

namespace quillbox::testing {
namespace {

constexpr char kPython[] = "/usr/bin/python3";
constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::string RunShell(const std::string& command, int* status) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return output;
  char buffer[4096];
  size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, got);
  *status = pclose(pipe);
  return output;
}

bool HaveOlefile() {
  int status = -1;
  RunShell(std::string(kPython) + " -c 'import olefile' 2>/dev/null", &status);
  return status == 0;
}

LPSTR Ansi(const char* text) {
  auto* out = static_cast<LPSTR>(CoTaskMemAlloc(std::strlen(text) + 1));
  std::memcpy(out, text, std::strlen(text) + 1);
  return out;
}

void WriteValue(IPropertyStorage* set, PROPID id, PROPVARIANT* value) {
  PROPSPEC spec = Id(id);
  ASSERT_EQ(set->WriteMultiple(1, &spec, value, PID_FIRST_USABLE), S_OK);
  PropVariantClear(value);
}

std::u16string Wide(const std::filesystem::path& path) {
  const std::string text = path.string();
  return std::u16string(text.begin(), text.end());
}

TEST(InteropOlefile, MetadataAgreesOnSummaryAndDocumentSummary) {
  ASSERT_TRUE(HaveOlefile()) << "python3-olefile is missing: run scripts/install-deps.sh";
  ScratchDir dir;
  const auto path = dir / "meta.doc";
  {
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateDocfile(Wide(path).c_str(), kCreate, 0, root.put()), S_OK);
    ComPtr<IPropertySetStorage> sets = SetsOf(root.get());
    ComPtr<IPropertyStorage> summary;
    ASSERT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, PROPSETFLAG_ANSI, kCreate, summary.put()), S_OK);
    PROPVARIANT v{};
    v.vt = VT_LPSTR; v.pszVal = Ansi("Quarterly Report"); WriteValue(summary.get(), PIDSI_TITLE, &v);
    v.vt = VT_LPSTR; v.pszVal = Ansi("J\xFCrgen Wei\xDF"); WriteValue(summary.get(), PIDSI_AUTHOR, &v);
    v.vt = VT_LPSTR; v.pszVal = Ansi("alpha, beta"); WriteValue(summary.get(), PIDSI_KEYWORDS, &v);
    v.vt = VT_I4; v.lVal = 12; WriteValue(summary.get(), PIDSI_PAGECOUNT, &v);
    v.vt = VT_FILETIME; v.filetime = {0x69050000, 0x01D5C036}; WriteValue(summary.get(), PIDSI_CREATE_DTM, &v);
    summary = nullptr;
    ComPtr<IPropertyStorage> docsum;
    ASSERT_EQ(sets->Create(FMTID_DocSummaryInformation, nullptr, PROPSETFLAG_ANSI, kCreate, docsum.put()), S_OK);
    v.vt = VT_LPSTR; v.pszVal = Ansi("Example Corp"); WriteValue(docsum.get(), PIDDSI_COMPANY, &v);
    v.vt = VT_BOOL; v.boolVal = VARIANT_FALSE; WriteValue(docsum.get(), PIDDSI_LINKSDIRTY, &v);
  }
  const std::string script =
      "import olefile,sys\n"
      "o=olefile.OleFileIO(sys.argv[1]); m=o.get_metadata()\n"
      "print(repr(m.title)); print(repr(m.author)); print(repr(m.keywords)); print(m.num_pages)\n"
      "print(m.create_time.isoformat()); print(repr(m.company)); print(m.codepage); print(m.links_dirty)\n";
  std::ofstream(dir / "meta_dump.py") << script;
  int status = -1;
  const std::string out = RunShell(std::string(kPython) + " " + (dir / "meta_dump.py").string() + " " + path.string(), &status);
  ASSERT_EQ(status, 0) << out;
  EXPECT_EQ(out,
            "b'Quarterly Report'\n"
            "b'J\\xfcrgen Wei\\xdf'\n"
            "b'alpha, beta'\n"
            "12\n"
            "2020-01-01T00:00:00\n"
            "b'Example Corp'\n"
            "1252\n"
            "False\n");
}

TEST(InteropOlefile, PropertyParserAgreesOnEveryTypeItKnows) {
  ASSERT_TRUE(HaveOlefile()) << "python3-olefile is missing: run scripts/install-deps.sh";
  ScratchDir dir;
  const auto path = dir / "types.bin";
  {
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateDocfile(Wide(path).c_str(), kCreate, 0, root.put()), S_OK);
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(SetsOf(root.get())->Create(kTestFmtid, nullptr, PROPSETFLAG_ANSI, kCreate, set.put()), S_OK);
    PROPVARIANT v{};
    v.vt = VT_I2; v.iVal = -2; WriteValue(set.get(), 2, &v);
    v.vt = VT_UI2; v.uiVal = 65000; WriteValue(set.get(), 3, &v);
    v.vt = VT_I4; v.lVal = -100000; WriteValue(set.get(), 4, &v);
    v.vt = VT_UI4; v.ulVal = 4000000000u; WriteValue(set.get(), 5, &v);
    v.vt = VT_BOOL; v.boolVal = VARIANT_TRUE; WriteValue(set.get(), 6, &v);
    v.vt = VT_LPSTR; v.pszVal = Ansi("caf\xE9"); WriteValue(set.get(), 7, &v);
    v.vt = VT_LPWSTR; v.pwszVal = static_cast<LPWSTR>(CoTaskMemAlloc(10));
    std::memcpy(v.pwszVal, u"\u4e2d\u6587!", 8); v.pwszVal[3] = 0; WriteValue(set.get(), 8, &v);
    v.vt = VT_BLOB; v.blob.cbSize = 3; v.blob.pBlobData = static_cast<BYTE*>(CoTaskMemAlloc(3));
    std::memcpy(v.blob.pBlobData, "\x01\x02\x03", 3); WriteValue(set.get(), 9, &v);
    v.vt = VT_UI1; v.bVal = 200; WriteValue(set.get(), 10, &v);
  }
  OLECHAR name[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, name);
  std::string stream;
  for (const char16_t* p = name; *p; ++p) stream += static_cast<char>(*p);
  const std::string script =
      "import olefile,sys\n"
      "o=olefile.OleFileIO(sys.argv[1]); p=o.getproperties(chr(5)+sys.argv[2], convert_time=True)\n"
      "for k in sorted(p): print(k, repr(p[k]))\n";
  std::ofstream(dir / "props_dump.py") << script;
  int status = -1;
  const std::string out =
      RunShell(std::string(kPython) + " " + (dir / "props_dump.py").string() + " " + path.string() + " " + stream.substr(1), &status);
  ASSERT_EQ(status, 0) << out;
  // olefile 0.46 reads VT_I4 as unsigned (the same 32 bits: 2^32 - 100000)
  // and keeps a VT_LPWSTR's terminator; it has no parser for VT_R8.
  EXPECT_EQ(out,
            "1 1252\n"
            "2 -2\n"
            "3 65000\n"
            "4 4294867296\n"
            "5 4000000000\n"
            "6 True\n"
            "7 b'caf\\xe9'\n"
            "8 '\u4e2d\u6587!\\x00'\n"
            "9 b'\\x01\\x02\\x03'\n"
            "10 200\n");
}

}  // namespace
}  // namespace quillbox::testing
