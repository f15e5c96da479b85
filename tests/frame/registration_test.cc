// Registration: the class scripts and the type library's entries written
// and removed; class objects handed out by the entry point.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "frame/class_table.h"
#include "frame/registrar.h"
#include "platform/com/module_path.h"
#include "platform/com/registry/registry.h"
#include "platform/com/utf.h"
#include "quillbox/platform.h"
#include "typelib/registry_scripts.h"

using quillbox::ComPtr;
using quillbox::com::registry::ListRegistrySubkeys;
using quillbox::com::registry::ReadRegistryString;
using quillbox::com::registry::WriteRegistryString;
using namespace quillbox::frame;

namespace {

std::optional<std::u16string> Hkcr(const std::u16string& path, const std::u16string& value = u"") {
  return ReadRegistryString(HKEY_CLASSES_ROOT, path, value);
}

const std::u16string kStorageKey = u"CLSID\\{527AEF24-630D-11D4-9F08-400004053024}";

class RegistrationTest : public ::testing::Test {
 protected:
  void SetUp() override { DllUnregisterServer(); }
  void TearDown() override { DllUnregisterServer(); }
};

TEST_F(RegistrationTest, RegisteringWritesProgIdsAndClsidKeys) {
  ASSERT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(Hkcr(u"Quillbox.Storage.1"), u"Storage Class");
  EXPECT_EQ(Hkcr(u"Quillbox.Storage.1\\CLSID"), u"{527AEF24-630D-11D4-9F08-400004053024}");
  EXPECT_EQ(Hkcr(u"Quillbox.Storage"), u"Storage Class");
  EXPECT_EQ(Hkcr(u"Quillbox.Storage\\CurVer"), u"Quillbox.Storage.1");
  EXPECT_EQ(Hkcr(kStorageKey), u"Storage Class");
  EXPECT_EQ(Hkcr(kStorageKey + u"\\ProgID"), u"Quillbox.Storage.1");
  EXPECT_EQ(Hkcr(kStorageKey + u"\\VersionIndependentProgID"), u"Quillbox.Storage");
  EXPECT_EQ(Hkcr(kStorageKey + u"\\InprocServer32"),
            quillbox::com::Utf8ToUtf16(quillbox::com::ModulePath()));
  EXPECT_EQ(Hkcr(kStorageKey + u"\\TypeLib"), u"{8A7D0641-6242-11D4-9F08-400004053024}");
  EXPECT_EQ(Hkcr(kStorageKey + u"\\InprocServer32", u"ThreadingModel"), std::nullopt);
}

TEST_F(RegistrationTest, StreamHasNoProgrammableKey) {
  ASSERT_EQ(DllRegisterServer(), S_OK);
  const auto keys = ListRegistrySubkeys(HKEY_CLASSES_ROOT, u"CLSID\\{8A7D064E-6242-11D4-9F08-400004053024}");
  EXPECT_EQ(std::count(keys.begin(), keys.end(), u"Programmable"), 0);
  const auto storage = ListRegistrySubkeys(HKEY_CLASSES_ROOT, kStorageKey);
  EXPECT_EQ(std::count(storage.begin(), storage.end(), u"Programmable"), 1);
}

TEST_F(RegistrationTest, CompoundDocumentProgIdNamesAClsidWithoutFactory) {
  ASSERT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(Hkcr(u"Quillbox.CompoundDocument.1\\CLSID"), u"{85C307C7-62DE-11D4-9F08-400004053024}");
  EXPECT_EQ(Hkcr(u"CLSID\\{85C307C7-62DE-11D4-9F08-400004053024}\\InprocServer32", u"ThreadingModel"),
            u"Apartment");
  CLSID clsid;
  ASSERT_EQ(CLSIDFromProgID(u"Quillbox.CompoundDocument", &clsid), S_OK);
  ComPtr<IUnknown> object;
  EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(object.put())),
            CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(RegistrationTest, ScriptsThatNeverRunLeaveNoTrace) {
  ASSERT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(Hkcr(u"Quillbox.MyDataObj.1"), std::nullopt);
  EXPECT_EQ(Hkcr(u"Quillbox.EnumFormatEtc"), std::nullopt);
  EXPECT_NE(quillbox::typelib::RegistryScript(118), nullptr);
  EXPECT_NE(quillbox::typelib::RegistryScript(120), nullptr);
}

TEST_F(RegistrationTest, TypeLibraryIsRegisteredWithItsInterfaces) {
  ASSERT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(Hkcr(u"TypeLib\\{8A7D0641-6242-11D4-9F08-400004053024}\\1.0"), u"Quillbox 1.0 Type Library");
  EXPECT_EQ(Hkcr(u"Interface\\{527AEF23-630D-11D4-9F08-400004053024}"), u"_Storage");
  EXPECT_EQ(Hkcr(u"Interface\\{527AEF23-630D-11D4-9F08-400004053024}\\TypeLib", u"Version"), u"1.0");
}

TEST_F(RegistrationTest, UnregisteringRemovesClassKeysButNeverTheClsidKey) {
  ASSERT_TRUE(WriteRegistryString(HKEY_CLASSES_ROOT, u"CLSID\\{00000000-1111-2222-3333-444444444444}", u"",
                                  u"Someone else") == ERROR_SUCCESS);
  ASSERT_EQ(DllRegisterServer(), S_OK);
  ASSERT_EQ(DllUnregisterServer(), S_OK);
  EXPECT_EQ(Hkcr(kStorageKey), std::nullopt);
  EXPECT_EQ(Hkcr(u"Quillbox.Storage.1"), std::nullopt);
  EXPECT_EQ(Hkcr(u"Quillbox.Storage"), std::nullopt);
  EXPECT_EQ(Hkcr(u"TypeLib\\{8A7D0641-6242-11D4-9F08-400004053024}\\1.0"), std::nullopt);
  EXPECT_EQ(Hkcr(u"CLSID\\{00000000-1111-2222-3333-444444444444}"), u"Someone else");
  HKEY key;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"CLSID", 0, KEY_READ, &key), ERROR_SUCCESS);
  RegCloseKey(key);
}

