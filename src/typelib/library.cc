// The library put together, and the look-ups over it.
#include <string_view>

#include "typelib/library_builders.h"
#include "typelib/library_parts.h"

namespace quillbox::typelib {
namespace {

bool SameName(const char16_t* a, const char16_t* b) {
  return a && b && std::u16string_view(a) == std::u16string_view(b);
}

}  // namespace

const LibraryDesc& QuillboxLibrary() {
  // Built on first use from pieces that are constant-initialised, so the
  // order in which files are initialised never matters.
  static const InterfaceDesc kInterfaces[] = {
      kStreamInterface,
      kStreamEventsInterface,
      kStructuredStorageInterface,
      kCompoundDocumentInterface,
      kStorageInterface,
      kStoragesInterface,
      kStreamsInterface,
      kPropertySetsInterface,
      kPropertySetInterface,
      kPropertyInterface,
      kSummaryInformationInterface,
      kDocumentSummaryInterface,
      kUserDefinedInterface,
      kNtfsFilePropertySetsInterface,
  };
  static const LibraryDesc kLibrary = {
      .name = u"Quillbox",
      .libid = GuidLiteral("{8A7D0641-6242-11D4-9F08-400004053024}"),
      .major_version = 1,
      .minor_version = 0,
      .help = u"Quillbox 1.0 Type Library",
      .interfaces = kInterfaces,
      .enums = LibraryEnums(),
      .coclasses = LibraryCoclasses(),
      .member_help = MemberHelp,
  };
  return kLibrary;
}

const InterfaceDesc* FindInterface(const char16_t* name) {
  for (const auto& i : QuillboxLibrary().interfaces) {
    if (SameName(i.name, name)) return &i;
  }
  return nullptr;
}

const InterfaceDesc* FindInterface(REFIID iid) {
  for (const auto& i : QuillboxLibrary().interfaces) {
    if (IsEqualIID(i.iid, iid)) return &i;
  }
  return nullptr;
}

const EnumDesc* FindEnum(const char16_t* name) {
  for (const auto& e : QuillboxLibrary().enums) {
    if (SameName(e.name, name)) return &e;
  }
  return nullptr;
}

const CoclassDesc* FindCoclass(const char16_t* name) {
  for (const auto& c : QuillboxLibrary().coclasses) {
    if (SameName(c.name, name)) return &c;
  }
  return nullptr;
}

std::u16string MemberHelp(const MemberDesc& m) {
  if (m.help) return m.help;
  std::u16string text = m.kind == MemberKind::kMethod ? u"method " : u"property ";
  return text + m.name;
}

}  // namespace quillbox::typelib
