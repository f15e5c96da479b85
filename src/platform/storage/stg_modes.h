// The STGM mode checks every open and create goes through, with the codes
// the Windows docfile engine gives (table in docs/platform/storage.md).
#pragma once

#include "quillbox/objidl.h"

namespace quillbox::storage {

enum class ModeCall {
  kCreateDocfile,   // StgCreateDocfile and friends
  kOpenDocfile,     // StgOpenStorage and friends
  kCreateStream,
  kOpenStream,
  kCreateStorage,
  kOpenStorage,     // IStorage::OpenStorage
};

// S_OK, STG_E_INVALIDFLAG (a flag or combination that does not exist or
// does not belong to this call) or STG_E_INVALIDFUNCTION (a valid flag the
// call cannot honour, e.g. a child without STGM_SHARE_EXCLUSIVE).
HRESULT CheckMode(DWORD mode, ModeCall call);

// Can a child opened with child_mode live under a parent opened with
// parent_mode? STG_E_ACCESSDENIED when it asks for more access.
HRESULT CheckChildAccess(DWORD parent_mode, DWORD child_mode);

inline DWORD AccessOf(DWORD mode) { return mode & 0x3; }
inline DWORD ShareOf(DWORD mode) { return mode & 0x70; }
inline bool CanRead(DWORD mode) { return AccessOf(mode) != STGM_WRITE; }
inline bool CanWrite(DWORD mode) { return AccessOf(mode) != STGM_READ; }

}  // namespace quillbox::storage
