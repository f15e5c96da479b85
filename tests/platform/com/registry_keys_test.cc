// Registry keys: create, open, close, nested paths, names without regard to
// case, deletion of keys and trees, and handles whose key was deleted.
#include "registry_fixture.h"

namespace quillbox::registry_test {
namespace {

using RegistryKeys = RegistryTest;

TEST_F(RegistryKeys, CreateReportsNewKeyThenExistingKey) {
  HKEY first = nullptr;
  HKEY second = nullptr;
  DWORD disposition = 0;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"Software\\Quillbox", 0, nullptr, 0, KEY_ALL_ACCESS,
                            nullptr, &first, &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"Software\\Quillbox", 0, nullptr, 0, KEY_ALL_ACCESS,
                            nullptr, &second, &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
  EXPECT_NE(first, second);
  EXPECT_EQ(RegCloseKey(first), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(second), ERROR_SUCCESS);
}

TEST_F(RegistryKeys, CreateMakesEveryMissingLevel) {
  RegCloseKey(CreateKey(HKEY_LOCAL_MACHINE, u"One\\Two\\Three\\Four"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, u"One"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, u"One\\Two"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, u"One\\Two\\Three"));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, u"One\\Two\\Three\\Four"));
}

TEST_F(RegistryKeys, OpenRelativeToOpenedKeyFindsNestedKey) {
  RegCloseKey(CreateKey(HKEY_CLASSES_ROOT, u"Outer\\Middle\\Inner"));
  HKEY outer = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"Outer", 0, KEY_READ, &outer), ERROR_SUCCESS);
  EXPECT_TRUE(KeyExists(outer, u"Middle\\Inner"));
  RegCloseKey(outer);
}

TEST_F(RegistryKeys, OpenOfMissingKeyIsFileNotFound) {
  HKEY key = reinterpret_cast<HKEY>(1);
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Nowhere", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, reinterpret_cast<HKEY>(1));
}

TEST_F(RegistryKeys, OpenWithNullResultIsInvalidParameter) {
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Any", 0, KEY_READ, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryKeys, CreateWithNullResultIsInvalidParameterAndCreatesNothing) {
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"Any", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            nullptr, nullptr),
            ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Any"));
}

TEST_F(RegistryKeys, OpenWithEmptySubkeyOfPredefinedKeyGivesThatKey) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"", 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(key, HKEY_CLASSES_ROOT);
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, nullptr, 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(key, HKEY_CLASSES_ROOT);
}

TEST_F(RegistryKeys, OpenWithNullSubkeyGivesNewHandleToSameKey) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Same");
  HKEY again = nullptr;
  ASSERT_EQ(RegOpenKeyExW(key, nullptr, 0, KEY_ALL_ACCESS, &again), ERROR_SUCCESS);
  EXPECT_NE(again, key);
  ASSERT_EQ(SetString(again, u"V", u"x"), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, u"V"), u"x");
  RegCloseKey(again);
  RegCloseKey(key);
}

TEST_F(RegistryKeys, LookupIgnoresCaseAndKeepsCreatedCase) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"MixedCase\\SubKey"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"MIXEDCASE\\subkey"));
  HKEY key = nullptr;
  DWORD disposition = 0;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"mixedcase", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &key, &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
  RegCloseKey(key);
  EXPECT_EQ(SubkeyNames(HKEY_CURRENT_USER), std::vector<std::u16string>{u"MixedCase"});
}

TEST_F(RegistryKeys, NonAsciiNamesIgnoreCase) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Äpfel"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"äPFEL"));
}

TEST_F(RegistryKeys, RootsAreSeparateTrees) {
  RegCloseKey(CreateKey(HKEY_CLASSES_ROOT, u"OnlyInClasses"));
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, u"OnlyInClasses"));
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"OnlyInClasses"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, u"OnlyInClasses"));
}

TEST_F(RegistryKeys, TrailingBackslashIsTolerated) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Trail\\"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"Trail"));
}

TEST_F(RegistryKeys, LeadingBackslashIsBadPathname) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"\\Lead", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &key, nullptr),
            ERROR_BAD_PATHNAME);
}

TEST_F(RegistryKeys, KeyNameOverMaximumLengthIsInvalidParameter) {
  const std::u16string name(256, u'k');
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &key, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryKeys, CloseOfPredefinedKeySucceeds) {
  EXPECT_EQ(RegCloseKey(HKEY_CLASSES_ROOT), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
  EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, nullptr));
}

TEST_F(RegistryKeys, CloseOfUnknownHandleIsInvalidHandle) {
  EXPECT_EQ(RegCloseKey(reinterpret_cast<HKEY>(0x12345)), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryKeys, ClosedHandleIsInvalidHandle) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Closed");
  ASSERT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(SetString(key, u"V", u"x"), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryKeys, HandleStaysValidWhileOtherHandlesComeAndGo) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Lasting");
  for (int i = 0; i < 10; ++i) RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Lasting\\Child"));
  EXPECT_EQ(SetString(key, u"V", u"still here"), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, u"V"), u"still here");
  RegCloseKey(key);
}

