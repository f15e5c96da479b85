// The library's exported entry points: class objects for the class
// registry, the unload question, and registration.
#include "frame/class_factory.h"
#include "frame/class_table.h"
#include "frame/registration.h"
#include "platform/com/module_lock.h"
#include "quillbox/objbase.h"

using quillbox::frame::FindClassRow;
using quillbox::frame::kStreamClsid;

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
  // Stream is registered, but its objects come only from the library.
  if (IsEqualCLSID(rclsid, kStreamClsid)) return E_NOINTERFACE;
  const quillbox::frame::ClassRow* row = FindClassRow(rclsid);
  if (!row) return CLASS_E_CLASSNOTAVAILABLE;
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  return quillbox::frame::GetClassFactory(*row, riid, ppv);
}

STDAPI DllCanUnloadNow() { return quillbox::com::ModuleLockCount() == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return quillbox::frame::RegisterServer(); }

STDAPI DllUnregisterServer() { return quillbox::frame::UnregisterServer(); }
