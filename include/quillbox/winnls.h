// Code pages: conversion between multi-byte text and UTF-16 with Windows'
// rules (IsValidCodePage, GetCPInfo, MultiByteToWideChar, WideCharToMultiByte).
//
// The ANSI and OEM code pages are 1252 and 437 unless the environment
// variables QUILLBOX_ACP / QUILLBOX_OEMCP name another valid code page; they
// are read at each call. Failures set the thread's last error.
#pragma once

#include "quillbox/wtypes.h"

// Pseudo and special code pages.
#define CP_ACP 0
#define CP_OEMCP 1
#define CP_MACCP 2
#define CP_THREAD_ACP 3
#define CP_SYMBOL 42
#define CP_UTF7 65000
#define CP_UTF8 65001

// MultiByteToWideChar flags.
#define MB_PRECOMPOSED 0x00000001
#define MB_COMPOSITE 0x00000002
#define MB_USEGLYPHCHARS 0x00000004
#define MB_ERR_INVALID_CHARS 0x00000008

// WideCharToMultiByte flags.
#define WC_DISCARDNS 0x00000010
#define WC_SEPCHARS 0x00000020
#define WC_DEFAULTCHAR 0x00000040
#define WC_ERR_INVALID_CHARS 0x00000080
#define WC_COMPOSITECHECK 0x00000200
#define WC_NO_BEST_FIT_CHARS 0x00000400

#define MAX_LEADBYTES 12
#define MAX_DEFAULTCHAR 2

struct CPINFO {
  UINT MaxCharSize;
  BYTE DefaultChar[MAX_DEFAULTCHAR];
  BYTE LeadByte[MAX_LEADBYTES];
};
using LPCPINFO = CPINFO*;

struct CPINFOEXW {
  UINT MaxCharSize;
  BYTE DefaultChar[MAX_DEFAULTCHAR];
  BYTE LeadByte[MAX_LEADBYTES];
  WCHAR UnicodeDefaultChar;
  UINT CodePage;
  WCHAR CodePageName[MAX_PATH];
};
using LPCPINFOEXW = CPINFOEXW*;

WINBASEAPI UINT WINAPI GetACP(void);
WINBASEAPI UINT WINAPI GetOEMCP(void);
WINBASEAPI BOOL WINAPI IsValidCodePage(UINT CodePage);
WINBASEAPI BOOL WINAPI GetCPInfo(UINT CodePage, LPCPINFO lpCPInfo);
WINBASEAPI BOOL WINAPI GetCPInfoExW(UINT CodePage, DWORD dwFlags, LPCPINFOEXW lpCPInfoEx);

WINBASEAPI int WINAPI MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte,
                                          LPWSTR lpWideCharStr, int cchWideChar);
WINBASEAPI int WINAPI WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar,
                                          LPSTR lpMultiByteStr, int cbMultiByte, LPCSTR lpDefaultChar,
                                          BOOL* lpUsedDefaultChar);
