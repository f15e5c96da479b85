// The library's own whole-path access to the registry.
#include "platform/com/registry/registry.h"
#include "registry_fixture.h"

namespace quillbox::registry_test {
namespace {

namespace reg = com::registry;
using RegistryInternal = RegistryTest;

TEST_F(RegistryInternal, ReadStringGivesDefaultValueWithoutTerminator) {
  HKEY key = CreateKey(HKEY_CLASSES_ROOT, u"Quillbox.Stream.1\\CLSID");
  ASSERT_EQ(SetString(key, nullptr, u"{guid}"), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(reg::ReadRegistryString(HKEY_CLASSES_ROOT, u"quillbox.stream.1\\clsid", u""),
            u"{guid}");
}

TEST_F(RegistryInternal, ReadStringGivesNamedValue) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Settings");
  ASSERT_EQ(SetString(key, u"Mode", u"fast"), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(reg::ReadRegistryString(HKEY_CURRENT_USER, u"Settings", u"mode"), u"fast");
}

TEST_F(RegistryInternal, ReadStringOfMissingKeyIsEmpty) {
  EXPECT_EQ(reg::ReadRegistryString(HKEY_CLASSES_ROOT, u"Missing", u""), std::nullopt);
}

TEST_F(RegistryInternal, ReadStringOfDwordIsEmpty) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Numbers");
  ASSERT_EQ(SetDword(key, u"N", 1), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(reg::ReadRegistryString(HKEY_CURRENT_USER, u"Numbers", u"N"), std::nullopt);
}

TEST_F(RegistryInternal, WriteStringCreatesPathAndValue) {
  ASSERT_EQ(reg::WriteRegistryString(HKEY_CLASSES_ROOT, u"A\\B", u"", u"text"), ERROR_SUCCESS);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"A\\B", 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, nullptr), u"text");
  RegCloseKey(key);
}

TEST_F(RegistryInternal, ListSubkeysGivesNamesInOrder) {
  RegCloseKey(CreateKey(HKEY_CLASSES_ROOT, u"Parent\\b"));
  RegCloseKey(CreateKey(HKEY_CLASSES_ROOT, u"Parent\\A"));
  EXPECT_EQ(reg::ListRegistrySubkeys(HKEY_CLASSES_ROOT, u"Parent"),
            (std::vector<std::u16string>{u"A", u"b"}));
}

TEST_F(RegistryInternal, DeleteTreeRemovesPath) {
  RegCloseKey(CreateKey(HKEY_CLASSES_ROOT, u"Drop\\Inner"));
  EXPECT_EQ(reg::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"Drop"), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, u"Drop"));
}

TEST_F(RegistryInternal, DeleteTreeRefusesEmptyPath) {
  RegCloseKey(CreateKey(HKEY_CLASSES_ROOT, u"Kept"));
  EXPECT_EQ(reg::DeleteRegistryTree(HKEY_CLASSES_ROOT, u""), ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, u"Kept"));
}

TEST_F(RegistryInternal, FilePathFollowsEnvironment) {
  EXPECT_EQ(reg::RegistryFilePath(), RegistryPath());
}

}  // namespace
}  // namespace quillbox::registry_test
