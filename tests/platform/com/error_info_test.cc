// Thread error information: one slot per thread, handed out once.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "quillbox/platform.h"

using quillbox::ComPtr;

namespace {

constexpr GUID kSomeIid = {0x527AEF23, 0x630D, 0x11D4, {0x9F, 0x08, 0x40, 0x00, 0x04, 0x05, 0x30, 0x24}};

ComPtr<IErrorInfo> MakeError(const char16_t* description) {
  ComPtr<ICreateErrorInfo> create;
  EXPECT_EQ(CreateErrorInfo(create.put()), S_OK);
  create->SetDescription(const_cast<LPOLESTR>(description));
  return create.as<IErrorInfo>();
}

std::u16string DescriptionOf(IErrorInfo* info) {
  BSTR text = nullptr;
  EXPECT_EQ(info->GetDescription(&text), S_OK);
  std::u16string out(text ? text : u"", SysStringLen(text));
  SysFreeString(text);
  return out;
}

class ErrorInfoTest : public ::testing::Test {
 protected:
  void SetUp() override { SetErrorInfo(0, nullptr); }
  void TearDown() override { SetErrorInfo(0, nullptr); }
};

TEST_F(ErrorInfoTest, FieldsSetThroughCreateAreReadThroughErrorInfo) {
  ComPtr<ICreateErrorInfo> create;
  ASSERT_EQ(CreateErrorInfo(create.put()), S_OK);
  create->SetGUID(kSomeIid);
  create->SetSource(const_cast<LPOLESTR>(u"Quillbox.Storage.1"));
  create->SetDescription(const_cast<LPOLESTR>(u"Storage not found"));
  create->SetHelpFile(const_cast<LPOLESTR>(u"help.chm"));
  create->SetHelpContext(42);
  ComPtr<IErrorInfo> info = create.as<IErrorInfo>();
  ASSERT_TRUE(info);

  GUID guid;
  EXPECT_EQ(info->GetGUID(&guid), S_OK);
  EXPECT_EQ(guid, kSomeIid);
  BSTR source = nullptr, help = nullptr;
  EXPECT_EQ(info->GetSource(&source), S_OK);
  EXPECT_EQ(std::u16string(source), u"Quillbox.Storage.1");
  EXPECT_EQ(info->GetHelpFile(&help), S_OK);
  EXPECT_EQ(std::u16string(help), u"help.chm");
  SysFreeString(source);
  SysFreeString(help);
  DWORD context = 0;
  EXPECT_EQ(info->GetHelpContext(&context), S_OK);
  EXPECT_EQ(context, 42u);
  EXPECT_EQ(DescriptionOf(info.get()), u"Storage not found");
}

TEST_F(ErrorInfoTest, UnsetSourceReadsAsEmpty) {
  ComPtr<IErrorInfo> info = MakeError(u"x");
  BSTR source = nullptr;
  EXPECT_EQ(info->GetSource(&source), S_OK);
  EXPECT_EQ(SysStringLen(source), 0u);
  SysFreeString(source);
}

TEST_F(ErrorInfoTest, GetErrorInfoHandsOutOnceAndClearsTheSlot) {
  ComPtr<IErrorInfo> info = MakeError(u"first");
  ASSERT_EQ(SetErrorInfo(0, info.get()), S_OK);
  ComPtr<IErrorInfo> got;
  ASSERT_EQ(GetErrorInfo(0, got.put()), S_OK);
  EXPECT_EQ(got.get(), info.get());
  ComPtr<IErrorInfo> again;
  EXPECT_EQ(GetErrorInfo(0, again.put()), S_FALSE);
  EXPECT_FALSE(again);
}

TEST_F(ErrorInfoTest, EmptySlotAnswersFalseAndNull) {
  IErrorInfo* out = reinterpret_cast<IErrorInfo*>(0x1);
  EXPECT_EQ(GetErrorInfo(0, &out), S_FALSE);
  EXPECT_EQ(out, nullptr);
}

TEST_F(ErrorInfoTest, SetErrorInfoReplacesThePreviousOne) {
  SetErrorInfo(0, MakeError(u"old").get());
  SetErrorInfo(0, MakeError(u"new").get());
  ComPtr<IErrorInfo> got;
  ASSERT_EQ(GetErrorInfo(0, got.put()), S_OK);
  EXPECT_EQ(DescriptionOf(got.get()), u"new");
}

TEST_F(ErrorInfoTest, SetErrorInfoWithNullClears) {
  SetErrorInfo(0, MakeError(u"x").get());
  EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
  ComPtr<IErrorInfo> got;
  EXPECT_EQ(GetErrorInfo(0, got.put()), S_FALSE);
}

TEST_F(ErrorInfoTest, ReservedArgumentMustBeZero) {
  ComPtr<IErrorInfo> info = MakeError(u"x");
  EXPECT_EQ(SetErrorInfo(1, info.get()), E_INVALIDARG);
  ComPtr<IErrorInfo> got;
  EXPECT_EQ(GetErrorInfo(1, got.put()), E_INVALIDARG);
  EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
}

TEST_F(ErrorInfoTest, EachThreadSeesOnlyItsOwnErrorInfo) {
  SetErrorInfo(0, MakeError(u"main thread").get());
  std::u16string other_saw_before, other_saw_after;
  HRESULT other_first = S_OK;
  std::thread other([&] {
    ComPtr<IErrorInfo> got;
    other_first = GetErrorInfo(0, got.put());
    SetErrorInfo(0, MakeError(u"other thread").get());
    ComPtr<IErrorInfo> mine;
    if (GetErrorInfo(0, mine.put()) == S_OK) other_saw_after = DescriptionOf(mine.get());
  });
  other.join();
  EXPECT_EQ(other_first, S_FALSE) << "a new thread starts with an empty slot";
  EXPECT_EQ(other_saw_after, u"other thread");
  ComPtr<IErrorInfo> got;
  ASSERT_EQ(GetErrorInfo(0, got.put()), S_OK);
  EXPECT_EQ(DescriptionOf(got.get()), u"main thread");
}

TEST_F(ErrorInfoTest, ErrorInfoLeftOnAThreadIsReleasedWhenItEnds) {
  // Under the sanitizer build a leak here fails the run.
  std::thread([] { SetErrorInfo(0, MakeError(u"left behind").get()); }).join();
  SUCCEED();
}

TEST_F(ErrorInfoTest, QueryInterfaceGivesBothFacesAndIdentity) {
  ComPtr<ICreateErrorInfo> create;
  ASSERT_EQ(CreateErrorInfo(create.put()), S_OK);
  ComPtr<IErrorInfo> info = create.as<IErrorInfo>();
  ComPtr<IUnknown> u1 = create.as<IUnknown>();
  ComPtr<IUnknown> u2 = info.as<IUnknown>();
  EXPECT_TRUE(info);
  EXPECT_EQ(u1.get(), u2.get());
  EXPECT_FALSE(create.as<ISupportErrorInfo>());
}

}  // namespace
