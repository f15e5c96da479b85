// VariantInit, VariantClear, VariantCopy and VariantCopyInd: what a variant
// owns is freed once, copies are deep, references are followed once.
#include <gtest/gtest.h>

#include <cstring>

#include "variant_reference_values.h"

namespace quillbox::testing {
namespace {

BSTR MakeBstr(const char16_t* text) { return SysAllocString(text); }

TEST(VariantLifecycle, InitMakesEmpty) {
  VARIANT v;
  std::memset(&v, 0xAB, sizeof v);
  VariantInit(&v);
  EXPECT_EQ(v.vt, VT_EMPTY);
}

TEST(VariantLifecycle, LayoutMatchesWindows) {
  EXPECT_EQ(sizeof(VARIANT), 24u);
  EXPECT_EQ(offsetof(VARIANT, lVal), 8u);
  EXPECT_EQ(offsetof(VARIANT, decVal), 0u);
  VARIANT v;
  VariantInit(&v);
  v.decVal.Lo64 = 5;
  v.vt = VT_DECIMAL;  // vt shares its bytes with DECIMAL's wReserved
  EXPECT_EQ(v.decVal.wReserved, VT_DECIMAL);
  EXPECT_EQ(v.decVal.Lo64, 5u);
}

TEST(VariantLifecycle, ClearReleasesTheObject) {
  ValueObject object(true, 1);
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_DISPATCH;
  v.pdispVal = &object;
  object.AddRef();
  ASSERT_EQ(object.references(), 2u);
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(object.references(), 1u);
  EXPECT_EQ(v.vt, VT_EMPTY);
}

TEST(VariantLifecycle, ClearOfByReferenceLeavesTheTargetAlone) {
  BSTR s = MakeBstr(u"kept");
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BSTR | VT_BYREF;
  v.pbstrVal = &s;
  EXPECT_EQ(VariantClear(&v), S_OK);
  EXPECT_EQ(SysStringLen(s), 4u);  // still alive (ASan would report a use after free)
  SysFreeString(s);
}

TEST(VariantLifecycle, ClearOfUnknownTypeIsBadVartype) {
  VARIANT v;
  VariantInit(&v);
  v.vt = 15;  // no such type
  EXPECT_EQ(VariantClear(&v), DISP_E_BADVARTYPE);
  v.vt = VT_EMPTY | VT_BYREF;
  EXPECT_EQ(VariantClear(&v), DISP_E_BADVARTYPE);
}

TEST(VariantLifecycle, ClearOfLockedArrayIsRefused) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_ARRAY | VT_I4;
  v.parray = SafeArrayCreateVector(VT_I4, 0, 3);
  ASSERT_EQ(SafeArrayLock(v.parray), S_OK);
  EXPECT_EQ(VariantClear(&v), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(v.vt, VT_ARRAY | VT_I4);
  ASSERT_EQ(SafeArrayUnlock(v.parray), S_OK);
  EXPECT_EQ(VariantClear(&v), S_OK);
}

TEST(VariantLifecycle, CopyDuplicatesTheStringBytes) {
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_BSTR;
  const char bytes[] = {'a', 0, 0, 0, 'b'};  // odd length with embedded zeros
  src.bstrVal = SysAllocStringByteLen(bytes, sizeof bytes);
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  ASSERT_EQ(dest.vt, VT_BSTR);
  EXPECT_NE(dest.bstrVal, src.bstrVal);
  ASSERT_EQ(SysStringByteLen(dest.bstrVal), sizeof bytes);
  EXPECT_EQ(std::memcmp(dest.bstrVal, bytes, sizeof bytes), 0);
  VariantClear(&src);
  VariantClear(&dest);
}

TEST(VariantLifecycle, CopyTakesAReferenceOnTheObject) {
  ValueObject object(true, 1);
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_UNKNOWN;
  src.punkVal = &object;
  object.AddRef();
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(object.references(), 3u);
  VariantClear(&dest);
  VariantClear(&src);
  EXPECT_EQ(object.references(), 1u);
}

TEST(VariantLifecycle, CopyOfArrayIsDeep) {
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_ARRAY | VT_BSTR;
  src.parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
  LONG index = 1;
  BSTR text = MakeBstr(u"two");
  ASSERT_EQ(SafeArrayPutElement(src.parray, &index, text), S_OK);
  SysFreeString(text);
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  ASSERT_NE(dest.parray, src.parray);
  BSTR* a = static_cast<BSTR*>(src.parray->pvData);
  BSTR* b = static_cast<BSTR*>(dest.parray->pvData);
  EXPECT_NE(a[1], b[1]);
  EXPECT_EQ(std::u16string(b[1]), u"two");
  VariantClear(&src);
  EXPECT_EQ(std::u16string(b[1]), u"two");
  VariantClear(&dest);
}

TEST(VariantLifecycle, CopyReplacesWhatTheDestinationHeld) {
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  dest.vt = VT_BSTR;
  dest.bstrVal = MakeBstr(u"old");  // freed by the copy (ASan checks the leak)
  src.vt = VT_I4;
  src.lVal = 7;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(dest.vt, VT_I4);
  EXPECT_EQ(dest.lVal, 7);
}

TEST(VariantLifecycle, CopyOfByReferenceCopiesThePointer) {
  LONG target = 5;
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_I4 | VT_BYREF;
  src.plVal = &target;
  ASSERT_EQ(VariantCopy(&dest, &src), S_OK);
  EXPECT_EQ(dest.vt, VT_I4 | VT_BYREF);
  EXPECT_EQ(dest.plVal, &target);
}

TEST(VariantLifecycle, CopyIndFollowsTheReference) {
  BSTR s = MakeBstr(u"text");
  VARIANT src, dest;
  VariantInit(&src);
  VariantInit(&dest);
  src.vt = VT_BSTR | VT_BYREF;
  src.pbstrVal = &s;
  ASSERT_EQ(VariantCopyInd(&dest, &src), S_OK);
  EXPECT_EQ(dest.vt, VT_BSTR);
  EXPECT_NE(dest.bstrVal, s);
  EXPECT_EQ(std::u16string(dest.bstrVal), u"text");
  VariantClear(&dest);
  SysFreeString(s);
}

TEST(VariantLifecycle, CopyIndOfVariantReferenceCopiesTheInnerValue) {
  VARIANT inner, src, dest;
  VariantInit(&inner);
  VariantInit(&src);
  VariantInit(&dest);
  inner.vt = VT_R8;
  inner.dblVal = 2.5;
  src.vt = VT_VARIANT | VT_BYREF;
  src.pvarVal = &inner;
  ASSERT_EQ(VariantCopyInd(&dest, &src), S_OK);
  EXPECT_EQ(dest.vt, VT_R8);
  EXPECT_EQ(dest.dblVal, 2.5);
}

TEST(VariantLifecycle, CopyIndRefusesAReferenceToAReference) {
  LONG target = 1;
  VARIANT innermost, inner, src, dest;
  VariantInit(&innermost);
  VariantInit(&inner);
  VariantInit(&src);
  VariantInit(&dest);
  innermost.vt = VT_I4 | VT_BYREF;
  innermost.plVal = &target;
  inner.vt = VT_VARIANT | VT_BYREF;
  inner.pvarVal = &innermost;
  src.vt = VT_VARIANT | VT_BYREF;
  src.pvarVal = &inner;
  EXPECT_EQ(VariantCopyInd(&dest, &src), E_INVALIDARG);
}

TEST(VariantLifecycle, CopyIndInPlaceReplacesTheReference) {
  DECIMAL d{};
  d.Lo64 = 12345;
  d.scale = 2;
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_DECIMAL | VT_BYREF;
  v.pdecVal = &d;
  ASSERT_EQ(VariantCopyInd(&v, &v), S_OK);
  EXPECT_EQ(v.vt, VT_DECIMAL);
  EXPECT_EQ(v.decVal.Lo64, 12345u);
  EXPECT_EQ(v.decVal.scale, 2);
}

}  // namespace
}  // namespace quillbox::testing
