// Named properties: the dictionary in both code pages, many and non-ASCII
// names, case rules, deletion by name, and the enumeration.
#include <gtest/gtest.h>

#include <string>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

class Names : public ::testing::TestWithParam<DWORD> {
 protected:
  void SetUp() override {
    root_ = MemoryStorage();
    sets_ = SetsOf(root_.get());
  }
  ComPtr<IStorage> root_;
  ComPtr<IPropertySetStorage> sets_;
};

TEST_P(Names, ManyNonAsciiNamesSurviveReopening) {
  std::vector<std::u16string> names;
  for (int i = 0; i < 300; ++i) {
    std::string digits = std::to_string(i);
    names.push_back(u"Gr\u00fc\u00dfe \u00e9t\u00e9 " + std::u16string(digits.begin(), digits.end()));
  }
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets_->Create(kTestFmtid, nullptr, GetParam(), kCreate, set.put()), S_OK);
    for (int i = 0; i < 300; ++i) {
      PropVar value;
      value.vt = VT_I4;
      value.lVal = i;
      PROPSPEC spec = Name(names[i].c_str());
      ASSERT_EQ(set->WriteMultiple(1, &spec, &value, 1000), S_OK);
    }
  }
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets_->Open(kTestFmtid, kRead, set.put()), S_OK);
  for (int i = 0; i < 300; i += 37) {
    PropVar value;
    PROPSPEC spec = Name(names[i].c_str());
    ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
    EXPECT_EQ(value.lVal, i);
  }
  PROPID id = 1000 + 299;
  LPOLESTR name = nullptr;
  ASSERT_EQ(set->ReadPropertyNames(1, &id, &name), S_OK);
  EXPECT_EQ(std::u16string(name), names[299]);
  CoTaskMemFree(name);
}

TEST_P(Names, NamesMatchIgnoringCaseUnlessCaseSensitive) {
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets_->Create(kTestFmtid, nullptr, GetParam(), kCreate, set.put()), S_OK);
  PropVar value;
  value.vt = VT_I4;
  value.lVal = 5;
  PROPSPEC write = Name(u"\u00c9cole");
  ASSERT_EQ(set->WriteMultiple(1, &write, &value, PID_FIRST_USABLE), S_OK);
  PropVar back;
  PROPSPEC read = Name(u"\u00e9COLE");
  EXPECT_EQ(set->ReadMultiple(1, &read, &back), S_OK);
  EXPECT_EQ(back.lVal, 5);
}

TEST_P(Names, CaseSensitiveSetKeepsNamesApartAndIsVersionOne) {
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets_->Create(kTestFmtid, nullptr, GetParam() | PROPSETFLAG_CASE_SENSITIVE, kCreate, set.put()), S_OK);
    PropVar value;
    value.vt = VT_I4;
    PROPSPEC upper = Name(u"Key");
    PROPSPEC lower = Name(u"key");
    value.lVal = 1;
    ASSERT_EQ(set->WriteMultiple(1, &upper, &value, PID_FIRST_USABLE), S_OK);
    value.lVal = 2;
    ASSERT_EQ(set->WriteMultiple(1, &lower, &value, PID_FIRST_USABLE), S_OK);
    PropVar back;
    ASSERT_EQ(set->ReadMultiple(1, &upper, &back), S_OK);
    EXPECT_EQ(back.lVal, 1);
    STATPROPSETSTG stat{};
    ASSERT_EQ(set->Stat(&stat), S_OK);
    EXPECT_TRUE(stat.grfFlags & PROPSETFLAG_CASE_SENSITIVE);
  }
  OLECHAR element[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, element);
  EXPECT_EQ(StreamBytes(root_.get(), element)[2], 1);
}

TEST_P(Names, DeleteByNameRemovesTheValueAndDeletePropertyNamesTheName) {
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets_->Create(kTestFmtid, nullptr, GetParam(), kCreate, set.put()), S_OK);
  PropVar value;
  value.vt = VT_I4;
  PROPSPEC spec = Name(u"gone");
  ASSERT_EQ(set->WriteMultiple(1, &spec, &value, 10), S_OK);
  ASSERT_EQ(set->DeleteMultiple(1, &spec), S_OK);
  PROPSPEC by_id = Id(10);
  PropVar back;
  EXPECT_EQ(set->ReadMultiple(1, &by_id, &back), S_FALSE);
  PROPID id = 10;
  ASSERT_EQ(set->DeletePropertyNames(1, &id), S_OK);
  LPOLESTR name = nullptr;
  EXPECT_EQ(set->ReadPropertyNames(1, &id, &name), S_FALSE);
}

TEST_P(Names, EnumListsPropertiesWithNamesButNotTheCodePage) {
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets_->Create(kTestFmtid, nullptr, GetParam(), kCreate, set.put()), S_OK);
  PropVar value;
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(u"v");
  PROPSPEC specs[] = {Id(2), Name(u"label")};
  PROPVARIANT values[] = {value, value};
  ASSERT_EQ(set->WriteMultiple(2, specs, values, 20), S_OK);
  ComPtr<IEnumSTATPROPSTG> listing;
  ASSERT_EQ(set->Enum(listing.put()), S_OK);
  STATPROPSTG stats[4]{};
  ULONG got = 0;
  EXPECT_EQ(listing->Next(4, stats, &got), S_FALSE);
  ASSERT_EQ(got, 2u);
  EXPECT_EQ(stats[0].propid, 2u);
  EXPECT_EQ(stats[0].lpwstrName, nullptr);
  EXPECT_EQ(stats[1].propid, 20u);
  EXPECT_EQ(stats[1].vt, VT_BSTR);
  EXPECT_EQ(std::u16string(stats[1].lpwstrName), u"label");
  CoTaskMemFree(stats[1].lpwstrName);
}

INSTANTIATE_TEST_SUITE_P(CodePages, Names, ::testing::Values(PROPSETFLAG_DEFAULT, PROPSETFLAG_ANSI),
                         [](const auto& info) { return info.param == PROPSETFLAG_ANSI ? "Ansi1252" : "Unicode1200"; });

}  // namespace
}  // namespace quillbox::testing
