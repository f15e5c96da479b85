// ComError: defined here so that the extension can raise it with its fields.
#include "com_error.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "quillbox/com_ptr.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"

namespace quillbox::python {
namespace {

// The class object; owned by the module for the life of the process.
PyObject* g_com_error = nullptr;

// A name for the result codes a dispatch call itself can give.
const char* CodeName(HRESULT hr) {
  switch (hr) {
    case DISP_E_UNKNOWNINTERFACE: return "Unknown interface.";
    case DISP_E_MEMBERNOTFOUND: return "Member not found.";
    case DISP_E_PARAMNOTFOUND: return "Parameter not found.";
    case DISP_E_TYPEMISMATCH: return "Type mismatch.";
    case DISP_E_UNKNOWNNAME: return "Unknown name.";
    case DISP_E_NONAMEDARGS: return "No named arguments.";
    case DISP_E_BADVARTYPE: return "Bad variable type.";
    case DISP_E_EXCEPTION: return "Exception occurred.";
    case DISP_E_OVERFLOW: return "Out of present range.";
    case DISP_E_BADINDEX: return "Invalid index.";
    case DISP_E_BADPARAMCOUNT: return "Invalid number of parameters.";
    case DISP_E_PARAMNOTOPTIONAL: return "Parameter not optional.";
    case E_NOTIMPL: return "Not implemented.";
    case E_NOINTERFACE: return "No such interface supported.";
    case E_INVALIDARG: return "The parameter is incorrect.";
    case E_OUTOFMEMORY: return "Out of memory.";
    case REGDB_E_CLASSNOTREG: return "Class not registered.";
    case CO_E_CLASSSTRING: return "Invalid class string.";
    default: return "";
  }
}

}  // namespace

std::u16string GuidText(const GUID& guid) {
  OLECHAR text[CHARS_IN_GUID];
  return StringFromGUID2(guid, text, CHARS_IN_GUID) ? std::u16string(text) : std::u16string();
}

std::u16string BstrText(BSTR text) { return text ? std::u16string(text, SysStringLen(text)) : std::u16string(); }

py::str ToPython(const std::u16string& text) {
  PyObject* s = PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(text.data()),
                                      static_cast<Py_ssize_t>(text.size() * 2), "surrogatepass", nullptr);
  if (!s) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(s);
}

std::u16string FromPython(py::handle text) {
  PyObject* bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-16-le", "surrogatepass");
  if (!bytes) throw py::error_already_set();
  std::u16string out(static_cast<std::size_t>(PyBytes_GET_SIZE(bytes)) / 2, u'\0');
  std::memcpy(out.data(), PyBytes_AS_STRING(bytes), out.size() * 2);
  Py_DECREF(bytes);
  return out;
}

bool TakeErrorInfo(ErrorDetails* details) {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.put()) != S_OK || !info) return false;
  BSTR text = nullptr;
  if (SUCCEEDED(info->GetDescription(&text))) details->description = BstrText(text);
  SysFreeString(text);
  text = nullptr;
  if (SUCCEEDED(info->GetSource(&text))) details->source = BstrText(text);
  SysFreeString(text);
  GUID guid{};
  if (SUCCEEDED(info->GetGUID(&guid)) && !IsEqualGUID(guid, GUID_NULL)) details->iid = GuidText(guid);
  return true;
}

void RaiseComError(const ErrorDetails& details) {
  const unsigned long code = static_cast<uint32_t>(details.hresult);
  py::str description = ToPython(details.description);
  char number[16];
  std::snprintf(number, sizeof number, "0x%08lX", code);
  py::str message = details.description.empty() ? py::str(number)
                                                 : py::str("{} ({})").format(description, number);
  py::object error = py::reinterpret_borrow<py::object>(g_com_error)(message);
  error.attr("hresult") = py::int_(code);
  error.attr("description") = description;
  error.attr("source") = ToPython(details.source);
  error.attr("iid") = details.iid.empty() ? py::object(py::none()) : py::object(ToPython(details.iid));
  PyErr_SetObject(g_com_error, error.ptr());
  throw py::error_already_set();
}

void RaiseComError(HRESULT hr) {
  ErrorDetails details;
  details.hresult = hr;
  const char* name = CodeName(hr);
  details.description = std::u16string(name, name + std::strlen(name));
  RaiseComError(details);
}

void RaiseCallError(HRESULT hr) {
  ErrorDetails details;
  TakeErrorInfo(&details);
  details.hresult = hr;
  if (details.description.empty()) {
    const char* name = CodeName(hr);
    details.description = std::u16string(name, name + std::strlen(name));
  }
  RaiseComError(details);
}

void BindComError(py::module_& m) {
  g_com_error = PyErr_NewExceptionWithDoc(
      "quillbox.ComError",
      "A failed call: hresult (unsigned 32-bit), description, source, iid (braced text or None).",
      nullptr, nullptr);
  if (!g_com_error) throw py::error_already_set();
  m.attr("ComError") = py::handle(g_com_error);
}

}  // namespace quillbox::python
