// Writes the library as MIDL would read it: enumerations as typedef enum,
// dual interfaces with their members' attributes, coclasses with their flags.
#include "typelib/idl_writer.h"

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "typelib/writer_text.h"

namespace quillbox::typelib {
namespace {

std::string IdlType(const TypeRef& t) {
  switch (t.vt) {
    case VT_BSTR: return "BSTR";
    case VT_BOOL: return "VARIANT_BOOL";
    case VT_UI1: return "unsigned char";
    case VT_I2: return "short";
    case VT_I4: return "long";
    case VT_R4: return "float";
    case VT_R8: return "double";
    case VT_CY: return "CURRENCY";
    case VT_DATE: return "DATE";
    case VT_DECIMAL: return "DECIMAL";
    case VT_VARIANT: return "VARIANT";
    case VT_UNKNOWN: return "IUnknown*";
    case VT_DISPATCH: return t.name ? Narrow(t.name) + "*" : "IDispatch*";
    case VT_USERDEFINED: return Narrow(t.name);
    case VT_SAFEARRAY: return "SAFEARRAY(" + IdlType(TypeRef{t.element}) + ")";
    default: throw std::invalid_argument("no IDL spelling for VARTYPE " + std::to_string(t.vt));
  }
}

std::string DefaultText(const DefaultValue& d) {
  switch (d.kind) {
    case DefaultValue::Kind::kInteger:
      return d.constant ? Narrow(d.constant) : std::to_string(d.integer);
    case DefaultValue::Kind::kReal: {
      char text[64];
      std::snprintf(text, sizeof text, "%.17g", d.real);
      return text;
    }
    case DefaultValue::Kind::kText: return "\"" + Narrow(d.text) + "\"";
    case DefaultValue::Kind::kNone: break;
  }
  return {};
}

std::string ParamText(const ParamDesc& p) {
  std::string attributes;
  std::string type = IdlType(p.type);
  switch (p.direction) {
    case Direction::kIn: attributes = "in"; break;
    case Direction::kOut: attributes = "out"; type += "*"; break;
    case Direction::kInOut: attributes = "in, out"; type += "*"; break;
  }
  if (p.optional) attributes += ", optional";
  if (p.optional && p.default_value.kind != DefaultValue::Kind::kNone) {
    attributes += ", defaultvalue(" + DefaultText(p.default_value) + ")";
  }
  return "[" + attributes + "] " + type + " " + Narrow(p.name);
}

const char* KindAttribute(MemberKind kind) {
  switch (kind) {
    case MemberKind::kPropertyGet: return ", propget";
    case MemberKind::kPropertyPut: return ", propput";
    case MemberKind::kPropertyPutRef: return ", propputref";
    case MemberKind::kMethod: break;
  }
  return "";
}

void WriteMember(const MemberDesc& m, std::string& out) {
  out += "        [id(" + std::to_string(m.id) + ")" + KindAttribute(m.kind);
  if (m.hidden) out += ", hidden";
  out += ", helpstring(\"" + Narrow(MemberHelp(m).c_str()) + "\")]\n";
  std::vector<std::string> params;
  for (const ParamDesc& p : m.params) params.push_back(ParamText(p));
  if (m.result.vt != VT_VOID) {
    params.push_back("[out, retval] " + IdlType(m.result) + "* " + Narrow(ResultName(m)));
  }
  out += JoinParams("        HRESULT " + Narrow(m.name), params, ";\n", 12);
}

void WriteEnum(const EnumDesc& e, std::string& out) {
  const std::string name = Narrow(e.name);
  out += "    typedef enum " + name + " {\n";
  for (std::size_t i = 0; i < e.constants.size(); ++i) {
    out += "        " + Narrow(e.constants[i].name) + " = " + std::to_string(e.constants[i].value);
    out += i + 1 < e.constants.size() ? ",\n" : "\n";
  }
  out += "    } " + name + ";\n\n";
}

void WriteInterface(const InterfaceDesc& i, std::string& out) {
  const std::string name = Narrow(i.name);
  if (!i.dual) {
    // A source interface: a dispinterface whose members (none so far) are
    // only ever called by the object, on its clients.
    out += "    [\n        uuid(" + GuidBareText(i.iid) + "),\n";
    out += "        helpstring(\"" + Narrow(i.help) + "\")\n    ]\n";
    out += "    dispinterface " + name + " {\n        properties:\n        methods:\n";
    for (const MemberDesc& m : i.members) WriteMember(m, out);
    out += "    };\n\n";
    return;
  }
  out += "    [\n        object,\n        uuid(" + GuidBareText(i.iid) + "),\n";
  out += "        dual,\n        oleautomation,\n";
  out += "        helpstring(\"" + Narrow(i.help) + "\"),\n";
  out += "        pointer_default(unique)\n    ]\n";
  out += "    interface " + name + " : IDispatch {\n";
  for (const MemberDesc& m : i.members) WriteMember(m, out);
  out += "    };\n\n";
}

void WriteCoclass(const LibraryDesc& library, const CoclassDesc& c, std::string& out) {
  out += "    [\n        uuid(" + GuidBareText(c.clsid) + "),\n";
  if (c.flags & kTypeFlagAppObject) out += "        appobject,\n";
  if (c.flags & kTypeFlagPredeclId) out += "        predeclid,\n";
  if (!(c.flags & kTypeFlagCanCreate)) out += "        noncreatable,\n";
  out += "        helpstring(\"" + Narrow(c.help) + "\")\n    ]\n";
  out += "    coclass " + Narrow(c.name) + " {\n";
  out += "        [default] interface " + Narrow(c.default_interface) + ";\n";
  if (c.source_interface) {
    const InterfaceDesc* source = nullptr;
    for (const auto& i : library.interfaces) {
      if (std::u16string_view(i.name) == c.source_interface) source = &i;
    }
    const char* keyword = source && !source->dual ? "dispinterface" : "interface";
    out += std::string("        [default, source] ") + keyword + " " + Narrow(c.source_interface) + ";\n";
  }
  out += "    };\n\n";
}

}  // namespace

std::string WriteIdl(const LibraryDesc& library) {
  std::string out = "// The type library " + Narrow(library.name) + " " + std::to_string(library.major_version) +
                    "." + std::to_string(library.minor_version) + ".\n// " + kGeneratedNotice + "\n\n";
  out += "[\n    uuid(" + GuidBareText(library.libid) + "),\n";
  out += "    version(" + std::to_string(library.major_version) + "." + std::to_string(library.minor_version) +
         "),\n";
  out += "    helpstring(\"" + Narrow(library.help) + "\")\n]\n";
  out += "library " + Narrow(library.name) + "\n{\n";
  out += "    importlib(\"stdole2.tlb\");\n\n";
  // Interfaces refer to each other in any order.
  for (const InterfaceDesc& i : library.interfaces) {
    out += std::string("    ") + (i.dual ? "interface " : "dispinterface ") + Narrow(i.name) + ";\n";
  }
  out += "\n";
  for (const EnumDesc& e : library.enums) WriteEnum(e, out);
  for (const InterfaceDesc& i : library.interfaces) WriteInterface(i, out);
  for (const CoclassDesc& c : library.coclasses) WriteCoclass(library, c, out);
  out.pop_back();  // one blank line fewer before the closing brace
  out += "};\n";
  return out;
}

}  // namespace quillbox::typelib
