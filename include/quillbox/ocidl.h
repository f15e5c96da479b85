// Control-side interfaces: IPersistStreamInit, the stream persistence of
// objects that can also start out blank (InitNew instead of Load).
#pragma once

#include "quillbox/objidl.h"

inline constexpr IID IID_IPersistStreamInit = {0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};

// The slots of IPersistStream plus InitNew. An object is initialised once,
// either by InitNew or by Load; the other one then answers E_UNEXPECTED.
struct IPersistStreamInit : public IPersist {
  STDMETHOD(IsDirty)() = 0;
  STDMETHOD(Load)(LPSTREAM pStm) = 0;
  STDMETHOD(Save)(LPSTREAM pStm, BOOL fClearDirty) = 0;
  STDMETHOD(GetSizeMax)(ULARGE_INTEGER* pCbSize) = 0;
  STDMETHOD(InitNew)() = 0;
};
using LPPERSISTSTREAMINIT = IPersistStreamInit*;

QUILLBOX_DECLARE_INTERFACE(IPersistStreamInit, IPersist, IID_IPersistStreamInit);
