// Registry values: each type set and queried, size queries, too-small
// buffers, default and named values, and the A functions' UTF-8 text.
#include <cstring>

#include "registry_fixture.h"

namespace quillbox::registry_test {
namespace {

class RegistryValues : public RegistryTest {
 protected:
  void SetUp() override {
    RegistryTest::SetUp();
    key_ = CreateKey(HKEY_CURRENT_USER, u"Values");
  }
  void TearDown() override {
    RegCloseKey(key_);
    RegistryTest::TearDown();
  }

  // The stored bytes and type of a value, read with the W function.
  std::vector<BYTE> Query(const char16_t* name, DWORD* type) {
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key_, name, nullptr, type, nullptr, &size), ERROR_SUCCESS);
    std::vector<BYTE> data(size);
    EXPECT_EQ(RegQueryValueExW(key_, name, nullptr, type, data.data(), &size), ERROR_SUCCESS);
    data.resize(size);
    return data;
  }

  HKEY key_ = nullptr;
};

TEST_F(RegistryValues, StringComesBackWithTerminatorAndItsSize) {
  ASSERT_EQ(SetString(key_, u"Name", u"text"), ERROR_SUCCESS);
  DWORD type = 0;
  EXPECT_EQ(Query(u"Name", &type), WideBytes(u"text"));
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
}

TEST_F(RegistryValues, StringWithoutTerminatorIsStoredWithOne) {
  const char16_t text[] = {u'a', u'b'};
  ASSERT_EQ(RegSetValueExW(key_, u"Bare", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), 4),
            ERROR_SUCCESS);
  DWORD type = 0;
  EXPECT_EQ(Query(u"Bare", &type), WideBytes(u"ab"));
}

TEST_F(RegistryValues, ExpandStringKeepsItsType) {
  const std::vector<BYTE> bytes = WideBytes(u"%HOME%\\x");
  ASSERT_EQ(RegSetValueExW(key_, u"Path", 0, REG_EXPAND_SZ, bytes.data(),
                           static_cast<DWORD>(bytes.size())),
            ERROR_SUCCESS);
  DWORD type = 0;
  EXPECT_EQ(Query(u"Path", &type), bytes);
  EXPECT_EQ(type, static_cast<DWORD>(REG_EXPAND_SZ));
}

