// ComPtr<T>: an owning interface pointer. Verbs say what they do: as<U>()
// queries and fails loudly with a null result, try_as<U>() reports the
// HRESULT, attach()/detach() move ownership in and out without counting,
// put() hands the address to an out-parameter after releasing what was held.
#pragma once

#include <utility>

#include "quillbox/unknwn.h"

namespace quillbox {

template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  // Takes a new reference on p.
  explicit ComPtr(T* p) : p_(p) { if (p_) p_->AddRef(); }
  ComPtr(const ComPtr& o) : p_(o.p_) { if (p_) p_->AddRef(); }
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  ComPtr(const ComPtr<U>& o) : p_(o.get()) { if (p_) p_->AddRef(); }
  ~ComPtr() { reset(); }

  ComPtr& operator=(const ComPtr& o) {
    ComPtr(o).swap(*this);
    return *this;
  }
  ComPtr& operator=(ComPtr&& o) noexcept {
    ComPtr(std::move(o)).swap(*this);
    return *this;
  }
  ComPtr& operator=(std::nullptr_t) {
    reset();
    return *this;
  }

  T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

  void reset() {
    if (T* p = std::exchange(p_, nullptr)) p->Release();
  }
  void swap(ComPtr& o) noexcept { std::swap(p_, o.p_); }

  // Takes over a reference the caller already owns.
  void attach(T* p) {
    reset();
    p_ = p;
  }
  // Gives up the reference without releasing it.
  [[nodiscard]] T* detach() { return std::exchange(p_, nullptr); }
  // For out-parameters: releases what is held and returns the slot.
  T** put() {
    reset();
    return &p_;
  }
  void** put_void() { return reinterpret_cast<void**>(put()); }
  // Hands out a new reference through an out-parameter.
  void copy_to(T** out) const {
    if (p_) p_->AddRef();
    *out = p_;
  }

  template <class U>
  HRESULT try_as(ComPtr<U>& out) const {
    if (!p_) return E_POINTER;
    return p_->QueryInterface(InterfaceTraits<U>::iid, out.put_void());
  }
  template <class U>
  ComPtr<U> as() const {
    ComPtr<U> out;
    try_as(out);
    return out;
  }

  friend bool operator==(const ComPtr& a, const ComPtr& b) { return a.p_ == b.p_; }
  friend bool operator==(const ComPtr& a, std::nullptr_t) { return a.p_ == nullptr; }

 private:
  T* p_ = nullptr;
};

// Wraps a pointer whose reference the caller owns.
template <class T>
ComPtr<T> Attach(T* p) {
  ComPtr<T> c;
  c.attach(p);
  return c;
}

}  // namespace quillbox
