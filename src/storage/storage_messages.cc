// The storage tree's code-to-message tables.
#include "storage/storage_messages.h"

namespace quillbox::storage_tree {

UINT MessageFor(HRESULT code, MessageMap map) {
  for (const CodeMessage& row : map) {
    if (row.code == code) return row.message;
  }
  return kMsgUnexpected;
}

const MessageMap kCreateFileMessages = {
    {STG_E_FILEALREADYEXISTS, kMsgFileExists},  {STG_E_MEDIUMFULL, kMsgMediumFull},
    {STG_E_INVALIDNAME, kMsgInvalidName},       {STG_E_TOOMANYOPENFILES, kMsgTooManyFiles},
    {STG_E_ACCESSDENIED, kMsgAccessDenied},     {STG_E_INSUFFICIENTMEMORY, kMsgOutOfMemory},
    {STG_E_INVALIDPOINTER, kMsgInvalidPointer},
};

const MessageMap kOpenFileMessages = {
    {STG_E_LOCKVIOLATION, kMsgLockViolation},   {STG_E_FILENOTFOUND, kMsgFileNotFound},
    {STG_E_PATHNOTFOUND, kMsgPathNotFound},     {STG_E_TOOMANYOPENFILES, kMsgTooManyFiles},
    {STG_E_ACCESSDENIED, kMsgAccessDenied},     {STG_E_INSUFFICIENTMEMORY, kMsgOutOfMemory},
    {STG_E_INVALIDPOINTER, kMsgInvalidPointer}, {STG_E_SHAREVIOLATION, kMsgShareViolation},
    {STG_E_MEDIUMFULL, kMsgMediumFull},         {STG_E_INVALIDNAME, kMsgInvalidName},
    {STG_E_OLDDLL, kMsgOldDll},
    // The platform reports a file that is no compound file as "exists".
    {STG_E_FILEALREADYEXISTS, kMsgNotAStorage}, {STG_E_OLDFORMAT, kMsgNotAStorage},
};

const MessageMap kSwitchFileMessages = {
    {STG_E_ACCESSDENIED, kMsgAccessDenied},
    {STG_E_INVALIDPOINTER, kMsgInvalidPointer},
    {STG_E_FILEALREADYEXISTS, kMsgFileExists},
    {STG_E_MEDIUMFULL, kMsgMediumFull},
};

const MessageMap kElementMessages = {
    {STG_E_INVALIDPOINTER, kMsgInvalidPointer}, {STG_E_INVALIDPARAMETER, kMsgInvalidParameter},
    {STG_E_INVALIDNAME, kMsgInvalidName},       {STG_E_FILENOTFOUND, kMsgFileNotFound},
    {STG_E_TOOMANYOPENFILES, kMsgTooManyFiles}, {STG_E_ACCESSDENIED, kMsgAccessDenied},
    {STG_E_INSUFFICIENTMEMORY, kMsgOutOfMemory},
};

const MessageMap kNewNameMessages = {
    {STG_E_FILEALREADYEXISTS, kMsgNameExists},  {STG_E_INVALIDPARAMETER, kMsgInvalidParameter},
    {STG_E_INVALIDNAME, kMsgInvalidName},       {STG_E_INVALIDPOINTER, kMsgInvalidPointer},
    {STG_E_FILENOTFOUND, kMsgFileNotFound},     {STG_E_TOOMANYOPENFILES, kMsgTooManyFiles},
    {STG_E_ACCESSDENIED, kMsgAccessDenied},     {STG_E_INSUFFICIENTMEMORY, kMsgOutOfMemory},
};

}  // namespace quillbox::storage_tree
