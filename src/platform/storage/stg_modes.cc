// STGM checks for root and child opens.
#include "platform/storage/stg_modes.h"

namespace quillbox::storage {
namespace {

constexpr DWORD kKnownFlags = 0x3 | 0x70 | STGM_TRANSACTED | STGM_SIMPLE | STGM_PRIORITY |
                              STGM_DELETEONRELEASE | STGM_NOSCRATCH | STGM_CREATE | STGM_CONVERT |
                              STGM_NOSNAPSHOT | STGM_DIRECT_SWMR;

}  // namespace

HRESULT CheckMode(DWORD mode, ModeCall call) {
  const DWORD access = AccessOf(mode);
  const DWORD share = ShareOf(mode);
  const bool transacted = (mode & STGM_TRANSACTED) != 0;
  if ((mode & ~kKnownFlags) != 0) return STG_E_INVALIDFLAG;
  if (access == 0x3) return STG_E_INVALIDFLAG;
  if (share != 0 && share != STGM_SHARE_DENY_NONE && share != STGM_SHARE_DENY_READ &&
      share != STGM_SHARE_DENY_WRITE && share != STGM_SHARE_EXCLUSIVE) {
    return STG_E_INVALIDFLAG;
  }
  if ((mode & STGM_CREATE) && (mode & STGM_CONVERT)) return STG_E_INVALIDFLAG;
  if ((mode & (STGM_NOSCRATCH | STGM_NOSNAPSHOT)) && !transacted) return STG_E_INVALIDFLAG;
  if (mode & STGM_DIRECT_SWMR) return STG_E_INVALIDFLAG;
  if ((mode & STGM_SIMPLE) && transacted) return STG_E_INVALIDFLAG;

  switch (call) {
    case ModeCall::kCreateDocfile:
      if (access == STGM_READ) return STG_E_INVALIDFLAG;  // a new file must be writable
      if (mode & STGM_PRIORITY) return STG_E_INVALIDFLAG;
      // Direct mode: a writer must keep the file to itself.
      if (!transacted && share != STGM_SHARE_EXCLUSIVE) return STG_E_INVALIDFLAG;
      return S_OK;
    case ModeCall::kOpenDocfile:
      if (mode & (STGM_CREATE | STGM_CONVERT)) return STG_E_INVALIDFLAG;
      if (mode & STGM_DELETEONRELEASE) return STG_E_INVALIDFUNCTION;
      if (mode & STGM_PRIORITY) return access == STGM_READ && !transacted ? S_OK : STG_E_INVALIDFLAG;
      if (mode & STGM_SIMPLE) return STG_E_INVALIDFLAG;
      if (!transacted) {
        // Direct mode: writers exclusive, readers at least deny writers.
        if (access != STGM_READ && share != STGM_SHARE_EXCLUSIVE) return STG_E_INVALIDFLAG;
        if (access == STGM_READ && share != STGM_SHARE_EXCLUSIVE && share != STGM_SHARE_DENY_WRITE) {
          return STG_E_INVALIDFLAG;
        }
      }
      return S_OK;
    case ModeCall::kCreateStream:
    case ModeCall::kOpenStream:
    case ModeCall::kCreateStorage:
    case ModeCall::kOpenStorage: {
      const bool stream = call == ModeCall::kCreateStream || call == ModeCall::kOpenStream;
      const bool opening = call == ModeCall::kOpenStream || call == ModeCall::kOpenStorage;
      if (mode & (STGM_CONVERT | STGM_SIMPLE)) return STG_E_INVALIDFLAG;
      if (opening && (mode & STGM_CREATE)) return STG_E_INVALIDFLAG;
      if (mode & (STGM_DELETEONRELEASE | STGM_PRIORITY)) return STG_E_INVALIDFUNCTION;
      if (stream && transacted) return STG_E_INVALIDFUNCTION;  // docfile streams are direct
      if (share != STGM_SHARE_EXCLUSIVE) return STG_E_INVALIDFUNCTION;
      return S_OK;
    }
  }
  return STG_E_INVALIDFLAG;
}

HRESULT CheckChildAccess(DWORD parent_mode, DWORD child_mode) {
  if (CanWrite(child_mode) && !CanWrite(parent_mode)) return STG_E_ACCESSDENIED;
  if (CanRead(child_mode) && !CanRead(parent_mode)) return STG_E_ACCESSDENIED;
  return S_OK;
}

}  // namespace quillbox::storage
