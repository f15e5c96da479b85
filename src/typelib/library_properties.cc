// The property-set interfaces: the collection of a storage's sets, one set,
// and one property (with the clipboard and picture members of its value).
#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

// _PropertySets: sets by name or by FMTID text.
constexpr ParamDesc kAddSetParams[] = {
    In(u"FmtId", kBstr),
    Optional(u"Name", kBstr, DefaultText(u"")),
    Optional(u"Simple", kBool, DefaultInteger(0)),
    Optional(u"Ansi", kBool, DefaultInteger(0)),
};
constexpr ParamDesc kAddNamedSetParams[] = {
    Optional(u"Name", kBstr, DefaultText(u"")),
    Optional(u"Simple", kBool, DefaultInteger(0)),
    Optional(u"Ansi", kBool, DefaultInteger(0)),
};
constexpr ParamDesc kNameOrFmtIdParam[] = {In(u"NameOrFMTID", kBstr)};
constexpr MemberDesc kPropertySetsMembers[] = {
    NewEnum(),
    Method(u"Add", 1001, kAddSetParams, Interface(u"_PropertySet")),
    Get(u"Count", 1002, kLong),
    Get(u"Item", DISPID_VALUE, Interface(u"_PropertySet"), kNameOrFmtIdParam),
    Method(u"Remove", 1004, kNameOrFmtIdParam),
    Method(u"AddNamed", 1005, kAddNamedSetParams, Interface(u"_PropertySet")),
};

// _PropertySet: properties by PropId or by name; the optional PropId and
// Name are variants, so that a missing one can be told from 0 or "".
constexpr ParamDesc kNameOrPropIdParam[] = {In(u"NameOrPropId", kVariant)};
constexpr ParamDesc kAddPropertyParams[] = {
    In(u"Value", kVariant),
    Optional(u"PropId", kVariant),
    Optional(u"Name", kVariant),
    Optional(u"FormatEnum", Enum(u"ssFormatEnum"), DefaultConstant(u"ssFormatDefault", 0)),
};
constexpr ParamDesc kPropIdParam[] = {In(u"PropId", kLong)};
constexpr ParamDesc kAddFromClipboardParams[] = {
    Optional(u"PropId", kVariant),
    Optional(u"Name", kVariant),
    Optional(u"Format", Enum(u"ssClipboardFormat"), DefaultConstant(u"ssAllClipboardFormats", 0)),
};
constexpr ParamDesc kAddPictureParams[] = {
    In(u"Picture", kDispatch),
    Optional(u"PropId", kVariant),
    Optional(u"Name", kVariant),
    Optional(u"ForceMetafile", kBool, DefaultInteger(0)),
};
constexpr MemberDesc kPropertySetMembers[] = {
    Method(u"Item", DISPID_VALUE, kNameOrPropIdParam, Interface(u"_Property")),
    Method(u"Add", 1001, kAddPropertyParams, Interface(u"_Property")),
    Get(u"Count", 1002, kLong),
    Get(u"ItemById", 1003, Interface(u"_Property"), kPropIdParam),
    Get(u"ItemByName", 1004, Interface(u"_Property"), kNameParam),
    Method(u"RemoveId", 1005, kPropIdParam),
    Method(u"RemoveName", 1006, kNameParam),
    Get(u"FmtId", 1007, kBstr),
    Get(u"Name", 1008, kBstr),
    Put(u"Name", 1008, kNewBstr),
    Method(u"AddPropertyFromClipboard", 1009, kAddFromClipboardParams, Interface(u"_Property")),
    Method(u"AddPictureProperty", 1010, kAddPictureParams, Interface(u"_Property")),
    NewEnum(),
};

// _Property: the value's put comes before its get, as the slots have it.
constexpr ParamDesc kValueWithFormatParams[] = {
    In(u"newVal", kVariant),
    Optional(u"Format", Enum(u"ssFormatEnum"), DefaultConstant(u"ssFormatDefault", 0)),
};
constexpr ParamDesc kSaveClipboardParams[] = {
    Optional(u"Format", Enum(u"ssClipboardFormat"), DefaultConstant(u"ssAllClipboardFormats", 0)),
};
constexpr MemberDesc kPropertyMembers[] = {
    Get(u"Name", 1001, kBstr),
    Put(u"Name", 1001, kNewBstr),
    Put(u"Value", 1002, kNewVariant),
    Get(u"Value", 1002, kVariant),
    Get(u"PropId", 1003, kLong),
    Method(u"ValueWithFormat", 1004, kValueWithFormatParams),
    Method(u"RestoreClipboard", 1005),
    Method(u"SaveClipboard", 1006, kSaveClipboardParams),
    Get(u"Picture", 1007, kDispatch),
    PutRef(u"Picture", 1007, kNewDispatch),
    PutRef(u"PictureAsWindowsMetafile", 1008, kNewDispatch),
    Method(u"IsValue", 1009, {}, kBool),
    Method(u"IsClipboardFormat", 1010, {}, kBool),
};

}  // namespace

constinit const InterfaceDesc kPropertySetsInterface = {
    .name = u"_PropertySets",
    .iid = GuidLiteral("{35223D84-6645-11D4-9F00-0000E8C6EB23}"),
    .members = kPropertySetsMembers,
    .help = u"_PropertySets Interface",
};
constinit const InterfaceDesc kPropertySetInterface = {
    .name = u"_PropertySet",
    .iid = GuidLiteral("{35223D86-6645-11D4-9F00-0000E8C6EB23}"),
    .members = kPropertySetMembers,
    .help = u"_PropertySet Interface",
};
constinit const InterfaceDesc kPropertyInterface = {
    .name = u"_Property",
    .iid = GuidLiteral("{EA8487A1-665E-11D4-9F00-0000E8C6EB23}"),
    .members = kPropertyMembers,
    .help = u"_Property Interface",
};

}  // namespace quillbox::typelib
