// The thread's last Win32 error (GetLastError, SetLastError).
// Each thread has its own slot, zero when the thread starts.
#pragma once

#include "quillbox/wtypes.h"

WINBASEAPI DWORD WINAPI GetLastError(void);
WINBASEAPI void WINAPI SetLastError(DWORD dwErrCode);
