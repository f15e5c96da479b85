// Structured-storage functions: compound files on disk and on lock bytes,
// and class identifiers kept in storages and streams.
#pragma once

#include "quillbox/objidl.h"

// Storage formats for StgCreateStorageEx and StgOpenStorageEx.
#define STGFMT_STORAGE 0
#define STGFMT_NATIVE 1
#define STGFMT_FILE 3
#define STGFMT_ANY 4
#define STGFMT_DOCFILE 5
#define STGFMT_DOCUMENT 0

#define STGOPTIONS_VERSION 2
struct STGOPTIONS {
  USHORT usVersion;
  USHORT reserved;
  ULONG ulSectorSize;         // 512 (version 3 file) or 4096 (version 4)
  const WCHAR* pwcsTemplateFile;
};

using PSECURITY_DESCRIPTOR = void*;

WINOLEAPI StgCreateDocfile(const WCHAR* pwcsName, DWORD grfMode, DWORD reserved,
                           IStorage** ppstgOpen);
WINOLEAPI StgCreateDocfileOnILockBytes(ILockBytes* plkbyt, DWORD grfMode, DWORD reserved,
                                       IStorage** ppstgOpen);
WINOLEAPI StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                         SNB snbExclude, DWORD reserved, IStorage** ppstgOpen);
WINOLEAPI StgOpenStorageOnILockBytes(ILockBytes* plkbyt, IStorage* pstgPriority, DWORD grfMode,
                                     SNB snbExclude, DWORD reserved, IStorage** ppstgOpen);
WINOLEAPI StgCreateStorageEx(const WCHAR* pwcsName, DWORD grfMode, DWORD stgfmt, DWORD grfAttrs,
                             STGOPTIONS* pStgOptions, PSECURITY_DESCRIPTOR pSecurityDescriptor,
                             REFIID riid, void** ppObjectOpen);
WINOLEAPI StgOpenStorageEx(const WCHAR* pwcsName, DWORD grfMode, DWORD stgfmt, DWORD grfAttrs,
                           STGOPTIONS* pStgOptions, PSECURITY_DESCRIPTOR pSecurityDescriptor,
                           REFIID riid, void** ppObjectOpen);
WINOLEAPI StgIsStorageFile(const WCHAR* pwcsName);
WINOLEAPI StgIsStorageILockBytes(ILockBytes* plkbyt);

WINOLEAPI WriteClassStg(IStorage* pStg, REFCLSID rclsid);
WINOLEAPI ReadClassStg(IStorage* pStg, CLSID* pclsid);
WINOLEAPI WriteClassStm(IStream* pStm, REFCLSID rclsid);
WINOLEAPI ReadClassStm(IStream* pStm, CLSID* pclsid);
