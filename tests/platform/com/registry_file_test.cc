// The registry file: the .reg text we write, hand-written files we read
// (line ends, escapes, encodings), and a file we cannot parse, which is
// refused and never touched.
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "platform/com/registry/registry.h"
#include "registry_fixture.h"

namespace quillbox::registry_test {
namespace {

using RegistryFile = RegistryTest;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

bool HasLine(const std::string& text, const std::string& line) {
  for (const auto& l : Lines(text)) {
    if (l == line) return true;
  }
  return false;
}

// UTF-16LE with BOM, as the registry editor saves.
std::string Utf16LeWithBom(std::u16string_view text) {
  std::string bytes = "\xFF\xFE";
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

constexpr char kCorrupt[] =
    "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Fine]\n\"V\"=dword:zz\n";

TEST_F(RegistryFile, StartsWithEditorHeaderAndBlankLine) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Any"));
  const auto lines = Lines(ReadRegistryPath());
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[0], "Windows Registry Editor Version 5.00");
  EXPECT_EQ(lines[1], "");
}

TEST_F(RegistryFile, SectionHoldsDefaultNamedAndDwordValues) {
  HKEY key = CreateKey(HKEY_CLASSES_ROOT, u"Quillbox.Stream.1");
  ASSERT_EQ(SetString(key, nullptr, u"Stream Class"), ERROR_SUCCESS);
  ASSERT_EQ(SetString(key, u"Name", u"text"), ERROR_SUCCESS);
  ASSERT_EQ(SetDword(key, u"Count", 42), ERROR_SUCCESS);
  RegCloseKey(key);
  const auto lines = Lines(ReadRegistryPath());
  const std::vector<std::string> expected = {"Windows Registry Editor Version 5.00",
                                             "",
                                             "[HKEY_CLASSES_ROOT\\Quillbox.Stream.1]",
                                             "@=\"Stream Class\"",
                                             "\"Name\"=\"text\"",
                                             "\"Count\"=dword:0000002a",
                                             ""};
  EXPECT_EQ(lines, expected);
}

TEST_F(RegistryFile, KeyWithoutValuesKeepsItsSection) {
  RegCloseKey(CreateKey(HKEY_LOCAL_MACHINE, u"Empty\\Inner"));
  const std::string text = ReadRegistryPath();
  EXPECT_TRUE(HasLine(text, "[HKEY_LOCAL_MACHINE\\Empty]"));
  EXPECT_TRUE(HasLine(text, "[HKEY_LOCAL_MACHINE\\Empty\\Inner]"));
}

TEST_F(RegistryFile, BackslashAndQuoteAreEscaped) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Esc");
  ASSERT_EQ(SetString(key, u"Say \"hi\"", u"C:\\dir \"q\""), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_TRUE(HasLine(ReadRegistryPath(), R"("Say \"hi\""="C:\\dir \"q\"")"));
}

TEST_F(RegistryFile, OtherTypesAreWrittenAsHex) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Hex");
  const BYTE blob[] = {0xDE, 0xAD, 0x01};
  const ULONGLONG big = 0x0102030405060708ull;
  const char16_t list[] = u"a\0b\0";
  ASSERT_EQ(RegSetValueExW(key, u"Blob", 0, REG_BINARY, blob, 3), ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(key, u"Big", 0, REG_QWORD, reinterpret_cast<const BYTE*>(&big), 8),
            ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(key, u"List", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(list),
                           sizeof list),
            ERROR_SUCCESS);
  RegCloseKey(key);
  const std::string text = ReadRegistryPath();
  EXPECT_TRUE(HasLine(text, "\"Blob\"=hex:de,ad,01"));
  EXPECT_TRUE(HasLine(text, "\"Big\"=hex(b):08,07,06,05,04,03,02,01"));
  EXPECT_TRUE(HasLine(text, "\"List\"=hex(7):61,00,00,00,62,00,00,00,00,00"));
}

TEST_F(RegistryFile, TextIsUtf8WithoutBom) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Größe");
  ASSERT_EQ(SetString(key, nullptr, u"ü"), ERROR_SUCCESS);
  RegCloseKey(key);
  const std::string text = ReadRegistryPath();
  EXPECT_EQ(text.rfind("Windows", 0), 0u);
  EXPECT_TRUE(HasLine(text,
                      "[HKEY_CURRENT_USER\\Gr\xC3\xB6\xC3\x9F"
                      "e]"));
  EXPECT_TRUE(HasLine(text, "@=\"\xC3\xBC\""));
}

