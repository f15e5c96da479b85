// Safe arrays of strings, variants and objects own their elements: puts and
// gets copy, copies are deep, destruction frees and releases. Run under
// ASan, a double free or a leak here fails the build's sanitizer job.
#include <gtest/gtest.h>

#include <string>

#include "variant_reference_values.h"

namespace quillbox::testing {
namespace {

TEST(SafeArrayOwnership, PutElementStoresACopyOfTheString) {
  SAFEARRAY* psa = SafeArrayCreateVector(VT_BSTR, 0, 2);
  BSTR text = SysAllocString(u"hello");
  LONG index = 0;
  ASSERT_EQ(SafeArrayPutElement(psa, &index, text), S_OK);
  BSTR stored = static_cast<BSTR*>(psa->pvData)[0];
  EXPECT_NE(stored, text);
  EXPECT_EQ(std::u16string(stored), u"hello");
  SysFreeString(text);
  // Putting again frees the previous string.
  BSTR other = SysAllocString(u"world");
  ASSERT_EQ(SafeArrayPutElement(psa, &index, other), S_OK);
  SysFreeString(other);
  EXPECT_EQ(SafeArrayDestroy(psa), S_OK);
}

TEST(SafeArrayOwnership, GetElementHandsOutACopy) {
  SAFEARRAY* psa = SafeArrayCreateVector(VT_BSTR, 0, 1);
  BSTR text = SysAllocString(u"abc");
  LONG index = 0;
  ASSERT_EQ(SafeArrayPutElement(psa, &index, text), S_OK);
  BSTR out = nullptr;
  ASSERT_EQ(SafeArrayGetElement(psa, &index, &out), S_OK);
  EXPECT_NE(out, static_cast<BSTR*>(psa->pvData)[0]);
  EXPECT_EQ(std::u16string(out), u"abc");
  SysFreeString(out);
  SysFreeString(text);
  SafeArrayDestroy(psa);
}

TEST(SafeArrayOwnership, ObjectsAreReferencedAndReleased) {
  ValueObject object(true, 1);
  SAFEARRAY* psa = SafeArrayCreateVector(VT_DISPATCH, 0, 3);
  for (LONG i = 0; i < 3; ++i) ASSERT_EQ(SafeArrayPutElement(psa, &i, static_cast<IDispatch*>(&object)), S_OK);
  EXPECT_EQ(object.references(), 4u);
  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(psa, &copy), S_OK);
  EXPECT_EQ(object.references(), 7u);
  IDispatch* got = nullptr;
  LONG index = 2;
  ASSERT_EQ(SafeArrayGetElement(copy, &index, &got), S_OK);
  EXPECT_EQ(got, &object);
  EXPECT_EQ(object.references(), 8u);
  got->Release();
  EXPECT_EQ(SafeArrayDestroy(psa), S_OK);
  EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
  EXPECT_EQ(object.references(), 1u);
}

TEST(SafeArrayOwnership, VariantElementsCopyDeeply) {
  ValueObject object(true, 1);
  SAFEARRAY* psa = SafeArrayCreateVector(VT_VARIANT, 1, 2);
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BSTR;
  v.bstrVal = SysAllocString(u"in a variant");
  LONG index = 1;
  ASSERT_EQ(SafeArrayPutElement(psa, &index, &v), S_OK);
  VariantClear(&v);
  v.vt = VT_UNKNOWN;
  v.punkVal = &object;
  object.AddRef();
  index = 2;
  ASSERT_EQ(SafeArrayPutElement(psa, &index, &v), S_OK);
  VariantClear(&v);
  EXPECT_EQ(object.references(), 2u);
  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(psa, &copy), S_OK);
  const VARIANT* a = static_cast<VARIANT*>(psa->pvData);
  const VARIANT* b = static_cast<VARIANT*>(copy->pvData);
  EXPECT_NE(a[0].bstrVal, b[0].bstrVal);
  EXPECT_EQ(std::u16string(b[0].bstrVal), u"in a variant");
  EXPECT_EQ(object.references(), 3u);
  SafeArrayDestroy(psa);
  SafeArrayDestroy(copy);
  EXPECT_EQ(object.references(), 1u);
}

TEST(SafeArrayOwnership, LockedArrayRefusesDestroy) {
  SAFEARRAY* psa = SafeArrayCreateVector(VT_BSTR, 0, 1);
  ASSERT_EQ(SafeArrayLock(psa), S_OK);
  EXPECT_EQ(SafeArrayDestroy(psa), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayDestroyData(psa), DISP_E_ARRAYISLOCKED);
  SAFEARRAYBOUND bound{4, 0};
  EXPECT_EQ(SafeArrayRedim(psa, &bound), DISP_E_ARRAYISLOCKED);
  ASSERT_EQ(SafeArrayUnlock(psa), S_OK);
  EXPECT_EQ(SafeArrayUnlock(psa), E_UNEXPECTED);
  EXPECT_EQ(SafeArrayDestroy(psa), S_OK);
}