TEST_F(RegistryValues, DwordRoundTrips) {
  ASSERT_EQ(SetDword(key_, u"Count", 42), ERROR_SUCCESS);
  DWORD type = 0;
  const std::vector<BYTE> data = Query(u"Count", &type);
  ASSERT_EQ(data.size(), 4u);
  DWORD value = 0;
  std::memcpy(&value, data.data(), 4);
  EXPECT_EQ(value, 42u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
}

TEST_F(RegistryValues, QwordRoundTrips) {
  const ULONGLONG value = 0x0123456789ABCDEFull;
  ASSERT_EQ(RegSetValueExW(key_, u"Big", 0, REG_QWORD, reinterpret_cast<const BYTE*>(&value), 8),
            ERROR_SUCCESS);
  DWORD type = 0;
  const std::vector<BYTE> data = Query(u"Big", &type);
  ASSERT_EQ(data.size(), 8u);
  ULONGLONG back = 0;
  std::memcpy(&back, data.data(), 8);
  EXPECT_EQ(back, value);
  EXPECT_EQ(type, static_cast<DWORD>(REG_QWORD));
}

TEST_F(RegistryValues, BinaryRoundTripsWithZeroBytes) {
  const std::vector<BYTE> bytes = {0x00, 0xFF, 0x10, 0x00, 0x7F};
  ASSERT_EQ(RegSetValueExW(key_, u"Blob", 0, REG_BINARY, bytes.data(), 5), ERROR_SUCCESS);
  DWORD type = 0;
  EXPECT_EQ(Query(u"Blob", &type), bytes);
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
}

TEST_F(RegistryValues, EmptyBinaryRoundTrips) {
  ASSERT_EQ(RegSetValueExW(key_, u"Empty", 0, REG_BINARY, nullptr, 0), ERROR_SUCCESS);
  DWORD type = 0;
  EXPECT_TRUE(Query(u"Empty", &type).empty());
}

TEST_F(RegistryValues, MultiStringRoundTrips) {
  const char16_t text[] = u"one\0two\0";  // and the literal's own terminator
  ASSERT_EQ(RegSetValueExW(key_, u"List", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(text),
                           sizeof text),
            ERROR_SUCCESS);
  DWORD type = 0;
  const std::vector<BYTE> data = Query(u"List", &type);
  EXPECT_EQ(data, std::vector<BYTE>(reinterpret_cast<const BYTE*>(text),
                                    reinterpret_cast<const BYTE*>(text) + sizeof text));
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
}

TEST_F(RegistryValues, QueryWithNullDataReportsSize) {
  ASSERT_EQ(SetString(key_, u"Name", u"12345"), ERROR_SUCCESS);
  DWORD size = 0;
  DWORD type = 0;
  EXPECT_EQ(RegQueryValueExW(key_, u"Name", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
}

TEST_F(RegistryValues, QueryWithSmallBufferReportsMoreDataAndSize) {
  ASSERT_EQ(SetString(key_, u"Name", u"12345"), ERROR_SUCCESS);
  BYTE buffer[4] = {};
  DWORD size = sizeof buffer;
  EXPECT_EQ(RegQueryValueExW(key_, u"Name", nullptr, nullptr, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 12u);
}

TEST_F(RegistryValues, QueryWithDataButNullSizeIsInvalidParameter) {
  ASSERT_EQ(SetString(key_, u"Name", u"x"), ERROR_SUCCESS);
  BYTE buffer[8];
  EXPECT_EQ(RegQueryValueExW(key_, u"Name", nullptr, nullptr, buffer, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryValues, QueryOfMissingValueIsFileNotFound) {
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key_, u"Missing", nullptr, nullptr, nullptr, &size),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryValues, NullAndEmptyNamesBothNameTheDefaultValue) {
  ASSERT_EQ(SetString(key_, nullptr, u"Stream Class"), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key_, u""), u"Stream Class");
  ASSERT_EQ(SetString(key_, u"", u"Other"), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key_, nullptr), u"Other");
}

TEST_F(RegistryValues, DefaultAndNamedValuesAreDistinct) {
  ASSERT_EQ(SetString(key_, nullptr, u"default"), ERROR_SUCCESS);
  ASSERT_EQ(SetString(key_, u"Named", u"named"), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key_, nullptr), u"default");
  EXPECT_EQ(QueryString(key_, u"Named"), u"named");
}

TEST_F(RegistryValues, ValueNamesIgnoreCase) {
  ASSERT_EQ(SetString(key_, u"Color", u"red"), ERROR_SUCCESS);
  ASSERT_EQ(SetString(key_, u"COLOR", u"blue"), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key_, u"color"), u"blue");
  char16_t name[16];
  DWORD count = 16;
  ASSERT_EQ(RegEnumValueW(key_, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(std::u16string(name, count), u"Color");
  count = 16;
  EXPECT_EQ(RegEnumValueW(key_, 1, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryValues, SettingAgainReplacesTypeAndData) {
  ASSERT_EQ(SetString(key_, u"V", u"text"), ERROR_SUCCESS);
  ASSERT_EQ(SetDword(key_, u"V", 7), ERROR_SUCCESS);
  DWORD type = 0;
  EXPECT_EQ(Query(u"V", &type).size(), 4u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
}

TEST_F(RegistryValues, DeleteValueRemovesIt) {
  ASSERT_EQ(SetString(key_, u"V", u"x"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueW(key_, u"v"), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(key_, u"V", nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryValues, DeleteOfMissingValueIsFileNotFound) {
  EXPECT_EQ(RegDeleteValueW(key_, u"Missing"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryValues, SetWithNullDataAndNonzeroSizeIsInvalidParameter) {
  EXPECT_EQ(RegSetValueExW(key_, u"V", 0, REG_BINARY, nullptr, 4), ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryValues, AnsiStringIsUtf8AndReadsBackAsUtf16) {
  const char text[] = "caf\xC3\xA9";  // "café" in UTF-8
  ASSERT_EQ(
      RegSetValueExA(key_, "Word", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof text),
      ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key_, u"Word"), u"café");
}

TEST_F(RegistryValues, WideStringReadsBackAsUtf8WithUtf8Size) {
  ASSERT_EQ(SetString(key_, u"Word", u"café"), ERROR_SUCCESS);
  DWORD size = 0;
  ASSERT_EQ(RegQueryValueExA(key_, "Word", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 6u);  // c a f, two bytes of é, the terminator
  char text[6];
  ASSERT_EQ(RegQueryValueExA(key_, "Word", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size),
            ERROR_SUCCESS);
  EXPECT_STREQ(text, "caf\xC3\xA9");
}

TEST_F(RegistryValues, AnsiDwordIsNotConverted) {
  const DWORD value = 0x2A;
  ASSERT_EQ(RegSetValueExA(key_, "Count", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4),
            ERROR_SUCCESS);
  DWORD back = 0;
  DWORD size = 4;
  ASSERT_EQ(
      RegQueryValueExA(key_, "Count", nullptr, nullptr, reinterpret_cast<BYTE*>(&back), &size),
      ERROR_SUCCESS);
  EXPECT_EQ(back, value);
}

TEST_F(RegistryValues, AnsiAndWideFunctionsSeeTheSameKeys) {
  HKEY narrow = nullptr;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, "Quillbox.Stream.1\\CLSID", 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, &narrow, nullptr),
            ERROR_SUCCESS);
  RegCloseKey(narrow);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, u"quillbox.stream.1\\clsid"));
  HKEY wide = CreateKey(HKEY_CLASSES_ROOT, u"Wide\\Made");
  RegCloseKey(wide);
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_CLASSES_ROOT, "WIDE\\made", 0, KEY_READ, &opened), ERROR_SUCCESS);
  RegCloseKey(opened);
}

}  // namespace
}  // namespace quillbox::registry_test
