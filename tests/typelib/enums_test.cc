// The library's enumerations: their names, constants and values.
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "quillbox/winerror.h"
#include "typelib/type_library.h"

namespace quillbox::typelib {
namespace {

std::string Utf8(std::u16string_view text) { return std::string(text.begin(), text.end()); }

LONG ValueOf(const char16_t* enum_name, const char16_t* constant) {
  const EnumDesc* e = FindEnum(enum_name);
  if (e) {
    for (const EnumConstant& c : e->constants) {
      if (std::u16string_view(c.name) == constant) return c.value;
    }
  }
  ADD_FAILURE() << Utf8(enum_name) << "." << Utf8(constant) << " not found";
  return -12345;
}

TEST(Enums, EveryNameAndConstantIsSpelledSs) {
  for (const EnumDesc& e : QuillboxLibrary().enums) {
    EXPECT_TRUE(std::u16string_view(e.name).starts_with(u"ss")) << Utf8(e.name);
    for (const EnumConstant& c : e.constants) {
      EXPECT_TRUE(std::u16string_view(c.name).starts_with(u"ss")) << Utf8(c.name);
    }
  }
}

TEST(Enums, ConstantNamesAndValuesAreUniqueWithinEach) {
  for (const EnumDesc& e : QuillboxLibrary().enums) {
    for (std::size_t a = 0; a < e.constants.size(); ++a) {
      for (std::size_t b = a + 1; b < e.constants.size(); ++b) {
        EXPECT_NE(std::u16string_view(e.constants[a].name), std::u16string_view(e.constants[b].name));
        EXPECT_NE(e.constants[a].value, e.constants[b].value) << Utf8(e.constants[a].name);
      }
    }
  }
}

TEST(Enums, TheLibraryHasSixEnumerations) {
  const char16_t* names[] = {u"ssErrorEnum", u"ssSeekEnum", u"ssCharacterTypeEnum", u"ssStringInStreamEnum",
                             u"ssFormatEnum", u"ssClipboardFormat"};
  EXPECT_EQ(QuillboxLibrary().enums.size(), std::size(names));
  for (const char16_t* name : names) EXPECT_NE(FindEnum(name), nullptr) << Utf8(name);
}

TEST(Enums, ErrorConstantsAreThePlatformsStorageCodes) {
  struct Case {
    const char16_t* name;
    HRESULT code;
  };
  const Case cases[] = {
      {u"ssErrInvalidFunction", STG_E_INVALIDFUNCTION},
      {u"ssErrFileNotFound", STG_E_FILENOTFOUND},
      {u"ssErrPathNotFound", STG_E_PATHNOTFOUND},
      {u"ssErrToManyOpenFiles", STG_E_TOOMANYOPENFILES},
      {u"ssErrAccessDenied", STG_E_ACCESSDENIED},
      {u"ssErrInsufficientMemory", STG_E_INSUFFICIENTMEMORY},
      {u"ssErrInvalidPointer", STG_E_INVALIDPOINTER},
      {u"ssErrDisIsWriteProtected", STG_E_DISKISWRITEPROTECTED},
      {u"ssErrWriteFault", STG_E_WRITEFAULT},
      {u"ssErrReadFault", STG_E_READFAULT},
      {u"ssErrShareViolation", STG_E_SHAREVIOLATION},
      {u"ssErrLockViolation", STG_E_LOCKVIOLATION},
      {u"ssErrFileAllreadyExists", STG_E_FILEALREADYEXISTS},
      {u"ssErrInvalidParameter", STG_E_INVALIDPARAMETER},
      {u"ssErrMediumFull", STG_E_MEDIUMFULL},
      {u"ssErrInvalidname", STG_E_INVALIDNAME},
      {u"ssErrUnimplementedFunction", STG_E_UNIMPLEMENTEDFUNCTION},
      {u"ssErrCantSave", STG_E_CANTSAVE},
      {u"ssErrOldFormat", STG_E_OLDFORMAT},
      {u"ssErrOldDll", STG_E_OLDDLL},
      {u"ssErrIncomplete", STG_E_INCOMPLETE},
  };
  EXPECT_EQ(FindEnum(u"ssErrorEnum")->constants.size(), std::size(cases));
  for (const Case& c : cases) EXPECT_EQ(ValueOf(u"ssErrorEnum", c.name), c.code) << Utf8(c.name);
}

TEST(Enums, SeekOriginsAreThePlatformsOrigins) {
  EXPECT_EQ(ValueOf(u"ssSeekEnum", u"ssSeekBegin"), 0);
  EXPECT_EQ(ValueOf(u"ssSeekEnum", u"ssSeekCurrent"), 1);
  EXPECT_EQ(ValueOf(u"ssSeekEnum", u"ssSeekEnd"), 2);
}

TEST(Enums, CharacterTypesAreCodePages) {
  EXPECT_EQ(ValueOf(u"ssCharacterTypeEnum", u"ssUnicodeString"), 1200);
  EXPECT_EQ(ValueOf(u"ssCharacterTypeEnum", u"ssCurrentCodePageString"), 0);
  EXPECT_EQ(ValueOf(u"ssCharacterTypeEnum", u"ssOemString"), 1);
  EXPECT_EQ(ValueOf(u"ssCharacterTypeEnum", u"ssMacintoshString"), 2);
  EXPECT_EQ(ValueOf(u"ssCharacterTypeEnum", u"ssSymbolString"), 42);
  EXPECT_EQ(ValueOf(u"ssCharacterTypeEnum", u"ssSpecificCodePage"), 3);
}

TEST(Enums, StringFramings) {
  EXPECT_EQ(ValueOf(u"ssStringInStreamEnum", u"ssWriteLengthFirst"), 0);
  EXPECT_EQ(ValueOf(u"ssStringInStreamEnum", u"ssNullTerminated"), 1);
  EXPECT_EQ(ValueOf(u"ssStringInStreamEnum", u"ssFixedLength"), 2);
}

TEST(Enums, FormatsRunFromDefaultToStringVector) {
  const char16_t* names[] = {u"ssFormatDefault",       u"ssFormatOleDateTime",  u"ssFormatFileTime",
                             u"ssFormatString",        u"ssFormatLPWSTR",       u"ssFormatLPSTR",
                             u"ssFormatCLSID",         u"ssFormatVariantVector", u"ssFormatLPWSTRVector",
                             u"ssFormatLPSTRVector",   u"ssFormatStringVector"};
  EXPECT_EQ(FindEnum(u"ssFormatEnum")->constants.size(), std::size(names));
  for (LONG v = 0; v < static_cast<LONG>(std::size(names)); ++v) EXPECT_EQ(ValueOf(u"ssFormatEnum", names[v]), v);
}

TEST(Enums, ClipboardFormatsKeepTheirSpelling) {
  EXPECT_EQ(ValueOf(u"ssClipboardFormat", u"ssAllClipboardFormats"), 0);
  EXPECT_EQ(ValueOf(u"ssClipboardFormat", u"ssFirstFormatInClipboard"), 1);
  EXPECT_EQ(ValueOf(u"ssClipboardFormat", u"ssBitmatpClipboardFormat"), 2);
  EXPECT_EQ(ValueOf(u"ssClipboardFormat", u"ssMetafileClipboardFormat"), 3);
}

}  // namespace
}  // namespace quillbox::typelib
