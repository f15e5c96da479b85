// Building FUNCDESC and VARDESC from the library's description: the types
// of parameters and results as TYPEDESC chains, parameter flags, defaults.
#include <new>

#include "platform/automation/typelib/type_info.h"
#include "quillbox/oleauto.h"

namespace quillbox::automation {
namespace {

TYPEDESC Plain(VARTYPE vt) {
  TYPEDESC t{};
  t.vt = vt;
  return t;
}

TYPEDESC PointerTo(FuncEntry& f, const TYPEDESC& target, VARTYPE vt = VT_PTR) {
  f.nodes.push_back(target);
  TYPEDESC t{};
  t.lptdesc = &f.nodes.back();
  t.vt = vt;
  return t;
}

TYPEDESC UserDefined(HREFTYPE href) {
  TYPEDESC t{};
  t.hreftype = href;
  t.vt = VT_USERDEFINED;
  return t;
}

// The declared type as a TYPEDESC: enumerations and the library's
// interfaces refer to their type info; an interface is passed by pointer.
TYPEDESC TypeOf(FuncEntry& f, const TypeRef& type, const HrefResolver& resolver) {
  switch (type.vt) {
    case VT_USERDEFINED: {
      const HREFTYPE href = resolver.HrefOfName(type.name);
      return href == kNoHref ? Plain(VT_I4) : UserDefined(href);
    }
    case VT_DISPATCH: {
      const HREFTYPE href = type.name ? resolver.HrefOfName(type.name) : kNoHref;
      return href == kNoHref ? Plain(VT_DISPATCH) : PointerTo(f, UserDefined(href));
    }
    case VT_SAFEARRAY: return PointerTo(f, Plain(type.element), VT_SAFEARRAY);
    case VT_PTR: return PointerTo(f, Plain(type.element));
    default: return Plain(type.vt);
  }
}

// The VARIANT type a default is stored as: the parameter's own type (an
// enumeration's is a 4-byte integer; a VARIANT parameter keeps the
// default's natural type).
VARTYPE DefaultType(const TypeRef& type, const DefaultValue& value) {
  switch (type.vt) {
    case VT_USERDEFINED: return VT_I4;
    case VT_VARIANT:
      return value.kind == DefaultValue::Kind::kText ? VT_BSTR
             : value.kind == DefaultValue::Kind::kReal ? VT_R8
                                                       : VT_I4;
    default: return type.vt;
  }
}

// Stores the default of `p` in a PARAMDESCEX; false when it has none or it
// cannot be held in the parameter's type.
bool AddDefault(FuncEntry& f, const ParamDesc& p, PARAMDESC* out) {
  using Kind = DefaultValue::Kind;
  const DefaultValue& d = p.default_value;
  if (!p.optional || d.kind == Kind::kNone) return false;
  VARIANT source;
  VariantInit(&source);
  switch (d.kind) {
    case Kind::kInteger:
      source.vt = VT_I8;
      source.llVal = d.integer;
      break;
    case Kind::kReal:
      source.vt = VT_R8;
      source.dblVal = d.real;
      break;
    case Kind::kText:
      source.vt = VT_BSTR;
      source.bstrVal = SysAllocString(d.text ? d.text : u"");
      if (!source.bstrVal) throw std::bad_alloc();
      break;
    case Kind::kNone: break;
  }
  PARAMDESCEX ex{};
  ex.cBytes = sizeof(PARAMDESCEX);
  VariantInit(&ex.varDefaultValue);
  const HRESULT hr = VariantChangeType(&ex.varDefaultValue, &source, 0, DefaultType(p.type, d));
  VariantClear(&source);
  if (FAILED(hr)) return false;
  f.defaults.push_back(ex);
  out->pparamdescex = &f.defaults.back();
  return true;
}

USHORT FlagsOf(const ParamDesc& p) {
  USHORT flags = 0;
  if (p.direction != Direction::kOut) flags |= PARAMFLAG_FIN;
  if (p.direction != Direction::kIn) flags |= PARAMFLAG_FOUT;
  if (p.optional) flags |= PARAMFLAG_FOPT;
  return flags;
}

INVOKEKIND InvokeKindOf(MemberKind kind) {
  switch (kind) {
    case MemberKind::kMethod: return INVOKE_FUNC;
    case MemberKind::kPropertyGet: return INVOKE_PROPERTYGET;
    case MemberKind::kPropertyPut: return INVOKE_PROPERTYPUT;
    case MemberKind::kPropertyPutRef: return INVOKE_PROPERTYPUTREF;
  }
  return INVOKE_FUNC;
}

}  // namespace

FuncEntry::~FuncEntry() {
  for (PARAMDESCEX& d : defaults) VariantClear(&d.varDefaultValue);
}

std::unique_ptr<FuncEntry> DescribeFunction(const MemberDesc& member, FunctionShape shape, SHORT vtable_offset,
                                            WORD func_flags, const HrefResolver& resolver) {
  auto f = std::make_unique<FuncEntry>();
  f->member = &member;
  f->names.push_back(member.name);
  const bool has_result = member.result.vt != VT_VOID;
  const bool retval_param = shape == FunctionShape::kVtable && has_result;
  f->params.resize(member.params.size() + (retval_param ? 1 : 0));
  SHORT optional_without_default = 0;
  for (std::size_t i = 0; i < member.params.size(); ++i) {
    const ParamDesc& p = member.params[i];
    ELEMDESC& e = f->params[i];
    e = ELEMDESC{};
    const TYPEDESC type = TypeOf(*f, p.type, resolver);
    e.tdesc = p.direction == Direction::kIn ? type : PointerTo(*f, type);
    e.paramdesc.wParamFlags = FlagsOf(p);
    if (AddDefault(*f, p, &e.paramdesc)) {
      e.paramdesc.wParamFlags |= PARAMFLAG_FHASDEFAULT;
    } else if (p.optional) {
      ++optional_without_default;
    }
    f->names.push_back(p.name);
  }
  if (retval_param) {
    ELEMDESC& e = f->params.back();
    e = ELEMDESC{};
    e.tdesc = PointerTo(*f, TypeOf(*f, member.result, resolver));
    e.paramdesc.wParamFlags = PARAMFLAG_FOUT | PARAMFLAG_FRETVAL;
    f->names.push_back(ResultName(member));
  }

  FUNCDESC& d = f->desc;
  d.memid = member.id;
  d.lprgelemdescParam = f->params.empty() ? nullptr : f->params.data();
  d.funckind = shape == FunctionShape::kVtable ? FUNC_PUREVIRTUAL : FUNC_DISPATCH;
  d.invkind = InvokeKindOf(member.kind);
  d.callconv = CC_STDCALL;
  d.cParams = static_cast<SHORT>(f->params.size());
  d.cParamsOpt = optional_without_default;
  d.oVft = vtable_offset;
  d.elemdescFunc = ELEMDESC{};
  if (shape == FunctionShape::kVtable) {
    d.elemdescFunc.tdesc = Plain(VT_HRESULT);
  } else {
    d.elemdescFunc.tdesc = has_result ? TypeOf(*f, member.result, resolver) : Plain(VT_VOID);
  }
  d.wFuncFlags = static_cast<WORD>(func_flags | (member.hidden ? FUNCFLAG_FHIDDEN : 0));
  return f;
}

void DescribeConstant(const EnumConstant& constant, MEMBERID memid, VarEntry* out) {
  out->name = constant.name;
  VariantInit(&out->value);
  out->value.vt = VT_I4;
  out->value.lVal = constant.value;
  out->desc = VARDESC{};
  out->desc.memid = memid;
  out->desc.lpvarValue = &out->value;
  out->desc.elemdescVar.tdesc = Plain(VT_I4);
  out->desc.varkind = VAR_CONST;
}

}  // namespace quillbox::automation
