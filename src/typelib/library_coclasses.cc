// The library's coclasses, one per row of the class table and in its order.
// Three are spelled with a lower-case first letter, as clients know them.
#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

constexpr CoclassDesc kCoclasses[] = {
    {.name = u"Stream",
     .clsid = GuidLiteral("{8A7D064E-6242-11D4-9F08-400004053024}"),
     .default_interface = u"_Stream",
     .source_interface = u"__StreamEvents",
     .help = u"Stream Class"},
    // The application object: scripts call its members without creating it.
    {.name = u"StructuredStorage",
     .clsid = GuidLiteral("{85C307C5-62DE-11D4-9F08-400004053024}"),
     .default_interface = u"_StructuredStorage",
     .flags = kTypeFlagAppObject | kTypeFlagCanCreate | kTypeFlagPredeclId,
     .help = u"StructuredStorage Class"},
    {.name = u"CompoundDocument",
     .clsid = GuidLiteral("{527AEF22-630D-11D4-9F08-400004053024}"),
     .default_interface = u"_CompoundDocument",
     .help = u"CompoundDocument Class"},
    {.name = u"storage",
     .clsid = GuidLiteral("{527AEF24-630D-11D4-9F08-400004053024}"),
     .default_interface = u"_Storage",
     .help = u"Storage Class"},
    {.name = u"Storages",
     .clsid = GuidLiteral("{1A01C225-63AA-11D4-9F08-400004053024}"),
     .default_interface = u"_Storages",
     .help = u"Storages Class"},
    {.name = u"Streams",
     .clsid = GuidLiteral("{1A01C227-63AA-11D4-9F08-400004053024}"),
     .default_interface = u"_Streams",
     .help = u"Streams Class"},
    {.name = u"PropertySets",
     .clsid = GuidLiteral("{35223D85-6645-11D4-9F00-0000E8C6EB23}"),
     .default_interface = u"_PropertySets",
     .help = u"PropertySets Class"},
    {.name = u"propertySet",
     .clsid = GuidLiteral("{35223D87-6645-11D4-9F00-0000E8C6EB23}"),
     .default_interface = u"_PropertySet",
     .help = u"PropertySet Class"},
    {.name = u"property",
     .clsid = GuidLiteral("{EA8487A2-665E-11D4-9F00-0000E8C6EB23}"),
     .default_interface = u"_Property",
     .help = u"Property Class"},
    {.name = u"SummaryInformation",
     .clsid = GuidLiteral("{63207A0A-73B3-11D4-8775-0000E8C6E6BE}"),
     .default_interface = u"_SummaryInformation",
     .help = u"SummaryInformation Class"},
    {.name = u"DocumentSummary",
     .clsid = GuidLiteral("{B977D422-74F3-11D4-9F08-400004053024}"),
     .default_interface = u"_DocumentSummary",
     .help = u"DocumentSummary Class"},
    {.name = u"UserDefined",
     .clsid = GuidLiteral("{A69D1026-8C15-11D4-8776-0000E8C6E6BE}"),
     .default_interface = u"_UserDefined",
     .help = u"UserDefined Class"},
    {.name = u"NtfsFilePropertySets",
     .clsid = GuidLiteral("{58927E2F-E88B-4609-BD52-6A27E1FC4B28}"),
     .default_interface = u"_NtfsFilePropertySets",
     .help = u"NtfsFilePropertySets Class"},
};

}  // namespace

std::span<const CoclassDesc> LibraryCoclasses() { return kCoclasses; }

}  // namespace quillbox::typelib
