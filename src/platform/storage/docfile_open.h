// Making root storages: new or existing compound files on a path or on any
// ILockBytes, with the checks and result codes of the Stg* functions
// (which are thin wrappers over these).
#pragma once

#include <cstdint>

#include "platform/storage/storage.h"
#include "quillbox/objidl.h"

namespace quillbox::storage {

// A new compound file (major_version 3 or 4) at name (null: a temporary
// file removed on release). S_OK, or STG_S_CONVERTED when STGM_CONVERT
// kept an existing file's bytes as the stream "CONTENTS".
HRESULT CreateDocfileAt(const WCHAR* name, DWORD mode, uint16_t major_version, ComPtr<Storage>* out);
HRESULT OpenDocfileAt(const WCHAR* name, DWORD mode, ComPtr<Storage>* out);
HRESULT CreateDocfileOn(ILockBytes* bytes, DWORD mode, uint16_t major_version, ComPtr<Storage>* out);
HRESULT OpenDocfileOn(ILockBytes* bytes, DWORD mode, ComPtr<Storage>* out);

// S_OK when the bytes start with a compound file header, S_FALSE if not.
HRESULT HasCompoundHeader(ILockBytes* bytes);

}  // namespace quillbox::storage
