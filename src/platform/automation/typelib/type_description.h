// The description a type library is built from: every interface with its
// members in slot order, every enumeration and every coclass, as plain
// constant data. A module describes its library once in these structs; the
// type-library service (ITypeLib, ITypeInfo, ITypeInfo::Invoke) serves it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "quillbox/oaidl.h"

namespace quillbox::automation {

// A type as the library declares it. vt is a VARTYPE of a value type
// (VT_I2, VT_I4, VT_R8, VT_BSTR, VT_BOOL, VT_DATE, VT_CY, VT_VARIANT,
// VT_UNKNOWN, VT_DISPATCH, VT_HRESULT, VT_VOID), or VT_USERDEFINED with
// `name` naming an enumeration of this library (stored as a 4-byte integer),
// or VT_DISPATCH with `name` naming one of this library's interfaces (or an
// outside one such as "IPictureDisp"), or VT_SAFEARRAY with `element` the
// element's VARTYPE (e.g. VT_UI1 for a byte array), or VT_PTR with `element`
// the VARTYPE pointed at.
struct TypeRef {
  VARTYPE vt = VT_EMPTY;
  const char16_t* name = nullptr;
  VARTYPE element = VT_EMPTY;
};

inline constexpr TypeRef kVoid{VT_VOID};

// The declared default of an optional parameter.
struct DefaultValue {
  enum class Kind { kNone, kInteger, kReal, kText };
  Kind kind = Kind::kNone;
  long long integer = 0;
  double real = 0;
  const char16_t* text = nullptr;
  // When the default is an enumeration constant: its name, written in the
  // IDL in place of the number (`integer` still holds the value).
  const char16_t* constant = nullptr;
};

enum class Direction { kIn, kOut, kInOut };

struct ParamDesc {
  const char16_t* name;
  TypeRef type;
  Direction direction = Direction::kIn;
  bool optional = false;
  DefaultValue default_value{};  // only when optional
};

enum class MemberKind { kMethod, kPropertyGet, kPropertyPut, kPropertyPutRef };

// One vtable slot. A property with get and put has two members with the
// same DISPID, get first. `result` is the [out, retval] value (kVoid when
// the member returns nothing); it is not in `params`.
struct MemberDesc {
  const char16_t* name;
  DISPID id;
  MemberKind kind;
  std::span<const ParamDesc> params;
  TypeRef result = kVoid;
  const char16_t* help = nullptr;
  bool hidden = false;  // _NewEnum and restricted members
  // The name of the [out, retval] parameter where the library names it
  // ("newposition", "NbChar"); otherwise kDefaultResultName.
  const char16_t* result_name = nullptr;
};

inline constexpr const char16_t* kDefaultResultName = u"pVal";

inline const char16_t* ResultName(const MemberDesc& m) {
  return m.result_name ? m.result_name : kDefaultResultName;
}

struct InterfaceDesc {
  const char16_t* name;  // "_Storage"
  IID iid;
  std::span<const MemberDesc> members;  // in slot order, after IDispatch's seven
  const char16_t* help = nullptr;
  bool dual = true;            // false: a pure dispinterface (source interfaces)
};

struct EnumConstant {
  const char16_t* name;
  LONG value;
};

struct EnumDesc {
  const char16_t* name;  // "ssSeekEnum"
  std::span<const EnumConstant> constants;
};

// Coclass flags as in TYPEFLAGS.
inline constexpr unsigned kTypeFlagAppObject = 0x1;
inline constexpr unsigned kTypeFlagCanCreate = 0x2;
inline constexpr unsigned kTypeFlagPredeclId = 0x8;

struct CoclassDesc {
  const char16_t* name;  // as the type library spells it ("storage")
  CLSID clsid;
  const char16_t* default_interface;
  const char16_t* source_interface = nullptr;
  unsigned flags = kTypeFlagCanCreate;
  const char16_t* help = nullptr;
};

// A member's help string as the library states it (its IDL helpstring).
using MemberHelpFunction = std::u16string (*)(const MemberDesc& member);

struct LibraryDesc {
  const char16_t* name;  // "Quillbox"
  GUID libid;
  WORD major_version;
  WORD minor_version;
  const char16_t* help;
  std::span<const InterfaceDesc> interfaces;
  std::span<const EnumDesc> enums;
  std::span<const CoclassDesc> coclasses;
  // Null: a member's help string is its own `help` (or none).
  MemberHelpFunction member_help = nullptr;
};

}  // namespace quillbox::automation
