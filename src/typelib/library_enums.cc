// The library's enumerations: result codes, seek origins, string encodings
// and framings, property value formats and clipboard capture modes.
#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

// The structured-storage result codes, as clients compare them (the names
// are spelled as clients have always known them).
constexpr EnumConstant kErrorConstants[] = {
    {u"ssErrInvalidFunction", static_cast<LONG>(0x80030001)},
    {u"ssErrFileNotFound", static_cast<LONG>(0x80030002)},
    {u"ssErrPathNotFound", static_cast<LONG>(0x80030003)},
    {u"ssErrToManyOpenFiles", static_cast<LONG>(0x80030004)},
    {u"ssErrAccessDenied", static_cast<LONG>(0x80030005)},
    {u"ssErrInsufficientMemory", static_cast<LONG>(0x80030008)},
    {u"ssErrInvalidPointer", static_cast<LONG>(0x80030009)},
    {u"ssErrDisIsWriteProtected", static_cast<LONG>(0x80030013)},
    {u"ssErrWriteFault", static_cast<LONG>(0x8003001D)},
    {u"ssErrReadFault", static_cast<LONG>(0x8003001E)},
    {u"ssErrShareViolation", static_cast<LONG>(0x80030020)},
    {u"ssErrLockViolation", static_cast<LONG>(0x80030021)},
    {u"ssErrFileAllreadyExists", static_cast<LONG>(0x80030050)},
    {u"ssErrInvalidParameter", static_cast<LONG>(0x80030057)},
    {u"ssErrMediumFull", static_cast<LONG>(0x80030070)},
    {u"ssErrInvalidname", static_cast<LONG>(0x800300FC)},
    {u"ssErrUnimplementedFunction", static_cast<LONG>(0x800300FE)},
    {u"ssErrCantSave", static_cast<LONG>(0x80030103)},
    {u"ssErrOldFormat", static_cast<LONG>(0x80030104)},
    {u"ssErrOldDll", static_cast<LONG>(0x80030105)},
    {u"ssErrIncomplete", static_cast<LONG>(0x80030201)},
};

// Origin of a Seek; passed to the platform seek unchanged.
constexpr EnumConstant kSeekConstants[] = {
    {u"ssSeekBegin", 0},
    {u"ssSeekCurrent", 1},
    {u"ssSeekEnd", 2},
};

// Encoding of a string in a stream: 1200 is UTF-16 as it is, every other
// value a code page.
constexpr EnumConstant kCharacterTypeConstants[] = {
    {u"ssUnicodeString", 1200},
    {u"ssCurrentCodePageString", 0},
    {u"ssOemString", 1},
    {u"ssMacintoshString", 2},
    {u"ssSymbolString", 42},
    {u"ssSpecificCodePage", 3},
};

// Framing of a string in a stream.
constexpr EnumConstant kStringInStreamConstants[] = {
    {u"ssWriteLengthFirst", 0},
    {u"ssNullTerminated", 1},
    {u"ssFixedLength", 2},
};

// The stored form asked for when a property value is written.
constexpr EnumConstant kFormatConstants[] = {
    {u"ssFormatDefault", 0},
    {u"ssFormatOleDateTime", 1},
    {u"ssFormatFileTime", 2},
    {u"ssFormatString", 3},
    {u"ssFormatLPWSTR", 4},
    {u"ssFormatLPSTR", 5},
    {u"ssFormatCLSID", 6},
    {u"ssFormatVariantVector", 7},
    {u"ssFormatLPWSTRVector", 8},
    {u"ssFormatLPSTRVector", 9},
    {u"ssFormatStringVector", 10},
};

// What of the clipboard a capture takes (the names, misspelling included,
// are the ones clients use).
constexpr EnumConstant kClipboardFormatConstants[] = {
    {u"ssAllClipboardFormats", 0},
    {u"ssFirstFormatInClipboard", 1},
    {u"ssBitmatpClipboardFormat", 2},
    {u"ssMetafileClipboardFormat", 3},
};

constexpr EnumDesc kEnums[] = {
    {u"ssErrorEnum", kErrorConstants},
    {u"ssSeekEnum", kSeekConstants},
    {u"ssCharacterTypeEnum", kCharacterTypeConstants},
    {u"ssStringInStreamEnum", kStringInStreamConstants},
    {u"ssFormatEnum", kFormatConstants},
    {u"ssClipboardFormat", kClipboardFormatConstants},
};

}  // namespace

std::span<const EnumDesc> LibraryEnums() { return kEnums; }

}  // namespace quillbox::typelib
