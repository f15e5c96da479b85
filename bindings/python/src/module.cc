// The extension module _quillbox: object creation, the unload question, the
// library's constants, and the types bound in the other files.
#include <pybind11/pybind11.h>

#include "com_error.h"
#include "dispatch_object.h"
#include "enumerator.h"
#include "quillbox/objbase.h"
#include "quillbox/quillbox.h"
#include "type_info.h"
#include "values.h"

namespace quillbox::python {
namespace {

HRESULT ClassOf(const std::u16string& name, CLSID* clsid) {
  if (!name.empty() && name.front() == u'{') return CLSIDFromString(name.c_str(), clsid);
  return CLSIDFromProgID(name.c_str(), clsid);
}

// CreateObject("Quillbox.StructuredStorage") or CreateObject("{clsid}"). An
// unknown ProgID registers the library once and is looked up again, as a
// fresh installation has not run DllRegisterServer yet.
py::object CreateObject(py::str name) {
  const std::u16string text = FromPython(name);
  CLSID clsid{};
  HRESULT hr = ClassOf(text, &clsid);
  if ((hr == CO_E_CLASSSTRING || hr == REGDB_E_CLASSNOTREG) && text.front() != u'{') {
    CheckResult(DllRegisterServer());
    hr = ClassOf(text, &clsid);
  }
  CheckResult(hr);
  ComPtr<IDispatch> object;
  CheckResult(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.put_void()));
  return WrapDispatch(object.get());
}

py::dict Constants() {
  py::dict constants = LibraryConstants(LIBID_Quillbox, 1, 0);
  if (constants.empty() && DllRegisterServer() == S_OK) constants = LibraryConstants(LIBID_Quillbox, 1, 0);
  return constants;
}

}  // namespace
}  // namespace quillbox::python

PYBIND11_MODULE(_quillbox, m) {
  namespace qp = quillbox::python;
  namespace py = pybind11;
  m.doc() = "Late binding to Quillbox's automation objects (the C part of the quillbox package).";
  qp::BindComError(m);
  qp::BindValues(m);
  qp::BindEnumerator(m);
  qp::BindDispatch(m);
  m.def("CreateObject", &qp::CreateObject, py::arg("name"),
        "A new object of the class named by a ProgID or a braced CLSID.");
  m.def("DllCanUnloadNow", [] { return static_cast<long>(DllCanUnloadNow()); },
        "S_OK (0) when no object of the library is alive, else S_FALSE (1).");
  m.def("DllRegisterServer", [] { quillbox::python::CheckResult(DllRegisterServer()); });
  m.def("_constants", &qp::Constants, "The type library's enumeration constants, {name: value}.");
}
