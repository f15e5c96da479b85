// The stream's interface, whose slots mix the raw, scalar, string, picture
// and object members in the order the stream class has always had, and its
// memberless event interface.
#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

constexpr ParamDesc kWriteParams[] = {In(u"data", kVariant)};
constexpr ParamDesc kSeekParams[] = {
    In(u"position", kLong),
    Optional(u"seekpos", Enum(u"ssSeekEnum"), DefaultConstant(u"ssSeekBegin", 0)),
};
constexpr ParamDesc kReadBytesParams[] = {InOut(u"NbBytes", kLong)};
constexpr ParamDesc kWriteBytesParams[] = {In(u"tabBytes", kVariant)};

// Scalars: each write takes the value under the name the stream gives it.
constexpr ParamDesc kWriteLongParams[] = {In(u"data", kLong)};
constexpr ParamDesc kWriteIntegerParams[] = {In(u"data", kShort)};
constexpr ParamDesc kWriteByteParams[] = {In(u"data", kByte)};
constexpr ParamDesc kWriteBooleanParams[] = {In(u"bVal", kBool)};
constexpr ParamDesc kWriteSingleParams[] = {In(u"singleVal", kSingle)};
constexpr ParamDesc kWriteDoubleParams[] = {In(u"dVal", kDouble)};
constexpr ParamDesc kWriteCurrencyParams[] = {In(u"cyVal", kCurrency)};
constexpr ParamDesc kWriteDecimalParams[] = {In(u"dcmlVal", kDecimal)};
constexpr ParamDesc kWriteDateParams[] = {In(u"dtVal", kDate)};

// Strings: encoding, framing, fixed length and code page, all optional.
constexpr ParamDesc kWriteStringParams[] = {
    In(u"sVal", kBstr),
    Optional(u"CharacterType", Enum(u"ssCharacterTypeEnum"), DefaultConstant(u"ssUnicodeString", 1200)),
    Optional(u"StringType", Enum(u"ssStringInStreamEnum"), DefaultConstant(u"ssWriteLengthFirst", 0)),
    Optional(u"NbChar", kLong, DefaultInteger(0)),
    Optional(u"CodePage", kLong, DefaultInteger(1200)),
};
constexpr ParamDesc kReadStringParams[] = {
    Optional(u"CharacterType", Enum(u"ssCharacterTypeEnum"), DefaultConstant(u"ssUnicodeString", 1200)),
    Optional(u"StringType", Enum(u"ssStringInStreamEnum"), DefaultConstant(u"ssWriteLengthFirst", 0)),
    Optional(u"NbChar", kLong, DefaultInteger(0)),
    Optional(u"CodePage", kLong, DefaultInteger(1200)),
};

// Pictures and persistent objects travel as plain dispatch pointers.
constexpr ParamDesc kWritePictureParams[] = {In(u"Picture", kDispatch)};
constexpr ParamDesc kWriteObjectParams[] = {In(u"object", kDispatch)};

constexpr MemberDesc kStreamMembers[] = {
    Get(u"Name", 100, kBstr),
    Get(u"Size", 101, kLong),
    Method(u"Write", 1000, kWriteParams, kLong, u"NbChar"),
    Method(u"Read", 1001, {}, kVariant, u"data"),
    Method(u"Seek", 1003, kSeekParams, kLong, u"newposition"),
    Method(u"ReadBytes", 1004, kReadBytesParams, kVariant, u"tabBytes"),
    Method(u"WriteBytes", 1005, kWriteBytesParams, kLong, u"NbBytes"),
    Method(u"ReadLong", 1006, {}, kLong),
    Method(u"WriteLong", 1007, kWriteLongParams),
    Method(u"ReadInteger", 1008, {}, kShort),
    Method(u"WriteInteger", 1009, kWriteIntegerParams),
    Method(u"ReadBoolean", 1010, {}, kBool),
    Method(u"ReadSingle", 1011, {}, kSingle),
    Method(u"WriteString", 1027, kWriteStringParams),
    Method(u"WriteByte", 1028, kWriteByteParams),
    Method(u"ReadByte", 1029, {}, kByte),
    Put(u"Name", 100, kNewBstr),
    Method(u"ReadDouble", 1012, {}, kDouble, u"retour"),
    Method(u"ReadCurrency", 1013, {}, kCurrency),
    Method(u"ReadDecimal", 1014, {}, kDecimal),
    Method(u"ReadDate", 1015, {}, kDate),
    Method(u"ReadPicture", 1016, {}, kDispatch),
    Method(u"ReadObject", 1017, {}, kDispatch),
    Method(u"ReadString", 1018, kReadStringParams, kBstr),
    Method(u"WriteBoolean", 1019, kWriteBooleanParams),
    Method(u"WriteSingle", 1020, kWriteSingleParams),
    Method(u"WriteDouble", 1021, kWriteDoubleParams),
    Method(u"WriteCurrency", 1022, kWriteCurrencyParams),
    Method(u"WriteDecimal", 1023, kWriteDecimalParams),
    Method(u"WriteDate", 1024, kWriteDateParams),
    Method(u"WritePicture", 1025, kWritePictureParams),
    Method(u"WriteObject", 1026, kWriteObjectParams),
    Put(u"Size", 101, kNewLong),
};

}  // namespace

constinit const InterfaceDesc kStreamInterface = {
    .name = u"_Stream",
    .iid = GuidLiteral("{8A7D064D-6242-11D4-9F08-400004053024}"),
    .members = kStreamMembers,
    .help = u"_Stream Interface",
};

// The stream class names an outgoing interface but never fires anything.
constinit const InterfaceDesc kStreamEventsInterface = {
    .name = u"__StreamEvents",
    .iid = GuidLiteral("{8A7D064F-6242-11D4-9F08-400004053024}"),
    .members = {},
    .help = u"__StreamEvents Interface",
    .dual = false,
};

}  // namespace quillbox::typelib
