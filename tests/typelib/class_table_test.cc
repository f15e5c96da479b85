// Every class of the class table has its coclass, with the class table's
// CLSID and default interface, and the library has its published identity.
// The identifiers are written here as the class table gives them and read
// with the platform's own parser, not with the data's.
#include <string_view>

#include <gtest/gtest.h>

#include "quillbox/objbase.h"
#include "typelib/type_library.h"

namespace quillbox::typelib {
namespace {

struct ClassRow {
  const char16_t* coclass;
  const char16_t* clsid;
  const char16_t* interface_name;
  const char16_t* iid;
};

constexpr ClassRow kClassTable[] = {
    {u"Stream", u"{8A7D064E-6242-11D4-9F08-400004053024}", u"_Stream", u"{8A7D064D-6242-11D4-9F08-400004053024}"},
    {u"StructuredStorage", u"{85C307C5-62DE-11D4-9F08-400004053024}", u"_StructuredStorage",
     u"{85C307C4-62DE-11D4-9F08-400004053024}"},
    {u"CompoundDocument", u"{527AEF22-630D-11D4-9F08-400004053024}", u"_CompoundDocument",
     u"{527AEF21-630D-11D4-9F08-400004053024}"},
    {u"storage", u"{527AEF24-630D-11D4-9F08-400004053024}", u"_Storage", u"{527AEF23-630D-11D4-9F08-400004053024}"},
    {u"Storages", u"{1A01C225-63AA-11D4-9F08-400004053024}", u"_Storages", u"{1A01C224-63AA-11D4-9F08-400004053024}"},
    {u"Streams", u"{1A01C227-63AA-11D4-9F08-400004053024}", u"_Streams", u"{1A01C226-63AA-11D4-9F08-400004053024}"},
    {u"PropertySets", u"{35223D85-6645-11D4-9F00-0000E8C6EB23}", u"_PropertySets",
     u"{35223D84-6645-11D4-9F00-0000E8C6EB23}"},
    {u"propertySet", u"{35223D87-6645-11D4-9F00-0000E8C6EB23}", u"_PropertySet",
     u"{35223D86-6645-11D4-9F00-0000E8C6EB23}"},
    {u"property", u"{EA8487A2-665E-11D4-9F00-0000E8C6EB23}", u"_Property", u"{EA8487A1-665E-11D4-9F00-0000E8C6EB23}"},
    {u"SummaryInformation", u"{63207A0A-73B3-11D4-8775-0000E8C6E6BE}", u"_SummaryInformation",
     u"{63207A09-73B3-11D4-8775-0000E8C6E6BE}"},
    {u"DocumentSummary", u"{B977D422-74F3-11D4-9F08-400004053024}", u"_DocumentSummary",
     u"{B977D421-74F3-11D4-9F08-400004053024}"},
    {u"UserDefined", u"{A69D1026-8C15-11D4-8776-0000E8C6E6BE}", u"_UserDefined",
     u"{A69D1025-8C15-11D4-8776-0000E8C6E6BE}"},
    {u"NtfsFilePropertySets", u"{58927E2F-E88B-4609-BD52-6A27E1FC4B28}", u"_NtfsFilePropertySets",
     u"{317F0188-C80B-425C-8576-5AE103BF4530}"},
};

GUID Parse(const char16_t* text) {
  GUID g{};
  EXPECT_EQ(CLSIDFromString(text, &g), S_OK) << "bad GUID text in the test";
  return g;
}

std::string Utf8(const char16_t* text) { return std::string(text, text + std::u16string_view(text).size()); }

TEST(ClassTable, EveryClassHasItsCoclassWithItsClsid) {
  for (const ClassRow& row : kClassTable) {
    const CoclassDesc* c = FindCoclass(row.coclass);
    ASSERT_NE(c, nullptr) << Utf8(row.coclass);
    EXPECT_EQ(c->clsid, Parse(row.clsid)) << Utf8(row.coclass);
  }
}

TEST(ClassTable, EveryCoclassNamesItsDefaultInterface) {
  for (const ClassRow& row : kClassTable) {
    const CoclassDesc* c = FindCoclass(row.coclass);
    ASSERT_NE(c, nullptr) << Utf8(row.coclass);
    EXPECT_EQ(std::u16string_view(c->default_interface), row.interface_name) << Utf8(row.coclass);
  }
}

TEST(ClassTable, EveryDefaultInterfaceHasTheTablesIid) {
  for (const ClassRow& row : kClassTable) {
    const InterfaceDesc* i = FindInterface(row.interface_name);
    ASSERT_NE(i, nullptr) << Utf8(row.interface_name);
    EXPECT_EQ(i->iid, Parse(row.iid)) << Utf8(row.interface_name);
    EXPECT_TRUE(i->dual) << Utf8(row.interface_name);
  }
}

TEST(ClassTable, CoclassesComeInTheTablesOrderAndNoOthers) {
  const auto coclasses = QuillboxLibrary().coclasses;
  ASSERT_EQ(coclasses.size(), std::size(kClassTable));
  for (std::size_t i = 0; i < coclasses.size(); ++i) {
    EXPECT_EQ(std::u16string_view(coclasses[i].name), kClassTable[i].coclass);
  }
}

TEST(ClassTable, StructuredStorageIsTheAppObjectWithPredeclaredId) {
  const CoclassDesc* c = FindCoclass(u"StructuredStorage");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->flags, kTypeFlagAppObject | kTypeFlagCanCreate | kTypeFlagPredeclId);
}

TEST(ClassTable, EveryOtherCoclassIsCreatableOnly) {
  for (const CoclassDesc& c : QuillboxLibrary().coclasses) {
    if (std::u16string_view(c.name) == u"StructuredStorage") continue;
    EXPECT_EQ(c.flags, kTypeFlagCanCreate) << Utf8(c.name);
  }
}

TEST(ClassTable, StreamNamesItsMemberlessEventDispinterface) {
  const CoclassDesc* c = FindCoclass(u"Stream");
  ASSERT_NE(c, nullptr);
  ASSERT_NE(c->source_interface, nullptr);
  EXPECT_EQ(std::u16string_view(c->source_interface), u"__StreamEvents");
  const InterfaceDesc* events = FindInterface(c->source_interface);
  ASSERT_NE(events, nullptr);
  EXPECT_EQ(events->iid, Parse(u"{8A7D064F-6242-11D4-9F08-400004053024}"));
  EXPECT_FALSE(events->dual);
  EXPECT_TRUE(events->members.empty());
}

TEST(ClassTable, OnlyStreamHasASourceInterface) {
  for (const CoclassDesc& c : QuillboxLibrary().coclasses) {
    if (std::u16string_view(c.name) == u"Stream") continue;
    EXPECT_EQ(c.source_interface, nullptr) << Utf8(c.name);
  }
}

TEST(ClassTable, CoclassHelpIsTheClassDescription) {
  EXPECT_EQ(std::u16string_view(FindCoclass(u"storage")->help), u"Storage Class");
  EXPECT_EQ(std::u16string_view(FindCoclass(u"StructuredStorage")->help), u"StructuredStorage Class");
}

TEST(LibraryIdentity, IsQuillboxOneZeroWithItsLibid) {
  const LibraryDesc& lib = QuillboxLibrary();
  EXPECT_EQ(std::u16string_view(lib.name), u"Quillbox");
  EXPECT_EQ(lib.libid, Parse(u"{8A7D0641-6242-11D4-9F08-400004053024}"));
  EXPECT_EQ(lib.major_version, 1);
  EXPECT_EQ(lib.minor_version, 0);
  EXPECT_EQ(std::u16string_view(lib.help), u"Quillbox 1.0 Type Library");
}

}  // namespace
}  // namespace quillbox::typelib
