// The one place where C++ exceptions turn into result codes: no exception
// ever crosses an interface method.
#pragma once

#include <new>
#include <utility>

#include "quillbox/winerror.h"

namespace quillbox::com {

// Runs body (which returns HRESULT); an escaping exception becomes
// E_OUTOFMEMORY (allocation) or E_UNEXPECTED (anything else).
template <class Body>
HRESULT GuardedCall(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace quillbox::com
