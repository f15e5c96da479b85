// What the type information tells the binding: an object's members (for
// dir(), method-or-property, putref, out parameters), the interface its
// errors are reported on, and the library's enumeration constants.
// Objects or builds without type information give None and empty answers.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "quillbox/oaidl.h"

namespace quillbox::python {

namespace py = pybind11;

// {"name": interface name, "iid": braced text, "members": [{"name", "memid",
// "invkind", "hidden", "restricted", "params": [(name, PARAMFLAG bits, VARTYPE)],
// "result": VARTYPE}]}, or None.
py::object DescribeMembers(IDispatch* object);

// The interface the object reports its errors on (its type information's
// interface, when ISupportErrorInfo confirms it), or empty.
std::u16string ErrorInterface(IDispatch* object);

// {name: value} of every enumeration constant of the registered library
// `libid` (version major.minor); empty when type libraries are unavailable.
py::dict LibraryConstants(const GUID& libid, WORD major, WORD minor);

}  // namespace quillbox::python