TEST_F(RegistryKeys, WriteThroughReadOnlyHandleIsAccessDenied) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"ReadOnly"));
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"ReadOnly", 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(SetString(key, u"V", u"x"), ERROR_ACCESS_DENIED);
  RegCloseKey(key);
}

TEST_F(RegistryKeys, UsersKeyIsEmpty) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_USERS, u".DEFAULT", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  char16_t name[16];
  DWORD count = 16;
  EXPECT_EQ(RegEnumKeyExW(HKEY_USERS, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryKeys, UsersKeyRefusesWrites) {
  HKEY key = nullptr;
  EXPECT_EQ(
      RegCreateKeyExW(HKEY_USERS, u"New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
      ERROR_ACCESS_DENIED);
  EXPECT_EQ(SetString(HKEY_USERS, u"V", u"x"), ERROR_ACCESS_DENIED);
}

TEST_F(RegistryKeys, DeleteKeyWithoutSubkeysRemovesIt) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Parent\\Leaf"));
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Parent\\Leaf"), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Parent\\Leaf"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"Parent"));
}

TEST_F(RegistryKeys, DeleteKeyWithSubkeysIsAccessDenied) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Parent\\Leaf"));
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Parent"), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"Parent\\Leaf"));
}

TEST_F(RegistryKeys, DeleteOfMissingKeyIsFileNotFound) {
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Missing"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryKeys, DeleteKeyWithNullSubkeyIsInvalidParameter) {
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryKeys, DeleteOfRootIsAccessDenied) {
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u""), ERROR_ACCESS_DENIED);
}

TEST_F(RegistryKeys, DeleteTreeRemovesKeyAndEverythingBelow) {
  HKEY deep = CreateKey(HKEY_CURRENT_USER, u"Tree\\A\\B\\C");
  ASSERT_EQ(SetString(deep, u"V", u"x"), ERROR_SUCCESS);
  RegCloseKey(deep);
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Tree\\D"));
  EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"Tree"), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Tree"));
}

TEST_F(RegistryKeys, DeleteTreeWithNullSubkeyEmptiesKeyButKeepsIt) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Keep");
  ASSERT_EQ(SetString(key, u"V", u"x"), ERROR_SUCCESS);
  RegCloseKey(CreateKey(key, u"Child\\Grandchild"));
  EXPECT_EQ(RegDeleteTreeW(key, nullptr), ERROR_SUCCESS);
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"Keep"));
  EXPECT_TRUE(SubkeyNames(key).empty());
  EXPECT_EQ(RegQueryValueExW(key, u"V", nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
  RegCloseKey(key);
}

TEST_F(RegistryKeys, DeleteTreeOfMissingKeyIsFileNotFound) {
  EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"Missing"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryKeys, QueryThroughHandleOfDeletedKeyIsKeyDeleted) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Doomed");
  ASSERT_EQ(SetString(key, u"V", u"x"), ERROR_SUCCESS);
  ASSERT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Doomed"), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(key, u"V", nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(RegistryKeys, WritesThroughHandleOfDeletedKeyAreKeyDeleted) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Doomed");
  ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"Doomed"), ERROR_SUCCESS);
  EXPECT_EQ(SetString(key, u"V", u"x"), ERROR_KEY_DELETED);
  HKEY child = nullptr;
  EXPECT_EQ(RegCreateKeyExW(key, u"Child", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &child, nullptr),
            ERROR_KEY_DELETED);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Doomed"));
  RegCloseKey(key);
}

TEST_F(RegistryKeys, HandleBelowDeletedTreeIsKeyDeleted) {
  HKEY inner = CreateKey(HKEY_CURRENT_USER, u"Gone\\Inner");
  ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, u"Gone"), ERROR_SUCCESS);
  char16_t name[16];
  DWORD count = 16;
  EXPECT_EQ(RegEnumKeyExW(inner, 0, name, &count, nullptr, nullptr, nullptr, nullptr),
            ERROR_KEY_DELETED);
  RegCloseKey(inner);
}

TEST_F(RegistryKeys, RecreatedKeyDoesNotReviveOldHandle) {
  HKEY old_key = CreateKey(HKEY_CURRENT_USER, u"Phoenix");
  ASSERT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Phoenix"), ERROR_SUCCESS);
  HKEY new_key = CreateKey(HKEY_CURRENT_USER, u"Phoenix");
  EXPECT_EQ(SetString(old_key, u"V", u"x"), ERROR_KEY_DELETED);
  EXPECT_EQ(SetString(new_key, u"V", u"x"), ERROR_SUCCESS);
  RegCloseKey(old_key);
  RegCloseKey(new_key);
}

TEST_F(RegistryKeys, KeyDeletedThroughOwnHandleNeedsDeleteAccess) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"Self"));
  HKEY reader = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Self", 0, KEY_READ, &reader), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(reader, u""), ERROR_ACCESS_DENIED);
  HKEY owner = CreateKey(HKEY_CURRENT_USER, u"Self");
  EXPECT_EQ(RegDeleteKeyW(owner, u""), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, u"Self"));
  RegCloseKey(reader);
  RegCloseKey(owner);
}

}  // namespace
}  // namespace quillbox::registry_test
