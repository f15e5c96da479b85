// Typed values as the tool shows them: a variant type's name ("Long",
// "Array of Byte") and a value as one line of text or as a typed JSON value.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "tool_support.h"

namespace quillbox::tool {

// The automation name of the type ("Integer" for VT_I2, "Long" for VT_I4,
// "String", "Object", ...), with the flag bits in front ("Array of Byte",
// "Reference to Long"); "VarType N" for a number with no name.
std::string VariantTypeName(VARTYPE vt);

// The value on one line: scalars as VariantChangeType makes them text
// (booleans as True/False), dates as ISO 8601 (their fields, no zone),
// errors as their code in hex, objects as their class name or
// "(no object)", Empty and Null as nothing. Control characters and
// backslashes in text are "\xHH", as in element names.
std::string VariantValueText(const VARIANT& value);

// The value typed in JSON: numbers as numbers (Currency and Decimal as the
// nearest double), strings, booleans; dates as their ISO 8601 text, an
// error as its code, an object as its class name; Empty, Null and a
// missing object as null.
nlohmann::ordered_json VariantValueJson(const VARIANT& value);

}  // namespace quillbox::tool
