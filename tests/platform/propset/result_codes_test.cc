// Result codes of IPropertyStorage and IPropertySetStorage as Windows gives
// them for misuse, foreign text and mismatched sets.
#include <gtest/gtest.h>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

class ResultCodes : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = MemoryStorage();
    sets_ = SetsOf(root_.get());
  }
  ComPtr<IPropertyStorage> Make(DWORD flags) {
    ComPtr<IPropertyStorage> set;
    EXPECT_EQ(sets_->Create(kTestFmtid, nullptr, flags, kCreate, set.put()), S_OK);
    return set;
  }
  ComPtr<IStorage> root_;
  ComPtr<IPropertySetStorage> sets_;
};

TEST_F(ResultCodes, DictionaryIdCannotBeWritten) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PropVar value;
  value.vt = VT_I4;
  PROPSPEC spec = Id(PID_DICTIONARY);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_INVALIDPARAMETER);
}

TEST_F(ResultCodes, CodePageWithWrongTypeIsInvalidParameter) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PropVar value;
  value.vt = VT_I4;
  value.lVal = 1252;
  PROPSPEC spec = Id(PID_CODEPAGE);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_INVALIDPARAMETER);
}

TEST_F(ResultCodes, CodePageAsI2IsAcceptedOnAnEmptySet) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PropVar value;
  value.vt = VT_I2;
  value.iVal = 1252;
  PROPSPEC spec = Id(PID_CODEPAGE);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  STATPROPSETSTG stat{};
  ASSERT_EQ(set->Stat(&stat), S_OK);
  EXPECT_TRUE(stat.grfFlags & PROPSETFLAG_ANSI);
}

TEST_F(ResultCodes, StreamValueInSimpleSetIsPropsetMismatched) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PropVar value;
  value.vt = VT_STREAM;
  PROPSPEC spec = Id(2);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_PROPSETMISMATCHED);
  value.vt = VT_STORAGE;
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_PROPSETMISMATCHED);
  value.vt = VT_EMPTY;
}

TEST_F(ResultCodes, TextOutsideTheAnsiCodePageIsNoUnicodeTranslation) {
  auto set = Make(PROPSETFLAG_ANSI);
  PropVar value;
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(u"\u4e2d\u6587");
  PROPSPEC spec = Id(2);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), static_cast<HRESULT>(0x80070459));
}

TEST_F(ResultCodes, NameOutsideTheAnsiCodePageIsNoUnicodeTranslation) {
  auto set = Make(PROPSETFLAG_ANSI);
  PROPID id = 3;
  LPOLESTR name = const_cast<LPOLESTR>(u"\u0416\u4e2d");
  EXPECT_EQ(set->WritePropertyNames(1, &id, &name), static_cast<HRESULT>(0x80070459));
  LPOLESTR back = nullptr;
  EXPECT_EQ(set->ReadPropertyNames(1, &id, &back), S_FALSE);  // nothing was kept
}

TEST_F(ResultCodes, ReadOnlySetRefusesWrites) {
  { Make(PROPSETFLAG_DEFAULT); }
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets_->Open(kTestFmtid, STGM_READ | STGM_SHARE_EXCLUSIVE, set.put()), S_OK);
  PropVar value;
  value.vt = VT_I4;
  PROPSPEC spec = Id(2);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_ACCESSDENIED);
  EXPECT_EQ(set->DeleteMultiple(1, &spec), STG_E_ACCESSDENIED);
}

TEST_F(ResultCodes, OpenOfMissingSetIsFileNotFound) {
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(sets_->Open(kTestFmtid, STGM_READ | STGM_SHARE_EXCLUSIVE, set.put()), STG_E_FILENOTFOUND);
}

TEST_F(ResultCodes, CreateOverExistingSetWithoutCreateFlagIsAlreadyExists) {
  { Make(PROPSETFLAG_DEFAULT); }
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(sets_->Create(kTestFmtid, nullptr, 0, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, set.put()),
            STG_E_FILEALREADYEXISTS);
}

TEST_F(ResultCodes, CreateWithoutExclusiveShareIsInvalidFlag) {
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(sets_->Create(kTestFmtid, nullptr, 0, STGM_CREATE | STGM_READWRITE | STGM_SHARE_DENY_NONE, set.put()),
            STG_E_INVALIDFLAG);
}

TEST_F(ResultCodes, ReservedIdsAboveLocaleAreRefused) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PropVar value;
  value.vt = VT_I4;
  PROPSPEC spec = Id(PID_ILLEGAL);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_INVALIDPARAMETER);
}

TEST_F(ResultCodes, ReadOfMissingPropertiesIsFalseWithEmptyValues) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PROPSPEC specs[] = {Id(7), Name(u"nobody")};
  PROPVARIANT values[2];
  EXPECT_EQ(set->ReadMultiple(2, specs, values), S_FALSE);
  EXPECT_EQ(values[0].vt, VT_EMPTY);
  EXPECT_EQ(values[1].vt, VT_EMPTY);
}

TEST_F(ResultCodes, ByrefValueIsInvalidParameter) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  LONG target = 0;
  PROPVARIANT value{};
  value.vt = VT_BYREF | VT_I4;
  value.plVal = &target;
  PROPSPEC spec = Id(2);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), STG_E_INVALIDPARAMETER);
}

TEST_F(ResultCodes, NamedWriteWithUnusableFirstIdIsInvalidParameter) {
  auto set = Make(PROPSETFLAG_DEFAULT);
  PropVar value;
  value.vt = VT_I4;
  PROPSPEC spec = Name(u"fresh");
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, 1), STG_E_INVALIDPARAMETER);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_LOCALE), STG_E_INVALIDPARAMETER);
}

TEST_F(ResultCodes, StgCreatePropSetStgWithReservedValueIsInvalidParameter) {
  ComPtr<IPropertySetStorage> sets;
  EXPECT_EQ(StgCreatePropSetStg(root_.get(), 1, sets.put()), STG_E_INVALIDPARAMETER);
}

}  // namespace
}  // namespace quillbox::testing
