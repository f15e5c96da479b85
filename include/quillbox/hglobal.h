// Global-memory handles, as far as memory streams and memory lock bytes
// need them: CreateStreamOnHGlobal, CreateILockBytesOnHGlobal and the
// functions that give their memory back.
#pragma once

#include "quillbox/objidl.h"

#define GMEM_FIXED 0x0000
#define GMEM_MOVEABLE 0x0002
#define GMEM_NODISCARD 0x0020
#define GMEM_ZEROINIT 0x0040
#define GMEM_SHARE 0x2000
#define GMEM_DDESHARE GMEM_SHARE
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

// GlobalFlags: the lock count sits in the low byte.
#define GMEM_LOCKCOUNT 0x00FF
#define GMEM_DISCARDED 0x4000
#define GMEM_INVALID_HANDLE 0x8000

WINBASEAPI HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes);
WINBASEAPI HGLOBAL GlobalReAlloc(HGLOBAL hMem, SIZE_T dwBytes, UINT uFlags);
WINBASEAPI SIZE_T GlobalSize(HGLOBAL hMem);
WINBASEAPI LPVOID GlobalLock(HGLOBAL hMem);
WINBASEAPI BOOL GlobalUnlock(HGLOBAL hMem);
WINBASEAPI HGLOBAL GlobalFree(HGLOBAL hMem);
WINBASEAPI UINT GlobalFlags(HGLOBAL hMem);

WINOLEAPI CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPSTREAM* ppstm);
WINOLEAPI GetHGlobalFromStream(LPSTREAM pstm, HGLOBAL* phglobal);
WINOLEAPI CreateILockBytesOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, LPLOCKBYTES* pplkbyt);
WINOLEAPI GetHGlobalFromILockBytes(LPLOCKBYTES plkbyt, HGLOBAL* phglobal);
