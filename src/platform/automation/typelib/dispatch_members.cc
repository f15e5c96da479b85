// IUnknown's three and IDispatch's four members as a dual interface's
// dispatch view lists them, before the interface's own: restricted, with
// the DISPIDs type libraries give them. Pointers to records of the standard
// library (GUID, DISPPARAMS, EXCEPINFO) are shown as pointers to VT_VOID,
// since that library is not served here.
#include "platform/automation/typelib/type_info.h"

namespace quillbox::automation {
namespace {

constexpr TypeRef kAnyPointer{VT_PTR, nullptr, VT_VOID};

constexpr ParamDesc kQueryInterfaceParams[] = {
    {u"riid", kAnyPointer},
    {u"ppvObj", kAnyPointer, Direction::kOut},
};
constexpr ParamDesc kGetTypeInfoCountParams[] = {{u"pctinfo", {VT_UINT}, Direction::kOut}};
constexpr ParamDesc kGetTypeInfoParams[] = {
    {u"itinfo", {VT_UINT}},
    {u"lcid", {VT_UI4}},
    {u"pptinfo", kAnyPointer, Direction::kOut},
};
constexpr ParamDesc kGetIDsOfNamesParams[] = {
    {u"riid", kAnyPointer},
    {u"rgszNames", kAnyPointer},
    {u"cNames", {VT_UINT}},
    {u"lcid", {VT_UI4}},
    {u"rgdispid", {VT_I4}, Direction::kOut},
};
constexpr ParamDesc kInvokeParams[] = {
    {u"dispidMember", {VT_I4}},
    {u"riid", kAnyPointer},
    {u"lcid", {VT_UI4}},
    {u"wFlags", {VT_UI2}},
    {u"pdispparams", kAnyPointer},
    {u"pvarResult", {VT_VARIANT}, Direction::kOut},
    {u"pexcepinfo", kAnyPointer, Direction::kOut},
    {u"puArgErr", {VT_UINT}, Direction::kOut},
};

constexpr MemberDesc kMembers[] = {
    {u"QueryInterface", 0x60000000, MemberKind::kMethod, kQueryInterfaceParams},
    {u"AddRef", 0x60000001, MemberKind::kMethod, {}, {VT_UI4}},
    {u"Release", 0x60000002, MemberKind::kMethod, {}, {VT_UI4}},
    {u"GetTypeInfoCount", 0x60010000, MemberKind::kMethod, kGetTypeInfoCountParams},
    {u"GetTypeInfo", 0x60010001, MemberKind::kMethod, kGetTypeInfoParams},
    {u"GetIDsOfNames", 0x60010002, MemberKind::kMethod, kGetIDsOfNamesParams},
    {u"Invoke", 0x60010003, MemberKind::kMethod, kInvokeParams},
};

}  // namespace

std::span<const MemberDesc> InheritedDispatchMembers() { return kMembers; }

}  // namespace quillbox::automation
