// Late binding over type-library data: names, argument binding and
// coercion, defaults, outputs, property get and put, and failures turned
// into DISP_E_EXCEPTION with the error information.
#include <gtest/gtest.h>

#include <string>

#include "platform/automation/typelib/type_dispatch.h"
#include "platform/com/com_object.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using namespace quillbox::automation;

namespace {

// A small dual interface, its description and an object implementing it.
struct ICalc : public IDispatch {
  STDMETHOD(Add)(LONG a, LONG b, LONG* sum) = 0;                         // 1
  STDMETHOD(get_Name)(BSTR* name) = 0;                                     // 2
  STDMETHOD(put_Name)(BSTR name) = 0;                                      // 2
  STDMETHOD(Describe)(VARIANT value, VARIANT_BOOL loud, BSTR* text) = 0;   // 3
  STDMETHOD(Fail)() = 0;                                                    // 4
  STDMETHOD(Divide)(LONG a, LONG b, LONG* remainder, LONG* quotient) = 0;  // 5
  STDMETHOD(get_Item)(VARIANT index, BSTR* text) = 0;                      // 0
  STDMETHOD(Scale)(DOUBLE x, SHORT factor, DOUBLE* result) = 0;            // 6
  STDMETHOD(Twice)(VARIANT* inout) = 0;                                     // 7
  STDMETHOD(Scaled)(DECIMAL amount, DOUBLE* result) = 0;                    // 8
};
constexpr IID IID_ICalc = {0xCA1C0001, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
}  // namespace
QUILLBOX_DECLARE_INTERFACE(ICalc, IDispatch, IID_ICalc);

namespace {

constexpr ParamDesc kAddParams[] = {{u"a", {VT_I4}}, {u"b", {VT_I4}}};
constexpr ParamDesc kPutNameParams[] = {{u"newVal", {VT_BSTR}}};
constexpr ParamDesc kDescribeParams[] = {
    {u"value", {VT_VARIANT}},
    {u"loud", {VT_BOOL}, Direction::kIn, true, {DefaultValue::Kind::kInteger, 0}}};
constexpr ParamDesc kDivideParams[] = {{u"a", {VT_I4}}, {u"b", {VT_I4}}, {u"remainder", {VT_I4}, Direction::kOut}};
constexpr ParamDesc kItemParams[] = {{u"index", {VT_VARIANT}}};
constexpr ParamDesc kScaleParams[] = {
    {u"x", {VT_R8}}, {u"factor", {VT_I2}, Direction::kIn, true, {DefaultValue::Kind::kInteger, 2}}};
constexpr ParamDesc kTwiceParams[] = {{u"value", {VT_VARIANT}, Direction::kInOut}};
constexpr ParamDesc kScaledParams[] = {{u"amount", {VT_DECIMAL}}};

constexpr MemberDesc kCalcMembers[] = {
    {u"Add", 1, MemberKind::kMethod, kAddParams, {VT_I4}},
    {u"Name", 2, MemberKind::kPropertyGet, {}, {VT_BSTR}},
    {u"Name", 2, MemberKind::kPropertyPut, kPutNameParams},
    {u"Describe", 3, MemberKind::kMethod, kDescribeParams, {VT_BSTR}},
    {u"Fail", 4, MemberKind::kMethod, {}},
    {u"Divide", 5, MemberKind::kMethod, kDivideParams, {VT_I4}},
    {u"Item", 0, MemberKind::kPropertyGet, kItemParams, {VT_BSTR}},
    {u"Scale", 6, MemberKind::kMethod, kScaleParams, {VT_R8}},
    {u"Twice", 7, MemberKind::kMethod, kTwiceParams},
    {u"Scaled", 8, MemberKind::kMethod, kScaledParams, {VT_R8}},
};
const InterfaceDesc kCalcDesc{u"ICalc", IID_ICalc, kCalcMembers};

// Publishes a failure as the thread's error information, as a member does.
HRESULT Fails(const char16_t* description, HRESULT result) {
  ComPtr<ICreateErrorInfo> create;
  if (SUCCEEDED(CreateErrorInfo(create.put()))) {
    create->SetGUID(IID_ICalc);
    create->SetDescription(const_cast<LPOLESTR>(description));
    SetErrorInfo(0, create.as<IErrorInfo>().get());
  }
  return result;
}

class Calc final : public quillbox::com::ComObject<Calc, ICalc> {
 public:
  STDMETHODIMP GetTypeInfoCount(UINT* n) override {
    *n = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT n, LCID, DISPID* ids) override {
    return quillbox::automation::GetIDsOfNamesFromTypeLib(kCalcDesc, names, n, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* p, VARIANT* r, EXCEPINFO* e,
                      UINT* a) override {
    return quillbox::automation::InvokeFromTypeLib(kCalcDesc, this, id, flags, p, r, e, a);
  }
  STDMETHODIMP Add(LONG a, LONG b, LONG* sum) override {
    *sum = a + b;
    return S_OK;
  }
  STDMETHODIMP get_Name(BSTR* name) override {
    *name = SysAllocString(name_.c_str());
    return S_OK;
  }
  STDMETHODIMP put_Name(BSTR name) override {
    name_ = name ? name : u"";
    return S_OK;
  }
  STDMETHODIMP Describe(VARIANT value, VARIANT_BOOL loud, BSTR* text) override {
    std::u16string s = u"vt=" + std::u16string(1, static_cast<char16_t>(u'0' + value.vt % 10));
    if (value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND) s = u"missing";
    if (loud == VARIANT_TRUE) s += u"!";
    *text = SysAllocString(s.c_str());
    return S_OK;
  }
  STDMETHODIMP Fail() override {
    return Fails(u"Impossible action with a read only object.", STG_E_ACCESSDENIED);
  }
  STDMETHODIMP Divide(LONG a, LONG b, LONG* remainder, LONG* quotient) override {
    if (b == 0) return Fails(u"Division by zero.", E_INVALIDARG);
    *remainder = a % b;
    *quotient = a / b;
    return S_OK;
  }
  STDMETHODIMP get_Item(VARIANT index, BSTR* text) override {
    VARIANT s;
    VariantInit(&s);
    HRESULT hr = VariantChangeType(&s, &index, 0, VT_BSTR);
    if (FAILED(hr)) return hr;
    *text = s.bstrVal;
    return S_OK;
  }
  STDMETHODIMP Scale(DOUBLE x, SHORT factor, DOUBLE* result) override {
    *result = x * factor;
    return S_OK;
  }
  STDMETHODIMP Scaled(DECIMAL amount, DOUBLE* result) override {
    // value = Lo64 / 10^scale, sign bit 0x80
    double v = static_cast<double>(amount.Lo64);
    for (int i = 0; i < amount.scale; ++i) v /= 10;
    *result = (amount.sign & 0x80) ? -v : v;
    return S_OK;
  }
  STDMETHODIMP Twice(VARIANT* inout) override {
    return VariantChangeType(inout, inout, 0, VT_I4) == S_OK ? (inout->lVal *= 2, S_OK) : E_INVALIDARG;
  }

 private:
  std::u16string name_ = u"calc";
};

VARIANT I4(LONG v) {
  VARIANT x;
  VariantInit(&x);
  x.vt = VT_I4;
  x.lVal = v;
  return x;
}
VARIANT Str(const char16_t* s) {
  VARIANT x;
  VariantInit(&x);
  x.vt = VT_BSTR;
  x.bstrVal = SysAllocString(s);
  return x;
}
VARIANT Missing() {
  VARIANT x;
  VariantInit(&x);
  x.vt = VT_ERROR;
  x.scode = DISP_E_PARAMNOTFOUND;
  return x;
}

class TypeDispatchTest : public ::testing::Test {
 protected:
  // Calls with arguments given in natural order (reversed into rgvarg).
  HRESULT Call(DISPID id, WORD flags, std::vector<VARIANT> args, VARIANT* result = nullptr,
               std::vector<DISPID> named = {}) {
    std::vector<VARIANT> reversed(args.rbegin(), args.rend());
    // Named arguments come first in rgvarg, in the order of `named`.
    DISPPARAMS p{reversed.data(), named.data(), static_cast<UINT>(reversed.size()),
                 static_cast<UINT>(named.size())};
    excep_ = EXCEPINFO{};
    arg_err_ = 0xFFFF;
    HRESULT hr = calc_->Invoke(id, IID_NULL, 0, flags, &p, result, &excep_, &arg_err_);
    for (auto& v : args) VariantClear(&v);
    return hr;
  }
  void TearDown() override {
    SysFreeString(excep_.bstrDescription);
    SysFreeString(excep_.bstrSource);
    SysFreeString(excep_.bstrHelpFile);
  }
  ComPtr<Calc> calc_ = quillbox::com::MakeObject<Calc>();
  EXCEPINFO excep_{};
  UINT arg_err_ = 0;
};

TEST_F(TypeDispatchTest, NamesMatchWithoutRegardToCase) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(u"dIvIdE"), const_cast<LPOLESTR>(u"B")};
  DISPID ids[2];
  ASSERT_EQ(calc_->GetIDsOfNames(IID_NULL, names, 2, 0, ids), S_OK);
  EXPECT_EQ(ids[0], 5);
  EXPECT_EQ(ids[1], 1);
}

TEST_F(TypeDispatchTest, UnknownNamesAreReportedPerName) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(u"Add"), const_cast<LPOLESTR>(u"zz")};
  DISPID ids[2];
  EXPECT_EQ(calc_->GetIDsOfNames(IID_NULL, names, 2, 0, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[0], 1);
  EXPECT_EQ(ids[1], DISPID_UNKNOWN);
  LPOLESTR none[] = {const_cast<LPOLESTR>(u"Nope")};
  EXPECT_EQ(calc_->GetIDsOfNames(IID_NULL, none, 1, 0, ids), DISP_E_UNKNOWNNAME);
}

