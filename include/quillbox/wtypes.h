// Basic Windows data types, with their Windows names and sizes, for code
// ported to Linux. Wide text is UTF-16: OLECHAR and WCHAR are char16_t, so
// u"..." literals are the wide strings of this API (wchar_t is 32-bit here).
#pragma once

#include <cstddef>
#include <cstdint>

// Marks what libquillbox.so exports; everything else in it stays hidden.
#define QUILLBOX_API __attribute__((visibility("default")))

#ifndef EXTERN_C
#define EXTERN_C extern "C"
#endif
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define WINAPI
#define STDAPI EXTERN_C QUILLBOX_API HRESULT STDAPICALLTYPE
#define STDAPI_(type) EXTERN_C QUILLBOX_API type STDAPICALLTYPE
#define WINOLEAPI STDAPI
#define WINOLEAPI_(type) STDAPI_(type)
#define WINOLEAUTAPI STDAPI
#define WINOLEAUTAPI_(type) STDAPI_(type)
#define WINBASEAPI EXTERN_C QUILLBOX_API
#define WINADVAPI EXTERN_C QUILLBOX_API
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE

using BYTE = std::uint8_t;
using UCHAR = std::uint8_t;
using CHAR = char;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using WORD = std::uint16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using BOOLEAN = BYTE;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using LONG64 = std::int64_t;
using ULONG64 = std::uint64_t;
using DWORD64 = std::uint64_t;
using DWORDLONG = std::uint64_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = ULONG_PTR;
using SIZE_T = ULONG_PTR;
using SSIZE_T = LONG_PTR;
using FLOAT = float;
using DOUBLE = double;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = DWORD;
using LANGID = WORD;
using PROPID = ULONG;

using VOID = void;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using LPLONG = LONG*;
using PULONG = ULONG*;

using WCHAR = char16_t;
using OLECHAR = char16_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
using PCWSTR = const WCHAR*;
using PWSTR = WCHAR*;

using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HGLOBAL = HANDLE;
using HWND = struct HWND__*;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#ifndef MAX_PATH
#define MAX_PATH 260
#endif

// 64-bit integers as the structured-storage interfaces pass them.
union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;
using PULARGE_INTEGER = ULARGE_INTEGER*;

// 100-nanosecond ticks since 1 January 1601 (UTC).
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};
using LPFILETIME = FILETIME*;
using PFILETIME = FILETIME*;

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

// Automation string: UTF-16 text whose byte length sits in the 4 bytes
// before the pointer; a null BSTR and an empty one are the same value.
using BSTR = OLECHAR*;
using LPBSTR = BSTR*;

// Automation scalars that several headers share.
using DATE = double;  // days since 30 December 1899, time as the fraction
using VARIANT_BOOL = SHORT;
using VARTYPE = USHORT;
#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)
