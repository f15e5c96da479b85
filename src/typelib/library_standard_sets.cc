// The standard property sets' interfaces: typed properties of the summary
// and document summary sets, user-defined properties by name, and the
// property sets of a plain NTFS file. Each get comes before its put.
#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

constexpr MemberDesc kSummaryInformationMembers[] = {
    Get(u"Title", 1, kBstr),
    Put(u"Title", 1, kNewBstr),
    Get(u"Subject", 2, kBstr),
    Put(u"Subject", 2, kNewBstr),
    Get(u"Author", 3, kBstr),
    Put(u"Author", 3, kNewBstr),
    Get(u"Keywords", 4, kBstr),
    Put(u"Keywords", 4, kNewBstr),
    Get(u"Comments", 5, kBstr),
    Put(u"Comments", 5, kNewBstr),
    Get(u"Template", 6, kBstr),
    Put(u"Template", 6, kNewBstr),
    Get(u"LastSavedBy", 7, kBstr),
    Put(u"LastSavedBy", 7, kNewBstr),
    Get(u"RevisionNumber", 8, kBstr),
    Put(u"RevisionNumber", 8, kNewBstr),
    Get(u"TotalEditingTime", 9, kDate),
    Put(u"TotalEditingTime", 9, kNewDate),
    Get(u"LastPrinted", 10, kDate),
    Put(u"LastPrinted", 10, kNewDate),
    Get(u"CreateDateTime", 11, kDate),
    Put(u"CreateDateTime", 11, kNewDate),
    Get(u"LastSavedDateTime", 12, kDate),
    Put(u"LastSavedDateTime", 12, kNewDate),
    Get(u"NumberOfPages", 13, kLong),
    Put(u"NumberOfPages", 13, kNewLong),
    Get(u"NumberOfWords", 14, kLong),
    Put(u"NumberOfWords", 14, kNewLong),
    Get(u"NumberOfCharacters", 15, kLong),
    Put(u"NumberOfCharacters", 15, kNewLong),
    Get(u"NameOfCreatingApplication", 16, kBstr),
    Put(u"NameOfCreatingApplication", 16, kNewBstr),
    Get(u"Security", 17, kLong),
    Put(u"Security", 17, kNewLong),
    Get(u"Exist", 18, kBool),
    Method(u"Create", 19, kFailIfThereParam),
    Get(u"Thumbnail", 20, kDispatch),
    PutRef(u"Thumbnail", 20, kNewDispatch),
};

constexpr MemberDesc kDocumentSummaryMembers[] = {
    Get(u"Category", 1, kBstr),
    Put(u"Category", 1, kNewBstr),
    Get(u"PresentationTarget", 2, kBstr),
    Put(u"PresentationTarget", 2, kNewBstr),
    Get(u"Bytes", 3, kLong),
    Put(u"Bytes", 3, kNewLong),
    Get(u"Lines", 4, kLong),
    Put(u"Lines", 4, kNewLong),
    Get(u"Paragraphs", 5, kLong),
    Put(u"Paragraphs", 5, kNewLong),
    Get(u"Slides", 6, kLong),
    Put(u"Slides", 6, kNewLong),
    Get(u"Notes", 7, kLong),
    Put(u"Notes", 7, kNewLong),
    Get(u"HiddenSlides", 8, kLong),
    Put(u"HiddenSlides", 8, kNewLong),
    Get(u"MMClips", 9, kLong),
    Put(u"MMClips", 9, kNewLong),
    Get(u"ScaleCrop", 10, kBool),
    Put(u"ScaleCrop", 10, kNewBool),
    Get(u"HeadingPairs", 11, kVariant),
    Put(u"HeadingPairs", 11, kNewVariant),
    Get(u"TitlesOfParts", 12, kVariant),
    Put(u"TitlesOfParts", 12, kNewVariant),
    Get(u"Manager", 13, kBstr),
    Put(u"Manager", 13, kNewBstr),
    Get(u"Company", 14, kBstr),
    Put(u"Company", 14, kNewBstr),
    Get(u"LinksUpToDate", 15, kBool),
    Put(u"LinksUpToDate", 15, kNewBool),
    Get(u"Exist", 16, kBool),
    Method(u"Create", 17, kFailIfThereParam),
};