TEST_F(TypeDispatchTest, MethodArgumentsArriveInDeclaredOrder) {
  VARIANT r;
  ASSERT_EQ(Call(5, DISPATCH_METHOD, {I4(17), I4(5), Missing()}, &r), S_OK);
  EXPECT_EQ(r.vt, VT_I4);
  EXPECT_EQ(r.lVal, 3);
}

TEST_F(TypeDispatchTest, ArgumentsAreCoercedToDeclaredTypes) {
  VARIANT r;
  ASSERT_EQ(Call(1, DISPATCH_METHOD, {Str(u"40"), I4(2)}, &r), S_OK);
  EXPECT_EQ(r.lVal, 42);
}

TEST_F(TypeDispatchTest, WrongTypeGivesTypeMismatchWithTheArgumentIndex) {
  VARIANT r;
  EXPECT_EQ(Call(1, DISPATCH_METHOD, {I4(1), Str(u"not a number")}, &r), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(arg_err_, 0u) << "the second argument sits first in rgvarg";
}

TEST_F(TypeDispatchTest, SurplusArgumentsGiveBadParamCount) {
  EXPECT_EQ(Call(1, DISPATCH_METHOD, {I4(1), I4(2), I4(3)}), DISP_E_BADPARAMCOUNT);
}

TEST_F(TypeDispatchTest, MissingRequiredArgumentIsRefused) {
  EXPECT_EQ(Call(1, DISPATCH_METHOD, {I4(1)}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(Call(1, DISPATCH_METHOD, {I4(1), Missing()}), DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(TypeDispatchTest, OmittedOptionalArgumentTakesItsDefault) {
  VARIANT r;
  ASSERT_EQ(Call(6, DISPATCH_METHOD, {[] { VARIANT v; VariantInit(&v); v.vt = VT_R8; v.dblVal = 1.5; return v; }()}, &r), S_OK);
  EXPECT_EQ(r.dblVal, 3.0);
  ASSERT_EQ(Call(6, DISPATCH_METHOD, {I4(5), Missing()}, &r), S_OK);
  EXPECT_EQ(r.dblVal, 10.0);
}

TEST_F(TypeDispatchTest, MissingOptionalVariantArrivesAsParamNotFound) {
  VARIANT r;
  ASSERT_EQ(Call(3, DISPATCH_METHOD, {Missing()}, &r), DISP_E_PARAMNOTOPTIONAL);
  ASSERT_EQ(Call(3, DISPATCH_METHOD, {I4(1)}, &r), S_OK);
  EXPECT_EQ(std::u16string(r.bstrVal), u"vt=3");
  VariantClear(&r);
}

TEST_F(TypeDispatchTest, NamedArgumentsBindByParameterPosition) {
  VARIANT r;
  VARIANT loud;
  VariantInit(&loud);
  loud.vt = VT_BOOL;
  loud.boolVal = VARIANT_TRUE;
  // Describe(value:=7, loud:=True) given as named loud first.
  ASSERT_EQ(Call(3, DISPATCH_METHOD, {I4(7), loud}, &r, {1}), S_OK);
  EXPECT_EQ(std::u16string(r.bstrVal), u"vt=3!");
  VariantClear(&r);
}

TEST_F(TypeDispatchTest, PropertyGetAndPut) {
  VARIANT r;
  ASSERT_EQ(Call(2, DISPATCH_PROPERTYGET, {}, &r), S_OK);
  EXPECT_EQ(std::u16string(r.bstrVal), u"calc");
  VariantClear(&r);
  ASSERT_EQ(Call(2, DISPATCH_PROPERTYPUT, {Str(u"renamed")}, nullptr, {DISPID_PROPERTYPUT}), S_OK);
  ASSERT_EQ(Call(2, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {}, &r), S_OK);
  EXPECT_EQ(std::u16string(r.bstrVal), u"renamed");
  VariantClear(&r);
}

TEST_F(TypeDispatchTest, DefaultMemberIsDispidZero) {
  VARIANT r;
  ASSERT_EQ(Call(DISPID_VALUE, DISPATCH_PROPERTYGET, {I4(12)}, &r), S_OK);
  EXPECT_EQ(std::u16string(r.bstrVal), u"12");
  VariantClear(&r);
}

TEST_F(TypeDispatchTest, UnknownMemberOrKindIsNotFound) {
  EXPECT_EQ(Call(99, DISPATCH_METHOD, {}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(Call(1, DISPATCH_PROPERTYPUT, {I4(1)}, nullptr, {DISPID_PROPERTYPUT}), DISP_E_MEMBERNOTFOUND);
}

TEST_F(TypeDispatchTest, FailureBecomesExceptionWithErrorInformation) {
  SetErrorInfo(0, nullptr);
  EXPECT_EQ(Call(4, DISPATCH_METHOD, {}), DISP_E_EXCEPTION);
  EXPECT_EQ(excep_.scode, STG_E_ACCESSDENIED);
  ASSERT_NE(excep_.bstrDescription, nullptr);
  EXPECT_EQ(std::u16string(excep_.bstrDescription), u"Impossible action with a read only object.");
}

TEST_F(TypeDispatchTest, ByReferenceOutputsAreWrittenBack) {
  VARIANT remainder;
  VariantInit(&remainder);
  VARIANT ref;
  VariantInit(&ref);
  ref.vt = VT_BYREF | VT_VARIANT;
  ref.pvarVal = &remainder;
  VARIANT r;
  ASSERT_EQ(Call(5, DISPATCH_METHOD, {I4(17), I4(5), ref}, &r), S_OK);
  EXPECT_EQ(r.lVal, 3);
  EXPECT_EQ(remainder.vt, VT_I4);
  EXPECT_EQ(remainder.lVal, 2);

  LONG direct = 0;
  VARIANT lref;
  VariantInit(&lref);
  lref.vt = VT_BYREF | VT_I4;
  lref.plVal = &direct;
  ASSERT_EQ(Call(5, DISPATCH_METHOD, {I4(17), I4(3), lref}, &r), S_OK);
  EXPECT_EQ(direct, 2);
}

TEST_F(TypeDispatchTest, InOutVariantIsReadAndWritten) {
  VARIANT value = Str(u"21");
  VARIANT ref;
  VariantInit(&ref);
  ref.vt = VT_BYREF | VT_VARIANT;
  ref.pvarVal = &value;
  ASSERT_EQ(Call(7, DISPATCH_METHOD, {ref}), S_OK);
  EXPECT_EQ(value.vt, VT_I4);
  EXPECT_EQ(value.lVal, 42);
}

TEST_F(TypeDispatchTest, DecimalArgumentIsPassedByValue) {
  VARIANT r;
  ASSERT_EQ(Call(8, DISPATCH_METHOD, {Str(u"-12.5")}, &r), S_OK);
  EXPECT_EQ(r.vt, VT_R8);
  EXPECT_EQ(r.dblVal, -12.5);
}

TEST_F(TypeDispatchTest, ResultIsDroppedWhenNotWanted) {
  EXPECT_EQ(Call(2, DISPATCH_PROPERTYGET, {}, nullptr), S_OK);  // the BSTR is freed (ASan)
}

}  // namespace
