// VariantChangeType(Ex) rules beyond the recorded vectors, table-driven:
// rounding half to even, overflow, mismatch, text of numbers, booleans and
// dates for English (United States), references, arrays, objects and
// in-place conversion.
#include <gtest/gtest.h>

#include <string>

#include "variant_reference_values.h"

namespace quillbox::testing {
namespace {

VARIANT R8(double value) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_R8;
  v.dblVal = value;
  return v;
}

VARIANT Text(const char16_t* text) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BSTR;
  v.bstrVal = SysAllocString(text);
  return v;
}

struct ToI4Case {
  double input;
  HRESULT hr;
  LONG expected;
};

TEST(CoercionRules, RealToIntegerRoundsHalfToEven) {
  const ToI4Case cases[] = {
      {0.5, S_OK, 0},   {1.5, S_OK, 2},   {2.5, S_OK, 2},   {3.5, S_OK, 4},   {-0.5, S_OK, 0},
      {-1.5, S_OK, -2}, {-2.5, S_OK, -2}, {2.4999, S_OK, 2}, {2.5001, S_OK, 3},
      {2147483647.4, S_OK, 2147483647},  {2147483647.5, DISP_E_OVERFLOW, 0},
      {-2147483648.5, S_OK, -2147483648}, {-2147483649.0, DISP_E_OVERFLOW, 0},
  };
  for (const auto& c : cases) {
    VARIANT src = R8(c.input), dest;
    VariantInit(&dest);
    ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_I4), c.hr) << c.input;
    if (SUCCEEDED(c.hr)) {
      EXPECT_EQ(dest.lVal, c.expected) << c.input;
    }
  }
}

struct TextToI2Case {
  const char16_t* text;
  HRESULT hr;
  SHORT expected;
};

TEST(CoercionRules, TextToIntegerFollowsTheLocaleGrammar) {
  const TextToI2Case cases[] = {
      {u"  42  ", S_OK, 42},  {u"1,234", S_OK, 1234}, {u"(5)", S_OK, -5},  {u"5-", S_OK, -5},
      {u"$7", S_OK, 7},       {u"2.5", S_OK, 2},      {u"3.5", S_OK, 4},   {u"1e2", S_OK, 100},
      {u"&HFFFF", S_OK, -1},  {u"&O17", S_OK, 15},    {u"&H10000", DISP_E_OVERFLOW, 0},
      {u"32768", DISP_E_OVERFLOW, 0}, {u"abc", DISP_E_TYPEMISMATCH, 0}, {u"", DISP_E_TYPEMISMATCH, 0},
      {u"1 2", DISP_E_TYPEMISMATCH, 0}, {u"50%", DISP_E_TYPEMISMATCH, 0}, {u"(1", DISP_E_TYPEMISMATCH, 0},
  };
  for (const auto& c : cases) {
    VARIANT src = Text(c.text), dest;
    VariantInit(&dest);
    EXPECT_EQ(VariantChangeType(&dest, &src, 0, VT_I2), c.hr);
    if (SUCCEEDED(c.hr)) {
      EXPECT_EQ(dest.iVal, c.expected);
    }
    VariantClear(&src);
  }
}

struct ToTextCase {
  double input;
  const char16_t* expected;
};

TEST(CoercionRules, DoublesAreWrittenWithFifteenDigits) {
  const ToTextCase cases[] = {
      {1.5, u"1.5"}, {-0.25, u"-0.25"}, {1e20, u"1E+20"}, {0.1, u"0.1"}, {1.0 / 3, u"0.333333333333333"},
      {123456789012345678.0, u"1.23456789012346E+17"}, {0.0001, u"0.0001"}, {0.00001, u"1E-05"}, {-0.0, u"0"},
  };
  for (const auto& c : cases) {
    VARIANT src = R8(c.input), dest;
    VariantInit(&dest);
    ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_BSTR), S_OK);
    EXPECT_EQ(std::u16string(dest.bstrVal), c.expected) << c.input;
    VariantClear(&dest);
  }
}

