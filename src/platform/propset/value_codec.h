// TypedPropertyValue: one property value in a set's bytes, both ways.
// Layouts are in docs/formats/property-sets.md. Values that live in
// sibling elements (VT_STREAM, VT_STORAGE, VT_STREAMED_OBJECT,
// VT_STORED_OBJECT, VT_VERSIONED_STREAM) carry only the element's name
// here; the property storage opens and fills the element.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/propset/byte_io.h"
#include "quillbox/propidl.h"

namespace quillbox::propset {

// A value kept in a sibling element of a non-simple set.
struct IndirectRef {
  VARTYPE vt = VT_EMPTY;
  std::u16string name;  // "prop" followed by the decimal property id
  GUID version{};       // VT_VERSIONED_STREAM only
};

// Is vt kept in a sibling element?
bool IsIndirectType(VARTYPE vt);
// Does a value of type vt need a version 1 set (VT_I1, VT_INT, VT_UINT,
// VT_DECIMAL, VT_ARRAY, VT_VERSIONED_STREAM and vectors of VT_I1)?
bool NeedsVersion1(VARTYPE vt);

// Reads one value at in's position (value-relative alignment: in's span
// starts at the value). Indirect kinds fill *ref (when given) and leave
// *out VT_EMPTY. Damage gives STG_E_INVALIDHEADER; memory is bounded by the
// bytes present. On failure *out is VT_EMPTY.
HRESULT DecodeValue(ByteReader& in, uint32_t code_page, PROPVARIANT* out, IndirectRef* ref);

// Appends value's bytes, padded to 4. Indirect kinds take their element's
// name from indirect_name (STG_E_PROPSETMISMATCHED when there is none).
// Unsupported types give STG_E_INVALIDPARAMETER; text the code page cannot
// hold, HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION). *needs_v1 is set
// when the value needs a version 1 set.
HRESULT EncodeValue(const PROPVARIANT& value, uint32_t code_page, const IndirectRef* indirect,
                    std::vector<uint8_t>* out, bool* needs_v1);

// Bytes one value takes at the start of bytes (for keeping values as read).
HRESULT MeasureValue(std::span<const uint8_t> bytes, uint32_t code_page, size_t* length);

}  // namespace quillbox::propset
