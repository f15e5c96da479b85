// The storage tree's interfaces: the root object, the compound document, the
// storage element and its two element collections.
#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

// _StructuredStorage: the application object; every member makes a new object.
constexpr ParamDesc kOpenParams[] = {
    In(u"filename", kBstr),
    Optional(u"readOnly", kBool, DefaultInteger(0)),
};
constexpr ParamDesc kRegisterDocumentParams[] = {
    In(u"DocumentName", kBstr),
    Optional(u"FileExtension", kBstr, DefaultText(u"")),
    Optional(u"OpenCommand", kBstr, DefaultText(u"")),
    Optional(u"PrintCommand", kBstr, DefaultText(u"")),
    Optional(u"FileForDefaultIcon", kBstr, DefaultText(u"")),
    Optional(u"numIconInFile", kLong, DefaultInteger(0)),
    Optional(u"RegisterThumbnail", kBool, DefaultInteger(-1)),  // True
};
constexpr MemberDesc kStructuredStorageMembers[] = {
    Method(u"CreateDocument", 1000, kFilenameParam, Interface(u"_CompoundDocument")),
    Method(u"OpenDocument", 1001, kOpenParams, Interface(u"_CompoundDocument")),
    Method(u"NtfsFilePropertySets", 1002, kOpenParams, Interface(u"_NtfsFilePropertySets")),
    Method(u"CreateMemoryStream", 1003, {}, Interface(u"_Stream")),
    Method(u"CreateMemoryStorage", 1004, {}, Interface(u"_Storage")),
    Method(u"RegisterDocument", 1005, kRegisterDocumentParams),
    Method(u"IsCompoundDocument", 1006, kFilenameParam, kBool),
};

// _CompoundDocument: one compound file and its four children.
constexpr MemberDesc kCompoundDocumentMembers[] = {
    Method(u"SaveAs", 1000, kFilenameParam),
    Get(u"filename", 1001, kBstr),
    Get(u"RootStorage", 1002, Interface(u"_Storage")),
    Get(u"SummaryInformation", 1003, Interface(u"_SummaryInformation")),
    Get(u"DocumentSummaryInformation", 1004, Interface(u"_DocumentSummary")),
    Get(u"UserDefined", 1005, Interface(u"_UserDefined")),
};

// _Storage: one storage element; the embedded-object members sit between
// the getters and the two time setters.
constexpr ParamDesc kContainerParam[] = {In(u"Container", kUnknown)};
constexpr ParamDesc kObjectParam[] = {In(u"object", kUnknown)};
// The library leaves this argument unnamed; `control` is the name its
// description of the member uses.
constexpr ParamDesc kControlParam[] = {In(u"control", kDispatch)};
constexpr ParamDesc kOleControlParam[] = {In(u"OleControl", kDispatch)};
constexpr MemberDesc kStorageMembers[] = {
    Get(u"Name", 100, kBstr),
    Put(u"Name", 100, kNewBstr),
    Get(u"LastModified", 102, kDate),
    Get(u"Creation", 103, kDate),
    Get(u"Storages", 1000, Interface(u"_Storages")),
    Get(u"Streams", 1001, Interface(u"_Streams")),
    Get(u"PropertySets", 1002, Interface(u"_PropertySets")),
    Get(u"Clsid", 1003, kBstr),
    Method(u"LoadEmbeddedObject", 1004, kContainerParam, kUnknown),
    Method(u"UpdateEmbeddedObject", 1005, kObjectParam),
    Method(u"UpdateEmbeddedObjectFromVBOleControl", 1006, kControlParam),
    Method(u"LoadEmbeddedObjectInVbOleControl", 1007, kOleControlParam),
    Put(u"Creation", 103, kNewDate),
    Put(u"LastModified", 102, kNewDate),
};

// _Storages and _Streams: the children of a storage by name.
constexpr ParamDesc kAddEmbeddedObjectParams[] = {In(u"Name", kBstr), In(u"object", kUnknown)};
constexpr ParamDesc kAddFromControlParams[] = {In(u"Name", kBstr), In(u"OleControl", kDispatch)};
constexpr MemberDesc kStoragesMembers[] = {
    NewEnum(),
    Get(u"Count", 1001, kLong),
    Get(u"Item", DISPID_VALUE, Interface(u"_Storage"), kNameParam),
    Method(u"Add", 1003, kNameParam, Interface(u"_Storage")),
    Method(u"Remove", 1004, kNameParam),
    Method(u"AddEmbeddedObject", 1005, kAddEmbeddedObjectParams, Interface(u"_Storage")),
    Method(u"AddEmbeddedObjectFromVBOleControl", 1006, kAddFromControlParams, Interface(u"_Storage")),
};
constexpr MemberDesc kStreamsMembers[] = {
    NewEnum(),
    Get(u"Count", 1001, kLong),
    Get(u"Item", DISPID_VALUE, Interface(u"_Stream"), kNameParam),
    Method(u"Add", 1003, kNameParam, Interface(u"_Stream")),
    Method(u"Remove", 1004, kNameParam),
};

}  // namespace

constinit const InterfaceDesc kStructuredStorageInterface = {
    .name = u"_StructuredStorage",
    .iid = GuidLiteral("{85C307C4-62DE-11D4-9F08-400004053024}"),
    .members = kStructuredStorageMembers,
    .help = u"_StructuredStorage Interface",
};
constinit const InterfaceDesc kCompoundDocumentInterface = {
    .name = u"_CompoundDocument",
    .iid = GuidLiteral("{527AEF21-630D-11D4-9F08-400004053024}"),
    .members = kCompoundDocumentMembers,
    .help = u"_CompoundDocument Interface",
};
constinit const InterfaceDesc kStorageInterface = {
    .name = u"_Storage",
    .iid = GuidLiteral("{527AEF23-630D-11D4-9F08-400004053024}"),
    .members = kStorageMembers,
    .help = u"_Storage Interface",
};
constinit const InterfaceDesc kStoragesInterface = {
    .name = u"_Storages",
    .iid = GuidLiteral("{1A01C224-63AA-11D4-9F08-400004053024}"),
    .members = kStoragesMembers,
    .help = u"_Storages Interface",
};
constinit const InterfaceDesc kStreamsInterface = {
    .name = u"_Streams",
    .iid = GuidLiteral("{1A01C226-63AA-11D4-9F08-400004053024}"),
    .members = kStreamsMembers,
    .help = u"_Streams Interface",
};

}  // namespace quillbox::typelib
