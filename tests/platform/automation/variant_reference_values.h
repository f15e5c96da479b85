// Automation values of the reference vectors: a JSON value object turned
// into a VARIANT, a VARIANT checked against one, and the test objects that
// stand behind the "DISPATCH:value42" style sources.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "quillbox/oleauto.h"

namespace quillbox::testing {

// An IDispatch whose default value (DISPID_VALUE, property get) is VT_I4
// `value`, or that answers DISP_E_MEMBERNOTFOUND when has_value is false.
// It counts its Invoke calls and its references.
class ValueObject final : public IDispatch {
 public:
  ValueObject(bool has_value, LONG value) : has_value_(has_value), value_(value) {}

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }  // lives on the stack
  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO*, UINT*) override;

  int invokes() const { return invokes_; }
  ULONG references() const { return references_; }

 private:
  bool has_value_;
  LONG value_;
  int invokes_ = 0;
  ULONG references_ = 1;
};

// Fills *v (uninitialized) from a reference value object. The objects back
// "DISPATCH"/"UNKNOWN" values whose "key" names them. False for a value
// this reader does not know.
bool VariantFromReference(const nlohmann::json& value, const std::string& source_key, ValueObject* value42,
                          ValueObject* novalue, VARIANT* v);

// Empty when v matches the reference value object, else what differs.
std::string DescribeMismatch(const VARIANT& v, const nlohmann::json& expected);

}  // namespace quillbox::testing
