// Writes the library as C++ the way MIDL maps it: each interface an abstract
// class over IDispatch with its members in slot order (get_X, put_X,
// putref_X, the [out, retval] value last as a pointer), the enumerations as
// enums of LONG, and the identifiers as constexpr GUIDs.
#include "typelib/header_writer.h"

#include <cctype>
#include <stdexcept>
#include <vector>

#include "typelib/writer_text.h"

namespace quillbox::typelib {
namespace {

std::string CppType(const TypeRef& t) {
  switch (t.vt) {
    case VT_BSTR: return "BSTR";
    case VT_BOOL: return "VARIANT_BOOL";
    case VT_UI1: return "BYTE";
    case VT_I2: return "SHORT";
    case VT_I4: return "LONG";
    case VT_R4: return "FLOAT";
    case VT_R8: return "DOUBLE";
    case VT_CY: return "CY";
    case VT_DATE: return "DATE";
    case VT_DECIMAL: return "DECIMAL";
    case VT_VARIANT: return "VARIANT";
    case VT_UNKNOWN: return "IUnknown*";
    case VT_DISPATCH: return t.name ? Narrow(t.name) + "*" : "IDispatch*";
    case VT_USERDEFINED: return Narrow(t.name);
    case VT_SAFEARRAY: return "SAFEARRAY*";
    default: throw std::invalid_argument("no C++ spelling for VARTYPE " + std::to_string(t.vt));
  }
}

std::string MethodName(const MemberDesc& m) {
  switch (m.kind) {
    case MemberKind::kPropertyGet: return "get_" + Narrow(m.name);
    case MemberKind::kPropertyPut: return "put_" + Narrow(m.name);
    case MemberKind::kPropertyPutRef: return "putref_" + Narrow(m.name);
    case MemberKind::kMethod: break;
  }
  return Narrow(m.name);
}

void WriteMethod(const MemberDesc& m, std::string& out) {
  std::vector<std::string> params;
  for (const ParamDesc& p : m.params) {
    std::string type = CppType(p.type);
    if (p.direction != Direction::kIn) type += "*";
    params.push_back(type + " " + Narrow(p.name));
  }
  if (m.result.vt != VT_VOID) params.push_back(CppType(m.result) + "* " + Narrow(ResultName(m)));
  out += JoinParams("  STDMETHOD(" + MethodName(m) + ")", params, " = 0;\n", 6);
}

// MIDL's names for the identifiers.
std::string IidName(const InterfaceDesc& i) { return (i.dual ? "IID_" : "DIID_") + Narrow(i.name); }

void WriteInterface(const InterfaceDesc& i, std::string& out) {
  const std::string name = Narrow(i.name);
  out += "// " + Narrow(i.help) + "\n";
  if (i.members.empty()) {
    out += "struct " + name + " : public IDispatch {};\n";
  } else {
    out += "struct " + name + " : public IDispatch {\n";
    for (const MemberDesc& m : i.members) WriteMethod(m, out);
    out += "};\n";
  }
  out += "QUILLBOX_DECLARE_INTERFACE(" + name + ", IDispatch, " + IidName(i) + ");\n\n";
}

void WriteEnum(const EnumDesc& e, std::string& out) {
  out += "enum " + Narrow(e.name) + " : LONG {\n";
  for (const EnumConstant& c : e.constants) {
    out += "  " + Narrow(c.name) + " = " + std::to_string(c.value) + ",\n";
  }
  out += "};\n\n";
}

}  // namespace

std::string WriteHeader(const LibraryDesc& library) {
  const std::string version = std::to_string(library.major_version) + "." + std::to_string(library.minor_version);
  std::string out = "// The interfaces of the type library " + Narrow(library.name) + " " + version +
                    " as C++, laid out as MIDL\n// lays them out.\n// " + kGeneratedNotice + "\n";
  out += "#pragma once\n\n#include <quillbox/platform.h>\n\n";

  out += "// Every interface first, so that members may name any of them.\n";
  for (const InterfaceDesc& i : library.interfaces) out += "struct " + Narrow(i.name) + ";\n";
  out += "\n";

  for (const EnumDesc& e : library.enums) WriteEnum(e, out);

  out += "inline constexpr GUID LIBID_" + Narrow(library.name) + " = " + GuidInitializer(library.libid) + ";\n";
  for (const InterfaceDesc& i : library.interfaces) {
    out += "inline constexpr IID " + IidName(i) + " = " + GuidInitializer(i.iid) + ";\n";
  }
  for (const CoclassDesc& c : library.coclasses) {
    const std::string name = Narrow(c.name);
    out += "inline constexpr CLSID CLSID_" + name + " = " + GuidInitializer(c.clsid) + ";\n";
    // A coclass spelled with a lower-case first letter is also reachable by
    // its class's own name.
    if (!name.empty() && std::islower(static_cast<unsigned char>(name[0]))) {
      std::string upper = name;
      upper[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(upper[0])));
      out += "inline constexpr const CLSID& CLSID_" + upper + " = CLSID_" + name + ";\n";
    }
  }
  out += "\n";

  for (const InterfaceDesc& i : library.interfaces) WriteInterface(i, out);
  out.pop_back();
  return out;
}

}  // namespace quillbox::typelib
