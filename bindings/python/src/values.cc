// Python values to VARIANT and back. Decimal and datetime arithmetic is
// left to quillbox._values, in Python, where those types live.
#include "values.h"

#include <cstring>
#include <limits>
#include <vector>

#include "com_error.h"
#include "dispatch_object.h"
#include "enumerator.h"
#include "quillbox/oleauto.h"

namespace quillbox::python {
namespace {

py::module_ Helpers() { return py::module_::import("quillbox._values"); }

bool IsInstance(py::handle value, const char* module, const char* type) {
  py::object cls = py::module_::import(module).attr(type);
  return PyObject_IsInstance(value.ptr(), cls.ptr()) == 1;
}

void SetBstr(const std::u16string& text, VARIANT* out) {
  BSTR b = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!b) throw std::bad_alloc();
  out->vt = VT_BSTR;
  out->bstrVal = b;
}

void SetBytes(const char* data, std::size_t size, VARIANT* out) {
  if (size > std::numeric_limits<ULONG>::max()) throw py::value_error("byte array too large");
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
  if (!array) throw std::bad_alloc();
  if (size) std::memcpy(array->pvData, data, size);
  out->vt = VT_ARRAY | VT_UI1;
  out->parray = array;
}

void SetDecimal(py::handle value, VARIANT* out) {
  py::tuple parts = Helpers().attr("decimal_parts")(value);  // (negative, lo64, hi32, scale)
  DECIMAL d{};
  d.sign = parts[0].cast<bool>() ? DECIMAL_NEG : 0;
  d.Lo64 = parts[1].cast<ULONGLONG>();
  d.Hi32 = parts[2].cast<ULONG>();
  d.scale = parts[3].cast<BYTE>();
  out->decVal = d;
  out->vt = VT_DECIMAL;
}

// A one-dimensional array, lower bound 0, of element type `element`.
void SetArray(py::handle items, VARTYPE element, VARIANT* out);

void SetSequence(py::handle value, VARIANT* out) { SetArray(value, VT_VARIANT, out); }

// Where the element a VARIANT holds starts, as SafeArrayPutElement takes it.
void* ElementAddress(VARIANT& v, VARTYPE element) {
  switch (element) {
    case VT_VARIANT: return &v;
    case VT_DECIMAL: return &v.decVal;
    case VT_BSTR: return v.bstrVal;
    case VT_DISPATCH: case VT_UNKNOWN: return v.punkVal;
    default: return &v.llVal;
  }
}

void SetArray(py::handle items, VARTYPE element, VARIANT* out) {
  if (element == VT_UI1 && (PyBytes_Check(items.ptr()) || PyByteArray_Check(items.ptr()))) {
    ToVariant(items, out);
    return;
  }
  py::sequence seq = py::reinterpret_borrow<py::sequence>(items);
  const std::size_t count = seq.size();
  if (count > std::numeric_limits<ULONG>::max()) throw py::value_error("array too large");
  SAFEARRAY* array = SafeArrayCreateVector(element, 0, static_cast<ULONG>(count));
  if (!array) throw py::value_error("no array of this element type");
  for (std::size_t i = 0; i < count; ++i) {
    OwnedVariant item;
    OwnedVariant coerced;
    VARIANT* put = item.get();
    HRESULT hr = S_OK;
    try {
      ToVariant(seq[i], item.get());
    } catch (...) {
      SafeArrayDestroy(array);
      throw;
    }
    if (element != VT_VARIANT && item.get()->vt != element) {
      hr = VariantChangeType(coerced.get(), item.get(), 0, element);
      put = coerced.get();
    }
    LONG index = static_cast<LONG>(i);
    if (SUCCEEDED(hr)) hr = SafeArrayPutElement(array, &index, ElementAddress(*put, element));
    if (FAILED(hr)) {
      SafeArrayDestroy(array);
      RaiseComError(hr);
    }
  }
  out->vt = static_cast<VARTYPE>(VT_ARRAY | element);
  out->parray = array;
}

void SetTyped(const TypedValue& typed, VARIANT* out) {
  const VARTYPE vt = typed.vt;
  if (vt & VT_BYREF) throw py::value_error("by-reference values are made by the call, not passed in");
  if (vt & VT_ARRAY) {
    SetArray(typed.value, static_cast<VARTYPE>(vt & VT_TYPEMASK), out);
    return;
  }
  switch (vt) {
    case VT_EMPTY: case VT_NULL:
      out->vt = vt;
      return;
    case VT_ERROR:
      out->vt = VT_ERROR;
      out->scode = static_cast<SCODE>(typed.value.cast<uint32_t>());
      return;
    case VT_DISPATCH: case VT_UNKNOWN:
      if (typed.value.is_none()) {
        out->vt = vt;
        out->punkVal = nullptr;
        return;
      }
      break;
    default:
      break;
  }
  OwnedVariant plain;
  ToVariant(typed.value, plain.get());
  CheckResult(VariantChangeType(out, plain.get(), 0, vt));
}

}  // namespace