struct BoolTextCase {
  VARIANT_BOOL value;
  USHORT flags;
  const char16_t* expected;
};

TEST(CoercionRules, BooleansAreWordsOnlyWhenAsked) {
  const BoolTextCase cases[] = {
      {VARIANT_TRUE, 0, u"-1"}, {VARIANT_FALSE, 0, u"0"}, {VARIANT_TRUE, VARIANT_ALPHABOOL, u"True"},
      {VARIANT_FALSE, VARIANT_ALPHABOOL, u"False"}, {VARIANT_TRUE, VARIANT_LOCALBOOL, u"True"},
      {5, VARIANT_ALPHABOOL, u"True"},
  };
  for (const auto& c : cases) {
    VARIANT src, dest;
    VariantInit(&src);
    VariantInit(&dest);
    src.vt = VT_BOOL;
    src.boolVal = c.value;
    ASSERT_EQ(VariantChangeType(&dest, &src, c.flags, VT_BSTR), S_OK);
    EXPECT_EQ(std::u16string(dest.bstrVal), c.expected);
    VariantClear(&dest);
  }
}

struct DateTextCase {
  double date;
  const char16_t* text;
};

TEST(CoercionRules, DatesAreWrittenMonthFirstWithTwelveHourTimes) {
  const DateTextCase cases[] = {
      {36525.0, u"12/31/1999"},
      {36525.0 + (23 * 60 + 59) / 1440.0, u"12/31/1999 11:59:00 PM"},
      {(23 * 60 + 59) / 1440.0, u"11:59:00 PM"},
      {0.0, u"12:00:00 AM"},
      {-1.25, u"12/29/1899 6:00:00 AM"},
      {2958465.0, u"12/31/9999"},
  };
  for (const auto& c : cases) {
    VARIANT src, dest;
    VariantInit(&src);
    VariantInit(&dest);
    src.vt = VT_DATE;
    src.date = c.date;
    ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_BSTR), S_OK);
    EXPECT_EQ(std::u16string(dest.bstrVal), c.text);
    VariantClear(&dest);
    // And the text reads back as the same date.
    VARIANT text = Text(c.text), back;
    VariantInit(&back);
    ASSERT_EQ(VariantChangeType(&back, &text, 0, VT_DATE), S_OK) << std::string(c.text, c.text + 4);
    EXPECT_NEAR(back.date, c.date, 1e-9);
    VariantClear(&text);
  }
}

TEST(CoercionRules, TextThatIsNoDateIsAMismatch) {
  for (const char16_t* text : {u"2/30/2000", u"13/13/2000", u"25:00", u"1", u"#1/1/2000#", u"1/1/10000"}) {
    VARIANT src = Text(text), dest;
    VariantInit(&dest);
    EXPECT_EQ(VariantChangeType(&dest, &src, 0, VT_DATE), DISP_E_TYPEMISMATCH);
    VariantClear(&src);
  }
}

TEST(CoercionRules, ByReferenceSourcesAreFollowed) {
  double target = 2.5;
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_R8 | VT_BYREF;
  src.pdblVal = &target;
  ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_I2), S_OK);
  EXPECT_EQ(dest.vt, VT_I2);
  EXPECT_EQ(dest.iVal, 2);
}

TEST(CoercionRules, ByReferenceTargetIsABadType) {
  VARIANT src = R8(1), dest;
  VariantInit(&dest);
  EXPECT_EQ(VariantChangeType(&dest, &src, 0, VT_I4 | VT_BYREF), DISP_E_BADVARTYPE);
  EXPECT_EQ(VariantChangeType(&dest, &src, 0, 15), DISP_E_BADVARTYPE);
}

TEST(CoercionRules, InPlaceConversionFreesTheOldString) {
  VARIANT v = Text(u"12");
  ASSERT_EQ(VariantChangeType(&v, &v, 0, VT_I4), S_OK);
  EXPECT_EQ(v.vt, VT_I4);
  EXPECT_EQ(v.lVal, 12);
}