TEST(SafeArrayOwnership, IndexOutsideTheBoundsIsBadIndex) {
  SAFEARRAYBOUND bounds[2] = {{2, -1}, {3, 5}};
  SAFEARRAY* psa = SafeArrayCreate(VT_I4, 2, bounds);
  LONG value = 9;
  LONG inside[2] = {0, 7};
  LONG below[2] = {-2, 5};
  LONG above[2] = {0, 8};
  EXPECT_EQ(SafeArrayPutElement(psa, inside, &value), S_OK);
  EXPECT_EQ(SafeArrayPutElement(psa, below, &value), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetElement(psa, above, &value), DISP_E_BADINDEX);
  void* where = nullptr;
  EXPECT_EQ(SafeArrayPtrOfIndex(psa, above, &where), DISP_E_BADINDEX);
  // Leftmost index varies fastest: {0, 7} is element (0 - -1) + (7 - 5) * 2 = 5.
  ASSERT_EQ(SafeArrayPtrOfIndex(psa, inside, &where), S_OK);
  EXPECT_EQ(static_cast<LONG*>(where) - static_cast<LONG*>(psa->pvData), 5);
  SafeArrayDestroy(psa);
}

TEST(SafeArrayOwnership, RedimShrinkFreesTheDroppedStrings) {
  SAFEARRAY* psa = SafeArrayCreateVector(VT_BSTR, 0, 4);
  for (LONG i = 0; i < 4; ++i) {
    BSTR s = SysAllocString(u"x");
    SafeArrayPutElement(psa, &i, s);
    SysFreeString(s);
  }
  SAFEARRAYBOUND smaller{1, 0};
  ASSERT_EQ(SafeArrayRedim(psa, &smaller), S_OK);
  LONG ubound = 0;
  ASSERT_EQ(SafeArrayGetUBound(psa, 1, &ubound), S_OK);
  EXPECT_EQ(ubound, 0);
  SafeArrayDestroy(psa);  // ASan: no leak of elements 1..3, no double free
}

TEST(SafeArrayOwnership, VartypeOfInterfaceArraysComesFromTheIid) {
  SAFEARRAY* dispatches = SafeArrayCreateVector(VT_DISPATCH, 0, 1);
  SAFEARRAY* unknowns = SafeArrayCreateVector(VT_UNKNOWN, 0, 1);
  VARTYPE vt = 0;
  ASSERT_EQ(SafeArrayGetVartype(dispatches, &vt), S_OK);
  EXPECT_EQ(vt, VT_DISPATCH);
  ASSERT_EQ(SafeArrayGetVartype(unknowns, &vt), S_OK);
  EXPECT_EQ(vt, VT_UNKNOWN);
  SafeArrayDestroy(dispatches);
  SafeArrayDestroy(unknowns);
}

TEST(SafeArrayOwnership, HugeBoundsAreRefusedNotAllocated) {
  SAFEARRAYBOUND bounds[3] = {{0x10000, 0}, {0x10000, 0}, {0x10000, 0}};
  EXPECT_EQ(SafeArrayCreate(VT_VARIANT, 3, bounds), nullptr);
  EXPECT_EQ(SafeArrayCreate(VT_I4, 0, bounds), nullptr);
}

TEST(SafeArrayOwnership, CopyDataRequiresTheSameShape) {
  SAFEARRAY* a = SafeArrayCreateVector(VT_I4, 0, 3);
  SAFEARRAY* b = SafeArrayCreateVector(VT_I4, 0, 3);
  SAFEARRAY* c = SafeArrayCreateVector(VT_I4, 1, 3);
  static_cast<LONG*>(a->pvData)[2] = 42;
  ASSERT_EQ(SafeArrayCopyData(a, b), S_OK);
  EXPECT_EQ(static_cast<LONG*>(b->pvData)[2], 42);
  EXPECT_EQ(SafeArrayCopyData(a, c), E_INVALIDARG);
  SafeArrayDestroy(a);
  SafeArrayDestroy(b);
  SafeArrayDestroy(c);
}

TEST(SafeArrayOwnership, DescriptorAndDataCanBeAllocatedSeparately) {
  SAFEARRAY* psa = nullptr;
  ASSERT_EQ(SafeArrayAllocDescriptor(2, &psa), S_OK);
  psa->cbElements = 8;
  psa->rgsabound[0] = {3, 0};
  psa->rgsabound[1] = {4, 0};
  ASSERT_EQ(SafeArrayAllocData(psa), S_OK);
  ASSERT_NE(psa->pvData, nullptr);
  EXPECT_EQ(SafeArrayDestroyData(psa), S_OK);
  EXPECT_EQ(psa->pvData, nullptr);
  EXPECT_EQ(SafeArrayDestroyDescriptor(psa), S_OK);
  EXPECT_EQ(SafeArrayAllocDescriptor(0, &psa), E_INVALIDARG);
}

}  // namespace
}  // namespace quillbox::testing
