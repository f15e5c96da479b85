// The class registry: where CoGetClassObject finds a class factory. Classes
// registered at run time come first, then this library's own classes, then
// in-process servers named by HKEY_CLASSES_ROOT\CLSID\{clsid}\InprocServer32,
// which are loaded once and kept loaded.
#include <dlfcn.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/com/guid_text.h"
#include "platform/com/module_path.h"
#include "platform/com/registry/registry.h"
#include "platform/com/utf.h"
#include "quillbox/com_ptr.h"
#include "quillbox/objbase.h"

// The library's own entry point, when the object model is linked in.
extern "C" __attribute__((weak)) HRESULT DllGetClassObject(REFCLSID, REFIID, LPVOID*);

namespace {

using quillbox::ComPtr;
using GetClassObjectFn = HRESULT (*)(REFCLSID, REFIID, LPVOID*);

struct Registration {
  DWORD cookie;
  CLSID clsid;
  ComPtr<IUnknown> object;
  DWORD context;
  DWORD flags;
  bool used = false;  // a single-use registration serves one request
};

class ClassRegistry {
 public:
  static ClassRegistry& Instance() {
    static ClassRegistry registry;
    return registry;
  }

  HRESULT Register(REFCLSID clsid, IUnknown* object, DWORD context, DWORD flags, DWORD* cookie) {
    std::lock_guard lock(mutex_);
    const DWORD id = next_cookie_++;
    registrations_.push_back({id, clsid, ComPtr<IUnknown>(object), context, flags});
    *cookie = id;
    return S_OK;
  }

  HRESULT Revoke(DWORD cookie) {
    ComPtr<IUnknown> released;  // released outside the lock
    std::lock_guard lock(mutex_);
    for (auto it = registrations_.begin(); it != registrations_.end(); ++it) {
      if (it->cookie == cookie) {
        released = std::move(it->object);
        registrations_.erase(it);
        return S_OK;
      }
    }
    return E_INVALIDARG;
  }

  // The object registered for clsid in a matching context, if any.
  ComPtr<IUnknown> Find(REFCLSID clsid, DWORD context) {
    std::lock_guard lock(mutex_);
    for (auto& r : registrations_) {
      if (r.clsid == clsid && (r.context & context) != 0 && !r.used) {
        if ((r.flags & REGCLS_SUSPENDED) != 0) continue;
        if ((r.flags & (REGCLS_MULTIPLEUSE | REGCLS_MULTI_SEPARATE)) == 0) r.used = true;
        return r.object;
      }
    }
    return {};
  }

  // DllGetClassObject of the shared object at path, loaded once.
  GetClassObjectFn ServerEntry(const std::string& path, HRESULT& failure) {
    std::lock_guard lock(mutex_);
    if (auto it = servers_.find(path); it != servers_.end()) return it->second;
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
      failure = CO_E_DLLNOTFOUND;
      return nullptr;
    }
    auto entry = reinterpret_cast<GetClassObjectFn>(dlsym(handle, "DllGetClassObject"));
    if (!entry) {
      dlclose(handle);
      failure = CO_E_ERRORINDLL;
      return nullptr;
    }
    servers_.emplace(path, entry);
    return entry;
  }

 private:
  std::mutex mutex_;
  std::vector<Registration> registrations_;
  std::map<std::string, GetClassObjectFn> servers_;
  DWORD next_cookie_ = 1;
};

}  // namespace

HRESULT CoRegisterClassObject(REFCLSID rclsid, LPUNKNOWN pUnk, DWORD dwClsContext, DWORD flags,
                              LPDWORD lpdwRegister) {
  if (!pUnk || !lpdwRegister) return E_INVALIDARG;
  return ClassRegistry::Instance().Register(rclsid, pUnk, dwClsContext, flags, lpdwRegister);
}

HRESULT CoRevokeClassObject(DWORD dwRegister) {
  return ClassRegistry::Instance().Revoke(dwRegister);
}

HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, LPVOID, REFIID riid, LPVOID* ppv) {
  if (!ppv) return E_INVALIDARG;
  *ppv = nullptr;
  auto& registry = ClassRegistry::Instance();

  if (ComPtr<IUnknown> object = registry.Find(rclsid, dwClsContext)) {
    return object->QueryInterface(riid, ppv);
  }
  // Only in-process servers exist here.
  if ((dwClsContext & CLSCTX_INPROC) == 0) return REGDB_E_CLASSNOTREG;

  if (DllGetClassObject) {
    const HRESULT hr = DllGetClassObject(rclsid, riid, ppv);
    if (hr != CLASS_E_CLASSNOTAVAILABLE) return hr;
  }

  const auto server = quillbox::com::registry::ReadRegistryString(
      HKEY_CLASSES_ROOT, u"CLSID\\" + quillbox::com::GuidToText(rclsid) + u"\\InprocServer32", u"");
  if (!server || server->empty()) return REGDB_E_CLASSNOTREG;
  const std::string path = quillbox::com::Utf16ToUtf8(*server);
  // Our own module was asked above; do not load a second copy of it.
  if (DllGetClassObject && path == quillbox::com::ModulePath()) return CLASS_E_CLASSNOTAVAILABLE;
  HRESULT failure = S_OK;
  GetClassObjectFn entry = registry.ServerEntry(path, failure);
  if (!entry) return failure;
  return entry(rclsid, riid, ppv);
}

HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                         LPVOID* ppv) {
  if (!ppv) return E_INVALIDARG;
  *ppv = nullptr;
  ComPtr<IClassFactory> factory;
  const HRESULT hr =
      CoGetClassObject(rclsid, dwClsContext, nullptr, IID_IClassFactory, factory.put_void());
  if (FAILED(hr)) return hr;
  return factory->CreateInstance(pUnkOuter, riid, ppv);
}
