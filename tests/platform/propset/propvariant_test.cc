// PropVariantCopy, PropVariantClear and PropVariantChangeType.
#include <gtest/gtest.h>

#include <cstring>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

TEST(PropVariant, CopyOfStringVectorIsDeep) {
  PropVar source;
  source.vt = VT_VECTOR | VT_LPWSTR;
  source.calpwstr.cElems = 1;
  source.calpwstr.pElems = static_cast<LPWSTR*>(CoTaskMemAlloc(sizeof(LPWSTR)));
  source.calpwstr.pElems[0] = static_cast<LPWSTR>(CoTaskMemAlloc(6));
  std::memcpy(source.calpwstr.pElems[0], u"ab", 6);
  PropVar copy;
  ASSERT_EQ(PropVariantCopy(&copy, &source), S_OK);
  EXPECT_NE(copy.calpwstr.pElems[0], source.calpwstr.pElems[0]);
  EXPECT_EQ(std::u16string(copy.calpwstr.pElems[0]), u"ab");
}

TEST(PropVariant, ClearOfUnknownTypeIsInvalidParameter) {
  PROPVARIANT value{};
  value.vt = 0x7F;
  EXPECT_EQ(PropVariantClear(&value), STG_E_INVALIDPARAMETER);
}

TEST(PropVariant, ChangeTypeTurnsLpwstrIntoI4AndBack) {
  PropVar source;
  source.vt = VT_LPWSTR;
  source.pwszVal = static_cast<LPWSTR>(CoTaskMemAlloc(6));
  std::memcpy(source.pwszVal, u"42", 6);
  PropVar number;
  ASSERT_EQ(PropVariantChangeType(&number, source, PVCHF_DEFAULT, VT_I4), S_OK);
  EXPECT_EQ(number.vt, VT_I4);
  EXPECT_EQ(number.lVal, 42);
  PropVar text;
  ASSERT_EQ(PropVariantChangeType(&text, number, PVCHF_DEFAULT, VT_LPSTR), S_OK);
  EXPECT_STREQ(text.pszVal, "42");
}

}  // namespace
}  // namespace quillbox::testing
