// Structured-storage interfaces in Windows slot order: ISequentialStream,
// IStream, ILockBytes, IEnumSTATSTG, IStorage, IRootStorage; STATSTG and the
// mode, type, seek, lock, stat and commit constants; IPersist and
// IPersistStream, for objects that save themselves into a stream.
#pragma once

#include "quillbox/unknwn.h"

// Access, sharing and creation modes (grfMode).
#define STGM_DIRECT 0x00000000L
#define STGM_TRANSACTED 0x00010000L
#define STGM_SIMPLE 0x08000000L
#define STGM_READ 0x00000000L
#define STGM_WRITE 0x00000001L
#define STGM_READWRITE 0x00000002L
#define STGM_SHARE_DENY_NONE 0x00000040L
#define STGM_SHARE_DENY_READ 0x00000030L
#define STGM_SHARE_DENY_WRITE 0x00000020L
#define STGM_SHARE_EXCLUSIVE 0x00000010L
#define STGM_PRIORITY 0x00040000L
#define STGM_DELETEONRELEASE 0x04000000L
#define STGM_NOSCRATCH 0x00100000L
#define STGM_CREATE 0x00001000L
#define STGM_CONVERT 0x00020000L
#define STGM_FAILIFTHERE 0x00000000L
#define STGM_NOSNAPSHOT 0x00200000L
#define STGM_DIRECT_SWMR 0x00400000L

enum STGTY { STGTY_STORAGE = 1, STGTY_STREAM = 2, STGTY_LOCKBYTES = 3, STGTY_PROPERTY = 4 };
enum STREAM_SEEK { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 };
enum LOCKTYPE { LOCK_WRITE = 1, LOCK_EXCLUSIVE = 2, LOCK_ONLYONCE = 4 };
enum STATFLAG { STATFLAG_DEFAULT = 0, STATFLAG_NONAME = 1, STATFLAG_NOOPEN = 2 };
enum STGC {
  STGC_DEFAULT = 0,
  STGC_OVERWRITE = 1,
  STGC_ONLYIFCURRENT = 2,
  STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE = 4,
  STGC_CONSOLIDATE = 8,
};
enum STGMOVE { STGMOVE_MOVE = 0, STGMOVE_COPY = 1, STGMOVE_SHALLOWCOPY = 2 };

