// The COM runtime: initialisation, identifiers as text, the task allocator,
// the class registry (CoGetClassObject, CoCreateInstance, run-time class
// registration) and the entry points an in-process server exports.
#pragma once

#include "quillbox/unknwn.h"

enum COINIT {
  COINIT_MULTITHREADED = 0x0,
  COINIT_APARTMENTTHREADED = 0x2,
  COINIT_DISABLE_OLE1DDE = 0x4,
  COINIT_SPEED_OVER_MEMORY = 0x8,
};

enum CLSCTX {
  CLSCTX_INPROC_SERVER = 0x1,
  CLSCTX_INPROC_HANDLER = 0x2,
  CLSCTX_LOCAL_SERVER = 0x4,
  CLSCTX_REMOTE_SERVER = 0x10,
};
#define CLSCTX_INPROC (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER)
#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)
#define CLSCTX_SERVER (CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

enum REGCLS {
  REGCLS_SINGLEUSE = 0,
  REGCLS_MULTIPLEUSE = 1,
  REGCLS_MULTI_SEPARATE = 2,
  REGCLS_SUSPENDED = 4,
  REGCLS_SURROGATE = 8,
};

// Characters in a braced GUID's text, terminator included.
#define CHARS_IN_GUID 39

// Initialisation: kept for ported code; every thread may use the library
// without it. The first call on a thread answers S_OK, later ones S_FALSE.
WINOLEAPI CoInitialize(LPVOID pvReserved);
WINOLEAPI CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
WINOLEAPI_(void) CoUninitialize();

// Identifiers.
WINOLEAPI CoCreateGuid(GUID* pguid);
WINOLEAPI_(int) StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);
WINOLEAPI StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz);
WINOLEAPI StringFromIID(REFIID rclsid, LPOLESTR* lplpsz);
WINOLEAPI CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid);
WINOLEAPI IIDFromString(LPCOLESTR lpsz, LPIID lpiid);
WINOLEAPI CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid);
WINOLEAPI ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID);

// Task allocator.
WINOLEAPI_(LPVOID) CoTaskMemAlloc(SIZE_T cb);
WINOLEAPI_(LPVOID) CoTaskMemRealloc(LPVOID pv, SIZE_T cb);
WINOLEAPI_(void) CoTaskMemFree(LPVOID pv);

// Class registry. Classes are found, in this order, among those registered
// at run time with CoRegisterClassObject, among this library's own classes,
// and through HKEY_CLASSES_ROOT\CLSID\{clsid}\InprocServer32, whose shared
// object is loaded and asked through its DllGetClassObject.
WINOLEAPI CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, LPVOID pvReserved, REFIID riid,
                           LPVOID* ppv);
WINOLEAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                           LPVOID* ppv);
WINOLEAPI CoRegisterClassObject(REFCLSID rclsid, LPUNKNOWN pUnk, DWORD dwClsContext, DWORD flags,
                                LPDWORD lpdwRegister);
WINOLEAPI CoRevokeClassObject(DWORD dwRegister);

// What an in-process server exports; libquillbox.so exports all four.
STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
STDAPI DllCanUnloadNow();
STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();
