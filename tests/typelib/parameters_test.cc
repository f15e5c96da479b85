// Parameters and results of the members whose signatures carry the most
// detail: names, types, directions, optional arguments and their defaults.
#include <string_view>

#include <gtest/gtest.h>

#include "typelib/type_library.h"

namespace quillbox::typelib {
namespace {

const MemberDesc& Member(const char16_t* interface_name, const char16_t* member, MemberKind kind) {
  const InterfaceDesc* i = FindInterface(interface_name);
  if (i) {
    for (const MemberDesc& m : i->members) {
      if (std::u16string_view(m.name) == member && m.kind == kind) return m;
    }
  }
  ADD_FAILURE() << "member not found";
  static const MemberDesc kNone{u"", 0, MemberKind::kMethod, {}};
  return kNone;
}

TEST(Parameters, SeekTakesAnOptionalOriginDefaultingToTheBeginning) {
  const MemberDesc& m = Member(u"_Stream", u"Seek", MemberKind::kMethod);
  ASSERT_EQ(m.params.size(), 2u);
  EXPECT_EQ(std::u16string_view(m.params[0].name), u"position");
  EXPECT_EQ(m.params[0].type.vt, VT_I4);
  EXPECT_FALSE(m.params[0].optional);
  EXPECT_EQ(std::u16string_view(m.params[1].name), u"seekpos");
  EXPECT_EQ(m.params[1].type.vt, VT_USERDEFINED);
  EXPECT_EQ(std::u16string_view(m.params[1].type.name), u"ssSeekEnum");
  EXPECT_TRUE(m.params[1].optional);
  EXPECT_EQ(m.params[1].default_value.kind, DefaultValue::Kind::kInteger);
  EXPECT_EQ(m.params[1].default_value.integer, 0);
  EXPECT_EQ(m.result.vt, VT_I4);
  EXPECT_EQ(std::u16string_view(ResultName(m)), u"newposition");
}

TEST(Parameters, ReadBytesTakesItsCountInAndOut) {
  const MemberDesc& m = Member(u"_Stream", u"ReadBytes", MemberKind::kMethod);
  ASSERT_EQ(m.params.size(), 1u);
  EXPECT_EQ(std::u16string_view(m.params[0].name), u"NbBytes");
  EXPECT_EQ(m.params[0].direction, Direction::kInOut);
  EXPECT_EQ(m.result.vt, VT_VARIANT);
  EXPECT_EQ(std::u16string_view(ResultName(m)), u"tabBytes");
}

TEST(Parameters, WriteStringDefaultsToUnicodeLengthFirst) {
  const MemberDesc& m = Member(u"_Stream", u"WriteString", MemberKind::kMethod);
  ASSERT_EQ(m.params.size(), 5u);
  const char16_t* names[] = {u"sVal", u"CharacterType", u"StringType", u"NbChar", u"CodePage"};
  const long long defaults[] = {0, 1200, 0, 0, 1200};
  for (std::size_t k = 0; k < 5; ++k) {
    EXPECT_EQ(std::u16string_view(m.params[k].name), names[k]);
    EXPECT_EQ(m.params[k].optional, k > 0);
    if (k > 0) {
      EXPECT_EQ(m.params[k].default_value.integer, defaults[k]);
    }
  }
  EXPECT_EQ(std::u16string_view(m.params[1].type.name), u"ssCharacterTypeEnum");
  EXPECT_EQ(std::u16string_view(m.params[2].type.name), u"ssStringInStreamEnum");
}

TEST(Parameters, ScalarWritesUseTheirValueNamesAndWidths) {
  struct Case {
    const char16_t* member;
    const char16_t* param;
    VARTYPE vt;
  };
  const Case cases[] = {{u"WriteByte", u"data", VT_UI1},       {u"WriteInteger", u"data", VT_I2},
                        {u"WriteBoolean", u"bVal", VT_BOOL},   {u"WriteLong", u"data", VT_I4},
                        {u"WriteSingle", u"singleVal", VT_R4}, {u"WriteDouble", u"dVal", VT_R8},
                        {u"WriteCurrency", u"cyVal", VT_CY},   {u"WriteDate", u"dtVal", VT_DATE},
                        {u"WriteDecimal", u"dcmlVal", VT_DECIMAL}};
  for (const Case& c : cases) {
    const MemberDesc& m = Member(u"_Stream", c.member, MemberKind::kMethod);
    ASSERT_EQ(m.params.size(), 1u);
    EXPECT_EQ(std::u16string_view(m.params[0].name), c.param);
    EXPECT_EQ(m.params[0].type.vt, c.vt);
    EXPECT_EQ(m.result.vt, VT_VOID);
  }
  EXPECT_EQ(std::u16string_view(ResultName(Member(u"_Stream", u"ReadDouble", MemberKind::kMethod))), u"retour");
}

TEST(Parameters, RegisterDocumentRegistersTheThumbnailByDefault) {
  const MemberDesc& m = Member(u"_StructuredStorage", u"RegisterDocument", MemberKind::kMethod);
  ASSERT_EQ(m.params.size(), 7u);
  EXPECT_FALSE(m.params[0].optional);
  EXPECT_EQ(m.params[1].default_value.kind, DefaultValue::Kind::kText);
  EXPECT_EQ(std::u16string_view(m.params[1].default_value.text), u"");
  EXPECT_EQ(std::u16string_view(m.params[5].name), u"numIconInFile");
  EXPECT_EQ(m.params[5].type.vt, VT_I4);
  EXPECT_EQ(std::u16string_view(m.params[6].name), u"RegisterThumbnail");
  EXPECT_EQ(m.params[6].type.vt, VT_BOOL);
  EXPECT_EQ(m.params[6].default_value.integer, -1);
}

TEST(Parameters, OpenDocumentIsReadWriteByDefault) {
  const MemberDesc& m = Member(u"_StructuredStorage", u"OpenDocument", MemberKind::kMethod);
  ASSERT_EQ(m.params.size(), 2u);
  EXPECT_EQ(std::u16string_view(m.params[1].name), u"readOnly");
  EXPECT_EQ(m.params[1].type.vt, VT_BOOL);
  EXPECT_TRUE(m.params[1].optional);
  EXPECT_EQ(m.params[1].default_value.integer, 0);
  EXPECT_EQ(m.result.vt, VT_DISPATCH);
  EXPECT_EQ(std::u16string_view(m.result.name), u"_CompoundDocument");
}

TEST(Parameters, PropertySetAddTakesOptionalVariantsForIdAndName) {
  const MemberDesc& m = Member(u"_PropertySet", u"Add", MemberKind::kMethod);
  ASSERT_EQ(m.params.size(), 4u);
  EXPECT_EQ(m.params[1].type.vt, VT_VARIANT);
  EXPECT_TRUE(m.params[1].optional);
  EXPECT_EQ(m.params[1].default_value.kind, DefaultValue::Kind::kNone);
  EXPECT_EQ(std::u16string_view(m.params[3].name), u"FormatEnum");
  EXPECT_EQ(std::u16string_view(m.params[3].default_value.constant), u"ssFormatDefault");
}

TEST(Parameters, PicturesArePutByReference) {
  const MemberDesc& m = Member(u"_Property", u"PictureAsWindowsMetafile", MemberKind::kPropertyPutRef);
  ASSERT_EQ(m.params.size(), 1u);
  EXPECT_EQ(m.params[0].type.vt, VT_DISPATCH);
  const MemberDesc& thumb = Member(u"_SummaryInformation", u"Thumbnail", MemberKind::kPropertyPutRef);
  ASSERT_EQ(thumb.params.size(), 1u);
  EXPECT_EQ(thumb.params[0].type.vt, VT_DISPATCH);
}

TEST(Parameters, UserDefinedValueIsAGetByName) {
  const MemberDesc& m = Member(u"_UserDefined", u"Value", MemberKind::kPropertyGet);
  ASSERT_EQ(m.params.size(), 1u);
  EXPECT_EQ(std::u16string_view(m.params[0].name), u"Name");
  EXPECT_EQ(m.result.vt, VT_VARIANT);
}

}  // namespace
}  // namespace quillbox::typelib
