// Enumeration of subkeys and values: order, the end of the list, and
// buffers that are too small.
#include "registry_fixture.h"

namespace quillbox::registry_test {
namespace {

class RegistryEnum : public RegistryTest {
 protected:
  void SetUp() override {
    RegistryTest::SetUp();
    key_ = CreateKey(HKEY_CURRENT_USER, u"List");
  }
  void TearDown() override {
    RegCloseKey(key_);
    RegistryTest::TearDown();
  }
  HKEY key_ = nullptr;
};

TEST_F(RegistryEnum, SubkeysComeSortedWithoutRegardToCase) {
  for (const char16_t* name : {u"gamma", u"Beta", u"alpha", u"Delta", u"_under"}) {
    RegCloseKey(CreateKey(key_, name));
  }
  // Names compare upper-cased, so '_' (after 'Z') follows the letters.
  EXPECT_EQ(SubkeyNames(key_),
            (std::vector<std::u16string>{u"alpha", u"Beta", u"Delta", u"gamma", u"_under"}));
}

TEST_F(RegistryEnum, SubkeysPastTheEndAreNoMoreItems) {
  RegCloseKey(CreateKey(key_, u"Only"));
  char16_t name[32];
  DWORD count = 32;
  EXPECT_EQ(RegEnumKeyExW(key_, 1, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryEnum, SubkeyNameCountExcludesTerminator) {
  RegCloseKey(CreateKey(key_, u"Five5"));
  char16_t name[32];
  DWORD count = 32;
  ASSERT_EQ(RegEnumKeyExW(key_, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(std::u16string(name), u"Five5");
}

TEST_F(RegistryEnum, SubkeyNameInSmallBufferIsMoreData) {
  RegCloseKey(CreateKey(key_, u"Five5"));
  char16_t name[5];
  DWORD count = 5;  // no room for the terminator
  EXPECT_EQ(RegEnumKeyExW(key_, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_MORE_DATA);
}

TEST_F(RegistryEnum, SubkeyWithNullCountIsInvalidParameter) {
  RegCloseKey(CreateKey(key_, u"Any"));
  char16_t name[8];
  EXPECT_EQ(RegEnumKeyExW(key_, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryEnum, SubkeyGivesEmptyClassAndWriteTime) {
  RegCloseKey(CreateKey(key_, u"Any"));
  char16_t name[8];
  DWORD count = 8;
  char16_t class_name[8] = {u'x'};
  DWORD class_count = 8;
  FILETIME time{};
  ASSERT_EQ(RegEnumKeyExW(key_, 0, name, &count, nullptr, class_name, &class_count, &time),
            ERROR_SUCCESS);
  EXPECT_EQ(class_name[0], u'\0');
  EXPECT_EQ(class_count, 0u);
  EXPECT_NE(time.dwHighDateTime, 0u);
}

TEST_F(RegistryEnum, AnsiSubkeyNamesAreUtf8) {
  RegCloseKey(CreateKey(key_, u"Größe"));
  char name[16];
  DWORD count = 16;
  ASSERT_EQ(RegEnumKeyExA(key_, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(std::string(name, count),
            "Gr\xC3\xB6\xC3\x9F"
            "e");
}

TEST_F(RegistryEnum, ValuesComeInOrderOfCreation) {
  ASSERT_EQ(SetString(key_, u"Zeta", u"1"), ERROR_SUCCESS);
  ASSERT_EQ(SetString(key_, nullptr, u"2"), ERROR_SUCCESS);
  ASSERT_EQ(SetString(key_, u"Alpha", u"3"), ERROR_SUCCESS);
  std::vector<std::u16string> names;
  for (DWORD index = 0;; ++index) {
    char16_t name[32];
    DWORD count = 32;
    if (RegEnumValueW(key_, index, name, &count, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    names.emplace_back(name, count);
  }
  EXPECT_EQ(names, (std::vector<std::u16string>{u"Zeta", u"", u"Alpha"}));
}

TEST_F(RegistryEnum, ValueGivesTypeAndData) {
  ASSERT_EQ(SetDword(key_, u"Count", 42), ERROR_SUCCESS);
  char16_t name[32];
  DWORD count = 32;
  DWORD type = 0;
  DWORD value = 0;
  DWORD size = sizeof value;
  ASSERT_EQ(
      RegEnumValueW(key_, 0, name, &count, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size),
      ERROR_SUCCESS);
  EXPECT_EQ(std::u16string(name, count), u"Count");
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(value, 42u);
  EXPECT_EQ(size, 4u);
}

TEST_F(RegistryEnum, ValuesPastTheEndAreNoMoreItems) {
  char16_t name[32];
  DWORD count = 32;
  EXPECT_EQ(RegEnumValueW(key_, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryEnum, ValueDataInSmallBufferIsMoreDataAndSize) {
  ASSERT_EQ(SetString(key_, u"Text", u"longer text"), ERROR_SUCCESS);
  char16_t name[32];
  DWORD count = 32;
  BYTE data[4];
  DWORD size = sizeof data;
  EXPECT_EQ(RegEnumValueW(key_, 0, name, &count, nullptr, nullptr, data, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 24u);
}

TEST_F(RegistryEnum, ValueNameInSmallBufferIsMoreData) {
  ASSERT_EQ(SetString(key_, u"LongName", u"x"), ERROR_SUCCESS);
  char16_t name[4];
  DWORD count = 4;
  EXPECT_EQ(RegEnumValueW(key_, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_MORE_DATA);
}

TEST_F(RegistryEnum, AnsiValueDataIsUtf8) {
  ASSERT_EQ(SetString(key_, u"Word", u"é"), ERROR_SUCCESS);
  char name[16];
  DWORD count = 16;
  char data[8];
  DWORD size = sizeof data;
  ASSERT_EQ(
      RegEnumValueA(key_, 0, name, &count, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size),
      ERROR_SUCCESS);
  EXPECT_EQ(size, 3u);
  EXPECT_STREQ(data, "\xC3\xA9");
}

}  // namespace
}  // namespace quillbox::registry_test
