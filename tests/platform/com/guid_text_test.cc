// GUIDs as text: the braced upper-case form written, either case read, and
// every kind of malformed text refused with the codes Windows gives.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <unordered_set>

#include "quillbox/platform.h"

namespace {

constexpr GUID kSample = {0x8A7D0641, 0x6242, 0x11D4, {0x9F, 0x08, 0x40, 0x00, 0x04, 0x05, 0x30, 0x24}};

std::u16string TextOf(REFGUID g) {
  OLECHAR buffer[CHARS_IN_GUID];
  EXPECT_EQ(StringFromGUID2(g, buffer, CHARS_IN_GUID), CHARS_IN_GUID);
  return buffer;
}

TEST(GuidText, StringFromGuid2WritesBracedUpperCase) {
  EXPECT_EQ(TextOf(kSample), u"{8A7D0641-6242-11D4-9F08-400004053024}");
}

TEST(GuidText, StringFromGuid2RefusesShortBuffer) {
  OLECHAR buffer[CHARS_IN_GUID - 1] = {u'x'};
  EXPECT_EQ(StringFromGUID2(kSample, buffer, CHARS_IN_GUID - 1), 0);
  EXPECT_EQ(buffer[0], u'x');
}

TEST(GuidText, StringFromClsidAllocatesWithTaskAllocator) {
  LPOLESTR text = nullptr;
  ASSERT_EQ(StringFromCLSID(kSample, &text), S_OK);
  EXPECT_EQ(std::u16string(text), u"{8A7D0641-6242-11D4-9F08-400004053024}");
  CoTaskMemFree(text);
  ASSERT_EQ(StringFromIID(kSample, &text), S_OK);
  EXPECT_EQ(std::u16string(text), u"{8A7D0641-6242-11D4-9F08-400004053024}");
  CoTaskMemFree(text);
}

TEST(GuidText, ClsidFromStringReadsEitherCase) {
  CLSID g;
  ASSERT_EQ(CLSIDFromString(u"{8a7d0641-6242-11d4-9f08-400004053024}", &g), S_OK);
  EXPECT_EQ(g, kSample);
  ASSERT_EQ(CLSIDFromString(u"{8A7d0641-6242-11D4-9f08-400004053024}", &g), S_OK);
  EXPECT_EQ(g, kSample);
}

TEST(GuidText, RoundTripsThroughTextForRandomGuids) {
  for (int i = 0; i < 100; ++i) {
    GUID g;
    ASSERT_EQ(CoCreateGuid(&g), S_OK);
    IID back;
    ASSERT_EQ(IIDFromString(TextOf(g).c_str(), &back), S_OK);
    EXPECT_EQ(back, g);
  }
}

TEST(GuidText, NullTextGivesNullGuid) {
  CLSID c = kSample;
  EXPECT_EQ(CLSIDFromString(nullptr, &c), S_OK);
  EXPECT_EQ(c, CLSID_NULL);
  IID i = kSample;
  EXPECT_EQ(IIDFromString(nullptr, &i), S_OK);
  EXPECT_EQ(i, IID_NULL);
}

class MalformedGuidText : public ::testing::TestWithParam<const char16_t*> {};

TEST_P(MalformedGuidText, ClsidFromStringRefusesWithClassString) {
  CLSID g = kSample;
  EXPECT_EQ(CLSIDFromString(GetParam(), &g), CO_E_CLASSSTRING);
  EXPECT_EQ(g, kSample) << "the output is left alone on failure";
}

TEST_P(MalformedGuidText, IidFromStringRefusesWithInvalidArg) {
  IID g = kSample;
  EXPECT_EQ(IIDFromString(GetParam(), &g), E_INVALIDARG);
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, MalformedGuidText,
    ::testing::Values(u"{8A7D0641-6242-11D4-9F08-40000405302}",     // one digit short
                      u"{8A7D0641-6242-11D4-9F08-4000040530245}",   // one digit long
                      u"{8A7D0641-6242-11D4-9F08-40000405302G}",    // not a hex digit
                      u"{8A7D0641-6242-11D4-9F08+400004053024}",    // wrong separator
                      u"{8A7D06416-242-11D4-9F08-400004053024}",    // dash moved
                      u"{8A7D0641-6242-11D4-9F08-400004053024",     // no closing brace
                      u"{8A7D0641-6242-11D4-9F08-400004053024)",    // wrong closing brace
                      u"{ 8A7D0641-6242-11D4-9F08-40000405302}",    // blank inside
                      u"{8A7D0641-6242-11D4-9F-08400004053024}",    // dash inside Data4
                      u"{}", u"{"));

TEST(GuidText, IidFromStringRefusesTextWithoutBraces) {
  IID g;
  EXPECT_EQ(IIDFromString(u"8A7D0641-6242-11D4-9F08-400004053024", &g), E_INVALIDARG);
  EXPECT_EQ(IIDFromString(u"", &g), E_INVALIDARG);
}

TEST(GuidText, ClsidFromStringTakesOtherTextAsUnknownProgId) {
  CLSID g;
  EXPECT_EQ(CLSIDFromString(u"8A7D0641-6242-11D4-9F08-400004053024", &g), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromString(u"No.Such.ProgId", &g), CO_E_CLASSSTRING);
  EXPECT_EQ(CLSIDFromString(u"", &g), CO_E_CLASSSTRING);
}

TEST(GuidText, NullOutputIsRefused) {
  EXPECT_EQ(CLSIDFromString(u"{8A7D0641-6242-11D4-9F08-400004053024}", nullptr), E_INVALIDARG);
  EXPECT_EQ(IIDFromString(u"{8A7D0641-6242-11D4-9F08-400004053024}", nullptr), E_INVALIDARG);
  EXPECT_EQ(StringFromCLSID(kSample, nullptr), E_INVALIDARG);
}

TEST(Guid, CoCreateGuidGivesVersion4WithStandardVariant) {
  for (int i = 0; i < 200; ++i) {
    GUID g;
    ASSERT_EQ(CoCreateGuid(&g), S_OK);
    EXPECT_EQ(g.Data3 >> 12, 4);
    EXPECT_EQ(g.Data4[0] & 0xC0, 0x80);
  }
}

TEST(Guid, CoCreateGuidGivesDistinctValues) {
  std::unordered_set<GUID> seen;
  for (int i = 0; i < 1000; ++i) {
    GUID g;
    ASSERT_EQ(CoCreateGuid(&g), S_OK);
    EXPECT_TRUE(seen.insert(g).second);
  }
}

TEST(Guid, EqualityComparesAllSixteenBytes) {
  GUID other = kSample;
  EXPECT_TRUE(IsEqualGUID(other, kSample));
  other.Data4[7] ^= 1;
  EXPECT_FALSE(IsEqualGUID(other, kSample));
  EXPECT_NE(other, kSample);
}

TEST(Guid, OrderingFollowsTheText) {
  const GUID a = {0x00000001, 0xFFFF, 0, {0}};
  const GUID b = {0x00000002, 0x0000, 0, {0}};
  GUID c = b;
  c.Data4[7] = 1;
  std::set<GUID> sorted = {c, b, a};
  std::vector<GUID> order(sorted.begin(), sorted.end());
  EXPECT_EQ(order, (std::vector<GUID>{a, b, c}));
  EXPECT_LT(TextOf(a), TextOf(b));
  EXPECT_LT(TextOf(b), TextOf(c));
}

TEST(Guid, HashAgreesWithEquality) {
  GUID copy = kSample;
  EXPECT_EQ(std::hash<GUID>{}(copy), std::hash<GUID>{}(kSample));
}

}  // namespace
