// The library's type information. Its ITypeLib is registered for the
// module's path at start-up, so LoadTypeLib (and LoadRegTypeLib once the
// library is registered) finds it; AutomationObject serves the type info
// of each class's dual interface from it.
#pragma once

#include "quillbox/oaidl.h"

namespace quillbox::frame {

// The library's ITypeLib: the object LoadTypeLib gives for the module's path.
HRESULT LibraryTypeLib(ITypeLib** out);

// The type info of the library's interface iid (a dual interface's
// dispatch view, as ITypeLib::GetTypeInfoOfGuid gives it).
HRESULT LibraryTypeInfo(REFIID iid, ITypeInfo** out);

}  // namespace quillbox::frame
