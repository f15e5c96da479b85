// The registry, emulated: HKEY_CLASSES_ROOT, HKEY_CURRENT_USER and
// HKEY_LOCAL_MACHINE kept in one human-readable file in the .reg text format
// ("Windows Registry Editor Version 5.00"), by default
// $XDG_DATA_HOME/quillbox/registry.reg (~/.local/share/quillbox/registry.reg);
// the environment variable QUILLBOX_REGISTRY names another file. Every change
// is written at once, atomically, under an advisory lock, so processes that
// write at the same time lose nothing. Functions return Win32 error numbers.
// ANSI (A) functions take UTF-8 text.
#pragma once

#include "quillbox/wtypes.h"

using HKEY = struct HKEY__*;
using PHKEY = HKEY*;
using LSTATUS = LONG;
using REGSAM = DWORD;
struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)((LONG)0x80000000))
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)((LONG)0x80000002))
#define HKEY_USERS ((HKEY)(ULONG_PTR)((LONG)0x80000003))

// Value types.
#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7
#define REG_QWORD 11

// Access rights (accepted and recorded; the emulation does not check them
// beyond refusing writes through a key opened for reading only).
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_CREATE_LINK 0x0020
#define KEY_WOW64_64KEY 0x0100
#define KEY_WOW64_32KEY 0x0200
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_EXECUTE 0x20019
#define KEY_ALL_ACCESS 0xF003F

#define REG_OPTION_NON_VOLATILE 0x0
#define REG_OPTION_VOLATILE 0x1
#define REG_CREATED_NEW_KEY 0x1
#define REG_OPENED_EXISTING_KEY 0x2

WINADVAPI LSTATUS RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD Reserved, LPSTR lpClass,
                                  DWORD dwOptions, REGSAM samDesired,
                                  const LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                                  LPDWORD lpdwDisposition);
WINADVAPI LSTATUS RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass,
                                  DWORD dwOptions, REGSAM samDesired,
                                  const LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                                  LPDWORD lpdwDisposition);
WINADVAPI LSTATUS RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD ulOptions, REGSAM samDesired,
                                PHKEY phkResult);
WINADVAPI LSTATUS RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired,
                                PHKEY phkResult);
WINADVAPI LSTATUS RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType,
                                 const BYTE* lpData, DWORD cbData);
WINADVAPI LSTATUS RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType,
                                 const BYTE* lpData, DWORD cbData);
WINADVAPI LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD lpReserved,
                                   LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);
WINADVAPI LSTATUS RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved,
                                   LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);
WINADVAPI LSTATUS RegDeleteValueA(HKEY hKey, LPCSTR lpValueName);
WINADVAPI LSTATUS RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName);
WINADVAPI LSTATUS RegDeleteKeyA(HKEY hKey, LPCSTR lpSubKey);
WINADVAPI LSTATUS RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey);
WINADVAPI LSTATUS RegDeleteTreeA(HKEY hKey, LPCSTR lpSubKey);
WINADVAPI LSTATUS RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey);
WINADVAPI LSTATUS RegEnumKeyExA(HKEY hKey, DWORD dwIndex, LPSTR lpName, LPDWORD lpcchName,
                                LPDWORD lpReserved, LPSTR lpClass, LPDWORD lpcchClass,
                                PFILETIME lpftLastWriteTime);
WINADVAPI LSTATUS RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName,
                                LPDWORD lpReserved, LPWSTR lpClass, LPDWORD lpcchClass,
                                PFILETIME lpftLastWriteTime);
WINADVAPI LSTATUS RegEnumValueA(HKEY hKey, DWORD dwIndex, LPSTR lpValueName, LPDWORD lpcchValueName,
                                LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);
WINADVAPI LSTATUS RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName,
                                LPDWORD lpcchValueName, LPDWORD lpReserved, LPDWORD lpType,
                                LPBYTE lpData, LPDWORD lpcbData);
WINADVAPI LSTATUS RegCloseKey(HKEY hKey);
