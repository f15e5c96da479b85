// The messages of the storage tree and the tables that turn a platform
// storage code into one: each operation tests only the codes it can meet,
// returns the code unchanged, and anything not listed is message 1.
#pragma once

#include <initializer_list>

#include "quillbox/winerror.h"

namespace quillbox::storage_tree {

inline constexpr UINT kMsgUnexpected = 1;
inline constexpr UINT kMsgStorageNotFound = 203;
inline constexpr UINT kMsgStreamNotFound = 204;
inline constexpr UINT kMsgReadOnly = 205;
inline constexpr UINT kMsgMediumFull = 207;
inline constexpr UINT kMsgAccessDenied = 208;
inline constexpr UINT kMsgInvalidPointer = 209;
inline constexpr UINT kMsgFileExists = 210;
inline constexpr UINT kMsgInvalidName = 212;
inline constexpr UINT kMsgOutOfMemory = 213;
inline constexpr UINT kMsgTooManyFiles = 214;
inline constexpr UINT kMsgOldDll = 215;
inline constexpr UINT kMsgFileNotFound = 216;
inline constexpr UINT kMsgPathNotFound = 217;
inline constexpr UINT kMsgLockViolation = 218;
inline constexpr UINT kMsgShareViolation = 219;
inline constexpr UINT kMsgNotAStorage = 220;
inline constexpr UINT kMsgInvalidParameter = 221;
inline constexpr UINT kMsgNameExists = 222;
inline constexpr UINT kMsgUnicodeTranslation = 225;
inline constexpr UINT kMsgReadError = 226;
inline constexpr UINT kMsgWriteFault = 228;
inline constexpr UINT kMsgRemoveOpenObject = 229;
inline constexpr UINT kMsgNotSupported = 230;
inline constexpr UINT kMsgCodePageEmbeddedNull = 250;
inline constexpr UINT kMsgNullTerminatedEmbeddedNull = 251;
inline constexpr UINT kMsgCodePageNotFound = 252;
inline constexpr UINT kMsgCannotRename = 256;
inline constexpr UINT kMsgRootStorage = 257;

struct CodeMessage {
  HRESULT code;
  UINT message;
};
using MessageMap = std::initializer_list<CodeMessage>;

// The message of code in map, or kMsgUnexpected.
UINT MessageFor(HRESULT code, MessageMap map);

// The tables the members share.
// Creating a file (StgCreateDocfile).
extern const MessageMap kCreateFileMessages;
// Opening a file (StgOpenStorage): a file that is no compound file is 220.
extern const MessageMap kOpenFileMessages;
// Switching the root to another file (SaveAs).
extern const MessageMap kSwitchFileMessages;
// Opening an element (OpenStorage, OpenStream), destroying one.
extern const MessageMap kElementMessages;
// Creating, renaming an element, setting its times: an existing name is 222.
extern const MessageMap kNewNameMessages;

}  // namespace quillbox::storage_tree
