// AutomationObject: the base of every class of the library. It adds to the
// module-locked object base the IDispatch of the class's dual interface,
// answered by that interface's type info from the library, ISupportErrorInfo
// for that interface, and Report(), the class's way into ReportError.
//
//   class StructuredStorage final
//       : public AutomationObject<StructuredStorage, _StructuredStorage> {
//    public:
//     static constexpr const CLSID& kClsid = CLSID_StructuredStorage;
//     ...
//   };
#pragma once

#include "frame/library_type_info.h"
#include "frame/report_error.h"
#include "platform/com/library_object.h"
#include "quillbox/oleauto.h"

namespace quillbox::frame {

template <class Derived, class DualInterface>
class AutomationObject : public com::LibraryObject<Derived, DualInterface, ISupportErrorInfo> {
 public:
  // One type info: the dual interface's, from the library.
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (!count) return E_INVALIDARG;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (!info) return E_INVALIDARG;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    ITypeInfo* own = ClassTypeInfo();
    if (!own) return E_OUTOFMEMORY;
    own->AddRef();
    *info = own;
    return S_OK;
  }
  // IDispatch is answered by the type info, as a standard dispatch
  // implementation answers it.
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    ITypeInfo* own = ClassTypeInfo();
    if (!own) return E_OUTOFMEMORY;
    return DispGetIDsOfNames(own, names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO* excep_info, UINT* arg_err) override {
    ITypeInfo* own = ClassTypeInfo();
    if (!own) return E_OUTOFMEMORY;
    return DispInvoke(static_cast<DualInterface*>(static_cast<Derived*>(this)), own, id, flags, params, result,
                      excep_info, arg_err);
  }
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
    return IsEqualGUID(riid, InterfaceTraits<DualInterface>::iid) ? S_OK : S_FALSE;
  }

 protected:
  ~AutomationObject() = default;

  // Reports a failure as this class: message id and result code.
  static HRESULT Report(UINT message_id, HRESULT result) {
    return ReportError(Derived::kClsid, message_id, InterfaceTraits<DualInterface>::iid, result);
  }

 private:
  // Fetched once per class and kept: type infos do not hold the module, so
  // keeping one never stops the library from unloading.
  static ITypeInfo* ClassTypeInfo() {
    static const ComPtr<ITypeInfo> info = [] {
      ComPtr<ITypeInfo> found;
      LibraryTypeInfo(InterfaceTraits<DualInterface>::iid, found.put());
      return found;
    }();
    return info.get();
  }
};

}  // namespace quillbox::frame
