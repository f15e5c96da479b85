// Gathered writes that lock bytes may offer besides ILockBytes: the engine
// ends a change by writing each contiguous run of sectors (stream data and
// the structures between them) in one call, straight from where the bytes
// already lie. Internal to the engine; not part of the public API.
#pragma once

#include <sys/uio.h>

#include "quillbox/unknwn.h"
#include "quillbox/wtypes.h"

namespace quillbox::storage {

inline constexpr IID IID_IGatherLockBytes = {
    0x6c550a4e, 0x8c75, 0x4841, {0x8b, 0xe2, 0x96, 0x51, 0xbb, 0x6b, 0x62, 0xef}};

struct IGatherLockBytes : IUnknown {
  // Writes the pieces one after another from offset on; all or a failure.
  STDMETHOD(WriteGather)(ULARGE_INTEGER offset, const iovec* pieces, ULONG count) = 0;
};

}  // namespace quillbox::storage

QUILLBOX_DECLARE_INTERFACE(quillbox::storage::IGatherLockBytes, IUnknown,
                           quillbox::storage::IID_IGatherLockBytes);
