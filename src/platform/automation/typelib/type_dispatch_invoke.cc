// Invoke over the type library: find the member, bind the arguments in
// declared order (positional ones arrive last first), coerce each to its
// declared type, call the vtable slot, hand back the [out, retval] value.
#include <string_view>
#include <vector>

#include "platform/automation/typelib/type_dispatch.h"
#include "platform/automation/typelib/vtable_call.h"
#include "quillbox/com_ptr.h"
#include "quillbox/oleauto.h"

namespace quillbox::automation {
namespace {

using automation::Direction;
using automation::MemberDesc;
using automation::MemberKind;
using automation::ParamDesc;
using automation::TypeRef;

// IUnknown's three slots and IDispatch's four come before the members.
constexpr unsigned kFirstMemberSlot = 7;

// The VARIANT type that holds a value of the declared type.
VARTYPE StorageType(const TypeRef& t) {
  switch (t.vt) {
    case VT_USERDEFINED: return VT_I4;
    case VT_SAFEARRAY: return static_cast<VARTYPE>(VT_ARRAY | t.element);
    case VT_HRESULT: return VT_ERROR;
    default: return t.vt;
  }
}

ArgClass ClassOf(VARTYPE storage) {
  switch (storage) {
    case VT_I2: case VT_UI2: case VT_BOOL: return ArgClass::kInt16;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_ERROR: return ArgClass::kInt32;
    case VT_I8: case VT_UI8: case VT_CY: return ArgClass::kInt64;
    case VT_R4: return ArgClass::kFloat;
    case VT_R8: case VT_DATE: return ArgClass::kDouble;
    case VT_VARIANT: return ArgClass::kVariant;
    case VT_DECIMAL: return ArgClass::kDecimal;
    case VT_I1: case VT_UI1: return ArgClass::kInt16;  // promoted like any small integer
    default: return ArgClass::kPointer;
  }
}

// Where a value of the storage type sits inside a VARIANT: every member of
// the value union starts at the same offset.
void* ValueAddress(VARIANT& v, VARTYPE storage) {
  // A DECIMAL fills the whole VARIANT but its first two bytes.
  if (storage == VT_VARIANT || storage == VT_DECIMAL) return &v;
  return &v.llVal;
}

bool Matches(const MemberDesc& m, DISPID id, MemberKind kind) { return m.id == id && m.kind == kind; }

// The member that answers (id, flags), and its slot.
const MemberDesc* FindMember(const InterfaceDesc& desc, DISPID id, WORD flags, unsigned* slot,
                             bool* id_known) {
  *id_known = false;
  auto find = [&](MemberKind kind) -> const MemberDesc* {
    for (std::size_t i = 0; i < desc.members.size(); ++i) {
      if (desc.members[i].id == id) *id_known = true;
      if (Matches(desc.members[i], id, kind)) {
        *slot = kFirstMemberSlot + static_cast<unsigned>(i);
        return &desc.members[i];
      }
    }
    return nullptr;
  };
  const MemberDesc* m = nullptr;
  if (flags & DISPATCH_METHOD) m = find(MemberKind::kMethod);
  if (!m && (flags & DISPATCH_PROPERTYGET)) m = find(MemberKind::kPropertyGet);
  if (!m && (flags & DISPATCH_PROPERTYPUT)) m = find(MemberKind::kPropertyPut);
  if (!m && (flags & DISPATCH_PROPERTYPUTREF)) m = find(MemberKind::kPropertyPutRef);
  return m;
}

bool IsMissing(const VARIANT* v) {
  return v == nullptr || (v->vt == VT_ERROR && v->scode == DISP_E_PARAMNOTFOUND);
}

// One bound parameter: the value as the member receives it.
struct BoundArg {
  VARIANT holder;           // owned value (coerced input, or output place)
  VARIANT* write_back = nullptr;  // caller's VARIANT to receive an output
  void* direct = nullptr;   // caller's own storage, passed straight through
  void* pointer = nullptr;  // the pointer passed for outputs
  SAFEARRAY* locked = nullptr;  // an input array, locked for the call
  BoundArg() { VariantInit(&holder); }
  ~BoundArg() {
    if (locked) SafeArrayUnlock(locked);
    VariantClear(&holder);
  }
  BoundArg(const BoundArg&) = delete;
  BoundArg& operator=(const BoundArg&) = delete;
};

HRESULT SetDefault(const ParamDesc& p, VARTYPE storage, VARIANT* out) {
  using Kind = DefaultValue::Kind;
  VARIANT d;
  VariantInit(&d);
  switch (p.default_value.kind) {
    case Kind::kInteger:
      d.vt = VT_I8;
      d.llVal = p.default_value.integer;
      break;
    case Kind::kReal:
      d.vt = VT_R8;
      d.dblVal = p.default_value.real;
      break;
    case Kind::kText:
      d.vt = VT_BSTR;
      d.bstrVal = SysAllocString(p.default_value.text);
      break;
    case Kind::kNone:
      if (storage == VT_VARIANT) {
        out->vt = VT_ERROR;
        out->scode = DISP_E_PARAMNOTFOUND;
        return S_OK;
      }
      break;
  }
  HRESULT hr = storage == VT_VARIANT ? VariantCopy(out, &d) : VariantChangeType(out, &d, 0, storage);
  VariantClear(&d);
  return hr;
}

// The interface of `library` named `name`, or null.
const InterfaceDesc* FindNamedInterface(const LibraryDesc* library, const char16_t* name) {
  if (!library || !name) return nullptr;
  for (const InterfaceDesc& i : library->interfaces) {
    if (std::u16string_view(i.name) == name) return &i;
  }
  return nullptr;
}

// Coerces an input to the declared type.
HRESULT CoerceIn(const LibraryDesc* library, const TypeRef& type, VARTYPE storage, const VARIANT* source,
                 VARIANT* out) {
  VARIANT plain;
  VariantInit(&plain);
  HRESULT hr = VariantCopyInd(&plain, source);
  if (FAILED(hr)) return hr;
  if (storage == VT_VARIANT) {
    *out = plain;
    return S_OK;
  }
  if (storage & VT_ARRAY) {
    const bool fits = plain.vt == storage || ((storage & VT_TYPEMASK) == VT_VARIANT && (plain.vt & VT_ARRAY));
    if (!fits) {
      VariantClear(&plain);
      return DISP_E_TYPEMISMATCH;
    }
    *out = plain;
    return S_OK;
  }
  if ((storage == VT_DISPATCH || storage == VT_UNKNOWN) && (plain.vt == VT_EMPTY || plain.vt == VT_NULL)) {
    out->vt = storage;  // an absent object
    out->punkVal = nullptr;
    return S_OK;
  }
  hr = VariantChangeType(out, &plain, 0, storage);
  VariantClear(&plain);
  if (FAILED(hr)) return hr;
  // An interface of this library is passed as that interface.
  if (storage == VT_DISPATCH && type.name && out->pdispVal) {
    if (const InterfaceDesc* target = FindNamedInterface(library, type.name)) {
      void* as = nullptr;
      hr = out->pdispVal->QueryInterface(target->iid, &as);
      out->pdispVal->Release();
      out->pdispVal = static_cast<IDispatch*>(as);
      if (FAILED(hr)) {
        out->vt = VT_EMPTY;
        return DISP_E_TYPEMISMATCH;
      }
    }
  }
  return S_OK;
}

// Binds an output (or input-output) parameter to the caller's reference.
HRESULT BindOut(const LibraryDesc* library, const ParamDesc& p, VARTYPE storage, VARIANT* source,
                BoundArg* arg) {
  if (IsMissing(source)) {  // the caller does not want it: a private place
    arg->holder.vt = VT_EMPTY;
    arg->pointer = ValueAddress(arg->holder, storage);
    return S_OK;
  }
  if (!(source->vt & VT_BYREF)) return DISP_E_TYPEMISMATCH;
  if (source->vt == (VT_BYREF | storage)) {
    arg->direct = source->byref;
    arg->pointer = source->byref;
    return S_OK;
  }
  if (source->vt != (VT_BYREF | VT_VARIANT)) return DISP_E_TYPEMISMATCH;
  if (p.direction == Direction::kInOut) {
    HRESULT hr = CoerceIn(library, p.type, storage, source->pvarVal, &arg->holder);
    if (FAILED(hr)) return hr;
  } else if (storage != VT_VARIANT) {
    arg->holder.vt = storage;
    arg->holder.llVal = 0;
    arg->holder.pRecInfo = nullptr;
  }
  arg->write_back = source->pvarVal;
  arg->pointer = ValueAddress(arg->holder, storage);
  return S_OK;
}

void FillException(HRESULT hr, EXCEPINFO* info) {
  if (!info) return;
  *info = EXCEPINFO{};
  info->scode = hr;
  ComPtr<IErrorInfo> error;
  if (GetErrorInfo(0, error.put()) == S_OK && error) {
    error->GetSource(&info->bstrSource);
    error->GetDescription(&info->bstrDescription);
    error->GetHelpFile(&info->bstrHelpFile);
    error->GetHelpContext(&info->dwHelpContext);
  }
}

}  // namespace

HRESULT InvokeFromTypeLib(const InterfaceDesc& desc, IDispatch* object, DISPID id, WORD flags,
                          DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep_info, UINT* arg_err,
                          const LibraryDesc* library) {
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  if (!params) params = &none;
  if (params->cArgs < params->cNamedArgs || (params->cArgs && !params->rgvarg) ||
      (params->cNamedArgs && !params->rgdispidNamedArgs)) {
    return E_INVALIDARG;
  }
  unsigned slot = 0;
  bool id_known = false;
  const MemberDesc* member = FindMember(desc, id, flags, &slot, &id_known);
  if (!member) return DISP_E_MEMBERNOTFOUND;

  const std::size_t count = member->params.size();
  const UINT positional = params->cArgs - params->cNamedArgs;
  const bool is_put = member->kind == MemberKind::kPropertyPut || member->kind == MemberKind::kPropertyPutRef;

  // Which caller VARIANT feeds each declared parameter, and its rgvarg index.
  std::vector<VARIANT*> sources(count, nullptr);
  std::vector<UINT> source_index(count, 0);
  if (positional > count) return DISP_E_BADPARAMCOUNT;
  for (UINT k = 0; k < positional; ++k) {
    sources[k] = &params->rgvarg[params->cArgs - 1 - k];
    source_index[k] = params->cArgs - 1 - k;
  }
  for (UINT n = 0; n < params->cNamedArgs; ++n) {
    DISPID named = params->rgdispidNamedArgs[n];
    std::size_t target;
    if (named == DISPID_PROPERTYPUT) {
      if (!is_put || count == 0) return DISP_E_PARAMNOTFOUND;
      target = count - 1;
    } else {
      if (is_put) return DISP_E_NONAMEDARGS;
      if (named < 0 || static_cast<std::size_t>(named) >= count || sources[named]) {
        if (arg_err) *arg_err = n;
        return DISP_E_PARAMNOTFOUND;
      }
      target = static_cast<std::size_t>(named);
    }
    if (sources[target]) return DISP_E_BADPARAMCOUNT;
    sources[target] = &params->rgvarg[n];
    source_index[target] = n;
  }

  std::vector<BoundArg> bound(count);
  std::vector<RawArg> raw;
  raw.reserve(count + 1);
  for (std::size_t i = 0; i < count; ++i) {
    const ParamDesc& p = member->params[i];
    const VARTYPE storage = StorageType(p.type);
    BoundArg& arg = bound[i];
    HRESULT hr;
    if (p.direction != Direction::kIn) {
      if (!sources[i] && !p.optional) return DISP_E_PARAMNOTOPTIONAL;
      hr = BindOut(library, p, storage, sources[i], &arg);
      if (FAILED(hr)) {
        if (arg_err) *arg_err = source_index[i];
        return hr;
      }
      raw.push_back({ArgClass::kPointer, &arg.pointer});
      continue;
    }
    if (IsMissing(sources[i])) {
      if (!p.optional) {
        return sources[i] ? DISP_E_PARAMNOTOPTIONAL : DISP_E_BADPARAMCOUNT;
      }
      hr = SetDefault(p, storage, &arg.holder);
    } else {
      hr = CoerceIn(library, p.type, storage, sources[i], &arg.holder);
    }
    if (FAILED(hr)) {
      if (arg_err) *arg_err = source_index[i];
      return hr == DISP_E_OVERFLOW ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH;
    }
    // An input is the dispatcher's own copy, freed after the call. A member
    // may take an array argument over and destroy it; locked for the call,
    // the array refuses that destruction and is freed here, once.
    if ((arg.holder.vt & VT_ARRAY) && !(arg.holder.vt & VT_BYREF) && arg.holder.parray &&
        SUCCEEDED(SafeArrayLock(arg.holder.parray))) {
      arg.locked = arg.holder.parray;
    }
    raw.push_back({ClassOf(storage), ValueAddress(arg.holder, storage)});
  }

  // The [out, retval] place.
  BoundArg ret;
  void* ret_pointer = nullptr;
  const VARTYPE ret_storage = StorageType(member->result);
  const bool has_result = member->result.vt != VT_VOID;
  if (has_result) {
    ret_pointer = ValueAddress(ret.holder, ret_storage);
    raw.push_back({ArgClass::kPointer, &ret_pointer});
  }

  const HRESULT hr = CallVtableSlot(object, slot, raw);
  if (FAILED(hr)) {
    FillException(hr, excep_info);
    return DISP_E_EXCEPTION;
  }

  for (std::size_t i = 0; i < count; ++i) {
    BoundArg& arg = bound[i];
    if (arg.write_back) {
      const VARTYPE storage = StorageType(member->params[i].type);
      if (storage != VT_VARIANT) arg.holder.vt = storage;
      VariantClear(arg.write_back);
      *arg.write_back = arg.holder;
      VariantInit(&arg.holder);
    } else if (member->params[i].direction != Direction::kIn && !arg.direct) {
      const VARTYPE storage = StorageType(member->params[i].type);
      if (storage != VT_VARIANT) arg.holder.vt = storage;  // so the holder frees it
    }
  }
  if (has_result) {
    if (ret_storage != VT_VARIANT) ret.holder.vt = ret_storage;
    if (result) {
      VariantInit(result);
      *result = ret.holder;
      VariantInit(&ret.holder);
    }
  } else if (result) {
    VariantInit(result);
  }
  return hr;
}

}  // namespace quillbox::automation