TEST(CoercionRules, FailedConversionLeavesTheDestinationAlone) {
  VARIANT src = Text(u"nope"), dest = Text(u"keep");
  EXPECT_EQ(VariantChangeType(&dest, &src, 0, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(std::u16string(dest.bstrVal), u"keep");
  VariantClear(&src);
  VariantClear(&dest);
}

TEST(CoercionRules, ObjectsGiveTheirDefaultValue) {
  ValueObject object(true, 42);
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_DISPATCH;
  src.pdispVal = &object;
  ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_BSTR), S_OK);
  EXPECT_EQ(std::u16string(dest.bstrVal), u"42");
  EXPECT_EQ(object.invokes(), 1);
  VariantClear(&dest);
  EXPECT_EQ(VariantChangeType(&dest, &src, VARIANT_NOVALUEPROP, VT_I4), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(object.invokes(), 1);
  EXPECT_EQ(object.references(), 1u);
}

TEST(CoercionRules, ArraysConvertOnlyToTheirOwnType) {
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_ARRAY | VT_I4;
  src.parray = SafeArrayCreateVector(VT_I4, 0, 2);
  EXPECT_EQ(VariantChangeType(&dest, &src, 0, VT_I4), DISP_E_TYPEMISMATCH);
  ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_ARRAY | VT_I4), S_OK);
  EXPECT_NE(dest.parray, src.parray);
  VariantClear(&dest);
  VariantClear(&src);
}

TEST(CoercionRules, CurrencyRoundsTheExactValueHalfToEven) {
  // k/32 are exact doubles whose value x 10,000 ends in exactly .5.
  const struct {
    double input;
    LONGLONG scaled;
  } cases[] = {{1.0 / 32, 312}, {3.0 / 32, 938}, {-1.0 / 32, -312}, {-3.0 / 32, -938}, {2.5, 25000}};
  for (const auto& c : cases) {
    VARIANT src = R8(c.input), dest;
    VariantInit(&dest);
    ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_CY), S_OK) << c.input;
    EXPECT_EQ(dest.cyVal.int64, c.scaled) << c.input;
  }
  VARIANT too_big = R8(1e15), dest;
  VariantInit(&dest);
  EXPECT_EQ(VariantChangeType(&dest, &too_big, 0, VT_CY), DISP_E_OVERFLOW);
}

TEST(CoercionRules, DecimalTextKeepsEveryDigit) {
  VARIANT src = Text(u"-79228162514264337593543950335"), dest;
  VariantInit(&dest);
  ASSERT_EQ(VariantChangeType(&dest, &src, 0, VT_DECIMAL), S_OK);
  EXPECT_EQ(dest.decVal.sign, DECIMAL_NEG);
  EXPECT_EQ(dest.decVal.Hi32, 0xFFFFFFFFu);
  EXPECT_EQ(dest.decVal.Lo64, ~0ull);
  VARIANT back;
  VariantInit(&back);
  ASSERT_EQ(VariantChangeType(&back, &dest, 0, VT_BSTR), S_OK);
  EXPECT_EQ(std::u16string(back.bstrVal), u"-79228162514264337593543950335");
  VariantClear(&back);
  VariantClear(&src);
}

// A change to the value's own type is a copy: an absent string stays absent
// rather than becoming the empty string.
TEST(CoercionRules, AbsentStringChangedToStringStaysAbsent) {
  VARIANT src;
  VariantInit(&src);
  src.vt = VT_BSTR;
  src.bstrVal = nullptr;
  VARIANT out;
  VariantInit(&out);
  ASSERT_EQ(VariantChangeType(&out, &src, 0, VT_BSTR), S_OK);
  EXPECT_EQ(out.vt, VT_BSTR);
  EXPECT_EQ(out.bstrVal, nullptr);
}

}  // namespace
}  // namespace quillbox::testing
