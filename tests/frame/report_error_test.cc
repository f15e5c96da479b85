// ReportError: the message, the source, the GUID and the result code that a
// failing member leaves for its client.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/module.h"
#include "frame/report_error.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using quillbox::frame::ErrorMessage;
using quillbox::frame::ModuleInstance;
using quillbox::frame::ReportError;

namespace {

// Storage and _Storage.
constexpr CLSID kStorageClsid = {0x527AEF24, 0x630D, 0x11D4, {0x9F, 0x08, 0x40, 0x00, 0x04, 0x05, 0x30, 0x24}};
constexpr IID kStorageIid = {0x527AEF23, 0x630D, 0x11D4, {0x9F, 0x08, 0x40, 0x00, 0x04, 0x05, 0x30, 0x24}};
constexpr CLSID kUnregisteredClsid = {0x0DDBA11, 0x630D, 0x11D4, {0x9F, 0x08, 0x40, 0x00, 0x04, 0x05, 0x30, 0x99}};

struct Reported {
  std::u16string description, source;
  GUID guid{};
  DWORD help_context = 0;
  std::u16string help_file;
};

std::u16string Take(BSTR b) {
  std::u16string s(b ? b : u"", SysStringLen(b));
  SysFreeString(b);
  return s;
}

Reported TakeErrorInfo() {
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(GetErrorInfo(0, info.put()), S_OK);
  Reported r;
  if (!info) return r;
  BSTR b = nullptr;
  info->GetDescription(&b);
  r.description = Take(b);
  info->GetSource(&b);
  r.source = Take(b);
  info->GetHelpFile(&b);
  r.help_file = Take(b);
  info->GetGUID(&r.guid);
  info->GetHelpContext(&r.help_context);
  return r;
}

void RegisterProgId(REFCLSID clsid, const char* progid) {
  LPOLESTR text = nullptr;
  ASSERT_EQ(StringFromCLSID(clsid, &text), S_OK);
  std::string path = "CLSID\\" + std::string(text, text + 38) + "\\ProgID";
  CoTaskMemFree(text);
  HKEY key;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  RegSetValueExA(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(progid),
                 static_cast<DWORD>(std::strlen(progid) + 1));
  RegCloseKey(key);
}

class ReportErrorTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterProgId(kStorageClsid, "Quillbox.Storage.1"); }
  void SetUp() override { SetErrorInfo(0, nullptr); }
};

TEST_F(ReportErrorTest, ReturnsTheResultAndPostsTheMessage) {
  EXPECT_EQ(ReportError(kStorageClsid, 203, kStorageIid, STG_E_FILENOTFOUND), STG_E_FILENOTFOUND);
  const Reported r = TakeErrorInfo();
  EXPECT_EQ(r.description, u"Storage not found");
  EXPECT_EQ(r.guid, kStorageIid);
}

TEST_F(ReportErrorTest, SourceIsTheClassVersionedProgId) {
  ReportError(kStorageClsid, 205, kStorageIid, STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeErrorInfo().source, u"Quillbox.Storage.1");
}

TEST_F(ReportErrorTest, UnregisteredClassLeavesTheSourceEmptyAndTheRestUnchanged) {
  EXPECT_EQ(ReportError(kUnregisteredClsid, 216, kStorageIid, STG_E_FILENOTFOUND), STG_E_FILENOTFOUND);
  const Reported r = TakeErrorInfo();
  EXPECT_EQ(r.source, u"");
  EXPECT_EQ(r.description, u"File not found.");
  EXPECT_EQ(r.guid, kStorageIid);
}

TEST_F(ReportErrorTest, MissingMessageIdGivesUnknownErrorAndTheResultPassedIn) {
  EXPECT_EQ(ReportError(kStorageClsid, 211, kStorageIid, E_FAIL), E_FAIL);
  EXPECT_EQ(TakeErrorInfo().description, u"Unknown Error");
}

TEST_F(ReportErrorTest, ZeroResultWithMessage221Gives0x800400DD) {
  EXPECT_EQ(ReportError(kStorageClsid, 221, kStorageIid, 0), static_cast<HRESULT>(0x800400DD));
  EXPECT_EQ(TakeErrorInfo().description, u"Invalid parameter.");
}

TEST_F(ReportErrorTest, ReadyTextIsTheDescription) {
  EXPECT_EQ(ReportError(kStorageClsid, ErrorMessage(u"Custom text"), 0, nullptr, kStorageIid,
                        E_INVALIDARG, ModuleInstance()),
            E_INVALIDARG);
  EXPECT_EQ(TakeErrorInfo().description, u"Custom text");
}

TEST_F(ReportErrorTest, ReadyTextWithZeroResultGivesDispException) {
  EXPECT_EQ(ReportError(kStorageClsid, ErrorMessage(u"x"), 0, nullptr, kStorageIid, 0, ModuleInstance()),
            DISP_E_EXCEPTION);
}

TEST_F(ReportErrorTest, HelpContextAndFileAreSetOnlyTogether) {
  ReportError(kStorageClsid, ErrorMessage(1u), 7, u"quillbox.chm", kStorageIid, E_FAIL, ModuleInstance());
  Reported r = TakeErrorInfo();
  EXPECT_EQ(r.help_context, 7u);
  EXPECT_EQ(r.help_file, u"quillbox.chm");
  ReportError(kStorageClsid, ErrorMessage(1u), 7, nullptr, kStorageIid, E_FAIL, ModuleInstance());
  r = TakeErrorInfo();
  EXPECT_EQ(r.help_context, 0u);
  EXPECT_EQ(r.help_file, u"");
}

TEST_F(ReportErrorTest, PlatformFailureKeepsItsCodeWithUnexpectedError) {
  EXPECT_EQ(ReportError(kStorageClsid, 1, kStorageIid, STG_E_DOCFILECORRUPT), STG_E_DOCFILECORRUPT);
  EXPECT_EQ(TakeErrorInfo().description, u"Unexpected Error.");
}

TEST_F(ReportErrorTest, ASuccessfulCallLeavesEarlierErrorInfo) {
  ReportError(kStorageClsid, 204, kStorageIid, STG_E_FILENOTFOUND);
  // Nothing clears the slot but the client's read or the next report.
  EXPECT_EQ(TakeErrorInfo().description, u"Stream not found");
}

}  // namespace
