"""Quillbox for Python: late binding to Quillbox's automation objects.

    import quillbox
    ss = quillbox.CreateObject("Quillbox.StructuredStorage")
    ss.IsCompoundDocument("report.doc")

See docs/python.md for the value conversions and errors.
"""
from . import _quillbox
from ._quillbox import (ComError, CreateObject, DllCanUnloadNow, DllRegisterServer, Enumerator, Missing,
                        Null, Variant)
from ._quillbox import (VT_ARRAY, VT_BOOL, VT_BSTR, VT_BYREF, VT_CY, VT_DATE, VT_DECIMAL, VT_DISPATCH,
                        VT_EMPTY, VT_ERROR, VT_HRESULT, VT_I1, VT_I2, VT_I4, VT_I8, VT_INT, VT_NULL, VT_R4,
                        VT_R8, VT_TYPEMASK, VT_UI1, VT_UI2, VT_UI4, VT_UI8, VT_UINT, VT_UNKNOWN, VT_VARIANT,
                        VT_VOID)
from ._dispatch import (DISPATCH_METHOD, DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT, DISPATCH_PROPERTYPUTREF,
                        Dispatch)
from . import constants

_quillbox._set_dispatch_wrapper(Dispatch)

__all__ = [
    "ComError", "CreateObject", "Dispatch", "DllCanUnloadNow", "DllRegisterServer", "Enumerator", "Missing",
    "Null", "Variant", "constants", "DISPATCH_METHOD", "DISPATCH_PROPERTYGET", "DISPATCH_PROPERTYPUT",
    "DISPATCH_PROPERTYPUTREF",
] + [name for name in dir(_quillbox) if name.startswith("VT_")]