// One element's description. pwcsName is allocated with CoTaskMemAlloc and
// freed by the caller (absent with STATFLAG_NONAME).
struct STATSTG {
  LPOLESTR pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

// A null-terminated list of element names to leave out.
using SNB = OLECHAR**;

inline constexpr IID IID_ISequentialStream = {0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_ILockBytes = {0x0000000A, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IStorage = {0x0000000B, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IStream = {0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumSTATSTG = {0x0000000D, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IRootStorage = {0x00000012, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct ISequentialStream : public IUnknown {
  STDMETHOD(Read)(void* pv, ULONG cb, ULONG* pcbRead) = 0;
  STDMETHOD(Write)(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
};

struct IStream : public ISequentialStream {
  STDMETHOD(Seek)(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) = 0;
  STDMETHOD(SetSize)(ULARGE_INTEGER libNewSize) = 0;
  STDMETHOD(CopyTo)(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                    ULARGE_INTEGER* pcbWritten) = 0;
  STDMETHOD(Commit)(DWORD grfCommitFlags) = 0;
  STDMETHOD(Revert)() = 0;
  STDMETHOD(LockRegion)(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  STDMETHOD(UnlockRegion)(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  STDMETHOD(Stat)(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
  STDMETHOD(Clone)(IStream** ppstm) = 0;
};
using LPSTREAM = IStream*;

struct ILockBytes : public IUnknown {
  STDMETHOD(ReadAt)(ULARGE_INTEGER ulOffset, void* pv, ULONG cb, ULONG* pcbRead) = 0;
  STDMETHOD(WriteAt)(ULARGE_INTEGER ulOffset, const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
  STDMETHOD(Flush)() = 0;
  STDMETHOD(SetSize)(ULARGE_INTEGER cb) = 0;
  STDMETHOD(LockRegion)(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  STDMETHOD(UnlockRegion)(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  STDMETHOD(Stat)(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
};
using LPLOCKBYTES = ILockBytes*;

struct IEnumSTATSTG : public IUnknown {
  STDMETHOD(Next)(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) = 0;
  STDMETHOD(Skip)(ULONG celt) = 0;
  STDMETHOD(Reset)() = 0;
  STDMETHOD(Clone)(IEnumSTATSTG** ppenum) = 0;
};

struct IStorage : public IUnknown {
  STDMETHOD(CreateStream)(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1, DWORD reserved2,
                          IStream** ppstm) = 0;
  STDMETHOD(OpenStream)(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD reserved2,
                        IStream** ppstm) = 0;
  STDMETHOD(CreateStorage)(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                           DWORD reserved2, IStorage** ppstg) = 0;
  STDMETHOD(OpenStorage)(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                         SNB snbExclude, DWORD reserved, IStorage** ppstg) = 0;
  STDMETHOD(CopyTo)(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                    IStorage* pstgDest) = 0;
  STDMETHOD(MoveElementTo)(const OLECHAR* pwcsName, IStorage* pstgDest, const OLECHAR* pwcsNewName,
                           DWORD grfFlags) = 0;
  STDMETHOD(Commit)(DWORD grfCommitFlags) = 0;
  STDMETHOD(Revert)() = 0;
  STDMETHOD(EnumElements)(DWORD reserved1, void* reserved2, DWORD reserved3,
                          IEnumSTATSTG** ppenum) = 0;
  STDMETHOD(DestroyElement)(const OLECHAR* pwcsName) = 0;
  STDMETHOD(RenameElement)(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) = 0;
  STDMETHOD(SetElementTimes)(const OLECHAR* pwcsName, const FILETIME* pctime,
                             const FILETIME* patime, const FILETIME* pmtime) = 0;
  STDMETHOD(SetClass)(REFCLSID clsid) = 0;
  STDMETHOD(SetStateBits)(DWORD grfStateBits, DWORD grfMask) = 0;
  STDMETHOD(Stat)(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
};
using LPSTORAGE = IStorage*;

struct IRootStorage : public IUnknown {
  STDMETHOD(SwitchToFile)(LPOLESTR pszFile) = 0;
};

QUILLBOX_DECLARE_INTERFACE(ISequentialStream, IUnknown, IID_ISequentialStream);
QUILLBOX_DECLARE_INTERFACE(IStream, ISequentialStream, IID_IStream);
QUILLBOX_DECLARE_INTERFACE(ILockBytes, IUnknown, IID_ILockBytes);
QUILLBOX_DECLARE_INTERFACE(IEnumSTATSTG, IUnknown, IID_IEnumSTATSTG);
QUILLBOX_DECLARE_INTERFACE(IStorage, IUnknown, IID_IStorage);
QUILLBOX_DECLARE_INTERFACE(IRootStorage, IUnknown, IID_IRootStorage);

// ---------------------------------------------------------------------------
// Persistence: an object names its class and saves itself into a stream.

inline constexpr IID IID_IPersist = {0x0000010C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IPersistStream = {0x00000109, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IPersist : public IUnknown {
  STDMETHOD(GetClassID)(CLSID* pClassID) = 0;
};
using LPPERSIST = IPersist*;

// Save writes the object's own bytes only; whoever calls it writes the class
// id first (OleSaveToStream does both).
struct IPersistStream : public IPersist {
  STDMETHOD(IsDirty)() = 0;
  STDMETHOD(Load)(IStream* pStm) = 0;
  STDMETHOD(Save)(IStream* pStm, BOOL fClearDirty) = 0;
  STDMETHOD(GetSizeMax)(ULARGE_INTEGER* pcbSize) = 0;
};
using LPPERSISTSTREAM = IPersistStream*;

QUILLBOX_DECLARE_INTERFACE(IPersist, IUnknown, IID_IPersist);
QUILLBOX_DECLARE_INTERFACE(IPersistStream, IPersist, IID_IPersistStream);
