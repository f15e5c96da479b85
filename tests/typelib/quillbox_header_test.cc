// <quillbox/quillbox.h> compiles on its own terms and lays the interfaces
// out as the type library describes them.
#include <quillbox/quillbox.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "typelib/type_library.h"

namespace {

static_assert(std::is_base_of_v<IDispatch, _StructuredStorage>);
static_assert(std::is_base_of_v<IDispatch, _Stream>);
static_assert(std::is_base_of_v<IDispatch, __StreamEvents>);
static_assert(std::is_abstract_v<_Storage>);
static_assert(std::is_same_v<quillbox::InterfaceTraits<_Storage>::Base, IDispatch>);
static_assert(sizeof(ssErrorEnum) == 4 && sizeof(ssSeekEnum) == 4);
static_assert(ssErrAccessDenied == STG_E_ACCESSDENIED);

// MIDL's mapping: the [out, retval] value last as a pointer, [in] VARIANT
// by value, [in, out] as a pointer, enumerations as themselves.
static_assert(std::is_same_v<decltype(&_Stream::Seek), HRESULT (_Stream::*)(LONG, ssSeekEnum, LONG*)>);
static_assert(std::is_same_v<decltype(&_Stream::Write), HRESULT (_Stream::*)(VARIANT, LONG*)>);
static_assert(std::is_same_v<decltype(&_Stream::ReadBytes), HRESULT (_Stream::*)(LONG*, VARIANT*)>);
static_assert(std::is_same_v<decltype(&_Stream::WriteDecimal), HRESULT (_Stream::*)(DECIMAL)>);
static_assert(std::is_same_v<decltype(&_Storages::get_Item), HRESULT (_Storages::*)(BSTR, _Storage**)>);
static_assert(std::is_same_v<decltype(&_Storages::get__NewEnum), HRESULT (_Storages::*)(IUnknown**)>);
static_assert(std::is_same_v<decltype(&_Property::putref_Picture), HRESULT (_Property::*)(IDispatch*)>);
static_assert(std::is_same_v<decltype(&_StructuredStorage::OpenDocument),
                             HRESULT (_StructuredStorage::*)(BSTR, VARIANT_BOOL, _CompoundDocument**)>);
static_assert(std::is_same_v<decltype(&_UserDefined::AddCurrency), HRESULT (_UserDefined::*)(BSTR, CY)>);

TEST(QuillboxHeader, IdentifiersAreTheLibrarys) {
  using quillbox::typelib::FindCoclass;
  using quillbox::typelib::FindInterface;
  EXPECT_EQ(IID__Stream, FindInterface(u"_Stream")->iid);
  EXPECT_EQ(DIID___StreamEvents, FindInterface(u"__StreamEvents")->iid);
  EXPECT_EQ(quillbox::InterfaceTraits<_PropertySet>::iid, FindInterface(u"_PropertySet")->iid);
  EXPECT_EQ(CLSID_storage, FindCoclass(u"storage")->clsid);
  EXPECT_EQ(LIBID_Quillbox, quillbox::typelib::QuillboxLibrary().libid);
}

TEST(QuillboxHeader, LowerCaseCoclassesAreAlsoReachableByTheirClassNames) {
  EXPECT_EQ(&CLSID_Storage, &CLSID_storage);
  EXPECT_EQ(&CLSID_PropertySet, &CLSID_propertySet);
  EXPECT_EQ(&CLSID_Property, &CLSID_property);
}

}  // namespace
