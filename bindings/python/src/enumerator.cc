// Enumerator: IEnumVARIANT for Python.
#include "enumerator.h"

#include <vector>

#include "com_error.h"
#include "quillbox/oleauto.h"
#include "values.h"

namespace quillbox::python {

// Fetching is bounded: a caller asking for more gets it in several calls.
constexpr ULONG kMaxFetch = 1 << 16;

py::list Enumerator::Next(ULONG count) const {
  py::list out;
  if (count > kMaxFetch) throw py::value_error("Next fetches at most 65536 items at once");
  std::vector<VARIANT> items(count);
  for (VARIANT& v : items) VariantInit(&v);
  ULONG fetched = 0;
  SetErrorInfo(0, nullptr);  // what the enumerator reports is this call's
  HRESULT hr = enum_->Next(count, items.data(), &fetched);
  if (fetched > count) fetched = count;
  try {
    if (FAILED(hr)) RaiseCallError(hr);
    for (ULONG i = 0; i < fetched; ++i) out.append(FromVariant(items[i]));
  } catch (...) {
    for (VARIANT& v : items) VariantClear(&v);
    throw;
  }
  for (VARIANT& v : items) VariantClear(&v);
  return out;
}

bool Enumerator::Skip(ULONG count) const {
  SetErrorInfo(0, nullptr);
  const HRESULT hr = enum_->Skip(count);
  CheckCall(hr);
  return hr == S_OK;
}

void Enumerator::Reset() const {
  SetErrorInfo(0, nullptr);
  CheckCall(enum_->Reset());
}

Enumerator Enumerator::Clone() const {
  ComPtr<IEnumVARIANT> copy;
  SetErrorInfo(0, nullptr);
  CheckCall(enum_->Clone(copy.put()));
  if (!copy) RaiseComError(E_POINTER);
  return Enumerator(std::move(copy));
}

void BindEnumerator(py::module_& m) {
  py::class_<Enumerator>(m, "Enumerator", "An IEnumVARIANT: Next(n), Skip(n), Reset(), Clone().")
      .def("Next", &Enumerator::Next, py::arg("count") = 1, "The next items, at most count, as a list.")
      .def("Skip", &Enumerator::Skip, py::arg("count") = 1, "True when count items were skipped.")
      .def("Reset", &Enumerator::Reset)
      .def("Clone", &Enumerator::Clone)
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", [](const Enumerator& e) {
        py::list one = e.Next(1);
        if (one.empty()) throw py::stop_iteration();
        return py::object(one[0]);
      });
}

}  // namespace quillbox::python
