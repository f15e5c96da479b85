// Shorthands for writing the library's data: the types of parameters and
// results, and members built from name, DISPID, parameters and result.
// Used only by the library_*.cc files.
#pragma once

#include "typelib/guid_literal.h"
#include "typelib/type_library.h"

namespace quillbox::typelib {

inline constexpr TypeRef kBstr{VT_BSTR};
inline constexpr TypeRef kBool{VT_BOOL};
inline constexpr TypeRef kByte{VT_UI1};
inline constexpr TypeRef kShort{VT_I2};
inline constexpr TypeRef kLong{VT_I4};
inline constexpr TypeRef kSingle{VT_R4};
inline constexpr TypeRef kDouble{VT_R8};
inline constexpr TypeRef kCurrency{VT_CY};
inline constexpr TypeRef kDate{VT_DATE};
inline constexpr TypeRef kDecimal{VT_DECIMAL};
inline constexpr TypeRef kVariant{VT_VARIANT};
inline constexpr TypeRef kUnknown{VT_UNKNOWN};
inline constexpr TypeRef kDispatch{VT_DISPATCH};

// One of this library's interfaces, passed as that interface.
constexpr TypeRef Interface(const char16_t* name) { return {VT_DISPATCH, name}; }
// One of this library's enumerations.
constexpr TypeRef Enum(const char16_t* name) { return {VT_USERDEFINED, name}; }

constexpr DefaultValue DefaultInteger(long long value) {
  return {.kind = DefaultValue::Kind::kInteger, .integer = value};
}
constexpr DefaultValue DefaultText(const char16_t* text) {
  return {.kind = DefaultValue::Kind::kText, .text = text};
}
constexpr DefaultValue DefaultConstant(const char16_t* constant, long long value) {
  return {.kind = DefaultValue::Kind::kInteger, .integer = value, .constant = constant};
}

constexpr ParamDesc In(const char16_t* name, TypeRef type) { return {name, type}; }
constexpr ParamDesc InOut(const char16_t* name, TypeRef type) { return {name, type, Direction::kInOut}; }
constexpr ParamDesc Optional(const char16_t* name, TypeRef type, DefaultValue value = {}) {
  return {name, type, Direction::kIn, true, value};
}

constexpr MemberDesc Method(const char16_t* name, DISPID id, std::span<const ParamDesc> params = {},
                            TypeRef result = kVoid, const char16_t* result_name = nullptr) {
  return {.name = name, .id = id, .kind = MemberKind::kMethod, .params = params, .result = result,
          .result_name = result_name};
}
constexpr MemberDesc Get(const char16_t* name, DISPID id, TypeRef result,
                         std::span<const ParamDesc> params = {}) {
  return {.name = name, .id = id, .kind = MemberKind::kPropertyGet, .params = params, .result = result};
}
constexpr MemberDesc Put(const char16_t* name, DISPID id, std::span<const ParamDesc> value) {
  return {.name = name, .id = id, .kind = MemberKind::kPropertyPut, .params = value};
}
constexpr MemberDesc PutRef(const char16_t* name, DISPID id, std::span<const ParamDesc> value) {
  return {.name = name, .id = id, .kind = MemberKind::kPropertyPutRef, .params = value};
}
// The for-each enumerator of a collection: hidden from object browsers.
constexpr MemberDesc NewEnum() {
  return {.name = u"_NewEnum", .id = DISPID_NEWENUM, .kind = MemberKind::kPropertyGet, .result = kUnknown,
          .hidden = true};
}

// The value of a property put: the library names none, so every put takes
// `newVal` (as `Property.ValueWithFormat` names its value).
inline constexpr ParamDesc kNewBstr[] = {In(u"newVal", kBstr)};
inline constexpr ParamDesc kNewBool[] = {In(u"newVal", kBool)};
inline constexpr ParamDesc kNewLong[] = {In(u"newVal", kLong)};
inline constexpr ParamDesc kNewDate[] = {In(u"newVal", kDate)};
inline constexpr ParamDesc kNewVariant[] = {In(u"newVal", kVariant)};
inline constexpr ParamDesc kNewDispatch[] = {In(u"newVal", kDispatch)};

// Parameters several interfaces share.
inline constexpr ParamDesc kNameParam[] = {In(u"Name", kBstr)};
inline constexpr ParamDesc kFilenameParam[] = {In(u"filename", kBstr)};
inline constexpr ParamDesc kFailIfThereParam[] = {Optional(u"FailIfThere", kBool, DefaultInteger(0))};

}  // namespace quillbox::typelib