// _UserDefined: every member names its property.
constexpr ParamDesc kNameTextParams[] = {In(u"Name", kBstr), In(u"Value", kBstr)};
constexpr ParamDesc kNameDateParams[] = {In(u"Name", kBstr), In(u"Value", kDate)};
constexpr ParamDesc kNameBoolParams[] = {In(u"Name", kBstr), In(u"Value", kBool)};
constexpr ParamDesc kNameLongParams[] = {In(u"Name", kBstr), In(u"Value", kLong)};
constexpr ParamDesc kNameDoubleParams[] = {In(u"Name", kBstr), In(u"Value", kDouble)};
constexpr ParamDesc kNameCurrencyParams[] = {In(u"Name", kBstr), In(u"Value", kCurrency)};
constexpr MemberDesc kUserDefinedMembers[] = {
    NewEnum(),
    Method(u"Create", 1, kFailIfThereParam),
    Get(u"Exist", 2, kBool),
    Method(u"AddText", 3, kNameTextParams),
    Method(u"AddDate", 4, kNameDateParams),
    Method(u"AddBoolean", 5, kNameBoolParams),
    Method(u"AddLong", 6, kNameLongParams),
    Method(u"AddDouble", 7, kNameDoubleParams),
    Method(u"AddCurrency", 8, kNameCurrencyParams),
    Get(u"Value", 9, kVariant, kNameParam),
    Method(u"ModifyText", 10, kNameTextParams),
    Method(u"ModifyDate", 11, kNameDateParams),
    Method(u"ModifyBoolean", 12, kNameBoolParams),
    Method(u"ModifyLong", 13, kNameLongParams),
    Method(u"ModifyDouble", 14, kNameDoubleParams),
    Method(u"ModifyCurrency", 15, kNameCurrencyParams),
    Method(u"Remove", 16, kNameParam),
};

constexpr MemberDesc kNtfsFilePropertySetsMembers[] = {
    Get(u"DocumentSummaryInformation", 1, Interface(u"_DocumentSummary")),
    Get(u"SummaryInformation", 2, Interface(u"_SummaryInformation")),
    Get(u"UserDefined", 3, Interface(u"_UserDefined")),
    Get(u"PropertySets", 4, Interface(u"_PropertySets")),
    Get(u"filename", 5, kBstr),
};

}  // namespace

constinit const InterfaceDesc kSummaryInformationInterface = {
    .name = u"_SummaryInformation",
    .iid = GuidLiteral("{63207A09-73B3-11D4-8775-0000E8C6E6BE}"),
    .members = kSummaryInformationMembers,
    .help = u"_SummaryInformation Interface",
};
constinit const InterfaceDesc kDocumentSummaryInterface = {
    .name = u"_DocumentSummary",
    .iid = GuidLiteral("{B977D421-74F3-11D4-9F08-400004053024}"),
    .members = kDocumentSummaryMembers,
    .help = u"_DocumentSummary Interface",
};
constinit const InterfaceDesc kUserDefinedInterface = {
    .name = u"_UserDefined",
    .iid = GuidLiteral("{A69D1025-8C15-11D4-8776-0000E8C6E6BE}"),
    .members = kUserDefinedMembers,
    .help = u"_UserDefined Interface",
};
constinit const InterfaceDesc kNtfsFilePropertySetsInterface = {
    .name = u"_NtfsFilePropertySets",
    .iid = GuidLiteral("{317F0188-C80B-425C-8576-5AE103BF4530}"),
    .members = kNtfsFilePropertySetsMembers,
    .help = u"_NtfsFilePropertySets Interface",
};

}  // namespace quillbox::typelib
