// The type library Quillbox 1.0 as data: every interface with its members in
// slot order, every enumeration and every coclass. The data model is the
// platform's type description; the type-library service serves it as
// ITypeLib/ITypeInfo, and the IDL text and <quillbox/quillbox.h> are
// written from it.
#pragma once

#include <string>

#include "platform/automation/typelib/type_description.h"

namespace quillbox::typelib {

using automation::CoclassDesc;
using automation::DefaultValue;
using automation::Direction;
using automation::EnumConstant;
using automation::EnumDesc;
using automation::InterfaceDesc;
using automation::kDefaultResultName;
using automation::kTypeFlagAppObject;
using automation::kTypeFlagCanCreate;
using automation::kTypeFlagPredeclId;
using automation::kVoid;
using automation::LibraryDesc;
using automation::MemberDesc;
using automation::MemberKind;
using automation::ParamDesc;
using automation::ResultName;
using automation::TypeRef;

// The one library.
const LibraryDesc& QuillboxLibrary();

// Look-ups by name (exact, as declared) and by IID; null when absent.
const InterfaceDesc* FindInterface(const char16_t* name);
const InterfaceDesc* FindInterface(REFIID iid);
const EnumDesc* FindEnum(const char16_t* name);
const CoclassDesc* FindCoclass(const char16_t* name);

// A member's help string: its own, or "method X" / "property X" when the
// library gives none. The IDL and ITypeInfo::GetDocumentation both use it.
std::u16string MemberHelp(const MemberDesc& m);

}  // namespace quillbox::typelib
