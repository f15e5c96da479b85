// The user-defined set: the second section of the document summary stream,
// made, opened and deleted there, and left out of Enum.
#include <gtest/gtest.h>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

uint32_t U32At(const std::vector<uint8_t>& bytes, size_t at) {
  return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | static_cast<uint32_t>(bytes[at + 3]) << 24;
}

class UserDefined : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = MemoryStorage();
    sets_ = SetsOf(root_.get());
  }
  void WriteNamed(IPropertyStorage* set, const char16_t* name, LONG number) {
    PropVar value;
    value.vt = VT_I4;
    value.lVal = number;
    PROPSPEC spec = Name(name);
    ASSERT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  }
  ComPtr<IStorage> root_;
  ComPtr<IPropertySetStorage> sets_;
};

TEST_F(UserDefined, CreateMakesSecondSectionOfDocumentSummaryStream) {
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets_->Create(FMTID_UserDefinedProperties, nullptr, 0, kCreate, set.put()), S_OK);
    WriteNamed(set.get(), u"Client", 7);
  }
  const std::vector<uint8_t> bytes = StreamBytes(root_.get(), u"\005DocumentSummaryInformation");
  ASSERT_GE(bytes.size(), 68u);
  EXPECT_EQ(U32At(bytes, 24), 2u);  // two sections
  FMTID first{}, second{};
  std::memcpy(&first, &bytes[28], 16);
  std::memcpy(&second, &bytes[48], 16);
  EXPECT_TRUE(IsEqualGUID(first, FMTID_DocSummaryInformation));
  EXPECT_TRUE(IsEqualGUID(second, FMTID_UserDefinedProperties));
}

TEST_F(UserDefined, DocumentSummaryAndUserDefinedKeepEachOther) {
  {
    ComPtr<IPropertyStorage> summary;
    ASSERT_EQ(sets_->Create(FMTID_DocSummaryInformation, nullptr, 0, kCreate, summary.put()), S_OK);
    PropVar company;
    company.vt = VT_BSTR;
    company.bstrVal = SysAllocString(u"Example Corp");
    PROPSPEC spec = Id(PIDDSI_COMPANY);
    ASSERT_EQ(summary->WriteMultiple(1, &spec, &company, PID_FIRST_USABLE), S_OK);
  }
  {
    ComPtr<IPropertyStorage> user;
    ASSERT_EQ(sets_->Create(FMTID_UserDefinedProperties, nullptr, 0, kCreate, user.put()), S_OK);
    WriteNamed(user.get(), u"Approved", 1);
  }
  ComPtr<IPropertyStorage> summary;
  ASSERT_EQ(sets_->Open(FMTID_DocSummaryInformation, kWrite, summary.put()), S_OK);
  PropVar company;
  PROPSPEC spec = Id(PIDDSI_COMPANY);
  ASSERT_EQ(summary->ReadMultiple(1, &spec, &company), S_OK);
  EXPECT_EQ(std::u16string(company.bstrVal), u"Example Corp");
  summary = nullptr;
  ComPtr<IPropertyStorage> user;
  ASSERT_EQ(sets_->Open(FMTID_UserDefinedProperties, kWrite, user.put()), S_OK);
  PropVar approved;
  PROPSPEC named = Name(u"Approved");
  ASSERT_EQ(user->ReadMultiple(1, &named, &approved), S_OK);
  EXPECT_EQ(approved.lVal, 1);
  STATPROPSETSTG stat{};
  ASSERT_EQ(user->Stat(&stat), S_OK);
  EXPECT_TRUE(IsEqualGUID(stat.fmtid, FMTID_UserDefinedProperties));
}

TEST_F(UserDefined, OpenWithoutSecondSectionIsFileNotFound) {
  { ComPtr<IPropertyStorage> summary; ASSERT_EQ(sets_->Create(FMTID_DocSummaryInformation, nullptr, 0, kCreate, summary.put()), S_OK); }
  ComPtr<IPropertyStorage> user;
  EXPECT_EQ(sets_->Open(FMTID_UserDefinedProperties, kWrite, user.put()), STG_E_FILENOTFOUND);
}

