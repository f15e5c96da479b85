// Python values to VARIANT and back, the way scripting clients expect them
// (see docs/python.md for the table), and quillbox.Variant, a value with an
// exact VARTYPE.
#pragma once

#include <pybind11/pybind11.h>

#include "quillbox/oaidl.h"
#include "quillbox/oleauto.h"

namespace quillbox::python {

namespace py = pybind11;

// quillbox.Variant(vt, value): the value is converted by the usual rules and
// then coerced to vt (arrays element by element).
struct TypedValue {
  VARTYPE vt = VT_EMPTY;
  py::object value;
};

// Singletons: quillbox.Null (VT_NULL) and quillbox.Missing (an omitted
// optional argument, VT_ERROR with DISP_E_PARAMNOTFOUND).
struct NullValue {};
struct MissingValue {};

// A VARIANT that clears itself.
class OwnedVariant {
 public:
  OwnedVariant() { VariantInit(&v_); }
  ~OwnedVariant() { VariantClear(&v_); }
  OwnedVariant(const OwnedVariant&) = delete;
  OwnedVariant& operator=(const OwnedVariant&) = delete;
  VARIANT* get() { return &v_; }
  const VARIANT& operator*() const { return v_; }

 private:
  VARIANT v_;
};

// Writes a new value into *out (which must be empty); raises a Python
// exception (TypeError, OverflowError, ValueError or ComError) on failure.
void ToVariant(py::handle value, VARIANT* out);

// A new Python value for *v (objects are wrapped, arrays become tuples,
// a one-dimensional byte array becomes bytes).
py::object FromVariant(const VARIANT& v);

// The module's value types and the VT_* constants.
void BindValues(py::module_& m);

}  // namespace quillbox::python
