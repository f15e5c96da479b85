// Each interface's slots, in order, as the class's own description lists
// them: kind, name and DISPID. "g" get, "p" put, "r" putref, "m" method.
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "typelib/type_library.h"

namespace quillbox::typelib {
namespace {

std::string Describe(const MemberDesc& m) {
  const char* kind = m.kind == MemberKind::kPropertyGet   ? "g"
                     : m.kind == MemberKind::kPropertyPut ? "p"
                     : m.kind == MemberKind::kPropertyPutRef ? "r"
                                                             : "m";
  return std::string(kind) + " " + std::string(m.name, m.name + std::u16string_view(m.name).size()) + " " +
         std::to_string(m.id);
}

std::vector<std::string> Slots(const char16_t* interface_name) {
  std::vector<std::string> out;
  const InterfaceDesc* i = FindInterface(interface_name);
  if (!i) return {"missing"};
  for (const MemberDesc& m : i->members) out.push_back(Describe(m));
  return out;
}

TEST(InterfaceSlots, StructuredStorage) {
  EXPECT_EQ(Slots(u"_StructuredStorage"),
            (std::vector<std::string>{"m CreateDocument 1000", "m OpenDocument 1001", "m NtfsFilePropertySets 1002",
                                      "m CreateMemoryStream 1003", "m CreateMemoryStorage 1004",
                                      "m RegisterDocument 1005", "m IsCompoundDocument 1006"}));
}

TEST(InterfaceSlots, CompoundDocument) {
  EXPECT_EQ(Slots(u"_CompoundDocument"),
            (std::vector<std::string>{"m SaveAs 1000", "g filename 1001", "g RootStorage 1002",
                                      "g SummaryInformation 1003", "g DocumentSummaryInformation 1004",
                                      "g UserDefined 1005"}));
}

TEST(InterfaceSlots, StorageHasItsTimeSettersLast) {
  EXPECT_EQ(Slots(u"_Storage"),
            (std::vector<std::string>{"g Name 100", "p Name 100", "g LastModified 102", "g Creation 103",
                                      "g Storages 1000", "g Streams 1001", "g PropertySets 1002", "g Clsid 1003",
                                      "m LoadEmbeddedObject 1004", "m UpdateEmbeddedObject 1005",
                                      "m UpdateEmbeddedObjectFromVBOleControl 1006",
                                      "m LoadEmbeddedObjectInVbOleControl 1007", "p Creation 103",
                                      "p LastModified 102"}));
}

TEST(InterfaceSlots, Storages) {
  EXPECT_EQ(Slots(u"_Storages"),
            (std::vector<std::string>{"g _NewEnum -4", "g Count 1001", "g Item 0", "m Add 1003", "m Remove 1004",
                                      "m AddEmbeddedObject 1005", "m AddEmbeddedObjectFromVBOleControl 1006"}));
}

TEST(InterfaceSlots, Streams) {
  EXPECT_EQ(Slots(u"_Streams"), (std::vector<std::string>{"g _NewEnum -4", "g Count 1001", "g Item 0",
                                                           "m Add 1003", "m Remove 1004"}));
}

TEST(InterfaceSlots, StreamKeepsItsHistoricalOrder) {
  EXPECT_EQ(Slots(u"_Stream"),
            (std::vector<std::string>{
                "g Name 100",          "g Size 101",          "m Write 1000",         "m Read 1001",
                "m Seek 1003",         "m ReadBytes 1004",    "m WriteBytes 1005",    "m ReadLong 1006",
                "m WriteLong 1007",    "m ReadInteger 1008",  "m WriteInteger 1009",  "m ReadBoolean 1010",
                "m ReadSingle 1011",   "m WriteString 1027",  "m WriteByte 1028",     "m ReadByte 1029",
                "p Name 100",          "m ReadDouble 1012",   "m ReadCurrency 1013",  "m ReadDecimal 1014",
                "m ReadDate 1015",     "m ReadPicture 1016",  "m ReadObject 1017",    "m ReadString 1018",
                "m WriteBoolean 1019", "m WriteSingle 1020",  "m WriteDouble 1021",   "m WriteCurrency 1022",
                "m WriteDecimal 1023", "m WriteDate 1024",    "m WritePicture 1025",  "m WriteObject 1026",
                "p Size 101"}));
}

TEST(InterfaceSlots, PropertySets) {
  EXPECT_EQ(Slots(u"_PropertySets"),
            (std::vector<std::string>{"g _NewEnum -4", "m Add 1001", "g Count 1002", "g Item 0", "m Remove 1004",
                                      "m AddNamed 1005"}));
}

TEST(InterfaceSlots, PropertySetHasItsEnumeratorLast) {
  EXPECT_EQ(Slots(u"_PropertySet"),
            (std::vector<std::string>{"m Item 0", "m Add 1001", "g Count 1002", "g ItemById 1003",
                                      "g ItemByName 1004", "m RemoveId 1005", "m RemoveName 1006", "g FmtId 1007",
                                      "g Name 1008", "p Name 1008", "m AddPropertyFromClipboard 1009",
                                      "m AddPictureProperty 1010", "g _NewEnum -4"}));
}

TEST(InterfaceSlots, PropertyPutsItsValueBeforeGettingIt) {
  EXPECT_EQ(Slots(u"_Property"),
            (std::vector<std::string>{"g Name 1001", "p Name 1001", "p Value 1002", "g Value 1002",
                                      "g PropId 1003", "m ValueWithFormat 1004", "m RestoreClipboard 1005",
                                      "m SaveClipboard 1006", "g Picture 1007", "r Picture 1007",
                                      "r PictureAsWindowsMetafile 1008", "m IsValue 1009",
                                      "m IsClipboardFormat 1010"}));
}

// The fixed-identifier sets list get/put pairs; the pairs unfold get first.
std::vector<std::string> Pairs(std::initializer_list<const char*> names, int first_id) {
  std::vector<std::string> out;
  int id = first_id;
  for (const char* name : names) {
    out.push_back(std::string("g ") + name + " " + std::to_string(id));
    out.push_back(std::string("p ") + name + " " + std::to_string(id));
    ++id;
  }
  return out;
}

TEST(InterfaceSlots, SummaryInformation) {
  std::vector<std::string> expected =
      Pairs({"Title", "Subject", "Author", "Keywords", "Comments", "Template", "LastSavedBy", "RevisionNumber",
             "TotalEditingTime", "LastPrinted", "CreateDateTime", "LastSavedDateTime", "NumberOfPages",
             "NumberOfWords", "NumberOfCharacters", "NameOfCreatingApplication", "Security"},
            1);
  expected.insert(expected.end(), {"g Exist 18", "m Create 19", "g Thumbnail 20", "r Thumbnail 20"});
  EXPECT_EQ(Slots(u"_SummaryInformation"), expected);
}

TEST(InterfaceSlots, DocumentSummary) {
  std::vector<std::string> expected =
      Pairs({"Category", "PresentationTarget", "Bytes", "Lines", "Paragraphs", "Slides", "Notes", "HiddenSlides",
             "MMClips", "ScaleCrop", "HeadingPairs", "TitlesOfParts", "Manager", "Company", "LinksUpToDate"},
            1);
  expected.insert(expected.end(), {"g Exist 16", "m Create 17"});
  EXPECT_EQ(Slots(u"_DocumentSummary"), expected);
}

TEST(InterfaceSlots, UserDefined) {
  EXPECT_EQ(Slots(u"_UserDefined"),
            (std::vector<std::string>{"g _NewEnum -4", "m Create 1", "g Exist 2", "m AddText 3", "m AddDate 4",
                                      "m AddBoolean 5", "m AddLong 6", "m AddDouble 7", "m AddCurrency 8",
                                      "g Value 9", "m ModifyText 10", "m ModifyDate 11", "m ModifyBoolean 12",
                                      "m ModifyLong 13", "m ModifyDouble 14", "m ModifyCurrency 15",
                                      "m Remove 16"}));
}

TEST(InterfaceSlots, NtfsFilePropertySets) {
  EXPECT_EQ(Slots(u"_NtfsFilePropertySets"),
            (std::vector<std::string>{"g DocumentSummaryInformation 1", "g SummaryInformation 2", "g UserDefined 3",
                                      "g PropertySets 4", "g filename 5"}));
}

}  // namespace
}  // namespace quillbox::typelib