TEST_F(RegistrationTest, RegisteringTwiceIsHarmlessAndForceRemoveClearsStaleKeys) {
  ASSERT_TRUE(WriteRegistryString(HKEY_CLASSES_ROOT, kStorageKey + u"\\Stale", u"", u"old") == ERROR_SUCCESS);
  ASSERT_EQ(DllRegisterServer(), S_OK);
  ASSERT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(Hkcr(kStorageKey + u"\\Stale"), std::nullopt);
  EXPECT_EQ(Hkcr(kStorageKey + u"\\ProgID"), u"Quillbox.Storage.1");
}

TEST_F(RegistrationTest, ErrorSourceIsTheVersionedProgIdOnceRegistered) {
  ASSERT_EQ(DllRegisterServer(), S_OK);
  LPOLESTR progid = nullptr;
  ASSERT_EQ(ProgIDFromCLSID(ClassTable()[3].clsid, &progid), S_OK);
  EXPECT_EQ(std::u16string(progid), u"Quillbox.Storage.1");
  CoTaskMemFree(progid);
}

TEST(EntryPoint, StreamClassObjectIsRefusedWithNoInterface) {
  void* out = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(DllGetClassObject(kStreamClsid, IID_IClassFactory, &out), E_NOINTERFACE);
  EXPECT_EQ(out, reinterpret_cast<void*>(0x1)) << "the out-parameter is not touched";
}

TEST(EntryPoint, UnknownClsidIsNotAvailable) {
  const CLSID unknown = {0x12345678, 0, 0, {0}};
  void* out = nullptr;
  EXPECT_EQ(DllGetClassObject(unknown, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
}

TEST(EntryPoint, FactoryIsMadeOnceAndKept) {
  ComPtr<IClassFactory> a, b;
  ASSERT_EQ(DllGetClassObject(ClassTable()[3].clsid, IID_PPV_ARGS(a.put())), S_OK);
  ASSERT_EQ(DllGetClassObject(ClassTable()[3].clsid, IID_PPV_ARGS(b.put())), S_OK);
  EXPECT_EQ(a.get(), b.get());
  EXPECT_EQ(DllCanUnloadNow(), S_OK) << "factories do not hold the module";
}

TEST(EntryPoint, LockServerHoldsTheModule) {
  ComPtr<IClassFactory> f;
  ASSERT_EQ(DllGetClassObject(ClassTable()[1].clsid, IID_PPV_ARGS(f.put())), S_OK);
  f->LockServer(TRUE);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  f->LockServer(FALSE);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(EntryPoint, ClassTableKeepsTheLibraryOrder) {
  const auto rows = ClassTable();
  ASSERT_EQ(rows.size(), 13u);
  const unsigned scripts[] = {101, 102, 104, 105, 106, 107, 110, 111, 112, 113, 114, 115, 116};
  for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i].script_id, scripts[i]);
}

TEST(Registrar, UnparsableScriptChangesNothing) {
  EXPECT_EQ(RunRegistryScript(u"HKCR { Broken = s 'unterminated }", RegistrarMode::kRegister, {}),
            DISP_E_EXCEPTION);
  EXPECT_EQ(Hkcr(u"Broken"), std::nullopt);
}

TEST(Registrar, NamedValuesAndReplacementsAreWritten) {
  ASSERT_EQ(RunRegistryScript(u"HKCU { NoRemove Software { Test = s '%WHO%' { val Count = d '42' val Name = s 'x' } } }",
                              RegistrarMode::kRegister, {{u"WHO", u"me"}}),
            S_OK);
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, u"Software\\Test", u""), u"me");
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, u"Software\\Test", u"Name"), u"x");
  ASSERT_EQ(RunRegistryScript(u"HKCU { NoRemove Software { Test { val Name = s 'x' } } }",
                              RegistrarMode::kRemove, {}),
            S_OK);
  EXPECT_EQ(ReadRegistryString(HKEY_CURRENT_USER, u"Software\\Test", u""), std::nullopt);
  HKEY key;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software", 0, KEY_READ, &key), ERROR_SUCCESS);
  RegCloseKey(key);
}

}  // namespace
