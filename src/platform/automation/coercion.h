// Scalar coercion: one automation scalar converted to another scalar type
// with Windows' rules and result codes. VariantChangeTypeEx handles objects,
// references and arrays and comes here for the values themselves.
// Thread-safe: reads its source and writes only *dest.
#pragma once

#include "quillbox/oleauto.h"

namespace quillbox::automation {

// REQUIRES: src->vt and vt are scalar types (no VT_BYREF, VT_ARRAY, objects).
// On success *dest holds the new value (dest starts as nothing owned).
HRESULT ChangeScalarType(const VARIANT* src, VARTYPE vt, USHORT flags, VARIANT* dest);

// Whether vt is one of the scalar types ChangeScalarType converts between.
bool IsCoercibleScalar(VARTYPE vt);

}  // namespace quillbox::automation
