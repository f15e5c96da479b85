// quillbox.Enumerator: an IEnumVARIANT (what _NewEnum gives) with Next(n),
// Skip(n), Reset(), Clone() and the Python iterator protocol.
#pragma once

#include <pybind11/pybind11.h>

#include "quillbox/com_ptr.h"
#include "quillbox/oaidl.h"

namespace quillbox::python {

namespace py = pybind11;

class Enumerator {
 public:
  explicit Enumerator(ComPtr<IEnumVARIANT> e) : enum_(std::move(e)) {}
  IEnumVARIANT* get() const { return enum_.get(); }

  py::list Next(ULONG count) const;
  bool Skip(ULONG count) const;
  void Reset() const;
  Enumerator Clone() const;

 private:
  ComPtr<IEnumVARIANT> enum_;
};

void BindEnumerator(py::module_& m);

}  // namespace quillbox::python