TEST_F(RegistryFile, LongHexIsWrappedAndReadBack) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Long");
  std::vector<BYTE> blob(100);
  for (std::size_t i = 0; i < blob.size(); ++i) blob[i] = static_cast<BYTE>(i * 7);
  ASSERT_EQ(RegSetValueExW(key, u"Blob", 0, REG_BINARY, blob.data(), 100), ERROR_SUCCESS);
  RegCloseKey(key);
  const std::string text = ReadRegistryPath();
  for (const auto& line : Lines(text)) EXPECT_LE(line.size(), 80u);
  // A fresh copy of the file makes the store read it again.
  WriteRegistryFile(text);
  HKEY again = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Long", 0, KEY_READ, &again), ERROR_SUCCESS);
  std::vector<BYTE> back(100);
  DWORD size = 100;
  ASSERT_EQ(RegQueryValueExW(again, u"Blob", nullptr, nullptr, back.data(), &size), ERROR_SUCCESS);
  EXPECT_EQ(back, blob);
  RegCloseKey(again);
}

TEST_F(RegistryFile, StringWithLineBreakIsWrittenAsHexAndReadBack) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Lines");
  ASSERT_EQ(SetString(key, u"Two", u"a\nb"), ERROR_SUCCESS);
  RegCloseKey(key);
  const std::string text = ReadRegistryPath();
  EXPECT_TRUE(HasLine(text, "\"Two\"=hex(1):61,00,0a,00,62,00,00,00"));
  WriteRegistryFile(text);
  key = CreateKey(HKEY_CURRENT_USER, u"Lines");
  EXPECT_EQ(QueryString(key, u"Two"), u"a\nb");
  RegCloseKey(key);
}

TEST_F(RegistryFile, HandWrittenFileWithCrlfAndEscapesIsRead) {
  WriteRegistryFile(
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "; a comment\r\n"
      "[HKEY_CLASSES_ROOT\\Quillbox.Stream.1]\r\n"
      "@=\"Stream Class\"\r\n"
      "\"Path\"=\"C:\\\\dir \\\"q\\\"\"\r\n"
      "\"Count\"=dword:0000002a\r\n\r\n");
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"Quillbox.Stream.1", 0, KEY_READ, &key),
            ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, nullptr), u"Stream Class");
  EXPECT_EQ(QueryString(key, u"Path"), u"C:\\dir \"q\"");
  DWORD count = 0;
  DWORD size = 4;
  ASSERT_EQ(
      RegQueryValueExW(key, u"Count", nullptr, nullptr, reinterpret_cast<BYTE*>(&count), &size),
      ERROR_SUCCESS);
  EXPECT_EQ(count, 42u);
  RegCloseKey(key);
}

TEST_F(RegistryFile, HandWrittenUtf16LeFileIsRead) {
  WriteRegistryFile(
      Utf16LeWithBom(u"Windows Registry Editor Version 5.00\r\n\r\n"
                     u"[HKEY_CURRENT_USER\\Wide\\Größe]\r\n"
                     u"@=\"Ünïcode\"\r\n\r\n"));
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"wide\\GRÖßE", 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, nullptr), u"Ünïcode");
  RegCloseKey(key);
}

TEST_F(RegistryFile, HandWrittenUtf8FileWithBomIsRead) {
  WriteRegistryFile(
      "\xEF\xBB\xBFWindows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Bom]\n"
      "\"V\"=\"yes\"\n");
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"Bom", 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, u"V"), u"yes");
  RegCloseKey(key);
}

TEST_F(RegistryFile, ContinuedHexLinesAreJoined) {
  WriteRegistryFile(
      "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Cont]\n"
      "\"Blob\"=hex:01,02,\\\n  03,04,\\\r\n  05\n"
      "\"List\"=hex(7):61,00,00,00,00,00\n");
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Cont", 0, KEY_READ, &key), ERROR_SUCCESS);
  BYTE blob[8];
  DWORD size = sizeof blob;
  DWORD type = 0;
  ASSERT_EQ(RegQueryValueExW(key, u"Blob", nullptr, &type, blob, &size), ERROR_SUCCESS);
  EXPECT_EQ(std::vector<BYTE>(blob, blob + size), (std::vector<BYTE>{1, 2, 3, 4, 5}));
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  ASSERT_EQ(RegQueryValueExW(key, u"List", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  EXPECT_EQ(size, 6u);
  RegCloseKey(key);
}

TEST_F(RegistryFile, DeletionSectionRemovesKey) {
  WriteRegistryFile(
      "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Gone\\Child]\n\n"
      "[HKEY_CURRENT_USER\\Stays]\n\n[-HKEY_CURRENT_USER\\Gone]\n");
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Gone"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"Stays"));
}

TEST_F(RegistryFile, MissingFileIsAnEmptyRegistry) {
  EXPECT_EQ(SubkeyNames(HKEY_CURRENT_USER), std::vector<std::u16string>{});
  EXPECT_FALSE(std::filesystem::exists(RegistryPath()));
}

TEST_F(RegistryFile, FirstWriteCreatesMissingFolders) {
  const std::string nested = (scratch_ / "a" / "b" / "registry.reg").string();
  setenv("QUILLBOX_REGISTRY", nested.c_str(), 1);
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Any"));
  EXPECT_TRUE(std::filesystem::exists(nested));
}

TEST_F(RegistryFile, ChangedEnvironmentSelectsAnotherFile) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"InFirst"));
  const std::string second = (scratch_ / "second.reg").string();
  setenv("QUILLBOX_REGISTRY", second.c_str(), 1);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"InFirst"));
  setenv("QUILLBOX_REGISTRY", RegistryPath().c_str(), 1);
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"InFirst"));
}

