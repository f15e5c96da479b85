// ComObject<Derived, Interfaces...>: the one base for objects that implement
// interfaces. It gives an atomic reference count, QueryInterface answered
// from the list of interfaces (and each one's bases, up to IUnknown), and
// deletion on the last Release. Library objects that count in the module
// lock add LibraryObject on top (see library_object.h).
//
//   class ErrorInfo final : public ComObject<ErrorInfo, IErrorInfo, ICreateErrorInfo> {...};
//   ComPtr<ErrorInfo> info = MakeObject<ErrorInfo>();
#pragma once

#include <atomic>
#include <new>
#include <type_traits>
#include <utility>

#include "quillbox/com_ptr.h"
#include "quillbox/unknwn.h"

namespace quillbox::com {

namespace detail {

// Does interface I, or one of its bases, have the IID riid?
template <class I>
bool InterfaceMatches(REFIID riid) {
  if (IsEqualGUID(riid, InterfaceTraits<I>::iid)) return true;
  using Base = typename InterfaceTraits<I>::Base;
  if constexpr (std::is_void_v<Base>) {
    return false;
  } else {
    return InterfaceMatches<Base>(riid);
  }
}

template <class First, class...>
struct FirstOf {
  using type = First;
};

}  // namespace detail

template <class Derived, class... Interfaces>
class ComObject : public Interfaces... {
  static_assert(sizeof...(Interfaces) > 0, "an object implements at least one interface");
  using Primary = typename detail::FirstOf<Interfaces...>::type;

 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (IsEqualGUID(riid, IID_IUnknown)) {
      *ppv = static_cast<IUnknown*>(static_cast<Primary*>(this));
    } else if (!FindInterface<Interfaces...>(riid, ppv)) {
      if (!static_cast<Derived*>(this)->QueryExtraInterface(riid, ppv)) return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    return refs_.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete static_cast<Derived*>(this);
    return left;
  }

  // The object's identity, as QueryInterface(IID_IUnknown) gives it.
  IUnknown* GetUnknown() { return static_cast<IUnknown*>(static_cast<Primary*>(this)); }

 protected:
  ~ComObject() = default;

  // Hook for interfaces answered by other means (tear-offs, inner objects):
  // set *ppv without counting and return true.
  bool QueryExtraInterface(REFIID, void**) { return false; }

 private:
  template <class I, class... Rest>
  bool FindInterface(REFIID riid, void** ppv) {
    if (detail::InterfaceMatches<I>(riid)) {
      *ppv = static_cast<I*>(this);
      return true;
    }
    if constexpr (sizeof...(Rest) > 0) {
      return FindInterface<Rest...>(riid, ppv);
    } else {
      return false;
    }
  }

  std::atomic<ULONG> refs_{0};
};

// Makes an object and hands back the first reference; null when memory runs
// out (never throws).
template <class T, class... Args>
ComPtr<T> MakeObject(Args&&... args) {
  T* raw = new (std::nothrow) T(std::forward<Args>(args)...);
  return ComPtr<T>(raw);
}

}  // namespace quillbox::com
