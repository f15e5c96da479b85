// _Dispatch: names, Invoke with converted arguments, results and errors.
#include "dispatch_object.h"

#include <vector>

#include "com_error.h"
#include "enumerator.h"
#include "quillbox/oleauto.h"
#include "type_info.h"
#include "values.h"

namespace quillbox::python {
namespace {

// What quillbox/_dispatch.py registers to wrap a _Dispatch as a Dispatch.
PyObject* g_wrapper = nullptr;

// An object that is neither a dispatch object nor an enumerator.
struct UnknownObject {
  ComPtr<IUnknown> object;
};

// Invoke's arguments: VARIANTs that clear themselves, and the places that
// by-reference arguments point to (sized up front so they never move).
struct ArgumentBlock {
  std::vector<VARIANT> values;
  std::vector<VARIANT> referenced;
  ArgumentBlock(std::size_t count, std::size_t by_reference) : values(count), referenced(by_reference) {
    for (VARIANT& v : values) VariantInit(&v);
    for (VARIANT& v : referenced) VariantInit(&v);
  }
  ~ArgumentBlock() {
    for (VARIANT& v : values) {
      if (!(v.vt & VT_BYREF)) VariantClear(&v);
    }
    for (VARIANT& v : referenced) VariantClear(&v);
  }
  ArgumentBlock(const ArgumentBlock&) = delete;
  ArgumentBlock& operator=(const ArgumentBlock&) = delete;
};

bool Contains(const std::vector<std::size_t>& list, std::size_t n) {
  for (std::size_t x : list) {
    if (x == n) return true;
  }
  return false;
}

std::vector<std::size_t> Positions(const py::sequence& s) {
  std::vector<std::size_t> out;
  for (py::handle h : s) out.push_back(h.cast<std::size_t>());
  return out;
}

// Fills `slot` with the value, or makes it a reference to a fresh VARIANT
// holding the value (an input-output) when it is passed by reference.
void Bind(py::handle value, bool by_reference, VARIANT* slot, VARIANT* referenced) {
  if (!by_reference) {
    ToVariant(value, slot);
    return;
  }
  if (!value.is_none()) ToVariant(value, referenced);
  slot->vt = VT_BYREF | VT_VARIANT;
  slot->pvarVal = referenced;
}

[[noreturn]] void RaiseInvokeError(IDispatch* object, HRESULT hr, EXCEPINFO& info) {
  ErrorDetails details;
  details.hresult = hr;
  if (hr == DISP_E_EXCEPTION) {
    if (info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
    if (info.scode) details.hresult = info.scode;
    details.description = BstrText(info.bstrDescription);
    details.source = BstrText(info.bstrSource);
  }
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrSource);
  SysFreeString(info.bstrHelpFile);
  ErrorDetails thread;
  if (TakeErrorInfo(&thread)) {
    if (details.description.empty()) details.description = thread.description;
    if (details.source.empty()) details.source = thread.source;
    details.iid = thread.iid;
  }
  // EXCEPINFO has no place for the interface: the object's own one, when
  // it says its errors are reported on it.
  if (details.iid.empty() && hr == DISP_E_EXCEPTION) details.iid = ErrorInterface(object);
  if (hr != DISP_E_EXCEPTION) RaiseComError(hr);
  RaiseComError(details);
}

}  // namespace

py::list DispatchObject::Ids(const py::list& names) const {
  std::vector<std::u16string> texts;
  for (py::handle n : names) texts.push_back(FromPython(n));
  std::vector<LPOLESTR> pointers;
  for (std::u16string& t : texts) pointers.push_back(t.data());
  std::vector<DISPID> ids(texts.size(), DISPID_UNKNOWN);
  const HRESULT hr = object_->GetIDsOfNames(GUID_NULL, pointers.data(), static_cast<UINT>(pointers.size()),
                                            0, ids.data());
  CheckResult(hr);
  py::list out;
  for (DISPID id : ids) out.append(id);
  return out;
}

py::object DispatchObject::Invoke(DISPID id, WORD flags, const py::sequence& args, const py::sequence& named_ids,
                                  const py::sequence& named_args, const py::sequence& byref_args,
                                  const py::sequence& byref_named, bool raw) const {
  const std::size_t positional = args.size();
  const std::size_t named = named_args.size();
  if (named_ids.size() != named) throw py::value_error("one DISPID for each named argument");
  const std::vector<std::size_t> out_args = Positions(byref_args);
  const std::vector<std::size_t> out_named = Positions(byref_named);
  const bool is_put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  if (is_put && positional == 0) throw py::type_error("a put needs a value");

  // rgvarg: the named arguments in order, then the positional ones last
  // first; a put's value is named DISPID_PROPERTYPUT.
  const std::size_t put_value = is_put ? 1 : 0;
  ArgumentBlock block(positional + named, out_args.size() + out_named.size());
  std::vector<DISPID> ids;
  std::size_t next_ref = 0;
  if (is_put) {
    ids.push_back(DISPID_PROPERTYPUT);
    Bind(args[positional - 1], false, &block.values[0], nullptr);
  }
  for (std::size_t n = 0; n < named; ++n) {
    ids.push_back(named_ids[n].cast<DISPID>());
    const bool ref = Contains(out_named, n);
    Bind(named_args[n], ref, &block.values[put_value + n], ref ? &block.referenced[next_ref++] : nullptr);
  }
  const std::size_t plain = positional - put_value;
  const std::size_t named_total = named + put_value;
  std::vector<VARIANT*> arg_refs(positional, nullptr);
  for (std::size_t k = 0; k < plain; ++k) {
    const bool ref = Contains(out_args, k);
    VARIANT* place = ref ? &block.referenced[next_ref++] : nullptr;
    arg_refs[k] = place;
    Bind(args[k], ref, &block.values[named_total + plain - 1 - k], place);
  }

  DISPPARAMS params{block.values.data(), ids.data(), static_cast<UINT>(block.values.size()),
                    static_cast<UINT>(ids.size())};
  if (block.values.empty()) params.rgvarg = nullptr;
  if (ids.empty()) params.rgdispidNamedArgs = nullptr;
  OwnedVariant result;
  EXCEPINFO info{};
  UINT arg_err = 0;
  SetErrorInfo(0, nullptr);  // no stale error information is read as this call's
  const HRESULT hr = object_->Invoke(id, GUID_NULL, 0, flags, &params, result.get(), &info, &arg_err);
  if (FAILED(hr)) RaiseInvokeError(object_.get(), hr, info);

  py::object value;
  if (raw) {
    TypedValue typed;
    typed.vt = result.get()->vt;
    typed.value = FromVariant(*result);
    value = py::cast(typed);
  } else {
    value = FromVariant(*result);
  }
  if (out_args.empty() && out_named.empty()) return value;
  py::list outs_args, outs_named;
  for (std::size_t k : out_args) {
    if (k < plain) outs_args.append(FromVariant(*arg_refs[k]));
  }
  for (std::size_t n = 0; n < named; ++n) {
    if (!Contains(out_named, n)) continue;
    outs_named.append(FromVariant(*block.values[put_value + n].pvarVal));
  }
  return py::make_tuple(value, outs_args, outs_named);
}

py::object DispatchObject::NewEnum() const {
  OwnedVariant result;
  EXCEPINFO info{};
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  SetErrorInfo(0, nullptr);
  const HRESULT hr = object_->Invoke(DISPID_NEWENUM, GUID_NULL, 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                                     &none, result.get(), &info, nullptr);
  if (FAILED(hr)) RaiseInvokeError(object_.get(), hr, info);
  const VARIANT& v = *result;
  IUnknown* unknown = (v.vt == VT_UNKNOWN || v.vt == VT_DISPATCH) ? v.punkVal : nullptr;
  ComPtr<IEnumVARIANT> e;
  if (!unknown || FAILED(unknown->QueryInterface(IID_IEnumVARIANT, e.put_void())) || !e) {
    RaiseComError(DISP_E_TYPEMISMATCH);
  }
  return py::cast(Enumerator(std::move(e)));
}

std::uintptr_t DispatchObject::Identity() const {
  ComPtr<IUnknown> unknown;
  if (FAILED(object_->QueryInterface(IID_IUnknown, unknown.put_void()))) return 0;
  return reinterpret_cast<std::uintptr_t>(unknown.get());
}

py::object WrapDispatch(IDispatch* object) {
  if (!object) return py::none();
  py::object raw = py::cast(DispatchObject(ComPtr<IDispatch>(object)));
  if (!g_wrapper) return raw;
  return py::reinterpret_borrow<py::object>(g_wrapper)(raw);
}

py::object WrapUnknown(IUnknown* object) {
  if (!object) return py::none();
  ComPtr<IDispatch> dispatch;
  if (SUCCEEDED(object->QueryInterface(IID_IDispatch, dispatch.put_void())) && dispatch) {
    return WrapDispatch(dispatch.get());
  }
  ComPtr<IEnumVARIANT> e;
  if (SUCCEEDED(object->QueryInterface(IID_IEnumVARIANT, e.put_void())) && e) {
    return py::cast(Enumerator(std::move(e)));
  }
  return py::cast(UnknownObject{ComPtr<IUnknown>(object)});
}

IDispatch* DispatchOf(py::handle value) {
  if (py::isinstance<DispatchObject>(value)) return value.cast<const DispatchObject&>().get();
  if (py::hasattr(value, "_oleobj_")) {
    py::object inner = value.attr("_oleobj_");
    if (py::isinstance<DispatchObject>(inner)) return inner.cast<const DispatchObject&>().get();
  }
  return nullptr;
}

IUnknown* UnknownOf(py::handle value) {
  if (py::isinstance<Enumerator>(value)) return value.cast<const Enumerator&>().get();
  if (py::isinstance<UnknownObject>(value)) return value.cast<const UnknownObject&>().object.get();
  return nullptr;
}

void BindDispatch(py::module_& m) {
  py::class_<UnknownObject>(m, "_Unknown", "An object with neither IDispatch nor IEnumVARIANT.");
  py::class_<DispatchObject>(m, "_Dispatch", "An IDispatch; quillbox.Dispatch gives it attribute syntax.")
      .def("ids", &DispatchObject::Ids, py::arg("names"))
      .def("invoke", &DispatchObject::Invoke, py::arg("dispid"), py::arg("flags"), py::arg("args"),
           py::arg("named_ids") = py::tuple(), py::arg("named_args") = py::tuple(),
           py::arg("byref_args") = py::tuple(), py::arg("byref_named") = py::tuple(), py::arg("raw") = false)
      .def("new_enum", &DispatchObject::NewEnum)
      .def("identity", &DispatchObject::Identity)
      .def("describe", [](const DispatchObject& d) { return DescribeMembers(d.get()); },
           "Members from the type information, or None when the object gives none.");
  m.def("_set_dispatch_wrapper", [](py::object wrapper) {
    Py_XDECREF(g_wrapper);
    g_wrapper = wrapper.release().ptr();
  });
}

}  // namespace quillbox::python