void ToVariant(py::handle value, VARIANT* out) {
  PyObject* p = value.ptr();
  if (value.is_none()) {
    out->vt = VT_EMPTY;
  } else if (py::isinstance<TypedValue>(value)) {
    SetTyped(value.cast<const TypedValue&>(), out);
  } else if (py::isinstance<NullValue>(value)) {
    out->vt = VT_NULL;
  } else if (py::isinstance<MissingValue>(value)) {
    out->vt = VT_ERROR;
    out->scode = DISP_E_PARAMNOTFOUND;
  } else if (PyBool_Check(p)) {
    out->vt = VT_BOOL;
    out->boolVal = p == Py_True ? VARIANT_TRUE : VARIANT_FALSE;
  } else if (PyLong_Check(p)) {
    int overflow = 0;
    const long long n = PyLong_AsLongLongAndOverflow(p, &overflow);
    if (overflow) {
      PyErr_SetString(PyExc_OverflowError, "integer does not fit in 64 bits");
      throw py::error_already_set();
    }
    if (n >= std::numeric_limits<LONG>::min() && n <= std::numeric_limits<LONG>::max()) {
      out->vt = VT_I4;
      out->lVal = static_cast<LONG>(n);
    } else {
      out->vt = VT_I8;
      out->llVal = n;
    }
  } else if (PyFloat_Check(p)) {
    out->vt = VT_R8;
    out->dblVal = PyFloat_AS_DOUBLE(p);
  } else if (PyUnicode_Check(p)) {
    SetBstr(FromPython(value), out);
  } else if (PyBytes_Check(p)) {
    SetBytes(PyBytes_AS_STRING(p), static_cast<std::size_t>(PyBytes_GET_SIZE(p)), out);
  } else if (PyByteArray_Check(p)) {
    SetBytes(PyByteArray_AS_STRING(p), static_cast<std::size_t>(PyByteArray_GET_SIZE(p)), out);
  } else if (PyList_Check(p) || PyTuple_Check(p)) {
    SetSequence(value, out);
  } else if (IsInstance(value, "decimal", "Decimal")) {
    SetDecimal(value, out);
  } else if (IsInstance(value, "datetime", "date")) {
    out->vt = VT_DATE;
    out->date = Helpers().attr("datetime_to_date")(value).cast<double>();
  } else if (IDispatch* d = DispatchOf(value)) {
    d->AddRef();
    out->vt = VT_DISPATCH;
    out->pdispVal = d;
  } else if (IUnknown* u = UnknownOf(value)) {
    u->AddRef();
    out->vt = VT_UNKNOWN;
    out->punkVal = u;
  } else {
    throw py::type_error(std::string("no automation type for a value of type ") +
                         Py_TYPE(p)->tp_name);
  }
}

namespace {

// Where SafeArrayGetElement writes an element of this type inside a VARIANT.
void* ReadAddress(VARIANT& v, VARTYPE element) {
  if (element == VT_VARIANT) return &v;
  if (element == VT_DECIMAL) return &v.decVal;
  return &v.llVal;
}

// Dimension `dim` (0 = leftmost) of the array, as nested tuples.
py::object ReadDimension(SAFEARRAY* array, VARTYPE element, UINT dim, std::vector<LONG>& indices) {
  LONG lower = 0, upper = -1;
  CheckResult(SafeArrayGetLBound(array, dim + 1, &lower));
  CheckResult(SafeArrayGetUBound(array, dim + 1, &upper));
  const LONG count = upper >= lower ? upper - lower + 1 : 0;
  py::tuple items(static_cast<std::size_t>(count));
  for (LONG i = 0; i < count; ++i) {
    indices[dim] = lower + i;
    if (dim + 1 < indices.size()) {
      items[static_cast<std::size_t>(i)] = ReadDimension(array, element, dim + 1, indices);
      continue;
    }
    OwnedVariant v;
    CheckResult(SafeArrayGetElement(array, indices.data(), ReadAddress(*v.get(), element)));
    if (element != VT_VARIANT) v.get()->vt = element;
    items[static_cast<std::size_t>(i)] = FromVariant(*v);
  }
  return items;
}

py::object FromArray(SAFEARRAY* array, VARTYPE element) {
  if (!array) return py::tuple();
  const UINT dims = SafeArrayGetDim(array);
  if (element == VT_UI1 && dims == 1) {
    void* data = nullptr;
    CheckResult(SafeArrayAccessData(array, &data));
    py::bytes bytes(static_cast<const char*>(data), array->rgsabound[0].cElements);
    SafeArrayUnaccessData(array);
    return bytes;
  }
  if (dims == 0) return py::tuple();
  std::vector<LONG> indices(dims, 0);
  return ReadDimension(array, element, 0, indices);
}

}  // namespace

