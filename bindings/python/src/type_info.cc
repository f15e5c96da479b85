// Type information through ITypeInfo and ITypeLib: members for dir(), the
// interface errors are reported on, and the library's constants.
#include "type_info.h"

#include "com_error.h"
#include "quillbox/com_ptr.h"
#include "quillbox/oleauto.h"
#include "values.h"

namespace quillbox::python {


namespace {

// At most this many members, parameters or types are read from one
// description: type information from a third party is input like any other.
constexpr UINT kMaxItems = 4096;

ComPtr<ITypeInfo> TypeInfoOf(IDispatch* object) {
  UINT count = 0;
  ComPtr<ITypeInfo> info;
  if (FAILED(object->GetTypeInfoCount(&count)) || count == 0) return info;
  if (FAILED(object->GetTypeInfo(0, 0, info.put()))) info.reset();
  return info;
}

std::u16string NameOf(ITypeInfo* info, MEMBERID id) {
  BSTR name = nullptr;
  if (FAILED(info->GetDocumentation(id, &name, nullptr, nullptr, nullptr))) return {};
  std::u16string text = BstrText(name);
  SysFreeString(name);
  return text;
}

// The parameter names of a function: GetNames gives the member first.
std::vector<std::u16string> ParamNames(ITypeInfo* info, MEMBERID id, UINT count) {
  std::vector<BSTR> names(count + 1, nullptr);
  UINT got = 0;
  std::vector<std::u16string> out(count);
  if (SUCCEEDED(info->GetNames(id, names.data(), count + 1, &got))) {
    for (UINT i = 1; i < got && i <= count; ++i) out[i - 1] = BstrText(names[i]);
  }
  for (BSTR b : names) SysFreeString(b);
  return out;
}

py::dict DescribeFunction(ITypeInfo* info, const FUNCDESC& f) {
  py::dict member;
  member["name"] = ToPython(NameOf(info, f.memid));
  member["memid"] = f.memid;
  member["invkind"] = static_cast<int>(f.invkind);
  member["hidden"] = (f.wFuncFlags & (FUNCFLAG_FHIDDEN | FUNCFLAG_FRESTRICTED)) != 0;
  member["restricted"] = (f.wFuncFlags & FUNCFLAG_FRESTRICTED) != 0;
  const UINT count = f.cParams < 0 ? 0 : (static_cast<UINT>(f.cParams) > kMaxItems ? kMaxItems : static_cast<UINT>(f.cParams));
  const std::vector<std::u16string> names = ParamNames(info, f.memid, count);
  py::list params;
  for (UINT i = 0; i < count; ++i) {
    const ELEMDESC& e = f.lprgelemdescParam[i];
    VARTYPE vt = e.tdesc.vt;
    if (vt == VT_PTR && e.tdesc.lptdesc) vt = e.tdesc.lptdesc->vt;  // by reference: the pointed-to type
    params.append(py::make_tuple(ToPython(names[i]), static_cast<int>(e.paramdesc.wParamFlags), vt));
  }
  member["params"] = params;
  member["result"] = f.elemdescFunc.tdesc.vt;
  return member;
}

}  // namespace

py::object DescribeMembers(IDispatch* object) {
  ComPtr<ITypeInfo> info = TypeInfoOf(object);
  if (!info) return py::none();
  TYPEATTR* attr = nullptr;
  if (FAILED(info->GetTypeAttr(&attr)) || !attr) return py::none();
  py::dict out;
  out["name"] = ToPython(NameOf(info.get(), MEMBERID_NIL));
  out["iid"] = ToPython(GuidText(attr->guid));
  py::list members;
  const UINT funcs = attr->cFuncs > kMaxItems ? kMaxItems : attr->cFuncs;
  for (UINT i = 0; i < funcs; ++i) {
    FUNCDESC* f = nullptr;
    if (FAILED(info->GetFuncDesc(i, &f)) || !f) continue;
    try {
      members.append(DescribeFunction(info.get(), *f));
    } catch (...) {
      info->ReleaseFuncDesc(f);
      info->ReleaseTypeAttr(attr);
      throw;
    }
    info->ReleaseFuncDesc(f);
  }
  info->ReleaseTypeAttr(attr);
  out["members"] = members;
  return out;
}

std::u16string ErrorInterface(IDispatch* object) {
  ComPtr<ITypeInfo> info = TypeInfoOf(object);
  if (!info) return {};
  TYPEATTR* attr = nullptr;
  if (FAILED(info->GetTypeAttr(&attr)) || !attr) return {};
  const GUID iid = attr->guid;
  info->ReleaseTypeAttr(attr);
  ComPtr<ISupportErrorInfo> support;
  if (FAILED(object->QueryInterface(IID_ISupportErrorInfo, support.put_void())) || !support) return {};
  return support->InterfaceSupportsErrorInfo(iid) == S_OK ? GuidText(iid) : std::u16string();
}

py::dict LibraryConstants(const GUID& libid, WORD major, WORD minor) {
  py::dict out;
  ComPtr<ITypeLib> lib;
  if (FAILED(LoadRegTypeLib(libid, major, minor, 0, lib.put())) || !lib) return out;
  const UINT count = lib->GetTypeInfoCount() > kMaxItems ? kMaxItems : lib->GetTypeInfoCount();
  for (UINT t = 0; t < count; ++t) {
    TYPEKIND kind{};
    if (FAILED(lib->GetTypeInfoType(t, &kind)) || kind != TKIND_ENUM) continue;
    ComPtr<ITypeInfo> info;
    TYPEATTR* attr = nullptr;
    if (FAILED(lib->GetTypeInfo(t, info.put())) || FAILED(info->GetTypeAttr(&attr)) || !attr) continue;
    const UINT vars = attr->cVars > kMaxItems ? kMaxItems : attr->cVars;
    info->ReleaseTypeAttr(attr);
    for (UINT i = 0; i < vars; ++i) {
      VARDESC* v = nullptr;
      if (FAILED(info->GetVarDesc(i, &v)) || !v) continue;
      const bool is_constant = v->varkind == VAR_CONST && v->lpvarValue;
      const MEMBERID id = v->memid;
      OwnedVariant value;
      const HRESULT hr = is_constant ? VariantCopy(value.get(), v->lpvarValue) : E_FAIL;
      info->ReleaseVarDesc(v);
      if (SUCCEEDED(hr)) out[ToPython(NameOf(info.get(), id))] = FromVariant(*value);
    }
  }
  return out;
}


}  // namespace quillbox::python
