// The library's exported entry points for the class registry and the host.
// The class table answers DllGetClassObject; while it is empty every CLSID is
// unknown to the library.
#include "platform/com/module_lock.h"
#include "quillbox/objbase.h"

STDAPI DllGetClassObject(REFCLSID, REFIID, LPVOID* ppv) {
  if (ppv) *ppv = nullptr;
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return quillbox::com::ModuleLockCount() == 0 ? S_OK : S_FALSE; }
