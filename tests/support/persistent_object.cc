// The persistent test object, its non-persistent sibling and the scoped
// registration of its class.
#include "support/persistent_object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>

namespace quillbox::testing {
namespace {

std::atomic<LONG> g_live{0};

class NonPersistentObject final : public BareDispatch<NonPersistentObject> {
 public:
  NonPersistentObject() { ++g_live; }
  ~NonPersistentObject() { --g_live; }
};

}  // namespace

PersistentObject::PersistentObject() { ++g_live; }
PersistentObject::~PersistentObject() { --g_live; }

STDMETHODIMP PersistentObject::GetClassID(CLSID* pClassID) {
  if (!pClassID) return E_POINTER;
  if (FAILED(class_id_failure_)) return class_id_failure_;
  *pClassID = kPersistentObjectClsid;
  return S_OK;
}

STDMETHODIMP PersistentObject::IsDirty() { return dirty_ ? S_OK : S_FALSE; }

STDMETHODIMP PersistentObject::Load(IStream* pStm) {
  if (!pStm) return E_POINTER;
  if (initialized_new_) return E_UNEXPECTED;
  uint8_t bytes[kSavedSize];
  ULONG got = 0;
  const HRESULT hr = pStm->Read(bytes, kSavedSize, &got);
  if (FAILED(hr)) return hr;
  if (got != kSavedSize) return E_FAIL;  // the stream ends inside the value
  const uint32_t bits = uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
                        uint32_t{bytes[3]} << 24;
  value_ = static_cast<LONG>(bits);
  loaded_ = true;
  dirty_ = false;
  return S_OK;
}

STDMETHODIMP PersistentObject::Save(IStream* pStm, BOOL fClearDirty) {
  if (!pStm) return E_POINTER;
  if (FAILED(save_failure_)) return save_failure_;
  const auto bits = static_cast<uint32_t>(value_);
  const uint8_t bytes[kSavedSize] = {static_cast<uint8_t>(bits), static_cast<uint8_t>(bits >> 8),
                                     static_cast<uint8_t>(bits >> 16), static_cast<uint8_t>(bits >> 24)};
  ULONG written = 0;
  const HRESULT hr = pStm->Write(bytes, kSavedSize, &written);
  if (FAILED(hr)) return hr;
  if (written != kSavedSize) return STG_E_MEDIUMFULL;
  if (fClearDirty) dirty_ = false;
  return S_OK;
}

STDMETHODIMP PersistentObject::GetSizeMax(ULARGE_INTEGER* pcbSize) {
  if (!pcbSize) return E_POINTER;
  pcbSize->QuadPart = kSavedSize;
  return S_OK;
}

STDMETHODIMP PersistentObject::InitNew() {
  if (loaded_) return E_UNEXPECTED;
  value_ = 0;
  dirty_ = false;
  initialized_new_ = true;
  return S_OK;
}

ComPtr<IUnknown> MakePersistentObject(LONG value) {
  ComPtr<PersistentObject> object = com::MakeObject<PersistentObject>();
  if (!object) return {};
  object->set_value(value);
  return ComPtr<IUnknown>(object->GetUnknown());
}

ComPtr<IUnknown> MakeNonPersistentObject() {
  ComPtr<NonPersistentObject> object = com::MakeObject<NonPersistentObject>();
  if (!object) return {};
  return ComPtr<IUnknown>(object->GetUnknown());
}

PersistentObject* AsPersistentObject(IUnknown* object) {
  // Every interface pointer of a COM object starts with IUnknown's slots, so
  // the most-derived object is found from whichever one was handed in.
  return object ? dynamic_cast<PersistentObject*>(object) : nullptr;
}

LONG PersistentValue(IUnknown* object) {
  PersistentObject* persistent = AsPersistentObject(object);
  if (!persistent) {
    ADD_FAILURE() << "PersistentValue: not a PersistentObject";
    return 0;
  }
  return persistent->value();
}

LONG LivePersistentObjects() { return g_live.load(); }

// Makes blank PersistentObjects and counts them.
class ScopedPersistentObjectClass::Factory final : public com::ComObject<Factory, IClassFactory> {
 public:
  std::atomic<int> created{0};

  STDMETHODIMP CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) override {
    if (!ppvObject) return E_POINTER;
    *ppvObject = nullptr;
    if (pUnkOuter) return CLASS_E_NOAGGREGATION;
    ComPtr<PersistentObject> object = com::MakeObject<PersistentObject>();
    if (!object) return E_OUTOFMEMORY;
    ++created;
    return object->QueryInterface(riid, ppvObject);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

ScopedPersistentObjectClass::ScopedPersistentObjectClass(REFCLSID clsid) {
  ComPtr<Factory> factory = com::MakeObject<Factory>();
  if (!factory) {
    result_ = E_OUTOFMEMORY;
  } else {
    counter_ = factory.get();
    factory_ = ComPtr<IClassFactory>(factory.get());
    result_ = CoRegisterClassObject(clsid, factory->GetUnknown(), CLSCTX_INPROC_SERVER,
                                    REGCLS_MULTIPLEUSE, &cookie_);
  }
  if (FAILED(result_)) {
    ADD_FAILURE() << "registering the persistent test class failed: 0x" << std::hex << result_;
  }
}

ScopedPersistentObjectClass::~ScopedPersistentObjectClass() {
  if (SUCCEEDED(result_)) CoRevokeClassObject(cookie_);
}

int ScopedPersistentObjectClass::created() const { return counter_ ? counter_->created.load() : 0; }

}  // namespace quillbox::testing
