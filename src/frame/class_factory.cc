// Class factories of the class table.
#include "frame/class_factory.h"

#include <mutex>
#include <vector>

#include "platform/com/module_lock.h"

namespace quillbox::frame {

STDMETHODIMP ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  if (outer) return CLASS_E_NOAGGREGATION;
  // A class of the table whose implementation is not part of this build.
  const CreateFunction create = FindClassCreator(row_.clsid);
  if (!create) return E_NOTIMPL;
  return create(riid, ppv);
}

STDMETHODIMP ClassFactory::LockServer(BOOL lock) {
  if (lock) {
    com::LockModule();
  } else {
    com::UnlockModule();
  }
  return S_OK;
}

HRESULT GetClassFactory(const ClassRow& row, REFIID riid, void** ppv) {
  static std::mutex mutex;
  static std::vector<ComPtr<ClassFactory>> factories(ClassTable().size());
  const std::size_t index = static_cast<std::size_t>(&row - ClassTable().data());
  ComPtr<ClassFactory> factory;
  {
    std::lock_guard lock(mutex);
    if (!factories[index]) factories[index] = com::MakeObject<ClassFactory>(row);
    factory = factories[index];
  }
  if (!factory) return E_OUTOFMEMORY;
  return factory->QueryInterface(riid, ppv);
}

}  // namespace quillbox::frame
