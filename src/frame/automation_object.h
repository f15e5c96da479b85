// AutomationObject: the base of every class of the library. It adds to the
// module-locked object base the IDispatch of the class's dual interface,
// driven by the type library, ISupportErrorInfo for that interface, and
// Report(), the class's way into ReportError.
//
//   class StructuredStorage final
//       : public AutomationObject<StructuredStorage, _StructuredStorage> {
//    public:
//     static constexpr const CLSID& kClsid = CLSID_StructuredStorage;
//     ...
//   };
#pragma once

#include "frame/dispatch/type_dispatch.h"
#include "frame/report_error.h"
#include "platform/com/library_object.h"
#include "typelib/type_library.h"

namespace quillbox::frame {

template <class Derived, class DualInterface>
class AutomationObject : public com::LibraryObject<Derived, DualInterface, ISupportErrorInfo> {
 public:
  // Type information comes with the type-library service.
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (!count) return E_INVALIDARG;
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info) *info = nullptr;
    return DISP_E_BADINDEX;
  }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    return GetIDsOfNamesFromTypeLib(Description(), names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO* excep_info, UINT* arg_err) override {
    return InvokeFromTypeLib(Description(), static_cast<DualInterface*>(static_cast<Derived*>(this)), id,
                             flags, params, result, excep_info, arg_err);
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
  static const typelib::InterfaceDesc& Description() {
    static const typelib::InterfaceDesc& desc = *typelib::FindInterface(InterfaceTraits<DualInterface>::iid);
    return desc;
  }
};

}  // namespace quillbox::frame
