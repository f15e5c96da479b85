// Internal helpers for automation values: which VARTYPEs a VARIANT may
// hold, and owners that free a BSTR or clear a VARIANT when they go out of
// scope (the library's own RAII; clients use the Windows calls).
#pragma once

#include <utility>

#include "quillbox/oleauto.h"

namespace quillbox::automation {

// The scalar and object types a VARIANT may hold by value.
bool IsVariantBaseType(VARTYPE base);

// Whether vt (with its VT_ARRAY and VT_BYREF flags) is a valid VARIANT type.
bool IsValidVariantType(VARTYPE vt);

// Owns one BSTR.
class UniqueBstr {
 public:
  UniqueBstr() = default;
  explicit UniqueBstr(BSTR s) : s_(s) {}
  UniqueBstr(const UniqueBstr&) = delete;
  UniqueBstr& operator=(const UniqueBstr&) = delete;
  UniqueBstr(UniqueBstr&& other) noexcept : s_(other.release()) {}
  UniqueBstr& operator=(UniqueBstr&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~UniqueBstr() { SysFreeString(s_); }

  BSTR get() const { return s_; }
  BSTR release() { return std::exchange(s_, nullptr); }
  void reset(BSTR s = nullptr) {
    SysFreeString(s_);
    s_ = s;
  }

 private:
  BSTR s_ = nullptr;
};

// Owns one VARIANT, cleared on destruction.
class UniqueVariant {
 public:
  UniqueVariant() { VariantInit(&v_); }
  UniqueVariant(const UniqueVariant&) = delete;
  UniqueVariant& operator=(const UniqueVariant&) = delete;
  ~UniqueVariant() { VariantClear(&v_); }

  VARIANT* get() { return &v_; }
  const VARIANT* get() const { return &v_; }
  VARIANT* operator->() { return &v_; }
  // Hands the value to *dest (which must hold nothing owned) and empties this.
  void release_to(VARIANT* dest) {
    *dest = v_;
    VariantInit(&v_);
  }

 private:
  VARIANT v_;
};

}  // namespace quillbox::automation
