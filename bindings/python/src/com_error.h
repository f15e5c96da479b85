// quillbox.ComError: a failed call, with the result code as an unsigned
// 32-bit number, the description, the source and the interface of the
// error information.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "quillbox/oaidl.h"

namespace quillbox::python {

namespace py = pybind11;

struct ErrorDetails {
  HRESULT hresult = S_OK;
  std::u16string description;
  std::u16string source;
  std::u16string iid;  // braced text, empty when unknown
};

// Raises ComError (sets the Python error and throws error_already_set).
[[noreturn]] void RaiseComError(const ErrorDetails& details);
// Raises ComError for hr (a failure) with only a name for the code.
[[noreturn]] void RaiseComError(HRESULT hr);
inline void CheckResult(HRESULT hr) {
  if (FAILED(hr)) RaiseComError(hr);
}
// Raises ComError for hr (a failure) of a direct interface call, with the
// error information the callee left on the thread when there is some (the
// caller clears it before the call, so none is stale).
[[noreturn]] void RaiseCallError(HRESULT hr);
inline void CheckCall(HRESULT hr) {
  if (FAILED(hr)) RaiseCallError(hr);
}

// The thread's error information, taken (and cleared) if any is waiting.
bool TakeErrorInfo(ErrorDetails* details);

std::u16string GuidText(const GUID& guid);
std::u16string BstrText(BSTR text);
py::str ToPython(const std::u16string& text);
std::u16string FromPython(py::handle text);

void BindComError(py::module_& m);

}  // namespace quillbox::python