TEST_F(UserDefined, DeleteRemovesOnlyTheSecondSection) {
  { ComPtr<IPropertyStorage> user; ASSERT_EQ(sets_->Create(FMTID_UserDefinedProperties, nullptr, 0, kCreate, user.put()), S_OK); }
  ASSERT_EQ(sets_->Delete(FMTID_UserDefinedProperties), S_OK);
  const std::vector<uint8_t> bytes = StreamBytes(root_.get(), u"\005DocumentSummaryInformation");
  ASSERT_GE(bytes.size(), 28u);
  EXPECT_EQ(U32At(bytes, 24), 1u);
  ComPtr<IPropertyStorage> summary;
  EXPECT_EQ(sets_->Open(FMTID_DocSummaryInformation, kWrite, summary.put()), S_OK);
  summary = nullptr;
  EXPECT_EQ(sets_->Delete(FMTID_UserDefinedProperties), STG_E_FILENOTFOUND);
}

TEST_F(UserDefined, EnumListsDocumentSummaryButNotUserDefined) {
  { ComPtr<IPropertyStorage> user; ASSERT_EQ(sets_->Create(FMTID_UserDefinedProperties, nullptr, 0, kCreate, user.put()), S_OK); }
  { ComPtr<IPropertyStorage> other; ASSERT_EQ(sets_->Create(kTestFmtid, nullptr, PROPSETFLAG_ANSI, kCreate, other.put()), S_OK); }
  ComPtr<IEnumSTATPROPSETSTG> listing;
  ASSERT_EQ(sets_->Enum(listing.put()), S_OK);
  STATPROPSETSTG stats[4]{};
  ULONG got = 0;
  listing->Next(4, stats, &got);
  ASSERT_EQ(got, 2u);
  int summary = 0, test = 0;
  for (ULONG i = 0; i < got; ++i) {
    EXPECT_FALSE(IsEqualGUID(stats[i].fmtid, FMTID_UserDefinedProperties));
    summary += IsEqualGUID(stats[i].fmtid, FMTID_DocSummaryInformation);
    if (IsEqualGUID(stats[i].fmtid, kTestFmtid)) {
      ++test;
      EXPECT_TRUE(stats[i].grfFlags & PROPSETFLAG_ANSI);
    }
  }
  EXPECT_EQ(summary, 1);
  EXPECT_EQ(test, 1);
}

TEST_F(UserDefined, ElementNamesFollowTheFmtid) {
  OLECHAR name[CCH_MAX_PROPSTG_NAME + 1];
  ASSERT_EQ(FmtIdToPropStgName(&FMTID_SummaryInformation, name), S_OK);
  EXPECT_EQ(std::u16string(name), u"\005SummaryInformation");
  ASSERT_EQ(FmtIdToPropStgName(&kTestFmtid, name), S_OK);
  EXPECT_EQ(std::u16string(name).size(), 27u);
  FMTID back{};
  ASSERT_EQ(PropStgNameToFmtId(name, &back), S_OK);
  EXPECT_TRUE(IsEqualGUID(back, kTestFmtid));
  EXPECT_EQ(PropStgNameToFmtId(const_cast<LPOLESTR>(u"\005CompObj"), &back), STG_E_INVALIDNAME);
}

TEST_F(UserDefined, Base32NameOfKnownFmtidMatchesHandEncoding) {
  // FMTID bytes 00 00 .. 00 01 (last byte 0x01): bit 120 set, which is bit
  // 0 of character 24 ('b'); every other character is 'a'.
  const FMTID fmtid = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}};
  OLECHAR name[CCH_MAX_PROPSTG_NAME + 1];
  ASSERT_EQ(FmtIdToPropStgName(&fmtid, name), S_OK);
  EXPECT_EQ(std::u16string(name), u"\005aaaaaaaaaaaaaaaaaaaaaaaaba");
}

}  // namespace
}  // namespace quillbox::testing
