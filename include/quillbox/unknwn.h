// IUnknown and IClassFactory, the roots of every interface, and the traits
// that tie an interface type to its IID and its base (used by ComPtr, by
// IID_PPV_ARGS and by the library's object base to answer QueryInterface).
#pragma once

#include <type_traits>

#include "quillbox/guiddef.h"
#include "quillbox/winerror.h"

namespace quillbox {
// InterfaceTraits<I>::iid is I's IID; InterfaceTraits<I>::Base is the
// interface I derives from (void for IUnknown).
template <class I>
struct InterfaceTraits;
}  // namespace quillbox

#define QUILLBOX_DECLARE_INTERFACE(Interface, BaseInterface, Iid) \
  template <>                                                     \
  struct quillbox::InterfaceTraits<Interface> {                   \
    using Base = BaseInterface;                                   \
    static constexpr const IID& iid = Iid;                        \
  }

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IUnknown {
  STDMETHOD(QueryInterface)(REFIID riid, void** ppvObject) = 0;
  STDMETHOD_(ULONG, AddRef)() = 0;
  STDMETHOD_(ULONG, Release)() = 0;
};
using LPUNKNOWN = IUnknown*;

struct IClassFactory : public IUnknown {
  STDMETHOD(CreateInstance)(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
  STDMETHOD(LockServer)(BOOL fLock) = 0;
};
using LPCLASSFACTORY = IClassFactory*;

QUILLBOX_DECLARE_INTERFACE(IUnknown, void, IID_IUnknown);
QUILLBOX_DECLARE_INTERFACE(IClassFactory, IUnknown, IID_IClassFactory);

// IID_PPV_ARGS(&p): the IID of p's interface and p's address as void**.
template <class T>
void** IID_PPV_ARGS_Helper(T** pp) {
  static_assert(std::is_base_of_v<IUnknown, T>, "IID_PPV_ARGS needs an interface pointer");
  return reinterpret_cast<void**>(pp);
}
#define IID_PPV_ARGS(ppType)                                                               \
  ::quillbox::InterfaceTraits<std::remove_pointer_t<std::remove_reference_t<decltype(*(ppType))>>>::iid, \
      IID_PPV_ARGS_Helper(ppType)
