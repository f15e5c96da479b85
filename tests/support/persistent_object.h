// Test objects that save themselves into streams: PersistentObject (one LONG
// behind IDispatch, IPersistStream and IPersistStreamInit), an object that
// only answers IDispatch, and a scoped registration of the persistent class
// so CoCreateInstance (and OleLoadFromStream) can make it.
//
// They are plain ComObjects, outside the module lock: DllCanUnloadNow never
// counts them, so tests check LivePersistentObjects() for leaks instead.
// Not thread-safe: one test drives an object at a time.
#pragma once

#include "platform/com/com_object.h"
#include "quillbox/platform.h"

namespace quillbox::testing {

// {07968671-F2BC-437C-BE6F-EED518D87460}: the class PersistentObject reports.
// In a stream its 16 bytes read 71 86 96 07 BC F2 7C 43 BE 6F EE D5 18 D8 74 60.
inline constexpr CLSID kPersistentObjectClsid = {
    0x07968671, 0xF2BC, 0x437C, {0xBE, 0x6F, 0xEE, 0xD5, 0x18, 0xD8, 0x74, 0x60}};

// IDispatch with no type information: enough for late-bound callers to hold
// the object, nothing to call on it.
template <class Derived, class... Interfaces>
class BareDispatch : public com::ComObject<Derived, IDispatch, Interfaces...> {
 public:
  STDMETHODIMP GetTypeInfoCount(UINT* pctinfo) override {
    if (!pctinfo) return E_POINTER;
    *pctinfo = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }

 protected:
  ~BareDispatch() = default;
};

// One LONG, saved as its 4 bytes little-endian (no class id: the caller, e.g.
// OleSaveToStream, writes that). A new object is blank (value 0, clean);
// InitNew or Load initialises it once, and the other then answers
// E_UNEXPECTED. set_value and MakePersistentObject make it dirty; Save with
// fClearDirty and Load make it clean.
class PersistentObject final
    : public BareDispatch<PersistentObject, IPersistStream, IPersistStreamInit> {
 public:
  PersistentObject();
  ~PersistentObject();

  LONG value() const { return value_; }
  void set_value(LONG value) {
    value_ = value;
    dirty_ = true;
  }
  bool dirty() const { return dirty_; }

  // Failures on demand (S_OK: behave normally). Save fails before writing.
  void FailSaveWith(HRESULT hr) { save_failure_ = hr; }
  void FailGetClassIdWith(HRESULT hr) { class_id_failure_ = hr; }

  // IPersist.
  STDMETHODIMP GetClassID(CLSID* pClassID) override;
  // IPersistStream and IPersistStreamInit share these slots.
  STDMETHODIMP IsDirty() override;
  STDMETHODIMP Load(IStream* pStm) override;
  STDMETHODIMP Save(IStream* pStm, BOOL fClearDirty) override;
  STDMETHODIMP GetSizeMax(ULARGE_INTEGER* pcbSize) override;
  // IPersistStreamInit.
  STDMETHODIMP InitNew() override;

  // Bytes Save writes.
  static constexpr ULONG kSavedSize = 4;

 private:
  LONG value_ = 0;
  bool dirty_ = false;
  bool loaded_ = false;
  bool initialized_new_ = false;
  HRESULT save_failure_ = S_OK;
  HRESULT class_id_failure_ = S_OK;
};

// A dirty PersistentObject holding value (its IUnknown).
ComPtr<IUnknown> MakePersistentObject(LONG value);
// An object that answers IDispatch (and IUnknown) but no IPersist*.
ComPtr<IUnknown> MakeNonPersistentObject();

// The PersistentObject behind any of its interface pointers, or null (not
// counted) for anything else.
PersistentObject* AsPersistentObject(IUnknown* object);
// The value of the PersistentObject behind object; a test failure and 0 if
// object is not one.
LONG PersistentValue(IUnknown* object);

// Objects of both kinds alive now, for leak checks.
LONG LivePersistentObjects();

// Registers the persistent class (REGCLS_MULTIPLEUSE, in-process) under
// clsid for as long as it lives; a failed registration is a test failure.
// Each instance made through it starts blank.
class ScopedPersistentObjectClass {
 public:
  explicit ScopedPersistentObjectClass(REFCLSID clsid = kPersistentObjectClsid);
  ~ScopedPersistentObjectClass();
  ScopedPersistentObjectClass(const ScopedPersistentObjectClass&) = delete;
  ScopedPersistentObjectClass& operator=(const ScopedPersistentObjectClass&) = delete;

  // What CoRegisterClassObject answered.
  HRESULT result() const { return result_; }
  // Instances the class factory has made so far.
  int created() const;

 private:
  class Factory;
  ComPtr<IClassFactory> factory_;
  Factory* counter_ = nullptr;  // the same object as factory_
  DWORD cookie_ = 0;
  HRESULT result_ = E_FAIL;
};

}  // namespace quillbox::testing
