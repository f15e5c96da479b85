// _Dispatch: an IDispatch held by Python. It resolves names and invokes
// members with converted arguments; the attribute syntax around it
// (quillbox.Dispatch) is written in Python, in quillbox/_dispatch.py.
#pragma once

#include <pybind11/pybind11.h>

#include "quillbox/com_ptr.h"
#include "quillbox/oaidl.h"

namespace quillbox::python {

namespace py = pybind11;

class DispatchObject {
 public:
  explicit DispatchObject(ComPtr<IDispatch> object) : object_(std::move(object)) {}
  IDispatch* get() const { return object_.get(); }

  // GetIDsOfNames: the member first, then parameter names.
  py::list Ids(const py::list& names) const;

  // Invoke. Arguments in `byref_args` (positions) and `byref_named`
  // (positions in named_args) are passed as VT_BYREF|VT_VARIANT and read
  // back; with any of those the answer is (result, [outs of args],
  // [outs of named_args]). A put or putref passes the last argument as
  // the value (DISPID_PROPERTYPUT). `raw` gives the result as a Variant.
  py::object Invoke(DISPID id, WORD flags, const py::sequence& args, const py::sequence& named_ids,
                    const py::sequence& named_args, const py::sequence& byref_args,
                    const py::sequence& byref_named, bool raw) const;

  // The enumerator of DISPID_NEWENUM.
  py::object NewEnum() const;

  // The object's IUnknown, as a number: the COM identity.
  std::uintptr_t Identity() const;

 private:
  ComPtr<IDispatch> object_;
};

// Objects handed to Python: a Dispatch (through the wrapper that
// quillbox/_dispatch.py registers), an Enumerator, or an opaque _Unknown.
py::object WrapDispatch(IDispatch* object);
py::object WrapUnknown(IUnknown* object);

// The interface a Python value holds, or null.
IDispatch* DispatchOf(py::handle value);
IUnknown* UnknownOf(py::handle value);

void BindDispatch(py::module_& m);

}  // namespace quillbox::python
