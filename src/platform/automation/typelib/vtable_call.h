// Calls one slot of an interface's vtable with arguments laid out as the
// platform's calling convention wants them, through libffi: late binding
// reaches the very member that early-bound C++ clients call.
#pragma once

#include <span>

#include "quillbox/winerror.h"

namespace quillbox::automation {

// How an argument is passed. kVariant is a VARIANT by value (24 bytes),
// kDecimal a DECIMAL by value (16 bytes).
enum class ArgClass { kInt16, kInt32, kInt64, kFloat, kDouble, kPointer, kVariant, kDecimal };

struct RawArg {
  ArgClass cls;
  void* value;  // points at the argument's value (for kPointer: at the pointer)
};

// Calls slot `slot` (0 is QueryInterface) of `object` as
// HRESULT (*)(object, args...).
HRESULT CallVtableSlot(void* object, unsigned slot, std::span<const RawArg> args);

}  // namespace quillbox::automation
