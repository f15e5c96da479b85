// String resources: LoadStringA/LoadStringW read the string table that a
// module registered for its instance handle (on Linux a module registers
// its table at start-up instead of carrying it in a resource section).
#pragma once

#include "quillbox/wtypes.h"

// Copies string uID of hInstance's table into lpBuffer (at most
// cchBufferMax - 1 characters and a terminator) and returns the characters
// copied, or 0 when there is no such string.
WINBASEAPI int LoadStringA(HINSTANCE hInstance, UINT uID, LPSTR lpBuffer, int cchBufferMax);
WINBASEAPI int LoadStringW(HINSTANCE hInstance, UINT uID, LPWSTR lpBuffer, int cchBufferMax);
