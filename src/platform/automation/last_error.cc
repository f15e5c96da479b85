// The thread's last Win32 error: one slot per thread, as Windows keeps it.
#include "quillbox/errhandlingapi.h"

namespace {
thread_local DWORD last_error = 0;
}  // namespace

DWORD GetLastError(void) { return last_error; }

void SetLastError(DWORD dwErrCode) { last_error = dwErrCode; }
