// The pieces of the library as each subsystem's file defines them; library.cc
// puts them together in the library's order.
#pragma once

#include <span>

#include "typelib/type_library.h"

namespace quillbox::typelib {

// library_storage.cc
extern const InterfaceDesc kStructuredStorageInterface;
extern const InterfaceDesc kCompoundDocumentInterface;
extern const InterfaceDesc kStorageInterface;
extern const InterfaceDesc kStoragesInterface;
extern const InterfaceDesc kStreamsInterface;
// library_stream.cc
extern const InterfaceDesc kStreamInterface;
extern const InterfaceDesc kStreamEventsInterface;
// library_properties.cc
extern const InterfaceDesc kPropertySetsInterface;
extern const InterfaceDesc kPropertySetInterface;
extern const InterfaceDesc kPropertyInterface;
// library_standard_sets.cc
extern const InterfaceDesc kSummaryInformationInterface;
extern const InterfaceDesc kDocumentSummaryInterface;
extern const InterfaceDesc kUserDefinedInterface;
extern const InterfaceDesc kNtfsFilePropertySetsInterface;

// library_enums.cc
std::span<const EnumDesc> LibraryEnums();
// library_coclasses.cc
std::span<const CoclassDesc> LibraryCoclasses();

}  // namespace quillbox::typelib
