// CallVtableSlot through libffi.
#include "platform/automation/typelib/vtable_call.h"

#include <ffi.h>

#include <vector>

namespace quillbox::automation {
namespace {

// A VARIANT by value: 24 bytes, 8-byte aligned; larger than 16 bytes, so
// the calling convention passes it in memory whatever its fields are.
ffi_type* VariantType() {
  static ffi_type* elements[] = {&ffi_type_uint64, &ffi_type_uint64, &ffi_type_uint64, nullptr};
  static ffi_type type = [] {
    ffi_type t{};
    t.size = 0;
    t.alignment = 0;
    t.type = FFI_TYPE_STRUCT;
    t.elements = elements;
    return t;
  }();
  return &type;
}

// A DECIMAL by value: 16 bytes of integers, passed in two registers.
ffi_type* DecimalType() {
  static ffi_type* elements[] = {&ffi_type_uint64, &ffi_type_uint64, nullptr};
  static ffi_type type = [] {
    ffi_type t{};
    t.type = FFI_TYPE_STRUCT;
    t.elements = elements;
    return t;
  }();
  return &type;
}

ffi_type* TypeOf(ArgClass cls) {
  switch (cls) {
    case ArgClass::kInt16: return &ffi_type_sint16;
    case ArgClass::kInt32: return &ffi_type_sint32;
    case ArgClass::kInt64: return &ffi_type_sint64;
    case ArgClass::kFloat: return &ffi_type_float;
    case ArgClass::kDouble: return &ffi_type_double;
    case ArgClass::kPointer: return &ffi_type_pointer;
    case ArgClass::kVariant: return VariantType();
    case ArgClass::kDecimal: return DecimalType();
  }
  return &ffi_type_pointer;
}

}  // namespace

HRESULT CallVtableSlot(void* object, unsigned slot, std::span<const RawArg> args) {
  std::vector<ffi_type*> types;
  std::vector<void*> values;
  types.reserve(args.size() + 1);
  values.reserve(args.size() + 1);
  types.push_back(&ffi_type_pointer);
  values.push_back(&object);
  for (const RawArg& a : args) {
    types.push_back(TypeOf(a.cls));
    values.push_back(a.value);
  }
  ffi_cif cif;
  if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), &ffi_type_sint32,
                   types.data()) != FFI_OK) {
    return E_UNEXPECTED;
  }
  void** vtable = *static_cast<void***>(object);
  ffi_sarg result = 0;
  ffi_call(&cif, reinterpret_cast<void (*)()>(vtable[slot]), &result, values.data());
  return static_cast<HRESULT>(result);
}

}  // namespace quillbox::automation
