// _quillbox_echo: registers the test-only EchoObject class with the class
// registry of the process, so that quillbox.CreateObject can make it.
#include <pybind11/pybind11.h>

#include "echo_object.h"
#include "quillbox/objbase.h"

namespace {

DWORD g_cookie = 0;

}  // namespace

PYBIND11_MODULE(_quillbox_echo, m) {
  namespace qt = quillbox::python_test;
  m.def("register", [] {
    if (g_cookie == 0) {
      const HRESULT hr = CoRegisterClassObject(qt::kEchoClsid, qt::EchoFactory(), CLSCTX_INPROC_SERVER,
                                               REGCLS_MULTIPLEUSE, &g_cookie);
      if (FAILED(hr)) throw std::runtime_error("CoRegisterClassObject failed");
    }
    OLECHAR text[CHARS_IN_GUID];
    StringFromGUID2(qt::kEchoClsid, text, CHARS_IN_GUID);
    return std::string(text, text + CHARS_IN_GUID - 1);
  }, "Registers the Echo class once; answers its braced CLSID.");
  m.def("live", &qt::LiveEchoObjects, "Echo objects alive now.");
}
