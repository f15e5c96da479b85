// EchoObject: a test-only IDispatch without type information, which hands
// back what it receives, so that the binding's conversions, named and
// missing arguments, by-reference outputs, put/putref, the default member
// and _NewEnum can be checked from Python.
#pragma once

#include "quillbox/oaidl.h"
#include "quillbox/unknwn.h"

namespace quillbox::python_test {

// {E1C40000-7E57-4D0B-9C1A-0000000000E1}
inline constexpr CLSID kEchoClsid = {0xE1C40000, 0x7E57, 0x4D0B, {0x9C, 0x1A, 0, 0, 0, 0, 0, 0xE1}};

// A class factory for kEchoClsid (one per process, never freed).
IClassFactory* EchoFactory();

// Echo objects alive now.
long LiveEchoObjects();

}  // namespace quillbox::python_test