TEST_F(RegistryFile, ReplacedFileIsReadAgain) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Before"));
  WriteRegistryFile("Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\After]\n");
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Before"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"After"));
}

TEST_F(RegistryFile, CorruptFileIsRefusedWithBadDb) {
  WriteRegistryFile(kCorrupt);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Fine", 0, KEY_READ, &key), ERROR_BADDB);
  char16_t name[8];
  DWORD count = 8;
  EXPECT_EQ(RegEnumKeyExW(HKEY_CURRENT_USER, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_BADDB);
}

TEST_F(RegistryFile, CorruptFileIsLeftUntouchedByWrites) {
  WriteRegistryFile(kCorrupt);
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                            nullptr),
            ERROR_BADDB);
  EXPECT_EQ(SetString(HKEY_CURRENT_USER, u"V", u"x"), ERROR_BADDB);
  EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, nullptr), ERROR_BADDB);
  EXPECT_EQ(ReadRegistryPath(), kCorrupt);
}

TEST_F(RegistryFile, HandleOpenedBeforeCorruptionIsRefusedAndFileUntouched) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Fine");
  WriteRegistryFile(kCorrupt);
  EXPECT_EQ(SetString(key, u"V", u"x"), ERROR_BADDB);
  EXPECT_EQ(RegQueryValueExW(key, u"V", nullptr, nullptr, nullptr, nullptr), ERROR_BADDB);
  EXPECT_EQ(ReadRegistryPath(), kCorrupt);
  RegCloseKey(key);
}

TEST_F(RegistryFile, CorruptFileDiagnosticNamesFileAndLine) {
  WriteRegistryFile(kCorrupt);
  const std::string message = com::registry::RegistryDiagnostic();
  EXPECT_NE(message.find(RegistryPath() + ": line 4: "), std::string::npos) << message;
  EXPECT_NE(message.find("dword"), std::string::npos) << message;
}

TEST_F(RegistryFile, DiagnosticIsEmptyForReadableFile) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Fine"));
  EXPECT_EQ(com::registry::RegistryDiagnostic(), "");
}

TEST_F(RegistryFile, RepairedFileIsReadAgain) {
  WriteRegistryFile(kCorrupt);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Fine"));
  WriteRegistryFile("Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Fine]\n");
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"Fine"));
}

TEST_F(RegistryFile, UnknownRootIsRefused) {
  WriteRegistryFile("Windows Registry Editor Version 5.00\n\n[HKEY_USERS\\S-1-5-18]\n");
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"", 0, KEY_READ, &key), ERROR_BADDB);
  EXPECT_NE(com::registry::RegistryDiagnostic().find("HKEY_USERS"), std::string::npos);
}

TEST_F(RegistryFile, MissingHeaderIsRefused) {
  WriteRegistryFile("[HKEY_CURRENT_USER\\NoHeader]\n");
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"NoHeader", 0, KEY_READ, &key), ERROR_BADDB);
}

// A folder in place of the lock file makes the registry readable only, even
// for a test run as root.
TEST_F(RegistryFile, UnwritableRegistryRefusesNewKeysWithCantWrite) {
  WriteRegistryFile("Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Exists]\n");
  std::filesystem::create_directory(RegistryPath() + ".lock");
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &key, nullptr),
            ERROR_CANTWRITE);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"New"));
}

TEST_F(RegistryFile, UnwritableRegistryStillOpensExistingKeysWithCreate) {
  WriteRegistryFile("Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Exists]\n");
  std::filesystem::create_directory(RegistryPath() + ".lock");
  HKEY key = nullptr;
  DWORD disposition = 0;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"Exists", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &key, &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
  RegCloseKey(key);
}

TEST_F(RegistryFile, RewriteKeepsFilePermissions) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"First"));
  ASSERT_EQ(chmod(RegistryPath().c_str(), 0640), 0);
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Second"));
  struct stat st;
  ASSERT_EQ(stat(RegistryPath().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0640u);
}

}  // namespace
}  // namespace quillbox::registry_test