py::object FromVariant(const VARIANT& v) {
  if (v.vt & VT_BYREF) {
    if ((v.vt & ~VT_BYREF) == VT_VARIANT) return v.pvarVal ? FromVariant(*v.pvarVal) : py::none();
    OwnedVariant plain;
    CheckResult(VariantCopyInd(plain.get(), &v));
    return FromVariant(*plain);
  }
  if (v.vt & VT_ARRAY) return FromArray(v.parray, static_cast<VARTYPE>(v.vt & VT_TYPEMASK));
  switch (v.vt) {
    case VT_EMPTY: return py::none();
    case VT_NULL: return py::cast(NullValue{});
    case VT_I1: return py::int_(v.cVal);
    case VT_UI1: return py::int_(v.bVal);
    case VT_I2: return py::int_(v.iVal);
    case VT_UI2: return py::int_(v.uiVal);
    case VT_I4: return py::int_(v.lVal);
    case VT_UI4: return py::int_(v.ulVal);
    case VT_INT: return py::int_(v.intVal);
    case VT_UINT: return py::int_(v.uintVal);
    case VT_I8: return py::int_(v.llVal);
    case VT_UI8: return py::int_(v.ullVal);
    case VT_ERROR: return py::int_(static_cast<uint32_t>(v.scode));
    case VT_HRESULT: return py::int_(static_cast<uint32_t>(v.lVal));
    case VT_R4: return py::float_(v.fltVal);
    case VT_R8: return py::float_(v.dblVal);
    case VT_BOOL: return py::bool_(v.boolVal != VARIANT_FALSE);
    case VT_BSTR: return ToPython(BstrText(v.bstrVal));
    case VT_CY: return Helpers().attr("currency_to_decimal")(v.cyVal.int64);
    case VT_DATE: return Helpers().attr("date_to_datetime")(v.date);
    case VT_DECIMAL:
      return Helpers().attr("decimal_from_parts")(v.decVal.sign & DECIMAL_NEG ? true : false,
                                                  v.decVal.Lo64, v.decVal.Hi32, v.decVal.scale);
    case VT_DISPATCH: return WrapDispatch(v.pdispVal);
    case VT_UNKNOWN: return WrapUnknown(v.punkVal);
    default: {
      TypedValue raw;
      raw.vt = v.vt;
      raw.value = py::none();
      return py::cast(raw);
    }
  }
}

void BindValues(py::module_& m) {
  py::class_<TypedValue>(m, "Variant",
                         "A value with an exact automation type: Variant(quillbox.VT_BOOL, 1).")
      .def(py::init([](int vt, py::object value) {
             if (vt < 0 || vt > 0xFFFF) throw py::value_error("vt is a 16-bit VARTYPE");
             return TypedValue{static_cast<VARTYPE>(vt), std::move(value)};
           }),
           py::arg("vt"), py::arg("value") = py::none())
      .def_readonly("vt", &TypedValue::vt)
      .def_readonly("value", &TypedValue::value)
      .def("__repr__", [](const TypedValue& t) {
        return py::str("quillbox.Variant({}, {!r})").format(t.vt, t.value);
      })
      .def("__eq__", [](const TypedValue& a, py::object b) {
        if (!py::isinstance<TypedValue>(b)) return false;
        const TypedValue& o = b.cast<const TypedValue&>();
        return a.vt == o.vt && a.value.equal(o.value);
      });
  py::class_<NullValue>(m, "_NullType")
      .def("__repr__", [](const NullValue&) { return "quillbox.Null"; })
      .def("__bool__", [](const NullValue&) { return false; })
      .def("__eq__", [](const NullValue&, py::object o) { return py::isinstance<NullValue>(o); })
      .def("__hash__", [](const NullValue&) { return 0x4E554C4C; });
  py::class_<MissingValue>(m, "_MissingType")
      .def("__repr__", [](const MissingValue&) { return "quillbox.Missing"; });
  m.attr("Null") = py::cast(NullValue{});
  m.attr("Missing") = py::cast(MissingValue{});

  struct Named { const char* name; unsigned value; };
  static constexpr Named kTypes[] = {
      {"VT_EMPTY", VT_EMPTY}, {"VT_NULL", VT_NULL}, {"VT_I2", VT_I2}, {"VT_I4", VT_I4},
      {"VT_R4", VT_R4}, {"VT_R8", VT_R8}, {"VT_CY", VT_CY}, {"VT_DATE", VT_DATE},
      {"VT_BSTR", VT_BSTR}, {"VT_DISPATCH", VT_DISPATCH}, {"VT_ERROR", VT_ERROR},
      {"VT_BOOL", VT_BOOL}, {"VT_VARIANT", VT_VARIANT}, {"VT_UNKNOWN", VT_UNKNOWN},
      {"VT_DECIMAL", VT_DECIMAL}, {"VT_I1", VT_I1}, {"VT_UI1", VT_UI1}, {"VT_UI2", VT_UI2},
      {"VT_UI4", VT_UI4}, {"VT_I8", VT_I8}, {"VT_UI8", VT_UI8}, {"VT_INT", VT_INT},
      {"VT_UINT", VT_UINT}, {"VT_VOID", VT_VOID}, {"VT_HRESULT", VT_HRESULT},
      {"VT_ARRAY", VT_ARRAY}, {"VT_BYREF", VT_BYREF}, {"VT_TYPEMASK", VT_TYPEMASK},
  };
  for (const Named& t : kTypes) m.attr(t.name) = t.value;
}

}  // namespace quillbox::python
