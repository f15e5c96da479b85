// IDispatch driven by the type library: names to DISPIDs, and Invoke that
// finds the member, binds and coerces the arguments to their declared types,
// calls the member's vtable slot and turns a failure into DISP_E_EXCEPTION
// with the thread's error information.
#pragma once

#include "quillbox/oaidl.h"
#include "platform/automation/typelib/type_description.h"

namespace quillbox::automation {

// Names compare as automation compares them: without regard to ASCII case.
bool SameNameNoCase(const char16_t* a, const char16_t* b);

// Names are matched without regard to case: the first is a member, the
// others that member's parameters (whose DISPIDs are their positions).
HRESULT GetIDsOfNamesFromTypeLib(const InterfaceDesc& desc, LPOLESTR* names, UINT count,
                                 DISPID* ids);

// `object` is the dual interface described by `desc` (its vtable holds
// IUnknown's three and IDispatch's four slots before desc's members).
// `library`, when given, is where parameters typed as one of its interfaces
// are looked up, so that an argument is passed as that interface.
HRESULT InvokeFromTypeLib(const InterfaceDesc& desc, IDispatch* object, DISPID id,
                          WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep_info,
                          UINT* arg_err, const LibraryDesc* library = nullptr);

}  // namespace quillbox::automation
